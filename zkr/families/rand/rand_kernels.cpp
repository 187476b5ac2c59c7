// Compiled once per instruction-set level (ZKR_LEVEL_NS): the Rand row
// kernels. Each row is one contiguous loop over its components: 64-bit
// integer mixes of the component's index (vector multiplies), the noise in
// float, the sum with the source, clamping and rounding by truncation, and a
// blend that keeps AC4's alpha. No multiply-add is contracted (levels with FMA
// would round differently), so every level gives the same bits.
#pragma GCC optimize("fp-contract=off")

#include <cstdint>
#include <limits>
#include <type_traits>

#include "rand_kernels.h"
#include "rows.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::rand::ZKR_LEVEL_NS {

// Noise with the job's parameters for component index k.
template <bool gauss> [[gnu::always_inline]] inline float noise(std::uint64_t key, std::uint64_t k, float a, float b) {
    if constexpr (!gauss) {
        // 24 bits: a uniform in [0, 1) that float holds exactly.
        const float u = float(std::uint32_t(mix64(key + k) >> 40)) * (1.0f / 16777216.0f);
        return a + u * b;
    } else {
        // Twelve 16-bit uniforms (each (f + 1/2) / 65536, mean 1/2, variance 1/12): their sum less
        // 6 has mean 0 and variance 1. The integer sum is exact and so is its float.
        const std::uint64_t h1 = mix64(key + 3 * k), h2 = mix64(key + 3 * k + 1), h3 = mix64(key + 3 * k + 2);
        std::uint32_t s = 0;
        for (int sh = 0; sh < 64; sh += 16)
            s += std::uint32_t((h1 >> sh) & 0xFFFF) + std::uint32_t((h2 >> sh) & 0xFFFF) + std::uint32_t((h3 >> sh) & 0xFFFF);
        const float n = (float(std::int32_t(s) - 6 * 65536 + 6)) * (1.0f / 65536.0f);
        return a + b * n;
    }
}

// x + noise, for integers clamped to the type's range and rounded to nearest (halves up).
template <class S> [[gnu::always_inline]] inline S addNoise(S x, float nz) {
    if constexpr (std::is_floating_point_v<S>) {
        return x + nz;
    } else {
        constexpr float lo = float(std::numeric_limits<S>::min()), hi = float(std::numeric_limits<S>::max());
        float v = float(x) + nz;
        v = v < lo ? lo : (v > hi ? hi : v);
        const float h = v + 0.5f;
        std::int32_t t = std::int32_t(h);  // toward zero
        t -= float(t) > h ? 1 : 0;         // floor for negative values
        return S(t > std::int32_t(hi) ? std::int32_t(hi) : t);
    }
}

template <class S, bool gauss, bool alpha>
ZKR_NOINLINE void runRow(S* __restrict row, int n, std::uint64_t key, std::uint64_t k0, float a, float b) {
    for (int i = 0; i < n; ++i) {
        const S x = row[i];
        const S v = addNoise(x, noise<gauss>(key, k0 + std::uint64_t(i), a, b));
        row[i] = alpha && (i & 3) == 3 ? x : v;
    }
}

template <class S, bool gauss, bool alpha> void rows(const RandJob& j, int y0, int y1) {
    for (int y = y0; y < y1; ++y)
        runRow<S, gauss, alpha>(rowOf<S>(j.p, j.step, y), j.rowLen, j.key, std::uint64_t(y) * std::uint64_t(j.rowLen), j.a, j.b);
}

template <class S> constexpr void fillType(Kernels& ks) {
    auto& f = ks.fn[kComp<S>];
    f[0][0] = &rows<S, false, false>;
    f[0][1] = &rows<S, false, true>;
    f[1][0] = &rows<S, true, false>;
    f[1][1] = &rows<S, true, true>;
}

constexpr Kernels makeKernels() {
    Kernels ks{};
    fillType<Zkr8u>(ks);
    fillType<Zkr16u>(ks);
    fillType<Zkr16s>(ks);
    fillType<Zkr32f>(ks);
    return ks;
}

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::rand::ZKR_LEVEL_NS
