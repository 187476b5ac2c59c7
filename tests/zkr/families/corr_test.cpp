// The Corr family (template matching and two-image convolution) against the definitions' sums,
// taken pixel by pixel over each window in long double, driven by both of its tables: every
// function on every dispatch level, sources inside padded buffers, templates of every width the
// kernels treat apart (a single column, four-column passes and their remainders, as large as the
// source, larger than it), thread splits, scale factors, the zero-denominator rules and every
// argument error.
#include <algorithm>
#include <cmath>
#include <map>
#include <type_traits>

#include "family_support.h"
#include "float_fills.h"
#include "test_support.h"

#define ZKR_TABLE "corr/corr.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "corr/conv.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

enum class Shape { Full, Valid, Same };
enum class Measure { Raw, Norm, NormLevel, SqrDist };

struct CorrBag : Bag {
    ZkriSize srcRoiSize{0, 0}, tplRoiSize{0, 0}, src1Size{0, 0}, src2Size{0, 0};
    const void* pTpl = nullptr;
    int tplStep = 0;
};

// Both forms as (first image, second image, destination, scale factor).
struct CallArgs {
    const void* a = nullptr;
    int aStep = 0;
    ZkriSize aSize{0, 0};
    const void* b = nullptr;
    int bStep = 0;
    ZkriSize bSize{0, 0};
    void* dst = nullptr;
    int dstStep = 0;
    int sf = 0;

    CorrBag bag() const {
        CorrBag g;
        g.pSrc = g.pSrc1 = a;
        g.srcStep = g.src1Step = aStep;
        g.srcRoiSize = g.src1Size = aSize;
        g.pTpl = g.pSrc2 = b;
        g.tplStep = g.src2Step = bStep;
        g.tplRoiSize = g.src2Size = bSize;
        g.pDst = dst;
        g.dstStep = dstStep;
        g.scaleFactor = sf;
        return g;
    }
};

// Element types of the family's rows (8s included).
enum class Ty { U8, S8, U16, S16, F32 };
template <class T> constexpr Ty tyOf() {
    if constexpr (std::is_same_v<T, Zkr8u>) return Ty::U8;
    else if constexpr (std::is_same_v<T, Zkr8s>) return Ty::S8;
    else if constexpr (std::is_same_v<T, Zkr16u>) return Ty::U16;
    else if constexpr (std::is_same_v<T, Zkr16s>) return Ty::S16;
    else return Ty::F32;
}

struct FamilyCase {
    std::string name, base;
    bool conv;
    Shape shape;
    Measure measure;
    int channels;
    bool alpha;
    Ty src, dst;
    bool scaled;
    ZkrStatus (*call)(const CallArgs&);
    int active() const { return alpha ? 3 : channels; }
};

Shape shapeOf(const std::string& s) { return s == "Full" ? Shape::Full : s == "Valid" ? Shape::Valid : Shape::Same; }
Measure measureOf(const std::string& m) {
    return m == "Raw" ? Measure::Raw : m == "Norm" ? Measure::Norm : m == "NormLevel" ? Measure::NormLevel : Measure::SqrDist;
}
int channelsOf(const std::string& l) { return l == "C1" ? 1 : l == "C3" ? 3 : 4; }
std::string baseOf(const std::string& name) {
    const std::size_t end = name.find('_', name.find("_Norm") == std::string::npos ? 0 : name.find("_Norm") + 1);
    return name.substr(4, end - 4);
}

template <class Ts, class Td>
FamilyCase describe(const char* name, bool conv, const char* form, const char* layout, const char* shape,
                    const char* measure, ZkrStatus (*call)(const CallArgs&)) {
    return FamilyCase{name,           baseOf(name),           conv,
                      shapeOf(shape), measureOf(measure),     channelsOf(layout),
                      std::string(layout) == "AC4", tyOf<Ts>(), tyOf<Td>(),
                      formEndsWith(form, "_sfs"), call};
}

std::vector<FamilyCase> expandTables() {
    std::vector<FamilyCase> cases;
#define ZKR_FN(name, form, Ts, Td, L, shape, measure)                                                           \
    cases.push_back(describe<Ts, Td>(#name, false, #form, #L, #shape, #measure, [](const CallArgs& a) -> ZkrStatus { \
        const CorrBag g = a.bag();                                                                              \
        return ZKR_CALL(g, name, form, Ts, Td);                                                                 \
    }));
#include "corr/corr.tbl"
#undef ZKR_FN
#define ZKR_FN(name, form, T, L, shape)                                                                   \
    cases.push_back(describe<T, T>(#name, true, #form, #L, #shape, "Raw", [](const CallArgs& a) -> ZkrStatus { \
        const CorrBag g = a.bag();                                                                        \
        return ZKR_CALL(g, name, form, T);                                                                \
    }));
#include "corr/conv.tbl"
#undef ZKR_FN
    return cases;
}

const std::vector<FamilyCase>& familyCases() {
    static const std::vector<FamilyCase> cases = expandTables();
    return cases;
}

using Real = long double;

// An image of one case's source type: random values over the type's range (floats in
// [-100, 100], a few zeros), inside a padded buffer.
template <class S> void fillValues(Plane<S>& p, std::mt19937& rng) {
    if constexpr (std::is_floating_point_v<S>) {
        std::uniform_real_distribution<float> d(-100.0f, 100.0f);
        for (S& v : p.data) v = std::uniform_int_distribution<int>(0, 15)(rng) == 0 ? S(0) : S(d(rng));
    } else {
        fillRandom(p.data, rng);
    }
}

struct Expect {
    Real value;  // the reference
    Real scale;  // the magnitude its rounding errors are relative to
};

// Destination size of a case for sources a and b.
ZkriSize outSize(const FamilyCase& fc, ZkriSize a, ZkriSize b) {
    if (fc.shape == Shape::Full) return {a.width + b.width - 1, a.height + b.height - 1};
    if (fc.shape == Shape::Same) return a;
    return {std::abs(a.width - b.width) + 1, std::abs(a.height - b.height) + 1};
}

template <class S> struct Call {
    const FamilyCase* fc;
    Plane<S> a, b;

    Call(const FamilyCase& c, ZkriSize as, ZkriSize bs, bool padded, std::mt19937& rng)
        : fc(&c), a(as.width, as.height, c.channels, padded ? randomPadding(rng) : Padding{}, rng),
          b(bs.width, bs.height, c.channels, padded ? randomPadding(rng) : Padding{}, rng) {
        fillValues(a, rng);
        fillValues(b, rng);
    }

    // Component c at (x, y) of an image, zero outside it.
    static Real at(const Plane<S>& p, int x, int y, int c) {
        if (x < 0 || y < 0 || x >= p.width || y >= p.height) return 0;
        return Real(p.at(y, x * p.perPixel + c));
    }

    // The template measure at output (x, y): the template's corner on source (x - ox, y - oy).
    Expect match(int x, int y, int c) const {
        int ox = 0, oy = 0;
        if (fc->shape == Shape::Full) ox = b.width - 1, oy = b.height - 1;
        if (fc->shape == Shape::Same) ox = b.width / 2, oy = b.height / 2;
        const Real n = Real(b.width) * b.height;
        Real mi = 0, mt = 0;
        for (int j = 0; j < b.height; ++j)
            for (int i = 0; i < b.width; ++i) {
                mi += at(a, x - ox + i, y - oy + j, c) / n;
                mt += at(b, i, j, c) / n;
            }
        if (fc->measure != Measure::NormLevel) mi = mt = 0;
        Real ti = 0, tt = 0, ii = 0, abs = 0, dd = 0, rawT = 0, rawI = 0;
        for (int j = 0; j < b.height; ++j)
            for (int i = 0; i < b.width; ++i) {
                const Real vi = at(a, x - ox + i, y - oy + j, c), vt = at(b, i, j, c);
                ti += (vt - mt) * (vi - mi);
                abs += std::fabs((vt - mt) * (vi - mi));
                tt += (vt - mt) * (vt - mt);
                ii += (vi - mi) * (vi - mi);
                dd += (vi - vt) * (vi - vt);
                rawT += vt * vt;
                rawI += vi * vi;
            }
        switch (fc->measure) {
            case Measure::Raw: return {ti, abs};
            case Measure::Norm: {
                const Real d = std::sqrt(tt * ii);
                return d == 0 ? Expect{0, 0} : Expect{ti / d, abs / d};
            }
            case Measure::NormLevel: {
                if (ii <= rawI * 0x1p-40L || tt <= rawT * 0x1p-40L) return {0, 0};
                const Real d = std::sqrt(tt * ii);
                return {ti / d, (abs + rawI + rawT) / d};
            }
            case Measure::SqrDist: {
                const Real d = std::sqrt(tt * ii);
                if (d == 0) return {dd == 0 ? Real(0) : Real(INFINITY), 0};
                return {dd / d, (ii + tt) / d};
            }
        }
        return {0, 0};
    }

    // The convolution at output (x, y), from its definition over the first image.
    Expect convolve(int x, int y, int c) const {
        if (fc->shape == Shape::Valid) {
            x += std::min(a.width, b.width) - 1;
            y += std::min(a.height, b.height) - 1;
        }
        Real s = 0, abs = 0;
        for (int j = 0; j < a.height; ++j)
            for (int i = 0; i < a.width; ++i) {
                const Real p = at(a, i, j, c) * at(b, x - i, y - j, c);
                s += p;
                abs += std::fabs(p);
            }
        return {s, abs};
    }

    template <class Td> bool close(Td got, const Expect& e) const {
        if constexpr (std::is_floating_point_v<Td>) {
            if (std::isinf(e.value)) return got == Td(e.value);
            const Real tol = std::ldexp(std::fabs(e.value), -23) + e.scale * 1e-12L + 1e-30L;
            return std::fabs(Real(got) - e.value) <= tol;
        } else {
            return Real(got) == e.value;
        }
    }

    // Calls the case into a padded destination and checks every pixel, the alpha channel and the
    // padding left alone.
    template <class Td> void runAndCheck(int sf, std::mt19937& rng) {
        const ZkriSize out = outSize(*fc, {a.width, a.height}, {b.width, b.height});
        Plane<Td> dst(out.width, out.height, fc->channels, randomPadding(rng), rng);
        const Plane<Td> before = dst;
        const std::vector<S> aBefore = a.data, bBefore = b.data;
        CallArgs args{a.roi(), a.stepBytes(), {a.width, a.height}, b.roi(), b.stepBytes(), {b.width, b.height},
                      dst.roi(), dst.stepBytes(), sf};
        ASSERT_EQ(fc->call(args), zkrStsNoErr);
        EXPECT_TRUE(a.data == aBefore && b.data == bBefore) << "source modified";
        int bad = 0;
        for (std::size_t k = 0; k < dst.data.size() && bad < 5; ++k)
            if (!dst.insideRoi(k) && !sameBits(dst.data[k], before.data[k])) {
                ADD_FAILURE() << "write outside the destination ROI at " << k;
                ++bad;
            }
        for (int y = 0; y < out.height && bad < 5; ++y)
            for (int x = 0; x < out.width && bad < 5; ++x)
                for (int c = 0; c < fc->channels; ++c) {
                    const Td got = dst.at(y, x * fc->channels + c);
                    if (c >= fc->active()) {
                        if (!sameBits(got, before.at(y, x * fc->channels + c))) {
                            ADD_FAILURE() << "alpha written at (" << x << "," << y << ")";
                            ++bad;
                        }
                        continue;
                    }
                    Expect e = fc->conv ? convolve(x, y, c) : match(x, y, c);
                    if constexpr (!std::is_floating_point_v<Td>)
                        e.value = Real(refScale<Td>(std::int64_t(e.value), sf));
                    if (!close(got, e)) {
                        ADD_FAILURE() << "pixel (" << x << "," << y << ") channel " << c << ": got " << +got
                                      << ", want " << double(e.value);
                        ++bad;
                    }
                }
    }
};

// Source and template sizes: single pixels, one row or column, templates of 1 to 9 columns (the
// four-column passes, their remainders), a template as large as the source, and (Full, Same and
// convolutions) templates larger than the source in one or both directions.
struct Sizes {
    ZkriSize a, b;
};
const Sizes kSizes[] = {{{1, 1}, {1, 1}},  {{7, 5}, {3, 3}},  {{13, 6}, {5, 2}}, {{9, 4}, {9, 4}},
                        {{11, 3}, {4, 1}}, {{6, 7}, {1, 6}},  {{19, 5}, {9, 3}}, {{3, 2}, {5, 4}},
                        {{5, 8}, {7, 2}}};

bool fits(const FamilyCase& fc, const Sizes& s) {
    if (fc.shape != Shape::Valid) return true;
    const bool bInA = s.b.width <= s.a.width && s.b.height <= s.a.height;
    const bool aInB = s.a.width <= s.b.width && s.a.height <= s.b.height;
    return bInA || (fc.conv && aInB);
}

template <class F> void withCase(const FamilyCase& fc, F&& f) {
    auto dst = [&]<class S>() {
        if (fc.dst == Ty::F32) f.template operator()<S, Zkr32f>();
        else if (fc.dst == Ty::U8) f.template operator()<S, Zkr8u>();
        else f.template operator()<S, Zkr16s>();
    };
    switch (fc.src) {
        case Ty::U8: dst.template operator()<Zkr8u>(); break;
        case Ty::S8: dst.template operator()<Zkr8s>(); break;
        case Ty::U16: dst.template operator()<Zkr16u>(); break;
        case Ty::S16: dst.template operator()<Zkr16s>(); break;
        case Ty::F32: dst.template operator()<Zkr32f>(); break;
    }
}

std::vector<int> scaleFactors(const FamilyCase& fc) { return fc.scaled ? std::vector<int>{0, 3, -2, 12} : std::vector<int>{0}; }

class CorrFamily : public testing::WithParamInterface<std::string>, public LibraryStateTest {
protected:
    template <class Check> void walk(Check check) {
        forEachCase(familyCases(), [&](const FamilyCase& c) { return c.base == GetParam(); }, check);
    }
};

TEST_P(CorrFamily, MatchesDefinitionOnEveryLevel) {
    walk([](const FamilyCase& fc) {
        withCase(fc, [&]<class S, class Td>() {
            std::mt19937 rng(41);
            forEachLevel([&](const Level&) {
                for (const Sizes& s : kSizes) {
                    if (!fits(fc, s)) continue;
                    for (int sf : scaleFactors(fc)) {
                        SCOPED_TRACE(testing::Message() << s.a.width << "x" << s.a.height << " with " << s.b.width
                                                        << "x" << s.b.height << " sf " << sf);
                        Call<S> call(fc, s.a, s.b, true, rng);
                        call.template runAndCheck<Td>(sf, rng);
                        if (testing::Test::HasFailure()) return;
                    }
                }
            });
        });
    });
}

// Above the splitting size, 1, 2 and 3 threads give the same bits and the definition's values.
TEST_P(CorrFamily, ThreadSplitsMatchSingleThread) {
    walk([](const FamilyCase& fc) {
        withCase(fc, [&]<class S, class Td>() {
            std::mt19937 rng(7);
            const Call<S> original(fc, {150, 61}, {5, 4}, true, rng);
            std::vector<Td> single;
            for (int threads : {1, 2, 3}) {
                SCOPED_TRACE(testing::Message() << threads << " threads");
                ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
                Call<S> call = original;
                std::mt19937 same(3);
                const ZkriSize out = outSize(fc, {150, 61}, {5, 4});
                Plane<Td> dst(out.width, out.height, fc.channels, Padding{}, same);
                CallArgs args{call.a.roi(), call.a.stepBytes(), {150, 61}, call.b.roi(), call.b.stepBytes(), {5, 4},
                              dst.roi(),    dst.stepBytes(),    fc.scaled ? 9 : 0};
                ASSERT_EQ(fc.call(args), zkrStsNoErr);
                if (threads == 1) {
                    single = dst.data;
                    for (int y : {0, 30, out.height - 1})
                        for (int x : {0, out.width / 2, out.width - 1}) {
                            Expect e = fc.conv ? call.convolve(x, y, 0) : call.match(x, y, 0);
                            if constexpr (!std::is_floating_point_v<Td>)
                                e.value = Real(refScale<Td>(std::int64_t(e.value), 9));
                            EXPECT_TRUE(call.close(dst.at(y, x * fc.channels), e)) << x << "," << y;
                        }
                } else {
                    EXPECT_TRUE(std::equal(single.begin(), single.end(), dst.data.begin(),
                                           [](Td p, Td q) { return sameBits(p, q); }))
                        << "result depends on the thread split";
                }
            }
        });
    });
}

// Pointers, then sizes, then steps (sources, destination), then the Valid size rule; nothing
// written on error.
TEST_P(CorrFamily, StatusCodes) {
    walk([](const FamilyCase& fc) {
        withCase(fc, [&]<class S, class Td>() {
            std::mt19937 rng(5);
            Call<S> call(fc, {6, 4}, {3, 2}, false, rng);
            const ZkriSize out = outSize(fc, {6, 4}, {3, 2});
            Plane<Td> dst(out.width, out.height, fc.channels, Padding{}, rng);
            const std::vector<Td> before = dst.data;
            const CallArgs good{call.a.roi(), call.a.stepBytes(), {6, 4}, call.b.roi(), call.b.stepBytes(), {3, 2},
                                dst.roi(),    dst.stepBytes(),    0};
            const int px = fc.channels * int(sizeof(S));
            auto expect = [&](CallArgs a, ZkrStatus want, const char* what) {
                EXPECT_EQ(fc.call(a), want) << what;
                EXPECT_TRUE(dst.data == before) << what << ": destination written";
            };
            CallArgs a = good;
            for (int k = 0; k < 3; ++k) {
                a = good;
                if (k == 0) a.a = nullptr;
                if (k == 1) a.b = nullptr;
                if (k == 2) a.dst = nullptr;
                a.aSize = {0, 0};
                expect(a, zkrStsNullPtrErr, "null pointer, checked before the sizes");
            }
            for (ZkriSize bad : {ZkriSize{0, 4}, ZkriSize{6, -1}}) {
                a = good;
                a.aSize = bad;
                a.bStep = 0;
                expect(a, zkrStsSizeErr, "bad source size, checked before the steps");
                a = good;
                a.bSize = bad;
                expect(a, zkrStsSizeErr, "bad template size");
            }
            for (int bad : {0, -px * 6, px * 6 - int(sizeof(S))}) {
                a = good;
                a.aStep = bad;
                expect(a, zkrStsStepErr, "short source step");
            }
            a = good;
            a.bStep = px * 3 - 1;
            expect(a, zkrStsStepErr, "short template step");
            a = good;
            a.dstStep = out.width * fc.channels * int(sizeof(Td)) - int(sizeof(Td));
            expect(a, zkrStsStepErr, "short destination step");
            if (sizeof(Td) > 1) {
                a = good;
                a.dstStep += 1;
                expect(a, zkrStsStepErr, "destination step not a multiple of the element");
            }
            if (fc.shape == Shape::Valid) {
                a = good;
                a.bSize = {3, 5};  // higher than the source but narrower: neither holds the other
                expect(a, zkrStsSizeErr, "template higher than the source");
            }
        });
    });
}

std::vector<std::string> bases() {
    std::vector<std::string> v;
    for (const FamilyCase& c : familyCases())
        if (std::find(v.begin(), v.end(), c.base) == v.end()) v.push_back(c.base);
    return v;
}

INSTANTIATE_TEST_SUITE_P(Zkri, CorrFamily, testing::ValuesIn(bases()),
                         [](const testing::TestParamInfo<std::string>& i) {
                             std::string s = i.param;
                             s.erase(std::remove(s.begin(), s.end(), '_'), s.end());
                             return s;
                         });

TEST(CorrFamilyTable, CountsPerBase) {
    std::map<std::string, int> perBase;
    std::vector<std::string> names;
    for (const FamilyCase& c : familyCases()) {
        ++perBase[c.base];
        names.push_back(c.name);
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
    std::map<std::string, int> want{{"CrossCorrValid", 4}, {"ConvValid", 9}, {"ConvFull", 9}};
    for (const char* b : {"CrossCorrFull_Norm", "CrossCorrValid_Norm", "CrossCorrSame_Norm", "CrossCorrFull_NormLevel",
                          "CrossCorrValid_NormLevel", "CrossCorrSame_NormLevel", "SqrDistanceFull_Norm",
                          "SqrDistanceValid_Norm", "SqrDistanceSame_Norm"})
        want[b] = 20;
    EXPECT_EQ(perBase, want);
}

// ---- the rules at the edges ----------------------------------------------------------------

class CorrEdges : public LibraryStateTest {};

// Zero windows and flat windows: the correlations give 0, the squared distance +inf beside a
// non-zero template and 0 against a zero one; a perfect match gives exactly 1 (correlations) and
// 0 (distance) for integers.
TEST_F(CorrEdges, ZeroAndFlatWindows) {
    forEachLevel([](const Level&) {
        const Zkr8u zero[12] = {}, flat[12] = {9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9};
        const Zkr8u tpl[4] = {1, 2, 3, 4};
        float out[9] = {};
        ASSERT_EQ(zkriCrossCorrValid_Norm_8u32f_C1R(zero, 4, {4, 3}, tpl, 2, {2, 2}, out, 12), zkrStsNoErr);
        EXPECT_EQ(out[0], 0.0f);
        ASSERT_EQ(zkriSqrDistanceValid_Norm_8u32f_C1R(zero, 4, {4, 3}, tpl, 2, {2, 2}, out, 12), zkrStsNoErr);
        EXPECT_EQ(out[4], INFINITY);
        ASSERT_EQ(zkriSqrDistanceValid_Norm_8u32f_C1R(zero, 4, {4, 3}, zero, 2, {2, 2}, out, 12), zkrStsNoErr);
        EXPECT_EQ(out[5], 0.0f);
        ASSERT_EQ(zkriCrossCorrValid_NormLevel_8u32f_C1R(flat, 4, {4, 3}, tpl, 2, {2, 2}, out, 12), zkrStsNoErr);
        EXPECT_EQ(out[3], 0.0f);
        ASSERT_EQ(zkriCrossCorrValid_NormLevel_8u32f_C1R(tpl, 2, {2, 2}, tpl, 2, {2, 2}, out, 4), zkrStsNoErr);
        EXPECT_FLOAT_EQ(out[0], 1.0f);
        ASSERT_EQ(zkriSqrDistanceValid_Norm_8u32f_C1R(tpl, 2, {2, 2}, tpl, 2, {2, 2}, out, 4), zkrStsNoErr);
        EXPECT_EQ(out[0], 0.0f);
    });
}

// One NaN or infinity in a 32f source makes exactly the windows that hold it NaN (normalised
// measures), and leaves every other value finite.
TEST_F(CorrEdges, NonFiniteReachesOnlyItsWindows) {
    for (float bad : {NAN, INFINITY, -INFINITY}) {
        forEachLevel([&](const Level&) {
            std::vector<float> src(20 * 9, 1.5f), out(18 * 7, 0.0f);
            for (std::size_t k = 0; k < src.size(); ++k) src[k] = float(k % 7) - 2.5f;
            src[4 * 20 + 10] = bad;
            const float tpl[9] = {1, -2, 3, 4, 5, -6, 7, 8, 9};
            ASSERT_EQ(zkriCrossCorrValid_Norm_32f_C1R(src.data(), 80, {20, 9}, tpl, 12, {3, 3}, out.data(), 72),
                      zkrStsNoErr);
            int nan = 0;
            for (int y = 0; y < 7; ++y)
                for (int x = 0; x < 18; ++x) {
                    const bool holds = x >= 8 && x <= 10 && y >= 2 && y <= 4;
                    EXPECT_EQ(std::isnan(out[std::size_t(y) * 18 + x]), holds) << x << "," << y;
                    nan += std::isnan(out[std::size_t(y) * 18 + x]);
                }
            EXPECT_EQ(nan, 9);
        });
    }
}

// sqrt(sum a^2 * sum b^2) of channel c: the magnitude every raw sum's transform rounding scales with.
template <class S> Real energy(const Call<S>& call, int c) {
    Real a = 0, b = 0;
    for (int y = 0; y < call.a.height; ++y)
        for (int x = 0; x < call.a.width; ++x) a += Real(call.a.at(y, x * call.a.perPixel + c)) * call.a.at(y, x * call.a.perPixel + c);
    for (int y = 0; y < call.b.height; ++y)
        for (int x = 0; x < call.b.width; ++x) b += Real(call.b.at(y, x * call.b.perPixel + c)) * call.b.at(y, x * call.b.perPixel + c);
    return std::sqrt(a * b);
}

// Templates large enough for the frequency domain (every shape, integer and float sources, one and
// three channels, a scaled convolution): sampled pixels (the corners, the edges, the middle) against
// the definition on every level, and the same bits on one and two threads.
TEST_F(CorrEdges, LargeTemplatesThroughTheFrequencyDomain) {
    forEachCase(familyCases(),
                [](const FamilyCase& c) {
                    return (c.src == Ty::U8 && c.channels == 1) || (c.src == Ty::S16 && c.channels == 3) ||
                           (c.src == Ty::F32 && c.alpha);
                },
                [](const FamilyCase& fc) {
                    withCase(fc, [&]<class S, class Td>() {
                        std::mt19937 rng(23);
                        const ZkriSize as{260, 256}, bs{33, 29};  // transforms of 66 K points and more: split too
                        const Call<S> original(fc, as, bs, true, rng);
                        const ZkriSize out = outSize(fc, as, bs);
                        const int sf = fc.scaled ? 3 : 0;
                        forEachLevel([&](const Level&) {
                            std::vector<Td> single;
                            for (int threads : {1, 2}) {
                                ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
                                Call<S> call = original;
                                std::mt19937 same(3);
                                Plane<Td> dst(out.width, out.height, fc.channels, Padding{}, same);
                                const CallArgs args{call.a.roi(), call.a.stepBytes(), as, call.b.roi(),
                                                    call.b.stepBytes(), bs, dst.roi(), dst.stepBytes(), sf};
                                ASSERT_EQ(fc.call(args), zkrStsNoErr);
                                if (threads == 2) {
                                    EXPECT_TRUE(std::equal(single.begin(), single.end(), dst.data.begin(),
                                                           [](Td p, Td q) { return sameBits(p, q); }))
                                        << "result depends on the thread split";
                                    continue;
                                }
                                single = dst.data;
                                for (int y : {0, 1, out.height / 2, out.height - 1})
                                    for (int x : {0, 7, out.width / 2, out.width - 2, out.width - 1})
                                        for (int c = 0; c < fc.active(); ++c) {
                                            Expect e = fc.conv ? call.convolve(x, y, c) : call.match(x, y, c);
                                            if constexpr (!std::is_floating_point_v<Td>)
                                                e.value = Real(refScale<Td>(std::int64_t(e.value), sf));
                                            const Td got = dst.at(y, x * fc.channels + c);
                                            // The transform's rounding is relative to the whole channel's
                                            // energy, not the window's: raw sums get that much room, the
                                            // scores (magnitude about 1) 1e-6 whatever their window.
                                            e.scale += fc.measure == Measure::Raw ? energy(call, c) * 1e-4L : 1e6L;
                                            EXPECT_TRUE(call.close(got, e)) << "pixel (" << x << "," << y << ") channel "
                                                                            << c << ": got " << +got << ", want "
                                                                            << double(e.value);
                                        }
                            }
                        });
                    });
                });
}

}  // namespace
}  // namespace zkrtest
