// Interface between the Exp family's entry points (exp.cpp) and its kernels,
// compiled once per instruction-set level (exp_kernels.cpp).
//
// Exp and Ln map each component to one component; the family has C1 and C3
// layouts only, so a row is a plain run of components.
#pragma once

#include <cstddef>

#include "elem_info.h"
#include "levels.h"

namespace zkr::expln {

enum class SType : int { U8, U16, S16, F32, Count };

// Kop::Exp: e^x.  Kop::Ln: natural logarithm.
enum class Kop : int { Exp, Ln, Count };

struct UnaryJob {
    const void* s = nullptr;  // source (in place: the destination)
    std::ptrdiff_t sStep = 0;
    void* d = nullptr;
    std::ptrdiff_t dStep = 0;
    int rowLen = 0;  // components per row
    int scale = 0;   // integer scale factor: result * 2^-scale
};

// What a run of Ln met besides regular arguments (the rows are processed all the same).
enum Met : int { kMetZero = 1, kMetNegative = 2 };

// Runs rows [y0, y1) of the job; returns a set of Met flags (0 for Exp).
using RowsFn = int (*)(const UnaryJob& job, int y0, int y1);

// rows[type][op][inPlace]
struct Kernels {
    RowsFn rows[int(SType::Count)][int(Kop::Count)][2];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

template <class S> struct ComponentType;
template <> struct ComponentType<Zkr8u>  { static constexpr SType id = SType::U8; };
template <> struct ComponentType<Zkr16u> { static constexpr SType id = SType::U16; };
template <> struct ComponentType<Zkr16s> { static constexpr SType id = SType::S16; };
template <> struct ComponentType<Zkr32f> { static constexpr SType id = SType::F32; };

// The kernels of the dispatch level in force.
inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::expln
