// TimRotate: image rotation (Rotate) over image sizes, angles and interpolation modes. The image
// turns about its centre, so the shifts follow from the angle and the size. One test per library
// function of the family's table.
#include "warp_module.h"

namespace {

qmIterator_NSC<double> s_angle(10.0, "angle", "Rotation angle in degrees (counter-clockwise, about the centre)");
[[maybe_unused]] const bool s_angleLimits = s_angle.setLimits(-360.0, 360.0);

class TimRotate : public zkWarpTest {
public:
    TimRotate(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkWarpTest(call, loop, stat, func, __FILE__, "TimRotate//ZK_REG") {}

protected:
    void addMappingParameters() override { addParameter(&s_angle); }

    bool setMapping(ZkriSize size) override {
        // The centre maps onto itself: shift = centre - R * centre.
        const double a = s_angle.value(), r = a * kDegree, cx = centreX(size), cy = centreY(size);
        s_args.angle = a;
        s_args.xShift = cx - (cx * std::cos(r) + cy * std::sin(r));
        s_args.yShift = cy - (-cx * std::sin(r) + cy * std::cos(r));
        return true;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "warp/rotate.tbl"
#define ZK_FAMILY_TEST TimRotate
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
