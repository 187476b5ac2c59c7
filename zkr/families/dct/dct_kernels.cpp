// Compiled once per instruction-set level (ZKR_LEVEL_NS): the DCT family's
// reorderings, twiddles and moves around the runtime's FFT.
#include <cstring>

#include "dct_kernels.h"

namespace zkr::dct::ZKR_LEVEL_NS {
namespace {

// Position in the reordered sequence of element i of a length-n sequence.
inline int reordered(int i, int n) { return i % 2 == 0 ? i / 2 : n - 1 - i / 2; }

void forward(const Setup& s, Channel c, float* work) {
    const int w = s.x.n, h = s.y.n;
    const std::ptrdiff_t n = std::ptrdiff_t(w) * h;
    float* a = work;       // the rows' results
    float* re = work + n;  // columns: the reordered planes
    float* im = work + 2 * n;
    float* fw = work + 3 * n;
    // rows: re/im of row 0 of the planes serve as the row's buffers
    for (int y = 0; y < h; ++y) {
        const float* src = reinterpret_cast<const float*>(reinterpret_cast<const char*>(c.src) + c.srcStep * y);
        float* __restrict r = re;
        float* __restrict i = im;
        for (int x = 0; x < w; ++x) r[reordered(x, w)] = src[x * c.stride];
        std::memset(i, 0, sizeof(float) * std::size_t(w));
        s.x.plan.forward(r, i, fw);
        float* __restrict out = a + std::ptrdiff_t(y) * w;
        const float* __restrict cs = s.x.cs.data();
        const float* __restrict sn = s.x.sn.data();
        const float* __restrict nm = s.x.norm.data();
        for (int k = 0; k < w; ++k) out[k] = (cs[k] * r[k] + sn[k] * i[k]) * nm[k];
    }
    // columns: reorder whole rows, transform the columns, twiddle whole rows
    for (int y = 0; y < h; ++y) {
        std::memcpy(re + std::ptrdiff_t(reordered(y, h)) * w, a + std::ptrdiff_t(y) * w, sizeof(float) * std::size_t(w));
        std::memset(im + std::ptrdiff_t(y) * w, 0, sizeof(float) * std::size_t(w));
    }
    s.y.plan.forwardColumns(re, im, w, w, fw);
    for (int k = 0; k < h; ++k) {
        const float cs = s.y.cs[std::size_t(k)] * s.y.norm[std::size_t(k)], sn = s.y.sn[std::size_t(k)] * s.y.norm[std::size_t(k)];
        const float* __restrict r = re + std::ptrdiff_t(k) * w;
        const float* __restrict i = im + std::ptrdiff_t(k) * w;
        float* __restrict dst = reinterpret_cast<float*>(reinterpret_cast<char*>(c.dst) + c.dstStep * k);
        for (int x = 0; x < w; ++x) dst[x * c.stride] = cs * r[x] + sn * i[x];
    }
}

void inverse(const Setup& s, Channel c, float* work) {
    const int w = s.x.n, h = s.y.n;
    const std::ptrdiff_t n = std::ptrdiff_t(w) * h;
    float* a = work;
    float* re = work + n;
    float* im = work + 2 * n;
    float* fw = work + 3 * n;
    // columns: V(k) = exp(i pi k / 2H) (X(k) - i X(H - k)), X = F / c(k), X(H) = 0
    auto srcRow = [&](int y) {
        return reinterpret_cast<const float*>(reinterpret_cast<const char*>(c.src) + c.srcStep * y);
    };
    for (int k = 0; k < h; ++k) {
        const float ca = s.y.cs[std::size_t(k)] / s.y.norm[std::size_t(k)], sa = s.y.sn[std::size_t(k)] / s.y.norm[std::size_t(k)];
        const float* __restrict xa = srcRow(k);
        float* __restrict r = re + std::ptrdiff_t(k) * w;
        float* __restrict i = im + std::ptrdiff_t(k) * w;
        if (k == 0) {
            for (int x = 0; x < w; ++x) {
                r[x] = xa[x * c.stride] * ca;
                i[x] = xa[x * c.stride] * sa;
            }
            continue;
        }
        const float cb = s.y.cs[std::size_t(k)] / s.y.norm[std::size_t(h - k)], sb = s.y.sn[std::size_t(k)] / s.y.norm[std::size_t(h - k)];
        const float* __restrict xb = srcRow(h - k);
        for (int x = 0; x < w; ++x) {
            const float p = xa[x * c.stride], q = xb[x * c.stride];
            r[x] = p * ca + q * sb;
            i[x] = p * sa - q * cb;
        }
    }
    s.y.plan.inverseColumns(re, im, w, w, fw);
    const float invH = 1.0f / float(h), invW = 1.0f / float(w);
    for (int y = 0; y < h; ++y) {
        const float* __restrict r = re + std::ptrdiff_t(reordered(y, h)) * w;
        float* __restrict out = a + std::ptrdiff_t(y) * w;
        for (int x = 0; x < w; ++x) out[x] = r[x] * invH;
    }
    // rows
    for (int y = 0; y < h; ++y) {
        const float* __restrict xa = a + std::ptrdiff_t(y) * w;
        float* __restrict r = re;
        float* __restrict i = im;
        const float* __restrict cs = s.x.cs.data();
        const float* __restrict sn = s.x.sn.data();
        const float* __restrict nm = s.x.norm.data();
        r[0] = xa[0] * cs[0] / nm[0];
        i[0] = xa[0] * sn[0] / nm[0];
        for (int k = 1; k < w; ++k) {
            const float p = xa[k] / nm[k], q = xa[w - k] / nm[w - k];
            r[k] = p * cs[k] + q * sn[k];
            i[k] = p * sn[k] - q * cs[k];
        }
        s.x.plan.inverse(r, i, fw);
        float* dst = reinterpret_cast<float*>(reinterpret_cast<char*>(c.dst) + c.dstStep * y);
        for (int x = 0; x < w; ++x) dst[x * c.stride] = r[reordered(x, w)] * invW;
    }
}

}  // namespace

constinit const Kernels kernels = {&forward, &inverse};

}  // namespace zkr::dct::ZKR_LEVEL_NS
