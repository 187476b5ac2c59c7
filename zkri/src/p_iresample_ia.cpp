// TimiResample: row resampling (ResampleRow, ResampleRowReplicateBorder) over source sizes and the
// horizontal factor; every row of the image is resampled. One test per library function of the
// family's table.
#include "resizesqr_module.h"

namespace {

qmIterator_NSC<double> s_xFactor({0.5, 2.0}, "xFactor", "Horizontal scaling factor");
// Reducing widens the filter by the inverse factor: below a hundredth it reads whole rows a pixel.
[[maybe_unused]] const bool s_limits = s_xFactor.setLimits(0.01, 1000.0);

class TimiResample : public zkResampleTest {
public:
    TimiResample(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkResampleTest(call, loop, stat, func, __FILE__, "TimiResample//ZK_REG") {}

protected:
    void addModuleParameters() override { addParameter(&s_xFactor); }

    ZkriSize destinationSize(ZkriSize size) override { return {scaled(size.width, s_xFactor.value()), size.height}; }
};

}  // namespace

#define ZK_FAMILY_TABLE "resizesqr/resample.tbl"
#define ZK_FAMILY_TEST TimiResample
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
