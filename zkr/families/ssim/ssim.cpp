// The exported SSIM function, defined from its table: checks, then the block
// rows split into a fixed number of chunks (by the image's size alone) over
// the worker threads, the chunks' weighted sums added in order.
#include <algorithm>
#include <cstdint>

#include "checks.h"
#include "ssim_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::ssim {
namespace {

constexpr int kChunks = 64;

template <class A> ZkrStatus run(const A& a) {
    if (const ZkrStatus s = checkArgs({a.pSrc1, a.pSrc2, a.pSsim}, a.roiSize, {a.src1Step, a.src2Step}, 1, 1); s != zkrStsNoErr)
        return s;
    SsimJob j;
    j.a = a.pSrc1, j.aStep = a.src1Step;
    j.b = a.pSrc2, j.bStep = a.src2Step;
    j.width = a.roiSize.width, j.height = a.roiSize.height;
    const int blockRows = (j.height + kBlock - 1) / kBlock;
    const std::int64_t pixels = std::int64_t(j.width) * j.height;
    const int chunks = int(std::clamp<std::int64_t>(pixels / 4096, 1, std::min(blockRows, kChunks)));
    double sums[kChunks];
    const BandFn fn = kernels().band;
    forRowBands(pixels, chunks, [&](int c0, int c1) {
        for (int c = c0; c < c1; ++c) sums[c] = fn(j, blockRows * c / chunks, blockRows * (c + 1) / chunks);
    });
    double total = 0;
    for (int c = 0; c < chunks; ++c) total += sums[c];
    *a.pSsim = Zkr32f(total / double(pixels));
    return zkrStsNoErr;
}

}  // namespace
}  // namespace zkr::ssim

#define ZKR_FN(name, form, T, L)                  \
    ZKR_DEFINE(name, form, T) {                   \
        ZKR_PACK(args, form, T);                  \
        return zkr::ssim::run(args);              \
    }
#include "ssim/ssim.tbl"
#undef ZKR_FN
