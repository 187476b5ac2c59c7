// The machinery of the element-wise family tests: each table row as a case, the padded images of
// one call, and the checks every element-wise function goes through (reference on every level with
// scale factors, thread splits, argument errors), one test per call form. A family test declares
// its reference model and expands its table through it:
//
//   struct Model {
//       using Types = eltwise::Types<Zkr16s, Zkr32f>;      // component types the model covers
//       static constexpr const char* columns[] = {"layout", "op"};  // the table's columns after T
//       static constexpr const char* ops[] = {"Negate"};   // optional: values of the "op" column
//       // Expected component i of row y; alpha channels are handled here.
//       template <class S> static S expected(const Call<Model, S>&, const Plane<S>& before, int y, int i, int sf);
//       // Optional: expectedStatus(call, before) (default zkrStsNoErr), describe(Case&) for the
//       // family's own forms, Bag and bind(bag, args) for its own parameters, geometries,
//       // wideScaleFactors, shortScaleFactors, referenceSeed.
//   };
//   std::vector<eltwise::Case> rows() {
//       std::vector<eltwise::Case> cases;
//   #define ZKR_FN(name, form, T, ...) ZKRTEST_ELTWISE_CASE(Model, name, form, T, __VA_ARGS__)
//   #include "fam/fam.tbl"
//   #undef ZKR_FN
//       return cases;
//   }
//   ZKRTEST_ELTWISE_FORMS(FamFamily, Model, rows)   // the checks, one test per form of the table
//
// A row whose element type the model does not cover, whose columns are not the declared ones, or
// whose op is not declared stops the build with one static assertion naming the row.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <climits>
#include <cmath>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "family_support.h"
#include "test_support.h"

namespace zkrtest::eltwise {

// Uniform arguments of the element-wise call forms; each form reads the
// fields its call needs.
struct Args {
    const void* src1 = nullptr;  // pSrc1, or pSrc of forms with one source
    int src1Step = 0;
    const void* src2 = nullptr;  // pSrc2
    int src2Step = 0;
    void* dst = nullptr;  // pDst or pSrcDst
    int dstStep = 0;
    const void* values = nullptr;  // constants: nval elements (nval == 1: passed by value)
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

// Calls f.template operator()<S>() with S the component type `t` names.
template <class F> void withAnyCompType(CompType t, F&& f) {
    withCompType<Zkr8u, Zkr16u, Zkr16s, Zkr32s, Zkr32f>(t, f);
}

// One table row. The common columns come from describeRow; the family sets
// sources, nval, kind and op from its form and operation columns.
struct Case {
    std::string name;
    std::string form;   // the table's form name
    int kind = 0;       // the family's form, as its own enum
    int op = 0;         // the family's operation, as its own enum
    int sources = 0;    // source images besides the destination (0, 1 or 2)
    int nval = 0;       // constant elements
    bool hasScale = false;
    bool inPlace = false;
    std::vector<std::string> columns;  // the row's columns after the element type, as written
    int channels = 1;   // channels per pixel in memory
    bool alpha = false; // AC4: fourth channel untouched
    CompType comp = CompType::U8;
    int comps = 1;      // components per element (2 for complex)
    int compBytes = 1;
    ZkrStatus (*call)(const Args&) = nullptr;

    int perPixel() const { return channels * comps; }
    int pixelBytes() const { return perPixel() * compBytes; }
};

template <class T> Case describeRow(const char* name, const char* form, const char* layout, ZkrStatus (*call)(const Args&)) {
    using C = Comp<T>;
    const std::string l = layout;
    Case c;
    c.name = name;
    c.form = form;
    c.hasScale = formEndsWith(c.form, "_sfs");
    c.channels = l == "C1" ? 1 : (l == "C3" ? 3 : 4);
    c.alpha = l == "AC4";
    c.comp = compTypeOf<typename C::S>();
    c.comps = C::n;
    c.compBytes = int(sizeof(typename C::S));
    c.call = call;
    return c;
}

// ---- declared models ---------------------------------------------------------------------------

// The component types a model covers (complex element types are covered by their parts' type).
template <class... S> struct Types {};

template <class Model, class T, class... S> constexpr bool coversIn(Types<S...>) {
    return (std::is_same_v<typename Comp<T>::S, S> || ...);
}
template <class Model, class T> inline constexpr bool kCovers = coversIn<Model, T>(typename Model::Types{});

// Column texts of a row ("C1, Sqr"), checked while compiling.
constexpr bool isBlank(char ch) { return ch == ' ' || ch == '\t' || ch == '\n'; }
consteval int columnCount(const char* text) {
    int n = 1;
    for (const char* p = text; *p; ++p) n += *p == ',';
    return n;
}
// Column k of the text equals `word`.
consteval bool columnIs(const char* text, int k, const char* word) {
    const char* p = text;
    for (; k > 0; ++p)
        if (*p == ',') --k;
    while (isBlank(*p)) ++p;
    const char* w = word;
    for (; *w; ++w, ++p)
        if (*p != *w) return false;
    while (isBlank(*p)) ++p;
    return *p == ',' || *p == 0;
}
template <class Model> consteval int columnOf(const char* name) {
    int i = 0;
    for (const char* c : Model::columns) {
        if (std::string_view(c) == name) return i;
        ++i;
    }
    return -1;
}
// The row's "op" column is one of Model::ops (true when the model declares no ops).
template <class Model> consteval bool knownOp(const char* text) {
    if constexpr (!requires { Model::ops; }) {
        return true;
    } else {
        const int k = columnOf<Model>("op");
        if (k < 0) return false;
        for (const char* op : Model::ops)
            if (columnIs(text, k, op)) return true;
        return false;
    }
}

inline std::vector<std::string> splitColumns(const char* text) {
    std::vector<std::string> out(1);
    for (const char* p = text; *p; ++p) {
        if (*p == ',') out.emplace_back();
        else if (!isBlank(*p)) out.back() += *p;
    }
    return out;
}

// The operands of the library's standard forms, told by the form's name: unary, binary, const1
// (one constant by value) and constN (one per channel), each with _i (in place) and _sfs (scaled).
inline void describeForm(Case& c) {
    const std::string f = c.form;
    c.inPlace = f.find("_i") != std::string::npos;
    const int extra = c.inPlace ? 0 : 1;
    if (f.rfind("binary", 0) == 0) c.sources = 1 + extra;
    else if (f.rfind("unary", 0) == 0 || f.rfind("const", 0) == 0) c.sources = extra;
    if (f.rfind("const1", 0) == 0) c.nval = 1;
    else if (f.rfind("constN", 0) == 0) c.nval = c.channels == 4 && !c.alpha ? 4 : 3;
}

// One row of a declared model's table: the common columns, the layout and op columns the model
// names, the standard forms, then the model's own description (Model::describe) when it has one.
template <class Model, class T>
Case describeCase(const char* name, const char* form, const char* columns, ZkrStatus (*call)(const Args&)) {
    const std::vector<std::string> cols = splitColumns(columns);
    constexpr int layoutColumn = columnOf<Model>("layout");
    static_assert(layoutColumn >= 0, "an element-wise model's columns name its \"layout\" column");
    Case c = describeRow<T>(name, form, cols[layoutColumn].c_str(), call);
    c.columns = cols;
    if constexpr (requires { Model::ops; }) {
        const std::string& op = cols[std::size_t(columnOf<Model>("op"))];
        c.op = int(std::find(std::begin(Model::ops), std::end(Model::ops), op) - std::begin(Model::ops));
    }
    describeForm(c);
    if constexpr (requires { Model::describe(c); }) Model::describe(c);
    return c;
}

// The arguments of a call under the model's parameter names (Model::Bag and Model::bind, for
// parameters beyond the standard forms'), then the call of the row's function.
template <class Model> auto bagOf(const Args& a) {
    if constexpr (requires { typename Model::Bag; }) {
        typename Model::Bag b;
        static_cast<Bag&>(b) = a.bag();
        Model::bind(b, a);
        return b;
    } else {
        return a.bag();
    }
}

// The body of a ZKR_FN expansion for a declared model: checks the row against the model while
// compiling, then appends it to `cases`.
#define ZKRTEST_ELTWISE_CASE(Model, name, form, T, ...)                                                         \
    static_assert(::zkrtest::eltwise::kCovers<Model, T>, #name ": element type " #T " is not in " #Model "::Types"); \
    static_assert(::zkrtest::eltwise::columnCount(#__VA_ARGS__) == int(std::size(Model::columns)),              \
                  #name ": the row's columns (" #__VA_ARGS__ ") are not the ones " #Model "::columns names");   \
    static_assert(::zkrtest::eltwise::knownOp<Model>(#__VA_ARGS__), #name ": its op is not in " #Model "::ops");   \
    cases.push_back(::zkrtest::eltwise::describeCase<Model, T>(                                                  \
        #name, #form, #__VA_ARGS__, [](const ::zkrtest::eltwise::Args& a) -> ZkrStatus {                        \
            const auto b = ::zkrtest::eltwise::bagOf<Model>(a);                                                  \
            return ZKR_CALL(b, name, form, T);                                                                   \
        }));

// The body of a ZKR_FN expansion: appends the row, through describe<T>, to `cases`.
#define ZKRTEST_ELTWISE_ROW(describe, name, form, T, L, op)                                            \
    cases.push_back(describe<T>(#name, #form, #L, #op, [](const ::zkrtest::eltwise::Args& a) -> ZkrStatus { \
        const ::zkrtest::Bag b = a.bag();                                                               \
        return ZKR_CALL(b, name, form, T);                                                              \
    }));

// Equal bits, or both NaN (a NaN result carries no payload to compare).
template <class S> bool matches(S got, S want) {
    if constexpr (std::is_floating_point_v<S>)
        if (std::isnan(want)) return std::isnan(got);
    return sameBits(got, want);
}

template <class S> bool sameData(const std::vector<S>& a, const std::vector<S>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](S x, S y) { return matches(x, y); });
}

// ---- one call ------------------------------------------------------------------------

// Inputs and output of one call of a family function, in components.
template <class Model, class S> struct Call {
    const Case* fc;
    std::optional<Plane<S>> src1, src2;  // the sources the form reads
    Plane<S> dst;                        // pDst or pSrcDst
    std::vector<S> values;               // constant: nval elements of comps components

    Call(const Case& c, int w, int h, bool padded, std::mt19937& rng)
        : fc(&c), dst(w, h, c.perPixel(), padded ? randomPadding(rng) : Padding{}, rng),
          values(std::size_t(std::max(c.nval, 1)) * c.comps) {
        auto pad = [&] { return padded ? randomPadding(rng) : Padding{}; };
        if (c.sources >= 1) src1.emplace(w, h, c.perPixel(), pad(), rng);
        if (c.sources >= 2) src2.emplace(w, h, c.perPixel(), pad(), rng);
        fillRandom(values, rng);
    }

    Args args(int sf) {
        Args a;
        if (src1) a.src1 = src1->roi(), a.src1Step = src1->stepBytes();
        if (src2) a.src2 = src2->roi(), a.src2Step = src2->stepBytes();
        a.dst = dst.roi();
        a.dstStep = dst.stepBytes();
        a.values = values.data();
        a.roi = {dst.width, dst.height};
        a.scaleFactor = sf;
        return a;
    }

    int channelOf(int i) const { return (i / fc->comps) % fc->channels; }
    bool isAlpha(int i) const { return fc->alpha && channelOf(i) == 3; }
    // The constant component that applies to component i.
    S value(int i) const { return values[std::size_t(fc->nval > 1 ? channelOf(i) : 0) * fc->comps + i % fc->comps]; }
    // The first input of component i: the first source, or the destination before the call.
    S input(const Plane<S>& before, int y, int i) const { return src1 ? src1->at(y, i) : before.at(y, i); }

    ZkrStatus expectedStatus(const Plane<S>& before) const {
        if constexpr (requires { Model::expectedStatus(*this, before); }) return Model::expectedStatus(*this, before);
        else return zkrStsNoErr;
    }

    S expected(const Plane<S>& before, int y, int i, int sf) const {
        if (isAlpha(i)) return before.at(y, i);
        return Model::template expected<S>(*this, before, y, i, sf);
    }

    // Runs the function and checks every component of the destination buffer.
    void runAndCheck(int sf) {
        const Plane<S> before = dst;
        const auto s1 = src1 ? src1->data : std::vector<S>{};
        const auto s2 = src2 ? src2->data : std::vector<S>{};
        ASSERT_EQ(fc->call(args(sf)), expectedStatus(before));
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
                if (!matches(dst.at(y, i), want)) {
                    ADD_FAILURE() << "row " << y << " component " << i << " sf " << sf << ": input "
                                  << +input(before, y, i) << " got " << +dst.at(y, i) << ", want " << +want;
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

// ---- geometries and scale factors ----------------------------------------------------------

struct Geometry {
    int width, height;
    bool padded;
    bool wideScaleList;  // the wide scale-factor list, else the short one
};

// 1x1; odd width inside padding; rows stored without gaps (run as one long
// row); rows longer than the constant pattern and the vector widths, padded and gapless.
inline constexpr Geometry kGeometries[] = {
    {1, 1, false, true}, {37, 5, true, true}, {29, 6, false, false}, {450, 2, true, false}, {700, 3, false, false}};

// Across the bits of 8-, 16- and 32-bit results, beyond them, and the extremes.
inline constexpr int kScaleFactorsWide[] = {0,   1,   2,   3,   7,   8,   9,   10,  15,  16,  17,  18,  31,  32,
                                            33,  34,  40,  -1,  -2,  -7,  -8,  -9,  -15, -16, -17, -31, -32, -33,
                                            INT_MAX, INT_MIN};
inline constexpr int kScaleFactorsShort[] = {0, 1, 9, -1, 17, -17};

template <class Model> constexpr std::span<const Geometry> geometries() {
    if constexpr (requires { Model::geometries; }) return Model::geometries;
    else return kGeometries;
}
template <class Model> constexpr std::span<const int> scaleFactors(bool wide) {
    if constexpr (requires { Model::wideScaleFactors; Model::shortScaleFactors; })
        return wide ? std::span<const int>(Model::wideScaleFactors) : std::span<const int>(Model::shortScaleFactors);
    else return wide ? std::span<const int>(kScaleFactorsWide) : std::span<const int>(kScaleFactorsShort);
}
template <class Model> constexpr unsigned referenceSeed() {
    if constexpr (requires { Model::referenceSeed; }) return Model::referenceSeed;
    else return 12345u;
}

// ---- the checks -------------------------------------------------------------------------------

// Every geometry on every dispatch level, at every scale factor of its list.
template <class Model, class S> void checkAgainstReference(const Case& fc) {
    std::mt19937 rng(referenceSeed<Model>());
    forEachLevel([&](const Level&) {
        for (const Geometry& g : geometries<Model>()) {
            SCOPED_TRACE(testing::Message() << g.width << "x" << g.height);
            std::vector<int> sfs = {0};
            if (fc.hasScale) {
                const std::span<const int> list = scaleFactors<Model>(g.wideScaleList);
                sfs.assign(list.begin(), list.end());
            }
            for (int sf : sfs) {
                Call<Model, S> call(fc, g.width, g.height, g.padded, rng);
                call.runAndCheck(sf);
                if (testing::Test::HasFailure()) return;
            }
        }
    });
}

// A large image (above the splitting threshold) gives identical results and
// status on 1, 2 and 3 threads, and these match the reference.
template <class Model, class S> void checkThreadSplits(const Case& fc) {
    std::mt19937 rng(777);
    const int sf = fc.hasScale ? 1 : 0;
    for (bool padded : {true, false}) {
        Call<Model, S> call(fc, kSplitSize.width, kSplitSize.height, padded, rng);
        const Call<Model, S> original = call;
        std::vector<S> single;
        ZkrStatus singleStatus = zkrStsNoErr;
        for (int threads : {1, 2, 3}) {
            SCOPED_TRACE(testing::Message() << threads << " threads" << (padded ? ", padded" : ", gapless"));
            ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
            call = original;
            if (threads == 1) {
                singleStatus = call.expectedStatus(call.dst);
                call.runAndCheck(sf);
                single = call.dst.data;
            } else {
                EXPECT_EQ(call.fc->call(call.args(sf)), singleStatus);
                EXPECT_TRUE(sameData(call.dst.data, single)) << "result depends on the thread split";
            }
        }
    }
}

// Argument checks: NULL pointers (sources, constants, destination), then ROI
// size, then steps; nothing written on error.
template <class Model, class S> void checkStatusCodes(const Case& fc) {
    std::mt19937 rng(99);
    Call<Model, S> call(fc, 6, 3, true, rng);
    const Args good = call.args(0);
    const std::vector<S> dstBefore = call.dst.data;
    auto expectStatus = [&](const Args& a, ZkrStatus want, const char* what) {
        EXPECT_EQ(fc.call(a), want) << what;
        EXPECT_TRUE(sameData(call.dst.data, dstBefore)) << what << ": destination written on error";
    };

    Args a = good;
    std::vector<const void**> pointers;
    std::vector<int*> steps;
    if (fc.sources >= 1) pointers.push_back(&a.src1), steps.push_back(&a.src1Step);
    if (fc.sources >= 2) pointers.push_back(&a.src2), steps.push_back(&a.src2Step);
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
        for (int* step : steps) {
            const int kept = *step;
            *step = 0;
            expectStatus(a, zkrStsSizeErr, "size checked before steps");
            *step = kept;
        }
    }

    const int rowBytes = 6 * fc.pixelBytes();
    for (int* step : steps) {
        a = good;
        std::vector<int> badSteps = {0, -*step, rowBytes - fc.compBytes};
        if (fc.compBytes > 1) badSteps.push_back(rowBytes + 1);  // misaligned rows
        for (int bad : badSteps) {
            a = good;
            *step = bad;
            expectStatus(a, zkrStsStepErr, "bad step");
        }
    }
}

// Calls f.template operator()<S>() with S the case's component type, among the types the model
// declares (all five when it declares none).
template <class Model, class F> void withModelType(CompType t, F&& f) {
    if constexpr (requires { typename Model::Types; })
        [&]<class... S>(Types<S...>) { withCompType<S...>(t, f); }(typename Model::Types{});
    else withAnyCompType(t, f);
}

// The checks above for the case's component type.
template <class Model> void checkAgainstReference(const Case& c) {
    withModelType<Model>(c.comp, [&]<class S>() { checkAgainstReference<Model, S>(c); });
}
template <class Model> void checkThreadSplits(const Case& c) {
    withModelType<Model>(c.comp, [&]<class S>() { checkThreadSplits<Model, S>(c); });
}
template <class Model> void checkStatusCodes(const Case& c) {
    withModelType<Model>(c.comp, [&]<class S>() { checkStatusCodes<Model, S>(c); });
}

// No two rows name the same function.
inline void expectUniqueNames(const std::vector<Case>& cases) {
    std::vector<std::string> names;
    for (const Case& c : cases) names.push_back(c.name);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end()) << "a function is listed twice";
}

// The forms of a table, in the order of their first rows.
inline std::vector<std::string> formsOf(const std::vector<Case>& cases) {
    std::vector<std::string> forms;
    for (const Case& c : cases)
        if (std::find(forms.begin(), forms.end(), c.form) == forms.end()) forms.push_back(c.form);
    return forms;
}

inline std::string formName(const testing::TestParamInfo<std::string>& info) { return info.param; }

// A family's cases per form: walk(check) runs check on every case of the test's form.
template <const std::vector<Case>& (*cases)()>
class FormTest : public testing::WithParamInterface<std::string>, public LibraryStateTest {
protected:
    template <class Check> void walk(Check check) {
        forEachCase(cases(), [&](const Case& c) { return c.form == GetParam(); }, check);
    }
};

}  // namespace zkrtest::eltwise

// The three checks of every element-wise function, one test per form of the table that `rows()`
// expands: Fixture/MatchesReferenceOnEveryLevel/<form>, ThreadSplitsMatchSingleThread,
// StatusCodes. Fixture##Cases() gives the cases, for the family's own tests (TEST_P(Fixture, ...)
// runs per form too).
#define ZKRTEST_ELTWISE_FORMS(Fixture, Model, rows)                                                           \
    const std::vector<::zkrtest::eltwise::Case>& Fixture##Cases() {                                            \
        static const std::vector<::zkrtest::eltwise::Case> cases = rows();                                     \
        return cases;                                                                                          \
    }                                                                                                          \
    class Fixture : public ::zkrtest::eltwise::FormTest<&Fixture##Cases> {};                                   \
    TEST_P(Fixture, MatchesReferenceOnEveryLevel) {                                                            \
        walk([](const ::zkrtest::eltwise::Case& c) { ::zkrtest::eltwise::checkAgainstReference<Model>(c); });  \
    }                                                                                                          \
    TEST_P(Fixture, ThreadSplitsMatchSingleThread) {                                                           \
        walk([](const ::zkrtest::eltwise::Case& c) { ::zkrtest::eltwise::checkThreadSplits<Model>(c); });      \
    }                                                                                                          \
    TEST_P(Fixture, StatusCodes) {                                                                             \
        walk([](const ::zkrtest::eltwise::Case& c) { ::zkrtest::eltwise::checkStatusCodes<Model>(c); });       \
    }                                                                                                          \
    INSTANTIATE_TEST_SUITE_P(Zkri, Fixture, testing::ValuesIn(::zkrtest::eltwise::formsOf(Fixture##Cases())),  \
                             ::zkrtest::eltwise::formName)
