// The Add family against the reference arithmetic, driven by its table:
// every function on every dispatch level, ROIs inside padded images, scale
// factors across and beyond the useful range, thread splits, and every
// argument error. One test per call form walks all functions of that form.
#include <algorithm>
#include <memory>
#include <optional>
#include <type_traits>

#include "family_support.h"
#include "test_support.h"

#define ZKR_TABLE "add/add.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

enum class Form { Bin, BinInPlace, Const, ConstInPlace, UnaryInPlace };

// Uniform arguments; each form reads the fields its call needs.
struct CallArgs {
    const void* src1 = nullptr;  // Bin: pSrc1; BinInPlace, Const: pSrc
    int src1Step = 0;
    const void* src2 = nullptr;  // Bin: pSrc2
    int src2Step = 0;
    void* dst = nullptr;         // pDst or pSrcDst
    int dstStep = 0;
    const void* values = nullptr;  // Const forms: nval elements (nval == 1: passed by value)
    ZkriSize roi{0, 0};
    int scaleFactor = 0;

    // The same arguments under the parameter names of the call forms.
    Bag bag() const {
        Bag b;
        b.pSrc1 = b.pSrc = src1;
        b.src1Step = b.srcStep = src1Step;
        b.pSrc2 = src2;
        b.src2Step = src2Step;
        b.pDst = b.pSrcDst = dst;
        b.dstStep = b.srcDstStep = dstStep;
        b.value = values;
        b.roiSize = roi;
        b.scaleFactor = scaleFactor;
        return b;
    }
};

enum class CompType { U8, U16, S16, S32, F32 };

struct FamilyCase {
    std::string name;
    Form form;
    bool add;           // Add/AddC (a + b) or Sub/SubC (src2 - src1, src - value)
    int channels;       // channels per pixel in memory
    bool alpha;         // AC4: fourth channel untouched
    int nval;           // constant elements (Const forms)
    bool hasScale;
    CompType comp;      // component type
    int comps;          // components per element (2 for complex)
    int compBytes;
    ZkrStatus (*call)(const CallArgs&);

    int perPixel() const { return channels * comps; }
    int pixelBytes() const { return perPixel() * compBytes; }
};

template <class S> constexpr CompType compTypeOf() {
    if constexpr (std::is_same_v<S, Zkr8u>) return CompType::U8;
    else if constexpr (std::is_same_v<S, Zkr16u>) return CompType::U16;
    else if constexpr (std::is_same_v<S, Zkr16s>) return CompType::S16;
    else if constexpr (std::is_same_v<S, Zkr32s>) return CompType::S32;
    else return CompType::F32;
}

Form formOf(const std::string& form) {
    if (form.rfind("binary_i", 0) == 0) return Form::BinInPlace;
    if (form.rfind("binary", 0) == 0) return Form::Bin;
    if (form.rfind("unary_i", 0) == 0) return Form::UnaryInPlace;
    if (form.find("_i") != std::string::npos) return Form::ConstInPlace;
    return Form::Const;
}

// One table row as a case; the layout and operation columns are the table's.
template <class T>
FamilyCase describe(const char* name, const char* form, const char* layout, const char* op,
                    ZkrStatus (*call)(const CallArgs&)) {
    using C = Comp<T>;
    const std::string l = layout, f = form, o = op;
    FamilyCase c;
    c.name = name;
    c.form = formOf(f);
    c.add = o == "Add" || o == "AddC";
    c.channels = l == "C1" ? 1 : (l == "C3" ? 3 : 4);
    c.alpha = l == "AC4";
    c.nval = c.form == Form::Const || c.form == Form::ConstInPlace ? (f.rfind("const1", 0) == 0 ? 1 : (l == "C4" ? 4 : 3)) : 0;
    c.hasScale = formEndsWith(f, "_sfs");
    c.comp = compTypeOf<typename C::S>();
    c.comps = C::n;
    c.compBytes = int(sizeof(typename C::S));
    c.call = call;
    return c;
}

std::vector<FamilyCase> expandTable() {
    std::vector<FamilyCase> cases;
#define ZKR_FN(name, form, T, L, op)                                                       \
    cases.push_back(describe<T>(#name, #form, #L, #op, [](const CallArgs& a) -> ZkrStatus { \
        const Bag b = a.bag();                                                             \
        return ZKR_CALL(b, name, form, T);                                                 \
    }));
#include "add/add.tbl"
#undef ZKR_FN
    return cases;
}

const std::vector<FamilyCase>& familyCases() {
    static const std::vector<FamilyCase> cases = expandTable();
    return cases;
}

const int kScaleFactorsWide[] = {0,   1,   2,   3,   7,   8,   9,   10,  15,  16,  17,  18,  31,  32,
                                 33,  34,  40,  -1,  -2,  -7,  -8,  -9,  -15, -16, -17, -31, -32, -33,
                                 INT_MAX, INT_MIN};
const int kScaleFactorsShort[] = {0, 1, 9, -1, 17, -17};

// Inputs and output of one call of a family function, in components.
template <class S> struct Call {
    const FamilyCase* fc;
    std::optional<Plane<S>> src1, src2;  // the sources the form reads
    Plane<S> dst;                        // pDst or pSrcDst
    std::vector<S> values;               // constant: nval elements of comps components

    Call(const FamilyCase& c, int w, int h, bool padded, std::mt19937& rng)
        : fc(&c), dst(w, h, c.perPixel(), padded ? randomPadding(rng) : Padding{}, rng),
          values(std::size_t(std::max(c.nval, 1)) * c.comps) {
        auto pad = [&] { return padded ? randomPadding(rng) : Padding{}; };
        if (c.form == Form::Bin || c.form == Form::BinInPlace || c.form == Form::Const)
            src1.emplace(w, h, c.perPixel(), pad(), rng);
        if (c.form == Form::Bin) src2.emplace(w, h, c.perPixel(), pad(), rng);
        fillRandom(values, rng);
    }

    CallArgs args(int sf) {
        CallArgs a;
        if (src1) a.src1 = src1->roi(), a.src1Step = src1->stepBytes();
        if (src2) a.src2 = src2->roi(), a.src2Step = src2->stepBytes();
        a.dst = dst.roi();
        a.dstStep = dst.stepBytes();
        a.values = values.data();
        a.roi = {dst.width, dst.height};
        a.scaleFactor = sf;
        return a;
    }

    // Expected component i of row y given the destination before the call.
    S expected(const Plane<S>& before, int y, int i, int sf) const {
        const FamilyCase& c = *fc;
        const int channel = (i / c.comps) % c.channels;
        const S old = before.at(y, i);
        if (c.form == Form::UnaryInPlace) return S(old < 0 ? old + 1 : old);
        if (c.alpha && channel == 3) return old;
        const S v = c.nval > 0 ? values[std::size_t(channel) * c.comps + i % c.comps] : S(0);
        switch (c.form) {
            case Form::Bin:        return refCombine<S>(c.add ? src1->at(y, i) : src2->at(y, i),
                                                        c.add ? src2->at(y, i) : src1->at(y, i), c.add, sf);
            case Form::BinInPlace: return refCombine<S>(old, src1->at(y, i), c.add, sf);
            case Form::Const:      return refCombine<S>(src1->at(y, i), v, c.add, sf);
            default:               return refCombine<S>(old, v, c.add, sf);
        }
    }

    // Runs the function and checks every component of the destination buffer.
    void runAndCheck(int sf) {
        const Plane<S> before = dst;
        const auto s1 = src1 ? src1->data : std::vector<S>{};
        const auto s2 = src2 ? src2->data : std::vector<S>{};
        ASSERT_EQ(fc->call(args(sf)), zkrStsNoErr);
        int mismatches = 0;
        for (std::size_t k = 0; k < dst.data.size() && mismatches < 5; ++k) {
            if (before.insideRoi(k)) continue;
            if (!sameBits(dst.data[k], before.data[k])) {
                ADD_FAILURE() << "write outside the ROI at buffer index " << k;
                ++mismatches;
            }
        }
        for (int y = 0; y < dst.height && mismatches < 5; ++y) {
            for (int i = 0; i < dst.rowComps() && mismatches < 5; ++i) {
                const S want = expected(before, y, i, sf);
                if (!sameBits(dst.at(y, i), want)) {
                    ADD_FAILURE() << "row " << y << " component " << i << " sf " << sf << ": got "
                                  << +dst.at(y, i) << ", want " << +want;
                    ++mismatches;
                }
            }
        }
        if (src1) {
            EXPECT_EQ(src1->data, s1) << "source 1 modified";
        }
        if (src2) {
            EXPECT_EQ(src2->data, s2) << "source 2 modified";
        }
    }
};

struct Geometry {
    int width, height;
    bool padded;
    bool wideScaleList;
};

// 1x1; odd width inside padding; rows stored without gaps (run as one long
// row); rows longer than the constant/mask pattern, padded and gapless.
const Geometry kGeometries[] = {
    {1, 1, false, true}, {37, 5, true, true}, {29, 6, false, false}, {450, 2, true, false}, {700, 3, false, false}};

template <class S> void checkAgainstReference(const FamilyCase& fc) {
    std::mt19937 rng(12345);
    forEachLevel([&](const Level&) {
        for (const Geometry& g : kGeometries) {
            SCOPED_TRACE(testing::Message() << g.width << "x" << g.height);
            std::vector<int> sfs = {0};
            if (fc.hasScale) {
                if (g.wideScaleList) sfs.assign(std::begin(kScaleFactorsWide), std::end(kScaleFactorsWide));
                else sfs.assign(std::begin(kScaleFactorsShort), std::end(kScaleFactorsShort));
            }
            for (int sf : sfs) {
                Call<S> call(fc, g.width, g.height, g.padded, rng);
                call.runAndCheck(sf);
                if (testing::Test::HasFailure()) return;
            }
        }
    });
}

// A large image (above the splitting threshold) gives identical results on
// 1, 2 and 3 threads, and these match the reference.
template <class S> void checkThreadSplits(const FamilyCase& fc) {
    std::mt19937 rng(777);
    const int sf = fc.hasScale ? 1 : 0;
    for (bool padded : {true, false}) {
        Call<S> call(fc, 1100, 61, padded, rng);
        const Call<S> original = call;
        std::vector<S> single;
        for (int threads : {1, 2, 3}) {
            SCOPED_TRACE(testing::Message() << threads << " threads" << (padded ? ", padded" : ", gapless"));
            ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
            call = original;
            if (threads == 1) {
                call.runAndCheck(sf);
                single = call.dst.data;
            } else {
                ASSERT_EQ(call.fc->call(call.args(sf)), zkrStsNoErr);
                EXPECT_TRUE(call.dst.data == single) << "result depends on the thread split";
            }
        }
    }
}

// Argument checks: NULL pointers, then ROI size, then steps; nothing written on error.
template <class S> void checkStatusCodes(const FamilyCase& fc) {
    std::mt19937 rng(99);
    Call<S> call(fc, 6, 3, true, rng);
    const CallArgs good = call.args(0);
    const std::vector<S> dstBefore = call.dst.data;
    auto expectStatus = [&](const CallArgs& a, ZkrStatus want, const char* what) {
        EXPECT_EQ(fc.call(a), want) << what;
        EXPECT_TRUE(call.dst.data == dstBefore) << what << ": destination written on error";
    };

    std::vector<const void**> pointers;
    std::vector<int*> steps;
    CallArgs a = good;
    switch (fc.form) {
        case Form::Bin:          pointers = {&a.src1, &a.src2}; steps = {&a.src1Step, &a.src2Step}; break;
        case Form::BinInPlace:   pointers = {&a.src1}; steps = {&a.src1Step}; break;
        case Form::Const:        pointers = {&a.src1}; steps = {&a.src1Step}; break;
        default: break;
    }
    if (fc.nval > 1) pointers.push_back(&a.values);
    steps.push_back(&a.dstStep);

    for (const void** p : pointers) {
        a = good;
        *p = nullptr;
        expectStatus(a, zkrStsNullPtrErr, "null source/value");
        a.roi = {0, 0};
        expectStatus(a, zkrStsNullPtrErr, "null pointer checked before size");
    }
    a = good;
    a.dst = nullptr;
    expectStatus(a, zkrStsNullPtrErr, "null destination");

    for (ZkriSize roi : {ZkriSize{0, 3}, ZkriSize{6, 0}, ZkriSize{-1, 3}, ZkriSize{6, INT_MIN}}) {
        a = good;
        a.roi = roi;
        expectStatus(a, zkrStsSizeErr, "bad roi");
        *steps.front() = 0;
        expectStatus(a, zkrStsSizeErr, "size checked before steps");
    }

    const int rowBytes = 6 * fc.pixelBytes();
    for (int* step : steps) {
        std::vector<int> badSteps = {0, -*step, rowBytes - fc.compBytes};
        if (fc.compBytes > 1) badSteps.push_back(rowBytes + 1);  // misaligned rows
        for (int bad : badSteps) {
            a = good;
            *step = bad;
            expectStatus(a, zkrStsStepErr, "bad step");
        }
    }
}

struct Runners {
    void (*reference)(const FamilyCase&);
    void (*threads)(const FamilyCase&);
    void (*status)(const FamilyCase&);
};

template <class S> constexpr Runners runnersFor() {
    return {&checkAgainstReference<S>, &checkThreadSplits<S>, &checkStatusCodes<S>};
}

Runners runners(CompType t) {
    switch (t) {
        case CompType::U8:  return runnersFor<Zkr8u>();
        case CompType::U16: return runnersFor<Zkr16u>();
        case CompType::S16: return runnersFor<Zkr16s>();
        case CompType::S32: return runnersFor<Zkr32s>();
        default:            return runnersFor<Zkr32f>();
    }
}

class AddFamily : public testing::WithParamInterface<Form>, public LibraryStateTest {
protected:
    template <class Check> void walk(Check check) {
        forEachCase(familyCases(), [&](const FamilyCase& c) { return c.form == GetParam(); }, check);
    }
};

TEST_P(AddFamily, MatchesReferenceOnEveryLevel) {
    walk([](const FamilyCase& c) { runners(c.comp).reference(c); });
}
TEST_P(AddFamily, ThreadSplitsMatchSingleThread) {
    walk([](const FamilyCase& c) { runners(c.comp).threads(c); });
}
TEST_P(AddFamily, StatusCodes) {
    walk([](const FamilyCase& c) { runners(c.comp).status(c); });
}

TEST(AddFamilyTable, HasEveryVariantOnce) {
    std::vector<std::string> names;
    for (const FamilyCase& c : familyCases()) names.push_back(c.name);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end()) << "a function is listed twice";
    // Four bases of 50 variants (7 types x 3 or 4 layouts x 2 forms) and Complement.
    EXPECT_EQ(names.size(), 201u);
}

std::string formName(const testing::TestParamInfo<Form>& info) {
    static const char* const names[] = {"Binary", "BinaryInPlace", "Constant", "ConstantInPlace", "UnaryInPlace"};
    return names[int(info.param)];
}

INSTANTIATE_TEST_SUITE_P(Zkri, AddFamily,
                         testing::Values(Form::Bin, Form::BinInPlace, Form::Const, Form::ConstInPlace,
                                         Form::UnaryInPlace),
                         formName);

}  // namespace
}  // namespace zkrtest
