// Clocks per destination pixel of the warp family's core on 8u C1, linear interpolation, on every
// dispatch level and image size: zkriRotate by 10 degrees about the centre (the affine mapping),
// zkriWarpPerspective with a mild bend (the divided mapping) and zkriRemap through maps of the same
// rotation (the mapping read from memory).
#include <cmath>
#include <cstdint>
#include <vector>

#include "bench_support.h"
#include "zkrcore.h"
// Only this family's declarations: editing another family's table leaves this source alone.
#define ZKR_TABLE "warp/rotate.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "warp/warp.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "warp/remap.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkbench {
namespace {

constexpr double kAngle = 10.0 * 3.14159265358979323846 / 180.0;

struct Scene {
    ZkriSize size;
    ZkriRect rect;
    Buffer<Zkr8u> src, dst;
    explicit Scene(ImageSize s)
        : size{s.width, s.height}, rect{0, 0, s.width, s.height},
          src(std::size_t(s.width) * s.height), dst(std::size_t(s.width) * s.height) {}
    double cx() const { return (size.width - 1) / 2.0; }
    double cy() const { return (size.height - 1) / 2.0; }
};

// Each destination pixel reads about four source bytes (two of them shared with its neighbour)
// and writes one.
constexpr double kBytesPerPixel = 5.0;

void benchRotate(benchmark::State& state, LevelInfo level, ImageSize is) {
    if (!selectLevel(state, level)) return;
    Scene s(is);
    const double ca = std::cos(kAngle), sa = std::sin(kAngle);
    const double xs = s.cx() - (s.cx() * ca + s.cy() * sa), ys = s.cy() - (-s.cx() * sa + s.cy() * ca);
    auto call = [&] {
        return zkriRotate_8u_C1R(s.src.data(), s.size, s.size.width, s.rect, s.dst.data(), s.size.width, s.rect, 10.0,
                                 xs, ys, ZKRI_WARP_LINEAR);
    };
    timeKernel(state, double(s.size.width) * s.size.height, kBytesPerPixel, call);
}

void benchPerspective(benchmark::State& state, LevelInfo level, ImageSize is) {
    if (!selectLevel(state, level)) return;
    Scene s(is);
    const double c[9] = {1.0, 0.05, 0.0, -0.05, 1.0, 0.0, 0.1 / s.size.width, 0.0, 1.0};
    auto call = [&] {
        return zkriWarpPerspective_8u_C1R(s.src.data(), s.size, s.size.width, s.rect, s.dst.data(), s.size.width, s.rect,
                                          c, ZKRI_WARP_LINEAR);
    };
    timeKernel(state, double(s.size.width) * s.size.height, kBytesPerPixel, call);
}

void benchRemap(benchmark::State& state, LevelInfo level, ImageSize is) {
    if (!selectLevel(state, level)) return;
    Scene s(is);
    const std::size_t n = std::size_t(is.width) * is.height;
    std::vector<Zkr32f> xm(n), ym(n);
    const double ca = std::cos(kAngle), sa = std::sin(kAngle);
    for (int y = 0; y < is.height; ++y)
        for (int x = 0; x < is.width; ++x) {
            xm[std::size_t(y) * is.width + x] = Zkr32f(s.cx() + ca * (x - s.cx()) - sa * (y - s.cy()));
            ym[std::size_t(y) * is.width + x] = Zkr32f(s.cy() + sa * (x - s.cx()) + ca * (y - s.cy()));
        }
    auto call = [&] {
        return zkriRemap_8u_C1R(s.src.data(), s.size, s.size.width, s.rect, xm.data(), is.width * 4, ym.data(),
                                is.width * 4, s.dst.data(), s.size.width, s.size, ZKRI_WARP_LINEAR);
    };
    // The two maps add eight bytes a pixel.
    timeKernel(state, double(s.size.width) * s.size.height, kBytesPerPixel + 8.0, call);
}

[[maybe_unused]] const bool s_registered = (registerPerLevel("Rotate_8u_C1R_linear_10deg", &benchRotate),
                                            registerPerLevel("WarpPerspective_8u_C1R_linear", &benchPerspective),
                                            registerPerLevel("Remap_8u_C1R_linear", &benchRemap), true);

}  // namespace
}  // namespace zkbench
