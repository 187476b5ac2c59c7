// TimiResizeFilter: the windowed-sinc resize (ResizeFilter) over source sizes, x and y factors and
// the filter. One test per library function of the family's table.
#include "resizesqr_module.h"

namespace {

qmIterator_NSC<double> s_xFactor({0.5, 2.0}, "xFactor", "Horizontal scaling factor");
qmIterator_NSC<double> s_yFactor({0.5, 2.0}, "yFactor", "Vertical scaling factor");
// Reducing widens the filter by the inverse factor: below a hundredth it reads whole images a pixel.
[[maybe_unused]] const bool s_limits = s_xFactor.setLimits(0.01, 1000.0) && s_yFactor.setLimits(0.01, 1000.0);
qmMapIterator<int> s_filter(ZKRI_RESIZE_FILTER_LANCZOS, "filter", "Resize filter",
                            {{"Lanczos", ZKRI_RESIZE_FILTER_LANCZOS}, {"Hann", ZKRI_RESIZE_FILTER_HANN}});

class TimiResizeFilter : public zkResampleTest {
public:
    TimiResizeFilter(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkResampleTest(call, loop, stat, func, __FILE__, "TimiResizeFilter//ZK_REG") {
        s_filter.initValidation();
    }

protected:
    void addModuleParameters() override {
        addParameter(&s_xFactor);
        addParameter(&s_yFactor);
        addParameter(&s_filter);
    }

    ZkriSize destinationSize(ZkriSize size) override {
        return {scaled(size.width, s_xFactor.value()), scaled(size.height, s_yFactor.value())};
    }

    void setArguments(ZkriSize) override { s_args.filter = s_filter.value(); }
};

}  // namespace

#define ZK_FAMILY_TABLE "resizesqr/resizefilter.tbl"
#define ZK_FAMILY_TEST TimiResizeFilter
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
