// Processor feature decoding and the rules that map ZkrCpuType codes to
// dispatch levels. Everything but readProcessor() is a pure function of
// register values, so the rules are testable on any machine.
#pragma once

#include <cstdint>

namespace zkr::cpu {

struct CpuidRegs {
    std::uint32_t eax = 0, ebx = 0, ecx = 0, edx = 0;
};

struct Features {
    bool mmx = false, sse = false, sse2 = false, sse3 = false, ssse3 = false;
    bool sse41 = false, sse42 = false, popcnt = false, cx16 = false, lahf = false;
    bool avx = false, avx2 = false, fma = false, bmi1 = false, bmi2 = false;
    bool f16c = false, lzcnt = false, movbe = false;
    bool avx512f = false, avx512bw = false, avx512vl = false, avx512dq = false;
    bool avx512cd = false, avx512vnni = false;
    bool osYmm = false;  // the OS saves YMM state (OSXSAVE and XCR0 bits 1-2)
    bool osZmm = false;  // ... and opmask/ZMM state (XCR0 bits 5-7)
};

// leaf1 = CPUID(1), leaf7 = CPUID(7, 0), ext1 = CPUID(0x80000001), xcr0 = XGETBV(0)
// (pass 0 when OSXSAVE is clear: XGETBV is then unavailable).
Features decodeFeatures(const CpuidRegs& leaf1, const CpuidRegs& leaf7, const CpuidRegs& ext1,
                        std::uint64_t xcr0);

// Features of the processor running this code.
Features readProcessor();

// True for the codes listed in ZkrCpuType.
bool isKnownType(int cpuType);

// Dispatch level a processor type selects: 2 AVX-512, 1 AVX2, 0 baseline; -1 unknown code.
int levelForType(int cpuType);

// True when a processor with `f` executes everything the type and the code
// path it selects need (AVX512F also selects the F/BW/VL/DQ code path).
bool supportsType(int cpuType, const Features& f);

// Most capable of the feature-ladder types (X86 ... AVX512VNNI) that `f` supports.
int bestType(const Features& f);

// Highest dispatch level `f` can run.
int bestLevel(const Features& f);

}  // namespace zkr::cpu
