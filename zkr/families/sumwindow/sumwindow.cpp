// The exported functions of the SumWindow family, defined from its table:
// checks (pointers, size, steps, mask size, anchor), then the kernel of the
// level in force over row bands of the worker pool.
#include <cstdint>
#include <type_traits>

#include "checks.h"
#include "sumwindow_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::sumwindow {
namespace {

enum class Dir { Row, Column };

// Integer windows keep 32-bit running sums: 65535 values of 16s stay within them.
constexpr int kMaxMask = 65535;

template <Dir dir, Layout L, class A> ZkrStatus run(const A& a) {
    using S = std::remove_const_t<std::remove_pointer_t<decltype(a.pSrc)>>;
    if (const ZkrStatus s = checkPointers({a.pSrc, a.pDst}); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSize(a.dstRoiSize); s != zkrStsNoErr) return s;
    const std::int64_t w = a.dstRoiSize.width;
    if (const ZkrStatus s = checkSteps({a.srcStep}, w * Pixel<S, L>::bytes, int(sizeof(S))); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSteps({a.dstStep}, w * Pixel<Zkr32f, L>::bytes, 4); s != zkrStsNoErr) return s;
    if (a.maskSize < 1 || a.maskSize > kMaxMask) return zkrStsMaskSizeErr;
    if (a.anchor < 0 || a.anchor >= a.maskSize) return zkrStsAnchorErr;
    WinJob j;
    j.s = a.pSrc, j.sStep = a.srcStep;
    j.d = a.pDst, j.dStep = a.dstStep;
    j.period = kChannels<L>;
    j.rowLen = a.dstRoiSize.width * j.period;
    j.mask = a.maskSize, j.anchor = a.anchor;
    const RowsFn fn = kernels().fn[kComp<S>][dir == Dir::Column ? 1 : 0];
    forRowBands(w * a.dstRoiSize.height * a.maskSize, a.dstRoiSize.height, [&](int y0, int y1) { fn(j, y0, y1); });
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::sumwindow

#define ZKR_FN(name, form, Ts, Td, L, dir)                                                  \
    ZKR_DEFINE(name, form, Ts, Td) {                                                        \
        ZKR_PACK(args, form, Ts, Td);                                                       \
        return zkr::sumwindow::run<zkr::sumwindow::Dir::dir, zkr::Layout::L>(args);        \
    }
#include "sumwindow/sumwindow.tbl"
#undef ZKR_FN
