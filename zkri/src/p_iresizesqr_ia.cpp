// TimResizeSqr: the square-pixel resize with shifts (ResizeSqrPixel) over source sizes, x and y
// factors, shifts and interpolation modes. The destination is sized from the factors, so with no
// shift the scaled source fills it. One test per library function of the family's table.
#include "resizesqr_module.h"

namespace {

qmIterator_NSC<double> s_xFactor({0.5, 2.0}, "xFactor", "Horizontal scaling factor");
qmIterator_NSC<double> s_yFactor({0.5, 2.0}, "yFactor", "Vertical scaling factor");
qmIterator_NSC<double> s_xShift(0.0, "xShift", "Horizontal shift of the scaled source (destination pixels)");
qmIterator_NSC<double> s_yShift(0.0, "yShift", "Vertical shift of the scaled source (destination pixels)");
// A destination of up to a thousand times the largest image size still has int dimensions.
[[maybe_unused]] const bool s_limits = s_xFactor.setLimits(0.001, 1000.0) && s_yFactor.setLimits(0.001, 1000.0) &&
                                       s_xShift.setLimits(-1e6, 1e6) && s_yShift.setLimits(-1e6, 1e6);
qmMapIterator<int> s_interpolation(ZKRI_RSQ_LINEAR, "interpolation", "Interpolation mode",
                                   {{"Linear", ZKRI_RSQ_LINEAR},
                                    {"NN", ZKRI_RSQ_NN},
                                    {"Cubic", ZKRI_RSQ_CUBIC},
                                    {"Lanczos", ZKRI_RSQ_LANCZOS},
                                    {"Super", ZKRI_RSQ_SUPER}});

class TimResizeSqr : public zkResampleTest {
public:
    TimResizeSqr(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkResampleTest(call, loop, stat, func, __FILE__, "TimResizeSqr//ZK_REG") {
        s_interpolation.initValidation();
    }

protected:
    void addModuleParameters() override {
        addParameter(&s_xFactor);
        addParameter(&s_yFactor);
        addParameter(&s_xShift);
        addParameter(&s_yShift);
        addParameter(&s_interpolation);
    }

    ZkriSize destinationSize(ZkriSize size) override {
        return {scaled(size.width, s_xFactor.value()), scaled(size.height, s_yFactor.value())};
    }

    void setArguments(ZkriSize) override {
        s_args.xFactor = s_xFactor.value();
        s_args.yFactor = s_yFactor.value();
        s_args.xShift = s_xShift.value();
        s_args.yShift = s_yShift.value();
        s_args.interpolation = s_interpolation.value();
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "resizesqr/resizesqr.tbl"
#define ZK_FAMILY_TEST TimResizeSqr
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
