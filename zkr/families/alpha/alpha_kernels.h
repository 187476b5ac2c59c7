// Interface between the Alpha family's entry points (alpha.cpp) and its
// compositing kernels, compiled once per instruction-set level
// (alpha_kernels.cpp).
//
// Every operation is result = A * wA + B * wB per component, with weights
// from the two alphas (see alpha_forms.h): for a colour component
//   wA = (premultiplied ? max : aA) * FaN,   wB = (premultiplied ? max : aB) * FbN
// and for an alpha component (value aA, aB) wA = max * FaN, wB = max * FbN,
// where FaN = fa0 * max + fa1 * aB and FbN = fb0 * max + fb1 * aA are the
// factors Fa, Fb of the operation in units of max. The sum is divided by
// max * max, rounded to nearest and saturated (integers), or computed in
// float with max = 1.
#pragma once

#include <cstddef>

#include "levels.h"
#include "zkrcore.h"

namespace zkr::alpha {

// Element types the kernels are compiled for.
enum class AType : int { U8, U16, F32, Count };

template <class T> struct ATypeOf;
template <> struct ATypeOf<Zkr8u> { static constexpr AType id = AType::U8; };
template <> struct ATypeOf<Zkr16u> { static constexpr AType id = AType::U16; };
template <> struct ATypeOf<Zkr32f> { static constexpr AType id = AType::F32; };

// The factors of an operation: Fa = fa0 + fa1 * aB, Fb = fb0 + fb1 * aA
// (alphas as fractions), and whether colours come premultiplied.
struct Factors {
    int fa0 = 1, fa1 = 0, fb0 = 0, fb1 = 0;
    bool premul = false;
};

struct AlphaJob {
    const void* a[4] = {};  // source 1: interleaved image, or four planes
    std::ptrdiff_t aStep = 0;
    const void* b[4] = {};  // source 2
    std::ptrdiff_t bStep = 0;
    void* d[4] = {};  // destination
    std::ptrdiff_t dStep = 0;
    int width = 0;       // pixels per row
    int channels = 4;    // constant-alpha forms: channels in memory (1, 3 or 4)
    bool keepLast = false;  // constant-alpha forms: leave the fourth channel of d alone (AC4)
    Factors f;
    double alpha1 = 0, alpha2 = 0;  // constant alphas, in the element's units
    const void* key = nullptr;      // colour key of source 1 (three elements)
};

using RowsFn = void (*)(const AlphaJob& job, int y0, int y1);

struct Kernels {
    RowsFn pixelInterleaved[int(AType::Count)][2];  // [type][premul]: AC4, alpha in channel 4
    RowsFn pixelPlanar[int(AType::Count)][2];       // [type][premul]: AP4, alpha in plane 4
    RowsFn constant[int(AType::Count)];             // constant alphas, every layout
    RowsFn colorKey8u;                              // constant alphas and a colour key, 8u AC4
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::alpha
