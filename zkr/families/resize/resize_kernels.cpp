// Compiled once per instruction-set level: the build defines ZKR_LEVEL_NS
// (base, avx2, avx512) and passes that level's code generation flags. Only
// plain loops and functions of this namespace live here, so no inline code of
// another level can be merged into this one.
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <xmmintrin.h>

#include "resize_kernels.h"
#include "rows.h"
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::resize::ZKR_LEVEL_NS {
namespace {

// A float sample as an element: integers rounded half up and saturated.
template <class T> inline T store(float v) {
    if constexpr (sizeof(T) == 4) {
        return v;
    } else {
        constexpr bool isSigned = T(-1) < T(0);
        constexpr float lo = isSigned ? -32768.0f : 0.0f;
        constexpr float hi = sizeof(T) == 1 ? 255.0f : (isSigned ? 32767.0f : 65535.0f);
        float c = v < lo ? lo : v;
        c = c > hi ? hi : c;
        // c + 0.5 >= 0.5 for unsigned types; signed ones shift to the positive range first.
        if constexpr (isSigned) return T(int(c + 32768.5f) - 32768);
        else return T(int(c + 0.5f));
    }
}

// Float rows take a fast path and, where it meets a value that is not finite, a careful one.
// The fast path is the difference form over every tap; a NaN or infinity among the taps (or an
// overflow) makes its result non-finite, which a reduction over the bit patterns notices without
// a floating-point operation. The row is then computed again, element by element: the difference
// form where every tap with a non-zero weight is finite and the result is, else the plain
// weighted sum of the taps with non-zero weights, so a tap of weight zero never turns an
// infinity into NaN. The status flags are put back to what they were before the fast attempt,
// so the careful pass alone leaves its flags: inf - inf is never computed for a tap that does not
// count.
inline bool nonFinite(float v) { return (__builtin_bit_cast(std::uint32_t, v) & 0x7f800000u) == 0x7f800000u; }

template <class T> inline constexpr bool kFloat = std::is_same_v<T, Zkr32f>;

// The fast attempts return true when a result is not finite (floats only).

// Vertical pass with a fixed number of taps: source rows idx[0..Taps), weights w[1..Taps).
template <class T, int Taps>
ZKR_NOINLINE bool vpassFixed(const Job& j, const int* idx, const float* w, float* __restrict out) {
    const int n = j.srcLen;
    std::uint32_t bad = 0;
    const T* __restrict r0 = rowOf<T>(j.src, j.srcStep, idx[0]);
    if constexpr (Taps == 1) {
        for (int i = 0; i < n; ++i) out[i] = float(r0[i]);
        return false;
    } else if constexpr (Taps == 2) {
        const T* __restrict r1 = rowOf<T>(j.src, j.srcStep, idx[1]);
        const float w1 = w[1];
        for (int i = 0; i < n; ++i) {
            const float a = float(r0[i]);
            const float v = a + w1 * (float(r1[i]) - a);
            out[i] = v;
            if constexpr (kFloat<T>) bad |= ~__builtin_bit_cast(std::uint32_t, v) & 0x7f800000u ? 0u : 1u;
        }
    } else {
        const T* __restrict r1 = rowOf<T>(j.src, j.srcStep, idx[1]);
        const T* __restrict r2 = rowOf<T>(j.src, j.srcStep, idx[2]);
        const T* __restrict r3 = rowOf<T>(j.src, j.srcStep, idx[3]);
        const float w1 = w[1], w2 = w[2], w3 = w[3];
        for (int i = 0; i < n; ++i) {
            const float a = float(r0[i]);
            const float v = a + (w1 * (float(r1[i]) - a) + w2 * (float(r2[i]) - a) + w3 * (float(r3[i]) - a));
            out[i] = v;
            if constexpr (kFloat<T>) bad |= ~__builtin_bit_cast(std::uint32_t, v) & 0x7f800000u ? 0u : 1u;
        }
    }
    return bad != 0;
}

// Any other count (supersampling, or three taps left): base row, then one accumulation per tap
// with a non-zero weight.
template <class T>
ZKR_NOINLINE bool vpassAny(const Job& j, const int* idx, const float* w, int taps, float* __restrict out) {
    const int n = j.srcLen;
    const T* __restrict r0 = rowOf<T>(j.src, j.srcStep, idx[0]);
    for (int i = 0; i < n; ++i) out[i] = 0.0f;
    for (int k = 1; k < taps; ++k) {
        if (w[k] == 0.0f) continue;
        const T* __restrict rk = rowOf<T>(j.src, j.srcStep, idx[k]);
        const float wk = w[k];
        for (int i = 0; i < n; ++i) out[i] += wk * (float(rk[i]) - float(r0[i]));
    }
    std::uint32_t bad = 0;
    for (int i = 0; i < n; ++i) {
        const float v = out[i] + float(r0[i]);
        out[i] = v;
        if constexpr (kFloat<T>) bad |= ~__builtin_bit_cast(std::uint32_t, v) & 0x7f800000u ? 0u : 1u;
    }
    return bad != 0;
}

// The careful float pass over one row: the taps with non-zero weights (w[0] the base's).
ZKR_NOINLINE void vpassCareful(const Job& j, const int* idx, const float* w, int taps, float* out) {
    auto at = [&](int k, int i) { return rowOf<float>(j.src, j.srcStep, idx[k])[i]; };
    for (int i = 0; i < j.srcLen; ++i) {
        bool finite = true;
        for (int k = 0; k < taps; ++k) finite = finite && (w[k] == 0.0f || !nonFinite(at(k, i)));
        if (finite) {
            const float a = at(0, i);
            float acc = 0.0f;
            for (int k = 1; k < taps; ++k)
                if (w[k] != 0.0f) acc += w[k] * (at(k, i) - a);
            const float v = a + acc;
            if (!nonFinite(v)) {
                out[i] = v;
                continue;
            }
        }
        float sum = w[0] * at(0, i);
        for (int k = 1; k < taps; ++k)
            if (w[k] != 0.0f) sum += w[k] * at(k, i);
        out[i] = sum;
    }
}

template <class T> inline unsigned statusBefore() {
    if constexpr (kFloat<T>) return _mm_getcsr();
    else return 0;
}

// Vertical pass: the float row of destination row y. Up to four taps, those with a zero weight
// are dropped first (the base tap's weight is never zero), so the row takes the loop of the taps
// that count: a copy where only one does.
template <class T> void vpass(const Job& j, int y, float* out) {
    const AxisMap& m = *j.y;
    const int* idx = m.idx + std::ptrdiff_t(y) * m.taps;
    const float* w = m.w + std::ptrdiff_t(y) * m.taps;
    int taps = m.taps;
    int idxKept[4];
    float wKept[4];
    if (taps <= 4) {
        taps = 0;
        for (int k = 0; k < m.taps; ++k) {
            if (k > 0 && w[k] == 0.0f) continue;
            idxKept[taps] = idx[k];
            wKept[taps++] = w[k];
        }
        idx = idxKept;
        w = wKept;
    }
    const unsigned status = statusBefore<T>();
    bool bad = false;
    switch (taps) {
        case 1: bad = vpassFixed<T, 1>(j, idx, w, out); break;
        case 2: bad = vpassFixed<T, 2>(j, idx, w, out); break;
        case 4: bad = vpassFixed<T, 4>(j, idx, w, out); break;
        default: bad = vpassAny<T>(j, idx, w, taps, out); break;
    }
    if constexpr (kFloat<T>) {
        if (bad) {
            _mm_setcsr(status);
            vpassCareful(j, idx, w, taps, out);
        }
    }
}

// Horizontal pass of one lane. Unit: one channel, packed (C1 and planes), which the
// wider levels turn into gathers.
template <class T, int Taps, bool Unit>
ZKR_NOINLINE bool hpassFixed(const Lane& l, const float* __restrict row, T* __restrict d) {
    const AxisMap& m = *l.x;
    const int s = Unit ? 1 : l.stride, o = Unit ? 0 : l.offset;
    const int* __restrict idxs = m.idx;
    const float* __restrict ws = m.w;
    std::uint32_t bad = 0;
    for (int x = 0; x < m.count; ++x) {
        const int* idx = idxs + std::ptrdiff_t(x) * Taps;
        const float* w = ws + std::ptrdiff_t(x) * Taps;
        const float a = row[idx[0] * s + o];
        if constexpr (Taps == 1) {
            d[x * s + o] = store<T>(a);
        } else {
            float acc = 0.0f;
            for (int k = 1; k < Taps; ++k) acc += w[k] * (row[idx[k] * s + o] - a);
            const float v = a + acc;
            if constexpr (kFloat<T>) bad |= ~__builtin_bit_cast(std::uint32_t, v) & 0x7f800000u ? 0u : 1u;
            d[x * s + o] = store<T>(v);
        }
    }
    return bad != 0;
}

template <class T> ZKR_NOINLINE bool hpassAny(const Lane& l, const float* __restrict row, T* __restrict d) {
    const AxisMap& m = *l.x;
    const int s = l.stride, o = l.offset, taps = m.taps;
    std::uint32_t bad = 0;
    for (int x = 0; x < m.count; ++x) {
        const int* idx = m.idx + std::ptrdiff_t(x) * taps;
        const float* w = m.w + std::ptrdiff_t(x) * taps;
        const float a = row[idx[0] * s + o];
        float acc = 0.0f;
        for (int k = 1; k < taps; ++k) acc += w[k] * (row[idx[k] * s + o] - a);
        const float v = a + acc;
        if constexpr (kFloat<T>) bad |= ~__builtin_bit_cast(std::uint32_t, v) & 0x7f800000u ? 0u : 1u;
        d[x * s + o] = store<T>(v);
    }
    return bad != 0;
}

// The careful float pass of one lane, as vpassCareful per destination pixel.
ZKR_NOINLINE void hpassCareful(const Lane& l, const float* row, float* d) {
    const AxisMap& m = *l.x;
    const int s = l.stride, o = l.offset, taps = m.taps;
    for (int x = 0; x < m.count; ++x) {
        const int* idx = m.idx + std::ptrdiff_t(x) * taps;
        const float* w = m.w + std::ptrdiff_t(x) * taps;
        const float a = row[idx[0] * s + o];
        bool finite = !nonFinite(a);
        for (int k = 1; k < taps; ++k) finite = finite && (w[k] == 0.0f || !nonFinite(row[idx[k] * s + o]));
        if (finite) {
            float acc = 0.0f;
            for (int k = 1; k < taps; ++k)
                if (w[k] != 0.0f) acc += w[k] * (row[idx[k] * s + o] - a);
            const float v = a + acc;
            if (!nonFinite(v)) {
                d[x * s + o] = v;
                continue;
            }
        }
        float sum = w[0] * a;
        for (int k = 1; k < taps; ++k)
            if (w[k] != 0.0f) sum += w[k] * row[idx[k] * s + o];
        d[x * s + o] = sum;
    }
}

template <class T>
void hpass(const Lane& l, const float* row, T* d) {
    const AxisMap& m = *l.x;
    const unsigned status = statusBefore<T>();
    bool bad = false;
    switch (m.taps) {
        case 1: bad = l.stride == 1 ? hpassFixed<T, 1, true>(l, row, d) : hpassFixed<T, 1, false>(l, row, d); break;
        case 2: bad = l.stride == 1 ? hpassFixed<T, 2, true>(l, row, d) : hpassFixed<T, 2, false>(l, row, d); break;
        case 4: bad = l.stride == 1 ? hpassFixed<T, 4, true>(l, row, d) : hpassFixed<T, 4, false>(l, row, d); break;
        default: bad = hpassAny<T>(l, row, d); break;
    }
    if constexpr (kFloat<T>) {
        if (bad) {
            _mm_setcsr(status);
            hpassCareful(l, row, d);
        }
    }
}

// Nearest neighbour: element copies through the index tables.
template <class T>
void nearestRow(const Job& j, int y) {
    const T* s = rowOf<T>(j.src, j.srcStep, j.y->idx[y]);
    T* d = rowOf<T>(j.dst, j.dstStep, y);
    for (int li = 0; li < j.numLanes; ++li) {
        const Lane& l = j.lanes[li];
        const int* idx = l.x->idx;
        const int st = l.stride, o = l.offset;
        for (int x = 0; x < l.x->count; ++x) d[x * st + o] = s[idx[x] * st + o];
    }
}

template <class T>
void band(const Job& j, float* row, int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
        if (j.nearest) {
            nearestRow<T>(j, y);
            continue;
        }
        vpass<T>(j, y, row);
        T* d = rowOf<T>(j.dst, j.dstStep, y);
        for (int li = 0; li < j.numLanes; ++li) hpass<T>(j.lanes[li], row, d);
    }
}

}  // namespace

constinit const Kernels kernels = {{&band<Zkr8u>, &band<Zkr16u>, &band<Zkr16s>, &band<Zkr32f>}};

}  // namespace zkr::resize::ZKR_LEVEL_NS

