// TimiSuperSampling: reduction by area averaging (SuperSampling) over source sizes and the
// fractions of the source each axis keeps. One test per library function of the family's table.
#include "resizesqr_module.h"

namespace {

qmIterator_NSC<double> s_xFraction({0.5, 0.3}, "xFraction", "Destination width as a fraction of the source's");
qmIterator_NSC<double> s_yFraction(0.5, "yFraction", "Destination height as a fraction of the source's");
// The destination may not be larger than the source.
[[maybe_unused]] const bool s_limits = s_xFraction.setLimits(0.001, 1.0) && s_yFraction.setLimits(0.001, 1.0);

class TimiSuperSampling : public zkResampleTest {
public:
    TimiSuperSampling(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkResampleTest(call, loop, stat, func, __FILE__, "TimiSuperSampling//ZK_REG") {}

protected:
    void addModuleParameters() override {
        addParameter(&s_xFraction);
        addParameter(&s_yFraction);
    }

    ZkriSize destinationSize(ZkriSize size) override {
        return {scaled(size.width, s_xFraction.value()), scaled(size.height, s_yFraction.value())};
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "resizesqr/supersampling.tbl"
#define ZK_FAMILY_TEST TimiSuperSampling
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
