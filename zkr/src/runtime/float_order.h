// Floats as integer keys in their total order, for families that take minima, maxima or medians
// of float data by integer comparisons (no floating-point operation, so no flag is raised, and
// the result does not depend on the order the values are visited in).
//
// orderKey<highNaN>(v): negative floats reversed below the positive ones, -0 just below +0; a NaN
// of either sign above +inf when highNaN, below -inf otherwise (so that it wins a maximum or a
// minimum). fromOrderKey inverts it (a NaN comes back with the sign its key gave it).
#pragma once

#include <cstdint>

namespace zkr {

template <bool highNaN> inline std::int32_t orderKey(float v) {
    std::int32_t b = __builtin_bit_cast(std::int32_t, v);
    const bool nan = (b & 0x7fffffff) > 0x7f800000;
    b = nan ? (highNaN ? (b & 0x7fffffff) : std::int32_t(std::uint32_t(b) | 0x80000000u)) : b;
    return b ^ ((b >> 31) & 0x7fffffff);
}

inline float fromOrderKey(std::int32_t k) { return __builtin_bit_cast(float, k ^ ((k >> 31) & 0x7fffffff)); }

}  // namespace zkr
