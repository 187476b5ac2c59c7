// The exported functions of the geometric family (Transpose, Mirror,
// ImageRamp), defined from its tables: each row packs its parameters and hands
// them to one generic entry point, which checks the arguments (pointers, size,
// steps, then the operation's own), and runs the kernels of the level in
// force over bands of rows, or of tiles for transposes.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include "checks.h"
#include "geom_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

#define ZKR_TABLE "geom/transp.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "geom/mirror.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkr::geom {
namespace {

using uchar = unsigned char;

enum class Lay { C1, C3, C4, AC4 };

constexpr int channelsOf(Lay l) { return l == Lay::C1 ? 1 : (l == Lay::C3 ? 3 : 4); }

template <class T, Lay L> constexpr PixKind kindOf() {
    return L == Lay::AC4 ? alphaKind(int(sizeof(T))) : wholeKind(int(sizeof(T)) * channelsOf(L));
}

inline uchar* at(void* base, std::ptrdiff_t step, int y, std::ptrdiff_t xBytes = 0) {
    return static_cast<uchar*>(base) + step * y + xBytes;
}
inline const uchar* at(const void* base, std::ptrdiff_t step, int y, std::ptrdiff_t xBytes = 0) {
    return static_cast<const uchar*>(base) + step * y + xBytes;
}

bool knownAxis(int axis) { return axis == zkriAxsHorizontal || axis == zkriAxsVertical || axis == zkriAxsBoth; }

// ---- Transpose ------------------------------------------------------------------------------

// Tiles of side kBlock pixels keep a source block and its destination in the first-level cache.
constexpr int blockFor(int pixelBytes) { return pixelBytes <= 2 ? 64 : 32; }
// The largest tile: 32 x 32 pixels of 16 bytes (64 x 64 of 2 bytes is half of it).
constexpr std::size_t kScratchBytes = 32 * 32 * 16;

// Tiles are transposed into a contiguous scratch tile and then copied out row by row: the rows of a
// tile in the image lie a step apart, and with steps of a power of two they all fall into a few
// cache sets, so writing them a few bytes at a time (as the register blocks do) would evict them
// before they are complete.
void copyRows(uchar* d, std::ptrdiff_t dStep, const uchar* s, std::ptrdiff_t sStep, int rows, std::size_t rowBytes) {
    for (int r = 0; r < rows; ++r) std::memcpy(d + r * dStep, s + r * sStep, rowBytes);
}

template <class T, Lay L, class A> ZkrStatus transpose(const A& a) {
    constexpr int P = int(sizeof(T)) * channelsOf(L);
    constexpr int B = blockFor(P);
    static_assert(std::size_t(B) * B * P <= kScratchBytes, "a tile must fit the scratch tile");
    const TileFn tileFn = kernels().tile[int(kindOf<T, L>())];
    const int w = a.roiSize.width, h = a.roiSize.height;

    if constexpr (requires { a.pSrcDst; }) {
        if (!a.pSrcDst) return zkrStsNullPtrErr;
        if (checkSize(a.roiSize) != zkrStsNoErr || w != h) return zkrStsSizeErr;
        if (checkSteps({a.srcDstStep}, std::int64_t(w) * P, int(sizeof(T))) != zkrStsNoErr) return zkrStsStepErr;
        // Block pairs (i, j) and (j, i) with j >= i are swapped through a scratch block by the band
        // that holds block row i, so no two bands touch one block.
        const int n = (w + B - 1) / B;
        const std::ptrdiff_t step = a.srcDstStep;
        T* const base = a.pSrcDst;
        forRowBands(std::int64_t(w) * h, n, [&](int b0, int b1) {
            alignas(64) uchar scratch[kScratchBytes], other[kScratchBytes];
            const std::ptrdiff_t sStep = std::ptrdiff_t(B) * P;
            for (int bi = b0; bi < b1; ++bi) {
                const int y0 = bi * B, bh = std::min(B, w - y0);
                for (int bj = bi; bj < n; ++bj) {
                    const int x0 = bj * B, bw = std::min(B, w - x0);
                    uchar* blockA = at(base, step, y0, std::ptrdiff_t(x0) * P);  // rows of bi, columns of bj
                    uchar* blockB = at(base, step, x0, std::ptrdiff_t(y0) * P);  // rows of bj, columns of bi
                    tileFn(blockA, step, scratch, sStep, bw, bh);
                    if (bj != bi) {
                        tileFn(blockB, step, other, sStep, bh, bw);
                        copyRows(blockA, step, other, sStep, bh, std::size_t(bw) * P);
                    }
                    copyRows(blockB, step, scratch, sStep, bw, std::size_t(bh) * P);
                }
            }
        });
    } else {
        if (!a.pSrc || !a.pDst) return zkrStsNullPtrErr;
        if (checkSize(a.roiSize) != zkrStsNoErr) return zkrStsSizeErr;
        if (checkSteps({a.srcStep}, std::int64_t(w) * P, int(sizeof(T))) != zkrStsNoErr ||
            checkSteps({a.dstStep}, std::int64_t(h) * P, int(sizeof(T))) != zkrStsNoErr)
            return zkrStsStepErr;
        // Bands of destination rows, a block column of the source at a time.
        const int n = (w + B - 1) / B;
        forRowBands(std::int64_t(w) * h, n, [&](int b0, int b1) {
            alignas(64) uchar scratch[kScratchBytes];
            const std::ptrdiff_t sStep = std::ptrdiff_t(B) * P;
            for (int bx = b0; bx < b1; ++bx) {
                const int x0 = bx * B, bw = std::min(B, w - x0);
                for (int y0 = 0; y0 < h; y0 += B) {
                    const int bh = std::min(B, h - y0);
                    tileFn(at(a.pSrc, a.srcStep, y0, std::ptrdiff_t(x0) * P), a.srcStep, scratch, sStep, bw, bh);
                    copyRows(at(a.pDst, a.dstStep, x0, std::ptrdiff_t(y0) * P), a.dstStep, scratch, sStep, bw,
                             std::size_t(bh) * P);
                }
            }
        });
    }
    return zkrStsNoErr;
}

// ---- Mirror ---------------------------------------------------------------------------------

template <class T, Lay L, class A> ZkrStatus mirror(const A& a) {
    constexpr int P = int(sizeof(T)) * channelsOf(L);
    constexpr PixKind kind = kindOf<T, L>();
    const int w = a.roiSize.width, h = a.roiSize.height;
    constexpr bool inPlace = requires { a.pSrcDst; };

    if constexpr (inPlace) {
        if (!a.pSrcDst) return zkrStsNullPtrErr;
        if (checkSize(a.roiSize) != zkrStsNoErr) return zkrStsSizeErr;
        if (checkSteps({a.srcDstStep}, std::int64_t(w) * P, int(sizeof(T))) != zkrStsNoErr) return zkrStsStepErr;
    } else {
        if (!a.pSrc || !a.pDst) return zkrStsNullPtrErr;
        if (checkSize(a.roiSize) != zkrStsNoErr) return zkrStsSizeErr;
        if (checkSteps({a.srcStep, a.dstStep}, std::int64_t(w) * P, int(sizeof(T))) != zkrStsNoErr)
            return zkrStsStepErr;
    }
    if (!knownAxis(a.flip)) return zkrStsBadArgErr;

    const bool flipRows = a.flip != zkriAxsVertical, flipColumns = a.flip != zkriAxsHorizontal;
    const Kernels& k = kernels();
    const RowFn move = flipColumns ? k.reverse[int(kind)] : k.copy[int(kind)];
    const RowFn copy = k.copy[int(kind)];
    const std::int64_t pixels = std::int64_t(w) * h;

    if constexpr (inPlace) {
        void* const base = a.pSrcDst;
        const std::ptrdiff_t step = a.srcDstStep;
        // Rows y and its mirror are exchanged through two scratch rows; a row that stays (no row
        // flip, or the middle row) goes through one.
        const int rows = flipRows ? (h + 1) / 2 : h;
        forRowBands(pixels, rows, [&](int y0, int y1) {
            std::vector<uchar> first(std::size_t(w) * P), second(std::size_t(w) * P);
            for (int y = y0; y < y1; ++y) {
                const int y2 = flipRows ? h - 1 - y : y;
                uchar* r1 = at(base, step, y);
                copy(first.data(), r1, w);
                if (y2 == y) {
                    move(r1, first.data(), w);
                    continue;
                }
                uchar* r2 = at(base, step, y2);
                copy(second.data(), r2, w);
                move(r1, second.data(), w);
                move(r2, first.data(), w);
            }
        });
    } else {
        forRowBands(pixels, h, [&](int y0, int y1) {
            for (int y = y0; y < y1; ++y)
                move(at(a.pDst, a.dstStep, y), at(a.pSrc, a.srcStep, flipRows ? h - 1 - y : y), w);
        });
    }
    return zkrStsNoErr;
}

// ---- ImageRamp ------------------------------------------------------------------------------

template <class T> constexpr RampType rampTypeOf() {
    if constexpr (std::is_same_v<T, Zkr8u>) return RampType::U8;
    else if constexpr (std::is_same_v<T, Zkr8s>) return RampType::S8;
    else if constexpr (std::is_same_v<T, Zkr16u>) return RampType::U16;
    else if constexpr (std::is_same_v<T, Zkr16s>) return RampType::S16;
    else if constexpr (std::is_same_v<T, Zkr32s>) return RampType::S32;
    else return RampType::F32;
}

template <class T, Lay L, class A> ZkrStatus imageRamp(const A& a) {
    constexpr int P = int(sizeof(T)) * channelsOf(L);
    if (!a.pDst) return zkrStsNullPtrErr;
    if (checkSize(a.roiSize) != zkrStsNoErr) return zkrStsSizeErr;
    if (checkSteps({a.dstStep}, std::int64_t(a.roiSize.width) * P, int(sizeof(T))) != zkrStsNoErr)
        return zkrStsStepErr;
    if (!std::isfinite(a.offset) || !std::isfinite(a.slope) || !knownAxis(a.axis)) return zkrStsBadArgErr;
    RampJob job;
    job.dst = a.pDst;
    job.dstStep = a.dstStep;
    job.width = a.roiSize.width;
    job.offset = a.offset;
    job.slope = a.slope;
    job.axis = a.axis;
    const RampFn fn = kernels().ramp[int(rampTypeOf<T>())][int(L)];
    forRowBands(std::int64_t(a.roiSize.width) * a.roiSize.height, a.roiSize.height,
                [&](int y0, int y1) { fn(job, y0, y1); });
    return zkrStsNoErr;
}

// Mirror and ImageRamp share a table; the form tells them apart.
template <class T, Lay L, class A> ZkrStatus mirrorOrRamp(const A& a) {
    if constexpr (requires { a.axis; }) return imageRamp<T, L>(a);
    else return mirror<T, L>(a);
}

}  // namespace
}  // namespace zkr::geom

#define ZKR_FN(name, form, T, L)                                  \
    ZKR_DEFINE(name, form, T) {                                   \
        ZKR_PACK(args, form, T);                                  \
        return zkr::geom::transpose<T, zkr::geom::Lay::L>(args);  \
    }
#include "geom/transp.tbl"
#undef ZKR_FN

#define ZKR_FN(name, form, T, L)                                     \
    ZKR_DEFINE(name, form, T) {                                      \
        ZKR_PACK(args, form, T);                                     \
        return zkr::geom::mirrorOrRamp<T, zkr::geom::Lay::L>(args);  \
    }
#include "geom/mirror.tbl"
#undef ZKR_FN
