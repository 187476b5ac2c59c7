// The Alpha family against a reference of the compositing formulas, driven by
// its two tables: every function of each call form on every dispatch level and
// every operation, ROIs inside padded images, thread splits, every argument
// error, and hand-computed values at the edges (opaque, transparent,
// saturation of PLUS, the colour key).
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "family_support.h"
#include "float_fills.h"
#include "test_support.h"

#define ZKR_TABLE "alpha/TimiAlpha.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE
#define ZKR_TABLE "alpha/iAlphaComp__YS.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace zkrtest {
namespace {

enum class Form { Pixel, Planar, Const, Key };

// The parameters of the alpha forms; constants by pointer like every bag.
struct AlphaBag : Bag {
    int alphaType = ZKRI_ALPHA_OVER;
    const void* alpha1 = nullptr;
    const void* alpha2 = nullptr;
    const void* colorKey = nullptr;
};

struct Case {
    std::string name;
    std::string module;
    Form form = Form::Pixel;
    CompType comp = CompType::U8;
    int channels = 4;        // channels in memory (planes for the planar form)
    bool keepLast = false;   // constant alphas on AC4: the fourth channel is left alone
    ZkrStatus (*call)(const AlphaBag&) = nullptr;
};

Form formOf(const std::string& f) {
    if (f == "alphacomp") return Form::Pixel;
    if (f == "alphacomp_p") return Form::Planar;
    if (f == "alphacompc") return Form::Const;
    return Form::Key;
}

template <class T> Case describe(const char* name, const char* module, const char* form, const char* layout,
                                 ZkrStatus (*call)(const AlphaBag&)) {
    const std::string l = layout;
    Case c;
    c.name = name;
    c.module = module;
    c.form = formOf(form);
    c.comp = compTypeOf<T>();
    c.channels = l == "C1" ? 1 : (l == "C3" ? 3 : 4);
    c.keepLast = l == "AC4" && (c.form == Form::Const || c.form == Form::Key);
    c.call = call;
    return c;
}

std::vector<Case> expandTables() {
    std::vector<Case> cases;
#define ZKR_FN(name, form, T, L)                                                   \
    cases.push_back(describe<T>(#name, ZKRTEST_MODULE, #form, #L, [](const AlphaBag& b) -> ZkrStatus { \
        return ZKR_CALL(b, name, form, T);                                         \
    }));
#define ZKRTEST_MODULE "TimiAlpha"
#include "alpha/TimiAlpha.tbl"
#undef ZKRTEST_MODULE
#define ZKRTEST_MODULE "iAlphaComp__YS"
#include "alpha/iAlphaComp__YS.tbl"
#undef ZKRTEST_MODULE
#undef ZKR_FN
    return cases;
}

const std::vector<Case>& familyCases() {
    static const std::vector<Case> cases = expandTables();
    return cases;
}

// ---- the reference ----------------------------------------------------------------

template <class S> constexpr long double opaqueOf() {
    if constexpr (std::is_floating_point_v<S>) return 1.0L;
    else return std::numeric_limits<S>::max();
}

bool premultiplied(int op) { return op >= ZKRI_ALPHA_OVER_PREMUL; }

// Fa and Fb of an operation for alphas given as fractions.
void factors(int op, long double aA, long double aB, long double& fa, long double& fb) {
    switch (op % 6) {
        case ZKRI_ALPHA_OVER: fa = 1, fb = 1 - aA; break;
        case ZKRI_ALPHA_IN:   fa = aB, fb = 0; break;
        case ZKRI_ALPHA_OUT:  fa = 1 - aB, fb = 0; break;
        case ZKRI_ALPHA_ATOP: fa = aB, fb = 1 - aA; break;
        case ZKRI_ALPHA_XOR:  fa = 1 - aB, fb = 1 - aA; break;
        default:              fa = 1, fb = 1; break;  // plus
    }
}

// One component of the result from the sources' values and alphas (element
// units): the exact formula in long double, then to the element as the family
// documents it (nearest, saturated; float unrounded).
template <class S> long double composeExact(int op, bool isAlpha, S cA, S aA, S cB, S aB) {
    const long double m = opaqueOf<S>();
    const long double fA = aA / m, fB = aB / m;
    long double fa = 0, fb = 0;
    factors(op, fA, fB, fa, fb);
    if (isAlpha) return (fA * fa + fB * fb) * m;
    if (premultiplied(op)) return cA * fa + cB * fb;
    return fA * cA * fa + fB * cB * fb;
}

template <class S> S toElement(long double x) {
    if constexpr (std::is_floating_point_v<S>) {
        return S(x);
    } else {
        const long double r = std::round(x);  // the exact value is never a tie
        return r >= opaqueOf<S>() ? std::numeric_limits<S>::max() : S(r);
    }
}

// Integers exactly; floats within a few units of the last place of values up to 2.
template <class S> bool close(S got, long double want) {
    if constexpr (std::is_floating_point_v<S>) return std::fabs(got - want) <= 4e-6L * (1 + std::fabs(want));
    else return got == toElement<S>(want);
}

// ---- data ---------------------------------------------------------------------------

// Integers: uniform with a third at the range edges (transparent, opaque, one
// off); floats: fractions in [0, 1] with 0, 1 and 0.5 a third of the time.
template <class S> S randomValue(std::mt19937& rng) {
    if constexpr (std::is_floating_point_v<S>) {
        const int k = std::uniform_int_distribution<int>(0, 8)(rng);
        if (k < 3) return S(k) / 2;
        return std::uniform_real_distribution<S>(0, 1)(rng);
    } else {
        return randomComponent<S>(rng);
    }
}

template <class S> void fillValues(Plane<S>& p, std::mt19937& rng) {
    for (S& v : p.data) v = randomValue<S>(rng);
}

// The images of one call: one plane per channel for the planar form, one
// interleaved plane otherwise.
template <class S> struct Images {
    std::vector<Plane<S>> a, b, d;
    std::vector<const void*> pa, pb;
    std::vector<void*> pd;
    S alpha1{}, alpha2{};
    S key[3] = {};

    Images(const Case& c, int w, int h, bool padded, std::mt19937& rng) {
        const int planes = c.form == Form::Planar ? 4 : 1;
        const int perPixel = c.form == Form::Planar ? 1 : c.channels;
        auto pad = [&] { return padded ? randomPadding(rng) : Padding{}; };
        for (std::vector<Plane<S>>* img : {&a, &b, &d}) {
            const Padding p = pad();  // the planes of one image share their step
            for (int k = 0; k < planes; ++k) {
                img->emplace_back(w, h, perPixel, p, rng);
                fillValues(img->back(), rng);
            }
        }
        for (int k = 0; k < planes; ++k) {
            pa.push_back(a[k].roi());
            pb.push_back(b[k].roi());
            pd.push_back(d[k].roi());
        }
        alpha1 = randomValue<S>(rng);
        alpha2 = randomValue<S>(rng);
        // The key is the colour of a pixel of source 1, so that it occurs.
        const int x = std::uniform_int_distribution<int>(0, w - 1)(rng);
        // (Only the colour-key form, AC4, uses it; other layouts take what lies in their own pixels.)
        for (int k = 0; k < 3; ++k)
            key[k] = planes > 1 ? a[std::size_t(k)].at(h / 2, x) : a[0].at(h / 2, x * perPixel + std::min(k, perPixel - 1));
    }

    AlphaBag bag(const Case& c, int op) const {
        AlphaBag g;
        const bool planar = c.form == Form::Planar;
        g.pSrc1 = planar ? static_cast<const void*>(pa.data()) : pa[0];
        g.pSrc2 = planar ? static_cast<const void*>(pb.data()) : pb[0];
        g.pDst = planar ? static_cast<void*>(const_cast<void**>(pd.data())) : pd[0];
        g.src1Step = a[0].stepBytes();
        g.src2Step = b[0].stepBytes();
        g.dstStep = d[0].stepBytes();
        g.roiSize = {d[0].width, d[0].height};
        g.alphaType = op;
        g.alpha1 = &alpha1;
        g.alpha2 = &alpha2;
        g.colorKey = key;
        return g;
    }

    // Expected component k (channel or plane) of pixel x, row y, from the
    // sources and the destination before the call.
    long double expected(const Case& c, int op, const std::vector<Plane<S>>& before, int y, int x, int k) const {
        auto comp = [&](const std::vector<Plane<S>>& img, int ch) {
            return c.form == Form::Planar ? img[ch].at(y, x) : img[0].at(y, x * c.channels + ch);
        };
        switch (c.form) {
            case Form::Pixel:
            case Form::Planar:
                return composeExact<S>(op, k == 3, comp(a, k), comp(a, 3), comp(b, k), comp(b, 3));
            case Form::Const:
                if (c.keepLast && k == 3) return comp(before, 3);
                return composeExact<S>(op, false, comp(a, k), alpha1, comp(b, k), alpha2);
            default: {
                if (k == 3) return comp(before, 3);
                const bool keyed = comp(a, 0) == key[0] && comp(a, 1) == key[1] && comp(a, 2) == key[2];
                // A keyed pixel is fully transparent: alpha 0 and, premultiplied, colour 0.
                return keyed ? composeExact<S>(op, false, S(0), S(0), comp(b, k), alpha2)
                             : composeExact<S>(op, false, comp(a, k), alpha1, comp(b, k), alpha2);
            }
        }
    }

    // Runs the function and checks every element of the destination buffers.
    void runAndCheck(const Case& c, int op) {
        const std::vector<Plane<S>> before = d, a0 = a, b0 = b;
        ASSERT_EQ(c.call(bag(c, op)), zkrStsNoErr);
        int failures = 0;
        for (std::size_t k = 0; k < d.size() && failures < 5; ++k) {
            for (std::size_t i = 0; i < d[k].data.size() && failures < 5; ++i) {
                if (d[k].insideRoi(i) || sameBits(d[k].data[i], before[k].data[i])) continue;
                ADD_FAILURE() << "write outside the ROI, plane " << k << " index " << i;
                ++failures;
            }
        }
        const int comps = c.form == Form::Planar ? 4 : c.channels;
        for (int y = 0; y < d[0].height && failures < 5; ++y) {
            for (int x = 0; x < d[0].width && failures < 5; ++x) {
                for (int k = 0; k < comps && failures < 5; ++k) {
                    const S got = c.form == Form::Planar ? d[std::size_t(k)].at(y, x) : d[0].at(y, x * comps + k);
                    const long double want = expected(c, op, before, y, x, k);
                    if (close<S>(got, want)) continue;
                    ADD_FAILURE() << "op " << op << " row " << y << " pixel " << x << " component " << k << ": got "
                                  << +got << ", want " << double(want);
                    ++failures;
                }
            }
        }
        for (std::size_t k = 0; k < a.size(); ++k) {
            EXPECT_EQ(a[k].data, a0[k].data) << "source 1 modified";
            EXPECT_EQ(b[k].data, b0[k].data) << "source 2 modified";
        }
    }
};

template <class F> void withAlphaType(CompType t, F&& f) { withCompType<Zkr8u, Zkr16u, Zkr32f>(t, f); }

struct Geometry {
    int width, height;
    bool padded;
};
// 1x1; odd sizes inside padding; rows stored without gaps (one long row);
// rows longer than the widest vector of pixels.
constexpr Geometry kGeometries[] = {{1, 1, false}, {37, 5, true}, {29, 6, false}, {300, 3, true}};

// ---- the checks -----------------------------------------------------------------------

template <class S> void checkAgainstReference(const Case& c) {
    std::mt19937 rng(2024);
    forEachLevel([&](const Level&) {
        for (const Geometry& g : kGeometries) {
            for (int op = ZKRI_ALPHA_OVER; op <= ZKRI_ALPHA_PLUS_PREMUL; ++op) {
                SCOPED_TRACE(testing::Message() << g.width << "x" << g.height << " op " << op);
                Images<S> img(c, g.width, g.height, g.padded, rng);
                img.runAndCheck(c, op);
                if (testing::Test::HasFailure()) return;
            }
        }
    });
}

// A large image (split into bands) gives the single-thread result on 2 threads.
template <class S> void checkThreadSplit(const Case& c) {
    std::mt19937 rng(77);
    for (int op : {int(ZKRI_ALPHA_ATOP), int(ZKRI_ALPHA_XOR_PREMUL)}) {
        Images<S> img(c, kSplitSize.width, kSplitSize.height, true, rng);
        const std::vector<Plane<S>> original = img.d;
        ASSERT_EQ(zkrSetNumThreads(1), zkrStsNoErr);
        img.runAndCheck(c, op);
        const std::vector<Plane<S>> single = img.d;
        img.d = original;
        ASSERT_GE(zkrSetNumThreads(2), zkrStsNoErr);
        ASSERT_EQ(c.call(img.bag(c, op)), zkrStsNoErr);
        for (std::size_t k = 0; k < single.size(); ++k)
            EXPECT_EQ(img.d[k].data, single[k].data) << "result depends on the thread split, op " << op;
    }
}

// NULL pointers, then ROI size, then steps, then the operation; nothing written on error.
template <class S> void checkStatusCodes(const Case& c) {
    std::mt19937 rng(99);
    Images<S> img(c, 6, 3, true, rng);
    const std::vector<Plane<S>> before = img.d;
    const AlphaBag good = img.bag(c, ZKRI_ALPHA_OVER);
    auto expectStatus = [&](const AlphaBag& g, ZkrStatus want, const char* what) {
        EXPECT_EQ(c.call(g), want) << what;
        for (std::size_t k = 0; k < before.size(); ++k)
            EXPECT_EQ(img.d[k].data, before[k].data) << what << ": destination written on error";
    };

    AlphaBag g = good;
    std::vector<const void**> pointers = {&g.pSrc1, &g.pSrc2, const_cast<const void**>(&g.pDst)};
    if (c.form == Form::Key) pointers.push_back(&g.colorKey);
    for (const void** p : pointers) {
        g = good;
        *p = nullptr;
        expectStatus(g, zkrStsNullPtrErr, "null pointer");
        g.roiSize = {0, 0};
        g.alphaType = -1;
        expectStatus(g, zkrStsNullPtrErr, "null pointer checked first");
    }
    if (c.form == Form::Planar) {
        for (std::vector<const void*>* planes : {&img.pa, &img.pb}) {
            for (std::size_t k = 0; k < planes->size(); ++k) {
                const void* kept = (*planes)[k];
                (*planes)[k] = nullptr;
                expectStatus(img.bag(c, ZKRI_ALPHA_OVER), zkrStsNullPtrErr, "null source plane");
                (*planes)[k] = kept;
            }
        }
        void* kept = img.pd[3];
        img.pd[3] = nullptr;
        expectStatus(img.bag(c, ZKRI_ALPHA_OVER), zkrStsNullPtrErr, "null destination plane");
        img.pd[3] = kept;
    }
    for (ZkriSize roi : {ZkriSize{0, 3}, ZkriSize{6, 0}, ZkriSize{-2, 3}}) {
        g = good;
        g.roiSize = roi;
        expectStatus(g, zkrStsSizeErr, "bad roi");
        g.dstStep = 0;
        expectStatus(g, zkrStsSizeErr, "size checked before steps");
    }
    const int pixelBytes = int(sizeof(S)) * (c.form == Form::Planar ? 1 : c.channels);
    for (int AlphaBag::*step : {&AlphaBag::src1Step, &AlphaBag::src2Step, &AlphaBag::dstStep}) {
        std::vector<int> bad = {0, -(good.*step), 6 * pixelBytes - int(sizeof(S))};
        if (sizeof(S) > 1) bad.push_back(6 * pixelBytes + 1);
        for (int s : bad) {
            g = good;
            g.*step = s;
            expectStatus(g, zkrStsStepErr, "bad step");
            g.alphaType = 99;
            expectStatus(g, zkrStsStepErr, "steps checked before the operation");
        }
    }
    for (int op : {-1, int(ZKRI_ALPHA_PLUS_PREMUL) + 1, 1000}) {
        g = good;
        g.alphaType = op;
        expectStatus(g, zkrStsBadArgErr, "unknown operation");
    }
}

// ---- hostile floats ------------------------------------------------------------------

// The inputs a component's formula involves, per term (bit 0 colour A, 1 alpha A, 2 colour B,
// 3 alpha B): the term of A and the term of B of Fa * A + Fb * B. A term with a weight that is
// zero by definition (B under IN and OUT) involves nothing.
struct Terms {
    unsigned a = 0, b = 0;
};
Terms involvedInputs(int op, bool isAlpha) {
    const bool pre = premultiplied(op);
    unsigned fa = 0, fb = 0;  // the inputs of the factors Fa and Fb
    bool hasB = true;
    switch (op % 6) {
        case ZKRI_ALPHA_OVER: fb = 2; break;
        case ZKRI_ALPHA_IN:
        case ZKRI_ALPHA_OUT: fa = 8, hasB = false; break;
        case ZKRI_ALPHA_ATOP: fa = 8, fb = 2; break;
        case ZKRI_ALPHA_XOR: fa = 8, fb = 2; break;
        default: break;
    }
    Terms t;
    // Colour: alpha * colour * factor (premultiplied: colour * factor); alpha: alpha * factor.
    t.a = fa | (isAlpha ? 2u : (pre ? 1u : 3u));
    t.b = hasB ? (fb | (isAlpha ? 8u : (pre ? 4u : 12u))) : 0u;
    return t;
}

// A term's magnitude (its factors' magnitudes multiplied, a factor 1 - x counted as 1 + |x|), and
// whether single precision computes it in any order of its products: no partial product beyond
// the float range, no underflow that a large factor would magnify. `oneMinus`: the input the term
// takes as 1 - x (alpha B in A's term of OUT and XOR, alpha A in B's term of OVER, ATOP and XOR).
struct TermSize {
    long double size = 0;
    bool representable = true;
};
TermSize termSize(unsigned inputs, unsigned oneMinus, const long double (&v)[4]) {
    if (inputs == 0) return {};
    long double big = 1, small = 1;
    for (int i = 0; i < 4; ++i) {
        if (!(inputs & (1u << i))) continue;
        const long double m = (oneMinus & (1u << i)) ? 1 + std::fabs(v[i]) : std::fabs(v[i]);
        (m > 1 ? big : small) *= m;
    }
    return {big * small, big < 1e37L && !(small < 1e-36L && big > 1e6L)};
}
Terms oneMinusInputs(int op) {
    const int kind = op % 6;
    Terms t;
    t.a = (kind == ZKRI_ALPHA_OUT || kind == ZKRI_ALPHA_XOR) ? 8u : 0u;
    t.b = (kind == ZKRI_ALPHA_OVER || kind == ZKRI_ALPHA_ATOP || kind == ZKRI_ALPHA_XOR) ? 2u : 0u;
    return t;
}

template <class S> void checkHostileFloats(const Case& c) {
    if constexpr (std::is_floating_point_v<S>) {
        std::mt19937 rng(4242);
        const int comps = c.form == Form::Planar ? 4 : c.channels;
        for (int op = ZKRI_ALPHA_OVER; op <= ZKRI_ALPHA_PLUS_PREMUL; ++op) {
            SCOPED_TRACE(testing::Message() << "op " << op);
            Images<S> img(c, kSplitSize.width, 3, true, rng);
            // Fractions in [0, 1]: nothing but inexact (and the underflow of a tiny product).
            const unsigned plain = floats::flagsOf([&] { ASSERT_EQ(c.call(img.bag(c, op)), zkrStsNoErr); });
            EXPECT_EQ(plain & ~(floats::kInexact | floats::kUnderflow | floats::kDenormal), 0u)
                << "fractions raised " << floats::flagNames(plain);
            for (auto* planes : {&img.a, &img.b, &img.d})
                for (Plane<S>& p : *planes) floats::fillHostile(p.data, rng, 0.05);
            const std::vector<Plane<S>> before = img.d;
            std::vector<Plane<S>> first;
            forEachLevel([&](const Level& level) {
                for (int threads : {1, 2}) {
                    SCOPED_TRACE(testing::Message() << threads << " threads");
                    ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
                    img.d = before;
                    ZkrStatus st = zkrStsNoErr;
                    const unsigned raised = floats::flagsOf([&] { st = c.call(img.bag(c, op)); });
                    ASSERT_EQ(st, zkrStsNoErr);
                    EXPECT_EQ(raised & floats::kZeroDivide, 0u) << "raised " << floats::flagNames(raised);
                    if (first.empty()) {
                        first = img.d;
                    } else {
                        // Every level and thread split gives the first run's bits (any NaN for a NaN).
                        for (std::size_t k = 0; k < first.size(); ++k)
                            for (std::size_t i = 0; i < first[k].data.size(); ++i) {
                                const S g = img.d[k].data[i], f = first[k].data[i];
                                ASSERT_TRUE(std::isnan(f) ? std::isnan(g) : sameBits(g, f))
                                    << level.name << ": plane " << k << " index " << i << " gives " << g
                                    << " where the first run gave " << f;
                            }
                    }
                    for (int y = 0; y < img.d[0].height; ++y)
                        for (int x = 0; x < img.d[0].width; ++x)
                            for (int k = 0; k < comps; ++k) {
                                const bool isAlpha = k == 3 && (c.form == Form::Pixel || c.form == Form::Planar);
                                if (c.keepLast && k == 3) continue;  // untouched: checked by the reference test
                                auto comp = [&](const std::vector<Plane<S>>& im, int ch) {
                                    return c.form == Form::Planar ? im[std::size_t(ch)].at(y, x)
                                                                  : im[0].at(y, x * comps + ch);
                                };
                                const bool perPixel = c.form != Form::Const;
                                const long double v[4] = {comp(img.a, k), perPixel ? comp(img.a, 3) : img.alpha1,
                                                          comp(img.b, k), perPixel ? comp(img.b, 3) : img.alpha2};
                                const Terms t = involvedInputs(op, isAlpha);
                                bool nan = false, inf = false;
                                for (int i = 0; i < 4; ++i)
                                    if ((t.a | t.b) & (1u << i)) nan |= std::isnan(v[i]), inf |= std::isinf(v[i]);
                                const S got = comp(img.d, k);
                                const auto where = [&] {
                                    return testing::Message() << "row " << y << " pixel " << x << " component " << k
                                                              << ": got " << got << " from " << double(v[0]) << ", "
                                                              << double(v[1]) << ", " << double(v[2]) << ", "
                                                              << double(v[3]);
                                };
                                if (nan) {
                                    ASSERT_TRUE(std::isnan(got)) << where() << " (a NaN it involves must show)";
                                } else if (inf) {
                                    ASSERT_FALSE(std::isfinite(got)) << where() << " (an infinity it involves)";
                                } else {
                                    const Terms om = oneMinusInputs(op);
                                    const TermSize ta = termSize(t.a, om.a, v), tb = termSize(t.b, om.b, v);
                                    if (!ta.representable || !tb.representable) continue;
                                    // (B's colour taken as 0 where the operation has no term of B.)
                                    const long double want =
                                        composeExact<S>(op, isAlpha, S(v[0]), S(v[1]), t.b ? S(v[2]) : S(0), S(v[3]));
                                    ASSERT_LE(std::fabs(got - want), 4e-6L * (ta.size + tb.size) + 1e-37L)
                                        << where() << ", want " << double(want);
                                }
                            }
                    if (testing::Test::HasFailure()) return;
                }
            });
            if (testing::Test::HasFailure()) return;
        }
    }
}

class AlphaFamily : public testing::WithParamInterface<Form>, public LibraryStateTest {
protected:
    template <class Check> void walk(Check check) {
        forEachCase(familyCases(), [&](const Case& c) { return c.form == GetParam(); }, check);
    }
};

TEST_P(AlphaFamily, MatchesReferenceOnEveryLevel) {
    walk([](const Case& c) { withAlphaType(c.comp, [&]<class S>() { checkAgainstReference<S>(c); }); });
}
TEST_P(AlphaFamily, ThreadSplitsMatchSingleThread) {
    walk([](const Case& c) { withAlphaType(c.comp, [&]<class S>() { checkThreadSplit<S>(c); }); });
}
// Floats: NaN, infinities, denormals and values from 1e-30 to 1e30 reach exactly the components
// whose formula involves them; finite inputs give the formula's value wherever single precision
// can hold its products.
TEST_P(AlphaFamily, HostileFloats) {
    walk([](const Case& c) { withAlphaType(c.comp, [&]<class S>() { checkHostileFloats<S>(c); }); });
}
TEST_P(AlphaFamily, StatusCodes) {
    walk([](const Case& c) { withAlphaType(c.comp, [&]<class S>() { checkStatusCodes<S>(c); }); });
}

std::string formName(const testing::TestParamInfo<Form>& info) {
    static const char* const names[] = {"PixelAlpha", "PlanarPixelAlpha", "ConstantAlphas", "ColorKey"};
    return names[int(info.param)];
}

INSTANTIATE_TEST_SUITE_P(Zkri, AlphaFamily, testing::Values(Form::Pixel, Form::Planar, Form::Const, Form::Key),
                         formName);

TEST(AlphaFamilyTables, EachModuleHasItsOwnFunctions) {
    std::vector<std::string> names;
    int timi = 0, ys = 0;
    for (const Case& c : familyCases()) {
        names.push_back(c.name);
        (c.module == "TimiAlpha" ? timi : ys) += 1;
    }
    EXPECT_EQ(timi, 11);
    EXPECT_EQ(ys, 6);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end()) << "a function is in both tables";
}

// ---- hand-computed values ----------------------------------------------------------------

class AlphaEdges : public LibraryStateTest {};

// One 8u AC4 pixel A composed with one pixel B, as a row of 70 equal pixels
// (the vector body and the tail of every level).
std::vector<Zkr8u> compose8u(const Zkr8u (&pa)[4], const Zkr8u (&pb)[4], int op) {
    constexpr int w = 70;
    std::vector<Zkr8u> a, b, d(4 * w, 0);
    for (int x = 0; x < w; ++x) a.insert(a.end(), pa, pa + 4), b.insert(b.end(), pb, pb + 4);
    EXPECT_EQ(zkriAlphaComp_8u_AC4R(a.data(), 4 * w, b.data(), 4 * w, d.data(), 4 * w, {w, 1}, ZkriAlphaType(op)),
              zkrStsNoErr);
    for (int x = 1; x < w; ++x)
        EXPECT_TRUE(std::equal(d.begin() + 4 * x, d.begin() + 4 * x + 4, d.begin())) << "pixel " << x << " differs";
    return {d.begin(), d.begin() + 4};
}

TEST_F(AlphaEdges, PixelAlphaOperations8u) {
    forEachLevel([](const Level&) {
        const Zkr8u red[4] = {255, 0, 0, 255}, halfWhite[4] = {255, 255, 255, 128}, blue[4] = {0, 0, 255, 255};
        const Zkr8u clear[4] = {9, 9, 9, 0};
        using V = std::vector<Zkr8u>;
        EXPECT_EQ(compose8u(red, blue, ZKRI_ALPHA_OVER), (V{255, 0, 0, 255}));           // opaque A hides B
        EXPECT_EQ(compose8u(clear, blue, ZKRI_ALPHA_OVER), (V{0, 0, 255, 255}));         // transparent A shows B
        EXPECT_EQ(compose8u(halfWhite, blue, ZKRI_ALPHA_OVER), (V{128, 128, 255, 255})); // 128/255 white + 127/255 blue
        EXPECT_EQ(compose8u(halfWhite, blue, ZKRI_ALPHA_IN), (V{128, 128, 128, 128}));   // A weighted by its alpha
        EXPECT_EQ(compose8u(halfWhite, blue, ZKRI_ALPHA_OUT), (V{0, 0, 0, 0}));          // B opaque: nothing of A out
        EXPECT_EQ(compose8u(red, blue, ZKRI_ALPHA_XOR), (V{0, 0, 0, 0}));                // both opaque
        EXPECT_EQ(compose8u(halfWhite, blue, ZKRI_ALPHA_ATOP), (V{128, 128, 255, 255})); // B's alpha kept
        EXPECT_EQ(compose8u(red, blue, ZKRI_ALPHA_PLUS), (V{255, 0, 255, 255}));         // alpha 510 saturates
        // Premultiplied: 255 + 255 * 127/255 saturates; the colour is not weighted by A's alpha again.
        EXPECT_EQ(compose8u(halfWhite, blue, ZKRI_ALPHA_OVER_PREMUL), (V{255, 255, 255, 255}));
        EXPECT_EQ(compose8u(halfWhite, blue, ZKRI_ALPHA_IN_PREMUL), (V{255, 255, 255, 128}));
        const Zkr8u faint[4] = {1, 2, 128, 1}, none[4] = {0, 0, 0, 0};
        // 1 * 128 / 255 = 0.502 -> 1 and 1 * 1 / 255 -> 0: the rounding is of the exact value.
        EXPECT_EQ(compose8u(faint, none, ZKRI_ALPHA_OVER), (V{0, 0, 1, 1}));
    });
}

TEST_F(AlphaEdges, ConstantAlphasAndColorKey) {
    forEachLevel([](const Level&) {
        const Zkr16u a[3] = {65535, 0, 30000}, b[3] = {0, 65535, 30000};
        Zkr16u d[3] = {};
        // Over with alphas 1/2 and 1: A * 0.5 + B * 1 * 0.5 (in 65535 units, rounded).
        ASSERT_EQ(zkriAlphaCompC_16u_C3R(a, 6, 32768, b, 6, 65535, d, 6, {1, 1}, ZKRI_ALPHA_OVER), zkrStsNoErr);
        EXPECT_EQ(std::vector<Zkr16u>(d, d + 3), (std::vector<Zkr16u>{32768, 32767, 30000}));
        const float fa[1] = {0.5f}, fb[1] = {0.25f};
        float fd[1] = {};
        ASSERT_EQ(zkriAlphaCompC_32f_C1R(fa, 4, 1.0f, fb, 4, 0.5f, fd, 4, {1, 1}, ZKRI_ALPHA_PLUS), zkrStsNoErr);
        EXPECT_FLOAT_EQ(fd[0], 0.5f + 0.125f);  // PLUS of floats is not clamped either way

        // Source 1 holds the key colour in its first pixel only: that pixel shows B alone.
        const Zkr8u key[3] = {10, 20, 30};
        const Zkr8u s1[8] = {10, 20, 30, 0, 10, 20, 31, 0}, s2[8] = {200, 100, 50, 7, 200, 100, 50, 7};
        Zkr8u out[8] = {1, 1, 1, 77, 1, 1, 1, 88};
        ASSERT_EQ(zkriAlphaCompColorKey_8u_AC4R(s1, 8, 255, key, s2, 8, 255, out, 8, {2, 1}, ZKRI_ALPHA_OVER),
                  zkrStsNoErr);
        EXPECT_EQ(std::vector<Zkr8u>(out, out + 8), (std::vector<Zkr8u>{200, 100, 50, 77, 10, 20, 31, 88}));
    });
}

}  // namespace
}  // namespace zkrtest
