// The one allocator of test data: blocks placed at a chosen distance from a 64-byte boundary,
// successive buffers of a test shifted against each other, and a list of every live block.
#pragma once
#include <cstdint>
#include "qmlist.h"
#include "qmstring.h"

class qmCStream;

// Owner markers for blocks that no data object owns.
inline void* const MEM_OBJECT_IS_BUFFER = reinterpret_cast<void*>(std::uintptr_t{1});     // a bare buffer
inline void* const MEM_OBJECT_IS_SUBOBJECT = reinterpret_cast<void*>(std::uintptr_t{2});  // a later image plane

// ---------------------------------------------------------------- lower allocator

// Returns a 64-byte aligned block with at least n + 64 usable bytes, or null. The malloc pointer is
// kept in the 8 bytes 128 bytes before the block.
void* qm_malloc(int n);
void qm_free(void* p);

// Aligned allocation: the result lies exactly (align mod 64) bytes past a 64-byte boundary, shift
// bytes into the block (shift must be a multiple of 64). raw receives the block to give to qm_free.
void* qm_malloc(void*& raw, int size, int align, int shift);

// ---------------------------------------------------------------- tracked allocation

// One live block of the allocation list.
struct Address {
    void* raw = nullptr;      // what qm_malloc returned
    void* aligned = nullptr;  // what the caller got
    int size = 0;             // bytes requested
    void* owner = nullptr;    // the data object, or one of the MEM_OBJECT_IS_ markers
    qmString text;            // description for the memory table

    bool operator==(const Address& o) const { return aligned == o.aligned; }
};

// The process-wide list of live blocks, created on the first allocation.
class AddressList : public qmList<Address> {
public:
    Address* find(const void* aligned);
    bool remove(const void* aligned);
    // Size and owner of a block; false when it is not in the list.
    bool getInfo(const void* aligned, int* size, void** owner);
    // Walks the list: reset() then getNext() until it returns null.
    void reset() { m_walk = begin(); }
    Address* getNext();

private:
    iterator m_walk;
};

// Allocates size bytes misalign bytes past a 64-byte boundary, shift bytes into the block, and
// records it; null (after "-- Memory error: can't allocate N bytes") on failure.
void* qmMalloc(int size, int misalign, int shift, void* owner);
// Frees a block from qmMalloc; null and unknown pointers are ignored.
void qmFree(void* p);
// Sets the description shown in the memory table; false when p is not a live block.
bool qmMallocDescribe(void* p, const qmString& text);

// Size and owner of a live block; false when p is not one.
bool qmMallocInfo(void* p, int* size, void** owner);
// Walk of the live blocks in allocation order: the first block's aligned pointer, then the next,
// null at the end. Size and owner go to the out-arguments when given.
void* qmMallocFirst(int* size, void** owner);
void* qmMallocNext(int* size, void** owner);
// Number of live blocks and their total size in bytes.
int qmMallocCount();
long long qmMallocTotal();
// Frees every live block and forgets the list (called once at the end of the run).
void qmFreeAll();

// Writes one row per live block to a table stream: index, size, owner kind, bytes past a 64-byte
// boundary, shift inside its block, description. With heading, a title row comes first.
void qmMemoryTable(qmCStream& table, bool heading = true);

// ---------------------------------------------------------------- session placement settings

int qmGetVectorAlign();
void qmSetVectorAlign(int align);    // stored as align % 64 (the sign kept)
bool qmGetAlignByByte();
void qmSetAlignByByte(bool byByte);
int qmGetVectorShift();
void qmSetVectorShift(int shift);    // stored with the low 6 bits cleared
bool qmGetAlignSrc();
void qmSetAlignSrc(bool firstOnly);  // "MisalignFirstVectorOnly"

// ---------------------------------------------------------------- per-test placement

// The allocation rule of test data. The test base class derives from this, so that its
// allocate(), m_vectorNum and m_vectorShift are these statics.
class qmVectorPlacement {
public:
    static int m_vectorNum;    // buffers allocated since the last reset
    static int m_vectorShift;  // shift in bytes that the next buffer gets

    // A negative align asks for the session's misalignment times (-align); with
    // MisalignFirstVectorOnly only the first buffer gets it. Null owner means a bare buffer.
    static void* allocate(int size, int align, void* owner);
    // Called before the data of every parameter combination are made.
    static void resetPlacement() { m_vectorNum = 0; m_vectorShift = 0; }

    static constexpr int SHIFT_WRAP = 32768;
};
