// Compiled once per instruction-set level (ZKR_LEVEL_NS): the SumWindow row
// kernels.
//
// Integer sources run recursively: the row window keeps a running 32-bit sum
// per channel (one add and one subtract a component, exact), the column window
// a running 32-bit sum per component of the row, updated by the row entering
// and the row leaving (contiguous vector loops). Float sources add the window
// in order, shifted rows or whole rows at a time (contiguous vector adds), so
// every level and band gives the same bits.
#include <cstdint>
#include <type_traits>
#include <vector>

#include "rows.h"
#include "sumwindow_kernels.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::sumwindow::ZKR_LEVEL_NS {

template <class S> inline constexpr bool kFlt = std::is_floating_point_v<S>;

// d[i] += s[i] over n components.
template <class S, class A> ZKR_NOINLINE void addRow(const S* __restrict s, A* __restrict d, int n) {
    for (int i = 0; i < n; ++i) d[i] += A(s[i]);
}

// d[i] += in[i] - out[i]: the column window moving down one row.
template <class S> ZKR_NOINLINE void slideRow(const S* __restrict in, const S* __restrict out, std::int32_t* __restrict d, int n) {
    for (int i = 0; i < n; ++i) d[i] += std::int32_t(in[i]) - std::int32_t(out[i]);
}

template <class A> ZKR_NOINLINE void store(const A* __restrict a, Zkr32f* __restrict d, int n) {
    for (int i = 0; i < n; ++i) d[i] = Zkr32f(a[i]);
}

template <class S> void rowWindow(const WinJob& j, int y0, int y1) {
    const int p = j.period, n = j.rowLen;
    for (int y = y0; y < y1; ++y) {
        const S* s = rowOf<S>(j.s, j.sStep, y) - std::ptrdiff_t(j.anchor) * p;  // window start of x = 0
        Zkr32f* d = rowOf<Zkr32f>(j.d, j.dStep, y);
        if constexpr (kFlt<S>) {
            for (int i = 0; i < n; ++i) d[i] = 0.0f;
            for (int k = 0; k < j.mask; ++k) addRow<S, Zkr32f>(s + std::ptrdiff_t(k) * p, d, n);
        } else {
            std::int32_t acc[4] = {};
            for (int k = 0; k < j.mask; ++k)
                for (int c = 0; c < p; ++c) acc[c] += s[std::ptrdiff_t(k) * p + c];
            const std::ptrdiff_t span = std::ptrdiff_t(j.mask) * p;
            for (int i = 0; i < n; i += p)
                for (int c = 0; c < p; ++c) {
                    d[i + c] = Zkr32f(acc[c]);
                    acc[c] += std::int32_t(s[i + c + span]) - std::int32_t(s[i + c]);
                }
        }
    }
}

template <class S> void columnWindow(const WinJob& j, int y0, int y1) {
    const int n = j.rowLen;
    auto src = [&](int y) { return rowOf<S>(j.s, j.sStep, y - j.anchor); };  // window start of row y
    if constexpr (kFlt<S>) {
        for (int y = y0; y < y1; ++y) {
            Zkr32f* d = rowOf<Zkr32f>(j.d, j.dStep, y);
            for (int i = 0; i < n; ++i) d[i] = 0.0f;
            for (int k = 0; k < j.mask; ++k) addRow<S, Zkr32f>(src(y + k), d, n);
        }
    } else {
        // One running sum per component of the row, started at the band's first row.
        std::vector<std::int32_t> acc(std::size_t(n), 0);
        for (int k = 0; k < j.mask; ++k) addRow<S, std::int32_t>(src(y0 + k), acc.data(), n);
        for (int y = y0; y < y1; ++y) {
            store(acc.data(), rowOf<Zkr32f>(j.d, j.dStep, y), n);
            if (y + 1 < y1) slideRow(src(y + j.mask), src(y), acc.data(), n);
        }
    }
}

template <class S> constexpr void fillType(Kernels& ks) {
    ks.fn[kComp<S>][0] = &rowWindow<S>;
    ks.fn[kComp<S>][1] = &columnWindow<S>;
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    fillType<Zkr8u>(ks);
    fillType<Zkr16s>(ks);
    fillType<Zkr32f>(ks);
    return ks;
}

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::sumwindow::ZKR_LEVEL_NS
