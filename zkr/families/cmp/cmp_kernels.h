// Interface between the Cmp family's entry points (cmp.cpp) and its row
// kernels, compiled once per instruction-set level (cmp_kernels.cpp).
//
// A kernel compares the channels of each source pixel and writes one mask
// byte per pixel. Two-image comparisons need only <, <= and ==: the entry
// points turn > and >= into < and <= with the sources swapped. Comparisons
// with a constant keep all five operations (the constant is always the
// second operand).
#pragma once

#include <cstddef>

#include "elem_info.h"
#include "levels.h"

namespace zkr::cmp {

// Component types the kernels are compiled for.

// Channel layouts: components per pixel in memory and channels compared.
enum class Lay : int { C1, C3, C4, AC4, Count };

// Kernel operations, first operand against the second.
enum class Kop : int { Less, LessEq, Eq, GreaterEq, Greater, Count };
inline constexpr int kBinaryOps = 3;  // Less, LessEq, Eq

struct CmpJob {
    const void* a = nullptr;  // first source
    std::ptrdiff_t aStep = 0;
    const void* b = nullptr;  // second source (two-image forms)
    std::ptrdiff_t bStep = 0;
    const void* value = nullptr;  // the constant, one component per compared channel (constant forms)
    void* d = nullptr;            // the 8u mask
    std::ptrdiff_t dStep = 0;
    int width = 0;  // pixels per row
};

using RowsFn = void (*)(const CmpJob& job, int y0, int y1);

struct Kernels {
    RowsFn binary[kCompTypes][int(Lay::Count)][kBinaryOps];
    RowsFn constant[kCompTypes][int(Lay::Count)][int(Kop::Count)];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)


// The kernels of the dispatch level in force.
inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::cmp
