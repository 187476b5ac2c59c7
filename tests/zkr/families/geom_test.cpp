// The geometric family (Transpose, Mirror, ImageRamp) against direct references, driven by its
// tables: every function on every dispatch level, over sizes that leave partial register blocks
// and partial cache tiles on both axes, ROIs inside padded buffers (writes outside the ROI and to
// AC4 alpha show), every flip axis not in place and in place, ramps along every axis with rounding
// ties and saturation, thread splits, and every argument error.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "family_support.h"
#include "float_fills.h"
#include "test_support.h"

#define ZKR_TABLE "geom/transp.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "geom/mirror.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

using uchar = unsigned char;

struct GeomBag : Bag {
    int flip = zkriAxsHorizontal;
    float offset = 0.0f;
    float slope = 0.0f;
    int axis = zkriAxsHorizontal;
};

enum class Op { Transpose, Mirror, Ramp };

struct GeomCase {
    std::string name;
    Op op;
    bool inPlace;
    int compBytes;
    int channels;
    bool alpha;
    CompType comp;
    ZkrStatus (*call)(const GeomBag&);
    int pixelBytes() const { return compBytes * channels; }
};

template <class T> GeomCase describe(const char* name, Op op, bool inPlace, const std::string& layout,
                                     ZkrStatus (*call)(const GeomBag&)) {
    GeomCase c{name, op, inPlace, int(sizeof(T)), 1, false, compTypeOf<T>(), call};
    c.channels = layout == "C1" ? 1 : (layout == "C3" ? 3 : 4);
    c.alpha = layout == "AC4";
    return c;
}

// 8s is not among the shared component types: its rows count as 8u and are told apart by the name.
template <> GeomCase describe<Zkr8s>(const char* name, Op op, bool inPlace, const std::string& layout,
                                     ZkrStatus (*call)(const GeomBag&)) {
    return describe<Zkr8u>(name, op, inPlace, layout, call);
}

const std::vector<GeomCase>& familyCases() {
    static const std::vector<GeomCase> cases = [] {
        std::vector<GeomCase> v;
#define ZKR_FN(name, form, T, L)                                                                       \
    v.push_back(describe<T>(#name, Op::Transpose, std::string(#form) == "unary_i", #L,                \
                            [](const GeomBag& b) { return ZKR_CALL(b, name, form, T); }));
#include "geom/transp.tbl"
#undef ZKR_FN
#define ZKR_FN(name, form, T, L)                                                                       \
    v.push_back(describe<T>(#name, std::string(#form) == "ramp" ? Op::Ramp : Op::Mirror,              \
                            std::string(#form) == "mirror_i", #L,                                     \
                            [](const GeomBag& b) { return ZKR_CALL(b, name, form, T); }));
#include "geom/mirror.tbl"
#undef ZKR_FN
        return v;
    }();
    return cases;
}

bool isSigned8(const GeomCase& c) { return c.name.find("_8s_") != std::string::npos; }

// ---- padded byte images -------------------------------------------------------------------------

// w x h pixels of `px` bytes, rows `extra` bytes longer than the pixels, one guard row above and
// below; everything starts random, so any write outside the ROI or to alpha bytes shows.
struct Image {
    int w = 0, h = 0, px = 0, stride = 0;
    std::vector<uchar> data;
    Image(int width, int height, int pixelBytes, int extra, std::mt19937& rng)
        : w(width), h(height), px(pixelBytes), stride(width * pixelBytes + extra),
          data(std::size_t(stride) * (height + 2)) {
        for (uchar& b : data) b = uchar(rng());
        // Half the images carry the hostile float fills' bit patterns instead (for 32-bit
        // components NaN of both signs and with a payload, infinities, zeros of both signs,
        // denormals): copies move them untouched, with no floating-point operation.
        if (data.size() % 4 == 0 && (rng() & 1)) {
            std::vector<float> hostile(data.size() / 4);
            floats::fillHostile(hostile, rng);
            std::memcpy(data.data(), hostile.data(), hostile.size() * 4);
        }
    }
    uchar* roi() { return data.data() + stride; }
    uchar* pixel(int x, int y) { return roi() + std::size_t(y) * stride + std::size_t(x) * px; }
    const uchar* pixel(int x, int y) const { return const_cast<Image*>(this)->pixel(x, y); }
};

// The bytes of pixel (x, y) of `got` that the function writes: every byte, or the first three
// components of an AC4 pixel.
int writtenBytes(const GeomCase& c) { return c.alpha ? 3 * c.compBytes : c.pixelBytes(); }

// Compares `got` with `want` pixel by pixel where `want` is the expected ROI content (the other
// bytes of `got` must equal `before`).
::testing::AssertionResult sameImage(const GeomCase& c, const Image& got, const Image& before,
                                     const std::vector<uchar>& want) {
    const int wb = writtenBytes(c);
    for (std::size_t i = 0; i < got.data.size(); ++i) {
        const long row = long(i / got.stride) - 1;
        const long col = long(i % got.stride);
        const bool inRoi = row >= 0 && row < got.h && col < long(got.w) * got.px;
        const bool written = inRoi && col % got.px < wb;
        const uchar expect = written ? want[std::size_t(row) * got.w * got.px + col] : before.data[i];
        if (got.data[i] != expect)
            return ::testing::AssertionFailure()
                   << (written ? "pixel (" : "untouched byte at (") << col / got.px << ", " << row << ") byte "
                   << col % got.px << ": " << int(got.data[i]) << " instead of " << int(expect) << " in a "
                   << got.w << "x" << got.h << " ROI";
    }
    return ::testing::AssertionSuccess();
}

// ---- transpose and mirror ---------------------------------------------------------------------

// The pixels the destination should hold: destination (x, y) takes source pixel from(x, y).
template <class From> std::vector<uchar> moved(const Image& src, int dw, int dh, From from) {
    std::vector<uchar> out(std::size_t(dw) * dh * src.px);
    for (int y = 0; y < dh; ++y)
        for (int x = 0; x < dw; ++x) {
            const auto [sx, sy] = from(x, y);
            std::memcpy(&out[(std::size_t(y) * dw + x) * src.px], src.pixel(sx, sy), src.px);
        }
    return out;
}

// Runs a call that must succeed and raise no floating-point flag (the images may hold any float bits:
// the kernels only move them).
void expectNoFlags(const GeomCase& c, const GeomBag& b) {
    const unsigned raised = floats::flagsOf([&] { ASSERT_EQ(c.call(b), zkrStsNoErr); });
    EXPECT_EQ(raised, 0u) << "raised " << floats::flagNames(raised);
}

void checkTranspose(const GeomCase& c, int w, int h, std::mt19937& rng) {
    SCOPED_TRACE(std::to_string(w) + "x" + std::to_string(h));
    const int px = c.pixelBytes();
    const int extra = c.compBytes * int(rng() % 4);
    GeomBag b;
    b.roiSize = {w, h};
    if (c.inPlace) {
        Image img(w, w, px, extra, rng);
        const Image before = img;
        b.pSrcDst = img.roi();
        b.srcDstStep = img.stride;
        expectNoFlags(c, b);
        EXPECT_TRUE(sameImage(c, img, before, moved(before, w, w, [](int x, int y) { return std::pair{y, x}; })));
        return;
    }
    Image src(w, h, px, extra, rng), dst(h, w, px, c.compBytes * int(rng() % 4), rng);
    const Image srcBefore = src, dstBefore = dst;
    b.pSrc = src.roi();
    b.srcStep = src.stride;
    b.pDst = dst.roi();
    b.dstStep = dst.stride;
    expectNoFlags(c, b);
    EXPECT_TRUE(sameImage(c, dst, dstBefore, moved(src, h, w, [](int x, int y) { return std::pair{y, x}; })));
    EXPECT_EQ(src.data, srcBefore.data) << "the source changed";
}

void checkMirror(const GeomCase& c, int w, int h, int flip, std::mt19937& rng) {
    SCOPED_TRACE(std::to_string(w) + "x" + std::to_string(h) + " flip " + std::to_string(flip));
    const int px = c.pixelBytes();
    const bool rows = flip != zkriAxsVertical, cols = flip != zkriAxsHorizontal;
    const auto from = [&](int x, int y) { return std::pair{cols ? w - 1 - x : x, rows ? h - 1 - y : y}; };
    GeomBag b;
    b.roiSize = {w, h};
    b.flip = flip;
    Image dst(w, h, px, c.compBytes * int(rng() % 4), rng);
    const Image dstBefore = dst;
    if (c.inPlace) {
        b.pSrcDst = dst.roi();
        b.srcDstStep = dst.stride;
        expectNoFlags(c, b);
        EXPECT_TRUE(sameImage(c, dst, dstBefore, moved(dstBefore, w, h, from)));
        return;
    }
    Image src(w, h, px, c.compBytes * int(rng() % 4), rng);
    b.pSrc = src.roi();
    b.srcStep = src.stride;
    b.pDst = dst.roi();
    b.dstStep = dst.stride;
    expectNoFlags(c, b);
    EXPECT_TRUE(sameImage(c, dst, dstBefore, moved(src, w, h, from)));
}

// Sizes around the 16-byte register blocks and the 32- and 64-pixel tiles, thin and square.
const std::vector<std::pair<int, int>> kSizes = {{1, 1},   {1, 9},   {9, 1},   {3, 2},   {15, 17}, {16, 16},
                                                 {17, 16}, {16, 33}, {31, 8},  {33, 65}, {64, 64}, {65, 63},
                                                 {97, 130}};
const std::vector<int> kSquares = {1, 2, 7, 8, 15, 16, 17, 31, 32, 33, 63, 64, 65, 130};

class GeomFamily : public LibraryStateTest {};

TEST_F(GeomFamily, TransposeMovesEveryPixelAcrossTheDiagonal) {
    std::mt19937 rng(11);
    forEachLevel([&](const Level&) {
        forEachCase(familyCases(), [](const GeomCase& c) { return c.op == Op::Transpose && !c.inPlace; },
                    [&](const GeomCase& c) {
                        for (const auto& [w, h] : kSizes) checkTranspose(c, w, h, rng);
                    });
    });
}

TEST_F(GeomFamily, TransposeInPlaceSwapsBlocksOfEverySquare) {
    std::mt19937 rng(12);
    forEachLevel([&](const Level&) {
        forEachCase(familyCases(), [](const GeomCase& c) { return c.op == Op::Transpose && c.inPlace; },
                    [&](const GeomCase& c) {
                        for (int n : kSquares) checkTranspose(c, n, n, rng);
                    });
    });
}

TEST_F(GeomFamily, MirrorFlipsAboutEveryAxis) {
    std::mt19937 rng(13);
    forEachLevel([&](const Level&) {
        forEachCase(familyCases(), [](const GeomCase& c) { return c.op == Op::Mirror && !c.inPlace; },
                    [&](const GeomCase& c) {
                        for (int flip : {zkriAxsHorizontal, zkriAxsVertical, zkriAxsBoth})
                            for (const auto& [w, h] : kSizes) checkMirror(c, w, h, flip, rng);
                    });
    });
}

TEST_F(GeomFamily, MirrorInPlaceKeepsTheMiddleRowAndColumn) {
    std::mt19937 rng(14);
    forEachLevel([&](const Level&) {
        forEachCase(familyCases(), [](const GeomCase& c) { return c.op == Op::Mirror && c.inPlace; },
                    [&](const GeomCase& c) {
                        for (int flip : {zkriAxsHorizontal, zkriAxsVertical, zkriAxsBoth})
                            for (const auto& [w, h] : kSizes) checkMirror(c, w, h, flip, rng);
                    });
    });
}

// ---- ramp -----------------------------------------------------------------------------------

// The element a ramp value becomes: floats converted, integers rounded half to even and saturated.
double expectedElement(const GeomCase& c, double v) {
    if (c.comp == CompType::F32) return double(float(v));
    double lo = 0, hi = 0;
    switch (c.comp) {
        case CompType::U8: lo = isSigned8(c) ? -128 : 0, hi = isSigned8(c) ? 127 : 255; break;
        case CompType::U16: hi = 65535; break;
        case CompType::S16: lo = -32768, hi = 32767; break;
        default: lo = -2147483648.0, hi = 2147483647.0; break;
    }
    return std::clamp(std::nearbyint(v), lo, hi);
}

double readElement(const GeomCase& c, const uchar* p) {
    switch (c.comp) {
        case CompType::U8: return isSigned8(c) ? double(Zkr8s(*p)) : double(*p);
        case CompType::U16: { Zkr16u v; std::memcpy(&v, p, 2); return v; }
        case CompType::S16: { Zkr16s v; std::memcpy(&v, p, 2); return v; }
        case CompType::S32: { Zkr32s v; std::memcpy(&v, p, 4); return v; }
        default: { Zkr32f v; std::memcpy(&v, p, 4); return v; }
    }
}

void checkRamp(const GeomCase& c, int w, int h, float offset, float slope, int axis, std::mt19937& rng) {
    SCOPED_TRACE(std::to_string(w) + "x" + std::to_string(h) + " offset " + std::to_string(offset) + " slope " +
                 std::to_string(slope) + " axis " + std::to_string(axis));
    Image dst(w, h, c.pixelBytes(), c.compBytes * int(rng() % 4), rng);
    const Image before = dst;
    GeomBag b;
    b.pDst = dst.roi();
    b.dstStep = dst.stride;
    b.roiSize = {w, h};
    b.offset = offset;
    b.slope = slope;
    b.axis = axis;
    ASSERT_EQ(c.call(b), zkrStsNoErr);
    // Written components against the reference; untouched bytes as they were.
    std::vector<uchar> want(std::size_t(w) * h * c.pixelBytes());
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const double t = axis == zkriAxsHorizontal ? x : (axis == zkriAxsVertical ? y : double(x) * y);
            const double e = expectedElement(c, double(offset) + double(slope) * t);
            for (int ch = 0; ch < (c.alpha ? 3 : c.channels); ++ch) {
                const uchar* p = dst.pixel(x, y) + ch * c.compBytes;
                ASSERT_EQ(readElement(c, p), e) << "pixel (" << x << ", " << y << ") channel " << ch;
                std::memcpy(&want[(std::size_t(y) * w + x) * c.pixelBytes() + ch * c.compBytes], p, c.compBytes);
            }
        }
    EXPECT_TRUE(sameImage(c, dst, before, want));
}

TEST_F(GeomFamily, RampAlongEveryAxisRoundsAndSaturates) {
    // (offset, slope): exact ramps; halves on every step (ties to even); steep ramps through both
    // saturation limits of every type; a constant tie.
    const std::pair<float, float> ramps[] = {{0.0f, 1.0f},     {0.5f, 0.5f},       {-2.5f, 1.0f}, {100.25f, -0.75f},
                                             {-1.0e6f, 1.0e5f}, {3.0e9f, -2.0e8f}, {2.5f, 0.0f}};
    std::mt19937 rng(15);
    forEachLevel([&](const Level&) {
        forEachCase(familyCases(), [](const GeomCase& c) { return c.op == Op::Ramp; }, [&](const GeomCase& c) {
            for (const auto& [offset, slope] : ramps)
                for (int axis : {zkriAxsHorizontal, zkriAxsVertical, zkriAxsBoth})
                    for (const auto& [w, h] : {std::pair{1, 1}, std::pair{37, 5}, std::pair{8, 40}})
                        checkRamp(c, w, h, offset, slope, axis, rng);
        });
    });
}

TEST_F(GeomFamily, RampTiesGoToEven) {
    for (const GeomCase& c : familyCases()) {
        if (c.name != "zkriImageRamp_8u_C1R") continue;
        Zkr8u row[6] = {};
        GeomBag b;
        b.pDst = row;
        b.dstStep = 6;
        b.roiSize = {6, 1};
        b.offset = 0.5f;
        b.slope = 1.0f;
        b.axis = zkriAxsHorizontal;
        ASSERT_EQ(c.call(b), zkrStsNoErr);
        // 0.5, 1.5, ..., 5.5
        const Zkr8u want[6] = {0, 2, 2, 4, 4, 6};
        for (int i = 0; i < 6; ++i) EXPECT_EQ(row[i], want[i]) << i;
        return;
    }
    FAIL() << "zkriImageRamp_8u_C1R is not in the table";
}

// ---- threads and arguments -------------------------------------------------------------------

TEST_F(GeomFamily, ThreadSplitsGiveTheSameResult) {
    ASSERT_GE(zkrSetNumThreads(2), zkrStsNoErr);
    const int n = 300;
    static_assert(300L * 260 > kSplitPixels, "the images must be split");
    std::mt19937 rng(16);
    forEachCase(familyCases(), [](const GeomCase&) { return true; }, [&](const GeomCase& c) {
        switch (c.op) {
            case Op::Transpose: checkTranspose(c, n, c.inPlace ? n : n - 40, rng); break;
            case Op::Mirror:
                checkMirror(c, n, n - 39, zkriAxsBoth, rng);
                break;
            case Op::Ramp: checkRamp(c, n, n - 40, -7.5f, 0.25f, zkriAxsBoth, rng); break;
        }
    });
}

// Every function refuses bad arguments in the order pointers, size, steps, operation arguments.
TEST_F(GeomFamily, ArgumentErrors) {
    forEachCase(familyCases(), [](const GeomCase&) { return true; }, [&](const GeomCase& c) {
        const int px = c.pixelBytes();
        std::vector<uchar> a(64 * 64 * 16), d(64 * 64 * 16);
        GeomBag ok;
        ok.pSrc = a.data();
        ok.pDst = d.data();
        ok.pSrcDst = d.data();
        ok.srcStep = ok.dstStep = ok.srcDstStep = 8 * px;
        ok.roiSize = {8, 8};
        ok.flip = zkriAxsBoth;
        ok.axis = zkriAxsBoth;
        ok.slope = 1.0f;
        ASSERT_EQ(c.call(ok), zkrStsNoErr);
        auto with = [&](auto change) {
            GeomBag b = ok;
            change(b);
            return c.call(b);
        };
        // Pointers first: a NULL pointer with a bad size is still a pointer error.
        if (c.op == Op::Ramp || c.inPlace) {
            EXPECT_EQ(with([](GeomBag& b) { b.pDst = b.pSrcDst = nullptr; b.roiSize = {0, 0}; }), zkrStsNullPtrErr);
        } else {
            EXPECT_EQ(with([](GeomBag& b) { b.pSrc = nullptr; b.roiSize = {0, 0}; }), zkrStsNullPtrErr);
            EXPECT_EQ(with([](GeomBag& b) { b.pDst = nullptr; }), zkrStsNullPtrErr);
        }
        EXPECT_EQ(with([](GeomBag& b) { b.roiSize = {0, 8}; b.srcStep = b.dstStep = b.srcDstStep = 0; }), zkrStsSizeErr);
        EXPECT_EQ(with([](GeomBag& b) { b.roiSize = {8, -1}; }), zkrStsSizeErr);
        EXPECT_EQ(with([&](GeomBag& b) { b.srcStep = b.dstStep = b.srcDstStep = 8 * px - 1; b.flip = 3; }),
                  zkrStsStepErr);
        EXPECT_EQ(with([](GeomBag& b) { b.srcStep = b.dstStep = b.srcDstStep = 0; }), zkrStsStepErr);
        if (c.compBytes > 1) {
            EXPECT_EQ(with([&](GeomBag& b) { b.srcStep = b.dstStep = b.srcDstStep = 8 * px + 1; }), zkrStsStepErr);
        }
        switch (c.op) {
            case Op::Transpose:
                // The destination's rows are the source's height long.
                if (c.inPlace) {
                    EXPECT_EQ(with([](GeomBag& b) { b.roiSize = {8, 7}; }), zkrStsSizeErr);
                } else {
                    EXPECT_EQ(with([&](GeomBag& b) { b.roiSize = {4, 9}; b.srcStep = 4 * px; }), zkrStsStepErr);
                    EXPECT_EQ(with([&](GeomBag& b) { b.roiSize = {4, 9}; b.srcStep = 4 * px; b.dstStep = 9 * px; }),
                              zkrStsNoErr);
                }
                break;
            case Op::Mirror: EXPECT_EQ(with([](GeomBag& b) { b.flip = 3; }), zkrStsBadArgErr); break;
            case Op::Ramp:
                EXPECT_EQ(with([](GeomBag& b) { b.axis = 3; }), zkrStsBadArgErr);
                EXPECT_EQ(with([](GeomBag& b) { b.offset = std::numeric_limits<float>::quiet_NaN(); }), zkrStsBadArgErr);
                EXPECT_EQ(with([](GeomBag& b) { b.slope = std::numeric_limits<float>::infinity(); }), zkrStsBadArgErr);
                break;
        }
    });
}

}  // namespace
}  // namespace zkrtest
