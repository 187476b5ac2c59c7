// Compiled once per instruction-set level: the build defines ZKR_LEVEL_NS
// (base, avx2, avx512) and passes that level's code generation flags.
//
// Nothing here calls out-of-line library code that could be instantiated for
// a higher level: the loops use plain arithmetic, and the worker pool is
// reached through its one non-inline entry.
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "fft_kernels.h"
#include "rows.h"
#include "worker_pool.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::fft::ZKR_LEVEL_NS {
namespace {

// Column stages work on bands of whole blocks of this many columns, so that a
// thread split never changes which columns a vector loop takes together.
constexpr int kBandColumns = 16;
// Columns transformed through all their stages at once: a block of H rows of
// this many complex elements stays in the second-level cache.
constexpr int kCacheColumns = 64;

// ---- butterflies ----------------------------------------------------------------

// b *= w; (a, b) = (a + b, a - b), for m consecutive elements and twiddles.
inline void butterflies(float* __restrict ar, float* __restrict ai, float* __restrict br, float* __restrict bi,
                        const float* __restrict wr, const float* __restrict wi, int m) {
    for (int j = 0; j < m; ++j) {
        const float tr = wr[j] * br[j] - wi[j] * bi[j];
        const float ti = wr[j] * bi[j] + wi[j] * br[j];
        const float xr = ar[j], xi = ai[j];
        br[j] = xr - tr;
        bi[j] = xi - ti;
        ar[j] = xr + tr;
        ai[j] = xi + ti;
    }
}

// The first column stage: twiddle 1.
inline void butterfliesPlain(float* __restrict ar, float* __restrict ai, float* __restrict br, float* __restrict bi,
                             int n) {
    for (int x = 0; x < n; ++x) {
        const float xr = ar[x], xi = ai[x], yr = br[x], yi = bi[x];
        ar[x] = xr + yr;
        ai[x] = xi + yi;
        br[x] = xr - yr;
        bi[x] = xi - yi;
    }
}

// Two radix-2 stages at once (m and 2m) on the four quarters a0..a3 of a
// group of 4m: the same operations in the same order as the two stages one
// after the other, with one pass over the data instead of two. Twiddles per
// element (the rows: w1 = stage m, w2 and w3 = stage 2m for the first and the
// second half) or one per call (the columns, Scalar = true).
template <bool Scalar>
inline void radix4(float* __restrict r0, float* __restrict i0, float* __restrict r1, float* __restrict i1,
                   float* __restrict r2, float* __restrict i2, float* __restrict r3, float* __restrict i3,
                   const float* __restrict w1r, const float* __restrict w1i, const float* __restrict w2r,
                   const float* __restrict w2i, const float* __restrict w3r, const float* __restrict w3i, int n) {
    for (int x = 0; x < n; ++x) {
        const int k = Scalar ? 0 : x;
        // stage m: (a0, a1) and (a2, a3) with w1
        float tr = w1r[k] * r1[x] - w1i[k] * i1[x];
        float ti = w1r[k] * i1[x] + w1i[k] * r1[x];
        const float b0r = r0[x] + tr, b0i = i0[x] + ti;
        const float b1r = r0[x] - tr, b1i = i0[x] - ti;
        tr = w1r[k] * r3[x] - w1i[k] * i3[x];
        ti = w1r[k] * i3[x] + w1i[k] * r3[x];
        const float b2r = r2[x] + tr, b2i = i2[x] + ti;
        const float b3r = r2[x] - tr, b3i = i2[x] - ti;
        // stage 2m: (b0, b2) with w2, (b1, b3) with w3
        tr = w2r[k] * b2r - w2i[k] * b2i;
        ti = w2r[k] * b2i + w2i[k] * b2r;
        r0[x] = b0r + tr;
        i0[x] = b0i + ti;
        r2[x] = b0r - tr;
        i2[x] = b0i - ti;
        tr = w3r[k] * b3r - w3i[k] * b3i;
        ti = w3r[k] * b3i + w3i[k] * b3r;
        r1[x] = b1r + tr;
        i1[x] = b1i + ti;
        r3[x] = b1r - tr;
        i3[x] = b1i - ti;
    }
}

// One row of n complex elements in bit-reversed order, transformed in place
// to natural order.
void fftRow(float* __restrict re, float* __restrict im, int n, const float* twr, const float* twi) {
    if (n < 2) return;
    // m = 1 and m = 2 together (radix 4 without twiddles but -i).
    if (n >= 4) {
        for (int g = 0; g < n; g += 4) {
            const float a0r = re[g] + re[g + 1], a0i = im[g] + im[g + 1];
            const float a1r = re[g] - re[g + 1], a1i = im[g] - im[g + 1];
            const float b0r = re[g + 2] + re[g + 3], b0i = im[g + 2] + im[g + 3];
            const float b1r = re[g + 2] - re[g + 3], b1i = im[g + 2] - im[g + 3];
            // b1 * (-i) = (b1i, -b1r)
            re[g] = a0r + b0r;
            im[g] = a0i + b0i;
            re[g + 2] = a0r - b0r;
            im[g + 2] = a0i - b0i;
            re[g + 1] = a1r + b1i;
            im[g + 1] = a1i - b1r;
            re[g + 3] = a1r - b1i;
            im[g + 3] = a1i + b1r;
        }
    } else {
        const float xr = re[0], xi = im[0];
        re[0] = xr + re[1];
        im[0] = xi + im[1];
        re[1] = xr - re[1];
        im[1] = xi - im[1];
    }
    int m = 4;
    for (; 2 * m < n; m *= 4)
        for (int g = 0; g < n; g += 4 * m) {
            radix4<false>(re + g, im + g, re + g + m, im + g + m, re + g + 2 * m, im + g + 2 * m, re + g + 3 * m,
                          im + g + 3 * m, twr + m - 1, twi + m - 1, twr + 2 * m - 1, twi + 2 * m - 1, twr + 3 * m - 1,
                          twi + 3 * m - 1, m);
        }
    if (m < n)
        for (int g = 0; g < n; g += 2 * m)
            butterflies(re + g, im + g, re + g + m, im + g + m, twr + m - 1, twi + m - 1, m);
}

// Columns [x0, x1) of h rows in bit-reversed row order, transformed in place.
void fftColumns(float* re, float* im, std::ptrdiff_t stride, int h, int x0, int x1, const float* twr,
                const float* twi) {
    for (int c0 = x0; c0 < x1; c0 += kCacheColumns) {
        const int n = x1 - c0 < kCacheColumns ? x1 - c0 : kCacheColumns;
        float* r = re + c0;
        float* i = im + c0;
        int m = 1;
        int stages = 0;
        while ((1 << stages) < h) ++stages;
        if (stages % 2 == 1) {
            // An odd number of stages: the first on its own (twiddle 1), the rest in pairs.
            for (int g = 0; g + 1 < h; g += 2)
                butterfliesPlain(r + g * stride, i + g * stride, r + (g + 1) * stride, i + (g + 1) * stride, n);
            m = 2;
        }
        for (; m < h; m *= 4)
            for (int g = 0; g < h; g += 4 * m)
                for (int j = 0; j < m; ++j) {
                    const std::ptrdiff_t a = std::ptrdiff_t(g + j) * stride, q = std::ptrdiff_t(m) * stride;
                    radix4<true>(r + a, i + a, r + a + q, i + a + q, r + a + 2 * q, i + a + 2 * q, r + a + 3 * q,
                                 i + a + 3 * q, twr + m - 1 + j, twi + m - 1 + j, twr + 2 * m - 1 + j, twi + 2 * m - 1 + j,
                                 twr + 3 * m - 1 + j, twi + 3 * m - 1 + j, n);
                }
    }
}

// The loaded work array transformed along both axes.
void transform(const Plan& p, Work w) {
    const int cw = p.cw, h = p.height;
    const std::int64_t pixels = std::int64_t(cw) * h;
    if (cw > 1)
        forRowBands(pixels, h, [&](int y0, int y1) {
            for (int y = y0; y < y1; ++y)
                fftRow(w.re + std::ptrdiff_t(y) * cw, w.im + std::ptrdiff_t(y) * cw, cw, p.twXr, p.twXi);
        });
    if (h > 1) {
        const int blocks = (cw + kBandColumns - 1) / kBandColumns;
        forRowBands(pixels, blocks, [&](int b0, int b1) {
            const int x1 = b1 * kBandColumns < cw ? b1 * kBandColumns : cw;
            fftColumns(w.re, w.im, cw, h, b0 * kBandColumns, x1, p.twYr, p.twYi);
        });
    }
}

// ---- element conversions ----------------------------------------------------------

// Results as the destination type: floats scaled, integers scaled, rounded to
// nearest even and saturated.
template <class D> struct Out {
    float fs;
    double ds;
    explicit Out(double scale) : fs(float(scale)), ds(scale) {}
    D operator()(float v) const {
        if constexpr (std::is_floating_point_v<D>) {
            return v * fs;
        } else {
            constexpr double lo = double(std::numeric_limits<D>::min());
            constexpr double hi = double(std::numeric_limits<D>::max());
            double x = double(v) * ds;
            x = x >= lo ? x : lo;  // NaN goes to the lower limit
            x = x <= hi ? x : hi;
            // Adding and removing 1.5 * 2^52 rounds to the nearest integer, ties to even.
            const double r = (x + 6755399441055744.0) - 6755399441055744.0;
            return D(r);
        }
    }
};

// ---- complex to complex -------------------------------------------------------------

void cToC(const Plan& p, Channel<const Zkr32fc> src, Channel<Zkr32fc> dst, bool inverse, float scale, Work w) {
    const int cw = p.cw, h = p.height;
    const float sign = inverse ? -1.0f : 1.0f;
    const std::int64_t pixels = std::int64_t(cw) * h;
    forRowBands(pixels, h, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            const Zkr32fc* s = rowOf(src.p, src.step, y);
            float* __restrict r = w.re + std::ptrdiff_t(p.revY[y]) * cw;
            float* __restrict i = w.im + std::ptrdiff_t(p.revY[y]) * cw;
            // Bit reversal is its own inverse: gather each element from its reversed column.
            for (int x = 0; x < cw; ++x) {
                const Zkr32fc v = s[std::ptrdiff_t(p.revX[x]) * src.stride];
                r[x] = v.re;
                i[x] = sign * v.im;
            }
        }
    });
    transform(p, w);
    const float si = sign * scale;
    forRowBands(pixels, h, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            Zkr32fc* __restrict d = rowOf(dst.p, dst.step, y);
            const float* __restrict r = w.re + std::ptrdiff_t(y) * cw;
            const float* __restrict i = w.im + std::ptrdiff_t(y) * cw;
            if (dst.stride == 1) {
                for (int x = 0; x < cw; ++x) {
                    d[x].re = r[x] * scale;
                    d[x].im = i[x] * si;
                }
            } else {
                for (int x = 0; x < cw; ++x) {
                    d[std::ptrdiff_t(x) * dst.stride].re = r[x] * scale;
                    d[std::ptrdiff_t(x) * dst.stride].im = i[x] * si;
                }
            }
        }
    });
}

// ---- real to packed -------------------------------------------------------------------

struct Cplx {
    float r, i;
};

// Writes F(u, v) for v = 0 .. H/2 of a real-valued column u into column `col`
// of the packed image: row 0 Re F(u, 0), rows 2v-1 and 2v for 0 < v < H/2,
// row H-1 Re F(u, H/2).
template <class D, class Get> void packColumn(Channel<D> dst, int col, int h, const Out<D>& out, Get f) {
    auto at = [&](int y) -> D& { return rowOf(dst.p, dst.step, y)[std::ptrdiff_t(col) * dst.stride]; };
    at(0) = out(f(0).r);
    for (int v = 1; v < h / 2; ++v) {
        const Cplx c = f(v);
        at(2 * v - 1) = out(c.r);
        at(2 * v) = out(c.i);
    }
    if (h > 1) at(h - 1) = out(f(h / 2).r);
}

template <class S, class D>
void rToPack(const Plan& p, Channel<const S> src, Channel<D> dst, double scale, Work w) {
    const int cw = p.cw, h = p.height, W = p.width;
    const std::int64_t pixels = std::int64_t(W) * h;
    // Even columns to the real parts, odd ones to the imaginary parts (width 1: imaginary zero).
    forRowBands(pixels, h, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            const S* s = rowOf(src.p, src.step, y);
            float* __restrict r = w.re + std::ptrdiff_t(p.revY[y]) * cw;
            float* __restrict i = w.im + std::ptrdiff_t(p.revY[y]) * cw;
            if (p.half) {
                const std::ptrdiff_t st = src.stride;
                for (int n = 0; n < cw; ++n) {
                    const std::ptrdiff_t at = 2 * std::ptrdiff_t(p.revX[n]) * st;
                    r[n] = float(s[at]);
                    i[n] = float(s[at + st]);
                }
            } else {
                r[0] = float(s[0]);
                i[0] = 0.0f;
            }
        }
    });
    transform(p, w);

    const Out<D> out(scale);
    const float* zr = w.re;
    const float* zi = w.im;
    // Columns 1 .. W-2: F(k, v) = A + w^k B with A = (Z(k, v) + conj Z(Wc-k, -v)) / 2 and
    // B = (Z(k, v) - conj Z(Wc-k, -v)) / 2i, for k = 1 .. W/2 - 1.
    if (p.half && cw > 1) {
        forRowBands(pixels, h, [&](int y0, int y1) {
            for (int v = y0; v < y1; ++v) {
                const int vm = (h - v) & (h - 1);
                const float* ar = zr + std::ptrdiff_t(v) * cw;
                const float* ai = zi + std::ptrdiff_t(v) * cw;
                const float* mr = zr + std::ptrdiff_t(vm) * cw;
                const float* mi = zi + std::ptrdiff_t(vm) * cw;
                D* d = rowOf(dst.p, dst.step, v);
                const std::ptrdiff_t st = dst.stride;
                for (int k = 1; k < cw; ++k) {
                    const float br = mr[cw - k], bi = -mi[cw - k];
                    const float sr = 0.5f * (ar[k] + br), si = 0.5f * (ai[k] + bi);
                    const float dr = 0.5f * (ar[k] - br), di = 0.5f * (ai[k] - bi);
                    const float pr = p.postR[k], pi = p.postI[k];
                    d[(2 * k - 1) * st] = out(sr + pr * di + pi * dr);
                    d[2 * k * st] = out(si + pi * di - pr * dr);
                }
            }
        });
    }
    // Columns u = 0 and u = W/2: real-valued along u, packed along the rows.
    if (p.half) {
        auto split = [&](int v, bool upper) {
            const int vm = (h - v) & (h - 1);
            const float ar = zr[std::ptrdiff_t(v) * cw], ai = zi[std::ptrdiff_t(v) * cw];
            const float br = zr[std::ptrdiff_t(vm) * cw], bi = -zi[std::ptrdiff_t(vm) * cw];
            const float sr = 0.5f * (ar + br), si = 0.5f * (ai + bi);
            const float dr = 0.5f * (ar - br), di = 0.5f * (ai - bi);
            // B = (dr, di) / i = (di, -dr); u = 0: A + B, u = W/2: A - B.
            return upper ? Cplx{sr - di, si + dr} : Cplx{sr + di, si - dr};
        };
        packColumn(dst, 0, h, out, [&](int v) { return split(v, false); });
        packColumn(dst, W - 1, h, out, [&](int v) { return split(v, true); });
    } else {
        packColumn(dst, 0, h, out, [&](int v) { return Cplx{zr[v], zi[v]}; });
    }
}

// ---- packed to real -------------------------------------------------------------------

template <class S, class D>
void packToR(const Plan& p, Channel<const S> src, Channel<D> dst, double scale, Work w) {
    const int cw = p.cw, h = p.height, W = p.width;
    const std::int64_t pixels = std::int64_t(W) * h;
    auto in = [&](int y, int x) { return float(rowOf(src.p, src.step, y)[std::ptrdiff_t(x) * src.stride]); };
    // F(u, v) of a real-valued column u (0 or W/2) stored packed in column `col`.
    auto column = [&](int col, int v) -> Cplx {
        if (v == 0) return {in(0, col), 0.0f};
        if (2 * v == h) return {in(h - 1, col), 0.0f};
        if (2 * v < h) return {in(2 * v - 1, col), in(2 * v, col)};
        return {in(2 * (h - v) - 1, col), -in(2 * (h - v), col)};
    };
    // F(k, v) for k = 0 .. W/2.
    auto spectrum = [&](int k, int v) -> Cplx {
        if (k == 0) return column(0, v);
        if (k == cw) return column(W - 1, v);
        const S* s = rowOf(src.p, src.step, v);
        return {float(s[std::ptrdiff_t(2 * k - 1) * src.stride]), float(s[std::ptrdiff_t(2 * k) * src.stride])};
    };
    // The transform runs forward on the conjugate: the load conjugates, the store conjugates back.
    forRowBands(pixels, h, [&](int y0, int y1) {
        for (int v = y0; v < y1; ++v) {
            float* r = w.re + std::ptrdiff_t(p.revY[v]) * cw;
            float* i = w.im + std::ptrdiff_t(p.revY[v]) * cw;
            if (!p.half) {
                const Cplx f = column(0, v);
                r[0] = f.r;
                i[0] = -f.i;
                continue;
            }
            // Z(k, v) = A + iB with A = F(k, v) + conj F(Wc-k, -v) and
            // B = (F(k, v) - conj F(Wc-k, -v)) conj(w^k): the inverse of Z yields the even
            // columns in its real and the odd columns in its imaginary parts, times N.
            const int vm = (h - v) & (h - 1);
            for (int k = 0; k < cw; ++k) {
                const Cplx f = spectrum(k, v), g = spectrum(cw - k, vm);
                const float ar = f.r + g.r, ai = f.i - g.i;
                const float dr = f.r - g.r, di = f.i + g.i;
                const float pr = p.postR[k], pi = p.postI[k];
                const float br = dr * pr + di * pi, bi = di * pr - dr * pi;
                r[p.revX[k]] = ar - bi;
                i[p.revX[k]] = -(ai + br);
            }
        }
    });
    transform(p, w);
    const Out<D> out(scale);
    const Out<D> outNeg(-scale);
    forRowBands(pixels, h, [&](int y0, int y1) {
        for (int y = y0; y < y1; ++y) {
            D* __restrict d = rowOf(dst.p, dst.step, y);
            const float* __restrict r = w.re + std::ptrdiff_t(y) * cw;
            const float* __restrict i = w.im + std::ptrdiff_t(y) * cw;
            const std::ptrdiff_t st = dst.stride;
            if (!p.half) {
                d[0] = out(r[0]);
                continue;
            }
            for (int n = 0; n < cw; ++n) {
                d[2 * n * st] = out(r[n]);
                d[(2 * n + 1) * st] = outNeg(i[n]);
            }
        }
    });
}

constexpr Kernels makeKernels() {
    Kernels k{};
    k.cToC = &cToC;
    k.rToPack32f = &rToPack<Zkr32f, Zkr32f>;
    k.rToPack8u32s = &rToPack<Zkr8u, Zkr32s>;
    k.packToR32f = &packToR<Zkr32f, Zkr32f>;
    k.packToR32s8u = &packToR<Zkr32s, Zkr8u>;
    return k;
}

}  // namespace

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::fft::ZKR_LEVEL_NS
