// TimFilterFixed: the filters with a fixed 3x3 kernel (Prewitt, Sobel, Roberts, Sharpen, Scharr)
// over image sizes. The source carries one pixel of border around the ROI. One test per library
// function of the table.
#include "linfilter_module.h"

namespace {

class TimFilterFixed : public zkLinFilterTest {
public:
    TimFilterFixed(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, zkKernelMaker maker)
        : zkLinFilterTest(call, loop, stat, func, __FILE__, "TimFilterFixed//ZK_REG", maker) {}

protected:
    bool prepare(zkBorder& border, ZkriSize&) override {
        border = {1, 1, 1, 1};
        return true;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "linfilter/filterfixed.tbl"
#define ZK_FAMILY_TEST TimFilterFixed
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
