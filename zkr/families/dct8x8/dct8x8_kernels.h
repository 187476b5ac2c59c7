// Interface between the 8x8 DCT family's entry points (dct8x8.cpp) and its
// kernels, compiled once per instruction-set level (dct8x8_kernels.cpp).
// The entry points move a block into 64 floats (rows of 8) and back; the
// kernels transform it by the separable product with the DCT basis, rows
// first, then columns.
#pragma once

#include "levels.h"

namespace zkr::dct8x8 {

// The orthonormal DCT bases: b[u][x] = C(u) sqrt(2 / n) cos((2x + 1) u pi / (2n)).
struct Bases {
    float b8[8][8];
    float b4[4][4];
    float b2[2][2];
};

struct Kernels {
    void (*fwd)(const Bases& b, const float* in, float* out);
    // Inverse of the top-left n x n coefficients (the others taken as zero), n = 8, 4 or 2.
    void (*inv)(const Bases& b, const float* in, float* out, int n);
    // The n x n reduced image: n-point inverse of the top-left n x n coefficients times n / 8,
    // written as rows of n.
    void (*toLow)(const Bases& b, const float* in, float* out, int n);
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::dct8x8
