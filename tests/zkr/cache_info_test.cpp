// Largest-cache decoding on synthetic CPUID values: each source of the
// fallback chain, the field layout of the descriptors, and lists without end.
#include <map>
#include <utility>

#include "cache_info.h"
#include "test_support.h"

namespace zkrtest {
namespace {

using zkr::cpu::CpuidRegs;

// CPUID answers of a made-up processor; unlisted leaves read as zero.
class FakeCpuid {
public:
    FakeCpuid& set(std::uint32_t leaf, std::uint32_t sub, CpuidRegs r) {
        regs_[{leaf, sub}] = r;
        return *this;
    }
    zkr::cpu::CpuidReader reader() const {
        return [this](std::uint32_t leaf, std::uint32_t sub) {
            const auto it = regs_.find({leaf, sub});
            return it == regs_.end() ? CpuidRegs{} : it->second;
        };
    }
    std::int64_t maxCache() const { return zkr::cpu::maxCacheBytes(reader()); }

private:
    std::map<std::pair<std::uint32_t, std::uint32_t>, CpuidRegs> regs_;
};

// Descriptor fields: type | level << 5 in EAX; ways, partitions, line size in EBX; sets in ECX.
CpuidRegs descriptor(std::uint32_t type, std::uint32_t level, std::uint32_t ways, std::uint32_t partitions,
                     std::uint32_t line, std::uint32_t sets) {
    return {type | level << 5, (ways - 1) << 22 | (partitions - 1) << 12 | (line - 1), sets - 1, 0};
}

constexpr std::uint32_t kExt = 0x80000000u;

TEST(CacheInfo, DescriptorFieldsMultiply) {
    EXPECT_EQ(zkr::cpu::cacheBytesFromDescriptor(descriptor(1, 1, 12, 1, 64, 64)), 49152);
    EXPECT_EQ(zkr::cpu::cacheBytesFromDescriptor(descriptor(3, 2, 16, 2, 64, 1024)), 16 * 2 * 64 * 1024);
    EXPECT_EQ(zkr::cpu::cacheBytesFromDescriptor(descriptor(3, 3, 1024, 1024, 4096, 1)),
              std::int64_t(1024) * 1024 * 4096);
    EXPECT_EQ(zkr::cpu::cacheBytesFromDescriptor(CpuidRegs{0, 0xFFFFFFFF, 0xFFFFFFFF, 0}), 0) << "type 0 ends the list";
}

TEST(CacheInfo, Leaf4GivesTheLargestDataOrUnifiedCache) {
    // Register values as read on a server processor with a 260 MB L3.
    FakeCpuid cpu;
    cpu.set(0, 0, {0x1c, 0, 0, 0})
        .set(4, 0, {0x04000121, 0x02c0003f, 0x0000003f, 0})
        .set(4, 1, {0x04000122, 0x01c0003f, 0x0000003f, 0})
        .set(4, 2, {0x04000143, 0x03c0003f, 0x000007ff, 0})
        .set(4, 3, {0x04004163, 0x04c0003f, 0x00033fff, 0})
        .set(kExt, 0, {0x80000008, 0, 0, 0})
        .set(kExt + 6, 0, {0, 0, 0x08007040, 0});
    EXPECT_EQ(cpu.maxCache(), 272629760);
}

TEST(CacheInfo, InstructionCachesDoNotCount) {
    FakeCpuid cpu;
    cpu.set(0, 0, {4, 0, 0, 0})
        .set(4, 0, descriptor(2, 1, 8, 1, 64, 4096))  // 2 MB instruction cache
        .set(4, 1, descriptor(1, 1, 8, 1, 64, 64));   // 32 KB data cache
    EXPECT_EQ(cpu.maxCache(), 32768);
}

TEST(CacheInfo, EmptyLeaf4FallsBackToExtendedDescriptors) {
    FakeCpuid cpu;
    cpu.set(0, 0, {0x10, 0, 0, 0})
        .set(kExt, 0, {0x80000021, 0, 0, 0})
        .set(0x8000001D, 0, descriptor(1, 1, 8, 1, 64, 64))
        .set(0x8000001D, 1, descriptor(2, 1, 8, 1, 64, 64))
        .set(0x8000001D, 2, descriptor(3, 2, 8, 1, 64, 1024))
        .set(0x8000001D, 3, descriptor(3, 3, 16, 1, 64, 32768))
        .set(kExt + 6, 0, {0, 0, 0x02006140, 0x00408140});
    EXPECT_EQ(cpu.maxCache(), 32 << 20);
}

TEST(CacheInfo, NoDescriptorsFallBackToL2L3Leaf) {
    FakeCpuid cpu;
    cpu.set(0, 0, {0x1c, 0, 0, 0}).set(kExt, 0, {0x80000021, 0, 0, 0});
    cpu.set(kExt + 6, 0, {0, 0, 0x08007040, 0});  // L2 2048 KB, no L3 reported
    EXPECT_EQ(cpu.maxCache(), 2 << 20);
    cpu.set(kExt + 6, 0, {0, 0, 0x02006140, 0x00408140});  // L2 512 KB, L3 16 x 512 KB
    EXPECT_EQ(cpu.maxCache(), 8 << 20);
}

TEST(CacheInfo, OldProcessorReportsNothing) {
    FakeCpuid cpu;
    cpu.set(0, 0, {2, 0, 0, 0}).set(kExt, 0, {0x80000004, 0, 0, 0});
    cpu.set(4, 0, descriptor(1, 1, 8, 1, 64, 64));            // beyond the maximum leaf: ignored
    cpu.set(kExt + 6, 0, {0, 0, 0x02006140, 0x00408140});     // beyond the maximum extended leaf
    EXPECT_EQ(cpu.maxCache(), 0);
}

TEST(CacheInfo, ListWithoutEndIsBounded) {
    FakeCpuid cpu;
    cpu.set(0, 0, {4, 0, 0, 0});
    for (std::uint32_t sub = 0; sub < 200; ++sub) cpu.set(4, sub, descriptor(3, 2, 4, 1, 64, 64 + sub));
    const std::int64_t bytes = cpu.maxCache();
    EXPECT_GT(bytes, 4 * 64 * 64);
    EXPECT_LT(bytes, 4 * 64 * (64 + 200));
}

}  // namespace
}  // namespace zkrtest
