// Compiled once per instruction-set level (ZKR_LEVEL_NS): the DFT family's
// moves between images and the work planes.
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "dft_kernels.h"

namespace zkr::dft::ZKR_LEVEL_NS {
namespace {

template <class T> inline T* rowOf(Channel<T> c, int y) {
    using B = std::conditional_t<std::is_const_v<T>, const char, char>;
    return reinterpret_cast<T*>(reinterpret_cast<B*>(c.p) + c.step * y);
}

// v rounded half to even and saturated to D (floats: as they are).
template <class D> inline D toElem(double v) {
    if constexpr (std::is_same_v<D, Zkr32f>) {
        return float(v);
    } else {
        constexpr double lo = std::is_same_v<D, Zkr8u> ? 0.0 : -2147483648.0;
        constexpr double hi = std::is_same_v<D, Zkr8u> ? 255.0 : 2147483647.0;
        const double r = std::nearbyint(v);
        if (!(r == r)) return D(0);
        return D(r < lo ? lo : (r > hi ? hi : r));
    }
}

void loadC(Channel<const Zkr32fc> src, Planes pl) {
    for (int y = 0; y < pl.h; ++y) {
        const float* __restrict s = reinterpret_cast<const float*>(rowOf(src, y));
        float* __restrict re = pl.re + std::ptrdiff_t(y) * pl.w;
        float* __restrict im = pl.im + std::ptrdiff_t(y) * pl.w;
        for (int x = 0; x < pl.w; ++x) {
            re[x] = s[2 * x];
            im[x] = s[2 * x + 1];
        }
    }
}

void storeC(Planes pl, Channel<Zkr32fc> dst, float scale) {
    for (int y = 0; y < pl.h; ++y) {
        float* __restrict d = reinterpret_cast<float*>(rowOf(dst, y));
        const float* __restrict re = pl.re + std::ptrdiff_t(y) * pl.w;
        const float* __restrict im = pl.im + std::ptrdiff_t(y) * pl.w;
        for (int x = 0; x < pl.w; ++x) {
            d[2 * x] = re[x] * scale;
            d[2 * x + 1] = im[x] * scale;
        }
    }
}

template <class S> void loadReal(Channel<const S> src, Planes pl) {
    for (int y = 0; y < pl.h; ++y) {
        const S* __restrict s = rowOf(src, y);
        float* __restrict re = pl.re + std::ptrdiff_t(y) * pl.w;
        float* __restrict im = pl.im + std::ptrdiff_t(y) * pl.w;
        const int k = src.stride;
        for (int x = 0; x < pl.w; ++x) {
            re[x] = float(s[x * k]);
            im[x] = 0.0f;
        }
    }
}

template <class D> void pack(Planes pl, Channel<D> dst, double scale) {
    const int w = pl.w, h = pl.h, k = dst.stride;
    auto re = [&](int u, int v) { return double(pl.re[std::ptrdiff_t(v) * w + u]); };
    auto im = [&](int u, int v) { return double(pl.im[std::ptrdiff_t(v) * w + u]); };
    const int realColumns = (w % 2 == 0 && w > 1) ? 2 : 1;
    for (int y = 0; y < h; ++y) {
        D* __restrict d = rowOf(dst, y);
        const float* __restrict r = pl.re + std::ptrdiff_t(y) * w;
        const float* __restrict i = pl.im + std::ptrdiff_t(y) * w;
        for (int u = 1; 2 * u < w; ++u) {
            d[(2 * u - 1) * k] = toElem<D>(double(r[u]) * scale);
            d[2 * u * k] = toElem<D>(double(i[u]) * scale);
        }
        for (int c = 0; c < realColumns; ++c) {
            const int u = c == 0 ? 0 : w / 2, x = c == 0 ? 0 : w - 1;
            double v;
            if (y == 0) v = re(u, 0);
            else if (h % 2 == 0 && y == h - 1) v = re(u, h / 2);
            else v = y % 2 == 1 ? re(u, (y + 1) / 2) : im(u, y / 2);
            d[x * k] = toElem<D>(v * scale);
        }
    }
}

template <class S> void unpack(Channel<const S> src, Planes pl) {
    const int w = pl.w, h = pl.h, k = src.stride;
    auto put = [&](int u, int v, float a, float b) {
        pl.re[std::ptrdiff_t(v) * w + u] = a;
        pl.im[std::ptrdiff_t(v) * w + u] = b;
        const std::ptrdiff_t m = std::ptrdiff_t((h - v) % h) * w + (w - u) % w;
        pl.re[m] = a;
        pl.im[m] = -b;
    };
    for (int y = 0; y < h; ++y) {
        const S* __restrict s = rowOf(src, y);
        const std::ptrdiff_t my = std::ptrdiff_t((h - y) % h) * w;
        float* __restrict r = pl.re + std::ptrdiff_t(y) * w;
        float* __restrict i = pl.im + std::ptrdiff_t(y) * w;
        for (int u = 1; 2 * u < w; ++u) {
            r[u] = float(s[(2 * u - 1) * k]);
            i[u] = float(s[2 * u * k]);
        }
        // the mirrored half: F(W - u, H - y) = conj F(u, y)
        for (int u = 1; 2 * u < w; ++u) {
            pl.re[my + (w - u)] = float(s[(2 * u - 1) * k]);
            pl.im[my + (w - u)] = -float(s[2 * u * k]);
        }
    }
    const int realColumns = (w % 2 == 0 && w > 1) ? 2 : 1;
    for (int c = 0; c < realColumns; ++c) {
        const int u = c == 0 ? 0 : w / 2, x = c == 0 ? 0 : w - 1;
        auto at = [&](int y) { return float(rowOf(src, y)[x * k]); };
        put(u, 0, at(0), 0.0f);
        for (int j = 1; 2 * j < h; ++j) put(u, j, at(2 * j - 1), at(2 * j));
        if (h % 2 == 0 && h > 1) put(u, h / 2, at(h - 1), 0.0f);
    }
}

template <class D> void storeReal(Planes pl, Channel<D> dst, double scale) {
    const int k = dst.stride;
    for (int y = 0; y < pl.h; ++y) {
        D* __restrict d = rowOf(dst, y);
        const float* __restrict re = pl.re + std::ptrdiff_t(y) * pl.w;
        if constexpr (std::is_same_v<D, Zkr32f>) {
            const float s = float(scale);
            for (int x = 0; x < pl.w; ++x) d[x * k] = re[x] * s;
        } else {
            for (int x = 0; x < pl.w; ++x) d[x * k] = toElem<D>(double(re[x]) * scale);
        }
    }
}

}  // namespace

constinit const Kernels kernels = {&loadC,           &storeC,          &loadReal<Zkr32f>, &loadReal<Zkr8u>,
                                   &pack<Zkr32f>,    &pack<Zkr32s>,    &unpack<Zkr32f>,   &unpack<Zkr32s>,
                                   &storeReal<Zkr32f>, &storeReal<Zkr8u>};

}  // namespace zkr::dft::ZKR_LEVEL_NS
