// Interface between the Histogram family's entry points (histo.cpp) and its
// kernels, compiled once per instruction-set level (histo_kernels.cpp), and
// the arithmetic both share: finding a value's bin and the value a look-up
// table gives it.
//
// A job describes one image and, per computed channel, its levels (and table
// values). Kernels work on a band of rows. 8u images are looked up in tables
// of 256 entries (bin or output per value) that the entry points build once
// per call; the other types search the levels per value.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "elem_info.h"
#include "levels.h"
#include "zkrcore.h"

namespace zkr::histo {

enum class HType : int { U8, U16, S16, F32, Count };
enum class LutKind : int { Step, Linear, Cubic, Count };

inline constexpr int kMaxChannels = 4;

template <class T> struct TypeOf;
template <> struct TypeOf<Zkr8u>  { static constexpr HType id = HType::U8; };
template <> struct TypeOf<Zkr16u> { static constexpr HType id = HType::U16; };
template <> struct TypeOf<Zkr16s> { static constexpr HType id = HType::S16; };
template <> struct TypeOf<Zkr32f> { static constexpr HType id = HType::F32; };

// Levels and table values: Zkr32s for integer images, Zkr32f for 32f ones.
template <class T> using LevelOf = std::conditional_t<std::is_same_v<T, Zkr32f>, Zkr32f, Zkr32s>;

// The bin of v among n ascending levels: k with lv[k] <= v < lv[k + 1], or -1
// (outside, or NaN).
template <class LT, class V> inline int binOf(V v, const LT* lv, int n) {
    if (!(double(v) >= double(lv[0])) || !(double(v) < double(lv[n - 1]))) return -1;
    // First level above v, minus one.
    const LT* up = std::upper_bound(lv, lv + n, v, [](V x, LT l) { return double(x) < double(l); });
    return int(up - lv) - 1;
}

// The look-up table's value for v in bin k (0 <= k < n - 1), before rounding;
// the cubic form falls back to the linear one where two of its four levels are
// equal (levels need only be ascending, not strictly).
// The linear form divides last and the cubic form multiplies out its basis
// polynomials term by term, so every level computes the same double.
template <LutKind kind, class LT> inline double lutValue(double v, int k, const LT* lv, const LT* val, int n) {
    if constexpr (kind == LutKind::Step) {
        return double(val[k]);
    } else if constexpr (kind == LutKind::Linear) {
        const double dx = double(lv[k + 1]) - double(lv[k]);
        return double(val[k]) + ((v - double(lv[k])) * (double(val[k + 1]) - double(val[k]))) / dx;
    } else {
        const int j = std::min(std::max(k - 1, 0), n - 4);
        double x[4], y[4];
        for (int i = 0; i < 4; ++i) x[i] = double(lv[j + i]), y[i] = double(val[j + i]);
        // Repeated levels leave no cubic through the four points: the segment is linear then.
        if (!(x[0] < x[1] && x[1] < x[2] && x[2] < x[3])) return lutValue<LutKind::Linear>(v, k, lv, val, n);
        double r = 0.0;
        for (int i = 0; i < 4; ++i) {
            double basis = 1.0;
            for (int m = 0; m < 4; ++m)
                if (m != i) basis = basis * ((v - x[m]) / (x[i] - x[m]));
            const double term = y[i] * basis;
            r = r + term;
        }
        return r;
    }
}

// A table result as an element of T: integers rounded to nearest (ties to
// even) and saturated; floats converted.
template <class T> inline T toElement(double r) {
    if constexpr (std::is_floating_point_v<T>) {
        return T(r);
    } else {
        using L = std::numeric_limits<T>;
        if (r != r) return T(0);  // NaN (from NaN or infinite float levels) has no integer value
        const double v = std::nearbyint(r);
        return v <= double(L::min()) ? L::min() : (v >= double(L::max()) ? L::max() : T(v));
    }
}

struct HistJob {
    const void* src = nullptr;
    std::ptrdiff_t step = 0;
    int width = 0;
    int period = 1;    // channels per pixel in memory
    int channels = 1;  // channels counted
    const void* levels[kMaxChannels] = {};
    int nLevels[kMaxChannels] = {};
    const std::int32_t* bin8u[kMaxChannels] = {};  // 8u: bin of each value, -1 for none
};
// Adds the counts of rows [y0, y1) to hist[c][0 .. nLevels[c] - 2].
using HistFn = void (*)(const HistJob& job, int y0, int y1, std::int32_t* const* hist);

struct LutJob {
    const void* src = nullptr;
    std::ptrdiff_t srcStep = 0;
    void* dst = nullptr;
    std::ptrdiff_t dstStep = 0;
    int width = 0;
    int period = 1;
    int channels = 1;
    const void* levels[kMaxChannels] = {};
    const void* values[kMaxChannels] = {};
    int nLevels[kMaxChannels] = {};
    const Zkr8u* table8u[kMaxChannels] = {};  // 8u: the output of each value
};
using LutFn = void (*)(const LutJob& job, int y0, int y1);

struct CountJob {
    const void* src = nullptr;
    std::ptrdiff_t step = 0;
    int width = 0;
    int period = 1;
    int channels = 1;
    double lo[kMaxChannels] = {}, hi[kMaxChannels] = {};
};
// Adds the counts of rows [y0, y1) to counts[c].
using CountFn = void (*)(const CountJob& job, int y0, int y1, std::int64_t* counts);

// Palette look-up: dst channel c = table[c][src channel srcChannel[c] & mask].
struct PaletteJob {
    const void* src = nullptr;
    std::ptrdiff_t srcStep = 0;
    void* dst = nullptr;
    std::ptrdiff_t dstStep = 0;
    int width = 0;
    int period = 1;
    int channels = 1;
    const void* table[kMaxChannels] = {};
    int srcChannel[kMaxChannels] = {0, 1, 2, 3};
    unsigned mask = 0;
};
using PaletteFn = void (*)(const PaletteJob& job, int y0, int y1);
// Source and palette types of the palette kernels.
enum class PType : int { U8U8, U16U16, U8U32, U16U32, Count };

struct Kernels {
    HistFn hist[int(HType::Count)];
    PaletteFn palette[int(PType::Count)];
    LutFn lut[int(HType::Count)][int(LutKind::Count)];
    CountFn count[int(HType::Count)];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::histo
