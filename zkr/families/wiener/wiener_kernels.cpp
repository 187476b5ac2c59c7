// Kernels of the Wiener family, compiled once per instruction-set level (ZKR_LEVEL_NS = base,
// avx2, avx512) with that level's code generation flags.
//
// Statistics: every window summed from its own values (column sums of values and squares over the
// mask height, then sums of mask-width column sums), in double, so a NaN or an infinity reaches
// exactly the windows that hold it and every value is the same whatever the band. The loops run
// over the contiguous components of a row and vectorise across it.
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <type_traits>

#include "rows.h"
#include "wiener_kernels.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::wiener::ZKR_LEVEL_NS {
namespace {

template <class T> inline const T* srcRow(const WienerJob& j, int y) {
    return reinterpret_cast<const T*>(static_cast<const char*>(j.src) + j.srcStep * y) -
           std::ptrdiff_t(j.anchorX) * j.channels;
}

template <class T>
ZKR_NOINLINE void columnStart(double* __restrict s, double* __restrict q, const T* __restrict in, int n) {
    for (int i = 0; i < n; ++i) {
        const double v = double(in[i]);
        s[i] = v;
        q[i] = v * v;
    }
}
template <class T>
ZKR_NOINLINE void columnAdd(double* __restrict s, double* __restrict q, const T* __restrict in, int n) {
    for (int i = 0; i < n; ++i) {
        const double v = double(in[i]);
        s[i] += v;
        q[i] += v * v;
    }
}

// Window sums over w pixels (stride ch), then the mean and the variance.
ZKR_NOINLINE void windowStats(double* __restrict mean, double* __restrict var, const double* __restrict s,
                              const double* __restrict q, int n, int w, int ch, double area) {
    for (int i = 0; i < n; ++i) {
        mean[i] = s[i];
        var[i] = q[i];
    }
    for (int m = 1; m < w; ++m)
        for (int i = 0; i < n; ++i) {
            mean[i] += s[i + m * ch];
            var[i] += q[i + m * ch];
        }
    for (int i = 0; i < n; ++i) {
        const double mu = mean[i] / area;
        const double v = var[i] / area - mu * mu;
        mean[i] = mu;
        var[i] = v < 0.0 ? 0.0 : v;  // rounding of a flat window; a NaN stays
    }
}

template <class T> bool statsRows(const WienerJob& j, int y0, int y1) {
    const int ch = j.channels;
    const int n = j.width * ch;
    const int cols = (j.width + j.maskW - 1) * ch;
    double* s = static_cast<double*>(std::malloc(sizeof(double) * std::size_t(cols) * 2));
    if (!s) return false;
    double* q = s + cols;
    const double area = double(j.maskW) * double(j.maskH);
    for (int y = y0; y < y1; ++y) {
        columnStart(s, q, srcRow<T>(j, y - j.anchorY), cols);
        for (int r = 1; r < j.maskH; ++r) columnAdd(s, q, srcRow<T>(j, y - j.anchorY + r), cols);
        double* mean = j.mean + std::size_t(y) * n;
        double* var = j.variance + std::size_t(y) * n;
        windowStats(mean, var, s, q, n, j.maskW, ch, area);
        double* sums = j.rowSums + std::size_t(y) * 4;
        for (int c = 0; c < 4; ++c) sums[c] = 0.0;
        for (int i = 0; i < n; ++i) sums[i % ch] += var[i];
    }
    std::free(s);
    return true;
}

// dst = m + max(v - n, 0) / max(v, n) * (x - m), m where max(v, n) is 0; no division by zero is
// evaluated.
template <class T>
ZKR_NOINLINE void filterRow(T* __restrict out, const T* __restrict in, const double* __restrict mean,
                            const double* __restrict var, const double* __restrict noise, int n, bool alpha) {
    for (int i = 0; i < n; ++i) {
        const double nz = noise[i];
        const double m = mean[i], v = var[i];
        const double d = v > nz ? v : nz;
        const double g = (v - nz > 0.0 ? v - nz : 0.0) / (d == 0.0 ? 1.0 : d);
        const double r = d == 0.0 ? m : m + g * (double(in[i]) - m);
        T o;
        if constexpr (std::is_floating_point_v<T>) {
            o = T(r);
        } else {
            constexpr double lo = double(std::numeric_limits<T>::min()), hi = double(std::numeric_limits<T>::max());
            double c = r < lo ? lo : (r > hi ? hi : r);
            c = c != c ? 0.0 : c;
            o = T(std::nearbyint(c));
        }
        out[i] = alpha && (i & 3) == 3 ? out[i] : o;
    }
}

template <class T> bool filterRows(const WienerJob& j, int y0, int y1) {
    const int ch = j.channels;
    const int n = j.width * ch;
    // The noise of every component of a row, so that the row loop reads it like the data.
    double* noise = static_cast<double*>(std::malloc(sizeof(double) * std::size_t(n)));
    if (!noise) return false;
    for (int i = 0; i < n; ++i) noise[i] = j.noise[i % ch];
    for (int y = y0; y < y1; ++y) {
        const T* in = reinterpret_cast<const T*>(static_cast<const char*>(j.src) + j.srcStep * y);
        T* out = reinterpret_cast<T*>(static_cast<char*>(j.dst) + j.dstStep * y);
        filterRow(out, in, j.mean + std::size_t(y) * n, j.variance + std::size_t(y) * n, noise, n, j.active != ch);
    }
    std::free(noise);
    return true;
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    ks.stats[kComp<Zkr8u>] = &statsRows<Zkr8u>;
    ks.stats[kComp<Zkr16s>] = &statsRows<Zkr16s>;
    ks.stats[kComp<Zkr32f>] = &statsRows<Zkr32f>;
    ks.filter[kComp<Zkr8u>] = &filterRows<Zkr8u>;
    ks.filter[kComp<Zkr16s>] = &filterRows<Zkr16s>;
    ks.filter[kComp<Zkr32f>] = &filterRows<Zkr32f>;
    return ks;
}

}  // namespace

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::wiener::ZKR_LEVEL_NS
