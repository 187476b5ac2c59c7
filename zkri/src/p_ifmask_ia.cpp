// TimiFMask: the filters with fixed masks chosen by size (Laplace, Gauss, high- and low-pass,
// Sobel first and second derivatives, the horizontal, vertical, cross and colour medians) over
// image sizes and the mask sizes 3 and 5. The source carries the mask's border around the ROI.
// One test per library function of the table.
#include "linfilter_module.h"

namespace {

qmIterator_NSC<int> s_mask({3, 5}, "Mask", "Mask size (3 or 5: 3x3 and 5x5, 3x1 and 5x1 for the horizontal median)");
[[maybe_unused]] const bool s_maskLimits = s_mask.setLimits(3, 5);

class TimiFMask : public zkLinFilterTest {
public:
    TimiFMask(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, zkKernelMaker maker)
        : zkLinFilterTest(call, loop, stat, func, __FILE__, "TimiFMask//ZK_REG", maker) {}

protected:
    void addParameters() override { addParameter(&s_mask); }

    bool prepare(zkBorder& border, ZkriSize&) override {
        const int m = s_mask.value();
        if (m != 3 && m != 5) return false;
        const bool horiz = m_func.find("MedianHoriz_") >= 0, vert = m_func.find("MedianVert_") >= 0;
        s_args.maskSize = {vert ? 1 : m, horiz ? 1 : m};
        const int ax = s_args.maskSize.width / 2, ay = s_args.maskSize.height / 2;
        border = {ax, ay, ax, ay};
        return true;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "linfilter/fmask.tbl"
#define ZK_FAMILY_TEST TimiFMask
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
