// The Add family against the reference arithmetic, driven by its table:
// every function on every dispatch level, ROIs inside padded images, scale
// factors across and beyond the useful range, thread splits, and every
// argument error. One test per call form walks all functions of that form.
#include <string>
#include <vector>

#include "eltwise_harness.h"

#define ZKR_TABLE "add/add.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

using eltwise::Case;

enum class Form { Bin, BinInPlace, Const, ConstInPlace, UnaryInPlace };
enum class Op { Add, Sub };  // Add/AddC (a + b) or Sub/SubC (src2 - src1, src - value)

Form formOf(const std::string& form) {
    if (form.rfind("binary_i", 0) == 0) return Form::BinInPlace;
    if (form.rfind("binary", 0) == 0) return Form::Bin;
    if (form.rfind("unary_i", 0) == 0) return Form::UnaryInPlace;
    if (form.find("_i") != std::string::npos) return Form::ConstInPlace;
    return Form::Const;
}

// One table row as a case; the layout and operation columns are the table's.
template <class T>
Case describe(const char* name, const char* form, const char* layout, const char* op,
              ZkrStatus (*call)(const eltwise::Args&)) {
    Case c = eltwise::describeRow<T>(name, form, layout, call);
    const std::string l = layout, o = op;
    const Form f = formOf(c.form);
    c.kind = int(f);
    c.op = int(o == "Add" || o == "AddC" ? Op::Add : Op::Sub);
    c.sources = f == Form::Bin ? 2 : (f == Form::BinInPlace || f == Form::Const ? 1 : 0);
    c.nval = f == Form::Const || f == Form::ConstInPlace ? (c.form.rfind("const1", 0) == 0 ? 1 : (l == "C4" ? 4 : 3)) : 0;
    return c;
}

std::vector<Case> expandTable() {
    std::vector<Case> cases;
#define ZKR_FN(name, form, T, L, op) ZKRTEST_ELTWISE_ROW(describe, name, form, T, L, op)
#include "add/add.tbl"
#undef ZKR_FN
    return cases;
}

const std::vector<Case>& familyCases() {
    static const std::vector<Case> cases = expandTable();
    return cases;
}

// The reference: sums and differences of the sources, the destination and the
// constants, scaled and saturated; Complement adds one to negative values.
struct AddModel {
    template <class S>
    static S expected(const eltwise::Call<AddModel, S>& call, const Plane<S>& before, int y, int i, int sf) {
        const Case& c = *call.fc;
        const bool add = Op(c.op) == Op::Add;
        const S old = before.at(y, i);
        switch (Form(c.kind)) {
            case Form::UnaryInPlace: return S(old < 0 ? old + 1 : old);
            case Form::Bin: {
                const S a = call.src1->at(y, i), b = call.src2->at(y, i);
                return refCombine<S>(add ? a : b, add ? b : a, add, sf);
            }
            case Form::BinInPlace:   return refCombine<S>(old, call.src1->at(y, i), add, sf);
            case Form::Const:        return refCombine<S>(call.src1->at(y, i), call.value(i), add, sf);
            default:                 return refCombine<S>(old, call.value(i), add, sf);
        }
    }
};

class AddFamily : public testing::WithParamInterface<Form>, public LibraryStateTest {
protected:
    template <class Check> void walk(Check check) {
        forEachCase(familyCases(), [&](const Case& c) { return Form(c.kind) == GetParam(); }, check);
    }
};

TEST_P(AddFamily, MatchesReferenceOnEveryLevel) {
    walk([](const Case& c) { eltwise::checkAgainstReference<AddModel>(c); });
}
TEST_P(AddFamily, ThreadSplitsMatchSingleThread) {
    walk([](const Case& c) { eltwise::checkThreadSplits<AddModel>(c); });
}
TEST_P(AddFamily, StatusCodes) {
    walk([](const Case& c) { eltwise::checkStatusCodes<AddModel>(c); });
}

TEST(AddFamilyTable, HasEveryVariantOnce) {
    eltwise::expectUniqueNames(familyCases());
    // Four bases of 50 variants (7 types x 3 or 4 layouts x 2 forms) and Complement.
    EXPECT_EQ(familyCases().size(), 201u);
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
