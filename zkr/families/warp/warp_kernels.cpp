// Compiled once per instruction-set level: the build defines ZKR_LEVEL_NS
// (base, avx2, avx512) and passes that level's code generation flags. Only
// plain loops and functions of this namespace live here, so no inline code of
// another level can be merged into this one.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "rows.h"
#include "warp/warp_forms.h"
#include "warp_kernels.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::warp::ZKR_LEVEL_NS {
namespace {

// The source point of a pixel that has none: far outside any ROI. (A NaN would do too, but every
// ordered comparison with it raises the invalid flag.)
constexpr double kNowhere = -1e300;

// ---- source points of one destination row ------------------------------------------------
// Each loop writes the source point of pixel i of destination row yd relative to the ROI's origin:
// straight loops over the row in double precision, which every level vectorises.

ZKR_NOINLINE void pointsAffine(const Job& j, int yd, int x0, int n, double* __restrict sx, double* __restrict sy) {
    const double* c = j.c;
    const double y = yd, xa = j.dstX + x0;
    const double bx = c[1] * y + c[2] - j.roiX, by = c[4] * y + c[5] - j.roiY;
    const double ax = c[0], ay = c[3];
    for (int i = 0; i < n; ++i) {
        const double x = xa + i;
        sx[i] = ax * x + bx;
        sy[i] = ay * x + by;
    }
}

ZKR_NOINLINE void pointsPerspective(const Job& j, int yd, int x0, int n, double* __restrict sx, double* __restrict sy) {
    const double* c = j.c;
    const double y = yd, xa = j.dstX + x0;
    const double nx = c[1] * y + c[2], ny = c[4] * y + c[5], nw = c[7] * y + c[8];
    const double ox = j.roiX, oy = j.roiY;
    for (int i = 0; i < n; ++i) {
        const double x = xa + i;
        const double w = c[6] * x + nw;
        // A zero denominator gives an infinity or NaN: outside, as the samplers test.
        sx[i] = (c[0] * x + nx) / w - ox;
        sy[i] = (c[3] * x + ny) / w - oy;
    }
}

ZKR_NOINLINE void pointsBilinear(const Job& j, int yd, int x0, int n, double* __restrict sx, double* __restrict sy) {
    const double* c = j.c;
    const double y = yd, xa = j.dstX + x0;
    const double kx = c[0] * y + c[1], bx = c[2] * y + c[3] - j.roiX;
    const double ky = c[4] * y + c[5], by = c[6] * y + c[7] - j.roiY;
    for (int i = 0; i < n; ++i) {
        const double x = xa + i;
        sx[i] = kx * x + bx;
        sy[i] = ky * x + by;
    }
}

// Quiet comparisons: a NaN point (from a remapping map) is outside without raising a flag.
inline bool insideRoi(const Job& j, double x, double y) {
    return __builtin_isgreaterequal(x, -0.5) && __builtin_isless(x, j.roiW - 0.5) &&
           __builtin_isgreaterequal(y, -0.5) && __builtin_isless(y, j.roiH - 0.5);
}

// The source point (relative to the ROI) whose bilinear image is (u, v): the quadratic that
// eliminating one coordinate gives, its root that tends to the affine solution first, the other
// second; the first one inside the ROI is taken, else the point is outside.
void bilinearInverse(const Job& j, double u, double v, double& sx, double& sy) {
    const double* c = j.c;
    const double a0 = c[0], a1 = c[1], a2 = c[2], b0 = c[4], b1 = c[5], b2 = c[6];
    const double uu = u - c[3], vv = v - c[7];
    // p x + q y = r: the equation without the xy term.
    const double p = b0 * a1 - a0 * b1, q = b0 * a2 - a0 * b2, r = b0 * uu - a0 * vv;
    // The equation with the larger xy term, to substitute into.
    const bool first = std::fabs(a0) >= std::fabs(b0);
    const double e0 = first ? a0 : b0, e1 = first ? a1 : b1, e2 = first ? a2 : b2, eu = first ? uu : vv;
    const bool solveY = std::fabs(p) >= std::fabs(q);
    sx = sy = kNowhere;
    if (p == 0.0 && q == 0.0) return;
    double A, B, C;
    if (solveY) {
        A = -e0 * q;
        B = e0 * r - e1 * q + e2 * p;
        C = e1 * r - p * eu;
    } else {
        A = -e0 * p;
        B = e0 * r + e1 * q - e2 * p;
        C = e2 * r - q * eu;
    }
    double t[2];
    int n = 0;
    if (A == 0.0) {
        if (B == 0.0) return;
        t[n++] = -C / B;
    } else {
        const double d = B * B - 4.0 * A * C;
        if (!(d >= 0.0)) return;
        const double qq = -0.5 * (B + std::copysign(std::sqrt(d), B));
        t[n++] = qq != 0.0 ? C / qq : 0.0;
        t[n++] = qq / A;
    }
    for (int k = 0; k < n; ++k) {
        const double x = solveY ? (r - q * t[k]) / p : t[k];
        const double y = solveY ? t[k] : (r - p * t[k]) / q;
        const double rx = x - j.roiX, ry = y - j.roiY;
        if (insideRoi(j, rx, ry)) {
            sx = rx;
            sy = ry;
            return;
        }
    }
}

ZKR_NOINLINE void pointsBilinearInv(const Job& j, int yd, int x0, int n, double* sx, double* sy) {
    for (int i = 0; i < n; ++i) bilinearInverse(j, double(j.dstX + x0 + i), double(yd), sx[i], sy[i]);
}

ZKR_NOINLINE void pointsRemap(const Job& j, int y, int x0, int n, double* __restrict sx, double* __restrict sy) {
    const float* __restrict mx = rowOf<float>(j.xMap, j.xMapStep, y) + x0;
    const float* __restrict my = rowOf<float>(j.yMap, j.yMapStep, y) + x0;
    const double ox = j.roiX, oy = j.roiY;
    for (int i = 0; i < n; ++i) {
        sx[i] = double(mx[i]) - ox;
        sy[i] = double(my[i]) - oy;
    }
}

// Pixels outside the destination quadrangle get no source point.
ZKR_NOINLINE void clipToQuad(const Job& j, int yd, int x0, int n, double* __restrict sx) {
    const double* q = j.quad;
    const double y = yd;
    for (int i = 0; i < n; ++i) {
        const double x = j.dstX + x0 + i;
        bool in = true;
        for (int k = 0; k < 4; ++k) {
            const double ax = q[2 * k], ay = q[2 * k + 1];
            const double bx = q[(2 * k + 2) % 8], by = q[(2 * k + 3) % 8];
            in = in && (bx - ax) * (y - ay) - (by - ay) * (x - ax) >= 0.0;
        }
        sx[i] = in ? sx[i] : kNowhere;
    }
}

// ---- samplers ------------------------------------------------------------------------------

// A float sample as an element: integers rounded half up and saturated.
template <class T> inline T store(float v) {
    if constexpr (std::is_same_v<T, Zkr32f>) {
        return v;
    } else {
        constexpr bool isSigned = T(-1) < T(0);
        constexpr float lo = isSigned ? -32768.0f : 0.0f;
        constexpr float hi = sizeof(T) == 1 ? 255.0f : (isSigned ? 32767.0f : 65535.0f);
        float c = v < lo ? lo : v;
        c = c > hi ? hi : c;
        if constexpr (isSigned) return T(int(c + 32768.5f) - 32768);
        else return T(int(c + 0.5f));
    }
}

inline int clampIndex(int i, int n) { return i < 0 ? 0 : (i >= n ? n - 1 : i); }

// S components per pixel in memory, A of them processed.
template <class T, int S, int A>
ZKR_NOINLINE void sampleNearest(const Job& j, int p, int n, const double* sx, const double* sy, T* __restrict d) {
    for (int i = 0; i < n; ++i) {
        if (!insideRoi(j, sx[i], sy[i])) continue;
        const int ix = clampIndex(int(std::floor(sx[i] + 0.5)), j.roiW);
        const int iy = clampIndex(int(std::floor(sy[i] + 0.5)), j.roiH);
        const T* s = rowOf<T>(j.src[p], j.srcStep, iy) + std::ptrdiff_t(ix) * S;
        for (int c = 0; c < A; ++c) d[std::ptrdiff_t(i) * S + c] = s[c];
    }
}

// The offset of a sample point from the tap before it. Offsets below a millionth of a pixel (from
// rounding of points meant to hit a pixel) count as zero: their cubes would be denormal, and
// computing with them would raise the denormal flag for nothing the result could show.
inline float offsetOf(double s, double base) {
    const float t = float(s - base);
    return t < 1e-6f ? 0.0f : t;
}

// Floats skip the taps of weight zero, so that an infinity there cannot turn into NaN.
template <class T> inline float weighed(float acc, float w, float v) {
    if constexpr (std::is_same_v<T, Zkr32f>) return w != 0.0f ? acc + w * v : acc;
    else return acc + w * v;
}

template <class T, int S, int A>
ZKR_NOINLINE void sampleLinear(const Job& j, int p, int n, const double* sx, const double* sy, T* __restrict d) {
    for (int i = 0; i < n; ++i) {
        if (!insideRoi(j, sx[i], sy[i])) continue;
        const double fx = std::floor(sx[i]), fy = std::floor(sy[i]);
        const float tx = offsetOf(sx[i], fx), ty = offsetOf(sy[i], fy);
        const int x0 = clampIndex(int(fx), j.roiW), x1 = clampIndex(int(fx) + 1, j.roiW);
        const int y0 = clampIndex(int(fy), j.roiH), y1 = clampIndex(int(fy) + 1, j.roiH);
        const T* r0 = rowOf<T>(j.src[p], j.srcStep, y0);
        const T* r1 = rowOf<T>(j.src[p], j.srcStep, y1);
        for (int c = 0; c < A; ++c) {
            const float top = weighed<T>((1.0f - tx) * float(r0[x0 * S + c]), tx, float(r0[x1 * S + c]));
            if (ty == 0.0f) {
                d[std::ptrdiff_t(i) * S + c] = store<T>(top);
                continue;
            }
            const float bottom = weighed<T>((1.0f - tx) * float(r1[x0 * S + c]), tx, float(r1[x1 * S + c]));
            d[std::ptrdiff_t(i) * S + c] = store<T>((1.0f - ty) * top + ty * bottom);
        }
    }
}

// Catmull-Rom weights of the taps at -1, 0, 1, 2 for a sample t in [0, 1).
inline void cubicWeights(float t, float w[4]) {
    w[0] = ((-0.5f * t + 1.0f) * t - 0.5f) * t;
    w[1] = (1.5f * t - 2.5f) * t * t + 1.0f;
    w[2] = ((-1.5f * t + 2.0f) * t + 0.5f) * t;
    w[3] = (0.5f * t - 0.5f) * t * t;
}

template <class T, int S, int A>
ZKR_NOINLINE void sampleCubic(const Job& j, int p, int n, const double* sx, const double* sy, T* __restrict d) {
    for (int i = 0; i < n; ++i) {
        if (!insideRoi(j, sx[i], sy[i])) continue;
        const double fx = std::floor(sx[i]), fy = std::floor(sy[i]);
        float wx[4], wy[4];
        cubicWeights(offsetOf(sx[i], fx), wx);
        cubicWeights(offsetOf(sy[i], fy), wy);
        int xs[4];
        const T* rows[4];
        for (int k = 0; k < 4; ++k) {
            xs[k] = clampIndex(int(fx) - 1 + k, j.roiW) * S;
            rows[k] = rowOf<T>(j.src[p], j.srcStep, clampIndex(int(fy) - 1 + k, j.roiH));
        }
        // Sums start from -0, the neutral element of addition, so that a copied -0 stays -0.
        for (int c = 0; c < A; ++c) {
            float acc = -0.0f;
            for (int m = 0; m < 4; ++m) {
                if constexpr (std::is_same_v<T, Zkr32f>)
                    if (wy[m] == 0.0f) continue;
                float h = -0.0f;
                for (int k = 0; k < 4; ++k) h = weighed<T>(h, wx[k], float(rows[m][xs[k] + c]));
                acc += wy[m] * h;
            }
            d[std::ptrdiff_t(i) * S + c] = store<T>(acc);
        }
    }
}

template <class T, int S, int A> void sample(const Job& j, int p, int n, const double* sx, const double* sy, T* d) {
    switch (j.mode) {
        case ZKRI_WARP_NN: sampleNearest<T, S, A>(j, p, n, sx, sy, d); break;
        case ZKRI_WARP_LINEAR: sampleLinear<T, S, A>(j, p, n, sx, sy, d); break;
        default: sampleCubic<T, S, A>(j, p, n, sx, sy, d); break;
    }
}

// The band in strips of kStrip destination columns, each walked down all the band's rows: a strip
// reads a slanted strip of the source, whose rows the next destination row reads again, so the
// source stays in the caches however far the mapping turns the image.
constexpr int kStrip = 256;

template <class T, int S, int A> void band(const Job& j, double* scratch, int y0, int y1) {
    double* sx = scratch;
    double* sy = scratch + kStrip;
    static_assert(2 * kStrip <= kScratch);
    for (int x0 = 0; x0 < j.width; x0 += kStrip) {
        const int n = j.width - x0 < kStrip ? j.width - x0 : kStrip;
        for (int y = y0; y < y1; ++y) {
            const int yd = j.dstY + y;
            switch (j.map) {
                case Map::Affine: pointsAffine(j, yd, x0, n, sx, sy); break;
                case Map::Perspective: pointsPerspective(j, yd, x0, n, sx, sy); break;
                case Map::Bilinear: pointsBilinear(j, yd, x0, n, sx, sy); break;
                case Map::BilinearInv: pointsBilinearInv(j, yd, x0, n, sx, sy); break;
                case Map::Remap: pointsRemap(j, y, x0, n, sx, sy); break;
            }
            if (j.clip) clipToQuad(j, yd, x0, n, sx);
            for (int p = 0; p < j.planes; ++p)
                sample<T, S, A>(j, p, n, sx, sy, rowOf<T>(j.dst[p], j.dstStep, y) + std::ptrdiff_t(x0) * S);
        }
    }
}

template <class T> constexpr BandFn* row(BandFn (&r)[int(Lay::Count)]) {
    r[int(Lay::C1)] = &band<T, 1, 1>;
    r[int(Lay::C3)] = &band<T, 3, 3>;
    r[int(Lay::C4)] = &band<T, 4, 4>;
    r[int(Lay::AC4)] = &band<T, 4, 3>;
    return r;
}

constexpr Kernels makeKernels() {
    Kernels k{};
    row<Zkr8u>(k.band[int(EType::U8)]);
    row<Zkr16u>(k.band[int(EType::U16)]);
    row<Zkr16s>(k.band[int(EType::S16)]);
    row<Zkr32f>(k.band[int(EType::F32)]);
    return k;
}

}  // namespace

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::warp::ZKR_LEVEL_NS
