// TimMirror: flipping images about the horizontal axis, the vertical axis or both (Mirror, not in
// place and in place), and filling images with a linear ramp along x, y or x * y (ImageRamp), over
// image sizes. Mirror sweeps the flip axis; ImageRamp its offset, slope and direction. One test per
// library function of the family's table.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"
#include "qmmapiterator.h"
#include "zkimagesize.h"

// The family's functions and its axis enumeration, used below before zkfamily.inc expands the table.
#define ZKR_TABLE "geom/mirror.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace {

// The mirror forms add the flip axis to the image bag, the ramp form its offset, slope and axis.
struct zkMirrorArgs : zkImageArgs {
    int flip = zkriAxsHorizontal;
    float offset = 0.0f;
    float slope = 1.0f;
    int axis = zkriAxsHorizontal;
};

zkMirrorArgs s_args;
zkImageData s_data;

// Names of the axes as the user types them; the flip axis sweeps all three unless asked otherwise.
qmMapIterator<int> s_flip(zkriAxsHorizontal, "Flip", "Axis of the mirror flip",
                          {{"Horizontal", zkriAxsHorizontal}, {"Vertical", zkriAxsVertical}, {"Both", zkriAxsBoth}});
qmMapIterator<int> s_axis(zkriAxsHorizontal, "RampAxis", "Direction of the ramp (Horizontal: x, Vertical: y, Both: x*y)",
                          {{"Horizontal", zkriAxsHorizontal}, {"Vertical", zkriAxsVertical}, {"Both", zkriAxsBoth}});
qmIterator_NSC<float> s_offset(0.0f, "RampOffset", "Value of the ramp at the origin");
qmIterator_NSC<float> s_slope(0.5f, "RampSlope", "Increase of the ramp per pixel (per unit of x*y along both)");

bool setUpAxes() {
    s_flip.initValidation();
    s_axis.initValidation();
    s_flip.translate("Horizontal; Vertical; Both");
    return true;
}
[[maybe_unused]] const bool s_axesReady = setUpAxes();

class TimMirror : public zkImageTest {
public:
    TimMirror(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimMirror//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

    bool canStart() override {
        m_ramp = m_func.baseName() == "ImageRamp";
        regCacheParm(g_imageSize, m_ramp ? &m_data.dst : &m_data.src1);
        addParameter(&g_imageSize);
        if (m_ramp) {
            addParameter(&s_axis);
            addParameter(&s_offset);
            addParameter(&s_slope);
        } else {
            addParameter(&s_flip);
        }
        return true;
    }

    bool initData() override {
        m_roi = g_imageSize.value();
        if (m_roi.width <= 0 || m_roi.height <= 0) return false;
        zkImage& src = m_data.src1;
        zkImage& dst = m_data.dst;
        s_args.roiSize = m_roi;
        dst.initFromFunc(m_func, zkDst);
        if (!dst.createImage(m_roi)) return false;
        if (m_ramp) {
            if (!dst.setConst(0.0, 0.0)) return false;
            s_args.pDst = dst.roiPointer();
            s_args.dstStep = dst.step();
            s_args.axis = s_axis.value();
            s_args.offset = s_offset.value();
            s_args.slope = s_slope.value();
            return true;
        }
        s_args.flip = s_flip.value();
        if (m_func.inplace()) {
            if (!dst.setJaehne()) return false;
            s_args.pSrcDst = dst.roiPointer();
            s_args.srcDstStep = dst.step();
            return true;
        }
        src.initFromFunc(m_func, zkSrc);
        if (!src.createImage(m_roi) || !src.setJaehne() || !dst.setConst(0.0, 0.0)) return false;
        s_args.pSrc = src.roiPointer();
        s_args.srcStep = src.step();
        s_args.pDst = dst.roiPointer();
        s_args.dstStep = dst.step();
        return true;
    }

    double getDivisor() override {
        return double(m_roi.width) * m_roi.height * zkImage::numActualChannels(m_func, zkDst);
    }

private:
    bool m_ramp = false;
};

}  // namespace

#define ZK_FAMILY_TABLE "geom/mirror.tbl"
#define ZK_FAMILY_TEST TimMirror
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
