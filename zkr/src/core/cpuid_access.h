// Raw CPUID / XGETBV access.
#pragma once

#include <cpuid.h>

#include <cstdint>

#include "cpu_features.h"

namespace zkr::cpu {

inline CpuidRegs cpuid(std::uint32_t leaf, std::uint32_t subleaf) {
    CpuidRegs r;
    __cpuid_count(leaf, subleaf, r.eax, r.ebx, r.ecx, r.edx);
    return r;
}

// XCR0; only valid when CPUID(1).ECX.OSXSAVE is set.
inline std::uint64_t xgetbv0() {
    std::uint32_t lo = 0, hi = 0;
    __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    return (std::uint64_t(hi) << 32) | lo;
}

}  // namespace zkr::cpu
