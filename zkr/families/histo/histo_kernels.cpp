// Compiled once per instruction-set level: the build defines ZKR_LEVEL_NS
// (base, avx2, avx512) and passes that level's code generation flags.
//
// 8u histograms count into four interleaved sub-histograms of the 256 values
// (so that runs of equal values do not wait on one counter) and fold them into
// bins at the end of the band; 8u look-up tables are one load per value.
// 16-bit histograms find a value's bin from a table of buckets of its high
// byte (hist16); other types search the levels per value. Counting in a range compares
// whole rows of components at once and is left to the auto-vectoriser.
#include <cstring>
#include <type_traits>

#include "histo_kernels.h"
#include "rows.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::histo::ZKR_LEVEL_NS {
namespace {

// ---- histograms -----------------------------------------------------------------

void hist8u(const HistJob& j, int y0, int y1, std::int32_t* const* hist) {
    for (int c = 0; c < j.channels; ++c) {
        std::uint32_t counts[4][256];
        std::memset(counts, 0, sizeof counts);
        for (int y = y0; y < y1; ++y) {
            const Zkr8u* s = rowOf<Zkr8u>(j.src, j.step, y) + c;
            const int p = j.period;
            int x = 0;
            for (; x + 4 <= j.width; x += 4) {
                ++counts[0][s[(x + 0) * p]];
                ++counts[1][s[(x + 1) * p]];
                ++counts[2][s[(x + 2) * p]];
                ++counts[3][s[(x + 3) * p]];
            }
            for (; x < j.width; ++x) ++counts[0][s[x * p]];
        }
        const std::int32_t* bin = j.bin8u[c];
        for (int v = 0; v < 256; ++v) {
            const std::uint32_t n = counts[0][v] + counts[1][v] + counts[2][v] + counts[3][v];
            if (n != 0 && bin[v] >= 0) hist[c][bin[v]] += std::int32_t(n);
        }
    }
}

template <class T> void histSearch(const HistJob& j, int y0, int y1, std::int32_t* const* hist) {
    using LT = LevelOf<T>;
    for (int c = 0; c < j.channels; ++c) {
        const LT* lv = static_cast<const LT*>(j.levels[c]);
        const int n = j.nLevels[c];
        std::int32_t* h = hist[c];
        for (int y = y0; y < y1; ++y) {
            const T* s = rowOf<T>(j.src, j.step, y) + c;
            for (int x = 0; x < j.width; ++x) {
                const int k = binOf(s[std::ptrdiff_t(x) * j.period], lv, n);
                if (k >= 0) ++h[k];
            }
        }
    }
}

// 16-bit histograms: the value range in 256 buckets of 256 values, and per bucket the number of
// levels at or below its first value and whether a level lies inside it, found by one walk over
// buckets and levels. A value's count c of levels at or below it is its bucket's, moved past the
// few levels inside the bucket; its bin is c - 1 when 1 <= c <= n - 1 (at or above the first
// level, below the last) and none otherwise, so the kernel counts c in n + 1 counters, four
// interleaved sets of them so that runs of equal values do not wait on one counter, and drops
// both ends when it folds them into the bins. More levels than kMaxLevels search per value.
constexpr int kMaxLevels = 1024;

template <class T> void hist16(const HistJob& j, int y0, int y1, std::int32_t* const* hist) {
    static_assert(sizeof(T) == 2);
    constexpr int off = std::is_signed_v<T> ? 32768 : 0;  // the first value of bucket 0 is -off
    for (int c = 0; c < j.channels; ++c)
        if (j.nLevels[c] > kMaxLevels) return histSearch<T>(j, y0, y1, hist);
    for (int c = 0; c < j.channels; ++c) {
        const Zkr32s* lv = static_cast<const Zkr32s*>(j.levels[c]);
        const int n = j.nLevels[c];
        std::uint16_t below[256];
        bool inside[256];
        int k = 0;
        for (int b = 0; b < 256; ++b) {
            const int first = b * 256 - off, last = first + 255;
            while (k < n && lv[k] <= first) ++k;
            below[b] = std::uint16_t(k);
            inside[b] = k < n && lv[k] <= last;
        }
        std::uint32_t counts[4][kMaxLevels + 1];
        for (auto& set : counts) std::memset(set, 0, sizeof(std::uint32_t) * std::size_t(n + 1));
        const auto countOf = [&](int v) {
            const int b = (v + off) >> 8;
            int cnt = below[b];
            if (inside[b])
                while (cnt < n && lv[cnt] <= v) ++cnt;
            return cnt;
        };
        const std::ptrdiff_t p = j.period;
        for (int y = y0; y < y1; ++y) {
            const T* s = rowOf<T>(j.src, j.step, y) + c;
            int x = 0;
            for (; x + 4 <= j.width; x += 4) {
                ++counts[0][countOf(s[(x + 0) * p])];
                ++counts[1][countOf(s[(x + 1) * p])];
                ++counts[2][countOf(s[(x + 2) * p])];
                ++counts[3][countOf(s[(x + 3) * p])];
            }
            for (; x < j.width; ++x) ++counts[0][countOf(s[x * p])];
        }
        for (int i = 1; i < n; ++i)
            hist[c][i - 1] += std::int32_t(counts[0][i] + counts[1][i] + counts[2][i] + counts[3][i]);
    }
}

// ---- look-up tables ---------------------------------------------------------------

// Channels past j.channels (the alpha of AC4) are neither read nor written.
void lut8u(const LutJob& j, int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
        const Zkr8u* s = rowOf<Zkr8u>(j.src, j.srcStep, y);
        Zkr8u* d = rowOf<Zkr8u>(j.dst, j.dstStep, y);
        if (j.channels == 1 && j.period == 1) {
            const Zkr8u* t = j.table8u[0];
            for (int x = 0; x < j.width; ++x) d[x] = t[s[x]];
            continue;
        }
        for (int x = 0; x < j.width; ++x)
            for (int c = 0; c < j.channels; ++c) {
                const std::ptrdiff_t i = std::ptrdiff_t(x) * j.period + c;
                d[i] = j.table8u[c][s[i]];
            }
    }
}

template <class T, LutKind kind> void lutSearch(const LutJob& j, int y0, int y1) {
    using LT = LevelOf<T>;
    for (int y = y0; y < y1; ++y) {
        const T* s = rowOf<T>(j.src, j.srcStep, y);
        T* d = rowOf<T>(j.dst, j.dstStep, y);
        for (int c = 0; c < j.channels; ++c) {
            const LT* lv = static_cast<const LT*>(j.levels[c]);
            const LT* val = static_cast<const LT*>(j.values[c]);
            const int n = j.nLevels[c];
            for (int x = 0; x < j.width; ++x) {
                const std::ptrdiff_t i = std::ptrdiff_t(x) * j.period + c;
                const T v = s[i];
                const int k = binOf(v, lv, n);
                d[i] = k < 0 ? v : toElement<T>(lutValue<kind>(double(v), k, lv, val, n));
            }
        }
    }
}

// ---- counts in a range ------------------------------------------------------------

template <class T> void countRange(const CountJob& j, int y0, int y1, std::int64_t* counts) {
    for (int c = 0; c < j.channels; ++c) {
        const T lo = T(j.lo[c]), hi = T(j.hi[c]);
        std::int64_t total = 0;
        for (int y = y0; y < y1; ++y) {
            const T* s = rowOf<T>(j.src, j.step, y) + c;
            std::int32_t n = 0;  // a row holds fewer than 2^31 values
            if (j.period == 1) {
                for (int x = 0; x < j.width; ++x) n += (s[x] >= lo) & (s[x] <= hi);
            } else {
                for (int x = 0; x < j.width; ++x) {
                    const T v = s[std::ptrdiff_t(x) * j.period];
                    n += (v >= lo) & (v <= hi);
                }
            }
            total += n;
        }
        counts[c] += total;
    }
}

// ---- palettes ------------------------------------------------------------------------

template <class T, class D> void palette(const PaletteJob& j, int y0, int y1) {
    const T mask = T(j.mask);
    for (int y = y0; y < y1; ++y) {
        const T* s = rowOf<T>(j.src, j.srcStep, y);
        D* d = rowOf<D>(j.dst, j.dstStep, y);
        if (j.period == 1) {
            const D* t = static_cast<const D*>(j.table[0]);
            for (int x = 0; x < j.width; ++x) d[x] = t[s[x] & mask];
            continue;
        }
        for (int x = 0; x < j.width; ++x) {
            const std::ptrdiff_t p = std::ptrdiff_t(x) * j.period;
            // Read every channel first: in place, a swapped channel is written before it is read.
            T v[kMaxChannels];
            for (int c = 0; c < j.channels; ++c) v[c] = s[p + j.srcChannel[c]];
            for (int c = 0; c < j.channels; ++c) d[p + c] = static_cast<const D*>(j.table[c])[v[c] & mask];
        }
    }
}

template <class T> constexpr LutFn lutsOf(LutKind k) {
    switch (k) {
        case LutKind::Step: return &lutSearch<T, LutKind::Step>;
        case LutKind::Linear: return &lutSearch<T, LutKind::Linear>;
        default: return &lutSearch<T, LutKind::Cubic>;
    }
}

}  // namespace

extern const Kernels kernels;
const Kernels kernels = {
    {&hist8u, &hist16<Zkr16u>, &hist16<Zkr16s>, &histSearch<Zkr32f>},
    {&palette<Zkr8u, Zkr8u>, &palette<Zkr16u, Zkr16u>, &palette<Zkr8u, Zkr32u>, &palette<Zkr16u, Zkr32u>},
    {{&lut8u, &lut8u, &lut8u},
     {lutsOf<Zkr16u>(LutKind::Step), lutsOf<Zkr16u>(LutKind::Linear), lutsOf<Zkr16u>(LutKind::Cubic)},
     {lutsOf<Zkr16s>(LutKind::Step), lutsOf<Zkr16s>(LutKind::Linear), lutsOf<Zkr16s>(LutKind::Cubic)},
     {lutsOf<Zkr32f>(LutKind::Step), lutsOf<Zkr32f>(LutKind::Linear), lutsOf<Zkr32f>(LutKind::Cubic)}},
    {&countRange<Zkr8u>, nullptr, nullptr, &countRange<Zkr32f>},
};

}  // namespace zkr::histo::ZKR_LEVEL_NS
