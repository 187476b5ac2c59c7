// Interface between the Logic family's entry points (logic.cpp) and its
// kernels, compiled once per instruction-set level (logic_kernels.cpp).
//
// The bitwise operations (And, Or, Xor, their constant forms and Not) do not
// care about the element type: the kernels see a row as bytes, the constant
// as a repeating byte pattern and the alpha channel of AC4 as a byte mask of
// what may be written. The element-wise maximum and minimum and the shifts
// work on components of their type.
#pragma once

#include <cstddef>
#include <cstdint>

#include "elem_info.h"
#include "levels.h"

namespace zkr::logic {

// Bytes of a repeating constant: three vectors of the widest level, a
// multiple of every pixel size (1, 2, 3, 4, 6, 8, 12 and 16 bytes) and of
// three vectors of every narrower level.
inline constexpr int kPatternBytes = 192;
// Bytes of an AC4 keep mask: one vector of the widest level, a multiple of
// every AC4 pixel size (4, 8, 16 bytes).
inline constexpr int kKeepBytes = 64;
// Components of a per-channel pattern of the component-wise kernels (shift
// counts, alpha masks): a multiple of 3 and of 4.
inline constexpr int kChunk = 192;

enum class Bop : int { And, Or, Xor, Count };

// The second operand of a bitwise kernel.
enum class BShape : int {
    Row,      // b: a row of the second source (in place: the destination)
    Pattern,  // b: the kPatternBytes bytes of `pattern`, restarting at every row
    Count
};


enum class Dir : int { Left, Right, Count };

// How a shift's count applies to the components of a row.
enum class CShape : int {
    Uniform,      // one count for every component
    Pattern,      // counts[i % kChunk]
    PatternKeep,  // counts[i % kChunk], and only components with keep[i % kChunk] are written (AC4)
    Count
};

struct Job {
    const void* a = nullptr;  // first source (in-place forms: pSrc, or the destination when there is none)
    std::ptrdiff_t aStep = 0;
    const void* b = nullptr;  // second operand row (BShape::Row)
    std::ptrdiff_t bStep = 0;
    void* d = nullptr;
    std::ptrdiff_t dStep = 0;
    std::ptrdiff_t rowBytes = 0;         // bytes per row
    int rowLen = 0;                      // components per row
    const void* pattern = nullptr;       // bitwise: kPatternBytes bytes; shifts: kChunk counts of the component size
    const std::uint8_t* keep = nullptr;  // bitwise AC4: kKeepBytes bytes, 0xFF where the destination is written
    unsigned count = 0;                  // shifts, CShape::Uniform: the count (already limited to the width)
};

using RowsFn = void (*)(const Job& job, int y0, int y1);

struct Kernels {
    RowsFn bits[int(Bop::Count)][int(BShape::Count)][2];  // [op][b shape][AC4 keep mask]
    RowsFn maxEvery[kCompTypes][2];                       // [type][AC4]: pSrcDst = max(pSrc, pSrcDst)
    RowsFn minEvery[kCompTypes][2];
    RowsFn shift[kCompTypes][int(Dir::Count)][int(CShape::Count)][2];  // [..][in place]
};

ZKR_DECLARE_LEVEL_KERNELS(Kernels)

// The kernels of the dispatch level in force.
inline const Kernels& kernels() { return ZKR_LEVEL_KERNELS(); }

}  // namespace zkr::logic
