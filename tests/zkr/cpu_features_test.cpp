// Processor feature decoding and type rules on synthetic register values, so
// refusals are tested although this machine supports every type.
#include "test_support.h"

namespace zkrtest {
namespace {

using zkr::cpu::CpuidRegs;
using zkr::cpu::Features;

// Register images of a processor, built feature by feature.
struct Regs {
    CpuidRegs leaf1, leaf7, ext1;
    std::uint64_t xcr0 = 0;

    Regs& l1edx(int b) { leaf1.edx |= 1u << b; return *this; }
    Regs& l1ecx(int b) { leaf1.ecx |= 1u << b; return *this; }
    Regs& l7ebx(int b) { leaf7.ebx |= 1u << b; return *this; }
    Regs& l7ecx(int b) { leaf7.ecx |= 1u << b; return *this; }
    Regs& e1ecx(int b) { ext1.ecx |= 1u << b; return *this; }
    Features decode() const { return zkr::cpu::decodeFeatures(leaf1, leaf7, ext1, xcr0); }
};

// An x86-64-v2 processor (SSE4.2, POPCNT, CX16, LAHF).
Regs v2() {
    Regs r;
    r.l1edx(23).l1edx(25).l1edx(26);                          // MMX SSE SSE2
    r.l1ecx(0).l1ecx(9).l1ecx(13).l1ecx(19).l1ecx(20).l1ecx(23);  // SSE3 SSSE3 CX16 SSE4.1 SSE4.2 POPCNT
    r.e1ecx(0);                                               // LAHF
    return r;
}

// ... with AVX2 and the rest of x86-64-v3, YMM state enabled by the OS.
Regs v3() {
    Regs r = v2();
    r.l1ecx(12).l1ecx(22).l1ecx(27).l1ecx(28).l1ecx(29);  // FMA MOVBE OSXSAVE AVX F16C
    r.l7ebx(3).l7ebx(5).l7ebx(8);                         // BMI1 AVX2 BMI2
    r.e1ecx(5);                                           // LZCNT
    r.xcr0 = 0x7;
    return r;
}

// ... with AVX-512 F/DQ/CD/BW/VL and ZMM state.
Regs v4() {
    Regs r = v3();
    r.l7ebx(16).l7ebx(17).l7ebx(28).l7ebx(30).l7ebx(31);
    r.xcr0 = 0xE7;
    return r;
}

TEST(CpuFeatures, DecodesEachFeatureFromItsBit) {
    const Features none = Regs{}.decode();
    EXPECT_FALSE(none.sse2 || none.avx || none.avx2 || none.avx512f || none.osYmm);
    const Features f = v4().l7ecx(11).decode();
    EXPECT_TRUE(f.mmx && f.sse && f.sse2 && f.sse3 && f.ssse3 && f.sse41 && f.sse42);
    EXPECT_TRUE(f.popcnt && f.cx16 && f.lahf && f.lzcnt && f.movbe && f.f16c && f.bmi1 && f.bmi2);
    EXPECT_TRUE(f.avx && f.avx2 && f.fma && f.osYmm && f.osZmm);
    EXPECT_TRUE(f.avx512f && f.avx512bw && f.avx512vl && f.avx512dq && f.avx512cd && f.avx512vnni);
    Regs onlyBw;
    onlyBw.l7ebx(30);
    const Features bw = onlyBw.decode();
    EXPECT_TRUE(bw.avx512bw);
    EXPECT_FALSE(bw.avx512f || bw.avx512vl || bw.avx2);
}

TEST(CpuFeatures, OsStateNeedsOsxsaveAndXcr0Bits) {
    Regs r = v4();
    r.leaf1.ecx &= ~(1u << 27);  // no OSXSAVE: XCR0 is not to be trusted
    EXPECT_FALSE(r.decode().osYmm);
    r = v4();
    r.xcr0 = 0x3;  // YMM state not enabled
    EXPECT_FALSE(r.decode().osYmm);
    r.xcr0 = 0x7;  // YMM only
    EXPECT_TRUE(r.decode().osYmm);
    EXPECT_FALSE(r.decode().osZmm);
    r.xcr0 = 0x67;  // one of the three AVX-512 state components missing
    EXPECT_FALSE(r.decode().osZmm);
}

TEST(CpuFeatures, LevelOfEveryType) {
    using zkr::cpu::levelForType;
    for (int t : {zkrCpuAVX512F, zkrCpuAVX512BW, zkrCpuAVX512VNNI, zkrCpuX64v4}) EXPECT_EQ(levelForType(t), 2) << t;
    for (int t : {zkrCpuAVX2, zkrCpuX64v3}) EXPECT_EQ(levelForType(t), 1) << t;
    for (int t : {zkrCpuUnknown, zkrCpuX86, zkrCpuMMX, zkrCpuSSE, zkrCpuSSE2, zkrCpuSSE3, zkrCpuSSSE3, zkrCpuSSE41,
                  zkrCpuSSE42, zkrCpuAVX, zkrCpuX64, zkrCpuX64v2})
        EXPECT_EQ(levelForType(t), 0) << t;
    for (int t : {-1, 0x0E, 0x0F, 0x14, 0x100}) {
        EXPECT_EQ(levelForType(t), -1) << t;
        EXPECT_FALSE(zkr::cpu::isKnownType(t));
        EXPECT_FALSE(zkr::cpu::supportsType(t, v4().l7ecx(11).decode()));
    }
}

TEST(CpuFeatures, X64v2MachineRefusesAvxAndAbove) {
    const Features f = v2().decode();
    for (int t : {zkrCpuX86, zkrCpuMMX, zkrCpuSSE, zkrCpuSSE2, zkrCpuSSE3, zkrCpuSSSE3, zkrCpuSSE41, zkrCpuSSE42,
                  zkrCpuX64, zkrCpuX64v2})
        EXPECT_TRUE(zkr::cpu::supportsType(t, f)) << t;
    for (int t : {zkrCpuAVX, zkrCpuAVX2, zkrCpuAVX512F, zkrCpuAVX512BW, zkrCpuAVX512VNNI, zkrCpuX64v3, zkrCpuX64v4})
        EXPECT_FALSE(zkr::cpu::supportsType(t, f)) << t;
    EXPECT_EQ(zkr::cpu::bestType(f), zkrCpuSSE42);
    EXPECT_EQ(zkr::cpu::bestLevel(f), zkrLevelBase);
}

TEST(CpuFeatures, TypesNeedEveryLowerStep) {
    Regs r = v3();
    r.leaf1.ecx &= ~(1u << 9);  // no SSSE3 although AVX2 is reported
    const Features f = r.decode();
    EXPECT_TRUE(zkr::cpu::supportsType(zkrCpuSSE3, f));
    EXPECT_FALSE(zkr::cpu::supportsType(zkrCpuSSSE3, f));
    EXPECT_FALSE(zkr::cpu::supportsType(zkrCpuAVX2, f));
    EXPECT_EQ(zkr::cpu::bestType(f), zkrCpuSSE3);
    EXPECT_EQ(zkr::cpu::bestLevel(f), zkrLevelBase);
}

TEST(CpuFeatures, Avx2NeedsFmaAndOsSupport) {
    EXPECT_TRUE(zkr::cpu::supportsType(zkrCpuAVX2, v3().decode()));
    EXPECT_EQ(zkr::cpu::bestLevel(v3().decode()), zkrLevelAVX2);
    Regs noFma = v3();
    noFma.leaf1.ecx &= ~(1u << 12);
    EXPECT_FALSE(zkr::cpu::supportsType(zkrCpuAVX2, noFma.decode()));
    EXPECT_TRUE(zkr::cpu::supportsType(zkrCpuAVX, noFma.decode()));
    EXPECT_FALSE(zkr::cpu::supportsType(zkrCpuX64v3, noFma.decode()));
    Regs noOs = v3();
    noOs.xcr0 = 0x3;
    EXPECT_FALSE(zkr::cpu::supportsType(zkrCpuAVX, noOs.decode()));
    EXPECT_FALSE(zkr::cpu::supportsType(zkrCpuAVX2, noOs.decode()));
    EXPECT_EQ(zkr::cpu::bestLevel(noOs.decode()), zkrLevelBase);
}

TEST(CpuFeatures, X64v3NeedsBmiLzcntMovbeF16c) {
    for (auto drop : {+[](Regs& r) { r.leaf7.ebx &= ~(1u << 3); }, +[](Regs& r) { r.leaf7.ebx &= ~(1u << 8); },
                      +[](Regs& r) { r.ext1.ecx &= ~(1u << 5); }, +[](Regs& r) { r.leaf1.ecx &= ~(1u << 22); },
                      +[](Regs& r) { r.leaf1.ecx &= ~(1u << 29); }}) {
        Regs r = v3();
        drop(r);
        EXPECT_FALSE(zkr::cpu::supportsType(zkrCpuX64v3, r.decode()));
        EXPECT_TRUE(zkr::cpu::supportsType(zkrCpuAVX2, r.decode()));
    }
}

TEST(CpuFeatures, Avx512TypesNeedTheWholeCodePathSet) {
    const Features full = v4().decode();
    EXPECT_TRUE(zkr::cpu::supportsType(zkrCpuAVX512F, full));
    EXPECT_TRUE(zkr::cpu::supportsType(zkrCpuAVX512BW, full));
    EXPECT_TRUE(zkr::cpu::supportsType(zkrCpuX64v4, full));
    EXPECT_FALSE(zkr::cpu::supportsType(zkrCpuAVX512VNNI, full));
    EXPECT_EQ(zkr::cpu::bestType(full), zkrCpuAVX512BW);
    EXPECT_EQ(zkr::cpu::bestLevel(full), zkrLevelAVX512);
    EXPECT_EQ(zkr::cpu::bestType(v4().l7ecx(11).decode()), zkrCpuAVX512VNNI);

    // F alone (no BW/VL/DQ) cannot run the AVX-512 code path.
    Regs fOnly = v4();
    fOnly.leaf7.ebx &= ~((1u << 17) | (1u << 30) | (1u << 31));
    EXPECT_FALSE(zkr::cpu::supportsType(zkrCpuAVX512F, fOnly.decode()));
    EXPECT_EQ(zkr::cpu::bestLevel(fOnly.decode()), zkrLevelAVX2);
    EXPECT_EQ(zkr::cpu::bestType(fOnly.decode()), zkrCpuAVX2);

    Regs noZmm = v4();
    noZmm.xcr0 = 0x7;
    EXPECT_FALSE(zkr::cpu::supportsType(zkrCpuAVX512BW, noZmm.decode()));
    EXPECT_FALSE(zkr::cpu::supportsType(zkrCpuX64v4, noZmm.decode()));
    EXPECT_TRUE(zkr::cpu::supportsType(zkrCpuX64v3, noZmm.decode()));

    Regs noCd = v4();
    noCd.leaf7.ebx &= ~(1u << 28);
    EXPECT_FALSE(zkr::cpu::supportsType(zkrCpuX64v4, noCd.decode()));
    EXPECT_TRUE(zkr::cpu::supportsType(zkrCpuAVX512BW, noCd.decode()));
}

TEST(CpuFeatures, UnknownTypeIsAlwaysAvailable) {
    EXPECT_TRUE(zkr::cpu::supportsType(zkrCpuUnknown, Regs{}.decode()));
    EXPECT_TRUE(zkr::cpu::supportsType(zkrCpuX86, Regs{}.decode()));
    EXPECT_FALSE(zkr::cpu::supportsType(zkrCpuX64, Regs{}.decode()));
    EXPECT_EQ(zkr::cpu::bestType(Regs{}.decode()), zkrCpuX86);
}

}  // namespace
}  // namespace zkrtest
