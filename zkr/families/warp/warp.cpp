// The exported functions of the warp family (rotation, shear, the affine,
// perspective and bilinear warps, remapping), defined from its tables: each
// row packs its parameters and hands them to one generic entry point, which
// checks the arguments, turns the function's parameters into a mapping from
// destination to source (inverting a forward mapping, or solving for the one
// that takes one quadrangle to another) and runs the kernels of the level in
// force over bands of destination rows.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include "checks.h"
#include "warp_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

#define ZKR_TABLE "warp/rotate.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "warp/shear.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "warp/warp.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "warp/remap.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkr::warp {
namespace {

enum class Op {
    Rotate, Shear, Affine, AffineBack, Perspective, PerspectiveBack, AffineQuad, PerspectiveQuad,
    Bilinear, BilinearBack, BilinearQuad, Remap
};
enum class Layout { C1, C3, C4, AC4, P3 };

constexpr int channelsOf(Layout l) { return l == Layout::C3 ? 3 : (l == Layout::C4 || l == Layout::AC4 ? 4 : 1); }
constexpr Lay samplerOf(Layout l) {
    return l == Layout::C3 ? Lay::C3 : l == Layout::C4 ? Lay::C4 : l == Layout::AC4 ? Lay::AC4 : Lay::C1;
}

bool allFinite(const double* v, int n) {
    for (int i = 0; i < n; ++i)
        if (!std::isfinite(v[i])) return false;
    return true;
}

// Solves the n x n system m x = b (m row by row, n <= 8) by elimination with partial pivoting;
// false when it is singular.
bool solve(int n, double* m, double* b, double* x) {
    for (int col = 0; col < n; ++col) {
        int piv = col;
        for (int r = col + 1; r < n; ++r)
            if (std::fabs(m[r * n + col]) > std::fabs(m[piv * n + col])) piv = r;
        if (!(std::fabs(m[piv * n + col]) > 1e-12)) return false;
        if (piv != col) {
            for (int k = 0; k < n; ++k) std::swap(m[col * n + k], m[piv * n + k]);
            std::swap(b[col], b[piv]);
        }
        for (int r = col + 1; r < n; ++r) {
            const double f = m[r * n + col] / m[col * n + col];
            for (int k = col; k < n; ++k) m[r * n + k] -= f * m[col * n + k];
            b[r] -= f * b[col];
        }
    }
    for (int r = n - 1; r >= 0; --r) {
        double s = b[r];
        for (int k = r + 1; k < n; ++k) s -= m[r * n + k] * x[k];
        x[r] = s / m[r * n + r];
    }
    return allFinite(x, n);
}

// The inverse of the affine map x' = m0 x + m1 y + m2, y' = m3 x + m4 y + m5.
bool invertAffine(const double* m, double* out) {
    const double det = m[0] * m[4] - m[1] * m[3];
    if (det == 0.0 || !std::isfinite(det)) return false;
    const double i0 = m[4] / det, i1 = -m[1] / det, i3 = -m[3] / det, i4 = m[0] / det;
    out[0] = i0;
    out[1] = i1;
    out[2] = -(i0 * m[2] + i1 * m[5]);
    out[3] = i3;
    out[4] = i4;
    out[5] = -(i3 * m[2] + i4 * m[5]);
    return allFinite(out, 6);
}

// The inverse of a 3 x 3 perspective matrix, up to its scale (the adjugate over the determinant).
bool invertPerspective(const double* m, double* out) {
    const double a = m[0], b = m[1], c = m[2], d = m[3], e = m[4], f = m[5], g = m[6], h = m[7], i = m[8];
    const double det = a * (e * i - f * h) - b * (d * i - f * g) + c * (d * h - e * g);
    if (det == 0.0 || !std::isfinite(det)) return false;
    const double adj[9] = {e * i - f * h, c * h - b * i, b * f - c * e, f * g - d * i, a * i - c * g,
                           c * d - a * f, d * h - e * g, b * g - a * h, a * e - b * d};
    for (int k = 0; k < 9; ++k) out[k] = adj[k] / det;
    return allFinite(out, 9);
}

// Twice the signed area of a quadrangle (x, y corner pairs).
double quadArea2(const double* q) {
    double s = 0.0;
    for (int k = 0; k < 4; ++k) s += q[2 * k] * q[(2 * k + 3) % 8] - q[(2 * k + 2) % 8] * q[2 * k + 1];
    return s;
}

// True when every corner turns the same way, strictly: a convex quadrangle that is not degenerate.
bool convex(const double* q) {
    int pos = 0, neg = 0;
    for (int k = 0; k < 4; ++k) {
        const double* a = q + 2 * k;
        const double* b = q + (2 * k + 2) % 8;
        const double* c = q + (2 * k + 4) % 8;
        const double cr = (b[0] - a[0]) * (c[1] - b[1]) - (b[1] - a[1]) * (c[0] - b[0]);
        pos += cr > 0.0;
        neg += cr < 0.0;
    }
    return pos == 4 || neg == 4;
}

// The mapping of the destination quadrangle `dq` onto the source quadrangle `sq`.
bool quadMapping(Op op, const double* sq, const double* dq, Job& job) {
    if (op == Op::AffineQuad) {
        for (int out = 0; out < 2; ++out) {
            double m[9], b[3], x[3];
            for (int k = 0; k < 3; ++k) {
                m[3 * k] = dq[2 * k];
                m[3 * k + 1] = dq[2 * k + 1];
                m[3 * k + 2] = 1.0;
                b[k] = sq[2 * k + out];
            }
            if (!solve(3, m, b, x)) return false;
            std::copy(x, x + 3, job.c + 3 * out);
        }
        job.map = Map::Affine;
        return true;
    }
    if (op == Op::BilinearQuad) {
        for (int out = 0; out < 2; ++out) {
            double m[16], b[4], x[4];
            for (int k = 0; k < 4; ++k) {
                m[4 * k] = dq[2 * k] * dq[2 * k + 1];
                m[4 * k + 1] = dq[2 * k];
                m[4 * k + 2] = dq[2 * k + 1];
                m[4 * k + 3] = 1.0;
                b[k] = sq[2 * k + out];
            }
            if (!solve(4, m, b, x)) return false;
            std::copy(x, x + 4, job.c + 4 * out);
        }
        job.map = Map::Bilinear;
        return true;
    }
    // Perspective: h8 = 1, eight equations in h0..h7.
    double m[64] = {}, b[8], x[8];
    for (int k = 0; k < 4; ++k) {
        const double u = dq[2 * k], v = dq[2 * k + 1], sx = sq[2 * k], sy = sq[2 * k + 1];
        double* r0 = m + 8 * (2 * k);
        double* r1 = m + 8 * (2 * k + 1);
        r0[0] = u, r0[1] = v, r0[2] = 1.0, r0[6] = -u * sx, r0[7] = -v * sx;
        r1[3] = u, r1[4] = v, r1[5] = 1.0, r1[6] = -u * sy, r1[7] = -v * sy;
        b[2 * k] = sx;
        b[2 * k + 1] = sy;
    }
    if (!solve(8, m, b, x)) return false;
    std::copy(x, x + 8, job.c);
    job.c[8] = 1.0;
    job.map = Map::Perspective;
    return true;
}

// The mapping from destination to source of every function but the quad forms and remapping.
template <Op O, class A> bool pointMapping(const A& a, Job& job) {
    if constexpr (O == Op::Rotate) {
        if (!std::isfinite(a.angle) || !std::isfinite(a.xShift) || !std::isfinite(a.yShift)) return false;
        const double r = a.angle * (3.14159265358979323846 / 180.0);
        const double ca = std::cos(r), sa = std::sin(r);
        const double c[6] = {ca, -sa, -ca * a.xShift + sa * a.yShift, sa, ca, -sa * a.xShift - ca * a.yShift};
        std::copy(c, c + 6, job.c);
        job.map = Map::Affine;
        return true;
    } else if constexpr (O == Op::Shear) {
        const double f[6] = {1.0, a.xShear, a.xShift, a.yShear, 1.0, a.yShift};
        job.map = Map::Affine;
        return allFinite(f, 6) && invertAffine(f, job.c);
    } else {
        constexpr int n = O == Op::Affine || O == Op::AffineBack ? 6 : (O == Op::Bilinear || O == Op::BilinearBack ? 8 : 9);
        if (!allFinite(a.coeffs, n)) return false;
        if constexpr (O == Op::Affine) {
            job.map = Map::Affine;
            return invertAffine(a.coeffs, job.c);
        } else if constexpr (O == Op::Perspective) {
            job.map = Map::Perspective;
            return invertPerspective(a.coeffs, job.c);
        } else if constexpr (O == Op::Bilinear) {
            const double* c = a.coeffs;
            if (c[0] == 0.0 && c[4] == 0.0) {  // no xy term: an affine map
                const double f[6] = {c[1], c[2], c[3], c[5], c[6], c[7]};
                job.map = Map::Affine;
                return invertAffine(f, job.c);
            }
            std::copy(c, c + 8, job.c);
            job.map = Map::BilinearInv;
            return true;
        } else {
            std::copy(a.coeffs, a.coeffs + n, job.c);
            job.map = O == Op::AffineBack ? Map::Affine : O == Op::PerspectiveBack ? Map::Perspective : Map::Bilinear;
            return true;
        }
    }
}

template <Op O, Layout L, class T, class A> ZkrStatus run(const A& a) {
    constexpr bool planar = L == Layout::P3;
    constexpr bool quad = O == Op::AffineQuad || O == Op::PerspectiveQuad || O == Op::BilinearQuad;
    constexpr bool remap = O == Op::Remap;
    constexpr int px = int(sizeof(T)) * channelsOf(L);

    if (!a.pSrc || !a.pDst) return zkrStsNullPtrErr;
    if constexpr (planar)
        for (int p = 0; p < 3; ++p)
            if (!a.pSrc[p] || !a.pDst[p]) return zkrStsNullPtrErr;
    if constexpr (quad)
        if (!a.srcQuad || !a.dstQuad) return zkrStsNullPtrErr;
    if constexpr (remap) {
        if (!a.pxMap || !a.pyMap) return zkrStsNullPtrErr;
    } else if constexpr (requires { a.coeffs; }) {
        if (!a.coeffs) return zkrStsNullPtrErr;
    }

    ZkriRect dr;
    if constexpr (remap) dr = {0, 0, a.dstRoiSize.width, a.dstRoiSize.height};
    else dr = a.dstRoi;
    if (checkSize(a.srcSize) != zkrStsNoErr || a.srcRoi.width <= 0 || a.srcRoi.height <= 0 || dr.width <= 0 ||
        dr.height <= 0 || dr.x < 0 || dr.y < 0)
        return zkrStsSizeErr;
    // The part of the source ROI inside the image.
    const int rx0 = std::max(a.srcRoi.x, 0), ry0 = std::max(a.srcRoi.y, 0);
    const int rx1 = int(std::min<std::int64_t>(std::int64_t(a.srcRoi.x) + a.srcRoi.width, a.srcSize.width));
    const int ry1 = int(std::min<std::int64_t>(std::int64_t(a.srcRoi.y) + a.srcRoi.height, a.srcSize.height));
    if (rx1 <= rx0 || ry1 <= ry0) return zkrStsSizeErr;
    if (checkSteps({a.srcStep}, std::int64_t(a.srcSize.width) * px, int(sizeof(T))) != zkrStsNoErr ||
        checkSteps({a.dstStep}, (std::int64_t(dr.x) + dr.width) * px, int(sizeof(T))) != zkrStsNoErr)
        return zkrStsStepErr;
    if constexpr (remap)
        if (checkSteps({a.xMapStep, a.yMapStep}, std::int64_t(dr.width) * 4, 4) != zkrStsNoErr) return zkrStsStepErr;
    if (a.interpolation != ZKRI_WARP_NN && a.interpolation != ZKRI_WARP_LINEAR && a.interpolation != ZKRI_WARP_CUBIC)
        return zkrStsInterpolationErr;

    Job job;
    if constexpr (quad) {
        if (!allFinite(a.srcQuad, 8) || !allFinite(a.dstQuad, 8) || quadArea2(a.srcQuad) == 0.0 || !convex(a.dstQuad) ||
            !quadMapping(O, a.srcQuad, a.dstQuad, job))
            return zkrStsBadArgErr;
        // Corners in the order whose interior lies left of every edge.
        job.clip = true;
        const bool reverse = quadArea2(a.dstQuad) < 0.0;
        for (int k = 0; k < 4; ++k) {
            const int from = reverse ? 3 - k : k;
            job.quad[2 * k] = a.dstQuad[2 * from];
            job.quad[2 * k + 1] = a.dstQuad[2 * from + 1];
        }
    } else if constexpr (remap) {
        job.map = Map::Remap;
        job.xMap = a.pxMap;
        job.yMap = a.pyMap;
        job.xMapStep = a.xMapStep;
        job.yMapStep = a.yMapStep;
    } else {
        if (!pointMapping<O>(a, job)) return zkrStsBadArgErr;
    }

    job.srcStep = a.srcStep;
    job.roiX = rx0;
    job.roiY = ry0;
    job.roiW = rx1 - rx0;
    job.roiH = ry1 - ry0;
    job.dstStep = a.dstStep;
    job.dstX = dr.x;
    job.dstY = dr.y;
    job.width = dr.width;
    job.height = dr.height;
    job.mode = a.interpolation;
    job.planes = planar ? 3 : 1;
    const auto srcAt = [&](const T* base) {
        return reinterpret_cast<const unsigned char*>(base) + std::int64_t(ry0) * a.srcStep + std::int64_t(rx0) * px;
    };
    const auto dstAt = [&](T* base) {
        return reinterpret_cast<unsigned char*>(base) + std::int64_t(dr.y) * a.dstStep + std::int64_t(dr.x) * px;
    };
    for (int p = 0; p < job.planes; ++p) {
        if constexpr (planar) {
            job.src[p] = srcAt(a.pSrc[p]);
            job.dst[p] = dstAt(a.pDst[p]);
        } else {
            job.src[p] = srcAt(a.pSrc);
            job.dst[p] = dstAt(a.pDst);
        }
    }
    const BandFn fn = kernels().band[int(ETypeOf<T>::id)][int(samplerOf(L))];
    forRowBands(std::int64_t(dr.width) * dr.height * job.planes, dr.height, [&](int y0, int y1) {
        std::vector<double> scratch(kScratch);
        fn(job, scratch.data(), y0, y1);
    });
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::warp

#define ZKR_FN(name, form, T, L, op)                                                         \
    ZKR_DEFINE(name, form, T, L) {                                                           \
        ZKR_PACK(args, form, T, L);                                                          \
        return zkr::warp::run<zkr::warp::Op::op, zkr::warp::Layout::L, T>(args);             \
    }
#include "warp/rotate.tbl"
#include "warp/shear.tbl"
#include "warp/warp.tbl"
#include "warp/remap.tbl"
#undef ZKR_FN
