// TimiFilter: the filters with a user kernel (32s kernels with a divisor, 32f kernels) over image
// sizes and kernel sizes, the anchor at the kernel's centre and every weight equal (the divisor of
// the integer kernels is their sum). The source carries the kernel's border around the ROI. One
// test per library function of the table.
#include "linfilter_module.h"

namespace {

qmIterator_NSC<ZkriSize> s_kernelSize({ZkriSize{3, 3}, ZkriSize{5, 5}}, "KernelSize", "Kernel size (width x height)");
[[maybe_unused]] const bool s_kernelLimits = s_kernelSize.setLimits({1, 1}, {64, 64});

class TimiFilter : public zkLinFilterTest {
public:
    TimiFilter(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, zkKernelMaker maker)
        : zkLinFilterTest(call, loop, stat, func, __FILE__, "TimiFilter//ZK_REG", maker) {}

protected:
    void addParameters() override { addParameter(&s_kernelSize); }

    bool prepare(zkBorder& border, ZkriSize&) override {
        const ZkriSize k = s_kernelSize.value();
        if (k.width <= 0 || k.height <= 0) return false;
        s_args.kernelSize = k;
        s_args.anchor = {k.width / 2, k.height / 2};
        s_args.divisor = k.width * k.height;
        s_args.pKernel = kernel(k.width * k.height);
        border = {k.width / 2, k.height / 2, k.width - 1 - k.width / 2, k.height - 1 - k.height / 2};
        return s_args.pKernel != nullptr;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "linfilter/filter.tbl"
#define ZK_FAMILY_TEST TimiFilter
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
