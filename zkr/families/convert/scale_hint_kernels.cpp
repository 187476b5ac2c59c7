// Compiled once per instruction-set level (ZKR_LEVEL_NS): the row kernels of
// the hinted narrowing scalings. The component loops are contiguous and
// branch-free for the auto-vectoriser: a widening to float or double, one
// multiply-add, a truncation of the value plus one half (the value is never
// negative) and a narrowing store.
#include <cstdint>
#include <limits>
#include <type_traits>

#include "rows.h"
#include "scale_hint_kernels.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::convert::scalehint::ZKR_LEVEL_NS {

// (x - Tmin) * 255 / (Tmax - Tmin) + 1/2 in F: x * k + (1/2 - Tmin * k). In
// double the product and the offset are within 2^-40 of the exact value, far
// from the nearest half (at least 1 / (Tmax - Tmin) away), so the truncation
// gives the exactly rounded result; in float it may be one off.
template <class S, class F> struct Map {
    static constexpr double kRange = double(std::numeric_limits<S>::max()) - double(std::numeric_limits<S>::lowest());
    static constexpr F k = F(255.0 / kRange);
    static constexpr F offset = F(0.5 - double(std::numeric_limits<S>::lowest()) * (255.0 / kRange));
    [[gnu::always_inline]] static Zkr8u at(S x) {
        const F v = F(x) * k + offset;
        const int r = int(v);
        return Zkr8u(r > 255 ? 255 : (r < 0 ? 0 : r));
    }
};

template <class S, class F> ZKR_NOINLINE void runRow(const S* __restrict s, Zkr8u* __restrict d, int n) {
    for (int i = 0; i < n; ++i) d[i] = Map<S, F>::at(s[i]);
}

template <class S, class F> ZKR_NOINLINE void runRowAC4(const S* __restrict s, Zkr8u* __restrict d, int n) {
    for (int i = 0; i < n; i += 4) {
        d[i] = Map<S, F>::at(s[i]);
        d[i + 1] = Map<S, F>::at(s[i + 1]);
        d[i + 2] = Map<S, F>::at(s[i + 2]);
    }
}

template <class S, class F, bool alpha> void rows(const ScaleJob& j, int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
        const S* s = rowOf<S>(j.s, j.sStep, y);
        Zkr8u* d = rowOf<Zkr8u>(j.d, j.dStep, y);
        if constexpr (alpha) runRowAC4<S, F>(s, d, j.rowLen);
        else runRow<S, F>(s, d, j.rowLen);
    }
}

template <class S> constexpr void fillType(Kernels& ks) {
    auto& f = ks.fn[kComp<S>];
    f[0][0] = &rows<S, double, false>;
    f[0][1] = &rows<S, double, true>;
    f[1][0] = &rows<S, float, false>;
    f[1][1] = &rows<S, float, true>;
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    fillType<Zkr16u>(ks);
    fillType<Zkr16s>(ks);
    fillType<Zkr32s>(ks);
    return ks;
}

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::convert::scalehint::ZKR_LEVEL_NS
