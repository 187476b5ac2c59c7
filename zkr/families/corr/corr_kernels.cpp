// Kernels of the Corr family: template matching and convolution by direct sums. Compiled once per
// instruction-set level (ZKR_LEVEL_NS = base, avx2, avx512) with that level's code generation
// flags; work buffers come from malloc, so no instantiation is shared between levels.
//
// A band first turns the source rows its windows reach into one zero-padded plane of doubles per
// active channel (the zeros outside the ROI are written, never read from the image). Every output
// row then sums the template against the plane, four template columns a pass over the whole row
// (contiguous, vectorised across output pixels). The normalised measures add the window's sum and
// sum of squares, taken per window from its own values (column sums over the template height, then
// sums of template-width column sums): a NaN or an infinity reaches exactly the windows that hold
// it, and every value is computed in the same order whatever the band, so thread splits give the
// same bits.
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>

#include "corr_kernels.h"
#include "rows.h"
#include "scratch.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::corr::ZKR_LEVEL_NS {
namespace {


// One source row's channel c, converted, into plane columns [x0, x1) (source column x - offX).
template <class Ts>
ZKR_NOINLINE void gatherRow(double* __restrict out, const Ts* __restrict in, int n, int ch) {
    for (int x = 0; x < n; ++x) out[x] = double(in[x * ch]);
}

ZKR_NOINLINE void copyRow(double* __restrict out, const double* __restrict in, int n) {
    for (int x = 0; x < n; ++x) out[x] = in[x];
}

ZKR_NOINLINE void zeroRow(double* __restrict out, int n) {
    for (int x = 0; x < n; ++x) out[x] = 0.0;
}

// acc[x] += t0 r[x] + t1 r[x + 1] + t2 r[x + 2] + t3 r[x + 3]
ZKR_NOINLINE void taps4(double* __restrict acc, const double* __restrict r, double t0, double t1, double t2,
                        double t3, int n) {
    for (int x = 0; x < n; ++x) acc[x] += t0 * r[x] + t1 * r[x + 1] + t2 * r[x + 2] + t3 * r[x + 3];
}
ZKR_NOINLINE void taps1(double* __restrict acc, const double* __restrict r, double t0, int n) {
    for (int x = 0; x < n; ++x) acc[x] += t0 * r[x];
}

// Column sums and sums of squares of one more plane row.
ZKR_NOINLINE void columnAdd(double* __restrict s, double* __restrict q, const double* __restrict r, int n) {
    for (int x = 0; x < n; ++x) {
        s[x] += r[x];
        q[x] += r[x] * r[x];
    }
}

// w[x] = c[x] + c[x + 1] + ... + c[x + tw - 1], summed in that order.
ZKR_NOINLINE void windowSums(double* __restrict w, const double* __restrict c, int n, int tw) {
    for (int x = 0; x < n; ++x) w[x] = c[x];
    for (int i = 1; i < tw; ++i)
        for (int x = 0; x < n; ++x) w[x] += c[x + i];
}

// The measure of every pixel of a row from the template sums (acc), the window's sum (s) and sum
// of squares (q); divisions by zero are never evaluated, so no flag is raised for them.
ZKR_NOINLINE void normalise(double* __restrict res, const double* __restrict acc, const double* __restrict s,
                            const double* __restrict q, int n, Measure m, double energy, double area) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    switch (m) {
        case Measure::Norm:
            for (int x = 0; x < n; ++x) {
                const double d2 = energy * q[x];
                const bool zero = d2 == 0.0;
                res[x] = zero ? 0.0 : acc[x] / std::sqrt(zero ? 1.0 : d2);
            }
            break;
        case Measure::NormLevel:
            for (int x = 0; x < n; ++x) {
                const double spread = q[x] - s[x] * s[x] / area;
                const bool flat = spread <= q[x] * kFlatSpread || energy == 0.0;
                res[x] = flat ? 0.0 : acc[x] / std::sqrt(flat ? 1.0 : spread * energy);
            }
            break;
        case Measure::SqrDist:
            for (int x = 0; x < n; ++x) {
                double num = q[x] + energy - 2.0 * acc[x];
                num = num < 0.0 ? 0.0 : num;
                const double d2 = energy * q[x];
                const bool zero = d2 == 0.0;
                const double r = num / std::sqrt(zero ? 1.0 : d2);
                res[x] = zero ? (num == 0.0 ? 0.0 : inf) : r;
            }
            break;
        default:
            for (int x = 0; x < n; ++x) res[x] = acc[x];
            break;
    }
}

// Stores channel c of a row: floats rounded once; integers scaled by 2^-scaleFactor (an exact
// power of two), rounded to nearest with ties to even, saturated.
template <class Td>
ZKR_NOINLINE void storeRow(Td* __restrict out, const double* __restrict res, int n, int ch, double scale) {
    if constexpr (std::is_floating_point_v<Td>) {
        for (int x = 0; x < n; ++x) out[x * ch] = Td(res[x]);
    } else {
        constexpr double lo = double(std::numeric_limits<Td>::min()), hi = double(std::numeric_limits<Td>::max());
        for (int x = 0; x < n; ++x) {
            double v = res[x] * scale;
            v = v != v ? 0.0 : v;  // 0 * inf for the largest negative scale factors
            v = v < lo ? lo : (v > hi ? hi : v);
            out[x * ch] = Td(std::nearbyint(v));
        }
    }
}

template <class Ts, class Td> bool corrRows(const CorrJob& j, int y0, int y1) {
    const int planeW = j.outW + j.tw - 1;
    const int rows = y1 - y0 + j.th - 1;
    const int n = j.outW;
    const bool sums = j.measure != Measure::Raw;
    const bool needPlane = sums || !j.numerator;
    const std::size_t planeSize = std::size_t(rows) * std::size_t(planeW);
    Scratch<double> plane{needPlane ? planeSize * std::size_t(j.active) : 0};
    Scratch<double> acc{std::size_t(n) + 4}, res{std::size_t(n)};
    Scratch<double> colS{sums ? std::size_t(planeW) : 0}, colQ{sums ? std::size_t(planeW) : 0};
    Scratch<double> winS{sums ? std::size_t(n) : 0}, winQ{sums ? std::size_t(n) : 0};
    if (!plane || !acc || !res || !colS || !colQ || !winS || !winQ) return false;

    // The plane: row r is source row y0 + r - offY, column x source column x - offX (only the rows
    // of the window sums when the template sums come from the frequency domain).
    const int x0 = j.offX < 0 ? 0 : (j.offX > planeW ? planeW : j.offX);
    int x1 = j.offX + j.srcW;
    x1 = x1 < x0 ? x0 : (x1 > planeW ? planeW : x1);
    for (int c = 0; c < (needPlane ? j.active : 0); ++c) {
        for (int r = 0; r < rows; ++r) {
            double* row = plane.get() + std::size_t(c) * planeSize + std::size_t(r) * std::size_t(planeW);
            const int sy = y0 + r - j.offY;
            if (sy < 0 || sy >= j.srcH || x1 <= x0) {
                zeroRow(row, planeW);
                continue;
            }
            zeroRow(row, x0);
            const Ts* in = reinterpret_cast<const Ts*>(static_cast<const char*>(j.src) + j.srcStep * sy);
            gatherRow(row + x0, in + std::ptrdiff_t(x0 - j.offX) * j.channels + c, x1 - x0, j.channels);
            zeroRow(row + x1, planeW - x1);
        }
    }

    const double scale = std::ldexp(1.0, j.scaleFactor < -2000 ? 2000 : (j.scaleFactor > 2000 ? -2000 : -j.scaleFactor));
    const double area = double(j.tw) * double(j.th);
    for (int y = y0; y < y1; ++y) {
        Td* drow = reinterpret_cast<Td*>(static_cast<char*>(j.dst) + j.dstStep * y);
        for (int c = 0; c < j.active; ++c) {
            const double* p =
                needPlane ? plane.get() + std::size_t(c) * planeSize + std::size_t(y - y0) * std::size_t(planeW) : nullptr;
            const double* t = j.tpl + std::size_t(c) * std::size_t(j.tw) * std::size_t(j.th);
            if (j.numerator) {
                copyRow(acc.get(), j.numerator + (std::size_t(c) * std::size_t(j.outH) + std::size_t(y)) * std::size_t(n), n);
            } else {
                zeroRow(acc.get(), n);
                for (int jj = 0; jj < j.th; ++jj) {
                    const double* r = p + std::size_t(jj) * std::size_t(planeW);
                    const double* tr = t + std::size_t(jj) * std::size_t(j.tw);
                    int i = 0;
                    for (; i + 4 <= j.tw; i += 4) taps4(acc.get(), r + i, tr[i], tr[i + 1], tr[i + 2], tr[i + 3], n);
                    for (; i < j.tw; ++i) taps1(acc.get(), r + i, tr[i], n);
                }
            }
            if (sums) {
                zeroRow(colS.get(), planeW);
                zeroRow(colQ.get(), planeW);
                for (int jj = 0; jj < j.th; ++jj)
                    columnAdd(colS.get(), colQ.get(), p + std::size_t(jj) * std::size_t(planeW), planeW);
                windowSums(winS.get(), colS.get(), n, j.tw);
                windowSums(winQ.get(), colQ.get(), n, j.tw);
            }
            normalise(res.get(), acc.get(), winS.get(), winQ.get(), n, j.measure, sums ? j.tplEnergy[c] : 0.0, area);
            storeRow(drow + c, res.get(), n, j.channels, scale);
        }
    }
    return true;
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    ks.rows[kComp<Zkr8u>][kComp<Zkr32f>] = &corrRows<Zkr8u, Zkr32f>;
    ks.rows[kComp<Zkr8s>][kComp<Zkr32f>] = &corrRows<Zkr8s, Zkr32f>;
    ks.rows[kComp<Zkr16u>][kComp<Zkr32f>] = &corrRows<Zkr16u, Zkr32f>;
    ks.rows[kComp<Zkr16s>][kComp<Zkr32f>] = &corrRows<Zkr16s, Zkr32f>;
    ks.rows[kComp<Zkr32f>][kComp<Zkr32f>] = &corrRows<Zkr32f, Zkr32f>;
    ks.rows[kComp<Zkr8u>][kComp<Zkr8u>] = &corrRows<Zkr8u, Zkr8u>;
    ks.rows[kComp<Zkr16s>][kComp<Zkr16s>] = &corrRows<Zkr16s, Zkr16s>;
    return ks;
}

}  // namespace

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::corr::ZKR_LEVEL_NS
