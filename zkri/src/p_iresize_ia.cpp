// TimResize: image scaling (Resize, ResizeYUV422) over source sizes, x and y factors and interpolation
// modes. The source is the whole image of the shared size parameter; the destination is sized from the
// factors. One test per library function of the family's table.
#include <algorithm>
#include <cmath>

#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"
#include "qmmapiterator.h"
#include "zkimagesize.h"

// The family's functions and its interpolation modes, used below before zkfamily.inc expands the table.
#define ZKR_TABLE "resize/resize.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace {

// The parameters of the resize forms beside the image pointers and steps of zkImageArgs.
struct zkResizeArgs : zkImageArgs {
    ZkriSize srcSize{0, 0};
    ZkriRect srcRoi{0, 0, 0, 0};
    ZkriSize dstRoiSize{0, 0};
    double xFactor = 1.0;
    double yFactor = 1.0;
    int interpolation = ZKRI_INTER_LINEAR;
};

zkResizeArgs s_args;
zkImageData s_data;
// Plane pointers of the planar forms, which take arrays of plane pointers as pSrc and pDst.
const void* s_srcPlanes[zkImage::MAX_PLANES];
void* s_dstPlanes[zkImage::MAX_PLANES];

// Down and up by two on each axis unless the user asks otherwise.
qmIterator_NSC<double> s_xFactor({0.5, 2.0}, "xFactor", "Horizontal scaling factor");
qmIterator_NSC<double> s_yFactor({0.5, 2.0}, "yFactor", "Vertical scaling factor");
// A destination of up to a thousand times the largest image size still has int dimensions.
[[maybe_unused]] const bool s_factorLimits = s_xFactor.setLimits(0.001, 1000.0) && s_yFactor.setLimits(0.001, 1000.0);
qmMapIterator<int> s_interpolation(ZKRI_INTER_LINEAR, "interpolation", "Interpolation mode",
                                   {{"Linear", ZKRI_INTER_LINEAR},
                                    {"NN", ZKRI_INTER_NN},
                                    {"Cubic", ZKRI_INTER_CUBIC},
                                    {"Super", ZKRI_INTER_SUPER}});

class TimResize : public zkImageTest {
public:
    TimResize(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimResize//ZK_REG", s_data) {
        s_data.args = &s_args;
        s_interpolation.initValidation();
    }

    bool canStart() override {
        zkImageTest::canStart();
        addParameter(&s_xFactor);
        addParameter(&s_yFactor);
        addParameter(&s_interpolation);
        return true;
    }

    bool initData() override {
        const ZkriSize size = g_imageSize.value();
        const bool yuv = m_func.srcChannelsName() == "C2";
        const double xf = s_xFactor.value(), yf = s_yFactor.value();
        // The destination holds the scaled source; YUV 4:2:2 needs whole pixel pairs.
        int dw = std::max(1, int(std::floor(size.width * xf)));
        const int dh = std::max(1, int(std::floor(size.height * yf)));
        if (yuv) dw = std::max(2, dw & ~1);
        m_roi = {dw, dh};
        zkImage& src = m_data.src1;
        zkImage& dst = m_data.dst;
        src.initFromFunc(m_func, zkSrc);
        dst.initFromFunc(m_func, zkDst);
        if (!src.createImage(size) || !dst.createImage(m_roi)) return false;
        if (!src.setJaehne() || !dst.setConst(0.0, 0.0)) return false;

        zkResizeArgs& a = s_args;
        if (src.plane()) {
            for (int p = 0; p < src.numPlanes(); ++p) {
                s_srcPlanes[p] = src.roiPointer(p);
                s_dstPlanes[p] = dst.roiPointer(p);
            }
            a.pSrc = s_srcPlanes;
            a.pDst = s_dstPlanes;
        } else {
            a.pSrc = src.roiPointer();
            a.pDst = dst.roiPointer();
        }
        a.srcStep = src.step();
        a.dstStep = dst.step();
        a.srcSize = size;
        a.srcRoi = {0, 0, size.width, size.height};
        a.dstRoiSize = m_roi;
        a.xFactor = xf;
        a.yFactor = yf;
        a.interpolation = s_interpolation.value();
        return true;
    }

    // Per destination pixel and processed channel.
    double getDivisor() override {
        return double(m_roi.width) * m_roi.height * zkImage::numActualChannels(m_func, zkDst);
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "resize/resize.tbl"
#define ZK_FAMILY_TEST TimResize
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
