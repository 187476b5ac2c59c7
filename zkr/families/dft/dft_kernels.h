// Interface between the DFT family's entry points (dft.cpp) and its kernels,
// compiled once per instruction-set level (dft_kernels.cpp).
//
// A transform runs on a complex work array of W x H values kept as two planes
// (real parts, imaginary parts), rows of W: the kernels move one channel of an
// image into the planes and out of them (packing or unpacking a real
// spectrum, scaling, rounding and saturating); the transforms along the rows
// and the columns are the runtime's FftPlan (fft_core.h), which has its own
// per-level butterflies.
#pragma once

#include <cstddef>

#include "levels.h"
#include "zkrcore.h"

namespace zkr::dft {

// One channel of an image: the first element of the ROI, the row step in bytes, and the distance
// between the elements of one row.
template <class T> struct Channel {
    T* p;
    std::ptrdiff_t step;
    int stride;
};

struct Planes {
    float* re;
    float* im;
    int w, h;
};

struct Kernels {
    void (*loadC)(Channel<const Zkr32fc> src, Planes pl);
    void (*storeC)(Planes pl, Channel<Zkr32fc> dst, float scale);
    // A real image into the real plane (imaginary parts zero).
    void (*load32f)(Channel<const Zkr32f> src, Planes pl);
    void (*load8u)(Channel<const Zkr8u> src, Planes pl);
    // The full spectrum in the planes to the packed layout, times scale (integers rounded half to
    // even and saturated).
    void (*pack32f)(Planes pl, Channel<Zkr32f> dst, double scale);
    void (*pack32s)(Planes pl, Channel<Zkr32s> dst, double scale);
    // A packed spectrum to the full (Hermitian) spectrum in the planes.
    void (*unpack32f)(Channel<const Zkr32f> src, Planes pl);
    void (*unpack32s)(Channel<const Zkr32s> src, Planes pl);
    // The real plane to a real image, times scale.
    void (*store32f)(Planes pl, Channel<Zkr32f> dst, double scale);
    void (*store8u)(Planes pl, Channel<Zkr8u> dst, double scale);
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::dft
