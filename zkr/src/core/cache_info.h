// Largest cache of the processor, decoded from CPUID. The decoding reads
// registers through a callback so tests can feed synthetic register values.
#pragma once

#include <cstdint>
#include <functional>

#include "cpu_features.h"

namespace zkr::cpu {

using CpuidReader = std::function<CpuidRegs(std::uint32_t leaf, std::uint32_t subleaf)>;

// Size in bytes of one cache described by a deterministic cache parameters
// subleaf (leaf 4 or 0x8000001D, same layout); 0 when the subleaf ends the list.
std::int64_t cacheBytesFromDescriptor(const CpuidRegs& r);

// Largest data or unified cache, trying in turn: leaf 4, leaf 0x8000001D,
// leaf 0x80000006 (L2 and L3 sizes). 0 when none of them describes a cache.
std::int64_t maxCacheBytes(const CpuidReader& read);

}  // namespace zkr::cpu
