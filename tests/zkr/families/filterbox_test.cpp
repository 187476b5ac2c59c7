// The FilterBox family against a direct reference (every window gathered, summed or sorted),
// driven by its table: every function on every dispatch level, ROIs inside padded images whose
// border supplies the mask's neighbours, masks of every shape the kernels treat apart (1x1, the
// 3-element and 3x3 networks, even and odd, wide and tall) with anchors at the centre and the
// corners, in-place forms, thread splits, rounding and range edges, and every argument error.
// Float sources are the hostile fills (NaN, infinities, zeros of both signs, denormals, 1e-30 to
// 1e30 of both signs): a non-finite value reaches exactly the windows that hold it, means stay
// within an ulp of a plain double sum over each window, and Max, Min and Median follow the total
// order the family's page gives.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <type_traits>

#include "family_support.h"
#include "float_fills.h"
#include "test_support.h"

#define ZKR_TABLE "filterbox/filterbox.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

struct FilterBag : Bag {
    ZkriSize dstRoiSize{0, 0};
    ZkriSize maskSize{0, 0};
    ZkriPoint anchor{0, 0};
};

enum class Form { Filter, FilterInPlace };
enum class Op { Box, Max, Min, Median };

// Uniform arguments of both forms.
struct CallArgs {
    const void* src = nullptr;
    int srcStep = 0;
    void* dst = nullptr;  // pDst, or pSrcDst in place
    int dstStep = 0;
    ZkriSize roi{0, 0};
    ZkriSize mask{0, 0};
    ZkriPoint anchor{0, 0};

    FilterBag bag() const {
        FilterBag b;
        b.pSrc = src;
        b.srcStep = srcStep;
        b.pDst = b.pSrcDst = dst;
        b.dstStep = b.srcDstStep = dstStep;
        b.roiSize = b.dstRoiSize = roi;
        b.maskSize = mask;
        b.anchor = anchor;
        return b;
    }
};

struct FamilyCase {
    std::string name;
    std::string base;
    Form form;
    Op op;
    int channels;
    bool alpha;
    CompType comp;
    int compBytes;
    ZkrStatus (*call)(const CallArgs&);

    int pixelBytes() const { return channels * compBytes; }
    int active() const { return alpha ? 3 : channels; }
};

template <class T>
FamilyCase describe(const char* name, const char* form, const char* layout, const char* op,
                    ZkrStatus (*call)(const CallArgs&)) {
    const std::string l = layout, o = op;
    FamilyCase c;
    c.name = name;
    c.base = "Filter" + (o == "Box" ? std::string("Box") : o);
    c.form = std::string(form) == "filter_i" ? Form::FilterInPlace : Form::Filter;
    c.op = o == "Box" ? Op::Box : o == "Max" ? Op::Max : o == "Min" ? Op::Min : Op::Median;
    c.channels = l == "C1" ? 1 : (l == "C3" ? 3 : 4);
    c.alpha = l == "AC4";
    c.comp = compTypeOf<T>();
    c.compBytes = int(sizeof(T));
    c.call = call;
    return c;
}

std::vector<FamilyCase> expandTable() {
    std::vector<FamilyCase> cases;
#define ZKR_FN(name, form, T, L, op)                                                       \
    cases.push_back(describe<T>(#name, #form, #L, #op, [](const CallArgs& a) -> ZkrStatus { \
        const FilterBag b = a.bag();                                                       \
        return ZKR_CALL(b, name, form, T);                                                 \
    }));
#include "filterbox/filterbox.tbl"
#undef ZKR_FN
    return cases;
}

const std::vector<FamilyCase>& familyCases() {
    static const std::vector<FamilyCase> cases = expandTable();
    return cases;
}

// Values over the whole range for integers, the hostile fills for floats.
template <class S> void fillValues(std::vector<S>& v, std::mt19937& rng) {
    if constexpr (std::is_floating_point_v<S>) {
        floats::fillHostile(v, rng, 0.01);
    } else {
        std::uniform_int_distribution<int> d(std::numeric_limits<S>::min(), std::numeric_limits<S>::max());
        for (S& x : v) x = S(d(rng));
    }
}

// The order of Max, Min and Median: -0 below +0, NaN above everything (Median), and any NaN in
// the window gives NaN (Max, Min); integers by value.
template <class S> bool ranksBelow(S a, S b) {
    if constexpr (std::is_floating_point_v<S>) {
        if (std::isnan(a) || std::isnan(b)) return !std::isnan(a);
        return a < b || (a == b && std::signbit(a) && !std::signbit(b));
    } else {
        return a < b;
    }
}

template <class S> bool holdsNaN(const std::vector<S>& w) {
    if constexpr (std::is_floating_point_v<S>) return std::any_of(w.begin(), w.end(), [](S v) { return v != v; });
    else return false;
}

// The reference result of one component from its window of values.
template <class S> S reference(Op op, std::vector<S> w) {
    switch (op) {
        case Op::Max: return *std::max_element(w.begin(), w.end(), ranksBelow<S>);
        case Op::Min:
            if (holdsNaN(w)) return std::numeric_limits<S>::quiet_NaN();
            return *std::min_element(w.begin(), w.end(), ranksBelow<S>);
        case Op::Median:
            std::sort(w.begin(), w.end(), ranksBelow<S>);
            return w[(w.size() - 1) / 2];
        default: break;
    }
    const auto area = std::int64_t(w.size());
    if constexpr (std::is_floating_point_v<S>) {
        double sum = 0;
        for (S v : w) sum += v;
        return S(sum / double(area));
    } else {
        std::int64_t sum = area / 2;  // mean rounded to nearest, halves up
        for (S v : w) sum += v;
        std::int64_t q = sum / area;
        if (sum % area != 0 && sum < 0) --q;  // floor division
        return S(q);
    }
}

// The same bits (NaN compares unequal to itself).
template <class S> bool identical(const std::vector<S>& a, const std::vector<S>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(S)) == 0;
}

struct Mask {
    ZkriSize size;
    ZkriPoint anchor;
};

// A source plane with the border the mask needs (and random extra padding), a destination
// plane, and the call that filters one into the other (or the source in place).
template <class S> struct Call {
    const FamilyCase* fc;
    Mask mask;
    Plane<S> src, dst;

    static Padding border(const Mask& m, Padding extra) {
        return Padding{m.anchor.x + extra.left, m.size.width - 1 - m.anchor.x + extra.right, m.anchor.y + extra.top,
                       m.size.height - 1 - m.anchor.y + extra.bottom, extra.extra};
    }

    Call(const FamilyCase& c, int w, int h, Mask m, bool padded, std::mt19937& rng)
        : fc(&c), mask(m), src(w, h, c.channels, border(m, padded ? randomPadding(rng) : Padding{}), rng),
          dst(w, h, c.channels, padded ? randomPadding(rng) : Padding{}, rng) {
        fillValues(src.data, rng);
        fillValues(dst.data, rng);
    }

    Plane<S>& target() { return fc->form == Form::FilterInPlace ? src : dst; }

    CallArgs args() {
        CallArgs a;
        a.src = src.roi();
        a.srcStep = src.stepBytes();
        a.dst = target().roi();
        a.dstStep = target().stepBytes();
        a.roi = {src.width, src.height};
        a.mask = mask.size;
        a.anchor = mask.anchor;
        return a;
    }

    // The window of component c of pixel (x, y) in the original source.
    std::vector<S> window(const Plane<S>& original, int x, int y, int c) const {
        std::vector<S> w;
        const int ch = fc->channels;
        for (int j = 0; j < mask.size.height; ++j)
            for (int i = 0; i < mask.size.width; ++i)
                w.push_back(original.at(y - mask.anchor.y + j, (x - mask.anchor.x + i) * ch + c));
        return w;
    }

    // Floats: a NaN or infinite result exactly where the reference has one; a finite mean within an
    // ulp of the reference plus the double sum's own rounding (2^-50 of the window's mean magnitude,
    // which matters only where large values of both signs cancel); Max, Min and Median the bits.
    bool close(S got, S want, const std::vector<S>& w) const {
        if constexpr (std::is_floating_point_v<S>) {
            if (std::isnan(want)) return std::isnan(got);
            if (fc->op != Op::Box || !std::isfinite(want)) return sameBits(got, want);
            if (!std::isfinite(got)) return false;
            double magnitude = 0;
            for (S v : w) magnitude += std::fabs(double(v));
            magnitude /= double(w.size());
            const double ulp = double(std::nextafter(std::fabs(want), floats::kInf)) - std::fabs(double(want));
            return std::fabs(double(got) - double(want)) <= ulp + std::ldexp(magnitude, -50);
        } else {
            return got == want;
        }
    }

    void runAndCheck() {
        const Plane<S> original = src;
        const Plane<S> before = target();
        ASSERT_EQ(fc->call(args()), zkrStsNoErr);
        const Plane<S>& out = target();
        int mismatches = 0;
        for (std::size_t k = 0; k < out.data.size() && mismatches < 5; ++k) {
            if (before.insideRoi(k)) continue;
            if (!sameBits(out.data[k], before.data[k])) {
                ADD_FAILURE() << "write outside the ROI at buffer index " << k;
                ++mismatches;
            }
        }
        for (int y = 0; y < out.height && mismatches < 5; ++y) {
            for (int x = 0; x < out.width && mismatches < 5; ++x) {
                for (int c = 0; c < fc->channels; ++c) {
                    const S got = out.at(y, x * fc->channels + c);
                    if (c >= fc->active()) {
                        if (!sameBits(got, before.at(y, x * fc->channels + c))) {
                            ADD_FAILURE() << "pixel (" << x << "," << y << ") alpha written";
                            ++mismatches;
                        }
                        continue;
                    }
                    const std::vector<S> w = window(original, x, y, c);
                    const S want = reference<S>(fc->op, w);
                    if (!close(got, want, w)) {
                        ADD_FAILURE() << "pixel (" << x << "," << y << ") channel " << c << ": got " << +got
                                      << ", want " << +want;
                        ++mismatches;
                    }
                }
            }
        }
        if (fc->form == Form::Filter) {
            EXPECT_TRUE(identical(src.data, original.data)) << "source modified";
        }
    }
};

// Masks of every kernel path: the single element, the 3-element and 3x3 networks, even and odd
// sizes (histogram, selection network and, above 256 elements, selection paths of the median),
// wide and tall, anchors at the centre and at the corners.
const Mask kMasks[] = {{{3, 3}, {1, 1}}, {{1, 1}, {0, 0}}, {{3, 1}, {1, 0}}, {{1, 3}, {0, 2}}, {{3, 3}, {0, 2}},
                       {{5, 5}, {2, 2}}, {{4, 2}, {3, 0}}, {{2, 5}, {0, 1}}, {{7, 3}, {6, 2}},
                       {{17, 16}, {8, 15}}};

struct Geometry {
    int width, height;
    bool padded;
};
const Geometry kGeometries[] = {{1, 1, false}, {7, 5, true}, {37, 6, false}, {64, 3, true}};

template <class S> void checkAgainstReference(const FamilyCase& fc) {
    std::mt19937 rng(2024);
    forEachLevel([&](const Level&) {
        for (const Geometry& g : kGeometries) {
            for (const Mask& m : kMasks) {
                SCOPED_TRACE(testing::Message() << g.width << "x" << g.height << " mask " << m.size.width << "x"
                                                << m.size.height << " anchor " << m.anchor.x << "," << m.anchor.y);
                Call<S> call(fc, g.width, g.height, m, g.padded, rng);
                call.runAndCheck();
                if (testing::Test::HasFailure()) return;
            }
        }
    });
}

// An image above the splitting threshold gives the same result on 1, 2 and 3 threads, and with
// the centred 3x3 mask it matches the reference (the in-place forms read original values across
// band edges); the off-centre mask only has to agree across the splits.
template <class S> void checkThreadSplits(const FamilyCase& fc) {
    std::mt19937 rng(31);
    bool checkReference = true;
    for (const Mask& m : {Mask{{3, 3}, {1, 1}}, Mask{{5, 4}, {1, 3}}}) {
        const Call<S> original(fc, kSplitSize.width, kSplitSize.height, m, true, rng);
        std::vector<S> single;
        for (int threads : {1, 2, 3}) {
            SCOPED_TRACE(testing::Message() << threads << " threads, mask " << m.size.width << "x" << m.size.height);
            ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
            Call<S> call = original;
            if (threads == 1) {
                if (checkReference) call.runAndCheck();
                else ASSERT_EQ(call.fc->call(call.args()), zkrStsNoErr);
                single = call.target().data;
            } else {
                ASSERT_EQ(call.fc->call(call.args()), zkrStsNoErr);
                EXPECT_TRUE(identical(call.target().data, single)) << "result depends on the thread split";
            }
        }
        checkReference = false;
    }
}

// Argument checks: NULL pointers, ROI size, steps, then mask size, then anchor; nothing is
// written on error.
template <class S> void checkStatusCodes(const FamilyCase& fc) {
    std::mt19937 rng(5);
    Call<S> call(fc, 6, 3, Mask{{3, 3}, {1, 1}}, true, rng);
    const CallArgs good = call.args();
    const std::vector<S> dstBefore = call.target().data;
    auto expectStatus = [&](const CallArgs& a, ZkrStatus want, const char* what) {
        EXPECT_EQ(fc.call(a), want) << what;
        EXPECT_TRUE(identical(call.target().data, dstBefore)) << what << ": destination written on error";
    };
    const bool inPlace = fc.form == Form::FilterInPlace;
    CallArgs a = good;
    a.dst = nullptr;
    a.mask = {0, 0};
    expectStatus(a, zkrStsNullPtrErr, "null destination, checked before the mask");
    if (!inPlace) {
        a = good;
        a.src = nullptr;
        expectStatus(a, zkrStsNullPtrErr, "null source");
    }
    for (ZkriSize roi : {ZkriSize{0, 3}, ZkriSize{6, 0}, ZkriSize{-2, 3}}) {
        a = good;
        a.roi = roi;
        a.anchor = {-1, -1};
        expectStatus(a, zkrStsSizeErr, "bad roi, checked before the anchor");
    }
    const int rowBytes = 6 * fc.pixelBytes();
    std::vector<int*> steps = {&a.dstStep};
    if (!inPlace) steps.push_back(&a.srcStep);
    for (std::size_t k = 0; k < steps.size(); ++k) {
        std::vector<int> bad = {0, -rowBytes, rowBytes - fc.compBytes};
        if (fc.compBytes > 1) bad.push_back(rowBytes + 1);
        for (int b : bad) {
            a = good;
            *(k == 0 ? &a.dstStep : &a.srcStep) = b;
            a.mask = {-1, 3};
            expectStatus(a, zkrStsStepErr, "bad step, checked before the mask");
        }
    }
    for (ZkriSize mask : {ZkriSize{0, 3}, ZkriSize{3, 0}, ZkriSize{-3, 3}, ZkriSize{3, -1}, ZkriSize{257, 256},
                          ZkriSize{65537, 1}}) {
        a = good;
        a.mask = mask;
        a.anchor = {0, 0};
        expectStatus(a, zkrStsMaskSizeErr, "bad mask size");
    }
    for (ZkriPoint anchor : {ZkriPoint{-1, 1}, ZkriPoint{1, -1}, ZkriPoint{3, 1}, ZkriPoint{1, 3}, ZkriPoint{3, 3}}) {
        a = good;
        a.anchor = anchor;
        expectStatus(a, zkrStsAnchorErr, "anchor outside the mask");
    }
}

struct Group {
    Form form;
    Op op;
};

class FilterBoxFamily : public testing::WithParamInterface<Group>, public LibraryStateTest {
protected:
    template <class Check> void walk(Check check) {
        forEachCase(familyCases(),
                    [&](const FamilyCase& c) { return c.form == GetParam().form && c.op == GetParam().op; }, check);
    }
};

TEST_P(FilterBoxFamily, MatchesReferenceOnEveryLevel) {
    walk([](const FamilyCase& c) {
        withCompType<Zkr8u, Zkr16u, Zkr16s, Zkr32f>(c.comp, [&]<class S>() { checkAgainstReference<S>(c); });
    });
}
TEST_P(FilterBoxFamily, ThreadSplitsMatchSingleThread) {
    walk([](const FamilyCase& c) {
        withCompType<Zkr8u, Zkr16u, Zkr16s, Zkr32f>(c.comp, [&]<class S>() { checkThreadSplits<S>(c); });
    });
}
TEST_P(FilterBoxFamily, StatusCodes) {
    walk([](const FamilyCase& c) {
        withCompType<Zkr8u, Zkr16u, Zkr16s, Zkr32f>(c.comp, [&]<class S>() { checkStatusCodes<S>(c); });
    });
}

std::string groupName(const testing::TestParamInfo<Group>& info) {
    static const char* const ops[] = {"Box", "Max", "Min", "Median"};
    return std::string(ops[int(info.param.op)]) + (info.param.form == Form::FilterInPlace ? "InPlace" : "");
}

INSTANTIATE_TEST_SUITE_P(Zkri, FilterBoxFamily,
                         testing::Values(Group{Form::Filter, Op::Box}, Group{Form::FilterInPlace, Op::Box},
                                         Group{Form::Filter, Op::Max}, Group{Form::Filter, Op::Min},
                                         Group{Form::Filter, Op::Median}),
                         groupName);

TEST(FilterBoxFamilyTable, CountsPerBase) {
    std::vector<std::string> names;
    std::map<std::string, int> perBase;
    for (const FamilyCase& c : familyCases()) {
        names.push_back(c.name);
        ++perBase[c.base];
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end()) << "a function is listed twice";
    EXPECT_EQ(names.size(), 77u);
    EXPECT_EQ(perBase, (std::map<std::string, int>{{"FilterBox", 32}, {"FilterMax", 16}, {"FilterMin", 16},
                                                   {"FilterMedian", 13}}));
}

// ---- edges of the box mean ----------------------------------------------------------------

class FilterBoxEdges : public LibraryStateTest {};

// Halves round up: 1.5 -> 2, -1.5 -> -1, 2.5 -> 3 (not to even), on every level.
TEST_F(FilterBoxEdges, BoxMeanRoundsHalvesUp) {
    forEachLevel([](const Level&) {
        const Zkr16s src[] = {1, 2, -1, -2, 2, 3, -3, -2};
        Zkr16s dst[4] = {};
        // 2x1 mask, anchor at its left element: dst[x] = mean(src[x], src[x + 1]) for even x pairs.
        ASSERT_EQ(zkriFilterBox_16s_C1R(src, 16, dst, 8, {1, 1}, {2, 1}, {0, 0}), zkrStsNoErr);
        EXPECT_EQ(dst[0], 2);
        ASSERT_EQ(zkriFilterBox_16s_C1R(src + 2, 16, dst, 8, {1, 1}, {2, 1}, {0, 0}), zkrStsNoErr);
        EXPECT_EQ(dst[0], -1);
        ASSERT_EQ(zkriFilterBox_16s_C1R(src + 4, 16, dst, 8, {1, 1}, {2, 1}, {0, 0}), zkrStsNoErr);
        EXPECT_EQ(dst[0], 3);
        ASSERT_EQ(zkriFilterBox_16s_C1R(src + 6, 16, dst, 8, {1, 1}, {2, 1}, {0, 0}), zkrStsNoErr);
        EXPECT_EQ(dst[0], -2);  // -2.5 rounds up to -2
    });
}

// The largest mask accepted (65536 elements) over the largest values: the window sums reach
// 65535 * 65536 and still give the exact mean.
TEST_F(FilterBoxEdges, LargestMaskOfLargestValues) {
    const int w = 3, h = 2;
    const ZkriSize mask{256, 256};
    const int sw = w + mask.width - 1, sh = h + mask.height - 1;
    std::vector<Zkr16u> src(std::size_t(sw) * sh, 65535);
    src[std::size_t(sh - 1) * sw + sw - 1] = 65535 - 32769;  // only the last window sees it
    std::vector<Zkr16u> dst(std::size_t(w) * h, 0);
    forEachLevel([&](const Level&) {
        ASSERT_EQ(zkriFilterBox_16u_C1R(src.data(), sw * 2, dst.data(), w * 2, {w, h}, mask, {0, 0}), zkrStsNoErr);
        for (int i = 0; i < w * h - 1; ++i) EXPECT_EQ(dst[i], 65535) << i;
        EXPECT_EQ(dst[w * h - 1], 65534) << "65535 - 32769 / 65536 is just below 65534.5";
    });
}

// Constant images give the constant, whatever the mask, for the extremes of each type.
TEST_F(FilterBoxEdges, ConstantImagesStayConstant) {
    forEachLevel([](const Level&) {
        for (Zkr8u v : {Zkr8u(0), Zkr8u(255)}) {
            std::vector<Zkr8u> src(20 * 20, v), dst(10 * 10, 7);
            ASSERT_EQ(zkriFilterBox_8u_C1R(src.data() + 20 * 4 + 5, 20, dst.data(), 10, {10, 10}, {11, 9}, {5, 4}),
                      zkrStsNoErr);
            EXPECT_TRUE(std::all_of(dst.begin(), dst.end(), [&](Zkr8u x) { return x == v; })) << +v;
        }
        std::vector<Zkr16s> src(20 * 20, -32768), dst(10 * 10, 7);
        ASSERT_EQ(zkriFilterMedian_16s_C1R(src.data() + 20 * 2 + 2, 40, dst.data(), 20, {10, 10}, {5, 5}, {2, 2}),
                  zkrStsNoErr);
        EXPECT_TRUE(std::all_of(dst.begin(), dst.end(), [](Zkr16s x) { return x == -32768; }));
    });
}

// ---- float edges --------------------------------------------------------------------------------

const FamilyCase* const* boxFloatCases() {
    static std::vector<const FamilyCase*> list = [] {
        std::vector<const FamilyCase*> v;
        for (const FamilyCase& c : familyCases())
            if (c.comp == CompType::F32 && c.op == Op::Box) v.push_back(&c);
        v.push_back(nullptr);
        return v;
    }();
    return list.data();
}

// One NaN, +inf or -inf source pixel of a 40x12 ROI (3x3 mask, anchor (1, 1), values in
// [0.5, 1.5)) makes exactly the nine means whose windows hold it non-finite, on every level and
// for every 32f Box function, in place or not; the other means are those of the reference.
TEST_F(FilterBoxEdges, NonFiniteFloatReachesOnlyTheWindowsThatHoldIt) {
    const Mask m{{3, 3}, {1, 1}};
    for (const FamilyCase* const* fc = boxFloatCases(); *fc; ++fc) {
        SCOPED_TRACE((*fc)->name);
        for (float bad : {std::numeric_limits<float>::quiet_NaN(), floats::kInf, -floats::kInf}) {
            SCOPED_TRACE(testing::Message() << "bad pixel " << bad);
            forEachLevel([&](const Level&) {
                std::mt19937 rng(17);
                Call<float> call(**fc, 40, 12, m, false, rng);
                std::uniform_real_distribution<float> d(0.5f, 1.5f);
                for (float& v : call.src.data) v = d(rng);
                const int ch = (*fc)->channels;
                for (int c = 0; c < ch; ++c) call.src.roi()[std::size_t(6) * call.src.stride + 2 * ch + c] = bad;
                call.runAndCheck();
                int nonFinite = 0;
                for (int y = 0; y < 12; ++y)
                    for (int i = 0; i < 40 * ch; ++i)
                        nonFinite += (i % ch < (*fc)->active()) && !std::isfinite(call.target().at(y, i));
                EXPECT_EQ(nonFinite, 9 * (*fc)->active());
            });
            if (testing::Test::HasFailure()) return;
        }
    }
}

// Values near 1e7 in the 12 left source columns and near 1e-3 elsewhere: the means of windows that
// hold only small values are within an ulp of a plain double sum over the window, however large
// the values that came before them in the row or the column.
TEST_F(FilterBoxEdges, FloatMeansKeepTheirPrecisionBesideLargeValues) {
    for (const FamilyCase* const* fc = boxFloatCases(); *fc; ++fc) {
        SCOPED_TRACE((*fc)->name);
        for (const Mask& m : {Mask{{3, 3}, {1, 1}}, Mask{{7, 5}, {6, 0}}, Mask{{1, 9}, {0, 4}}}) {
            forEachLevel([&](const Level&) {
                std::mt19937 rng(23);
                Call<float> call(**fc, 40, 12, m, true, rng);
                std::uniform_real_distribution<float> d(1.0f, 2.0f);
                const int ch = (*fc)->channels;
                for (int y = -m.anchor.y; y < 12 + m.size.height - 1 - m.anchor.y; ++y)
                    for (int x = -m.anchor.x; x < 40 + m.size.width - 1 - m.anchor.x; ++x)
                        for (int c = 0; c < ch; ++c)
                            call.src.roi()[std::ptrdiff_t(y) * call.src.stride + x * ch + c] =
                                d(rng) * (x + m.anchor.x < 12 ? 1e7f : 1e-3f);
                call.runAndCheck();
            });
            if (testing::Test::HasFailure()) return;
        }
    }
}

// The hostile fills on an image the library splits: one and two threads give the reference and
// the same bits, Max, Min and Median included.
TEST_F(FilterBoxEdges, HostileFloatsOnOneAndTwoThreads) {
    forEachCase(familyCases(), [](const FamilyCase& c) { return c.comp == CompType::F32; }, [](const FamilyCase& c) {
        forEachLevel([&](const Level&) {
            std::mt19937 rng(8);
            const Call<float> original(c, kSplitSize.width, kSplitSize.height, Mask{{3, 3}, {1, 1}}, true, rng);
            std::vector<float> single;
            for (int threads : {1, 2}) {
                SCOPED_TRACE(testing::Message() << threads << " threads");
                ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
                Call<float> call = original;
                call.runAndCheck();
                if (threads == 1) single = call.target().data;
                else EXPECT_TRUE(identical(call.target().data, single)) << "result depends on the thread split";
            }
        });
    });
}

// The float filters raise no floating-point flag on finite, normal data but inexact (the means'
// rounding), and Max, Min and Median none at all, whatever the data: they only compare bit
// patterns. NaN, infinities and denormals may make the means raise invalid (inf - inf within one
// window), denormal-operand and underflow.
TEST_F(FilterBoxEdges, FloatFlags) {
    forEachCase(familyCases(), [](const FamilyCase& c) { return c.comp == CompType::F32; }, [](const FamilyCase& c) {
        forEachLevel([&](const Level&) {
            for (bool hostile : {false, true}) {
                std::mt19937 rng(3);
                Call<float> call(c, 37, 6, Mask{{3, 3}, {1, 1}}, true, rng);
                if (!hostile) {
                    std::uniform_real_distribution<float> d(-1000.0f, 1000.0f);
                    for (float& v : call.src.data) v = d(rng);
                }
                const CallArgs a = call.args();
                const unsigned got = floats::flagsOf([&] { EXPECT_EQ(c.call(a), zkrStsNoErr); });
                const unsigned allowed = c.op != Op::Box ? 0u
                                         : hostile ? floats::kInexact | floats::kInvalid | floats::kDenormal |
                                                         floats::kUnderflow
                                                   : floats::kInexact;
                EXPECT_EQ(got & ~allowed, 0u) << (hostile ? "hostile" : "normal") << " data raised "
                                              << floats::flagNames(got);
            }
        });
    });
}

}  // namespace
}  // namespace zkrtest
