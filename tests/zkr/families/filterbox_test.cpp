// The FilterBox family against a direct reference (every window gathered, summed or sorted),
// driven by its table: every function on every dispatch level, ROIs inside padded images whose
// border supplies the mask's neighbours, masks of every shape the kernels treat apart (1x1, the
// 3-element and 3x3 networks, even and odd, wide and tall) with anchors at the centre and the
// corners, in-place forms, thread splits, rounding and range edges, and every argument error.
#include <algorithm>
#include <cmath>
#include <map>
#include <type_traits>

#include "family_support.h"
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

// Values over the whole range for integers; floats within +-1000 so that window sums stay exact
// enough for a tight tolerance.
template <class S> void fillValues(std::vector<S>& v, std::mt19937& rng) {
    if constexpr (std::is_floating_point_v<S>) {
        std::uniform_real_distribution<float> d(-1000.0f, 1000.0f);
        for (S& x : v) x = d(rng);
    } else {
        std::uniform_int_distribution<int> d(std::numeric_limits<S>::min(), std::numeric_limits<S>::max());
        for (S& x : v) x = S(d(rng));
    }
}

// The reference result of one component from its window of values.
template <class S> S reference(Op op, std::vector<S> w) {
    switch (op) {
        case Op::Max: return *std::max_element(w.begin(), w.end());
        case Op::Min: return *std::min_element(w.begin(), w.end());
        case Op::Median:
            std::sort(w.begin(), w.end());
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

    // Component c of pixel (x, y) from the original source.
    S expected(const Plane<S>& original, int x, int y, int c) const {
        std::vector<S> w;
        const int ch = fc->channels;
        for (int j = 0; j < mask.size.height; ++j)
            for (int i = 0; i < mask.size.width; ++i)
                w.push_back(original.at(y - mask.anchor.y + j, (x - mask.anchor.x + i) * ch + c));
        return reference<S>(fc->op, std::move(w));
    }

    bool close(S got, S want) const {
        if constexpr (std::is_floating_point_v<S>) {
            if (fc->op != Op::Box) return sameBits(got, want);
            return std::fabs(double(got) - double(want)) <= 1e-4;  // window sums of values within +-1000
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
                    const S want = c < fc->active() ? expected(original, x, y, c) : before.at(y, x * fc->channels + c);
                    if (!close(got, want)) {
                        ADD_FAILURE() << "pixel (" << x << "," << y << ") channel " << c << ": got " << +got
                                      << ", want " << +want;
                        ++mismatches;
                    }
                }
            }
        }
        if (fc->form == Form::Filter) {
            EXPECT_TRUE(src.data == original.data) << "source modified";
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
                EXPECT_TRUE(call.target().data == single) << "result depends on the thread split";
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
        EXPECT_TRUE(call.target().data == dstBefore) << what << ": destination written on error";
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

}  // namespace
}  // namespace zkrtest
