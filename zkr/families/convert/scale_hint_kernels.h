// Interface between the hinted narrowing scalings of the Convert family
// (scale_hint.cpp) and their row kernels, compiled once per instruction-set
// level (scale_hint_kernels.cpp). A kernel maps rows [y0, y1) of an integer
// source onto 8u; rows are runs of components, AC4 rows skip every fourth.
#pragma once

#include <cstddef>

#include "elem_info.h"
#include "levels.h"

namespace zkr::convert::scalehint {

struct ScaleJob {
    const void* s = nullptr;
    std::ptrdiff_t sStep = 0;
    void* d = nullptr;
    std::ptrdiff_t dStep = 0;
    int rowLen = 0;  // components per row (alpha included)
};

using RowsFn = void (*)(const ScaleJob& job, int y0, int y1);

// fn[source component type][fast][alpha (AC4)]
struct Kernels {
    RowsFn fn[kCompTypes][2][2];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::convert::scalehint
