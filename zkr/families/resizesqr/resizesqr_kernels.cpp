// Compiled once per instruction-set level: the build defines ZKR_LEVEL_NS
// (base, avx2, avx512) and passes that level's code generation flags. Only
// plain loops and functions of this namespace live here, so no inline code of
// another level can be merged into this one.
#include <cstddef>
#include <type_traits>

#include "resizesqr_kernels.h"
#include "rows.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::resizesqr::ZKR_LEVEL_NS {
namespace {

template <class T> inline constexpr bool kFloat = std::is_same_v<T, Zkr32f>;

// A float sample as an element: integers rounded half up and saturated.
template <class T> inline T store(float v) {
    if constexpr (kFloat<T>) {
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

// out = w * row (the first tap that counts), then out += w * row for the others: one straight loop
// over the row per tap, which every level vectorises.
template <class T> ZKR_NOINLINE void firstTap(const T* __restrict s, float w, float* __restrict out, int n) {
    if (w == 1.0f) {
        for (int i = 0; i < n; ++i) out[i] = float(s[i]);
    } else {
        for (int i = 0; i < n; ++i) out[i] = w * float(s[i]);
    }
}

template <class T> ZKR_NOINLINE void addTap(const T* __restrict s, float w, float* __restrict out, int n) {
    for (int i = 0; i < n; ++i) out[i] += w * float(s[i]);
}

// The float row of destination row y. Taps of weight zero are skipped, so a NaN or an infinity
// in a row that does not count cannot reach the result.
template <class T> void vpass(const Job& j, int y, float* out) {
    const AxisMap& m = *j.y;
    const int* idx = m.idx + std::ptrdiff_t(y) * m.taps;
    const float* w = m.w + std::ptrdiff_t(y) * m.taps;
    bool first = true;
    for (int k = 0; k < m.taps; ++k) {
        if (w[k] == 0.0f) continue;
        const T* s = rowOf<T>(j.src, j.srcStep, idx[k]);
        if (first) firstTap<T>(s, w[k], out, j.srcLen);
        else addTap<T>(s, w[k], out, j.srcLen);
        first = false;
    }
}

// The destination row from the float row: S components per pixel, A of them processed, Taps taps
// per pixel (0: the map's count).
template <class T, int S, int A, int Taps>
ZKR_NOINLINE void hpass(const AxisMap& m, const float* __restrict row, T* __restrict d) {
    const int taps = Taps > 0 ? Taps : m.taps;
    for (int x = 0; x < m.count; ++x) {
        const int* idx = m.idx + std::ptrdiff_t(x) * taps;
        const float* w = m.w + std::ptrdiff_t(x) * taps;
        for (int c = 0; c < A; ++c) {
            // Sums start from -0, the neutral element of addition, so that a copied -0 stays -0.
            float acc = -0.0f;
            for (int k = 0; k < taps; ++k) {
                if constexpr (kFloat<T>) {
                    if (w[k] == 0.0f) continue;  // an infinity beside a tap that does not count
                }
                acc += w[k] * row[idx[k] * S + c];
            }
            d[x * S + c] = store<T>(acc);
        }
    }
}

template <class T, int S, int A> void band(const Job& j, float* row, int y0, int y1) {
    const AxisMap& mx = *j.x;
    for (int y = y0; y < y1; ++y) {
        vpass<T>(j, y, row);
        T* d = rowOf<T>(j.dst, j.dstStep, y);
        switch (mx.taps) {
            case 1: hpass<T, S, A, 1>(mx, row, d); break;
            case 2: hpass<T, S, A, 2>(mx, row, d); break;
            case 4: hpass<T, S, A, 4>(mx, row, d); break;
            case 6: hpass<T, S, A, 6>(mx, row, d); break;
            default: hpass<T, S, A, 0>(mx, row, d); break;
        }
    }
}

template <class T> constexpr void setRow(BandFn (&r)[int(Lay::Count)]) {
    r[int(Lay::C1)] = &band<T, 1, 1>;
    r[int(Lay::C3)] = &band<T, 3, 3>;
    r[int(Lay::C4)] = &band<T, 4, 4>;
    r[int(Lay::AC4)] = &band<T, 4, 3>;
}

constexpr Kernels makeKernels() {
    Kernels k{};
    setRow<Zkr8u>(k.band[int(EType::U8)]);
    setRow<Zkr16u>(k.band[int(EType::U16)]);
    setRow<Zkr16s>(k.band[int(EType::S16)]);
    setRow<Zkr32f>(k.band[int(EType::F32)]);
    return k;
}

}  // namespace

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::resizesqr::ZKR_LEVEL_NS
