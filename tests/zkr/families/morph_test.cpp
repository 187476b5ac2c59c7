// The Morph family (3x3 and arbitrary-mask erosion and dilation, the centre-weighted 3x3 median)
// against the definitions, taken window by window over the set places of the mask, driven by both
// of its tables: every function on every dispatch level, ROIs inside padded images whose border
// supplies the neighbours, masks of every kind the kernels group apart (rectangles, crosses, rings
// with holes, single places, runs of every length up to 17, anchors at the corners), in-place forms,
// thread splits, float order (NaN wins, -0 below +0) and every argument error.
#include <algorithm>
#include <cmath>
#include <map>
#include <type_traits>

#include "family_support.h"
#include "float_fills.h"
#include "test_support.h"

#define ZKR_TABLE "morph/morph.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "morph/morphm.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

enum class Op { Erode, Dilate, WMedian };

struct MorphBag : Bag {
    ZkriSize dstRoiSize{0, 0}, maskSize{0, 0};
    ZkriPoint anchor{0, 0};
    const void* pMask = nullptr;
    int weight = 0;
};

struct Mask {
    int w, h, ax, ay;
    std::vector<Zkr8u> bits;  // empty: the 3x3 square
    bool set(int i, int j) const { return bits.empty() || bits[std::size_t(j) * w + i] != 0; }
};

struct CallArgs {
    const void* src = nullptr;
    int srcStep = 0;
    void* dst = nullptr;
    int dstStep = 0;
    ZkriSize roi{0, 0};
    const Mask* mask = nullptr;
    int weight = 1;

    MorphBag bag() const {
        MorphBag b;
        b.pSrc = src;
        b.srcStep = srcStep;
        b.pDst = b.pSrcDst = dst;
        b.dstStep = b.srcDstStep = dstStep;
        b.roiSize = b.dstRoiSize = roi;
        if (mask) {
            b.pMask = mask->bits.empty() ? nullptr : mask->bits.data();
            b.maskSize = {mask->w, mask->h};
            b.anchor = {mask->ax, mask->ay};
        }
        b.weight = weight;
        return b;
    }
};

struct FamilyCase {
    std::string name, base;
    Op op;
    bool inPlace, anyMask;
    int channels;
    bool alpha;
    CompType comp;
    ZkrStatus (*call)(const CallArgs&);
    int active() const { return alpha ? 3 : channels; }
};

template <class T>
FamilyCase describe(const char* name, const char* form, const char* layout, const char* op,
                    ZkrStatus (*call)(const CallArgs&)) {
    const std::string f = form, l = layout, o = op, n = name;
    return FamilyCase{n,
                      n.substr(4, n.find('_') - 4),
                      o == "Erode" ? Op::Erode : o == "Dilate" ? Op::Dilate : Op::WMedian,
                      formEndsWith(f, "_i"),
                      f.rfind("morphm", 0) == 0,
                      l == "C1" ? 1 : l == "C3" ? 3 : 4,
                      l == "AC4",
                      compTypeOf<T>(),
                      call};
}

std::vector<FamilyCase> expandTables() {
    std::vector<FamilyCase> cases;
#define ZKR_FN(name, form, T, L, op)                                                        \
    cases.push_back(describe<T>(#name, #form, #L, #op, [](const CallArgs& a) -> ZkrStatus { \
        const MorphBag b = a.bag();                                                         \
        return ZKR_CALL(b, name, form, T);                                                  \
    }));
#include "morph/morph.tbl"
#include "morph/morphm.tbl"
#undef ZKR_FN
    return cases;
}

const std::vector<FamilyCase>& familyCases() {
    static const std::vector<FamilyCase> cases = expandTables();
    return cases;
}

// Order of the extremes: -0 below +0; a NaN wins either extreme.
template <class S> bool ranksBelow(S a, S b) {
    if constexpr (std::is_floating_point_v<S>) return a < b || (a == b && std::signbit(a) && !std::signbit(b));
    else return a < b;
}

template <class S> S reference(Op op, std::vector<S> w, int weight) {
    if (op == Op::WMedian) {
        const S centre = w[4];
        for (int k = 1; k < weight; ++k) w.push_back(centre);
        std::sort(w.begin(), w.end());
        return w[(w.size() - 1) / 2];
    }
    if constexpr (std::is_floating_point_v<S>)
        for (S v : w)
            if (std::isnan(v)) return v;
    return op == Op::Erode ? *std::min_element(w.begin(), w.end(), ranksBelow<S>)
                           : *std::max_element(w.begin(), w.end(), ranksBelow<S>);
}

template <class S> void fillValues(std::vector<S>& v, std::mt19937& rng) {
    if constexpr (std::is_floating_point_v<S>) {
        floats::fillHostile(v, rng, 0.004);
    } else {
        // Values over the whole range, and runs of equal values (ties of the median).
        fillRandom(v, rng);
        for (std::size_t k = 1; k < v.size(); k += 5) v[k] = v[k - 1];
    }
}

template <class S> struct Call {
    const FamilyCase* fc;
    Mask mask;
    Plane<S> src, dst;

    Call(const FamilyCase& c, int w, int h, const Mask& m, bool padded, std::mt19937& rng)
        : fc(&c), mask(m),
          src(w, h, c.channels,
              [&] {
                  const Padding e = padded ? randomPadding(rng) : Padding{};
                  return Padding{m.ax + e.left, m.w - 1 - m.ax + e.right, m.ay + e.top, m.h - 1 - m.ay + e.bottom,
                                 e.extra};
              }(),
              rng),
          dst(w, h, c.channels, padded ? randomPadding(rng) : Padding{}, rng) {
        fillValues(src.data, rng);
    }

    Plane<S>& target() { return fc->inPlace ? src : dst; }

    CallArgs args(int weight) {
        return CallArgs{src.roi(), src.stepBytes(), target().roi(), target().stepBytes(), {src.width, src.height},
                        &mask, weight};
    }

    void runAndCheck(int weight) {
        const Plane<S> original = src;
        const Plane<S> before = target();
        ASSERT_EQ(fc->call(args(weight)), zkrStsNoErr);
        const Plane<S>& out = target();
        int bad = 0;
        for (std::size_t k = 0; k < out.data.size() && bad < 5; ++k)
            if (!before.insideRoi(k) && !sameBits(out.data[k], before.data[k])) {
                ADD_FAILURE() << "write outside the ROI at " << k;
                ++bad;
            }
        const int ch = fc->channels;
        for (int y = 0; y < out.height && bad < 5; ++y)
            for (int x = 0; x < out.width && bad < 5; ++x)
                for (int c = 0; c < ch; ++c) {
                    const S got = out.at(y, x * ch + c);
                    if (c >= fc->active()) {
                        if (!sameBits(got, before.at(y, x * ch + c))) {
                            ADD_FAILURE() << "alpha written at (" << x << "," << y << ")";
                            ++bad;
                        }
                        continue;
                    }
                    std::vector<S> w;
                    for (int j = 0; j < mask.h; ++j)
                        for (int i = 0; i < mask.w; ++i)
                            if (mask.set(i, j)) w.push_back(original.at(y - mask.ay + j, (x - mask.ax + i) * ch + c));
                    const S want = reference(fc->op, w, weight);
                    const bool ok = std::is_floating_point_v<S> && want != want ? got != got : sameBits(got, want);
                    if (!ok) {
                        ADD_FAILURE() << "pixel (" << x << "," << y << ") channel " << c << ": got " << +got
                                      << ", want " << +want;
                        ++bad;
                    }
                }
        if (!fc->inPlace) {
            EXPECT_TRUE(std::equal(src.data.begin(), src.data.end(), original.data.begin(),
                                   [](S p, S q) { return sameBits(p, q); }))
                << "source modified";
        }
    }
};

Mask shaped(int w, int h, int ax, int ay, const char* rows) {
    Mask m{w, h, ax, ay, {}};
    for (int k = 0; k < w * h; ++k) m.bits.push_back(rows[k] == '#' ? 1 : 0);
    return m;
}

// Masks of every grouping: the square, a rectangle, a cross, a ring with a hole, a single place, a
// diagonal, a row of 17 (runs of every level), a column, and an irregular blob with anchors off
// centre and at the corners.
std::vector<Mask> masks() {
    return {shaped(3, 3, 1, 1, "#########"),
            shaped(4, 2, 3, 0, "########"),
            shaped(3, 3, 1, 1, ".#.###.#."),
            shaped(5, 4, 2, 1, ".###.#...##...#.###."),
            shaped(2, 3, 0, 2, "...#.."),
            shaped(3, 3, 0, 0, "#...#...#"),
            shaped(17, 1, 16, 0, "#################"),
            shaped(1, 5, 0, 3, "#####"),
            shaped(6, 3, 1, 2, "##.####.###...####")};
}

struct Geometry {
    int width, height;
    bool padded;
};
const Geometry kGeometries[] = {{1, 1, false}, {7, 5, true}, {37, 6, false}, {70, 3, true}};

template <class F> void withType(const FamilyCase& fc, F&& f) {
    withCompType<Zkr8u, Zkr16u, Zkr32f>(fc.comp, std::forward<F>(f));
}

std::vector<Mask> masksOf(const FamilyCase& fc) {
    return fc.anyMask ? masks() : std::vector<Mask>{Mask{3, 3, 1, 1, {}}};
}

class MorphFamily : public testing::WithParamInterface<std::string>, public LibraryStateTest {
protected:
    template <class Check> void walk(Check check) {
        forEachCase(familyCases(), [&](const FamilyCase& c) { return c.base + (c.inPlace ? "I" : "") == GetParam(); },
                    check);
    }
};

TEST_P(MorphFamily, MatchesDefinitionOnEveryLevel) {
    walk([](const FamilyCase& fc) {
        withType(fc, [&]<class S>() {
            std::mt19937 rng(77);
            const std::vector<int> weights = fc.op == Op::WMedian ? std::vector<int>{1, 2, 3, 7, 8, 9, 200}
                                                                  : std::vector<int>{1};
            forEachLevel([&](const Level&) {
                for (const Geometry& g : kGeometries)
                    for (const Mask& m : masksOf(fc))
                        for (int weight : weights) {
                            SCOPED_TRACE(testing::Message() << g.width << "x" << g.height << " mask " << m.w << "x"
                                                            << m.h << " weight " << weight);
                            Call<S> call(fc, g.width, g.height, m, g.padded, rng);
                            call.runAndCheck(weight);
                            if (testing::Test::HasFailure()) return;
                        }
            });
        });
    });
}

// One and four channels (the alpha kept) above the splitting size: 1, 2 and 3 threads give the
// definition's values and the same bits.
TEST_P(MorphFamily, ThreadSplitsMatchSingleThread) {
    walk([](const FamilyCase& fc) {
        if (fc.channels == 3) return;
        withType(fc, [&]<class S>() {
            std::mt19937 rng(12);
            const Call<S> original(fc, kSplitSize.width, kSplitSize.height, masksOf(fc).back(), true, rng);
            std::vector<S> single;
            for (int threads : {1, 2, 3}) {
                SCOPED_TRACE(testing::Message() << threads << " threads");
                ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
                Call<S> call = original;
                if (threads == 1) {
                    call.runAndCheck(4);
                    single = call.target().data;
                } else {
                    ASSERT_EQ(fc.call(call.args(4)), zkrStsNoErr);
                    EXPECT_TRUE(std::equal(single.begin(), single.end(), call.target().data.begin(),
                                           [](S p, S q) { return sameBits(p, q); }))
                        << "result depends on the thread split";
                }
            }
        });
    });
}

// Pointers (images, then mask), size, steps, then mask size, anchor, an empty mask, the weight;
// nothing written on error.
TEST_P(MorphFamily, StatusCodes) {
    walk([](const FamilyCase& fc) {
        withType(fc, [&]<class S>() {
            std::mt19937 rng(5);
            const Mask square = shaped(3, 3, 1, 1, "#########");
            Call<S> call(fc, 6, 3, fc.anyMask ? square : Mask{3, 3, 1, 1, {}}, true, rng);
            const CallArgs good = call.args(3);
            const std::vector<S> before = call.target().data;
            auto expect = [&](const CallArgs& a, ZkrStatus want, const char* what) {
                EXPECT_EQ(fc.call(a), want) << what;
                EXPECT_TRUE(std::equal(before.begin(), before.end(), call.target().data.begin(),
                                       [](S p, S q) { return sameBits(p, q); }))
                    << what << ": destination written on error";
            };
            CallArgs a = good;
            a.dst = nullptr;
            expect(a, zkrStsNullPtrErr, "null destination");
            if (!fc.inPlace) {
                a = good;
                a.src = nullptr;
                expect(a, zkrStsNullPtrErr, "null source");
            }
            for (ZkriSize roi : {ZkriSize{0, 3}, ZkriSize{6, -1}}) {
                a = good;
                a.roi = roi;
                a.weight = 0;
                expect(a, zkrStsSizeErr, "bad roi, checked before the weight");
            }
            const int px = fc.channels * int(sizeof(S));
            for (int bad : {0, -6 * px, 6 * px - int(sizeof(S))}) {
                a = good;
                a.dstStep = bad;
                expect(a, zkrStsStepErr, "bad destination step");
                if (!fc.inPlace) {
                    a = good;
                    a.srcStep = bad;
                    expect(a, zkrStsStepErr, "bad source step");
                }
            }
            if (fc.op == Op::WMedian) {
                a = good;
                a.weight = 0;
                expect(a, zkrStsBadArgErr, "weight below 1");
            }
            if (!fc.anyMask) return;
            const Mask empty = shaped(2, 2, 0, 0, "....");
            Mask null = square;
            null.bits.clear();  // the bag passes a null mask pointer for an empty bit list
            a = good;
            a.mask = &null;
            expect(a, zkrStsNullPtrErr, "null mask");
            for (ZkriSize size : {ZkriSize{0, 3}, ZkriSize{3, -1}, ZkriSize{257, 256}}) {
                Mask m = square;
                m.w = size.width;
                m.h = size.height;
                m.ax = m.ay = 0;
                a = good;
                a.mask = &m;
                expect(a, zkrStsMaskSizeErr, "bad mask size");
            }
            for (ZkriPoint anchor : {ZkriPoint{-1, 0}, ZkriPoint{0, 3}, ZkriPoint{3, 1}}) {
                Mask m = square;
                m.ax = anchor.x;
                m.ay = anchor.y;
                a = good;
                a.mask = &m;
                expect(a, zkrStsAnchorErr, "anchor outside the mask");
            }
            a = good;
            a.mask = &empty;
            expect(a, zkrStsBadArgErr, "mask without a set place");
        });
    });
}

std::vector<std::string> groups() {
    std::vector<std::string> v;
    for (const FamilyCase& c : familyCases()) {
        const std::string g = c.base + (c.inPlace ? "I" : "");
        if (std::find(v.begin(), v.end(), g) == v.end()) v.push_back(g);
    }
    return v;
}

INSTANTIATE_TEST_SUITE_P(Zkri, MorphFamily, testing::ValuesIn(groups()),
                         [](const testing::TestParamInfo<std::string>& i) { return i.param; });

TEST(MorphFamilyTable, CountsPerBase) {
    std::map<std::string, int> perBase;
    std::vector<std::string> names;
    for (const FamilyCase& c : familyCases()) {
        ++perBase[c.base];
        names.push_back(c.name);
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
    EXPECT_EQ(perBase, (std::map<std::string, int>{{"Erode3x3", 24}, {"Dilate3x3", 24},
                                                   {"FilterMedianWeightedCenter3x3", 1}, {"Erode", 21},
                                                   {"Dilate", 21}}));
}

}  // namespace
}  // namespace zkrtest
