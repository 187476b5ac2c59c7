// Compiled once per instruction-set level: the build defines ZKR_LEVEL_NS
// (base, avx2, avx512) and passes that level's code generation flags. Only
// plain loops and functions of this namespace live here. Rows and runs of
// border pixels are moved by block copies (the first pixel written, then the
// written part doubled), which run at memory speed on every level.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "border_kernels.h"
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::border::ZKR_LEVEL_NS {
namespace {

using uchar = unsigned char;

// P-byte pixels, or AC4 pixels of C-byte components (Alpha) with three of four written.
template <int P, bool Alpha> struct Pixels {
    static constexpr int bytes = Alpha ? 4 * P : P;

    // n pixels from s (no overlap with d).
    static void copy(uchar* __restrict d, const uchar* __restrict s, int n) {
        if constexpr (Alpha) {
            for (int i = 0; i < n; ++i) std::memcpy(d + std::ptrdiff_t(i) * bytes, s + std::ptrdiff_t(i) * bytes, 3 * P);
        } else {
            std::memcpy(d, s, std::size_t(n) * P);
        }
    }

    // n copies of the pixel at v (outside the n pixels at d).
    static void fill(uchar* d, const uchar* v, int n) {
        if (n <= 0) return;
        if constexpr (Alpha) {
            uchar px[3 * P];
            std::memcpy(px, v, 3 * P);
            for (int i = 0; i < n; ++i) std::memcpy(d + std::ptrdiff_t(i) * bytes, px, 3 * P);
        } else if constexpr (P == 1) {
            std::memset(d, *v, std::size_t(n));
        } else {
            std::memcpy(d, v, P);
            const std::size_t total = std::size_t(n) * P;
            for (std::size_t done = P; done < total;) {
                const std::size_t chunk = done < total - done ? done : total - done;
                std::memcpy(d + done, d, chunk);
                done += chunk;
            }
        }
    }

    // n pixels of the source row s (width w) tiled over the plane, starting at its pixel `first`.
    static void wrap(uchar* d, const uchar* s, int w, int first, int n) {
        while (n > 0) {
            const int run = w - first < n ? w - first : n;
            copy(d, s + std::ptrdiff_t(first) * bytes, run);
            d += std::ptrdiff_t(run) * bytes;
            n -= run;
            first = 0;
        }
    }
};

// x modulo m in [0, m).
inline int modulo(long long x, int m) {
    const long long r = x % m;
    return int(r < 0 ? r + m : r);
}

template <int P, bool Alpha> void band(const Job& j, int y0, int y1) {
    using Px = Pixels<P, Alpha>;
    constexpr int B = Px::bytes;
    const int w = j.srcWidth, h = j.srcHeight, right = j.dstWidth - j.left - w;
    for (int y = y0; y < y1; ++y) {
        uchar* d = static_cast<uchar*>(j.dst) + j.dstStep * y;
        const int inner = y - j.top;  // the source row this row holds when inside
        int sy = inner;
        switch (j.kind) {
            case Kind::Replicate: sy = inner < 0 ? 0 : (inner >= h ? h - 1 : inner); break;
            case Kind::Wrap: sy = modulo(inner, h); break;
            case Kind::Const:
                if (inner < 0 || inner >= h) {
                    Px::fill(d, j.value, j.dstWidth);
                    continue;
                }
                break;
        }
        const uchar* s = static_cast<const uchar*>(j.src) + j.srcStep * sy;
        uchar* mid = d + std::ptrdiff_t(j.left) * B;
        if (!(j.inPlace && sy == inner)) Px::copy(mid, s, w);
        switch (j.kind) {
            case Kind::Replicate:
                Px::fill(d, s, j.left);
                Px::fill(mid + std::ptrdiff_t(w) * B, s + std::ptrdiff_t(w - 1) * B, right);
                break;
            case Kind::Const:
                Px::fill(d, j.value, j.left);
                Px::fill(mid + std::ptrdiff_t(w) * B, j.value, right);
                break;
            case Kind::Wrap:
                Px::wrap(d, s, w, modulo(-static_cast<long long>(j.left), w), j.left);
                Px::wrap(mid + std::ptrdiff_t(w) * B, s, w, 0, right);
                break;
        }
    }
}

}  // namespace

constinit const Kernels kernels = {{&band<1, false>, &band<2, false>, &band<3, false>, &band<4, false>,
                                    &band<6, false>, &band<8, false>, &band<12, false>, &band<16, false>,
                                    &band<1, true>, &band<2, true>, &band<4, true>}};

}  // namespace zkr::border::ZKR_LEVEL_NS
