// Compiled once per instruction-set level: the build defines ZKR_LEVEL_NS
// (base, avx2, avx512) and passes that level's code generation flags. Only
// plain loops and functions of this namespace live here, so no inline code of
// another level can be merged into this one.
#include <cstddef>
#include <cstdint>

#include "resize_kernels.h"
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::resize::ZKR_LEVEL_NS {
namespace {

template <class T> const T* rowOf(const void* base, std::ptrdiff_t step, int y) {
    return reinterpret_cast<const T*>(static_cast<const unsigned char*>(base) + step * y);
}
template <class T> T* rowOf(void* base, std::ptrdiff_t step, int y) {
    return reinterpret_cast<T*>(static_cast<unsigned char*>(base) + step * y);
}

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

// Vertical pass: the float row of destination row y.
template <class T, int Taps>
void vpassFixed(const Job& j, const int* idx, const float* w, float* __restrict out) {
    const T* r0 = rowOf<T>(j.src, j.srcStep, idx[0]);
    const int n = j.srcLen;
    if constexpr (Taps == 1) {
        for (int i = 0; i < n; ++i) out[i] = float(r0[i]);
    } else if constexpr (Taps == 2) {
        const T* r1 = rowOf<T>(j.src, j.srcStep, idx[1]);
        const float w1 = w[1];
        for (int i = 0; i < n; ++i) {
            const float a = float(r0[i]);
            out[i] = a + w1 * (float(r1[i]) - a);
        }
    } else {
        const T* r1 = rowOf<T>(j.src, j.srcStep, idx[1]);
        const T* r2 = rowOf<T>(j.src, j.srcStep, idx[2]);
        const T* r3 = rowOf<T>(j.src, j.srcStep, idx[3]);
        const float w1 = w[1], w2 = w[2], w3 = w[3];
        for (int i = 0; i < n; ++i) {
            const float a = float(r0[i]);
            out[i] = a + (w1 * (float(r1[i]) - a) + w2 * (float(r2[i]) - a) + w3 * (float(r3[i]) - a));
        }
    }
}

template <class T>
void vpass(const Job& j, int y, float* out) {
    const AxisMap& m = *j.y;
    const int* idx = m.idx + std::ptrdiff_t(y) * m.taps;
    const float* w = m.w + std::ptrdiff_t(y) * m.taps;
    switch (m.taps) {
        case 1: vpassFixed<T, 1>(j, idx, w, out); return;
        case 2: vpassFixed<T, 2>(j, idx, w, out); return;
        case 4: vpassFixed<T, 4>(j, idx, w, out); return;
        default: break;
    }
    // Any other count (supersampling): base row, then one accumulation per tap.
    const T* r0 = rowOf<T>(j.src, j.srcStep, idx[0]);
    const int n = j.srcLen;
    for (int i = 0; i < n; ++i) out[i] = 0.0f;
    for (int k = 1; k < m.taps; ++k) {
        const T* rk = rowOf<T>(j.src, j.srcStep, idx[k]);
        const float wk = w[k];
        for (int i = 0; i < n; ++i) out[i] += wk * (float(rk[i]) - float(r0[i]));
    }
    for (int i = 0; i < n; ++i) out[i] += float(r0[i]);
}

// Horizontal pass of one lane. Unit: one channel, packed (C1 and planes), which the
// wider levels turn into gathers.
template <class T, int Taps, bool Unit>
void hpassFixed(const Lane& l, const float* __restrict row, T* __restrict d) {
    const AxisMap& m = *l.x;
    const int s = Unit ? 1 : l.stride, o = Unit ? 0 : l.offset;
    const int* __restrict idxs = m.idx;
    const float* __restrict ws = m.w;
    for (int x = 0; x < m.count; ++x) {
        const int* idx = idxs + std::ptrdiff_t(x) * Taps;
        const float* w = ws + std::ptrdiff_t(x) * Taps;
        const float a = row[idx[0] * s + o];
        float acc = 0.0f;
        for (int k = 1; k < Taps; ++k) acc += w[k] * (row[idx[k] * s + o] - a);
        d[x * s + o] = store<T>(a + acc);
    }
}

template <class T>
void hpass(const Lane& l, const float* row, T* d) {
    const AxisMap& m = *l.x;
    switch (m.taps) {
        case 1: l.stride == 1 ? hpassFixed<T, 1, true>(l, row, d) : hpassFixed<T, 1, false>(l, row, d); return;
        case 2: l.stride == 1 ? hpassFixed<T, 2, true>(l, row, d) : hpassFixed<T, 2, false>(l, row, d); return;
        case 4: l.stride == 1 ? hpassFixed<T, 4, true>(l, row, d) : hpassFixed<T, 4, false>(l, row, d); return;
        default: break;
    }
    const int s = l.stride, o = l.offset, taps = m.taps;
    for (int x = 0; x < m.count; ++x) {
        const int* idx = m.idx + std::ptrdiff_t(x) * taps;
        const float* w = m.w + std::ptrdiff_t(x) * taps;
        const float a = row[idx[0] * s + o];
        float acc = 0.0f;
        for (int k = 1; k < taps; ++k) acc += w[k] * (row[idx[k] * s + o] - a);
        d[x * s + o] = store<T>(a + acc);
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
