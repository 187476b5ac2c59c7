// Helpers shared by the ZKR unit tests: the dispatch levels of this machine,
// padded images, random data with extremes, and the reference arithmetic.
#pragma once

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "cpu_features.h"
#include "zkrcore.h"

namespace zkrtest {

// ---- thread splits --------------------------------------------------------------

// The smallest image the library splits over its threads (zkr::kMinParallelPixels, set by the build),
// and an image just above it, 61 rows high, so that three threads get bands of unequal height.
inline constexpr long kSplitPixels = ZKR_MIN_PARALLEL_PIXELS;
inline constexpr ZkriSize kSplitSize = {int(kSplitPixels / 61 + 3), 61};
static_assert(long(kSplitSize.width) * kSplitSize.height > kSplitPixels);

// ---- dispatch levels ----------------------------------------------------------

struct Level {
    ZkrCpuType type;  // a processor type that selects the level
    int level;
    const char* name;
};

// Levels this machine can run, lowest first.
inline std::vector<Level> machineLevels() {
    static const Level all[] = {{zkrCpuX64, zkrLevelBase, "x64"},
                                {zkrCpuAVX2, zkrLevelAVX2, "avx2"},
                                {zkrCpuAVX512BW, zkrLevelAVX512, "avx512"}};
    const zkr::cpu::Features f = zkr::cpu::readProcessor();
    std::vector<Level> levels;
    for (const Level& l : all)
        if (zkr::cpu::supportsType(l.type, f)) levels.push_back(l);
    return levels;
}

// Runs body() once per level of this machine with that level in force.
template <class Body> void forEachLevel(Body body) {
    for (const Level& l : machineLevels()) {
        SCOPED_TRACE(std::string("level ") + l.name);
        ASSERT_EQ(zkrInitCpu(l.type), zkrStsNoErr);
        ASSERT_EQ(zkrGetDispatchLevel(), l.level);
        body(l);
    }
    zkrInit();
}

// Restores the library defaults (best level, one thread) around each test.
class LibraryStateTest : public ::testing::Test {
protected:
    void SetUp() override { reset(); }
    void TearDown() override { reset(); }
    static void reset() {
        zkrInit();
        zkrSetNumThreads(1);
    }
};

// ---- element types as components ------------------------------------------------

template <class T> struct Comp { using S = T; static constexpr int n = 1; };
template <> struct Comp<Zkr16sc> { using S = Zkr16s; static constexpr int n = 2; };
template <> struct Comp<Zkr32sc> { using S = Zkr32s; static constexpr int n = 2; };
template <> struct Comp<Zkr32fc> { using S = Zkr32f; static constexpr int n = 2; };

// ---- reference arithmetic -----------------------------------------------------------

// x * 2^-sf rounded to nearest with ties to even (the default floating-point
// rounding mode), saturated to S. A double holds every x used (|x| <= 2^33) exactly.
template <class S> S refScale(std::int64_t x, int sf) {
    const int exponent = sf == INT_MIN ? INT_MAX : -sf;
    const double v = std::nearbyint(std::ldexp(static_cast<double>(x), exponent));
    const double lo = std::numeric_limits<S>::min(), hi = std::numeric_limits<S>::max();
    return v < lo ? S(lo) : (v > hi ? S(hi) : S(v));
}

// a + b or a - b of components, scaled (integers) or in float.
template <class S> S refCombine(S a, S b, bool add, int sf) {
    if constexpr (std::is_floating_point_v<S>) {
        return add ? S(a + b) : S(a - b);
    } else {
        const std::int64_t x = add ? std::int64_t(a) + b : std::int64_t(a) - b;
        return refScale<S>(x, sf);
    }
}

template <class S> bool sameBits(S a, S b) { return std::memcmp(&a, &b, sizeof(S)) == 0; }

// ---- random data ---------------------------------------------------------------------

// Uniform values with a third of them drawn from the range edges.
template <class S> S randomComponent(std::mt19937& rng) {
    std::uniform_int_distribution<int> pick(0, 8);
    const int k = pick(rng);
    if constexpr (std::is_floating_point_v<S>) {
        static const S specials[] = {0.0f, -0.0f, 1.0f, -1.5f, 3.0e38f, -3.0e38f};
        if (k < 3) return specials[std::uniform_int_distribution<int>(0, 5)(rng)];
        return std::uniform_real_distribution<S>(-1000.0f, 1000.0f)(rng);
    } else {
        using L = std::numeric_limits<S>;
        static const S specials[] = {L::min(), L::max(), S(0), S(1), S(L::max() - 1), S(L::min() + 1),
                                     S(L::is_signed ? -1 : 2)};
        if (k < 3) return specials[std::uniform_int_distribution<int>(0, 6)(rng)];
        return S(std::uniform_int_distribution<std::int64_t>(L::min(), L::max())(rng));
    }
}

template <class S> void fillRandom(std::vector<S>& v, std::mt19937& rng) {
    for (S& x : v) x = randomComponent<S>(rng);
}

// ---- padded images -----------------------------------------------------------------

// Where a ROI sits inside its buffer (pixels, rows, extra components per row).
struct Padding {
    int left = 0, right = 0, top = 0, bottom = 0, extra = 0;
};

// A ROI of width x height pixels of `perPixel` components inside a larger
// buffer filled with random data, so writes outside the ROI are detectable.
template <class S> struct Plane {
    int width = 0, height = 0, perPixel = 0;
    Padding pad;
    int stride = 0;  // components per buffer row
    std::vector<S> data;

    Plane(int w, int h, int perPx, Padding p, std::mt19937& rng)
        : width(w), height(h), perPixel(perPx), pad(p), stride((p.left + w + p.right) * perPx + p.extra),
          data(std::size_t(stride) * (p.top + h + p.bottom)) {
        fillRandom(data, rng);
    }
    int rowComps() const { return width * perPixel; }
    int stepBytes() const { return stride * int(sizeof(S)); }
    S* roi() { return data.data() + std::size_t(pad.top) * stride + std::size_t(pad.left) * perPixel; }
    const S* roi() const { return const_cast<Plane*>(this)->roi(); }
    S at(int y, int i) const { return roi()[std::size_t(y) * stride + i]; }
    bool insideRoi(std::size_t index) const {
        const int y = int(index / stride) - pad.top;
        const int i = int(index % stride) - pad.left * perPixel;
        return y >= 0 && y < height && i >= 0 && i < rowComps();
    }
};

// Padding drawn at random (0..3 pixels left, 0..5 right, 0..2 rows, 0..3 components).
inline Padding randomPadding(std::mt19937& rng) {
    auto r = [&](int hi) { return std::uniform_int_distribution<int>(0, hi)(rng); };
    return Padding{r(3), r(5), r(2), r(2), r(3)};
}

}  // namespace zkrtest
