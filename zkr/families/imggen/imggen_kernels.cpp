// Kernels of the image generation family. Compiled once per instruction-set
// level: the build defines ZKR_LEVEL_NS (base, avx2, avx512) and passes that
// level's code generation flags. The loops are written for the
// auto-vectoriser: branch-free bodies over one row, channels unrolled at
// compile time.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "imggen_kernels.h"
#include "rows.h"
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::imggen::ZKR_LEVEL_NS {
namespace {


// ---- comparison within a tolerance ----------------------------------------------------

// P channels in memory, A compared; C: against the constants instead of a second image.
template <int P, int A, bool C> void cmpRows(const CmpJob& j, int y0, int y1) {
    const Zkr32f eps = j.eps;
    Zkr32f val[4];
    for (int c = 0; c < 4; ++c) val[c] = j.value[c];
    const int w = j.width;
    for (int y = y0; y < y1; ++y) {
        const Zkr32f* __restrict a = rowOf<Zkr32f>(j.s1, j.s1Step, y);
        const Zkr32f* __restrict b = C ? a : rowOf<Zkr32f>(j.s2, j.s2Step, y);
        Zkr8u* __restrict d = rowOf<Zkr8u>(j.dst, j.dstStep, y);
        for (int x = 0; x < w; ++x) {
            unsigned ok = 1;
            for (int c = 0; c < A; ++c) {
                const Zkr32f u = a[x * P + c];
                const Zkr32f v = C ? val[c] : b[x * P + c];
                // Equal values match even where their difference is not a number (equal infinities).
                ok &= unsigned(u == v) | unsigned(std::fabs(u - v) <= eps);
            }
            d[x] = Zkr8u(0u - ok);
        }
    }
}

// ---- the Jaehne pattern -----------------------------------------------------------------

// Rounds to nearest, halves to even (the default rounding mode), for |v| < 2^51: adding and
// removing 1.5 * 2^52 leaves no fraction bits. Vectorises on every level, unlike rint.
inline double roundNearest(double v) {
    constexpr double kMagic = 6755399441055744.0;  // 1.5 * 2^52
    return (v + kMagic) - kMagic;
}

template <class T> inline T toElement(double v) {
    if constexpr (std::is_floating_point_v<T>) {
        return T(v);
    } else {
        constexpr double lo = double(std::numeric_limits<T>::min()), hi = double(std::numeric_limits<T>::max());
        const double r = roundNearest(v < lo ? lo : (v > hi ? hi : v));
        return T(std::int32_t(r));
    }
}

template <class T, int P, int A> void jaehneRows(const JaehneJob& j, int y0, int y1) {
    const int w = j.width;
    const double* __restrict sa = j.sinA;
    const double* __restrict ca = j.cosA;
    for (int y = y0; y < y1; ++y) {
        // sin(A + B) = sin A cos B + cos A sin B, B from the row's distance to the centre.
        const double cy = double(y) - j.cy0;
        const double rb = cy * cy * j.k;
        const double mc = j.magn * std::cos(rb), ms = j.magn * std::sin(rb), base = j.magn + j.offset;
        T* __restrict d = rowOf<T>(j.dst, j.dstStep, y);
        for (int x = 0; x < w; ++x) {
            const T t = toElement<T>(sa[x] * mc + ca[x] * ms + base);
            for (int c = 0; c < A; ++c) d[x * P + c] = t;
        }
    }
}

// ---- deinterlacing ------------------------------------------------------------------------

inline int absDiff(int a, int b) { return a > b ? a - b : b - a; }

// One rebuilt sample: the rounded-up mean of the vertical or diagonal pair that differs least
// (ties keep the vertical, then the first diagonal), unless the odd field's own sample o agrees
// with it within the threshold.
inline Zkr8u rebuild(int av, int bv, int al, int br, int ar, int bl, int o, int thr) {
    const int dv = absDiff(av, bv), dl = absDiff(al, br), dr = absDiff(ar, bl);
    int s = (av + bv + 1) >> 1;
    int best = dv;
    const bool left = dl < best;
    s = left ? (al + br + 1) >> 1 : s;
    best = left ? dl : best;
    s = dr < best ? (ar + bl + 1) >> 1 : s;
    return Zkr8u(absDiff(o, s) <= thr ? o : s);
}

void deinterlaceRows(const DeintJob& j, int y0, int y1) {
    const int w = j.width, thr = j.threshold;
    for (int y = y0; y < y1; ++y) {
        const Zkr8u* o = rowOf<Zkr8u>(j.src, j.srcStep, y);
        Zkr8u* d = rowOf<Zkr8u>(j.dst, j.dstStep, y);
        if ((y & 1) == 0) {
            if (d != o) std::memcpy(d, o, std::size_t(w));
            continue;
        }
        const Zkr8u* a = rowOf<Zkr8u>(j.src, j.srcStep, y - 1);
        const Zkr8u* b = y + 1 < j.height ? rowOf<Zkr8u>(j.src, j.srcStep, y + 1) : a;
        auto at = [&](int x) {
            const int xl = x > 0 ? x - 1 : 0, xr = x + 1 < w ? x + 1 : w - 1;
            d[x] = rebuild(a[x], b[x], a[xl], b[xr], a[xr], b[xl], o[x], thr);
        };
        at(0);
        for (int x = 1; x < w - 1; ++x)
            d[x] = rebuild(a[x], b[x], a[x - 1], b[x + 1], a[x + 1], b[x - 1], o[x], thr);
        if (w > 1) at(w - 1);
    }
}

// ---- the level's table --------------------------------------------------------------------

template <class T> constexpr void fillJaehne(Kernels& ks) {
    auto& row = ks.jaehne[int(GenType<T>::id)];
    row[int(LIdx::C1)] = &jaehneRows<T, 1, 1>;
    row[int(LIdx::C3)] = &jaehneRows<T, 3, 3>;
    row[int(LIdx::C4)] = &jaehneRows<T, 4, 4>;
    row[int(LIdx::AC4)] = &jaehneRows<T, 4, 3>;
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    ks.cmp[int(LIdx::C1)] = &cmpRows<1, 1, false>;
    ks.cmp[int(LIdx::C3)] = &cmpRows<3, 3, false>;
    ks.cmp[int(LIdx::C4)] = &cmpRows<4, 4, false>;
    ks.cmp[int(LIdx::AC4)] = &cmpRows<4, 3, false>;
    ks.cmpC[int(LIdx::C1)] = &cmpRows<1, 1, true>;
    ks.cmpC[int(LIdx::C3)] = &cmpRows<3, 3, true>;
    ks.cmpC[int(LIdx::C4)] = &cmpRows<4, 4, true>;
    ks.cmpC[int(LIdx::AC4)] = &cmpRows<4, 3, true>;
    fillJaehne<Zkr8u>(ks);
    fillJaehne<Zkr8s>(ks);
    fillJaehne<Zkr16u>(ks);
    fillJaehne<Zkr16s>(ks);
    fillJaehne<Zkr32s>(ks);
    fillJaehne<Zkr32f>(ks);
    ks.deinterlace = &deinterlaceRows;
    return ks;
}

}  // namespace

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::imggen::ZKR_LEVEL_NS
