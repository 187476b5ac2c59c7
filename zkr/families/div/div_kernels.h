// Interface between the Div family's entry points (div.cpp) and its kernels,
// compiled once per instruction-set level (div_kernels.cpp).
//
// Every function of the family divides element by element: the dividend comes
// from a source image (or the destination, in place), the divisor from the
// other source or from a constant that repeats with the pixel. The entry
// points describe a call as a DivJob; a constant is handed over as a periodic
// divisor row, so one kernel serves Div and DivC.
#pragma once

#include <cstddef>

#include "elem_info.h"
#include "levels.h"

namespace zkr::div {

// Element types the kernels are compiled for (complex types as whole elements).
enum class EType : int { U8, U16, S16, F32, C16S, C32S, C32F, Count };

// Rounding of integer quotients (the values of ZkrRoundMode).
enum class Rnd : int { Zero, Near, Financial, Count };

// Longest repeating divisor pattern in components: a multiple of every pixel
// period (1, 2, 3, 4, 6 and 8 components).
inline constexpr int kPatternMax = 768;

struct DivJob {
    const void* divisor = nullptr;  // divisor rows, or `chunk` components that repeat along every row
    std::ptrdiff_t divisorStep = 0;
    bool periodic = false;           // divisor is a repeating pattern (a constant)
    const void* dividend = nullptr;  // ignored in place: the destination is the dividend
    std::ptrdiff_t dividendStep = 0;
    void* dst = nullptr;
    std::ptrdiff_t dstStep = 0;
    int rowLen = 0;  // components per row (alpha included)
    int chunk = 0;   // periodic: length of the pattern (a multiple of the pixel period)
    int scale = 0;   // integer scale factor: quotient * 2^-scale
};

// Runs rows [y0, y1) of the job; returns true when a computed divisor
// element was zero (the rows are processed all the same).
using RowsFn = bool (*)(const DivJob& job, int y0, int y1);

// rows[type][rounding][alpha][inPlace]; types without a rounding mode have
// their kernels under Rnd::Near only.
struct Kernels {
    RowsFn rows[int(EType::Count)][int(Rnd::Count)][2][2];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

template <class T> struct ElementType;
template <> struct ElementType<Zkr8u>   { static constexpr EType id = EType::U8; };
template <> struct ElementType<Zkr16u>  { static constexpr EType id = EType::U16; };
template <> struct ElementType<Zkr16s>  { static constexpr EType id = EType::S16; };
template <> struct ElementType<Zkr32f>  { static constexpr EType id = EType::F32; };
template <> struct ElementType<Zkr16sc> { static constexpr EType id = EType::C16S; };
template <> struct ElementType<Zkr32sc> { static constexpr EType id = EType::C32S; };
template <> struct ElementType<Zkr32fc> { static constexpr EType id = EType::C32F; };

// The kernels of the dispatch level in force.
inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::div
