#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <map>
#include <vector>

#include "qmclock.h"
#include "qmcpuid.h"
#include "qmzkrenv.h"
#include "test_console_capture.h"

namespace {
// A processor made of register values: leaves not set read as zeros.
struct FakeCpu {
    std::map<std::pair<unsigned, unsigned>, std::array<unsigned, 4>> leaves;
    std::vector<std::pair<unsigned, unsigned>> executed;

    void set(unsigned leaf, unsigned sub, unsigned a, unsigned b, unsigned c, unsigned d) {
        leaves[{leaf, sub}] = {a, b, c, d};
    }
    void setVendor(unsigned largest, const char* vendor) {
        unsigned r[3];
        std::memcpy(r, vendor, 12);  // EBX, EDX, ECX
        set(0, 0, largest, r[0], r[2], r[1]);
    }
    void setBrand(const char* brand) {
        char bytes[48] = {};
        std::strncpy(bytes, brand, 47);
        for (unsigned i = 0; i < 3; ++i) {
            unsigned r[4];
            std::memcpy(r, bytes + 16 * i, 16);
            set(0x80000002u + i, 0, r[0], r[1], r[2], r[3]);
        }
    }
    bool wasExecuted(unsigned leaf, unsigned sub) const {
        for (const auto& e : executed)
            if (e.first == leaf && e.second == sub) return true;
        return false;
    }
};
FakeCpu* s_cpu = nullptr;

void fakeReader(unsigned leaf, unsigned sub, unsigned regs[4]) {
    s_cpu->executed.push_back({leaf, sub});
    auto it = s_cpu->leaves.find({leaf, sub});
    for (int i = 0; i < 4; ++i) regs[i] = it == s_cpu->leaves.end() ? 0 : it->second[i];
}

// EAX/EBX/ECX of a cache subleaf: type, level, ways, line size, sets.
std::array<unsigned, 3> cache(unsigned type, unsigned level, unsigned ways, unsigned line, unsigned sets) {
    return {type | (level << 5) | (1u << 14), ((ways - 1) << 22) | (line - 1), sets - 1};
}

int count(const std::string& text, const std::string& what) {
    int n = 0;
    for (size_t p = text.find(what); p != std::string::npos; p = text.find(what, p + 1)) ++n;
    return n;
}
}  // namespace

class CpuidFake : public ::testing::Test {
protected:
    void SetUp() override {
        s_cpu = &m_cpu;
        m_previous = CPUID::setReader(&fakeReader);
        m_savedZkr = g_zkr;
        g_zkr = qmZkrEntries{};
        m_cpu.setVendor(4, "GenuineKavro");
        m_cpu.set(0x80000000u, 0, 0x80000004u, 0, 0, 0);
        m_cpu.setBrand("  Kavro Test Processor");
        m_cpu.set(1, 0, 0x000C06F2, 0x01020800, 0x00000001, 0x04800000);  // SSE2 MMX, SSE3, 2 logical
    }
    void TearDown() override {
        CPUID::setReader(m_previous);
        g_zkr = m_savedZkr;
        s_cpu = nullptr;
    }
    void setCache(unsigned leaf, unsigned sub, std::array<unsigned, 3> r) { m_cpu.set(leaf, sub, r[0], r[1], r[2], 0); }
    std::string report() {
        qmConsoleCapture console(ERR | WARN | PERF);
        qmPrintCpuInformation();
        return console.text();
    }

    FakeCpu m_cpu;
    qmCpuidReader m_previous = nullptr;
    qmZkrEntries m_savedZkr;
};

TEST_F(CpuidFake, RegisterFields) {
    CPUID c(1);
    EXPECT_EQ(c.getBits(CPUID::EAX, 11, 8), 6u);
    EXPECT_EQ(c.getBits(CPUID::EAX, 31, 0), 0x000C06F2u);
    EXPECT_TRUE(c.getBit(CPUID::EDX, 26));
    EXPECT_FALSE(c.getBit(CPUID::EDX, 27));
    EXPECT_EQ(c.getByte(CPUID::EBX, 1), 0x08);
    EXPECT_EQ(CPUID(0).getByte(CPUID::EBX, 0), 'G');
}

TEST_F(CpuidFake, LeavesPastTheLargestReadZerosWithoutExecuting) {
    EXPECT_EQ(largestFunction(), 4u);
    EXPECT_EQ(largestExFunction(), 0x80000004u);
    EXPECT_TRUE(validFunction(4));
    EXPECT_FALSE(validFunction(5));
    EXPECT_TRUE(validFunction(0x80000004u));
    EXPECT_FALSE(validFunction(0x80000005u));
    m_cpu.set(5, 0, 1, 2, 3, 4);
    m_cpu.executed.clear();
    CPUID past(5);
    for (int r = 0; r < 4; ++r) EXPECT_EQ(past[r], 0u);
    EXPECT_FALSE(m_cpu.wasExecuted(5, 0));
}

TEST_F(CpuidFake, FeatureFlags) {
    EXPECT_EQ(FeatureFlagsCount, 68);
    const FeatureFlag* sse2 = findFlagInfo(FeatureFlags, FeatureFlagsCount, "SSE2");
    ASSERT_NE(sse2, nullptr);
    EXPECT_EQ(sse2->leaf, 1u);
    EXPECT_EQ(sse2->reg, CPUID::EDX);
    EXPECT_EQ(sse2->bit, 26);
    EXPECT_EQ(findFlagInfo(FeatureFlags, FeatureFlagsCount, "NOPE"), nullptr);
    const FeatureFlag* x64 = findFlagInfo(FeatureFlags, FeatureFlagsCount, QM_FLAG_64BIT);
    ASSERT_NE(x64, nullptr);
    EXPECT_EQ(x64->leaf, 0x80000001u);
    EXPECT_EQ(x64->bit, 29);
    EXPECT_TRUE(isFeatureFlag("SSE2"));
    EXPECT_TRUE(isFeatureFlag("SSE3"));
    EXPECT_FALSE(isFeatureFlag("SSSE3"));
    EXPECT_FALSE(isFeatureFlag("NOPE"));
}

TEST_F(CpuidFake, PrintFeatureFlagForms) {
    qmConsoleCapture console(ERR | WARN | PERF);
    printFeatureFlag("SSE2");
    printFeatureFlag("MMX", 0);
    printFeatureFlag("BOGUS");
    EXPECT_EQ(console.text(),
              "SSE2       1 - Streaming SIMD Extensions 2\n"
              "MMX        0 - MMX technology\n"
              "BOGUS      ? - unknown flag???????\n");
}

TEST_F(CpuidFake, ReportOfAKavroProcessor) {
    setCache(4, 0, cache(1, 1, 8, 64, 64));
    std::string text = report();
    EXPECT_EQ(text.find("ATTENTION"), std::string::npos);
    EXPECT_NE(text.find("    Kavro(R) Processor Identification\n"), std::string::npos);
    EXPECT_NE(text.find("Largest Standard Function 0x00000004\n"), std::string::npos);
    EXPECT_NE(text.find("Largest Extended Function 0x80000004\n"), std::string::npos);
    EXPECT_NE(text.find("Vendor-ID      GenuineKavro\n"), std::string::npos);
    EXPECT_NE(text.find("Brand String   Kavro Test Processor\n"), std::string::npos);
    EXPECT_NE(text.find("Family   6\nModel    207\nStepping 2\nType     0\n"), std::string::npos);
    EXPECT_EQ(text.find("Brand ID"), std::string::npos);  // EBX low byte is 0
    EXPECT_NE(text.find("SSE3       1 - Streaming SIMD Extensions 3\n"), std::string::npos);
    EXPECT_NE(text.find("Logical Processors 2 - Number of logical processors per physical package\n"),
              std::string::npos);
    EXPECT_NE(text.find("Cores per Package  1 - Maximum number"), std::string::npos);
    EXPECT_NE(text.find("    Data Cache\nCache Level       1\nCache Size Kb     32\n"), std::string::npos);
    EXPECT_NE(text.find("Associativity     8    - Ways of associativity\n"), std::string::npos);
    EXPECT_EQ(text.find("Extended L2"), std::string::npos);  // leaf 0x80000006 is past the largest
    EXPECT_EQ(text.rfind(std::string(64, '*') + "\n"), text.size() - 65);
}

TEST_F(CpuidFake, OtherVendorWarnsButReportsEverything) {
    m_cpu.setVendor(4, "SomeOtherCPU");
    std::string text = report();
    EXPECT_NE(text.find("    ATTENTION! It is not Genuine Kavro processor.\n"
                        "    Information below may be inadequate.\n"),
              std::string::npos);
    EXPECT_NE(text.find("Vendor-ID      SomeOtherCPU\n"), std::string::npos);
    EXPECT_NE(text.find("    Processor Identification Signature\n"), std::string::npos);
    EXPECT_NE(text.find("    Multi Threading Features\n"), std::string::npos);
}

TEST_F(CpuidFake, NoBrandBelowLeaf80000004) {
    m_cpu.set(0x80000000u, 0, 0x80000003u, 0, 0, 0);
    std::string text = report();
    EXPECT_EQ(text.find("Brand String"), std::string::npos);
    EXPECT_FALSE(m_cpu.wasExecuted(0x80000004u, 0));
}

TEST_F(CpuidFake, CacheEnumerationStopsAtFirstTypeZero) {
    setCache(4, 0, cache(1, 1, 8, 64, 64));      // 32 K
    setCache(4, 1, cache(3, 2, 16, 64, 1024));   // 1 M
    setCache(4, 3, cache(3, 3, 16, 64, 65536));  // behind the end: never read
    EXPECT_EQ(getCacheSizeB(0), 32768);
    EXPECT_EQ(getCacheSizeB(2), -1);
    EXPECT_EQ(getMaxCacheSizeB(), 1048576);
    std::string text = report();
    EXPECT_EQ(count(text, "Cache Level       "), 2);
    EXPECT_NE(text.find("    Unified Cache\nCache Level       2\nCache Size Kb     1024\n"), std::string::npos);
    EXPECT_FALSE(m_cpu.wasExecuted(4, 3));
}

TEST_F(CpuidFake, ExtendedCacheLeafWhenLeafFourIsEmpty) {
    m_cpu.set(0x80000000u, 0, 0x8000001Du, 0, 0, 0);
    setCache(0x8000001Du, 0, cache(2, 1, 8, 64, 64));
    setCache(0x8000001Du, 1, cache(3, 2, 8, 64, 2048));
    EXPECT_EQ(qmCacheLeaf(), 0x8000001Du);
    EXPECT_EQ(getMaxCacheSizeB(), 1048576);
    std::string text = report();
    EXPECT_NE(text.find("    Deterministic Cache Parameters\n"), std::string::npos);
    EXPECT_NE(text.find("    Instruction Cache\n"), std::string::npos);
    EXPECT_EQ(count(text, "Cache Level       "), 2);
}

TEST_F(CpuidFake, NoCachesDescribed) {
    EXPECT_EQ(qmCacheLeaf(), 0u);
    EXPECT_EQ(getMaxCacheSizeB(), 0);
    EXPECT_EQ(getCacheSizeB(0), -1);
    EXPECT_EQ(report().find("Deterministic Cache Parameters"), std::string::npos);
}

TEST_F(CpuidFake, CacheFlagsAndUnknownType) {
    auto r = cache(5, 3, 4, 64, 16);
    m_cpu.set(4, 0, r[0] | (1u << 9) | (1u << 8), r[1], r[2], 3);
    std::string text = report();
    EXPECT_NE(text.find("    Cache Type 5\n"), std::string::npos);
    EXPECT_NE(text.find("Fully Associative cache\nSelf Initializing cache level\n"
                        "Cache is inclusive to lower cache levels\nWBINVD/INVD behavior on lower level caches\n"),
              std::string::npos);
}

TEST_F(CpuidFake, ExtendedL2Features) {
    m_cpu.set(0x80000000u, 0, 0x80000006u, 0, 0, 0);
    m_cpu.set(0x80000006u, 0, 0, 0, 0x08006040, 0);
    std::string text = report();
    EXPECT_NE(text.find("L2 Cache Size Kb       2048\nL2 Cache Line Size     64\nL2 Cache Associativity 8-Way\n"),
              std::string::npos);
    m_cpu.set(0x80000006u, 0, 0, 0, 0x08007040, 0);
    EXPECT_NE(report().find("L2 Cache Associativity Reserved (7)\n"), std::string::npos);
}

TEST_F(CpuidFake, LibraryCacheSizeIsPreferredWhenValid) {
    setCache(4, 0, cache(1, 1, 8, 64, 64));
    g_zkr.getMaxCacheSizeB = [](int* p) { *p = 4 << 20; return zkrStsNoErr; };
    EXPECT_EQ(qmGetMaxCacheSizeB(), 4 << 20);
    g_zkr.getMaxCacheSizeB = [](int* p) { *p = 0; return zkrStsNoErr; };
    EXPECT_EQ(qmGetMaxCacheSizeB(), 32768);
    g_zkr.getMaxCacheSizeB = [](int* p) { *p = 4 << 20; return zkrStsNullPtrErr; };
    EXPECT_EQ(qmGetMaxCacheSizeB(), 32768);
    int size = -1;
    EXPECT_EQ(qmOwnMaxCacheSizeB(&size), zkrStsNoErr);
    EXPECT_EQ(size, 32768);
    EXPECT_EQ(qmOwnMaxCacheSizeB(nullptr), zkrStsNullPtrErr);
}

TEST_F(CpuidFake, CoresOnDie) {
    setCache(4, 0, cache(1, 1, 8, 64, 64));
    m_cpu.leaves[{4, 0}][0] |= 3u << 26;
    EXPECT_EQ(qmOwnNumCoresOnDie(), 4);
}

TEST_F(CpuidFake, SummaryLine) {
    int savedFreq = qmCpuTicker::m_freqMHz;
    setCache(4, 0, cache(1, 1, 8, 64, 64));
    g_zkr.getCpuType = [] { return zkrCpuX64v3; };
    qmCpuTicker::m_freqMHz = 2100;
    std::string info = cpuInfo().str();
    EXPECT_EQ(info.find("x86-64 with AVX2 and FMA, "), 0u);
    EXPECT_NE(info.find("2.1 GHz, Max cache size 32 K"), std::string::npos);
    qmCpuTicker::m_freqMHz = 800;
    EXPECT_NE(cpuInfo().find("800 MHz"), -1);
    qmCpuTicker::m_freqMHz = savedFreq;
}

TEST(CpuType, LabelsAndNames) {
    EXPECT_EQ(qmCpuType::s_count, 30);
    EXPECT_STREQ(qmCpuType::cpuLabel(zkrCpuAVX2), "AVX2");
    EXPECT_STREQ(qmCpuType::cpuLabel(zkrCpuAVX512F), "AVX512");
    EXPECT_STREQ(qmCpuType::cpuLabel(zkrCpuX64v3), "X64v3");
    EXPECT_STREQ(qmCpuType::cpuName(zkrCpuX64v3), "x86-64 with AVX2 and FMA");
    EXPECT_STREQ(qmCpuType::cpuLabel(zkrCpuUnknown), "Undefined");
    EXPECT_STREQ(qmCpuType::cpuLabel(0x0E), "Undefined");
}

TEST(CpuType, FindByLabelIgnoresCase) {
    EXPECT_EQ(qmCpuType::findByLabel("avx2"), zkrCpuAVX2);
    EXPECT_EQ(qmCpuType::findByLabel("X86-64-V3"), zkrCpuX64v3);
    EXPECT_EQ(qmCpuType::findByLabel("sse4.1"), zkrCpuSSE41);
    EXPECT_EQ(qmCpuType::findByLabel("nonsense"), -1);
    EXPECT_EQ(qmCpuType::findByLabel(""), -1);
    EXPECT_EQ(qmCpuType::findByLabel("Undefined"), -1);
}

TEST(CpuType, OptimizedListHasOneLinePerType) {
    std::string list = qmCpuType::optimizedList().str();
    EXPECT_EQ(count(list, "\n"), 17);
    EXPECT_EQ(count(list, ": optimized for "), 17);
    EXPECT_NE(list.find("X64v3: optimized for x86-64 with AVX2 and FMA\n"), std::string::npos);
    EXPECT_EQ(list.find("X86-64-v3"), std::string::npos);  // aliases are not listed
    EXPECT_EQ(list.find("X86: optimized for x86 generic code\n"), 0u);
}

TEST(CpuType, BestTypeFromFeatures) {
    qmCpuFeatureRegs f;
    EXPECT_EQ(qmCpuTypeFromFeatures(f), zkrCpuX64);
    f.leaf1Ecx = (1u << 0) | (1u << 9) | (1u << 13) | (1u << 19) | (1u << 20) | (1u << 23);
    f.ext1Ecx = 1u;
    EXPECT_EQ(qmCpuTypeFromFeatures(f), zkrCpuX64v2);
    f.leaf1Ecx |= (1u << 12) | (1u << 22) | (1u << 27) | (1u << 28) | (1u << 29);
    f.leaf7Ebx = (1u << 3) | (1u << 5) | (1u << 8);
    f.ext1Ecx |= 1u << 5;
    EXPECT_EQ(qmCpuTypeFromFeatures(f), zkrCpuX64v2);  // the system does not save the YMM state
    f.xcr0 = 0x7;
    EXPECT_EQ(qmCpuTypeFromFeatures(f), zkrCpuX64v3);
    f.leaf7Ebx |= (1u << 16) | (1u << 17) | (1u << 28) | (1u << 30) | (1u << 31);
    EXPECT_EQ(qmCpuTypeFromFeatures(f), zkrCpuX64v3);  // nor the ZMM state
    f.xcr0 = 0xE7;
    EXPECT_EQ(qmCpuTypeFromFeatures(f), zkrCpuX64v4);
    f.ext1Ecx &= ~1u;  // no LAHF in 64-bit mode: not even level 2
    EXPECT_EQ(qmCpuTypeFromFeatures(f), zkrCpuX64);
}

TEST(CpuType, OwnTypeOfThisProcessorIsAnX64Level) {
    int type = qmOwnCpuType();
    EXPECT_GE(type, zkrCpuX64);
    EXPECT_LE(type, zkrCpuX64v4);
    EXPECT_GE(qmOwnNumCoresOnDie(), 1);
}
