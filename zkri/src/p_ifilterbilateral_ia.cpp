// TimiFilterBilateral: the bilateral filter over image sizes, radii and the two sigmas. One test
// per library function of the Bilateral family's table.
//
// The source ROI lies inside an image `radius` pixels larger on every side, which supplies the
// border the neighbourhood reaches.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

struct zkBilateralArgs : zkImageArgs {
    ZkriSize dstRoiSize{0, 0};
    int radius = 2;
    Zkr32f valSquareSigma = 400.0f;
    Zkr32f posSquareSigma = 4.0f;
};

zkBilateralArgs s_args;
zkImageData s_data;
qmIterator_NSC<int> s_radius({1, 3}, "Radius", "Radius of the neighbourhood (pixels)");
[[maybe_unused]] const bool s_radiusLimits = s_radius.setLimits(1, 64);
qmIterator_NSC<float> s_valSigma(400.0f, "ValSquareSigma", "Variance of the range (value) weights");
qmIterator_NSC<float> s_posSigma(4.0f, "PosSquareSigma", "Variance of the spatial weights (pixels squared)");
[[maybe_unused]] const bool s_sigmaLimits =
    s_valSigma.setLimits(1.0e-3f, 1.0e9f) && s_posSigma.setLimits(1.0e-3f, 1.0e9f);

class TimiFilterBilateral : public zkImageTest {
public:
    TimiFilterBilateral(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiFilterBilateral//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

    bool canStart() override {
        regCacheParm(g_imageSize, &m_data.src1);
        addParameter(&g_imageSize);
        addParameter(&s_radius);
        addParameter(&s_valSigma);
        addParameter(&s_posSigma);
        return true;
    }

    bool initData() override {
        m_roi = g_imageSize.value();
        const int r = s_radius.value();
        if (m_roi.width <= 0 || m_roi.height <= 0 || r < 1) return false;
        zkImage& src = m_data.src1;
        zkImage& dst = m_data.dst;
        src.initFromFunc(m_func, zkSrc);
        dst.initFromFunc(m_func, zkDst);
        if (!src.createImage(m_roi.width + 2 * r, m_roi.height + 2 * r) || !dst.createImage(m_roi)) return false;
        src.setJaehne();
        src.setRoi({r, r, m_roi.width, m_roi.height});
        s_args.pSrc = src.roiPointer();
        s_args.srcStep = src.step();
        s_args.pDst = dst.roiPointer();
        s_args.dstStep = dst.step();
        s_args.dstRoiSize = m_roi;
        s_args.radius = r;
        s_args.valSquareSigma = s_valSigma.value();
        s_args.posSquareSigma = s_posSigma.value();
        return true;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "bilateral/bilateral.tbl"
#define ZK_FAMILY_TEST TimiFilterBilateral
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
