// The exported functions of the window family, defined from its table: argument checks, the
// window's factors along both axes, then the row kernel of the level in force over row bands.
#include <cmath>
#include <new>
#include <numbers>
#include <type_traits>
#include <vector>

#include "checks.h"
#include "win_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::win {
namespace {

enum class Op { Bartlett, BartlettSep, Hamming, HammingSep };

// The normalised coordinate of pixel i of n: 2i / (n - 1) - 1 (0 for n = 1).
double coord(int i, int n) { return n > 1 ? 2.0 * i / (n - 1) - 1.0 : 0.0; }

double window1(Op op, double t) {
    if (op == Op::BartlettSep) return 1.0 - std::fabs(t);
    return 0.54 + 0.46 * std::cos(std::numbers::pi * t);
}

template <class T, Op op, class A> ZkrStatus run(const A& a) {
    constexpr bool inPlace = requires { a.pSrcDst; };
    Job job;
    int sStep, dStep;
    if constexpr (inPlace) {
        if (const ZkrStatus s = checkPointers({a.pSrcDst}); s != zkrStsNoErr) return s;
        job.s = job.d = a.pSrcDst;
        sStep = dStep = a.srcDstStep;
    } else {
        if (const ZkrStatus s = checkPointers({a.pSrc, a.pDst}); s != zkrStsNoErr) return s;
        job.s = a.pSrc;
        job.d = a.pDst;
        sStep = a.srcStep;
        dStep = a.dstStep;
    }
    if (const ZkrStatus s = checkArgs({job.s}, a.roiSize, {sStep, dStep}, int(sizeof(T)), int(sizeof(T)));
        s != zkrStsNoErr)
        return s;
    job.sStep = sStep;
    job.dStep = dStep;
    const int w = a.roiSize.width, h = a.roiSize.height;
    job.width = w;
    std::vector<double> fx, fy;
    try {
        fx.resize(std::size_t(w));
        fy.resize(std::size_t(h));
    } catch (const std::bad_alloc&) {
        return zkrStsMemAllocErr;
    }
    constexpr bool separable = op == Op::BartlettSep || op == Op::HammingSep;
    for (int x = 0; x < w; ++x) {
        const double t = coord(x, w);
        fx[std::size_t(x)] = separable ? window1(op, t) : t * t;
    }
    for (int y = 0; y < h; ++y) {
        const double t = coord(y, h);
        fy[std::size_t(y)] = separable ? window1(op, t) : t * t;
    }
    job.fx = fx.data();
    job.fy = fy.data();
    constexpr int t = std::is_same_v<T, Zkr8u> ? 0 : (std::is_same_v<T, Zkr16u> ? 1 : 2);
    const Kernels& ks = kernels();
    RowsFn fn = separable ? ks.separable[t] : ks.radial[t][op == Op::Bartlett ? int(Win::Bartlett) : int(Win::Hamming)];
    forRowBands(std::int64_t(w) * h, h, [&](int y0, int y1) { fn(job, y0, y1); });
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::win

#define ZKR_FN(name, form, T, op)                                        \
    ZKR_DEFINE(name, form, T) {                                          \
        ZKR_PACK(args, form, T);                                         \
        return zkr::win::run<T, zkr::win::Op::op>(args);                 \
    }
#include "win/win.tbl"
#undef ZKR_FN
