// Compiled once per instruction-set level (ZKR_LEVEL_NS): the polar family's row kernels.
#include <cmath>

#include "polar_kernels.h"
#include "zkrcore.h"

namespace zkr::polar::ZKR_LEVEL_NS {
namespace {

template <class T> inline const T* srow(const void* p, std::ptrdiff_t step, int y) {
    return reinterpret_cast<const T*>(static_cast<const char*>(p) + step * y);
}
template <class T> inline T* drow(void* p, std::ptrdiff_t step, int y) {
    return reinterpret_cast<T*>(static_cast<char*>(p) + step * y);
}

template <int nc, int na> void rows32f(const Job& j, int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
        const float* __restrict m = srow<float>(j.magn, j.sStep, y);
        const float* __restrict p = srow<float>(j.phase, j.sStep, y);
        float* __restrict d = drow<float>(j.re, j.dStep, y);
        for (int x = 0; x < j.width; ++x)
            for (int c = 0; c < na; ++c) {
                const int i = x * nc + c;
                const double a = p[i];
                d[2 * i] = float(m[i] * std::cos(a));
                d[2 * i + 1] = float(m[i] * std::sin(a));
            }
    }
}

void rows32fp2(const Job& j, int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
        const float* __restrict m = srow<float>(j.magn, j.sStep, y);
        const float* __restrict p = srow<float>(j.phase, j.sStep, y);
        float* __restrict re = drow<float>(j.re, j.dStep, y);
        float* __restrict im = drow<float>(j.im, j.dStep, y);
        for (int x = 0; x < j.width; ++x) {
            const double a = p[x];
            re[x] = float(m[x] * std::cos(a));
            im[x] = float(m[x] * std::sin(a));
        }
    }
}

inline Zkr16s sat16(double v) {
    const double r = std::nearbyint(v);
    return Zkr16s(r < -32768.0 ? -32768.0 : (r > 32767.0 ? 32767.0 : r));
}

template <int nc> void rows16s(const Job& j, int y0, int y1) {
    const double k = std::ldexp(1.0, -(j.scale < -64 ? -64 : (j.scale > 64 ? 64 : j.scale)));
    for (int y = y0; y < y1; ++y) {
        const Zkr16s* __restrict m = srow<Zkr16s>(j.magn, j.sStep, y);
        const Zkr16s* __restrict p = srow<Zkr16s>(j.phase, j.sStep, y);
        Zkr16s* __restrict d = drow<Zkr16s>(j.re, j.dStep, y);
        for (int i = 0; i < j.width * nc; ++i) {
            const double a = p[i] / 4096.0, r = m[i] * k;
            d[2 * i] = sat16(r * std::cos(a));
            d[2 * i + 1] = sat16(r * std::sin(a));
        }
    }
}

}  // namespace

constinit const Kernels kernels = {{&rows32f<1, 1>, &rows32f<3, 3>, &rows32f<4, 4>, &rows32f<4, 3>},
                                   &rows32fp2,
                                   {&rows16s<1>, &rows16s<3>}};

}  // namespace zkr::polar::ZKR_LEVEL_NS
