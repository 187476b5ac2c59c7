// The image generation family against direct references, driven by its table: every function on
// every dispatch level over ROIs inside padded images; the comparisons at the tolerance's edge,
// with NaNs, infinities and an ignored alpha; the Jaehne pattern's formula, range and rounding
// per type; the deinterlacing rule on hand-worked frames and random ones at every threshold;
// thread splits and every argument error.
#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <type_traits>

#include "family_support.h"
#include "float_fills.h"
#include "test_support.h"

#define ZKR_TABLE "imggen/imggen.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

enum class Op { CmpEps, CmpEpsC, Jaehne, Deinterlace };
enum class GenType { U8, S8, U16, S16, S32, F32 };

template <class T> constexpr GenType genTypeOf() {
    if constexpr (std::is_same_v<T, Zkr8u>) return GenType::U8;
    else if constexpr (std::is_same_v<T, Zkr8s>) return GenType::S8;
    else if constexpr (std::is_same_v<T, Zkr16u>) return GenType::U16;
    else if constexpr (std::is_same_v<T, Zkr16s>) return GenType::S16;
    else if constexpr (std::is_same_v<T, Zkr32s>) return GenType::S32;
    else return GenType::F32;
}

template <class F> void withGenType(GenType t, F&& f) {
    switch (t) {
        case GenType::U8: return f.template operator()<Zkr8u>();
        case GenType::S8: return f.template operator()<Zkr8s>();
        case GenType::U16: return f.template operator()<Zkr16u>();
        case GenType::S16: return f.template operator()<Zkr16s>();
        case GenType::S32: return f.template operator()<Zkr32s>();
        case GenType::F32: return f.template operator()<Zkr32f>();
    }
}

struct GenBag : Bag {
    Zkr32f eps = 0.0f;
    int threshold = 0;
};

struct FamilyCase {
    std::string name;
    std::string base;
    Op op;
    int channels;
    bool alpha;
    GenType type;
    ZkrStatus (*call)(const GenBag&);

    int active() const { return alpha ? 3 : channels; }
};

Op opOf(const std::string& o) {
    return o == "CmpEps" ? Op::CmpEps : o == "CmpEpsC" ? Op::CmpEpsC : o == "Jaehne" ? Op::Jaehne : Op::Deinterlace;
}

std::string baseOf(const std::string& name) {
    const std::size_t end = name.find('_');
    return name.substr(4, end - 4);  // after "zkri"
}

template <class T>
FamilyCase describe(const char* name, const char* layout, const char* op, ZkrStatus (*call)(const GenBag&)) {
    const std::string l = layout;
    return FamilyCase{name,
                      baseOf(name),
                      opOf(op),
                      l == "C1" ? 1 : (l == "C3" ? 3 : 4),
                      l == "AC4",
                      genTypeOf<T>(),
                      call};
}

std::vector<FamilyCase> expandTable() {
    std::vector<FamilyCase> cases;
#define ZKR_FN(name, form, T, L, op) \
    cases.push_back(describe<T>(#name, #L, #op, [](const GenBag& b) -> ZkrStatus { return ZKR_CALL(b, name, form, T); }));
#include "imggen/imggen.tbl"
#undef ZKR_FN
    return cases;
}

const std::vector<FamilyCase>& familyCases() {
    static const std::vector<FamilyCase> cases = expandTable();
    return cases;
}

struct Geometry {
    int width, height;
    bool padded;
};
const Geometry kGeometries[] = {{1, 1, false}, {2, 1, true}, {1, 4, true}, {7, 5, true}, {37, 6, false},
                                {64, 3, true}, {3, 2, false}};

template <class S> Padding paddingFor(bool padded, std::mt19937& rng) { return padded ? randomPadding(rng) : Padding{}; }

// Every component outside the ROI is as it was.
template <class S> void expectOutsideUntouched(const Plane<S>& after, const Plane<S>& before) {
    for (std::size_t k = 0; k < after.data.size(); ++k) {
        if (before.insideRoi(k)) continue;
        if (!sameBits(after.data[k], before.data[k])) {
            ADD_FAILURE() << "write outside the ROI at buffer index " << k;
            return;
        }
    }
}

// ---- CompareEqualEps, CompareEqualEpsC ------------------------------------------------------------------

struct CompareCall {
    const FamilyCase* fc;
    Plane<Zkr32f> s1, s2;
    Plane<Zkr8u> dst;
    Zkr32f value[4] = {0, 0, 0, 0};
    Zkr32f eps;

    CompareCall(const FamilyCase& c, int w, int h, bool padded, Zkr32f e, std::mt19937& rng)
        : fc(&c), s1(w, h, c.channels, paddingFor<Zkr32f>(padded, rng), rng),
          s2(w, h, c.channels, paddingFor<Zkr32f>(padded, rng), rng), dst(w, h, 1, paddingFor<Zkr8u>(padded, rng), rng),
          eps(e) {
        std::uniform_real_distribution<float> base(-100.0f, 100.0f);
        for (Zkr32f& v : value) v = base(rng);
        // Each component equal to, within, at, or beyond the tolerance of its partner, or not a number:
        // whole pixels match often enough for both outcomes to be common.
        const bool constant = c.op == Op::CmpEpsC;
        std::uniform_int_distribution<int> pick(0, 11);
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w; ++x) {
                for (int ch = 0; ch < c.channels; ++ch) {
                    Zkr32f b = constant ? value[ch] : base(rng);
                    Zkr32f a = b;
                    switch (pick(rng)) {
                        case 0: a = b + eps * 0.5f; break;
                        case 1: a = b - eps * 0.5f; break;
                        case 2: a = b + eps; break;
                        case 3: a = b - eps; break;
                        case 4: a = b + 2.0f * eps + 0.01f; break;
                        case 5: a = floats::specials()[rng() % floats::specials().size()]; break;
                        case 7:  // the same special on both sides (the constant keeps its value)
                            a = floats::specials()[rng() % floats::specials().size()];
                            if (!constant) b = a;
                            break;
                        case 6: a = b - 3.0f * eps - 1.0f; break;
                        default: break;
                    }
                    s1.roi()[std::size_t(y) * s1.stride + x * c.channels + ch] = a;
                    if (!constant) s2.roi()[std::size_t(y) * s2.stride + x * c.channels + ch] = b;
                }
            }
        }
    }

    GenBag bag() {
        GenBag b;
        b.pSrc = b.pSrc1 = s1.roi();
        b.srcStep = b.src1Step = s1.stepBytes();
        b.pSrc2 = s2.roi();
        b.src2Step = s2.stepBytes();
        b.value = value;
        b.pDst = dst.roi();
        b.dstStep = dst.stepBytes();
        b.roiSize = {s1.width, s1.height};
        b.eps = eps;
        return b;
    }

    Zkr8u expected(int x, int y) const {
        for (int ch = 0; ch < fc->active(); ++ch) {
            const Zkr32f a = s1.at(y, x * fc->channels + ch);
            const Zkr32f b = fc->op == Op::CmpEpsC ? value[ch] : s2.at(y, x * fc->channels + ch);
            if (!(a == b || std::fabs(a - b) <= eps)) return 0;
        }
        return 255;
    }

    void runAndCheck() {
        const Plane<Zkr8u> before = dst;
        ZkrStatus st = zkrStsNoErr;
        const GenBag b = bag();
        const unsigned raised = floats::flagsOf([&] { st = fc->call(b); });
        ASSERT_EQ(st, zkrStsNoErr);
        // |a - b| <= eps: the difference of two infinities and the ordered compare of a NaN raise
        // invalid, large differences overflow, denormals raise denormal-operand and underflow.
        EXPECT_EQ(raised & floats::kZeroDivide, 0u) << "raised " << floats::flagNames(raised);
        expectOutsideUntouched(dst, before);
        int mismatches = 0;
        for (int y = 0; y < dst.height && mismatches < 5; ++y)
            for (int x = 0; x < dst.width && mismatches < 5; ++x)
                if (dst.at(y, x) != expected(x, y)) {
                    ADD_FAILURE() << "pixel (" << x << "," << y << "): got " << +dst.at(y, x) << ", want "
                                  << +expected(x, y);
                    ++mismatches;
                }
    }
};

void checkCompareAgainstReference(const FamilyCase& fc) {
    std::mt19937 rng(77);
    forEachLevel([&](const Level&) {
        for (const Geometry& g : kGeometries) {
            for (Zkr32f eps : {0.0f, 0.25f, 3.0f}) {
                SCOPED_TRACE(testing::Message() << g.width << "x" << g.height << " eps " << eps);
                CompareCall call(fc, g.width, g.height, g.padded, eps, rng);
                call.runAndCheck();
                if (testing::Test::HasFailure()) return;
            }
        }
    });
}

// ---- ImageJaehne --------------------------------------------------------------------------------------

template <class T> void jaehneRange(double& magn, double& offset) {
    if constexpr (std::is_floating_point_v<T>) {
        magn = 0.5, offset = 0.0;
    } else if constexpr (std::is_signed_v<T>) {
        magn = double(std::numeric_limits<T>::max()), offset = -magn;
    } else {
        magn = double(std::numeric_limits<T>::max()) / 2.0, offset = 0.0;
    }
}

template <class T> double jaehneValue(int x, int y, int w, int h) {
    double magn, offset;
    jaehneRange<T>(magn, offset);
    const double cx = x - (w - 1) / 2.0, cy = y - (h - 1) / 2.0;
    return (std::sin((cx * cx + cy * cy) * 2.0 * std::numbers::pi / (4.0 * h)) + 1.0) * magn + offset;
}

// The rounding noise of a value of a w x h image: the sine's argument, up to (w^2 + h^2) pi / (8 h)
// radians, is computed with a relative error of a few units of the last place, and the sine
// passes that absolute error on, times the magnitude (about 0.014 for 32s at 1077x61).
template <class T> double jaehneNoise(int w, int h) {
    double magn, offset;
    jaehneRange<T>(magn, offset);
    const double maxArg = (double(w) * w + double(h) * h) * std::numbers::pi / (8.0 * h);
    return 1e-6 + magn * maxArg * 8.0 * std::numeric_limits<double>::epsilon();
}

// Integers: the value rounded to nearest, allowing the other neighbour only where the exact value
// lies within rounding noise of a half; floats: within a few units of the last place.
template <class T> bool jaehneClose(T got, double want, double noise) {
    if constexpr (std::is_floating_point_v<T>) {
        return std::fabs(double(got) - want) <= 1e-6;
    } else {
        if (double(got) == std::nearbyint(want)) return true;
        return std::fabs(double(got) - want) <= 0.5 + noise;
    }
}

template <class T> struct JaehneCall {
    const FamilyCase* fc;
    Plane<T> dst;

    JaehneCall(const FamilyCase& c, int w, int h, bool padded, std::mt19937& rng)
        : fc(&c), dst(w, h, c.channels, paddingFor<T>(padded, rng), rng) {}

    GenBag bag() {
        GenBag b;
        b.pDst = dst.roi();
        b.dstStep = dst.stepBytes();
        b.roiSize = {dst.width, dst.height};
        return b;
    }

    void runAndCheck() {
        const Plane<T> before = dst;
        ASSERT_EQ(fc->call(bag()), zkrStsNoErr);
        expectOutsideUntouched(dst, before);
        int mismatches = 0;
        const double noise = jaehneNoise<T>(dst.width, dst.height);
        for (int y = 0; y < dst.height && mismatches < 5; ++y) {
            for (int x = 0; x < dst.width && mismatches < 5; ++x) {
                const double want = jaehneValue<T>(x, y, dst.width, dst.height);
                for (int ch = 0; ch < fc->channels; ++ch) {
                    const T got = dst.at(y, x * fc->channels + ch);
                    const bool ok = ch < fc->active() ? jaehneClose(got, want, noise)
                                                      : sameBits(got, before.at(y, x * fc->channels + ch));
                    if (!ok) {
                        ADD_FAILURE() << "pixel (" << x << "," << y << ") channel " << ch << ": got " << +got
                                      << ", want " << want;
                        ++mismatches;
                    }
                }
            }
        }
    }
};

template <class T> void checkJaehneAgainstReference(const FamilyCase& fc) {
    std::mt19937 rng(91);
    forEachLevel([&](const Level&) {
        for (const Geometry& g : kGeometries) {
            SCOPED_TRACE(testing::Message() << g.width << "x" << g.height);
            JaehneCall<T> call(fc, g.width, g.height, g.padded, rng);
            call.runAndCheck();
            if (testing::Test::HasFailure()) return;
        }
    });
}

// ---- DeinterlaceFilterCAVT --------------------------------------------------------------------------------

// The rebuilt sample of an odd row, from the rows around it in the source.
Zkr8u deinterlaceRef(const Plane<Zkr8u>& s, int x, int y, int threshold) {
    const int o = s.at(y, x);
    if (y % 2 == 0) return Zkr8u(o);
    const int w = s.width;
    auto clampX = [&](int xx) { return std::clamp(xx, 0, w - 1); };
    auto above = [&](int xx) { return int(s.at(y - 1, clampX(xx))); };
    auto below = [&](int xx) { return y + 1 < s.height ? int(s.at(y + 1, clampX(xx))) : above(xx); };
    const int pairs[3][2] = {{above(x), below(x)}, {above(x - 1), below(x + 1)}, {above(x + 1), below(x - 1)}};
    int best = 0;
    for (int k = 1; k < 3; ++k)
        if (std::abs(pairs[k][0] - pairs[k][1]) < std::abs(pairs[best][0] - pairs[best][1])) best = k;
    const int estimate = (pairs[best][0] + pairs[best][1] + 1) / 2;
    return Zkr8u(std::abs(o - estimate) <= threshold ? o : estimate);
}

struct DeinterlaceCall {
    const FamilyCase* fc;
    Plane<Zkr8u> src, dst;
    int threshold;

    DeinterlaceCall(const FamilyCase& c, int w, int h, bool padded, int thr, std::mt19937& rng)
        : fc(&c), src(w, h, 1, paddingFor<Zkr8u>(padded, rng), rng), dst(w, h, 1, paddingFor<Zkr8u>(padded, rng), rng),
          threshold(thr) {
        // Half the frames carry slanted edges of a few levels, the others are noise: both give the
        // diagonals and the vertical a chance to win.
        if (std::uniform_int_distribution<int>(0, 1)(rng) == 0) {
            const int slope = std::uniform_int_distribution<int>(-2, 2)(rng);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) src.roi()[std::size_t(y) * src.stride + x] = Zkr8u(((x + slope * y) & 4) ? 200 : 30);
        }
    }

    GenBag bag() {
        GenBag b;
        b.pSrc = src.roi();
        b.srcStep = src.stepBytes();
        b.pDst = dst.roi();
        b.dstStep = dst.stepBytes();
        b.roiSize = {src.width, src.height};
        b.threshold = threshold;
        return b;
    }

    void runAndCheck() {
        const Plane<Zkr8u> before = dst, original = src;
        ASSERT_EQ(fc->call(bag()), zkrStsNoErr);
        expectOutsideUntouched(dst, before);
        EXPECT_TRUE(src.data == original.data) << "source modified";
        int mismatches = 0;
        for (int y = 0; y < dst.height && mismatches < 5; ++y)
            for (int x = 0; x < dst.width && mismatches < 5; ++x) {
                const Zkr8u want = deinterlaceRef(src, x, y, threshold);
                if (dst.at(y, x) != want) {
                    ADD_FAILURE() << "pixel (" << x << "," << y << "): got " << +dst.at(y, x) << ", want " << +want;
                    ++mismatches;
                }
            }
    }
};

void checkDeinterlaceAgainstReference(const FamilyCase& fc) {
    std::mt19937 rng(13);
    forEachLevel([&](const Level&) {
        for (const Geometry& g : kGeometries) {
            for (int thr : {0, 1, 17, 255}) {
                for (int rep = 0; rep < 2; ++rep) {
                    SCOPED_TRACE(testing::Message() << g.width << "x" << g.height << " threshold " << thr);
                    DeinterlaceCall call(fc, g.width, g.height, g.padded, thr, rng);
                    call.runAndCheck();
                    if (testing::Test::HasFailure()) return;
                }
            }
        }
    });
}

// ---- every form: thread splits and argument errors -----------------------------------------------------------

// An image above the splitting threshold: two threads give the single thread's result, and that
// result matches the reference.
template <class Call> void checkSplit(Call& original, auto&& target) {
    std::vector<std::remove_cvref_t<decltype(target(original).data)>> results;
    for (int threads : {1, 2}) {
        SCOPED_TRACE(testing::Message() << threads << " threads");
        ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
        Call call = original;
        if (threads == 1) call.runAndCheck();
        else ASSERT_EQ(call.fc->call(call.bag()), zkrStsNoErr);
        results.push_back(target(call).data);
    }
    EXPECT_TRUE(results[0] == results[1]) << "result depends on the thread split";
}

void checkThreadSplit(const FamilyCase& fc) {
    std::mt19937 rng(3);
    const int w = kSplitSize.width, h = kSplitSize.height;  // the library splits images from this size on
    auto dstOf = [](auto& call) -> auto& { return call.dst; };
    switch (fc.op) {
        case Op::CmpEps:
        case Op::CmpEpsC: {
            CompareCall call(fc, w, h, true, 0.5f, rng);
            checkSplit(call, dstOf);
            break;
        }
        case Op::Jaehne:
            withGenType(fc.type, [&]<class T>() {
                JaehneCall<T> call(fc, w, h, true, rng);
                checkSplit(call, dstOf);
            });
            break;
        case Op::Deinterlace: {
            DeinterlaceCall call(fc, w, h, true, 9, rng);
            checkSplit(call, dstOf);
            break;
        }
    }
}

// NULL pointers, then the size, then the steps, then the operation's own arguments; nothing is
// written on error.
template <class Call> void checkErrors(Call& call, int pixelBytes, int compBytes) {
    const GenBag good = call.bag();
    const auto dstBefore = call.dst.data;
    const FamilyCase& fc = *call.fc;
    auto expectStatus = [&](const GenBag& b, ZkrStatus want, const char* what) {
        EXPECT_EQ(fc.call(b), want) << what;
        EXPECT_TRUE(call.dst.data == dstBefore) << what << ": destination written on error";
    };
    const bool compare = fc.op == Op::CmpEps || fc.op == Op::CmpEpsC;
    GenBag b = good;
    b.pDst = nullptr;
    b.roiSize = {0, 0};
    expectStatus(b, zkrStsNullPtrErr, "null destination, checked before the size");
    if (fc.op != Op::Jaehne) {
        b = good;
        b.pSrc = b.pSrc1 = nullptr;
        expectStatus(b, zkrStsNullPtrErr, "null source");
    }
    if (fc.op == Op::CmpEps) {
        b = good;
        b.pSrc2 = nullptr;
        expectStatus(b, zkrStsNullPtrErr, "null second source");
    }
    if (fc.op == Op::CmpEpsC && fc.channels > 1) {
        b = good;
        b.value = nullptr;
        expectStatus(b, zkrStsNullPtrErr, "null constants");
    }
    for (ZkriSize roi : {ZkriSize{0, 2}, ZkriSize{3, 0}, ZkriSize{-1, 2}}) {
        b = good;
        b.roiSize = roi;
        b.srcStep = b.src1Step = b.dstStep = 0;
        expectStatus(b, zkrStsSizeErr, "bad size, checked before the steps");
    }
    const int w = good.roiSize.width;
    std::vector<std::pair<int GenBag::*, std::vector<int>>> steps;
    const std::vector<int> srcBad = {0, -w * pixelBytes, w * pixelBytes - compBytes};
    if (fc.op != Op::Jaehne) steps.push_back({fc.op == Op::CmpEps ? &GenBag::src1Step : &GenBag::srcStep, srcBad});
    if (fc.op == Op::CmpEps) steps.push_back({&GenBag::src2Step, srcBad});
    if (compare) {
        steps.push_back({&GenBag::src1Step, {w * pixelBytes + 1}});  // not a multiple of the float size
        steps.push_back({&GenBag::dstStep, {0, w - 1}});             // the mask has one byte per pixel
    } else {
        std::vector<int> bad = {0, -w * pixelBytes, w * pixelBytes - compBytes};
        if (compBytes > 1) bad.push_back(w * pixelBytes + 1);
        steps.push_back({&GenBag::dstStep, bad});
    }
    for (const auto& [member, values] : steps) {
        for (int v : values) {
            b = good;
            if (member == &GenBag::src1Step && fc.op != Op::CmpEps) b.srcStep = v;
            else b.*member = v;
            b.eps = -1.0f;
            b.threshold = -1;
            expectStatus(b, zkrStsStepErr, "bad step, checked before the operation's arguments");
        }
    }
    if (compare) {
        for (Zkr32f eps : {-0.001f, -1.0f, std::nanf("")}) {
            b = good;
            b.eps = eps;
            expectStatus(b, zkrStsBadArgErr, "tolerance not a number >= 0");
        }
    }
    if (fc.op == Op::Deinterlace) {
        b = good;
        b.threshold = -1;
        expectStatus(b, zkrStsBadArgErr, "negative threshold");
    }
}

void checkStatusCodes(const FamilyCase& fc) {
    std::mt19937 rng(5);
    switch (fc.op) {
        case Op::CmpEps:
        case Op::CmpEpsC: {
            CompareCall call(fc, 5, 3, true, 0.5f, rng);
            checkErrors(call, 4 * fc.channels, 4);
            break;
        }
        case Op::Jaehne:
            withGenType(fc.type, [&]<class T>() {
                JaehneCall<T> call(fc, 5, 3, true, rng);
                checkErrors(call, int(sizeof(T)) * fc.channels, int(sizeof(T)));
            });
            break;
        case Op::Deinterlace: {
            DeinterlaceCall call(fc, 5, 3, true, 4, rng);
            checkErrors(call, 1, 1);
            break;
        }
    }
}

class ImgGenFamily : public testing::WithParamInterface<Op>, public LibraryStateTest {
protected:
    template <class Check> void walk(Check check) {
        forEachCase(familyCases(), [&](const FamilyCase& c) { return c.op == GetParam(); }, check);
    }
};

TEST_P(ImgGenFamily, MatchesReferenceOnEveryLevel) {
    walk([](const FamilyCase& c) {
        switch (c.op) {
            case Op::CmpEps:
            case Op::CmpEpsC: checkCompareAgainstReference(c); break;
            case Op::Jaehne: withGenType(c.type, [&]<class T>() { checkJaehneAgainstReference<T>(c); }); break;
            case Op::Deinterlace: checkDeinterlaceAgainstReference(c); break;
        }
    });
}
TEST_P(ImgGenFamily, ThreadSplitsMatchSingleThread) { walk(checkThreadSplit); }
TEST_P(ImgGenFamily, StatusCodes) { walk(checkStatusCodes); }

std::string opName(const testing::TestParamInfo<Op>& info) {
    static const char* const names[] = {"CompareEqualEps", "CompareEqualEpsC", "ImageJaehne", "Deinterlace"};
    return names[int(info.param)];
}

INSTANTIATE_TEST_SUITE_P(Zkri, ImgGenFamily, testing::Values(Op::CmpEps, Op::CmpEpsC, Op::Jaehne, Op::Deinterlace),
                         opName);

TEST(ImgGenFamilyTable, CountsPerBase) {
    std::vector<std::string> names;
    std::map<std::string, int> perBase;
    for (const FamilyCase& c : familyCases()) {
        names.push_back(c.name);
        ++perBase[c.base];
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end()) << "a function is listed twice";
    EXPECT_EQ(perBase, (std::map<std::string, int>{{"CompareEqualEps", 4},
                                                   {"CompareEqualEpsC", 4},
                                                   {"ImageJaehne", 24},
                                                   {"DeinterlaceFilterCAVT", 1}}));
}

// ---- edges, worked by hand ------------------------------------------------------------------------------------

class ImgGenEdges : public LibraryStateTest {};

// The tolerance is inclusive; NaN never matches, equal infinities and signed zeros do, and the
// alpha channel of AC4 is not compared.
TEST_F(ImgGenEdges, CompareAtTheToleranceEdge) {
    forEachLevel([](const Level&) {
        const float inf = std::numeric_limits<float>::infinity();
        const Zkr32f a[] = {1.0f, 1.0f, std::nanf(""), inf, -0.0f, 5.0f, -inf, 2.0f};
        const Zkr32f b[] = {1.25f, 1.5f, std::nanf(""), inf, 0.0f, 5.0f, inf, 2.0f};
        Zkr8u mask[8] = {};
        ASSERT_EQ(zkriCompareEqualEps_32f_C1R(a, 32, b, 32, mask, 8, {8, 1}, 0.25f), zkrStsNoErr);
        const Zkr8u want[] = {255, 0, 0, 255, 255, 255, 0, 255};
        for (int i = 0; i < 8; ++i) EXPECT_EQ(mask[i], want[i]) << i;
        ASSERT_EQ(zkriCompareEqualEps_32f_C1R(a, 32, b, 32, mask, 8, {8, 1}, 0.0f), zkrStsNoErr);
        EXPECT_EQ(mask[0], 0);
        EXPECT_EQ(mask[4], 255);

        // Two AC4 pixels differing only in alpha, then in blue by just over the tolerance.
        const Zkr32f p[] = {1, 2, 3, 4, 1, 2, 3, 4};
        const Zkr32f q[] = {1, 2, 3, -1000, 1, 2, 3.5f, 4};
        ASSERT_EQ(zkriCompareEqualEps_32f_AC4R(p, 32, q, 32, mask, 2, {2, 1}, 0.4f), zkrStsNoErr);
        EXPECT_EQ(mask[0], 255);
        EXPECT_EQ(mask[1], 0);
        const Zkr32f c4[] = {1, 2, 3, 4};
        ASSERT_EQ(zkriCompareEqualEpsC_32f_C4R(q, 32, c4, mask, 2, {2, 1}, 0.5f), zkrStsNoErr);
        EXPECT_EQ(mask[0], 0);    // alpha -1000 against 4 counts in C4
        EXPECT_EQ(mask[1], 255);  // 3.5 against 3 at tolerance 0.5
        ASSERT_EQ(zkriCompareEqualEpsC_32f_C1R(a, 32, 1.0f, mask, 8, {2, 1}, 0.25f), zkrStsNoErr);
        EXPECT_EQ(mask[0], 255);
        EXPECT_EQ(mask[1], 255);
    });
}

// One pixel is the centre of the chirp: sin 0 = 0 gives magn + offset, rounded half to even
// (127.5 -> 128, 32767.5 -> 32768), and the extremes of a large pattern stay within the
// type's documented range (signed types symmetric: never the most negative value).
TEST_F(ImgGenEdges, JaehneCentreAndRange) {
    forEachLevel([](const Level&) {
        Zkr8u u8 = 0;
        Zkr8s s8 = 1;
        Zkr16u u16 = 0;
        Zkr32s s32 = 1;
        Zkr32f f32 = 0;
        ASSERT_EQ(zkriImageJaehne_8u_C1R(&u8, 1, {1, 1}), zkrStsNoErr);
        ASSERT_EQ(zkriImageJaehne_8s_C1R(&s8, 1, {1, 1}), zkrStsNoErr);
        ASSERT_EQ(zkriImageJaehne_16u_C1R(&u16, 2, {1, 1}), zkrStsNoErr);
        ASSERT_EQ(zkriImageJaehne_32s_C1R(&s32, 4, {1, 1}), zkrStsNoErr);
        ASSERT_EQ(zkriImageJaehne_32f_C1R(&f32, 4, {1, 1}), zkrStsNoErr);
        EXPECT_EQ(u8, 128);
        EXPECT_EQ(s8, 0);
        EXPECT_EQ(u16, 32768);
        EXPECT_EQ(s32, 0);
        EXPECT_EQ(f32, 0.5f);

        const int w = 128, h = 96;
        std::vector<Zkr8s> img(std::size_t(w) * h);
        std::vector<Zkr32s> big(std::size_t(w) * h);
        ASSERT_EQ(zkriImageJaehne_8s_C1R(img.data(), w, {w, h}), zkrStsNoErr);
        ASSERT_EQ(zkriImageJaehne_32s_C1R(big.data(), w * 4, {w, h}), zkrStsNoErr);
        const auto [lo, hi] = std::minmax_element(img.begin(), img.end());
        EXPECT_EQ(*lo, -127);
        EXPECT_EQ(*hi, 127);
        const auto [blo, bhi] = std::minmax_element(big.begin(), big.end());
        EXPECT_GE(*blo, -2147483647);
        EXPECT_LT(*blo, -2140000000);
        EXPECT_GT(*bhi, 2140000000);
    });
}

// A slanted edge between two rows: the odd row follows the diagonal that continues the edge,
// the last column clamps its neighbours, and the threshold keeps the field's own samples that
// agree with the estimate.
TEST_F(ImgGenEdges, DeinterlaceFollowsTheEdge) {
    forEachLevel([](const Level&) {
        const Zkr8u src[3][5] = {{0, 200, 200, 0, 0}, {99, 99, 99, 99, 99}, {0, 0, 0, 200, 200}};
        Zkr8u dst[3][5] = {};
        ASSERT_EQ(zkriDeinterlaceFilterCAVT_8u_C1R(&src[0][0], 5, &dst[0][0], 5, {5, 3}, 0), zkrStsNoErr);
        const Zkr8u rebuilt[5] = {0, 0, 200, 200, 100};
        for (int x = 0; x < 5; ++x) {
            EXPECT_EQ(dst[0][x], src[0][x]);
            EXPECT_EQ(dst[1][x], rebuilt[x]) << x;
            EXPECT_EQ(dst[2][x], src[2][x]);
        }
        ASSERT_EQ(zkriDeinterlaceFilterCAVT_8u_C1R(&src[0][0], 5, &dst[0][0], 5, {5, 3}, 99), zkrStsNoErr);
        const Zkr8u kept[5] = {99, 99, 200, 200, 99};
        for (int x = 0; x < 5; ++x) EXPECT_EQ(dst[1][x], kept[x]) << x;

        // An even height: the last (odd) row has only the row above; means round halves up.
        const Zkr8u two[2][2] = {{10, 20}, {0, 255}};
        Zkr8u out[2][2] = {};
        ASSERT_EQ(zkriDeinterlaceFilterCAVT_8u_C1R(&two[0][0], 2, &out[0][0], 2, {2, 2}, 10), zkrStsNoErr);
        EXPECT_EQ(out[1][0], 0);   // |0 - 10| within the threshold: kept
        EXPECT_EQ(out[1][1], 20);  // replaced by the row above
        const Zkr8u col[3] = {1, 50, 2};
        Zkr8u colOut[3] = {};
        ASSERT_EQ(zkriDeinterlaceFilterCAVT_8u_C1R(col, 1, colOut, 1, {1, 3}, 0), zkrStsNoErr);
        EXPECT_EQ(colOut[1], 2);  // (1 + 2) / 2 rounded up
    });
}

}  // namespace
}  // namespace zkrtest
