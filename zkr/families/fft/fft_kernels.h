// Interface between the FFT family's entry points (fft.cpp) and its kernels,
// compiled once per instruction-set level (fft_kernels.cpp).
//
// Every transform runs on a complex work array of Wc x H elements kept as two
// planes (real parts, imaginary parts), so that the butterflies are plain
// loops over contiguous floats:
//   - complex transforms: Wc = W;
//   - real transforms of width W >= 2: Wc = W / 2, the even columns of a row
//     in the real parts and the odd columns in the imaginary parts; a pass
//     after the forward transform (before the inverse one) separates the two
//     half spectra and combines them into the spectrum of the real image;
//   - real transforms of width 1: the column itself, imaginary parts zero.
// The transform is a decimation in time, its radix-2 stages done two at a
// time: the load pass puts the data in bit-reversed order along both axes,
// the row stages transform every row, the column stages every column (loops
// run along the rows, so they are vector loops over contiguous data at every
// stage).
#pragma once

#include <cstddef>
#include <cstdint>

#include "levels.h"
#include "zkrcore.h"

namespace zkr::fft {

// What the kernels need of a setup; every pointer is into the
// setup's own storage.
struct Plan {
    int orderX = 0, orderY = 0;
    int width = 0, height = 0;  // the image: W = 2^orderX, H = 2^orderY
    int cw = 0;                 // complex columns of the work array: Wc
    bool half = false;          // real transform on the even/odd split (W >= 2)
    const int* revX = nullptr;  // bit reversal of [0, Wc)
    const int* revY = nullptr;  // bit reversal of [0, H)
    // Stage twiddles exp(-2 pi i j / (2m)), j < m, at offset m - 1, for the
    // rows (length Wc) and the columns (length H).
    const float* twXr = nullptr;
    const float* twXi = nullptr;
    const float* twYr = nullptr;
    const float* twYi = nullptr;
    // Real transforms: exp(-2 pi i k / W) for k = 0 .. W/2.
    const float* postR = nullptr;
    const float* postI = nullptr;
};

// The two planes of a work buffer, each Wc x H floats, rows of Wc.
struct Work {
    float* re;
    float* im;
};

// One channel of an image: the first element of the ROI, the row step in
// bytes, and the distance between the elements of one row (the channels in
// memory).
template <class T> struct Channel {
    T* p;
    std::ptrdiff_t step;
    int stride;
};

struct Kernels {
    // Complex to complex; `inverse` conjugates on the way in and out.
    // `scale` multiplies the result.
    void (*cToC)(const Plan& plan, Channel<const Zkr32fc> src, Channel<Zkr32fc> dst, bool inverse, float scale,
                 Work work);
    // Real image to packed spectrum; integer destinations get the result
    // times `scale` rounded and saturated.
    void (*rToPack32f)(const Plan& plan, Channel<const Zkr32f> src, Channel<Zkr32f> dst, double scale, Work work);
    void (*rToPack8u32s)(const Plan& plan, Channel<const Zkr8u> src, Channel<Zkr32s> dst, double scale, Work work);
    // Packed spectrum to real image.
    void (*packToR32f)(const Plan& plan, Channel<const Zkr32f> src, Channel<Zkr32f> dst, double scale, Work work);
    void (*packToR32s8u)(const Plan& plan, Channel<const Zkr32s> src, Channel<Zkr8u> dst, double scale, Work work);
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

// The kernels of the dispatch level in force.
inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::fft
