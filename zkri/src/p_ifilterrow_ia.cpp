// TimiFilterRow: the column and row filters with a user kernel (32s kernels with a divisor, 32f
// kernels) over image sizes and kernel lengths, the anchor at the kernel's centre and every weight
// equal (the divisor of the integer kernels is their sum). The source carries the kernel's border
// above and below the ROI (columns) or left and right of it (rows). One test per library function
// of the table.
#include "linfilter_module.h"

namespace {

qmIterator_NSC<int> s_kernelLen({3, 5}, "KernelLen", "Kernel length");
[[maybe_unused]] const bool s_kernelLimits = s_kernelLen.setLimits(1, 255);

class TimiFilterRow : public zkLinFilterTest {
public:
    TimiFilterRow(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, zkKernelMaker maker)
        : zkLinFilterTest(call, loop, stat, func, __FILE__, "TimiFilterRow//ZK_REG", maker) {}

protected:
    void addParameters() override { addParameter(&s_kernelLen); }

    bool prepare(zkBorder& border, ZkriSize&) override {
        const int n = s_kernelLen.value();
        if (n <= 0) return false;
        s_args.kernelLen = n;
        s_args.xAnchor = s_args.yAnchor = n / 2;
        s_args.divisor = n;
        s_args.pKernel = kernel(n);
        if (m_func.find("FilterColumn") >= 0) border = {0, n / 2, 0, n - 1 - n / 2};
        else border = {n / 2, 0, n - 1 - n / 2, 0};
        return s_args.pKernel != nullptr;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "linfilter/filterrow.tbl"
#define ZK_FAMILY_TEST TimiFilterRow
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
