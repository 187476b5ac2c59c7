// The test allocator: lower and aligned allocation, the block list, the session settings and the
// per-test placement rule.
#include <cstring>
#include <vector>
#include "test_memory_fixture.h"

// ---------------------------------------------------------------- lower allocator

TEST(MemoryLower, BlocksAre64AlignedAndHoldTheRawPointer128BytesBefore) {
    for (int n : {0, 1, 63, 64, 1000, 4096}) {
        void* p = qm_malloc(n);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(offset64(p), 0) << n;
        void* raw;
        std::memcpy(&raw, static_cast<char*>(p) - 128, sizeof raw);
        auto r = reinterpret_cast<std::uintptr_t>(raw), b = reinterpret_cast<std::uintptr_t>(p);
        EXPECT_EQ(b, (r + 192) & ~std::uintptr_t{63});
        // At least n + 64 bytes are usable: write all of them (ASan checks the bounds).
        std::memset(p, 0xA5, static_cast<size_t>(n) + 64);
        qm_free(p);
    }
    qm_free(nullptr);  // ignored
    EXPECT_EQ(qm_malloc(-1), nullptr);
}

TEST(MemoryLower, AlignedAllocationIsAlignPastABoundaryAtTheShift) {
    for (int align : {0, 1, 4, 56, 63}) {
        for (int shift : {0, 64, 640}) {
            void* raw = nullptr;
            void* p = qm_malloc(raw, 100, align, shift);
            ASSERT_NE(p, nullptr);
            EXPECT_EQ(static_cast<char*>(p) - static_cast<char*>(raw), shift + align) << align << " " << shift;
            std::memset(p, 1, 100);
            qm_free(raw);
        }
    }
}

TEST(MemoryLower, AlignIsReducedModulo64) {
    void* raw = nullptr;
    void* p = qm_malloc(raw, 16, 504, 0);  // 504 % 64 = 56
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(static_cast<char*>(p) - static_cast<char*>(raw), 56);
    qm_free(raw);
}

// ---------------------------------------------------------------- block list

class MemoryList : public DataTest {};

TEST_F(MemoryList, MallocRecordsAndFreeForgets) {
    int owner = 0;
    void* a = qmMalloc(100, 4, 0, &owner);
    void* b = qmMalloc(200, 0, 64, MEM_OBJECT_IS_BUFFER);
    ASSERT_TRUE(a && b);
    EXPECT_EQ(offset64(a), 4);
    EXPECT_EQ(offset64(b), 0);
    EXPECT_EQ(qmMallocCount(), 2);
    EXPECT_EQ(qmMallocTotal(), 300);

    int size = 0;
    void* who = nullptr;
    ASSERT_TRUE(qmMallocInfo(a, &size, &who));
    EXPECT_EQ(size, 100);
    EXPECT_EQ(who, &owner);
    EXPECT_FALSE(qmMallocInfo(static_cast<char*>(a) + 1, &size, &who));

    qmFree(a);
    EXPECT_FALSE(qmMallocInfo(a, nullptr, nullptr));
    EXPECT_EQ(qmMallocCount(), 1);
    qmFree(b);
    EXPECT_EQ(qmMallocCount(), 0);
}

TEST_F(MemoryList, FreeOfUnknownPointerFreesNothing) {
    qmFree(nullptr);
    int local = 0;
    qmFree(&local);  // before the list exists
    void* a = qmMalloc(10, 0, 0, nullptr);
    qmFree(&local);
    qmFree(static_cast<char*>(a) + 64);
    EXPECT_EQ(qmMallocCount(), 1);
    EXPECT_TRUE(qmMallocInfo(a, nullptr, nullptr));
}

TEST_F(MemoryList, WalkVisitsLiveBlocksInAllocationOrder) {
    EXPECT_EQ(qmMallocFirst(nullptr, nullptr), nullptr);
    std::vector<void*> blocks;
    for (int i = 1; i <= 4; ++i) blocks.push_back(qmMalloc(i * 10, 0, 0, MEM_OBJECT_IS_BUFFER));
    qmFree(blocks[1]);

    std::vector<int> sizes;
    int size;
    void* owner;
    for (void* p = qmMallocFirst(&size, &owner); p; p = qmMallocNext(&size, &owner)) {
        sizes.push_back(size);
        EXPECT_EQ(owner, MEM_OBJECT_IS_BUFFER);
    }
    EXPECT_EQ(sizes, (std::vector<int>{10, 30, 40}));
}

TEST_F(MemoryList, FreeingTheBlockUnderTheWalkKeepsTheWalkGoing) {
    void* a = qmMalloc(1, 0, 0, nullptr);
    qmMalloc(2, 0, 0, nullptr);
    qmMalloc(3, 0, 0, nullptr);
    int size;
    EXPECT_EQ(qmMallocFirst(&size, nullptr), a);
    ASSERT_NE(qmMallocNext(&size, nullptr), nullptr);  // now at the third
    EXPECT_EQ(size, 2);
    qmFree(a);
    ASSERT_NE(qmMallocNext(&size, nullptr), nullptr);
    EXPECT_EQ(size, 3);
    EXPECT_EQ(qmMallocNext(&size, nullptr), nullptr);
}

TEST_F(MemoryList, FreeAllReleasesEverythingAndLaterFreesAreIgnored) {
    void* a = qmMalloc(1000, 0, 0, nullptr);
    qmMalloc(2000, 0, 0, nullptr);
    qmFreeAll();
    EXPECT_EQ(qmMallocCount(), 0);
    EXPECT_EQ(qmMallocFirst(nullptr, nullptr), nullptr);
    qmFree(a);  // a stale pointer: must not be freed twice (ASan would report it)
    void* c = qmMalloc(8, 0, 0, nullptr);
    EXPECT_EQ(qmMallocCount(), 1);
    qmFree(c);
}

TEST_F(MemoryList, FailureReportsAndReturnsNull) {
    ConsoleCapture out(ERR);
    EXPECT_EQ(qmMalloc(-5, 0, 0, nullptr), nullptr);
    EXPECT_EQ(qmMalloc(0x7fffffff, 0, 64, nullptr), nullptr);  // size + shift + 64 exceeds an int
    EXPECT_EQ(out.text(), "-- Memory error: can't allocate -5 bytes\n"
                          "-- Memory error: can't allocate 2147483647 bytes\n");
    EXPECT_EQ(qmMallocCount(), 0);
}

TEST_F(MemoryList, MemInfoLinesAtLevel32Only) {
    {
        ConsoleCapture quiet(ERR | WARN | PERF);
        qmFree(qmMalloc(10, 0, 0, nullptr));
        EXPECT_EQ(quiet.text(), "");
    }
    ConsoleCapture out(MEMINFO);
    void* p = qmMalloc(48, 3, 0, nullptr);
    void* raw = reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(p) - 3);
    qmFree(p);
    const std::string fields = "size:48  address:" + std::string(qmString::format("%p", raw).c_str()) +
                               "  alignedPointer:" + qmString::format("%p", p).c_str() + "\n";
    EXPECT_EQ(out.text(), " - qmMalloc: " + fields + " - qmFree: " + fields);
}

TEST_F(MemoryList, MemoryTableRowsDescribeEveryBlock) {
    char name[] = "/tmp/qm_memtable_XXXXXX";
    close(mkstemp(name));
    {
        qmCStream table;
        ASSERT_TRUE(table.addStream(name, false));
        void* a = qmMalloc(100, 5, 128, MEM_OBJECT_IS_BUFFER);
        int owner;
        qmMalloc(64, 0, 0, &owner);
        qmMalloc(32, 0, 0, MEM_OBJECT_IS_SUBOBJECT);
        EXPECT_TRUE(qmMallocDescribe(a, "src 8u"));
        EXPECT_FALSE(qmMallocDescribe(&owner, "nothing"));
        qmMemoryTable(table);
    }
    std::ifstream in(name);
    std::stringstream s;
    s << in.rdbuf();
    EXPECT_EQ(s.str(), "N,size,owner,misalign,shift,description\n"
                       "1,100,buffer,5,128,src 8u\n"
                       "2,64,object,0,0,-\n"
                       "3,32,subobject,0,0,-\n");
    std::remove(name);
}

// ---------------------------------------------------------------- settings

TEST(MemorySettings, AlignKeepsTheSignOfTheRemainder) {
    const std::pair<int, int> cases[] = {{0, 0}, {1, 1}, {63, 63}, {64, 0}, {100, 36}, {-1, -1}, {-65, -1}, {-64, 0}};
    for (auto [in, stored] : cases) {
        qmSetVectorAlign(in);
        EXPECT_EQ(qmGetVectorAlign(), stored) << in;
    }
    qmSetVectorAlign(0);
}

TEST(MemorySettings, ShiftClearsTheLowSixBits) {
    const std::pair<int, int> cases[] = {{0, 0}, {63, 0}, {64, 64}, {100, 64}, {32767, 32704}, {-1, -64}, {-100, -128}};
    for (auto [in, stored] : cases) {
        qmSetVectorShift(in);
        EXPECT_EQ(qmGetVectorShift(), stored) << in;
    }
    qmSetVectorShift(0);
}

TEST(MemorySettings, FlagsRoundTrip) {
    qmSetAlignByByte(true);
    qmSetAlignSrc(true);
    EXPECT_TRUE(qmGetAlignByByte());
    EXPECT_TRUE(qmGetAlignSrc());
    qmSetAlignByByte(false);
    qmSetAlignSrc(false);
    EXPECT_FALSE(qmGetAlignByByte());
    EXPECT_FALSE(qmGetAlignSrc());
}

// ---------------------------------------------------------------- placement rule

class MemoryPlacement : public DataTest {};

TEST_F(MemoryPlacement, ZeroAlignAndShiftPutsEveryBufferOnABoundary) {
    for (int i = 0; i < 5; ++i) {
        void* p = qmVectorPlacement::allocate(33 + i, -4, nullptr);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(offset64(p), 0);
    }
    EXPECT_EQ(qmVectorPlacement::m_vectorNum, 5);
    EXPECT_EQ(qmVectorPlacement::m_vectorShift, 0);
}

TEST_F(MemoryPlacement, NegativeAlignMultipliesTheSessionSetting) {
    qmSetVectorAlign(3);
    EXPECT_EQ(offset64(qmVectorPlacement::allocate(10, -1, nullptr)), 3);
    EXPECT_EQ(offset64(qmVectorPlacement::allocate(10, -4, nullptr)), 12);
    EXPECT_EQ(offset64(qmVectorPlacement::allocate(10, -32, nullptr)), 96 % 64);
    // A non-negative align is used as given.
    EXPECT_EQ(offset64(qmVectorPlacement::allocate(10, 7, nullptr)), 7);
}

TEST_F(MemoryPlacement, FirstVectorOnlyLeavesLaterBuffersAligned) {
    setPlacement(1, false, 0, true);
    EXPECT_EQ(offset64(qmVectorPlacement::allocate(10, -4, nullptr)), 4);
    EXPECT_EQ(offset64(qmVectorPlacement::allocate(10, -4, nullptr)), 0);
    EXPECT_EQ(offset64(qmVectorPlacement::allocate(10, 9, nullptr)), 9);  // explicit align still applies
    qmVectorPlacement::resetPlacement();
    EXPECT_EQ(offset64(qmVectorPlacement::allocate(10, -4, nullptr)), 4);  // a new line starts again
}

TEST_F(MemoryPlacement, OwnerDefaultsToBareBuffer) {
    int object;
    void* a = qmVectorPlacement::allocate(10, 0, nullptr);
    void* b = qmVectorPlacement::allocate(10, 0, &object);
    void* owner = nullptr;
    qmMallocInfo(a, nullptr, &owner);
    EXPECT_EQ(owner, MEM_OBJECT_IS_BUFFER);
    qmMallocInfo(b, nullptr, &owner);
    EXPECT_EQ(owner, &object);
}

TEST_F(MemoryPlacement, MutualShiftSteps64AndWrapsAt32768) {
    qmSetVectorShift(100);  // stored as 64
    ASSERT_EQ(qmGetVectorShift(), 64);
    for (int i = 0; i < 514; ++i) {
        EXPECT_EQ(qmVectorPlacement::m_vectorShift, (i % 512) * 64) << i;
        void* p = qmVectorPlacement::allocate(8, 0, nullptr);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(offset64(p), 0);
        qmFree(p);
    }
    EXPECT_EQ(qmVectorPlacement::m_vectorShift, 2 * 64);
    EXPECT_EQ(qmVectorPlacement::m_vectorNum, 514);
}

TEST_F(MemoryPlacement, ShiftMovesTheBufferInsideItsBlock) {
    qmSetVectorShift(128);
    qmVectorPlacement::allocate(8, 0, nullptr);
    qmVectorPlacement::allocate(8, 0, nullptr);
    char name[] = "/tmp/qm_shift_XXXXXX";
    close(mkstemp(name));
    {
        qmCStream table;
        table.addStream(name, false);
        qmMemoryTable(table, false);
    }
    std::ifstream in(name);
    std::string first, second;
    std::getline(in, first);
    std::getline(in, second);
    EXPECT_EQ(first, "1,8,buffer,0,0,-");
    EXPECT_EQ(second, "2,8,buffer,0,128,-");
    std::remove(name);
}

TEST_F(MemoryPlacement, FailureLeavesTheCountersAlone) {
    qmSetVectorShift(64);
    qmVectorPlacement::allocate(8, 0, nullptr);
    ConsoleCapture out(ERR);
    EXPECT_EQ(qmVectorPlacement::allocate(-1, 0, nullptr), nullptr);
    EXPECT_EQ(qmVectorPlacement::m_vectorNum, 1);
    EXPECT_EQ(qmVectorPlacement::m_vectorShift, 64);
    EXPECT_NE(out.text().find("can't allocate -1 bytes"), std::string::npos);
}
