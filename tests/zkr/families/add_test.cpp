// The Add family against the reference arithmetic, driven by its table:
// every function on every dispatch level, ROIs inside padded images, scale
// factors across and beyond the useful range, thread splits, and every
// argument error. One test per call form walks all functions of that form.
#include <vector>

#include "eltwise_harness.h"
#include "eltwise_hostile.h"
#include "float_fills.h"

#define ZKR_TABLE "add/add.tbl"
#include "zkr_declare.h"

namespace zkrtest {
namespace {

using eltwise::Case;

// The reference: sums and differences of the sources, the destination and the constants, scaled
// and saturated (Sub and SubC: the second operand minus the first, the source minus the value);
// Complement adds one to negative values.
struct AddModel {
    using Types = eltwise::Types<Zkr8u, Zkr16u, Zkr16s, Zkr32s, Zkr32f>;
    static constexpr const char* columns[] = {"layout", "op"};
    static constexpr const char* ops[] = {"Add", "AddC", "Sub", "SubC", "Complement"};

    template <class S>
    static S expected(const eltwise::Call<AddModel, S>& call, const Plane<S>& before, int y, int i, int sf) {
        const Case& c = *call.fc;
        const bool add = c.op <= 1;
        const S old = before.at(y, i);
        if (c.op == 4) return S(old < 0 ? old + 1 : old);
        if (c.nval == 0 && c.sources == 2) {
            const S a = call.src1->at(y, i), b = call.src2->at(y, i);
            return refCombine<S>(add ? a : b, add ? b : a, add, sf);
        }
        const S x = c.sources ? call.src1->at(y, i) : old;
        return c.nval ? refCombine<S>(x, call.value(i), add, sf) : refCombine<S>(old, x, add, sf);
    }
};

std::vector<Case> addRows() {
    std::vector<Case> cases;
#define ZKR_FN(name, form, T, ...) ZKRTEST_ELTWISE_CASE(AddModel, name, form, T, __VA_ARGS__)
#include "add/add.tbl"
#undef ZKR_FN
    return cases;
}

ZKRTEST_ELTWISE_FORMS(AddFamily, AddModel, addRows);

TEST(AddFamilyTable, HasEveryVariantOnce) {
    eltwise::expectUniqueNames(AddFamilyCases());
    // Four bases of 50 variants (7 types x 3 or 4 layouts x 2 forms) and Complement.
    EXPECT_EQ(AddFamilyCases().size(), 201u);
}

// Every float function over the hostile fills (NaN, infinities, zeros of both signs, denormals,
// 1e-30 to 1e30 of both signs) on every level, with one and two threads: the model's
// IEEE result, and no floating-point flag the operation itself does not raise.
class AddFloatEdges : public LibraryStateTest {};

TEST_F(AddFloatEdges, HostileFillsOnEveryLevelAndThreadCount) {
    eltwise::checkHostileCases<AddModel>(AddFamilyCases());
}

}  // namespace
}  // namespace zkrtest
