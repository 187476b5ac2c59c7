// TimShear: image shear (Shear) over image sizes, shear factors and interpolation modes. The centre
// of the image stays in place, so the shifts follow from the factors and the size. One test per
// library function of the family's table.
#include "warp_module.h"

namespace {

qmIterator_NSC<double> s_xShear(0.1, "xShear", "Horizontal shear factor (x' = x + xShear y)");
qmIterator_NSC<double> s_yShear(0.0, "yShear", "Vertical shear factor (y' = yShear x + y)");
// Beyond one the sheared image leaves the destination almost entirely.
[[maybe_unused]] const bool s_shearLimits = s_xShear.setLimits(-1.0, 1.0) && s_yShear.setLimits(-1.0, 1.0);

class TimShear : public zkWarpTest {
public:
    TimShear(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkWarpTest(call, loop, stat, func, __FILE__, "TimShear//ZK_REG") {}

protected:
    void addMappingParameters() override {
        addParameter(&s_xShear);
        addParameter(&s_yShear);
    }

    bool setMapping(ZkriSize size) override {
        const double kx = s_xShear.value(), ky = s_yShear.value(), cx = centreX(size), cy = centreY(size);
        if (kx * ky == 1.0) return false;  // no inverse
        s_args.xShear = kx;
        s_args.yShear = ky;
        s_args.xShift = -kx * cy;
        s_args.yShift = -ky * cx;
        return true;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "warp/shear.tbl"
#define ZK_FAMILY_TEST TimShear
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
