// TimiFilterRound: the user-kernel filters with a rounding mode (16s, 32s and 32f kernels) and the
// double-precision filter over image sizes, kernel sizes and rounding modes, the anchor at the
// kernel's centre and every weight equal (the divisor of the integer kernels is their sum). One
// test per library function of the table.
#include "linfilter_module.h"
#include "qmmapiterator.h"

namespace {

qmIterator_NSC<ZkriSize> s_kernelSize({ZkriSize{3, 3}}, "KernelSize", "Kernel size (width x height)");
[[maybe_unused]] const bool s_kernelLimits = s_kernelSize.setLimits({1, 1}, {64, 64});
// Every mode by default: the modes differ in the code that rounds, which is what a user compares.
qmMapIterator<int> s_roundMode(zkrRndNear, "roundMode", "Rounding mode of the sums",
                               {{"Zero", zkrRndZero}, {"Near", zkrRndNear}, {"Financial", zkrRndFinancial}});

class TimiFilterRound : public zkLinFilterTest {
public:
    TimiFilterRound(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, zkKernelMaker maker)
        : zkLinFilterTest(call, loop, stat, func, __FILE__, "TimiFilterRound//ZK_REG", maker) {
        s_roundMode.initValidation();
        static const bool s_defaults = (s_roundMode.translate("Zero; Near; Financial"), true);
        (void)s_defaults;
    }

protected:
    // The double-precision filter has no rounding mode.
    void addParameters() override {
        addParameter(&s_kernelSize);
        if (m_func.find("_Round") >= 0) addParameter(&s_roundMode);
    }

    bool prepare(zkBorder& border, ZkriSize&) override {
        const ZkriSize k = s_kernelSize.value();
        if (k.width <= 0 || k.height <= 0) return false;
        s_args.kernelSize = k;
        s_args.anchor = {k.width / 2, k.height / 2};
        s_args.divisor = k.width * k.height;
        s_args.roundMode = s_roundMode.value();
        s_args.pKernel = kernel(k.width * k.height);
        border = {k.width / 2, k.height / 2, k.width - 1 - k.width / 2, k.height - 1 - k.height / 2};
        return s_args.pKernel != nullptr;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "linfilter/filterround.tbl"
#define ZK_FAMILY_TEST TimiFilterRound
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
