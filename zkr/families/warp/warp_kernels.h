// Interface between the warp family's entry points (warp.cpp) and its kernels,
// compiled once per instruction-set level (warp_kernels.cpp).
//
// Every function of the family (rotation, shear, the affine, perspective and
// bilinear warps, remapping) is one coordinate mapping and one sampler. For
// each destination row a kernel first computes the source point of every
// pixel (a straight loop over the row for the closed-form mappings, a read of
// the maps for remapping), then samples the source there with the
// interpolation of the call. The entry points reduce every function to one of
// the mappings below, given from destination to source.
#pragma once

#include <cstddef>

#include "levels.h"
#include "zkrcore.h"

namespace zkr::warp {

enum class EType : int { U8, U16, S16, F32, Count };
// Pixel layouts the samplers know: C1 also serves each plane of P3.
enum class Lay : int { C1, C3, C4, AC4, Count };

enum class Map : int {
    Affine,       // sx = c0 x + c1 y + c2, sy = c3 x + c4 y + c5
    Perspective,  // sx = (c0 x + c1 y + c2) / w, sy = (c3 x + c4 y + c5) / w, w = c6 x + c7 y + c8
    Bilinear,     // sx = c0 xy + c1 x + c2 y + c3, sy = c4 xy + c5 x + c6 y + c7
    BilinearInv,  // the source point whose bilinear image (same coefficients) is (x, y)
    Remap,        // sx = xMap[y][x], sy = yMap[y][x]
};

struct Job {
    // Source: the ROI's first pixel of each plane (planes = 1 for interleaved layouts).
    const void* src[3] = {};
    std::ptrdiff_t srcStep = 0;
    int roiX = 0, roiY = 0, roiW = 0, roiH = 0;  // the ROI in source image coordinates
    // Destination: the first pixel of the written rectangle of each plane, and where it lies.
    void* dst[3] = {};
    std::ptrdiff_t dstStep = 0;
    int dstX = 0, dstY = 0, width = 0, height = 0;
    int planes = 1;
    int mode = 0;  // ZKRI_WARP_NN, _LINEAR, _CUBIC
    Map map = Map::Affine;
    double c[9] = {};  // the mapping's coefficients, destination to source, image coordinates
    // Remapping: maps of the destination rectangle's size, steps in bytes.
    const float* xMap = nullptr;
    const float* yMap = nullptr;
    std::ptrdiff_t xMapStep = 0, yMapStep = 0;
    // Quad forms: only destination pixels inside this convex quadrangle (x, y corner pairs, turning
    // counter-clockwise in the coordinate system, i.e. every edge cross product >= 0) are written.
    bool clip = false;
    double quad[8] = {};
};

// Destination rows [y0, y1) of the rectangle; `scratch` holds kScratch doubles.
constexpr int kScratch = 512;
using BandFn = void (*)(const Job& job, double* scratch, int y0, int y1);

struct Kernels {
    BandFn band[int(EType::Count)][int(Lay::Count)];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

template <class T> struct ETypeOf;
template <> struct ETypeOf<Zkr8u> { static constexpr EType id = EType::U8; };
template <> struct ETypeOf<Zkr16u> { static constexpr EType id = EType::U16; };
template <> struct ETypeOf<Zkr16s> { static constexpr EType id = EType::S16; };
template <> struct ETypeOf<Zkr32f> { static constexpr EType id = EType::F32; };

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::warp
