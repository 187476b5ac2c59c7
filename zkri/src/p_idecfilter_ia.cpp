// TimiDecFilter: decimation of rows and columns (the mean of `factor` samples) over source sizes
// and factors; the destination is the source ROI divided by the factor along the decimated axis.
// Results are per source element. One test per library function of the table.
#include "linfilter_module.h"

namespace {

qmIterator_NSC<int> s_factor({2, 4}, "Factor", "Decimation factor (2 to 8)");
[[maybe_unused]] const bool s_factorLimits = s_factor.setLimits(2, 8);

class TimiDecFilter : public zkLinFilterTest {
public:
    TimiDecFilter(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, zkKernelMaker maker)
        : zkLinFilterTest(call, loop, stat, func, __FILE__, "TimiDecFilter//ZK_REG", maker) {}

protected:
    void addParameters() override { addParameter(&s_factor); }

    bool prepare(zkBorder&, ZkriSize& dstSize) override {
        const int f = s_factor.value();
        if (f < 2) return false;
        s_args.factor = f;
        if (m_func.find("DecimateFilterRow") >= 0) dstSize.width = m_roi.width / f;
        else dstSize.height = m_roi.height / f;
        return dstSize.width > 0 && dstSize.height > 0;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "linfilter/decfilter.tbl"
#define ZK_FAMILY_TEST TimiDecFilter
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
