// Compiled once per instruction-set level (ZKR_LEVEL_NS): the window family's row kernels.
#include <cmath>
#include <numbers>
#include <type_traits>

#include "win_kernels.h"
#include "zkrcore.h"

namespace zkr::win::ZKR_LEVEL_NS {
namespace {

template <class T> inline T elem(double v) {
    if constexpr (std::is_same_v<T, Zkr32f>) return float(v);
    else return T(std::nearbyint(v));  // the window keeps products within the type: 0 <= w <= 1
}

template <class T> void separableRows(const Job& j, int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
        const T* __restrict s = reinterpret_cast<const T*>(static_cast<const char*>(j.s) + j.sStep * y);
        T* d = reinterpret_cast<T*>(static_cast<char*>(j.d) + j.dStep * y);
        const double* __restrict fx = j.fx;
        const double wy = j.fy[y];
        for (int x = 0; x < j.width; ++x) d[x] = elem<T>(double(s[x]) * (fx[x] * wy));
    }
}

template <Win win> inline double radialWindow(double r2) {
    const double r = std::sqrt(r2);
    if constexpr (win == Win::Bartlett) return r < 1.0 ? 1.0 - r : 0.0;
    else return r <= 1.0 ? 0.54 + 0.46 * std::cos(std::numbers::pi * r) : 0.08;
}

template <class T, Win win> void radialRows(const Job& j, int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
        const T* __restrict s = reinterpret_cast<const T*>(static_cast<const char*>(j.s) + j.sStep * y);
        T* d = reinterpret_cast<T*>(static_cast<char*>(j.d) + j.dStep * y);
        const double* __restrict tx2 = j.fx;
        const double ty2 = j.fy[y];
        for (int x = 0; x < j.width; ++x) d[x] = elem<T>(double(s[x]) * radialWindow<win>(tx2[x] + ty2));
    }
}

}  // namespace

constinit const Kernels kernels = {
    {&separableRows<Zkr8u>, &separableRows<Zkr16u>, &separableRows<Zkr32f>},
    {{&radialRows<Zkr8u, Win::Bartlett>, &radialRows<Zkr8u, Win::Hamming>},
     {&radialRows<Zkr16u, Win::Bartlett>, &radialRows<Zkr16u, Win::Hamming>},
     {&radialRows<Zkr32f, Win::Bartlett>, &radialRows<Zkr32f, Win::Hamming>}}};

}  // namespace zkr::win::ZKR_LEVEL_NS
