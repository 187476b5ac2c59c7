// The Border family against a direct reference (every destination pixel looked up in the source by
// clamping, tiling or the constant), driven by its table: every function on every dispatch level,
// every top and left border width up to and past the source size, right and bottom borders of
// their own, wrap borders several times wider than the source, in-place copies inside the
// destination, untouched padding and AC4 alpha, thread splits, and every argument error.
#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "family_support.h"
#include "float_fills.h"
#include "test_support.h"

#define ZKR_TABLE "border/border.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

using uchar = unsigned char;

struct BorderBag : Bag {
    ZkriSize srcRoiSize{0, 0};
    ZkriSize dstRoiSize{0, 0};
    int topBorderHeight = 0;
    int leftBorderWidth = 0;
};

enum class Kind { Replicate, Const, Wrap };

struct BorderCase {
    std::string name;
    Kind kind;
    bool inPlace;
    bool valueArray;
    int compBytes;
    int channels;
    bool alpha;
    ZkrStatus (*call)(const BorderBag&);
    int pixelBytes() const { return compBytes * channels; }
    int writtenBytes() const { return alpha ? 3 * compBytes : pixelBytes(); }
};

template <class T> BorderCase describe(const char* name, const std::string& form, const std::string& layout,
                                       const std::string& kind, ZkrStatus (*call)(const BorderBag&)) {
    BorderCase c;
    c.name = name;
    c.kind = kind == "Replicate" ? Kind::Replicate : (kind == "Const" ? Kind::Const : Kind::Wrap);
    c.inPlace = form == "border_i";
    c.valueArray = form == "border_cn";
    c.compBytes = int(sizeof(T));
    c.channels = layout == "C1" ? 1 : (layout == "C3" ? 3 : 4);
    c.alpha = layout == "AC4";
    c.call = call;
    return c;
}

const std::vector<BorderCase>& familyCases() {
    static const std::vector<BorderCase> cases = [] {
        std::vector<BorderCase> v;
#define ZKR_FN(name, form, T, L, K) \
    v.push_back(describe<T>(#name, #form, #L, #K, [](const BorderBag& b) { return ZKR_CALL(b, name, form, T); }));
#include "border/border.tbl"
#undef ZKR_FN
        return v;
    }();
    return cases;
}

// w x h pixels of `px` bytes in rows `extra` bytes longer, a guard row above and below, random.
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
    uchar* pixel(int x, int y) { return data.data() + std::size_t(y + 1) * stride + std::size_t(x) * px; }
    const uchar* pixel(int x, int y) const { return const_cast<Image*>(this)->pixel(x, y); }
};

int wrapIndex(int i, int n) { return ((i % n) + n) % n; }

// The source pixel destination pixel (x, y) holds, or nullptr for the constant.
const uchar* sourceOf(const BorderCase& c, const Image& src, int sx0, int sy0, int w, int h, int x, int y) {
    int sx = x, sy = y;
    switch (c.kind) {
        case Kind::Replicate:
            sx = std::clamp(x, 0, w - 1);
            sy = std::clamp(y, 0, h - 1);
            break;
        case Kind::Wrap:
            sx = wrapIndex(x, w);
            sy = wrapIndex(y, h);
            break;
        case Kind::Const:
            if (x < 0 || y < 0 || x >= w || y >= h) return nullptr;
            break;
    }
    return src.pixel(sx0 + sx, sy0 + sy);
}

// One copy of a w x h source into a destination with the given borders, checked byte by byte.
void checkBorder(const BorderCase& c, int w, int h, int top, int left, int bottom, int right, std::mt19937& rng) {
    SCOPED_TRACE(std::to_string(w) + "x" + std::to_string(h) + " top " + std::to_string(top) + " left " +
                 std::to_string(left) + " bottom " + std::to_string(bottom) + " right " + std::to_string(right));
    const int px = c.pixelBytes(), dw = w + left + right, dh = h + top + bottom;
    Image dst(dw, dh, px, c.compBytes * int(rng() % 3), rng);
    const Image before = dst;
    // The source: its own image, or the destination's interior (in place).
    Image own(w, h, px, c.compBytes * int(rng() % 3), rng);
    const Image& src = c.inPlace ? before : own;
    const int sx0 = c.inPlace ? left : 0, sy0 = c.inPlace ? top : 0;
    // A border value with a different byte in every component.
    uchar value[16];
    for (int i = 0; i < 16; ++i) value[i] = uchar(rng());
    BorderBag b;
    b.srcRoiSize = {w, h};
    b.dstRoiSize = {dw, dh};
    b.topBorderHeight = top;
    b.leftBorderWidth = left;
    b.value = value;
    if (c.inPlace) {
        b.pSrcDst = dst.pixel(left, top);
        b.srcDstStep = dst.stride;
    } else {
        b.pSrc = own.pixel(0, 0);
        b.srcStep = own.stride;
        b.pDst = dst.pixel(0, 0);
        b.dstStep = dst.stride;
    }
    const std::vector<uchar> ownBefore = own.data;
    // Moves only: not one floating-point flag, whatever bits the images hold.
    const unsigned raised = floats::flagsOf([&] { ASSERT_EQ(c.call(b), zkrStsNoErr); });
    EXPECT_EQ(raised, 0u) << "raised " << floats::flagNames(raised);
    for (std::size_t i = 0; i < dst.data.size(); ++i) {
        const long row = long(i / dst.stride) - 1, col = long(i % dst.stride);
        uchar want = before.data[i];
        const int x = int(col / px), byte = int(col % px);
        if (row >= 0 && row < dh && col < long(dw) * px && byte < c.writtenBytes()) {
            const uchar* s = sourceOf(c, src, sx0, sy0, w, h, x - left, int(row) - top);
            want = s ? s[byte] : value[byte];
        }
        ASSERT_EQ(dst.data[i], want) << "destination (" << x << ", " << row << ") byte " << byte;
    }
    if (!c.inPlace) {
        EXPECT_EQ(own.data, ownBefore) << "the source changed";
    }
}

class BorderFamily : public LibraryStateTest {};

TEST_F(BorderFamily, EveryBorderWidthUpToTheSourceSize) {
    std::mt19937 rng(21);
    forEachLevel([&](const Level&) {
        forEachCase(familyCases(), [](const BorderCase&) { return true; }, [&](const BorderCase& c) {
            // A 5 x 3 source with every top and left width from none to one past its size; the right
            // and bottom borders differ from them.
            const int w = 5, h = 3;
            for (int top = 0; top <= h + 1; ++top)
                for (int left = 0; left <= w + 1; ++left) checkBorder(c, w, h, top, left, (top + left) % 3, left % 2, rng);
            // One pixel; a source wider than a vector register; borders of one side only.
            checkBorder(c, 1, 1, 2, 3, 1, 4, rng);
            checkBorder(c, 37, 4, 0, 0, 0, 0, rng);
            checkBorder(c, 37, 4, 1, 19, 2, 40, rng);
            checkBorder(c, 9, 6, 6, 0, 0, 9, rng);
        });
    });
}

TEST_F(BorderFamily, WrapBordersWiderThanTheSource) {
    std::mt19937 rng(22);
    forEachLevel([&](const Level&) {
        forEachCase(familyCases(), [](const BorderCase& c) { return c.kind == Kind::Wrap; }, [&](const BorderCase& c) {
            checkBorder(c, 3, 2, 7, 10, 5, 8, rng);
            checkBorder(c, 1, 1, 4, 4, 4, 4, rng);
            checkBorder(c, 4, 3, 3, 4, 3, 4, rng);  // exactly one source size on every side
            checkBorder(c, 2, 5, 11, 0, 0, 13, rng);
        });
    });
}

TEST_F(BorderFamily, ThreadSplitsGiveTheSameResult) {
    ASSERT_GE(zkrSetNumThreads(2), zkrStsNoErr);
    // 250 x 250 destination pixels, above the 64 K pixels the library starts splitting at.
    std::mt19937 rng(23);
    forEachCase(familyCases(), [](const BorderCase&) { return true; },
                [&](const BorderCase& c) { checkBorder(c, 230, 236, 9, 11, 5, 9, rng); });
}

TEST_F(BorderFamily, ArgumentErrors) {
    forEachCase(familyCases(), [](const BorderCase&) { return true; }, [&](const BorderCase& c) {
        const int px = c.pixelBytes();
        std::vector<uchar> s(16 * 16 * 16), d(16 * 16 * 16);
        const uchar value[16] = {};
        BorderBag ok;
        ok.pSrc = s.data();
        ok.srcStep = 4 * px;
        ok.pDst = d.data();
        ok.dstStep = ok.srcDstStep = 8 * px;
        ok.pSrcDst = d.data() + 2 * ok.dstStep + 2 * px;
        ok.srcRoiSize = {4, 4};
        ok.dstRoiSize = {8, 8};
        ok.topBorderHeight = ok.leftBorderWidth = 2;
        ok.value = value;
        ASSERT_EQ(c.call(ok), zkrStsNoErr);
        auto with = [&](auto change) {
            BorderBag b = ok;
            change(b);
            return c.call(b);
        };
        EXPECT_EQ(with([](BorderBag& b) { b.pSrc = b.pSrcDst = nullptr; b.srcRoiSize = {0, 0}; }), zkrStsNullPtrErr);
        if (!c.inPlace) {
            EXPECT_EQ(with([](BorderBag& b) { b.pDst = nullptr; }), zkrStsNullPtrErr);
        }
        if (c.valueArray) {
            EXPECT_EQ(with([](BorderBag& b) { b.value = nullptr; }), zkrStsNullPtrErr);
        }
        EXPECT_EQ(with([](BorderBag& b) { b.srcRoiSize = {0, 4}; b.srcStep = b.dstStep = b.srcDstStep = 0; }),
                  zkrStsSizeErr);
        EXPECT_EQ(with([](BorderBag& b) { b.dstRoiSize = {8, 0}; }), zkrStsSizeErr);
        EXPECT_EQ(with([](BorderBag& b) { b.topBorderHeight = -1; }), zkrStsSizeErr);
        EXPECT_EQ(with([](BorderBag& b) { b.leftBorderWidth = -1; }), zkrStsSizeErr);
        // The destination must hold the source after the top and left borders (right/bottom may be 0).
        EXPECT_EQ(with([](BorderBag& b) { b.leftBorderWidth = 5; }), zkrStsSizeErr);
        EXPECT_EQ(with([](BorderBag& b) { b.topBorderHeight = 5; }), zkrStsSizeErr);
        EXPECT_EQ(with([&](BorderBag& b) {
                      b.topBorderHeight = b.leftBorderWidth = 4;
                      b.pSrcDst = d.data() + 4 * b.srcDstStep + 4 * px;  // in place: the interior moves too
                  }),
                  zkrStsNoErr);
        EXPECT_EQ(with([&](BorderBag& b) { b.dstStep = b.srcDstStep = 8 * px - c.compBytes; }), zkrStsStepErr);
        if (!c.inPlace) {
            EXPECT_EQ(with([&](BorderBag& b) { b.srcStep = 4 * px - c.compBytes; }), zkrStsStepErr);
        }
        if (c.compBytes > 1) {
            EXPECT_EQ(with([&](BorderBag& b) { b.dstStep = b.srcDstStep = 8 * px + 1; }), zkrStsStepErr);
        }
    });
}

}  // namespace
}  // namespace zkrtest
