// Kernels of the Bilateral family, compiled once per instruction-set level (ZKR_LEVEL_NS = base,
// avx2, avx512) with that level's code generation flags.
//
// One pass a neighbourhood offset over the whole output row: the range weight is looked up by the
// absolute difference (a gather at the vector levels), multiplied by the offset's spatial weight
// and added to the row's weighted sum and weight sum, all in single precision.
#include <cmath>
#include <cstdlib>

#include "bilateral_kernels.h"
#include "rows.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::bilateral::ZKR_LEVEL_NS {
namespace {

ZKR_NOINLINE void accumulate(float* __restrict num, float* __restrict den, const Zkr8u* __restrict centre,
                             const Zkr8u* __restrict q, const float* __restrict range, float spatial, int n) {
    for (int x = 0; x < n; ++x) {
        const int d = int(q[x]) - int(centre[x]);
        const float w = spatial * range[d < 0 ? -d : d];
        num[x] += w * float(q[x]);
        den[x] += w;
    }
}

ZKR_NOINLINE void finish(Zkr8u* __restrict out, const float* __restrict num, const float* __restrict den, int n) {
    for (int x = 0; x < n; ++x) {
        const float r = num[x] / den[x];  // den >= 1: the centre's own weight
        out[x] = Zkr8u(int(std::nearbyint(r > 255.0f ? 255.0f : r)));
    }
}

bool bilateralRows(const BilateralJob& j, int y0, int y1) {
    const int n = j.width;
    float* num = static_cast<float*>(std::malloc(sizeof(float) * std::size_t(n) * 2));
    if (!num) return false;
    float* den = num + n;
    const int r = j.radius, side = 2 * r + 1;
    for (int y = y0; y < y1; ++y) {
        const Zkr8u* centre = j.src + j.srcStep * y;
        for (int x = 0; x < n; ++x) num[x] = den[x] = 0.0f;
        for (int dy = -r; dy <= r; ++dy) {
            const Zkr8u* row = j.src + j.srcStep * (y + dy);
            for (int dx = -r; dx <= r; ++dx)
                accumulate(num, den, centre, row + dx, j.range, j.spatial[(dy + r) * side + dx + r], n);
        }
        finish(j.dst + j.dstStep * y, num, den, n);
    }
    std::free(num);
    return true;
}

}  // namespace

constinit const Kernels kernels{&bilateralRows};

}  // namespace zkr::bilateral::ZKR_LEVEL_NS
