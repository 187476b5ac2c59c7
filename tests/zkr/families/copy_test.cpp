// The Copy family against a direct reference, driven by its three tables: every function on every
// dispatch level, ROIs inside padded buffers of random bytes (so a write outside the ROI, to an
// unmasked pixel, to an alpha channel or to another channel than the one of interest shows), ROI
// widths around the vector lengths, random masks, channels and channel orders, the packed
// spectra against a direct Fourier transform and the layout written out position by position,
// the median against a sorted window, thread splits, and every argument error.
#include <algorithm>
#include <climits>
#include <cmath>
#include <complex>
#include <cstring>
#include <map>
#include <random>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "family_support.h"
#include "float_fills.h"
#include "test_support.h"

#define ZKR_TABLE "copy/TimiCopy.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "copy/TimiCopyP.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "copy/TimiCopyManaged.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

struct CopyBag : Bag {
    const void* pMask = nullptr;
    int maskStep = 0;
    const int* dstOrder = nullptr;
    const void* val = nullptr;
    int flags = 0;
    ZkriSize dstRoiSize{0, 0};
    ZkriSize maskSize{0, 0};
    ZkriPoint anchor{0, 0};
};

enum class Op { Copy, CopyM, CopyCoi, Extract, Insert, Merge, Split, Planar, Set, SetM, SetCoi, Swap, SwapI, SwapVal,
                Dup, Unpack, Pack, Managed, Median };
enum class Lay { C1, C3, C4, AC4, P3, P4 };

int periodOf(Lay l) { return l == Lay::C3 ? 3 : (l == Lay::C4 || l == Lay::AC4) ? 4 : 1; }
int activeOf(Lay l) { return l == Lay::C1 ? 1 : (l == Lay::C4 || l == Lay::P4) ? 4 : 3; }
int planesOf(Lay l) { return l == Lay::P3 ? 3 : l == Lay::P4 ? 4 : 1; }
bool planar(Lay l) { return l == Lay::P3 || l == Lay::P4; }

struct FamilyCase {
    std::string name, form;
    Op op;
    Lay src, dst;
    int srcBytes, dstBytes;  // element sizes
    bool isFloat;
    ZkrStatus (*call)(const CopyBag&);

    bool hasSource() const { return op != Op::Set && op != Op::SetM && op != Op::SetCoi && op != Op::SwapI; }
    bool masked() const { return op == Op::CopyM || op == Op::SetM; }
    bool valueByPointer() const { return form == "setN" || form == "setN_m"; }
    bool ordered() const { return op == Op::Swap || op == Op::SwapI || op == Op::SwapVal; }
    bool isSet() const { return op == Op::Set || op == Op::SetM || op == Op::SetCoi; }
    bool oneChannel() const { return op == Op::CopyCoi || op == Op::Extract || op == Op::Insert || op == Op::SetCoi; }
};

template <class T, class T2>
FamilyCase describe(const char* name, const char* form, Op op, Lay s, Lay d, ZkrStatus (*call)(const CopyBag&)) {
    constexpr bool isFloat = std::is_same_v<T, Zkr32f> || std::is_same_v<T2, Zkr32f>;
    return FamilyCase{name, form, op, s, d, int(sizeof(T)), int(sizeof(T2)), isFloat, call};
}

std::vector<FamilyCase> expandTables() {
    std::vector<FamilyCase> cases;
#define ZKR_FN(name, form, T, T2, op, S, D)                                                                    \
    cases.push_back(describe<T, T2>(#name, #form, Op::op, Lay::S, Lay::D, [](const CopyBag& b) -> ZkrStatus { \
        return ZKR_CALL(b, name, form, T, T2);                                                                 \
    }));
#include "copy/TimiCopy.tbl"
#include "copy/TimiCopyManaged.tbl"
#include "copy/TimiCopyP.tbl"
#undef ZKR_FN
    return cases;
}

const std::vector<FamilyCase>& familyCases() {
    static const std::vector<FamilyCase> cases = expandTables();
    return cases;
}

// ---- images of raw elements ----------------------------------------------------------------

// A ROI of width x height pixels of `period` elements of `es` bytes, in one buffer or in
// `planes` buffers sharing one step, inside random padding.
struct Img {
    int width = 0, height = 0, period = 1, es = 1, planes = 1;
    Padding pad;
    int step = 0;  // bytes
    std::vector<std::vector<unsigned char>> data;
    std::vector<void*> ptrs;  // the planes' ROI pointers

    Img() = default;
    Img(int w, int h, int per, int e, int np, Padding p, std::mt19937& rng)
        : width(w), height(h), period(per), es(e), planes(np), pad(p),
          step(((p.left + w + p.right) * per + p.extra) * e), data(std::size_t(np)) {
        std::uniform_int_distribution<int> byte(0, 255);
        for (auto& plane : data) {
            plane.resize(std::size_t(step) * std::size_t(p.top + h + p.bottom));
            for (auto& b : plane) b = static_cast<unsigned char>(byte(rng));
            // Half the images carry the hostile float fills' bit patterns instead (for 32-bit
            // components NaN of both signs and with a payload, infinities, zeros of both signs,
            // denormals): copies move them untouched, with no floating-point operation.
            if (plane.size() % 4 == 0 && (rng() & 1)) {
                std::vector<float> hostile(plane.size() / 4);
                floats::fillHostile(hostile, rng);
                std::memcpy(plane.data(), hostile.data(), hostile.size() * 4);
            }
        }
        syncPointers();
    }
    Img(const Img& o) : width(o.width), height(o.height), period(o.period), es(o.es), planes(o.planes), pad(o.pad),
                        step(o.step), data(o.data) { syncPointers(); }
    Img& operator=(const Img& o) {
        width = o.width; height = o.height; period = o.period; es = o.es; planes = o.planes; pad = o.pad;
        step = o.step; data = o.data;
        syncPointers();
        return *this;
    }
    void syncPointers() {
        ptrs.clear();
        for (int p = 0; p < int(data.size()); ++p) ptrs.push_back(at(p, 0, 0));
    }
    // Element i of row y of plane p (i counts elements from the ROI's first pixel).
    unsigned char* at(int p, int y, int i) {
        return data[std::size_t(p)].data() + std::size_t(pad.top + y) * std::size_t(step) +
               std::size_t(pad.left * period + i) * std::size_t(es);
    }
    const unsigned char* at(int p, int y, int i) const { return const_cast<Img*>(this)->at(p, y, i); }
    int rowBytes() const { return width * period * es; }
};

void put(Img& d, int p, int y, int i, const unsigned char* from) { std::memcpy(d.at(p, y, i), from, std::size_t(d.es)); }

// Where the first difference between two images is, or "" when they are equal.
std::string firstDifference(const Img& got, const Img& want) {
    for (int p = 0; p < want.planes; ++p) {
        const auto& a = got.data[std::size_t(p)];
        const auto& b = want.data[std::size_t(p)];
        for (std::size_t k = 0; k < b.size(); ++k) {
            if (a[k] == b[k]) continue;
            const long row = long(k / std::size_t(want.step)) - want.pad.top;
            const long elem = long(k % std::size_t(want.step)) / want.es - long(want.pad.left) * want.period;
            return "plane " + std::to_string(p) + " row " + std::to_string(row) + " element " + std::to_string(elem) +
                   " (byte " + std::to_string(k % std::size_t(want.es)) + "): got " + std::to_string(int(a[k])) +
                   ", want " + std::to_string(int(b[k]));
        }
    }
    return "";
}

// Mask values: zero, and several nonzero values (every nonzero value selects).
Img makeMask(int w, int h, std::mt19937& rng) {
    Img m(w, h, 1, 1, 1, randomPadding(rng), rng);
    static const unsigned char values[] = {0, 0, 1, 255, 128, 0, 7};
    std::uniform_int_distribution<int> pick(0, 6);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) *m.at(0, y, x) = values[pick(rng)];
    return m;
}

// ---- one call and its reference -------------------------------------------------------------

struct Call {
    const FamilyCase* fc;
    int channel = 0;  // of interest
    int order[4] = {0, 1, 2, 3};
    int flags = 0;
    alignas(16) unsigned char value[4 * 4] = {};
    Img src, dst, mask;

    Call(const FamilyCase& c, int w, int h, std::mt19937& rng, bool padded = true) : fc(&c) {
        auto pad = [&] { return padded ? randomPadding(rng) : Padding{}; };
        if (c.hasSource()) src = Img(w, h, periodOf(c.src), c.srcBytes, planesOf(c.src), pad(), rng);
        dst = Img(w, h, periodOf(c.dst), c.dstBytes, planesOf(c.dst), pad(), rng);
        if (c.masked()) mask = makeMask(w, h, rng);
        const int coiChannels = c.op == Op::Insert ? periodOf(c.dst) : periodOf(c.src);
        channel = std::uniform_int_distribution<int>(0, coiChannels - 1)(rng);
        // Channel orders with repeats as well as permutations; SwapVal also takes the value (3).
        const int choices = activeOf(c.src) + (c.op == Op::SwapVal ? 1 : 0);
        for (int k = 0; k < activeOf(c.dst); ++k) order[k] = std::uniform_int_distribution<int>(0, choices - 1)(rng);
        flags = std::uniform_int_distribution<int>(0, 2)(rng);
        for (auto& b : value) b = static_cast<unsigned char>(std::uniform_int_distribution<int>(0, 255)(rng));
    }

    CopyBag bag() {
        CopyBag b;
        const int coiSrc = (fc->op == Op::CopyCoi || fc->op == Op::Extract) ? channel : 0;
        const int coiDst = (fc->op == Op::CopyCoi || fc->op == Op::Insert || fc->op == Op::SetCoi) ? channel : 0;
        if (fc->hasSource()) {
            b.pSrc = planar(fc->src) ? static_cast<const void*>(src.ptrs.data()) : src.at(0, 0, coiSrc);
            b.srcStep = src.step;
        }
        b.pDst = planar(fc->dst) ? static_cast<void*>(dst.ptrs.data()) : dst.at(0, 0, coiDst);
        b.dstStep = dst.step;
        b.pSrcDst = dst.at(0, 0, 0);
        b.srcDstStep = dst.step;
        b.roiSize = b.dstRoiSize = {dst.width, dst.height};
        if (fc->masked()) {
            b.pMask = mask.at(0, 0, 0);
            b.maskStep = mask.step;
        }
        b.value = b.val = value;
        b.dstOrder = order;
        b.flags = flags;
        return b;
    }

    const unsigned char* valueAt(int k) const { return value + k * fc->dstBytes; }

    // The destination the call must leave, from the destination before it.
    Img expected(const Img& before) const {
        Img e = before;
        const Img& s = fc->op == Op::SwapI ? before : src;
        const int sp = periodOf(fc->src), dp = periodOf(fc->dst);
        const int sa = activeOf(fc->src), da = activeOf(fc->dst);
        for (int y = 0; y < e.height; ++y) {
            for (int x = 0; x < e.width; ++x) {
                const bool selected = !fc->masked() || *mask.at(0, y, x) != 0;
                switch (fc->op) {
                    case Op::Copy:
                    case Op::Managed:
                    case Op::CopyM:
                        if (selected)
                            for (int c = 0; c < sa; ++c) put(e, 0, y, x * dp + c, s.at(0, y, x * sp + c));
                        break;
                    case Op::CopyCoi: put(e, 0, y, x * dp + channel, s.at(0, y, x * sp + channel)); break;
                    case Op::Extract: put(e, 0, y, x, s.at(0, y, x * sp + channel)); break;
                    case Op::Insert: put(e, 0, y, x * dp + channel, s.at(0, y, x)); break;
                    case Op::Merge:
                        for (int c = 0; c < sa; ++c) put(e, 0, y, x * dp + c, s.at(c, y, x));
                        break;
                    case Op::Split:
                        for (int c = 0; c < da; ++c) put(e, c, y, x, s.at(0, y, x * sp + c));
                        break;
                    case Op::Planar:
                        for (int c = 0; c < sa; ++c) put(e, c, y, x, s.at(c, y, x));
                        break;
                    case Op::Set:
                    case Op::SetM:
                        if (selected)
                            for (int c = 0; c < da; ++c) put(e, 0, y, x * dp + c, valueAt(c));
                        break;
                    case Op::SetCoi: put(e, 0, y, x * dp + channel, valueAt(0)); break;
                    case Op::Swap:
                    case Op::SwapI:
                    case Op::SwapVal:
                        for (int k = 0; k < da; ++k)
                            put(e, 0, y, x * dp + k, order[k] == sa ? valueAt(0) : s.at(0, y, x * sp + order[k]));
                        break;
                    case Op::Dup:
                        for (int k = 0; k < da; ++k) put(e, 0, y, x * dp + k, s.at(0, y, x));
                        break;
                    default: ADD_FAILURE() << "no reference for this operation"; return e;
                }
            }
        }
        return e;
    }

    void runAndCheck() {
        const Img before = dst;
        const Img srcBefore = src;
        const Img want = expected(before);
        // Moves only: not one floating-point flag, whatever bits the images hold.
        const unsigned raised = floats::flagsOf([&] { ASSERT_EQ(fc->call(bag()), zkrStsNoErr); });
        EXPECT_EQ(raised, 0u) << "raised " << floats::flagNames(raised);
        const std::string diff = firstDifference(dst, want);
        EXPECT_EQ(diff, "") << "channel " << channel << " order " << order[0] << order[1] << order[2] << order[3]
                            << " flags " << flags;
        if (fc->hasSource()) {
            EXPECT_EQ(firstDifference(src, srcBefore), "") << "source modified";
        }
    }
};

struct Geometry {
    int width, height;
};
// Single pixels, odd widths, and widths around the vector lengths of every level (16, 32, 64 bytes).
const Geometry kGeometries[] = {{1, 1}, {7, 3}, {16, 2}, {33, 5}, {64, 2}, {65, 3}, {131, 2}};

bool isElementMove(const FamilyCase& c) { return c.op != Op::Unpack && c.op != Op::Pack && c.op != Op::Median; }

void checkAgainstReference(const FamilyCase& fc) {
    std::mt19937 rng(77);
    forEachLevel([&](const Level&) {
        for (const Geometry& g : kGeometries) {
            for (int rep = 0; rep < 3; ++rep) {
                SCOPED_TRACE(testing::Message() << g.width << "x" << g.height << " draw " << rep);
                Call call(fc, g.width, g.height, rng, rep != 0);
                call.runAndCheck();
                if (testing::Test::HasFailure()) return;
            }
        }
    });
}

class CopyFamily : public LibraryStateTest {};

TEST_F(CopyFamily, TablesHoldTheCatalogueCounts) {
    std::map<std::string, int> perBase;
    for (const FamilyCase& c : familyCases()) {
        const std::string n = c.name.substr(4);
        ++perBase[n.substr(0, n.find('_'))];
    }
    // Copy: 80 in TimiCopy, 20 planar ones in TimiCopyP, under distinct names.
    EXPECT_EQ(perBase, (std::map<std::string, int>{{"Copy", 100}, {"Set", 50}, {"SwapChannels", 22}, {"Dup", 1},
                                                   {"PackToCplxExtend", 2}, {"CplxExtendToPack", 6},
                                                   {"CopyManaged", 1}, {"Median", 1}}));
    std::set<std::string> names;
    for (const FamilyCase& c : familyCases()) EXPECT_TRUE(names.insert(c.name).second) << c.name << " twice";
}

TEST_F(CopyFamily, CopiesMatchTheReference) {
    forEachCase(familyCases(),
                [](const FamilyCase& c) {
                    return c.op == Op::Copy || c.op == Op::CopyM || c.op == Op::Managed || c.op == Op::CopyCoi;
                },
                checkAgainstReference);
}

TEST_F(CopyFamily, ChannelExtractionAndInsertionMatchTheReference) {
    forEachCase(familyCases(), [](const FamilyCase& c) { return c.op == Op::Extract || c.op == Op::Insert; },
                checkAgainstReference);
}

TEST_F(CopyFamily, PlanesAndPixelsMatchTheReference) {
    forEachCase(familyCases(),
                [](const FamilyCase& c) { return c.op == Op::Merge || c.op == Op::Split || c.op == Op::Planar; },
                checkAgainstReference);
}

TEST_F(CopyFamily, SetsMatchTheReference) {
    forEachCase(familyCases(), [](const FamilyCase& c) { return c.isSet(); }, checkAgainstReference);
}

TEST_F(CopyFamily, SwapsAndDuplicationMatchTheReference) {
    forEachCase(familyCases(), [](const FamilyCase& c) { return c.ordered() || c.op == Op::Dup; },
                checkAgainstReference);
}

// Masks entirely clear leave the destination as it was; entirely set, a masked copy or set is the
// plain one.
TEST_F(CopyFamily, MasksAllClearOrAllSet) {
    forEachCase(familyCases(), [](const FamilyCase& c) { return c.masked(); }, [](const FamilyCase& fc) {
        std::mt19937 rng(5);
        forEachLevel([&](const Level&) {
            for (unsigned char m : {0, 1}) {
                Call call(fc, 37, 3, rng);
                for (int y = 0; y < 3; ++y) std::memset(call.mask.at(0, y, 0), m, 37);
                const Img before = call.dst;
                ASSERT_EQ(fc.call(call.bag()), zkrStsNoErr);
                if (m == 0) {
                    EXPECT_EQ(firstDifference(call.dst, before), "");
                } else {
                    EXPECT_EQ(firstDifference(call.dst, call.expected(before)), "");
                }
            }
        });
    });
}

// The managed copy gives the same bytes with every flag, also with streaming stores starting at
// every alignment of the destination and ending on partial vectors.
TEST_F(CopyFamily, ManagedCopyWritesTheSameWithEveryFlag) {
    forEachCase(familyCases(), [](const FamilyCase& c) { return c.op == Op::Managed; }, [](const FamilyCase& fc) {
        std::mt19937 rng(9);
        forEachLevel([&](const Level&) {
            for (int flags : {0, ZKR_COPY_TEMPORAL, ZKR_COPY_NONTEMPORAL})
                for (int w : {1, 15, 63, 64, 65, 200, 1000})
                    for (int left = 0; left < 3; ++left) {
                        SCOPED_TRACE(testing::Message() << "flags " << flags << " width " << w << " offset " << left);
                        Call call(fc, w, 3, rng);
                        call.dst = Img(w, 3, 1, 1, 1, Padding{left * 21, 1, 0, 1, 0}, rng);
                        call.flags = flags;
                        call.runAndCheck();
                        if (testing::Test::HasFailure()) return;
                    }
        });
    });
}

// Left to the library, a copy from 8 MB on takes the streaming path: same bytes, rows padded on
// both sides so no block copy of the whole image hides a row-length mistake.
TEST_F(CopyFamily, ManagedCopyAboveTheStreamingSizeCopiesEveryRow) {
    const FamilyCase* managed = nullptr;
    for (const FamilyCase& c : familyCases())
        if (c.op == Op::Managed) managed = &c;
    ASSERT_TRUE(managed);
    const int w = 4099, h = 2048, srcStep = 4112, dstStep = 4160;
    static_assert(long(w) * h >= ZKR_COPY_NONTEMPORAL_MIN_BYTES, "above the streaming size");
    std::vector<unsigned char> src(std::size_t(srcStep) * h), dst(std::size_t(dstStep) * h + 1, 0x5a);
    for (std::size_t i = 0; i < src.size(); ++i) src[i] = static_cast<unsigned char>(i * 2654435761u >> 24);
    CopyBag b;
    b.pSrc = src.data();
    b.srcStep = srcStep;
    b.pDst = dst.data() + 1;  // off the line boundary
    b.dstStep = dstStep;
    b.roiSize = {w, h};
    b.flags = 0;
    ASSERT_EQ(managed->call(b), zkrStsNoErr);
    for (int y = 0; y < h; ++y) {
        const unsigned char* d = dst.data() + 1 + std::size_t(y) * dstStep;
        ASSERT_EQ(std::memcmp(d, src.data() + std::size_t(y) * srcStep, std::size_t(w)), 0) << "row " << y;
        if (y + 1 < h) {
            ASSERT_EQ(d[w], 0x5a) << "padding after row " << y;
        }
    }
}

// ---- packed spectra -------------------------------------------------------------------------

using Spectrum = std::vector<std::complex<double>>;  // F(u, v) at v * W + u

// The two-dimensional transform of a real image, summed directly.
Spectrum directTransform(const std::vector<double>& x, int W, int H) {
    Spectrum f(std::size_t(W) * H);
    const double pi = std::acos(-1.0);
    for (int v = 0; v < H; ++v)
        for (int u = 0; u < W; ++u) {
            std::complex<double> s = 0;
            for (int y = 0; y < H; ++y)
                for (int k = 0; k < W; ++k)
                    s += x[std::size_t(y) * W + k] * std::polar(1.0, -2 * pi * (double(u) * k / W + double(v) * y / H));
            f[std::size_t(v) * W + u] = s;
        }
    return f;
}

// The packed layout written out position by position: (row, column) of the packed image holds
// the real (part 0) or imaginary (part 1) part of F(u, v).
struct PackedPlace {
    int row, col, u, v, part;
};
std::vector<PackedPlace> packedPlaces(int W, int H) {
    std::vector<PackedPlace> out;
    for (int v = 0; v < H; ++v)
        for (int k = 1; k <= (W - 1) / 2; ++k) {
            out.push_back({v, 2 * k - 1, k, v, 0});
            out.push_back({v, 2 * k, k, v, 1});
        }
    std::vector<std::pair<int, int>> columns{{0, 0}};
    if (W % 2 == 0 && W > 1) columns.push_back({W - 1, W / 2});
    for (const auto& [col, u] : columns) {
        out.push_back({0, col, u, 0, 0});
        for (int j = 1; j <= (H - 1) / 2; ++j) {
            out.push_back({2 * j - 1, col, u, j, 0});
            out.push_back({2 * j, col, u, j, 1});
        }
        if (H % 2 == 0 && H > 1) out.push_back({H - 1, col, u, H / 2, 0});
    }
    return out;
}

// 4-byte components: the bits of an integer or a float; conjugation negates (wrapping for integers).
std::uint32_t negated(std::uint32_t x, bool isFloat) { return isFloat ? x ^ 0x80000000u : 0u - x; }
std::uint32_t bitsOf(float f) { std::uint32_t b; std::memcpy(&b, &f, 4); return b; }
float floatOf(std::uint32_t b) { float f; std::memcpy(&f, &b, 4); return f; }

std::uint32_t comp(const Img& im, int y, int i) { std::uint32_t b; std::memcpy(&b, im.at(0, y, i), 4); return b; }
void setComp(Img& im, int y, int i, std::uint32_t b) { std::memcpy(im.at(0, y, i), &b, 4); }

// The full complex image a packed one stands for: every packed value placed at F(u, v) and its
// conjugate at F(W - u, H - v); the real-valued points get a zero imaginary part.
Img expectedUnpack(const Img& packed, Img full, bool isFloat) {
    const int W = packed.width, H = packed.height;
    for (int v = 0; v < H; ++v)
        for (int u = 0; u < W; ++u) {
            const int mu = (W - u) % W, mv = (H - v) % H;
            if (mu == u && mv == v) setComp(full, v, 2 * u + 1, 0);  // real-valued point
        }
    for (const PackedPlace& p : packedPlaces(W, H)) {
        const std::uint32_t b = comp(packed, p.row, p.col);
        setComp(full, p.v, 2 * p.u + p.part, b);
        const int mu = (W - p.u) % W, mv = (H - p.v) % H;
        if (mu != p.u || mv != p.v) setComp(full, mv, 2 * mu + p.part, p.part ? negated(b, isFloat) : b);
    }
    return full;
}

// The packed image of a full one (every channel on its own): what the layout selects.
Img expectedPack(const Img& full, Img packed, int ch) {
    for (int c = 0; c < ch; ++c)
        for (const PackedPlace& p : packedPlaces(full.width, full.height))
            setComp(packed, p.row, p.col * ch + c, comp(full, p.v, (p.u * ch + c) * 2 + p.part));
    return packed;
}

const Geometry kSpectrumSizes[] = {{1, 1}, {1, 4}, {4, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 3}, {6, 5}, {8, 6}, {7, 8}, {16, 2}};

// Unpacking is a move: the full image holds the packed values and their conjugates bit for bit,
// integers wrapping at the most negative value.
TEST_F(CopyFamily, UnpackPlacesEveryPackedValueAndItsConjugate) {
    forEachCase(familyCases(), [](const FamilyCase& c) { return c.op == Op::Unpack; }, [](const FamilyCase& fc) {
        std::mt19937 rng(11);
        forEachLevel([&](const Level&) {
            for (const Geometry& g : kSpectrumSizes) {
                SCOPED_TRACE(testing::Message() << g.width << "x" << g.height);
                Img src(g.width, g.height, 1, 4, 1, randomPadding(rng), rng);
                if (!fc.isFloat) setComp(src, 0, g.width - 1, 0x80000000u);  // INT_MIN negates to itself
                else
                    for (int y = 0; y < g.height; ++y)
                        for (int x = 0; x < g.width; ++x)
                            setComp(src, y, x, bitsOf(std::uniform_real_distribution<float>(-9, 9)(rng)));
                Img dst(g.width, g.height, 2, 4, 1, randomPadding(rng), rng);
                const Img want = expectedUnpack(src, dst, fc.isFloat);
                CopyBag b;
                b.pSrc = src.at(0, 0, 0);
                b.srcStep = src.step;
                b.pDst = dst.at(0, 0, 0);
                b.dstStep = dst.step;
                b.roiSize = {g.width, g.height};
                ASSERT_EQ(fc.call(b), zkrStsNoErr);
                EXPECT_EQ(firstDifference(dst, want), "");
                if (testing::Test::HasFailure()) return;
            }
        });
    });
}

// The layout is that of a real image's spectrum: packing the direct transform of a real image and
// unpacking it gives the whole transform back; packing the whole transform gives the packed one.
TEST_F(CopyFamily, PackedLayoutHoldsARealImagesSpectrum) {
    const FamilyCase* unpack = nullptr;
    const FamilyCase* pack = nullptr;
    for (const FamilyCase& c : familyCases()) {
        if (c.name == "zkriPackToCplxExtend_32f32fc_C1R") unpack = &c;
        if (c.name == "zkriCplxExtendToPack_32fc32f_C1R") pack = &c;
    }
    ASSERT_TRUE(unpack && pack);
    std::mt19937 rng(3);
    forEachLevel([&](const Level&) {
        for (const Geometry& g : kSpectrumSizes) {
            SCOPED_TRACE(testing::Message() << g.width << "x" << g.height);
            const int W = g.width, H = g.height;
            std::vector<double> x(std::size_t(W) * H);
            for (double& v : x) v = std::uniform_real_distribution<double>(-1, 1)(rng);
            const Spectrum f = directTransform(x, W, H);
            Img full(W, H, 2, 4, 1, Padding{}, rng);
            for (int v = 0; v < H; ++v)
                for (int u = 0; u < W; ++u) {
                    setComp(full, v, 2 * u, bitsOf(float(f[std::size_t(v) * W + u].real())));
                    setComp(full, v, 2 * u + 1, bitsOf(float(f[std::size_t(v) * W + u].imag())));
                }
            Img packed(W, H, 1, 4, 1, randomPadding(rng), rng);
            const Img wantPacked = expectedPack(full, packed, 1);
            CopyBag b;
            b.pSrc = full.at(0, 0, 0);
            b.srcStep = full.step;
            b.pDst = packed.at(0, 0, 0);
            b.dstStep = packed.step;
            b.roiSize = {W, H};
            ASSERT_EQ(pack->call(b), zkrStsNoErr);
            EXPECT_EQ(firstDifference(packed, wantPacked), "");

            Img back(W, H, 2, 4, 1, randomPadding(rng), rng);
            b.pSrc = packed.at(0, 0, 0);
            b.srcStep = packed.step;
            b.pDst = back.at(0, 0, 0);
            b.dstStep = back.step;
            ASSERT_EQ(unpack->call(b), zkrStsNoErr);
            for (int v = 0; v < H; ++v)
                for (int u = 0; u < W; ++u) {
                    const std::complex<double> want = f[std::size_t(v) * W + u];
                    const double re = floatOf(comp(back, v, 2 * u)), im = floatOf(comp(back, v, 2 * u + 1));
                    EXPECT_NEAR(re, want.real(), 1e-4) << "F(" << u << "," << v << ")";
                    EXPECT_NEAR(im, want.imag(), 1e-4) << "F(" << u << "," << v << ")";
                }
            if (testing::Test::HasFailure()) return;
        }
    });
}

TEST_F(CopyFamily, PackSelectsTheLayoutOnEveryChannel) {
    forEachCase(familyCases(), [](const FamilyCase& c) { return c.op == Op::Pack; }, [](const FamilyCase& fc) {
        std::mt19937 rng(13);
        const int ch = activeOf(fc.src);
        forEachLevel([&](const Level&) {
            for (const Geometry& g : kSpectrumSizes) {
                SCOPED_TRACE(testing::Message() << g.width << "x" << g.height);
                Img src(g.width, g.height, 2 * ch, 4, 1, randomPadding(rng), rng);
                Img dst(g.width, g.height, ch, 4, 1, randomPadding(rng), rng);
                const Img want = expectedPack(src, dst, ch);
                CopyBag b;
                b.pSrc = src.at(0, 0, 0);
                b.srcStep = src.step;
                b.pDst = dst.at(0, 0, 0);
                b.dstStep = dst.step;
                b.roiSize = {g.width, g.height};
                ASSERT_EQ(fc.call(b), zkrStsNoErr);
                EXPECT_EQ(firstDifference(dst, want), "");
                if (testing::Test::HasFailure()) return;
            }
        });
    });
}

// ---- median ---------------------------------------------------------------------------------

struct Mask {
    ZkriSize size;
    ZkriPoint anchor;
};
const Mask kMasks[] = {{{3, 3}, {1, 1}}, {{1, 1}, {0, 0}}, {{3, 3}, {0, 2}}, {{5, 5}, {2, 2}}, {{3, 1}, {1, 0}},
                       {{1, 3}, {0, 2}}, {{4, 2}, {3, 0}}, {{7, 5}, {3, 2}}};

// Runs the median of a w x h ROI with its border and compares every pixel with the sorted window.
void checkMedian(const FamilyCase& fc, int w, int h, const Mask& m, std::mt19937& rng, bool fewValues) {
    const Padding extra = randomPadding(rng);
    const Padding border{m.anchor.x + extra.left, m.size.width - 1 - m.anchor.x + extra.right, m.anchor.y + extra.top,
                         m.size.height - 1 - m.anchor.y + extra.bottom, extra.extra};
    Img src(w, h, 1, 1, 1, border, rng);
    if (fewValues)  // many equal values: ties around the median
        for (auto& b : src.data[0]) b = static_cast<unsigned char>(b % 3 * 127);
    Img dst(w, h, 1, 1, 1, randomPadding(rng), rng);
    Img want = dst;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            std::vector<unsigned char> win;
            for (int j = 0; j < m.size.height; ++j)
                for (int i = 0; i < m.size.width; ++i) win.push_back(*src.at(0, y - m.anchor.y + j, x - m.anchor.x + i));
            std::sort(win.begin(), win.end());
            *want.at(0, y, x) = win[(win.size() - 1) / 2];
        }
    CopyBag b;
    b.pSrc = src.at(0, 0, 0);
    b.srcStep = src.step;
    b.pDst = dst.at(0, 0, 0);
    b.dstStep = dst.step;
    b.dstRoiSize = {w, h};
    b.maskSize = m.size;
    b.anchor = m.anchor;
    ASSERT_EQ(fc.call(b), zkrStsNoErr);
    EXPECT_EQ(firstDifference(dst, want), "");
}

TEST_F(CopyFamily, MedianIsTheMiddleOfTheSortedWindow) {
    forEachCase(familyCases(), [](const FamilyCase& c) { return c.op == Op::Median; }, [](const FamilyCase& fc) {
        std::mt19937 rng(17);
        forEachLevel([&](const Level&) {
            for (const Geometry& g : {Geometry{1, 1}, Geometry{9, 4}, Geometry{70, 3}})
                for (const Mask& m : kMasks)
                    for (bool few : {false, true}) {
                        SCOPED_TRACE(testing::Message() << g.width << "x" << g.height << " mask " << m.size.width
                                                        << "x" << m.size.height << " anchor " << m.anchor.x << ","
                                                        << m.anchor.y << (few ? " few values" : ""));
                        checkMedian(fc, g.width, g.height, m, rng, few);
                        if (testing::Test::HasFailure()) return;
                    }
        });
    });
}

// ---- threads --------------------------------------------------------------------------------

// Images above the splitting threshold on two threads give the reference result: every operation
// and layout on 8u and 32f (the kernels know elements by their size only), the spectra and the median.
TEST_F(CopyFamily, ThreadSplitsMatchTheReference) {
    ASSERT_EQ(zkrSetNumThreads(2), zkrStsNoErr);
    constexpr int w = 261, h = 256;
    static_assert(long(w) * h > kSplitPixels, "above the library's splitting threshold");
    std::mt19937 rng(23);
    auto select = [](const FamilyCase& c) {
        return !isElementMove(c) || c.name.find("_8u_") != std::string::npos || c.name.find("_32f_") != std::string::npos;
    };
    forEachCase(familyCases(), select, [&](const FamilyCase& fc) {
        if (isElementMove(fc)) {
            Call call(fc, w, h, rng);
            call.runAndCheck();
        } else if (fc.op == Op::Median) {
            checkMedian(fc, w, h, Mask{{3, 3}, {1, 1}}, rng, false);
            checkMedian(fc, w, h, Mask{{5, 3}, {2, 1}}, rng, false);
        } else {
            const int ch = activeOf(fc.src);
            const bool toFull = fc.op == Op::Unpack;
            Img src(w, h, toFull ? 1 : 2 * ch, 4, 1, randomPadding(rng), rng);
            Img dst(w, h, toFull ? 2 : ch, 4, 1, randomPadding(rng), rng);
            const Img want = toFull ? expectedUnpack(src, dst, fc.isFloat) : expectedPack(src, dst, ch);
            CopyBag b;
            b.pSrc = src.at(0, 0, 0);
            b.srcStep = src.step;
            b.pDst = dst.at(0, 0, 0);
            b.dstStep = dst.step;
            b.roiSize = {w, h};
            ASSERT_EQ(fc.call(b), zkrStsNoErr);
            EXPECT_EQ(firstDifference(dst, want), "");
        }
    });
}

// ---- argument errors ------------------------------------------------------------------------

// Every pointer, the size, every step and the operation's own arguments, in the library's order
// (pointers before sizes before steps before the rest); a failed call writes nothing.
TEST_F(CopyFamily, ArgumentErrorsAreReportedInOrder) {
    std::mt19937 rng(29);
    forEachCase(familyCases(), [](const FamilyCase&) { return true; }, [&](const FamilyCase& fc) {
        const int w = 6, h = 3;
        const bool spectrum = fc.op == Op::Unpack || fc.op == Op::Pack;
        const bool median = fc.op == Op::Median;
        Call call(fc, w, h, rng, false);
        if (spectrum) {
            const int ch = activeOf(fc.src);
            call.src = Img(w, h, fc.op == Op::Unpack ? 1 : 2 * ch, 4, 1, Padding{}, rng);
            call.dst = Img(w, h, fc.op == Op::Unpack ? 2 : ch, 4, 1, Padding{}, rng);
        }
        if (median) {
            call.src = Img(w, h, 1, 1, 1, Padding{2, 2, 2, 2, 0}, rng);
        }
        const Img before = call.dst;
        auto expectStatus = [&](ZkrStatus want, const CopyBag& b, const char* what) {
            EXPECT_EQ(fc.call(b), want) << what;
            EXPECT_EQ(firstDifference(call.dst, before), "") << what << ": written despite the error";
        };
        CopyBag good = call.bag();
        good.maskSize = {3, 3};
        good.anchor = {1, 1};
        {
            SCOPED_TRACE("valid arguments");
            ASSERT_EQ(fc.call(good), zkrStsNoErr);
            call.dst = before;  // undo
            good = call.bag();
            good.maskSize = {3, 3};
            good.anchor = {1, 1};
        }
        const void* nullPlanes[4] = {};
        CopyBag b = good;
        if (fc.hasSource() || median) {
            b.pSrc = nullptr;
            expectStatus(zkrStsNullPtrErr, b, "pSrc NULL");
            b.roiSize = b.dstRoiSize = {0, h};
            expectStatus(zkrStsNullPtrErr, b, "pSrc NULL before a zero size");
            b = good;
            if (planar(fc.src)) {
                const void* planes[4] = {call.src.ptrs[0], call.src.ptrs[1], nullptr, nullptr};
                if (planesOf(fc.src) == 4) planes[2] = call.src.ptrs[2];
                b.pSrc = planes;
                expectStatus(zkrStsNullPtrErr, b, "last source plane NULL");
                b = good;
            }
        }
        if (fc.op == Op::SwapI) {
            b.pSrcDst = nullptr;
            expectStatus(zkrStsNullPtrErr, b, "pSrcDst NULL");
            b = good;
        } else {
            b.pDst = nullptr;
            expectStatus(zkrStsNullPtrErr, b, "pDst NULL");
            b = good;
            if (planar(fc.dst)) {
                b.pDst = const_cast<void*>(static_cast<const void*>(nullPlanes));
                expectStatus(zkrStsNullPtrErr, b, "destination planes NULL");
                b = good;
            }
        }
        if (fc.masked()) {
            b.pMask = nullptr;
            expectStatus(zkrStsNullPtrErr, b, "pMask NULL");
            b = good;
            b.maskStep = w - 1;
            expectStatus(zkrStsStepErr, b, "mask step shorter than the ROI");
            b = good;
        }
        if (fc.valueByPointer()) {
            b.value = nullptr;
            expectStatus(zkrStsNullPtrErr, b, "value NULL");
            b = good;
        }
        if (fc.ordered()) {
            b.dstOrder = nullptr;
            expectStatus(zkrStsNullPtrErr, b, "dstOrder NULL");
            b = good;
            for (int bad : {-1, activeOf(fc.src) + (fc.op == Op::SwapVal ? 1 : 0)}) {
                int order[4] = {0, 0, 0, 0};
                order[activeOf(fc.dst) - 1] = bad;
                b.dstOrder = order;
                expectStatus(zkrStsBadArgErr, b, "channel order out of range");
            }
            b = good;
        }
        for (ZkriSize bad : {ZkriSize{0, h}, ZkriSize{w, 0}, ZkriSize{-1, h}}) {
            b.roiSize = b.dstRoiSize = bad;
            expectStatus(zkrStsSizeErr, b, "empty ROI");
        }
        b = good;
        // Steps: zero, shorter than a row, and (wider elements) not a multiple of the element size.
        auto badSteps = [&](int CopyBag::*step, int rowBytes, int es, const char* what) {
            for (int s : {0, rowBytes - es, rowBytes + (es > 1 ? 1 : -rowBytes - 1)}) {
                b = good;
                b.*step = s;
                expectStatus(zkrStsStepErr, b, what);
            }
            b = good;
        };
        if (fc.op == Op::SwapI) {
            badSteps(&CopyBag::srcDstStep, call.dst.rowBytes(), fc.dstBytes, "srcDstStep");
        } else {
            badSteps(&CopyBag::dstStep, call.dst.rowBytes(), spectrum ? 4 : fc.dstBytes, "dstStep");
            if (fc.hasSource() || median)
                badSteps(&CopyBag::srcStep, call.src.rowBytes(), spectrum ? 4 : fc.srcBytes, "srcStep");
        }
        if (fc.op == Op::Managed)
            for (int flags : {3, 4, -1}) {
                b.flags = flags;
                expectStatus(zkrStsBadArgErr, b, "unknown copy flags");
            }
        if (median) {
            for (ZkriSize m : {ZkriSize{0, 3}, ZkriSize{3, -1}, ZkriSize{65537, 1}}) {
                b = good;
                b.maskSize = m;
                b.anchor = {0, 0};
                expectStatus(zkrStsMaskSizeErr, b, "mask size");
            }
            for (ZkriPoint a : {ZkriPoint{3, 1}, ZkriPoint{1, 3}, ZkriPoint{-1, 0}}) {
                b = good;
                b.anchor = a;
                expectStatus(zkrStsAnchorErr, b, "anchor outside the mask");
            }
        }
    });
}

}  // namespace
}  // namespace zkrtest
