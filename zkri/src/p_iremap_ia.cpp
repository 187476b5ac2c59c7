// TimRemap: remapping through coordinate maps (Remap) over image sizes, angles and interpolation
// modes. The maps turn the image about its centre by the angle; they are made before timing, so the
// timed span holds the library call only. One test per library function of the family's table.
#include <vector>

#include "warp_module.h"

namespace {

qmIterator_NSC<double> s_angle(10.0, "angle", "Angle in degrees of the rotation the maps describe");
[[maybe_unused]] const bool s_angleLimits = s_angle.setLimits(-360.0, 360.0);
std::vector<Zkr32f> s_xMap, s_yMap;

class TimRemap : public zkWarpTest {
public:
    TimRemap(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkWarpTest(call, loop, stat, func, __FILE__, "TimRemap//ZK_REG") {}

    void flushData() override {
        zkWarpTest::flushData();
        s_xMap = {};
        s_yMap = {};
    }

protected:
    void addMappingParameters() override { addParameter(&s_angle); }

    bool setMapping(ZkriSize size) override {
        const double r = s_angle.value() * kDegree, ca = std::cos(r), sa = std::sin(r);
        const double cx = centreX(size), cy = centreY(size);
        const std::size_t n = std::size_t(size.width) * size.height;
        s_xMap.resize(n);
        s_yMap.resize(n);
        for (int y = 0; y < size.height; ++y)
            for (int x = 0; x < size.width; ++x) {
                const std::size_t i = std::size_t(y) * size.width + x;
                s_xMap[i] = Zkr32f(cx + ca * (x - cx) - sa * (y - cy));
                s_yMap[i] = Zkr32f(cy + sa * (x - cx) + ca * (y - cy));
            }
        s_args.pxMap = s_xMap.data();
        s_args.pyMap = s_yMap.data();
        s_args.xMapStep = s_args.yMapStep = size.width * int(sizeof(Zkr32f));
        return true;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "warp/remap.tbl"
#define ZK_FAMILY_TEST TimRemap
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
