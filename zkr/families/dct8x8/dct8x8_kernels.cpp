// Compiled once per instruction-set level (ZKR_LEVEL_NS): the 8x8 DCT kernels.
#include "dct8x8_kernels.h"

namespace zkr::dct8x8::ZKR_LEVEL_NS {
namespace {

void fwd(const Bases& b, const float* in, float* out) {
    float t[8][8];  // t[y][u]: rows transformed
    for (int y = 0; y < 8; ++y)
        for (int u = 0; u < 8; ++u) {
            float s = 0;
            for (int x = 0; x < 8; ++x) s += in[y * 8 + x] * b.b8[u][x];
            t[y][u] = s;
        }
    for (int v = 0; v < 8; ++v) {
        float acc[8] = {};
        for (int y = 0; y < 8; ++y)
            for (int u = 0; u < 8; ++u) acc[u] += b.b8[v][y] * t[y][u];
        for (int u = 0; u < 8; ++u) out[v * 8 + u] = acc[u];
    }
}

template <int N> void invN(const float (&bs)[N][N], const float* in, int inStride, float* out, int n, float scale) {
    float t[N][N] = {};  // t[v][x]: rows of coefficients back to positions
    for (int v = 0; v < n; ++v)
        for (int u = 0; u < n; ++u) {
            const float f = in[v * inStride + u];
            for (int x = 0; x < N; ++x) t[v][x] += f * bs[u][x];
        }
    for (int y = 0; y < N; ++y) {
        float acc[N] = {};
        for (int v = 0; v < n; ++v)
            for (int x = 0; x < N; ++x) acc[x] += bs[v][y] * t[v][x];
        for (int x = 0; x < N; ++x) out[y * N + x] = acc[x] * scale;
    }
}

void inv(const Bases& b, const float* in, float* out, int n) { invN<8>(b.b8, in, 8, out, n, 1.0f); }

void toLow(const Bases& b, const float* in, float* out, int n) {
    if (n == 4) invN<4>(b.b4, in, 8, out, 4, 0.5f);
    else invN<2>(b.b2, in, 8, out, 2, 0.25f);
}

}  // namespace

constinit const Kernels kernels = {&fwd, &inv, &toLow};

}  // namespace zkr::dct8x8::ZKR_LEVEL_NS
