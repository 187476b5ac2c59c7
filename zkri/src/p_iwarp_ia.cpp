// TimWarp: the affine, perspective and bilinear warps, forward, backward and between quadrangles,
// over image sizes, the warp's angle and skew, and interpolation modes. Every warp turns the image
// by the angle about its centre; the perspective and bilinear ones bend it by the skew (the
// perspective denominator grows to 1 + skew across the image, the bilinear xy term moves a corner
// by skew times the image's size); the quadrangle forms take the image onto a trapezoid whose top
// edge is shorter by the skew. One test per library function of the family's table.
#include <algorithm>

#include "warp_module.h"

namespace {

qmIterator_NSC<double> s_angle(10.0, "angle", "Rotation angle in degrees of the affine part (about the centre)");
qmIterator_NSC<double> s_skew(0.1, "skew", "Perspective, bilinear and trapezoid bending (fraction of the image)");
[[maybe_unused]] const bool s_limits = s_angle.setLimits(-360.0, 360.0) && s_skew.setLimits(0.0, 0.9);
double s_coeffs[9], s_srcQuad[8], s_dstQuad[8];

class TimWarp : public zkWarpTest {
public:
    TimWarp(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkWarpTest(call, loop, stat, func, __FILE__, "TimWarp//ZK_REG") {}

protected:
    void addMappingParameters() override {
        addParameter(&s_angle);
        addParameter(&s_skew);
    }

    bool isBase(const char* base) const { return m_func.find(qmString(base) + "_") >= 0; }

    bool setMapping(ZkriSize size) override {
        const double r = s_angle.value() * kDegree, ca = std::cos(r), sa = std::sin(r), s = s_skew.value();
        const double cx = centreX(size), cy = centreY(size), w = size.width, h = size.height;
        const double tx = cx - (cx * ca + cy * sa), ty = cy - (-cx * sa + cy * ca);
        if (isBase("zkriWarpPerspective") || isBase("zkriWarpPerspectiveBack")) {
            const double c[9] = {ca, sa, tx, -sa, ca, ty, s / w, 0.0, 1.0};
            std::copy(c, c + 9, s_coeffs);
        } else if (isBase("zkriWarpBilinear") || isBase("zkriWarpBilinearBack")) {
            const double k = s / std::max(w, h);
            const double c[8] = {k, ca, sa, tx, k, -sa, ca, ty};
            std::copy(c, c + 8, s_coeffs);
        } else {
            const double c[6] = {ca, sa, tx, -sa, ca, ty};
            std::copy(c, c + 6, s_coeffs);
        }
        // The image's outline, and the trapezoid it is taken onto.
        const double src[8] = {-0.5, -0.5, w - 0.5, -0.5, w - 0.5, h - 0.5, -0.5, h - 0.5};
        const double in = s * w / 2.0;
        const double dst[8] = {-0.5 + in, -0.5, w - 0.5 - in, -0.5, w - 0.5, h - 0.5, -0.5, h - 0.5};
        std::copy(src, src + 8, s_srcQuad);
        std::copy(dst, dst + 8, s_dstQuad);
        s_args.coeffs = s_coeffs;
        s_args.srcQuad = s_srcQuad;
        s_args.dstQuad = s_dstQuad;
        return true;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "warp/warp.tbl"
#define ZK_FAMILY_TEST TimWarp
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
