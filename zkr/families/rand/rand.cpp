// The exported functions of the Rand family, defined from its table: checks
// (pointers, size, step, then the noise parameters), the row kernel of the
// level in force over row bands, and the caller's seed advanced.
#include <cstdint>
#include <type_traits>

#include "checks.h"
#include "rand_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::rand {
namespace {

enum class Op { Uniform, Gauss };

template <Op op, Layout L, class A> ZkrStatus run(const A& a) {
    using T = std::remove_pointer_t<decltype(a.pSrcDst)>;
    if (const ZkrStatus s = checkArgs({a.pSrcDst, a.pSeed}, a.roiSize, {a.srcDstStep}, Pixel<T, L>::bytes, int(sizeof(T)));
        s != zkrStsNoErr)
        return s;
    RandJob j;
    if constexpr (op == Op::Uniform) {
        if (!(a.low <= a.high)) return zkrStsRangeErr;
        j.a = float(a.low), j.b = float(a.high) - float(a.low);
    } else {
        if constexpr (!std::is_unsigned_v<T>)
            if (!(a.stdDev >= T(0))) return zkrStsBadArgErr;
        j.a = float(a.mean), j.b = float(a.stdDev);
    }
    j.p = a.pSrcDst, j.step = a.srcDstStep;
    j.rowLen = a.roiSize.width * kChannels<L>;
    j.key = mix64(std::uint64_t(*a.pSeed) * 0x100000001B3ull + (op == Op::Gauss ? 1u : 0u));
    const RowsFn fn = kernels().fn[kComp<T>][op == Op::Gauss ? 1 : 0][L == Layout::AC4 ? 1 : 0];
    const std::int64_t comps = std::int64_t(j.rowLen) * a.roiSize.height;
    forRowBands(std::int64_t(a.roiSize.width) * a.roiSize.height, a.roiSize.height, [&](int y0, int y1) { fn(j, y0, y1); });
    // The next seed: past every index this call used.
    *a.pSeed = static_cast<unsigned int>(mix64(j.key + 3 * std::uint64_t(comps)) >> 32);
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::rand

#define ZKR_FN(name, form, T, L, op)                                                   \
    ZKR_DEFINE(name, form, T) {                                                        \
        ZKR_PACK(args, form, T);                                                       \
        return zkr::rand::run<zkr::rand::Op::op, zkr::Layout::L>(args);                \
    }
#include "rand/rand.tbl"
#undef ZKR_FN
