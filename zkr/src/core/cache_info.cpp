#include "cache_info.h"

namespace zkr::cpu {

namespace {

constexpr std::uint32_t kLeafCacheParams = 4;
constexpr std::uint32_t kLeafExtMax = 0x80000000u;
constexpr std::uint32_t kLeafExtL2L3 = 0x80000006u;
constexpr std::uint32_t kLeafExtCacheParams = 0x8000001Du;
constexpr std::uint32_t kMaxSubleaves = 64;  // guards against a list that never ends

enum CacheType : std::uint32_t { kNone = 0, kData = 1, kInstruction = 2, kUnified = 3 };

// Largest data/unified cache listed by a deterministic cache parameters leaf.
std::int64_t scanDescriptors(const CpuidReader& read, std::uint32_t leaf) {
    std::int64_t best = 0;
    for (std::uint32_t sub = 0; sub < kMaxSubleaves; ++sub) {
        const CpuidRegs r = read(leaf, sub);
        const std::uint32_t type = r.eax & 0x1F;
        if (type == kNone) break;
        if (type == kData || type == kUnified) {
            const std::int64_t bytes = cacheBytesFromDescriptor(r);
            if (bytes > best) best = bytes;
        }
    }
    return best;
}

}  // namespace

std::int64_t cacheBytesFromDescriptor(const CpuidRegs& r) {
    if ((r.eax & 0x1F) == kNone) return 0;
    const std::int64_t ways = ((r.ebx >> 22) & 0x3FF) + 1;
    const std::int64_t partitions = ((r.ebx >> 12) & 0x3FF) + 1;
    const std::int64_t lineSize = (r.ebx & 0xFFF) + 1;
    const std::int64_t sets = std::int64_t(r.ecx) + 1;
    return ways * partitions * lineSize * sets;
}

std::int64_t maxCacheBytes(const CpuidReader& read) {
    const std::uint32_t maxLeaf = read(0, 0).eax;
    if (maxLeaf >= kLeafCacheParams) {
        if (const std::int64_t bytes = scanDescriptors(read, kLeafCacheParams)) return bytes;
    }
    const std::uint32_t maxExt = read(kLeafExtMax, 0).eax;
    if (maxExt >= kLeafExtCacheParams) {
        if (const std::int64_t bytes = scanDescriptors(read, kLeafExtCacheParams)) return bytes;
    }
    if (maxExt >= kLeafExtL2L3) {
        const CpuidRegs r = read(kLeafExtL2L3, 0);
        const std::int64_t l2 = std::int64_t(r.ecx >> 16) * 1024;        // ECX[31:16] in KB
        const std::int64_t l3 = std::int64_t(r.edx >> 18) * 512 * 1024;  // EDX[31:18] in 512 KB units
        return l2 > l3 ? l2 : l3;
    }
    return 0;
}

}  // namespace zkr::cpu
