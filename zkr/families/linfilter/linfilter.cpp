// The exported functions of the linear filter family, defined from its tables: each row packs its
// parameters and hands them to one generic entry point, which checks the arguments (pointers,
// size, steps, then kernel or mask, anchor, divisor, rounding mode), turns the kernel into a
// list of taps (offset and weight, weights of 0 left out) and runs the kernel of the level in
// force over row bands.
#include <cstdint>
#include <new>
#include <type_traits>
#include <vector>

#include "enum_arg.h"
#include "checks.h"
#include "elem_info.h"
#include "linfilter_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"
#include "linfilter/linfilter_forms.h"

namespace zkr::linfilter {

enum class Op {
    PrewittVert, PrewittHoriz, SobelVert, SobelHoriz, RobertsUp, RobertsDown, Sharpen, ScharrVert, ScharrHoriz,
    Laplace, Gauss, Hipass, Lowpass, SobelVertSecond, SobelHorizSecond, SobelCross,
    MedianHoriz, MedianVert, MedianCross, MedianColor, User, Column, Row, DecRow, DecColumn
};

namespace {

// A fixed kernel: size x size weights in row order and the divisor of their sum.
// Outer products (w(i, j) = u[j] * v[i]) keep their factors for the separable integer path.
struct Fixed {
    int size = 3;
    int divisor = 1;
    int w[25] = {};
    bool separable = false;
    int u[5] = {}, v[5] = {};
};

// w(i, j) = u[j] * v[i]
Fixed outer(int size, const int* u, const int* v, int divisor) {
    Fixed k;
    k.size = size;
    k.divisor = divisor;
    k.separable = true;
    for (int j = 0; j < size; ++j) {
        k.u[j] = u[j];
        k.v[j] = v[j];
        for (int i = 0; i < size; ++i) k.w[j * size + i] = u[j] * v[i];
    }
    return k;
}

Fixed literal(int size, std::initializer_list<int> w, int divisor = 1) {
    Fixed k;
    k.size = size;
    k.divisor = divisor;
    int at = 0;
    for (int v : w) k.w[at++] = v;
    return k;
}

Fixed filled(int size, int value, int centre, int divisor) {
    Fixed k;
    k.size = size;
    k.divisor = divisor;
    for (int i = 0; i < size * size; ++i) k.w[i] = value;
    k.w[size * size / 2] = centre;
    return k;
}

// The fixed kernel of `op` for a square mask of `size` (3 or 5); false when it has none.
bool fixedKernel(Op op, int size, Fixed& k) {
    static const int smooth3[] = {1, 2, 1}, smooth5[] = {1, 4, 6, 4, 1};
    static const int diff3[] = {-1, 0, 1}, diff5[] = {-1, -2, 0, 2, 1};
    static const int second3[] = {1, -2, 1}, second5[] = {1, 0, -2, 0, 1};
    static const int ones[] = {1, 1, 1, 1, 1}, scharr[] = {3, 10, 3};
    const bool five = size == 5;
    if (size != 3 && size != 5) return false;
    const int* smooth = five ? smooth5 : smooth3;
    const int* diff = five ? diff5 : diff3;
    const int* second = five ? second5 : second3;
    switch (op) {
        case Op::PrewittVert: k = outer(3, ones, diff3, 1); return !five;
        case Op::PrewittHoriz: k = outer(3, diff3, ones, 1); return !five;
        case Op::ScharrVert: k = outer(3, scharr, diff3, 1); return !five;
        case Op::ScharrHoriz: k = outer(3, diff3, scharr, 1); return !five;
        case Op::RobertsUp: k = literal(3, {0, 0, 0, 0, 0, 1, 0, -1, 0}); return !five;
        case Op::RobertsDown: k = literal(3, {0, 0, 0, 0, 1, 0, 0, 0, -1}); return !five;
        case Op::Sharpen: k = filled(3, -1, 16, 8); return !five;
        case Op::SobelVert: k = outer(size, smooth, diff, 1); return true;
        case Op::SobelHoriz: k = outer(size, diff, smooth, 1); return true;
        case Op::SobelVertSecond: k = outer(size, smooth, second, 1); return true;
        case Op::SobelHorizSecond: k = outer(size, second, smooth, 1); return true;
        case Op::SobelCross: k = outer(size, diff, diff, 1); return true;
        case Op::Gauss: k = outer(size, smooth, smooth, five ? 256 : 16); return true;
        case Op::Hipass: k = filled(size, -1, five ? 24 : 8, 1); return true;
        case Op::Lowpass: k = outer(size, ones, ones, five ? 25 : 9); return true;
        case Op::Laplace:
            k = five ? literal(5, {-1, -3, -4, -3, -1, -3, 0, 6, 0, -3, -4, 6, 20, 6, -4, -3, 0, 6, 0, -3, -1, -3, -4, -3, -1})
                     : literal(3, {0, -1, 0, -1, 4, -1, 0, -1, 0});
            return true;
        default: return false;
    }
}

// The kernel table index of a linear path.
template <class S, class D, class A> constexpr Path pathOf() {
    if constexpr (std::is_same_v<A, std::int32_t>) {
        if constexpr (std::is_same_v<S, Zkr8u> && std::is_same_v<D, Zkr8u>) return Path::U8_I32;
        else if constexpr (std::is_same_v<S, Zkr16u>) return Path::U16_I32;
        else if constexpr (std::is_same_v<S, Zkr16s>) return Path::S16_I32;
        else return Path::U8S16_I32;
    } else if constexpr (std::is_same_v<A, float>) {
        return std::is_same_v<S, Zkr16s> ? Path::S16F32_F32 : Path::F32_F32;
    } else {
        if constexpr (std::is_same_v<S, Zkr8u>) return Path::U8_F64;
        else if constexpr (std::is_same_v<S, Zkr16u>) return Path::U16_F64;
        else if constexpr (std::is_same_v<S, Zkr16s>) return Path::S16_F64;
        else return Path::F64_F64;
    }
}

template <class S> constexpr MType mtypeOf() {
    if constexpr (std::is_same_v<S, Zkr8u>) return MType::U8;
    else if constexpr (std::is_same_v<S, Zkr16u>) return MType::U16;
    else if constexpr (std::is_same_v<S, Zkr16s>) return MType::S16;
    else return MType::F32;
}

// The taps of a call: offsets and weights, owned here for the duration of the call.
template <class A> struct Taps {
    std::vector<int> dx, dy;
    std::vector<A> w;
};

ZkrStatus runBands(FilterJob& job, FilterFn fn) {
    std::atomic<bool> ok{true};
    forRowBands(std::int64_t(job.width) * job.height, job.height, [&](int y0, int y1) {
        if (!fn(job, y0, y1)) ok.store(false, std::memory_order_relaxed);
    });
    return ok.load() ? zkrStsNoErr : zkrStsMemAllocErr;
}

template <class S, class D, Layout L> FilterJob describe(const void* src, int srcStep, void* dst, int dstStep, ZkriSize roi) {
    FilterJob j;
    j.src = src;
    j.srcStep = srcStep;
    j.dst = dst;
    j.dstStep = dstStep;
    j.width = roi.width;
    j.height = roi.height;
    j.channels = kChannels<L>;
    j.active = kActive<L>;
    return j;
}

// A kernel of kw x kh weights of type K with its anchor into a linear job summing in A.
template <class S, class D, class A, class K>
ZkrStatus runLinear(FilterJob j, const K* kernel, int kw, int kh, int ax, int ay, int divisor, int round) {
    Taps<A> t;
    try {
        for (int y = 0; y < kh; ++y)
            for (int x = 0; x < kw; ++x) {
                const K v = kernel[std::size_t(y) * std::size_t(kw) + std::size_t(x)];
                if (v == K(0)) continue;
                t.dx.push_back(x - ax);
                t.dy.push_back(y - ay);
                t.w.push_back(A(v));
            }
    } catch (const std::bad_alloc&) {
        return zkrStsMemAllocErr;
    }
    j.taps = int(t.w.size());
    j.dx = t.dx.data();
    j.dy = t.dy.data();
    j.weights = t.w.data();
    j.divisor = divisor;
    j.round = round;
    return runBands(j, kernels().linear[int(pathOf<S, D, A>())]);
}

// Separate an integer outer product when its row and column passes take fewer taps than the
// direct sum (with two taps' worth for the ring's extra row pass): 5x5 kernels and the 3x3 smoothers.
bool worthSeparating(const Fixed& k) {
    if (!k.separable) return false;
    int direct = 0, row = 0, column = 0;
    for (int i = 0; i < k.size * k.size; ++i) direct += k.w[i] != 0;
    for (int i = 0; i < k.size; ++i) row += k.v[i] != 0, column += k.u[i] != 0;
    return row + column + 2 < direct;
}

// A separable fixed kernel, centred, over the 32-bit integer path.
template <class S, class D> ZkrStatus runSeparable(FilterJob j, const Fixed& k) {
    int dx[5];
    std::int32_t rw[5], cw[5];
    int taps = 0;
    for (int i = 0; i < k.size; ++i) {
        cw[i] = k.u[i];
        if (k.v[i] == 0) continue;
        dx[taps] = i - k.size / 2;
        rw[taps++] = k.v[i];
    }
    j.rowTaps = taps;
    j.rdx = dx;
    j.rw = rw;
    j.colTaps = k.size;
    j.colTop = -(k.size / 2);
    j.cw = cw;
    j.divisor = k.divisor;
    j.round = zkrRndNear;
    return runBands(j, kernels().separable[int(pathOf<S, D, std::int32_t>())]);
}

ZkrStatus checkKernel(int kw, int kh, int ax, int ay) {
    if (kw <= 0 || kh <= 0 || std::int64_t(kw) * kh > kMaxTaps) return zkrStsMaskSizeErr;
    if (ax < 0 || ay < 0 || ax >= kw || ay >= kh) return zkrStsAnchorErr;
    return zkrStsNoErr;
}

template <class S, class D, Layout L> ZkrStatus checkImages(const void* src, int srcStep, const void* dst, int dstStep,
                                                           ZkriSize roi, const void* kernel) {
    if (const ZkrStatus s = checkPointers({src, dst, kernel}); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSize(roi); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSteps({srcStep}, std::int64_t(roi.width) * kChannels<L> * int(sizeof(S)), int(sizeof(S)));
        s != zkrStsNoErr)
        return s;
    return checkSteps({dstStep}, std::int64_t(roi.width) * kChannels<L> * int(sizeof(D)), int(sizeof(D)));
}

// Fixed kernels and medians by mask size.
template <Op op, class S, class D, Layout L> ZkrStatus runMask(FilterJob j, ZkriSize mask) {
    constexpr bool median = op == Op::MedianHoriz || op == Op::MedianVert || op == Op::MedianCross;
    if constexpr (median || op == Op::MedianColor) {
        const int m = op == Op::MedianHoriz ? mask.width : mask.height;
        const bool ok = (m == 3 || m == 5) &&
                        (op == Op::MedianHoriz ? mask.height == 1 : op == Op::MedianVert ? mask.width == 1 : mask.width == m);
        if (!ok) return zkrStsMaskSizeErr;
        int dx[25], dy[25], n = 0;
        const int a = m / 2;
        if constexpr (op == Op::MedianColor) {
            for (int y = -a; y <= a; ++y)
                for (int x = -a; x <= a; ++x) dx[n] = x, dy[n++] = y;
        } else {
            if (op != Op::MedianVert)
                for (int x = -a; x <= a; ++x) dx[n] = x, dy[n++] = 0;
            if (op != Op::MedianHoriz)
                for (int y = -a; y <= a; ++y)
                    if (y != 0 || op == Op::MedianVert) dx[n] = 0, dy[n++] = y;
        }
        j.taps = n;
        j.dx = dx;
        j.dy = dy;
        if constexpr (op == Op::MedianColor) return runBands(j, kernels().colour[int(mtypeOf<S>())]);
        const MSize size = n == 3 ? MSize::N3 : n == 5 ? MSize::N5 : MSize::N9;
        return runBands(j, kernels().median[int(mtypeOf<S>())][int(size)]);
    } else {
        Fixed k;
        if (mask.width != mask.height || !fixedKernel(op, mask.width, k)) return zkrStsMaskSizeErr;
        using A = std::conditional_t<std::is_floating_point_v<D>, float, std::int32_t>;
        if constexpr (std::is_same_v<A, std::int32_t>)
            if (worthSeparating(k)) return runSeparable<S, D>(j, k);
        return runLinear<S, D, A>(j, k.w, k.size, k.size, k.size / 2, k.size / 2, k.divisor, zkrRndNear);
    }
}

template <Op op, Layout L, class A> ZkrStatus run(const A& a) {
    using S = std::remove_cv_t<std::remove_pointer_t<decltype(a.pSrc)>>;
    using D = std::remove_pointer_t<decltype(a.pDst)>;
    if constexpr (op == Op::DecRow || op == Op::DecColumn) {
        if (const ZkrStatus s = checkPointers({a.pSrc, a.pDst}); s != zkrStsNoErr) return s;
        if (const ZkrStatus s = checkSize(a.srcRoiSize); s != zkrStsNoErr) return s;
        if (a.factor < 2 || a.factor > 8) return zkrStsResizeFactorErr;
        const ZkriSize dst = op == Op::DecRow ? ZkriSize{a.srcRoiSize.width / a.factor, a.srcRoiSize.height}
                                              : ZkriSize{a.srcRoiSize.width, a.srcRoiSize.height / a.factor};
        if (const ZkrStatus s = checkSize(dst); s != zkrStsNoErr) return s;
        if (const ZkrStatus s = checkSteps({a.srcStep}, a.srcRoiSize.width, 1); s != zkrStsNoErr) return s;
        if (const ZkrStatus s = checkSteps({a.dstStep}, dst.width, 1); s != zkrStsNoErr) return s;
        FilterJob j = describe<S, D, L>(a.pSrc, a.srcStep, a.pDst, a.dstStep, dst);
        j.factor = a.factor;
        return runBands(j, op == Op::DecRow ? kernels().decimateRow : kernels().decimateColumn);
    } else {
        const void* kernel = a.pSrc;  // forms without a kernel: nothing more to check
        if constexpr (requires { a.pKernel; }) kernel = a.pKernel;
        if (const ZkrStatus s = checkImages<S, D, L>(a.pSrc, a.srcStep, a.pDst, a.dstStep, a.dstRoiSize, kernel);
            s != zkrStsNoErr)
            return s;
        const FilterJob j = describe<S, D, L>(a.pSrc, a.srcStep, a.pDst, a.dstStep, a.dstRoiSize);
        if constexpr (requires { a.pKernel; }) {
            using K = std::remove_cv_t<std::remove_pointer_t<decltype(a.pKernel)>>;
            int kw, kh, ax, ay;
            if constexpr (requires { a.kernelSize; }) {
                kw = a.kernelSize.width, kh = a.kernelSize.height, ax = a.anchor.x, ay = a.anchor.y;
            } else if constexpr (op == Op::Column) {
                kw = 1, kh = a.kernelLen, ax = 0, ay = a.yAnchor;
            } else {
                kw = a.kernelLen, kh = 1, ax = a.xAnchor, ay = 0;
            }
            if (const ZkrStatus s = checkKernel(kw, kh, ax, ay); s != zkrStsNoErr) return s;
            int divisor = 1;
            if constexpr (requires { a.divisor; }) divisor = a.divisor;
            if (divisor == 0) return zkrStsBadArgErr;
            int round = zkrRndNear;
            if constexpr (requires { a.roundMode; }) round = zkr::enumArg(a.roundMode);
            if (round != zkrRndZero && round != zkrRndNear && round != zkrRndFinancial) return zkrStsBadArgErr;
            using Acc = std::conditional_t<std::is_same_v<S, Zkr32f>, float, double>;
            return runLinear<S, D, Acc>(j, a.pKernel, kw, kh, ax, ay, divisor, round);
            (void)sizeof(K);
        } else if constexpr (requires { a.maskSize; }) {
            return runMask<op, S, D, L>(j, a.maskSize);
        } else {
            return runMask<op, S, D, L>(j, ZkriSize{3, 3});
        }
    }
}

}  // namespace
}  // namespace zkr::linfilter

#define ZKR_FN(name, form, Ts, Td, K, L, op)                                      \
    ZKR_DEFINE(name, form, Ts, Td, K) {                                           \
        ZKR_PACK(args, form, Ts, Td, K);                                          \
        return zkr::linfilter::run<zkr::linfilter::Op::op, zkr::Layout::L>(args); \
    }
#include "linfilter/filterfixed.tbl"
#include "linfilter/fmask.tbl"
#include "linfilter/filter.tbl"
#include "linfilter/filterrow.tbl"
#include "linfilter/filterround.tbl"
#include "linfilter/decfilter.tbl"
#undef ZKR_FN
