// Rows of an image as the kernels walk them: a row's first component from the image's base pointer
// and step, the rows of a band taken as one run when the images are stored without gaps, and the
// attribute that keeps a row loop out of line. Nothing here is compiled out of line: the
// functions are always inlined, so a kernel compiled for one instruction-set level never calls a
// copy compiled for another.
#pragma once

#include <cstddef>
#include <type_traits>

// A row loop is its own function: the vectoriser sees one loop with restrict pointers, and each
// instantiation stays visible by name in the level's code (objdump, perf).
#define ZKR_NOINLINE __attribute__((noinline))

namespace zkr {

// Component pointer of row y of an image at `base` whose rows are `step` bytes apart.
template <class S> [[gnu::always_inline]] inline S* rowOf(void* base, std::ptrdiff_t step, int y) {
    return reinterpret_cast<S*>(static_cast<char*>(base) + step * y);
}
template <class S> [[gnu::always_inline]] inline const S* rowOf(const void* base, std::ptrdiff_t step, int y) {
    return reinterpret_cast<const S*>(static_cast<const char*>(base) + step * y);
}

// The same from a typed pointer, keeping its constness.
template <class T> [[gnu::always_inline]] inline T* rowOf(T* base, std::ptrdiff_t step, int y) {
    using Byte = std::conditional_t<std::is_const_v<T>, const char, char>;
    return reinterpret_cast<T*>(reinterpret_cast<Byte*>(base) + step * y);
}

// True when every step given equals `rowBytes`: the images hold their rows without gaps.
template <class... Steps> [[gnu::always_inline]] constexpr bool stepsAre(std::ptrdiff_t rowBytes, Steps... steps) {
    return ((std::ptrdiff_t(steps) == rowBytes) && ...);
}

// The runs a kernel walks for rows [y0, y1) of `rowLen` components: one run of all of them, starting
// at row y0, when the images are gapless (whole pixels per row keep every channel at its place in
// the run), else one run per row. Loop `for (int y = y0; y < r.yEnd; ++y)` over runs of r.len.
struct RowRuns {
    int yEnd;
    std::ptrdiff_t len;
};
[[gnu::always_inline]] constexpr RowRuns rowRuns(bool gapless, int rowLen, int y0, int y1) {
    return gapless ? RowRuns{y0 + 1, std::ptrdiff_t(rowLen) * (y1 - y0)} : RowRuns{y1, std::ptrdiff_t(rowLen)};
}

}  // namespace zkr
