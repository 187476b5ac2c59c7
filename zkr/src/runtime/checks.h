// Argument checks shared by the image functions, in the library's order:
// NULL pointers (zkrStsNullPtrErr), ROI size (zkrStsSizeErr), row steps
// (zkrStsStepErr: <= 0, shorter than a row, or not a multiple of the
// component size).
#pragma once

#include <cstdint>
#include <initializer_list>

#include "zkrcore.h"

namespace zkr {

inline ZkrStatus checkPointers(std::initializer_list<const void*> ptrs) {
    for (const void* p : ptrs)
        if (!p) return zkrStsNullPtrErr;
    return zkrStsNoErr;
}

inline ZkrStatus checkSize(ZkriSize roi) {
    return roi.width <= 0 || roi.height <= 0 ? zkrStsSizeErr : zkrStsNoErr;
}

inline ZkrStatus checkSteps(std::initializer_list<int> steps, std::int64_t rowBytes, int componentBytes) {
    for (int step : steps)
        if (step <= 0 || step < rowBytes || step % componentBytes != 0) return zkrStsStepErr;
    return zkrStsNoErr;
}

inline ZkrStatus checkArgs(std::initializer_list<const void*> ptrs, ZkriSize roi,
                           std::initializer_list<int> steps, int pixelBytes, int componentBytes) {
    if (const ZkrStatus s = checkPointers(ptrs); s != zkrStsNoErr) return s;
    if (const ZkrStatus s = checkSize(roi); s != zkrStsNoErr) return s;
    return checkSteps(steps, std::int64_t(roi.width) * pixelBytes, componentBytes);
}

}  // namespace zkr
