// Interface between the DCT family's entry points (dct.cpp) and its kernels,
// compiled once per instruction-set level (dct_kernels.cpp): the setup the
// kernels read and one transform of one channel.
//
// A one-dimensional DCT-II of length N is the real part of the length-N DFT
// of the even-odd reordered sequence (x0, x2, x4, ..., x5, x3, x1) times
// exp(-i pi k / 2N); its inverse rebuilds that spectrum from X(k) and
// X(N - k) and reorders the inverse DFT back. The rows are transformed one
// by one, the columns as blocks of columns (FftPlan's column form), so every
// loop runs along the rows.
#pragma once

#include <cstddef>
#include <vector>

#include "fft_core.h"
#include "levels.h"

namespace zkr::dct {

struct Axis {
    int n = 0;
    FftPlan<float> plan;
    // exp(-i pi k / 2N) as (cos, sin of +pi k / 2N), and the orthonormal factors c(k).
    std::vector<float> cs, sn, norm;
};

struct Setup {
    unsigned magic = 0;
    Axis x, y;
    std::size_t workFloats = 0;  // the plans' work area
};

// One channel of an image.
struct Channel {
    const float* src;
    std::ptrdiff_t srcStep;
    float* dst;
    std::ptrdiff_t dstStep;
    int stride;  // elements between two pixels of one channel
};

struct Kernels {
    // work: 3 W H floats of planes, then the plans' work area
    void (*forward)(const Setup& s, Channel c, float* work);
    void (*inverse)(const Setup& s, Channel c, float* work);
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::dct
