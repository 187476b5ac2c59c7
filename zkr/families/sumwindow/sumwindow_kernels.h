// Interface between the SumWindow family's entry points (sumwindow.cpp) and
// its row kernels, compiled once per instruction-set level
// (sumwindow_kernels.cpp). A kernel writes destination rows [y0, y1); its
// source pointer is the ROI's first pixel, the window reaching before and
// after it.
#pragma once

#include <cstddef>

#include "elem_info.h"
#include "levels.h"

namespace zkr::sumwindow {

struct WinJob {
    const void* s = nullptr;
    std::ptrdiff_t sStep = 0;
    void* d = nullptr;
    std::ptrdiff_t dStep = 0;
    int rowLen = 0;  // components per destination row
    int period = 1;  // channels per pixel
    int mask = 1, anchor = 0;
};

using RowsFn = void (*)(const WinJob& job, int y0, int y1);

// fn[source component type][column]
struct Kernels {
    RowsFn fn[kCompTypes][2];
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::sumwindow
