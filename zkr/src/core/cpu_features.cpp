#include "cpu_features.h"

#include "cpuid_access.h"
#include "zkrcore.h"

namespace zkr::cpu {

namespace {

constexpr bool bit(std::uint32_t reg, int n) { return (reg >> n) & 1u; }

// Feature-ladder types 0x01..0x0D: each needs its own step and every step below.
bool ladderStep(int type, const Features& f) {
    switch (type) {
        case zkrCpuX86:        return true;
        case zkrCpuMMX:        return f.mmx;
        case zkrCpuSSE:        return f.sse;
        case zkrCpuSSE2:       return f.sse2;
        case zkrCpuSSE3:       return f.sse3;
        case zkrCpuSSSE3:      return f.ssse3;
        case zkrCpuSSE41:      return f.sse41;
        case zkrCpuSSE42:      return f.sse42;
        case zkrCpuAVX:        return f.avx && f.osYmm;
        case zkrCpuAVX2:       return f.avx2 && f.fma;
        case zkrCpuAVX512F:    // selects the AVX-512 code path, built for F/BW/VL/DQ
        case zkrCpuAVX512BW:   return f.avx512f && f.avx512bw && f.avx512vl && f.avx512dq && f.osZmm;
        case zkrCpuAVX512VNNI: return f.avx512vnni;
        default:               return false;
    }
}

bool x64v1(const Features& f) { return f.mmx && f.sse && f.sse2; }
bool x64v2(const Features& f) {
    return x64v1(f) && f.cx16 && f.lahf && f.popcnt && f.sse3 && f.ssse3 && f.sse41 && f.sse42;
}
bool x64v3(const Features& f) {
    return x64v2(f) && f.avx && f.avx2 && f.bmi1 && f.bmi2 && f.f16c && f.fma && f.lzcnt && f.movbe &&
           f.osYmm;
}
bool x64v4(const Features& f) {
    return x64v3(f) && f.avx512f && f.avx512bw && f.avx512cd && f.avx512dq && f.avx512vl && f.osZmm;
}

}  // namespace

Features decodeFeatures(const CpuidRegs& leaf1, const CpuidRegs& leaf7, const CpuidRegs& ext1,
                        std::uint64_t xcr0) {
    Features f;
    f.mmx = bit(leaf1.edx, 23);
    f.sse = bit(leaf1.edx, 25);
    f.sse2 = bit(leaf1.edx, 26);
    f.sse3 = bit(leaf1.ecx, 0);
    f.ssse3 = bit(leaf1.ecx, 9);
    f.fma = bit(leaf1.ecx, 12);
    f.cx16 = bit(leaf1.ecx, 13);
    f.sse41 = bit(leaf1.ecx, 19);
    f.sse42 = bit(leaf1.ecx, 20);
    f.movbe = bit(leaf1.ecx, 22);
    f.popcnt = bit(leaf1.ecx, 23);
    f.avx = bit(leaf1.ecx, 28);
    f.f16c = bit(leaf1.ecx, 29);
    f.bmi1 = bit(leaf7.ebx, 3);
    f.avx2 = bit(leaf7.ebx, 5);
    f.bmi2 = bit(leaf7.ebx, 8);
    f.avx512f = bit(leaf7.ebx, 16);
    f.avx512dq = bit(leaf7.ebx, 17);
    f.avx512cd = bit(leaf7.ebx, 28);
    f.avx512bw = bit(leaf7.ebx, 30);
    f.avx512vl = bit(leaf7.ebx, 31);
    f.avx512vnni = bit(leaf7.ecx, 11);
    f.lahf = bit(ext1.ecx, 0);
    f.lzcnt = bit(ext1.ecx, 5);
    const bool osxsave = bit(leaf1.ecx, 27);
    f.osYmm = osxsave && (xcr0 & 0x6) == 0x6;
    f.osZmm = f.osYmm && (xcr0 & 0xE0) == 0xE0;
    return f;
}

Features readProcessor() {
    const std::uint32_t maxLeaf = cpuid(0, 0).eax;
    const std::uint32_t maxExt = cpuid(0x80000000u, 0).eax;
    const CpuidRegs leaf1 = maxLeaf >= 1 ? cpuid(1, 0) : CpuidRegs{};
    const CpuidRegs leaf7 = maxLeaf >= 7 ? cpuid(7, 0) : CpuidRegs{};
    const CpuidRegs ext1 = maxExt >= 0x80000001u ? cpuid(0x80000001u, 0) : CpuidRegs{};
    const bool osxsave = bit(leaf1.ecx, 27);
    return decodeFeatures(leaf1, leaf7, ext1, osxsave ? xgetbv0() : 0);
}

bool isKnownType(int t) {
    return (t >= zkrCpuUnknown && t <= zkrCpuAVX512VNNI) || (t >= zkrCpuX64 && t <= zkrCpuX64v4);
}

int levelForType(int t) {
    switch (t) {
        case zkrCpuAVX512F: case zkrCpuAVX512BW: case zkrCpuAVX512VNNI: case zkrCpuX64v4:
            return zkrLevelAVX512;
        case zkrCpuAVX2: case zkrCpuX64v3:
            return zkrLevelAVX2;
        default:
            return isKnownType(t) ? zkrLevelBase : -1;
    }
}

bool supportsType(int t, const Features& f) {
    switch (t) {
        case zkrCpuUnknown: return true;
        case zkrCpuX64:     return x64v1(f);
        case zkrCpuX64v2:   return x64v2(f);
        case zkrCpuX64v3:   return x64v3(f);
        case zkrCpuX64v4:   return x64v4(f);
        default: break;
    }
    if (t < zkrCpuX86 || t > zkrCpuAVX512VNNI) return false;
    for (int step = zkrCpuX86; step <= t; ++step)
        if (!ladderStep(step, f)) return false;
    return true;
}

int bestType(const Features& f) {
    int best = zkrCpuUnknown;
    for (int t = zkrCpuX86; t <= zkrCpuAVX512VNNI && supportsType(t, f); ++t) best = t;
    return best;
}

int bestLevel(const Features& f) {
    if (supportsType(zkrCpuAVX512BW, f)) return zkrLevelAVX512;
    if (supportsType(zkrCpuAVX2, f)) return zkrLevelAVX2;
    return zkrLevelBase;
}

}  // namespace zkr::cpu
