#include "qmmemory.h"

#include <cstdlib>
#include <cstring>
#include "qmstream.h"

namespace {
// Created on the first allocation and never destroyed by a static destructor, so that data
// objects destroyed at exit still find it (or find it gone after qmFreeAll).
AddressList* s_list = nullptr;

qmString pointerText(const void* p) { return qmString::format("%p", p); }

void traceBlock(const char* what, const Address& a) {
    if (!(g_ostrm.outLevel() & MEMINFO)) return;
    g_ostrm << MSG_MEMINFO << what << "size:" << a.size << "  address:" << pointerText(a.raw)
            << "  alignedPointer:" << pointerText(a.aligned) << "\n" << MSG_RESTORE;
}
}  // namespace

// ---------------------------------------------------------------- lower allocator

void* qm_malloc(int n) {
    if (n < 0) return nullptr;
    void* raw = std::malloc(static_cast<size_t>(n) + 256);
    if (!raw) return nullptr;
    auto block = (reinterpret_cast<std::uintptr_t>(raw) + 192) & ~std::uintptr_t{63};
    void* p = reinterpret_cast<void*>(block);
    std::memcpy(static_cast<char*>(p) - 128, &raw, sizeof raw);
    return p;
}

void qm_free(void* p) {
    if (!p) return;
    void* raw;
    std::memcpy(&raw, static_cast<char*>(p) - 128, sizeof raw);
    std::free(raw);
}

void* qm_malloc(void*& raw, int size, int align, int shift) {
    // A block always starts inside its own allocation: a negative misalignment or shift has no
    // place to go and is refused like a size that cannot be allocated.
    if (align < 0 || shift < 0) {
        raw = nullptr;
        return nullptr;
    }
    const int a = align % 64;
    long long total = static_cast<long long>(a) + size + shift + 64;
    raw = total > 0x7fffffff ? nullptr : qm_malloc(static_cast<int>(total));
    if (!raw) return nullptr;
    // raw is 64-aligned and shift a multiple of 64, so this is raw + shift + a.
    const auto mask = static_cast<std::uintptr_t>(static_cast<std::int64_t>(a - 64));
    return reinterpret_cast<void*>((reinterpret_cast<std::uintptr_t>(raw) + shift + 63) & mask);
}

// ---------------------------------------------------------------- the list

Address* AddressList::find(const void* aligned) {
    for (Address& a : *this)
        if (a.aligned == aligned) return &a;
    return nullptr;
}

bool AddressList::remove(const void* aligned) {
    for (auto it = begin(); it != end(); ++it) {
        if (it->aligned != aligned) continue;
        if (m_walk == it) ++m_walk;
        erase(it);
        return true;
    }
    return false;
}

bool AddressList::getInfo(const void* aligned, int* size, void** owner) {
    const Address* a = find(aligned);
    if (!a) return false;
    if (size) *size = a->size;
    if (owner) *owner = a->owner;
    return true;
}

Address* AddressList::getNext() {
    if (m_walk == end()) return nullptr;
    return &*m_walk++;
}

void* qmMalloc(int size, int misalign, int shift, void* owner) {
    void* raw = nullptr;
    void* aligned = size < 0 ? nullptr : qm_malloc(raw, size, misalign, shift);
    if (!aligned) {
        g_ostrm << MSG_ERR << "-- Memory error: can't allocate " << size << " bytes" << "\n" << MSG_RESTORE;
        return nullptr;
    }
    if (!s_list) {
        s_list = new AddressList;
        s_list->reset();
    }
    s_list->append(Address{raw, aligned, size, owner, qmString()});
    traceBlock(" - qmMalloc: ", s_list->back());
    return aligned;
}

void qmFree(void* p) {
    if (!p || !s_list) return;
    Address* a = s_list->find(p);
    if (!a) return;
    traceBlock(" - qmFree: ", *a);
    void* raw = a->raw;
    s_list->remove(p);
    qm_free(raw);
}

bool qmMallocDescribe(void* p, const qmString& text) {
    Address* a = s_list ? s_list->find(p) : nullptr;
    if (a) a->text = text;
    return a != nullptr;
}

bool qmMallocInfo(void* p, int* size, void** owner) { return s_list && s_list->getInfo(p, size, owner); }

void* qmMallocNext(int* size, void** owner) {
    Address* a = s_list ? s_list->getNext() : nullptr;
    if (!a) return nullptr;
    if (size) *size = a->size;
    if (owner) *owner = a->owner;
    return a->aligned;
}

void* qmMallocFirst(int* size, void** owner) {
    if (!s_list) return nullptr;
    s_list->reset();
    return qmMallocNext(size, owner);
}

int qmMallocCount() { return s_list ? s_list->size() : 0; }

long long qmMallocTotal() {
    long long total = 0;
    if (s_list)
        for (const Address& a : *s_list) total += a.size;
    return total;
}

void qmFreeAll() {
    if (!s_list) return;
    for (const Address& a : *s_list) qm_free(a.raw);
    delete s_list;
    s_list = nullptr;
}

void qmMemoryTable(qmCStream& table, bool heading) {
    if (heading) {
        table << "N" << "size" << "owner" << "misalign" << "shift" << "description";
        table.lineOut();
    }
    if (!s_list) return;
    int n = 0;
    for (const Address& a : *s_list) {
        auto addr = reinterpret_cast<std::uintptr_t>(a.aligned);
        // Offset of this block inside its raw allocation, less the misalignment: the mutual shift.
        const auto shift = static_cast<long long>(addr - reinterpret_cast<std::uintptr_t>(a.raw) - (addr & 63));
        const char* owner = a.owner == MEM_OBJECT_IS_BUFFER      ? "buffer"
                            : a.owner == MEM_OBJECT_IS_SUBOBJECT ? "subobject"
                                                                 : "object";
        table << ++n << a.size << owner << static_cast<int>(addr & 63) << shift
              << (a.text.empty() ? qmString("-") : a.text);
        table.lineOut();
    }
}

// ---------------------------------------------------------------- settings

namespace {
int s_vectorAlign = 0;
bool s_alignByByte = false;
int s_vectorShift = 0;
bool s_alignSrc = false;
}  // namespace

int qmGetVectorAlign() { return s_vectorAlign; }
void qmSetVectorAlign(int align) { s_vectorAlign = align % 64; }
bool qmGetAlignByByte() { return s_alignByByte; }
void qmSetAlignByByte(bool byByte) { s_alignByByte = byByte; }
int qmGetVectorShift() { return s_vectorShift; }
void qmSetVectorShift(int shift) { s_vectorShift = shift & ~63; }
bool qmGetAlignSrc() { return s_alignSrc; }
void qmSetAlignSrc(bool firstOnly) { s_alignSrc = firstOnly; }

// ---------------------------------------------------------------- per-test placement

int qmVectorPlacement::m_vectorNum = 0;
int qmVectorPlacement::m_vectorShift = 0;

void* qmVectorPlacement::allocate(int size, int align, void* owner) {
    int misalign = align;
    if (align < 0) {
        misalign = -align * s_vectorAlign;
        if (s_alignSrc && m_vectorNum != 0) misalign = 0;
    }
    void* p = qmMalloc(size, misalign, m_vectorShift, owner ? owner : MEM_OBJECT_IS_BUFFER);
    if (!p) return nullptr;
    ++m_vectorNum;
    // In long long: a shift set directly (not through the parameter's check) may be near INT_MAX.
    const long long next = static_cast<long long>(m_vectorShift) + s_vectorShift;
    m_vectorShift = next >= SHIFT_WRAP || next < 0 ? 0 : static_cast<int>(next);
    return p;
}
