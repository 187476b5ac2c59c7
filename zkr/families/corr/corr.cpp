// The exported functions of the Corr family, defined from its two tables: every row packs its
// parameters and hands them to one generic entry point, which checks the arguments (pointers,
// sizes, steps, then the shape's size rule), prepares the template in double per channel and
// runs the kernel of the level in force over row bands of the destination.
#include <atomic>
#include <cmath>
#include <cstdint>
#include <new>
#include <type_traits>
#include <vector>

#include "checks.h"
#include "corr_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::corr {
namespace {

enum class Shape { Full, Valid, Same };

struct Image {
    const void* data;
    int step;
    ZkriSize size;
};

// The template's values per active channel in double (turned by half a turn for a convolution),
// less their mean for NormLevel, and each channel's energy.
template <class T>
bool prepareTemplate(const Image& t, int channels, int active, bool turn, Measure m, std::vector<double>& values,
                     std::vector<double>& energy) {
    const int w = t.size.width, h = t.size.height;
    const std::size_t area = std::size_t(w) * std::size_t(h);
    try {
        values.assign(area * std::size_t(active), 0.0);
        energy.assign(std::size_t(active), 0.0);
    } catch (const std::bad_alloc&) {
        return false;
    }
    for (int c = 0; c < active; ++c) {
        double* v = values.data() + std::size_t(c) * area;
        for (int y = 0; y < h; ++y) {
            const T* row = reinterpret_cast<const T*>(static_cast<const char*>(t.data) + std::ptrdiff_t(t.step) * y);
            for (int x = 0; x < w; ++x) {
                const std::size_t k = turn ? std::size_t(h - 1 - y) * w + std::size_t(w - 1 - x) : std::size_t(y) * w + x;
                v[k] = double(row[std::ptrdiff_t(x) * channels + c]);
            }
        }
        double squares = 0.0;
        for (std::size_t k = 0; k < area; ++k) squares += v[k] * v[k];
        if (m == Measure::NormLevel) {
            double sum = 0.0;
            for (std::size_t k = 0; k < area; ++k) sum += v[k];
            const double mean = sum / double(area);
            double spread = 0.0;
            for (std::size_t k = 0; k < area; ++k) {
                v[k] -= mean;
                spread += v[k] * v[k];
            }
            // A flat template (up to rounding) correlates with nothing.
            energy[std::size_t(c)] = spread <= squares * kFlatSpread ? 0.0 : spread;
        } else {
            energy[std::size_t(c)] = squares;
        }
    }
    return true;
}

template <class Ts, class Td>
ZkrStatus run(const Image& src, const Image& tpl, Td* dst, int dstStep, int channels, int active, Shape shape,
              Measure m, bool turn, int scaleFactor) {
    const int W = src.size.width, H = src.size.height, w = tpl.size.width, h = tpl.size.height;
    CorrJob j;
    switch (shape) {
        case Shape::Full:
            j.outW = W + w - 1;
            j.outH = H + h - 1;
            j.offX = w - 1;
            j.offY = h - 1;
            break;
        case Shape::Valid:
            j.outW = W - w + 1;
            j.outH = H - h + 1;
            break;
        case Shape::Same:
            j.outW = W;
            j.outH = H;
            j.offX = w / 2;
            j.offY = h / 2;
            break;
    }
    if (const ZkrStatus s = checkSteps({dstStep}, std::int64_t(j.outW) * channels * int(sizeof(Td)), int(sizeof(Td)));
        s != zkrStsNoErr)
        return s;
    std::vector<double> values, energy;
    if (!prepareTemplate<Ts>(tpl, channels, active, turn, m, values, energy)) return zkrStsMemAllocErr;
    j.src = src.data;
    j.srcStep = src.step;
    j.srcW = W;
    j.srcH = H;
    j.channels = channels;
    j.active = active;
    j.tpl = values.data();
    j.tw = w;
    j.th = h;
    j.tplEnergy = energy.data();
    j.dst = dst;
    j.dstStep = dstStep;
    j.measure = m;
    j.scaleFactor = scaleFactor;
    const CorrFn fn = kernels().rows[kComp<Ts>][kComp<Td>];
    std::atomic<bool> ok{true};
    // A destination pixel costs a whole template: bands are sized by the work, not the pixels.
    const std::int64_t work = std::int64_t(j.outW) * j.outH * (std::int64_t(w) * h + w + h);
    forRowBands(work, j.outH, [&](int y0, int y1) {
        if (!fn(j, y0, y1)) ok.store(false, std::memory_order_relaxed);
    });
    return ok.load() ? zkrStsNoErr : zkrStsMemAllocErr;
}

template <class T> ZkrStatus checkImage(const Image& im, int channels) {
    return checkSteps({im.step}, std::int64_t(im.size.width) * channels * int(sizeof(T)), int(sizeof(T)));
}

// Template matching: source, template, destination.
template <Layout L, Shape shape, Measure m, class A> ZkrStatus match(const A& a) {
    using Ts = std::remove_cv_t<std::remove_pointer_t<decltype(a.pSrc)>>;
    using Td = std::remove_pointer_t<decltype(a.pDst)>;
    constexpr int ch = kChannels<L>;
    if (const ZkrStatus s = checkPointers({a.pSrc, a.pTpl, a.pDst}); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSize(a.srcRoiSize); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSize(a.tplRoiSize); s != zkrStsNoErr) return s;
    const Image src{a.pSrc, a.srcStep, a.srcRoiSize}, tpl{a.pTpl, a.tplStep, a.tplRoiSize};
    if (const ZkrStatus s = checkImage<Ts>(src, ch); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkImage<Ts>(tpl, ch); s != zkrStsNoErr) return s;
    if (shape == Shape::Valid && (tpl.size.width > src.size.width || tpl.size.height > src.size.height))
        return zkrStsSizeErr;
    return run<Ts, Td>(src, tpl, a.pDst, a.dstStep, ch, kActive<L>, shape, m, false, 0);
}

// Convolution: the second image turned is the template over the first; for Valid the smaller one
// is the template.
template <Layout L, Shape shape, class A> ZkrStatus convolve(const A& a) {
    using T = std::remove_pointer_t<decltype(a.pDst)>;
    constexpr int ch = kChannels<L>;
    if (const ZkrStatus s = checkPointers({a.pSrc1, a.pSrc2, a.pDst}); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSize(a.src1Size); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSize(a.src2Size); s != zkrStsNoErr) return s;
    Image one{a.pSrc1, a.src1Step, a.src1Size}, two{a.pSrc2, a.src2Step, a.src2Size};
    if (const ZkrStatus s = checkImage<T>(one, ch); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkImage<T>(two, ch); s != zkrStsNoErr) return s;
    if (shape == Shape::Valid) {
        const bool twoInOne = two.size.width <= one.size.width && two.size.height <= one.size.height;
        const bool oneInTwo = one.size.width <= two.size.width && one.size.height <= two.size.height;
        if (!twoInOne && !oneInTwo) return zkrStsSizeErr;
        if (!twoInOne) std::swap(one, two);
    }
    int sf = 0;
    if constexpr (requires { a.scaleFactor; }) sf = a.scaleFactor;
    return run<T, T>(one, two, a.pDst, a.dstStep, ch, kActive<L>, shape, Measure::Raw, true, sf);
}

}  // namespace
}  // namespace zkr::corr

#define ZKR_FN(name, form, Ts, Td, L, shape, measure)                                                       \
    ZKR_DEFINE(name, form, Ts, Td) {                                                                       \
        ZKR_PACK(args, form, Ts, Td);                                                                      \
        return zkr::corr::match<zkr::Layout::L, zkr::corr::Shape::shape, zkr::corr::Measure::measure>(args); \
    }
#include "corr/corr.tbl"
#undef ZKR_FN

#define ZKR_FN(name, form, T, L, shape)                                                  \
    ZKR_DEFINE(name, form, T) {                                                          \
        ZKR_PACK(args, form, T);                                                         \
        return zkr::corr::convolve<zkr::Layout::L, zkr::corr::Shape::shape>(args);      \
    }
#include "corr/conv.tbl"
#undef ZKR_FN
