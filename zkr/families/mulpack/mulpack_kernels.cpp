// Compiled once per instruction-set level (ZKR_LEVEL_NS): the packed-spectrum
// family's row kernels.
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "mulpack_kernels.h"
#include "zkrcore.h"

namespace zkr::mulpack::ZKR_LEVEL_NS {
namespace {

// Exact arithmetic of products: float stays float; 16s products and their sums fit 64 bits, 32s ones 128.
template <class S> struct Wide;
template <> struct Wide<Zkr32f> { using W = float; };
template <> struct Wide<Zkr32s> { using W = __int128; static constexpr int bits = 32; };
template <> struct Wide<Zkr16s> { using W = std::int64_t; static constexpr int bits = 16; };

template <class S> constexpr double kLo = -double(1ULL << (sizeof(S) * 8 - 1));
template <class S> constexpr double kHi = -kLo<S> - 1.0;

// x * 2^-sf rounded half to even and saturated. Products of two components
// stay below 2^(2 bits + 1), so shifts are clamped where they stop mattering.
template <class S> inline S narrowInt(typename Wide<S>::W x, int sf) {
    using W = typename Wide<S>::W;
    constexpr int bits = Wide<S>::bits;
    if (sf > 0) {
        const int s = sf > 2 * bits + 2 ? 2 * bits + 2 : sf;
        const W q = x >> s;  // floor
        const W r = x - (q << s);
        const W half = W(1) << (s - 1);
        x = (r > half || (r == half && (q & 1) != 0)) ? q + 1 : q;
    } else if (sf < 0) {
        const int s = -sf > bits + 1 ? bits + 1 : -sf;
        x = x * (W(1) << s);
    }
    const W lo = W(-(W(1) << (bits - 1))), hi = (W(1) << (bits - 1)) - 1;
    return S(x < lo ? lo : (x > hi ? hi : x));
}

template <class S> inline S store(typename Wide<S>::W x, int sf) {
    if constexpr (std::is_same_v<S, Zkr32f>) {
        (void)sf;
        return x;
    } else {
        return narrowInt<S>(x, sf);
    }
}

// A real result (magnitude, angle) as an element: floats as they are, integers times 2^-sf,
// rounded half to even, saturated (NaN gives 0).
template <class S> inline S fromReal(double v, int sf) {
    if constexpr (std::is_same_v<S, Zkr32f>) {
        (void)sf;
        return float(v);
    } else {
        const double x = std::nearbyint(std::ldexp(v, -sf));
        if (!(x == x)) return S(0);
        return S(x < kLo<S> ? kLo<S> : (x > kHi<S> ? kHi<S> : x));
    }
}

template <class S> inline const S* rowOf(const void* p, std::ptrdiff_t step, int y) {
    return reinterpret_cast<const S*>(static_cast<const char*>(p) + step * y);
}
template <class S> inline S* rowOf(void* p, std::ptrdiff_t step, int y) {
    return reinterpret_cast<S*>(static_cast<char*>(p) + step * y);
}

template <class W, bool conj> inline void cmul(W ar, W ai, W br, W bi, W& re, W& im) {
    if constexpr (conj) bi = -bi;
    re = ar * br - ai * bi;
    im = ar * bi + ai * br;
}

// Products of packed spectra over rows [y0, y1): nc channels, na of them computed.
template <class S, int nc, int na, bool conj, bool inPlace> void mulPackRows(const Job& j, int y0, int y1) {
    using W = typename Wide<S>::W;
    const int w = j.width, h = j.height, pairs = (w - 1) / 2, sf = j.scale;
    for (int y = y0; y < y1; ++y) {
        const S* __restrict a = rowOf<S>(j.a, j.aStep, y);
        S* d = inPlace ? rowOf<S>(const_cast<void*>(j.b), j.bStep, y) : rowOf<S>(j.d, j.dStep, y);
        const S* b = inPlace ? d : rowOf<S>(j.b, j.bStep, y);
        for (int k = 1; k <= pairs; ++k)
            for (int c = 0; c < na; ++c) {
                const int ir = (2 * k - 1) * nc + c, ii = 2 * k * nc + c;
                W re, im;
                cmul<W, conj>(W(a[ir]), W(a[ii]), W(b[ir]), W(b[ii]), re, im);
                d[ir] = store<S>(re, sf);
                d[ii] = store<S>(im, sf);
            }
        // The real-valued columns, packed along the rows: the band of a pair's first row does both rows.
        if (y != 0 && y % 2 == 0) continue;
        const bool realRow = y == 0 || (h % 2 == 0 && y == h - 1);
        const int realColumns = (w % 2 == 0 && w > 1) ? 2 : 1;  // u = 0, and u = W / 2 for an even W
        for (int r = 0; r < realColumns; ++r) {
            const int x = r == 0 ? 0 : w - 1;
            for (int c = 0; c < na; ++c) {
                const int i = x * nc + c;
                if (realRow) {
                    d[i] = store<S>(W(a[i]) * W(b[i]), sf);
                    continue;
                }
                const S* __restrict a1 = rowOf<S>(j.a, j.aStep, y + 1);
                S* d1 = inPlace ? rowOf<S>(const_cast<void*>(j.b), j.bStep, y + 1) : rowOf<S>(j.d, j.dStep, y + 1);
                const S* b1 = inPlace ? d1 : rowOf<S>(j.b, j.bStep, y + 1);
                W re, im;
                cmul<W, conj>(W(a[i]), W(a1[i]), W(b[i]), W(b1[i]), re, im);
                d[i] = store<S>(re, sf);
                d1[i] = store<S>(im, sf);
            }
        }
    }
}

// F(u, v) of the real-valued column x (0 or W - 1) of a packed spectrum, channel c.
template <class S> inline void columnValue(const Job& j, int x, int v, int nc, int c, double& re, double& im) {
    const int h = j.height;
    bool neg = false;
    if (2 * v > h) {
        v = h - v;
        neg = true;
    }
    const int i = x * nc + c;
    if (v == 0) {
        re = double(rowOf<S>(j.a, j.aStep, 0)[i]);
        im = 0;
    } else if (2 * v == h) {
        re = double(rowOf<S>(j.a, j.aStep, h - 1)[i]);
        im = 0;
    } else {
        re = double(rowOf<S>(j.a, j.aStep, 2 * v - 1)[i]);
        im = double(rowOf<S>(j.a, j.aStep, 2 * v)[i]);
    }
    if (neg) im = 0.0 - im;
}

struct Mag {
    template <class T> static T of(T re, T im) { return std::sqrt(re * re + im * im); }
};
struct Arg {
    template <class T> static T of(T re, T im) { return std::atan2(im, re); }
};

// Magnitude or phase of a packed spectrum at every (u, v): row v's pairs give u and, through the
// symmetry F(W - u, v) = conj F(u, H - v), row (H - v) mod H's pairs give W - u.
template <class S, int nc, class Op> void unpackRows(const Job& j, int y0, int y1) {
    using F = std::conditional_t<std::is_same_v<S, Zkr32f>, float, double>;
    const int w = j.width, h = j.height, pairs = (w - 1) / 2, sf = j.scale;
    constexpr bool odd = std::is_same_v<Op, Arg>;  // the angle changes sign with the conjugate
    for (int v = y0; v < y1; ++v) {
        const S* __restrict a = rowOf<S>(j.a, j.aStep, v);
        const S* __restrict m = rowOf<S>(j.a, j.aStep, (h - v) % h);
        S* __restrict d = rowOf<S>(j.d, j.dStep, v);
        for (int k = 1; k <= pairs; ++k)
            for (int c = 0; c < nc; ++c)
                d[k * nc + c] = fromReal<S>(Op::of(F(a[(2 * k - 1) * nc + c]), F(a[2 * k * nc + c])), sf);
        for (int k = 1; k <= pairs; ++k)
            for (int c = 0; c < nc; ++c) {
                const F im = F(m[2 * k * nc + c]);
                // 0 - im: the conjugate of a real value is itself (+0, not -0, for the angle of -1)
                d[(w - k) * nc + c] = fromReal<S>(Op::of(F(m[(2 * k - 1) * nc + c]), odd ? F(0) - im : im), sf);
            }
        for (int c = 0; c < nc; ++c) {
            double re, im;
            columnValue<S>(j, 0, v, nc, c, re, im);
            d[c] = fromReal<S>(double(Op::of(F(re), F(im))), sf);
            if (w % 2 == 0 && w > 1) {
                columnValue<S>(j, w - 1, v, nc, c, re, im);
                d[(w / 2) * nc + c] = fromReal<S>(double(Op::of(F(re), F(im))), sf);
            }
        }
    }
}

// Magnitude or phase of every complex element (components S) of nc channels, na computed.
template <class S, int nc, int na, class Op> void complexRows(const Job& j, int y0, int y1) {
    using F = std::conditional_t<std::is_same_v<S, Zkr32f>, float, double>;
    const int w = j.width, sf = j.scale;
    for (int y = y0; y < y1; ++y) {
        const S* __restrict s = rowOf<S>(j.a, j.aStep, y);
        S* __restrict d = rowOf<S>(j.d, j.dStep, y);
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < na; ++c) {
                const int i = x * nc + c;
                d[i] = fromReal<S>(Op::of(F(s[2 * i]), F(s[2 * i + 1])), sf);
            }
    }
}

template <int L> constexpr int kNc = L == 0 ? 1 : (L == 1 ? 3 : 4);
template <int L> constexpr int kNa = L == 0 ? 1 : (L == 2 ? 4 : 3);

template <class S, int t, int L> constexpr void setLayout(Kernels& ks) {
    constexpr int nc = kNc<L>, na = kNa<L>;
    ks.mulPack[t][0][0][L] = &mulPackRows<S, nc, na, false, false>;
    ks.mulPack[t][1][0][L] = &mulPackRows<S, nc, na, true, false>;
    ks.mulPack[t][0][1][L] = &mulPackRows<S, nc, na, false, true>;
    ks.mulPack[t][1][1][L] = &mulPackRows<S, nc, na, true, true>;
    ks.magnitude[t][L] = &complexRows<S, nc, na, Mag>;
    ks.phase[t][L] = &complexRows<S, nc, na, Arg>;
    if constexpr (L < 2) {
        ks.magnitudePack[t][L] = &unpackRows<S, nc, Mag>;
        ks.phasePack[t][L] = &unpackRows<S, nc, Arg>;
    }
}

template <class S, int t> constexpr void setType(Kernels& ks) {
    setLayout<S, t, 0>(ks);
    setLayout<S, t, 1>(ks);
    setLayout<S, t, 2>(ks);
    setLayout<S, t, 3>(ks);
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    setType<Zkr32f, 0>(ks);
    setType<Zkr32s, 1>(ks);
    setType<Zkr16s, 2>(ks);
    return ks;
}

}  // namespace

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::mulpack::ZKR_LEVEL_NS
