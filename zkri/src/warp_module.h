// The test class shared by the warp family's modules (TimRotate, TimShear, TimWarp, TimRemap, each
// with its own table): the source is the whole image of the shared size parameter, the destination
// an image of the same size, written where the mapping reaches; the interpolation is a parameter
// of every module and each module adds the parameters of its mapping, with defaults that turn the
// image by a small angle about its centre so that most of the destination is covered. Each module
// includes this header once, so each has its own data and parameters.
#pragma once

#include <cmath>

#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"
#include "qmmapiterator.h"
#include "warp/warp_forms.h"

namespace {

// The parameters of the warp forms beside the image pointers and steps of zkImageArgs.
struct zkWarpArgs : zkImageArgs {
    ZkriSize srcSize{0, 0};
    ZkriRect srcRoi{0, 0, 0, 0};
    ZkriRect dstRoi{0, 0, 0, 0};
    ZkriSize dstRoiSize{0, 0};
    double angle = 0.0, xShift = 0.0, yShift = 0.0, xShear = 0.0, yShear = 0.0;
    const double* coeffs = nullptr;
    const double* srcQuad = nullptr;
    const double* dstQuad = nullptr;
    const Zkr32f* pxMap = nullptr;
    const Zkr32f* pyMap = nullptr;
    int xMapStep = 0, yMapStep = 0;
    int interpolation = ZKRI_WARP_LINEAR;
};

zkWarpArgs s_args;
zkImageData s_data;
// Plane pointers of the planar forms, which take arrays of plane pointers as pSrc and pDst.
const void* s_srcPlanes[zkImage::MAX_PLANES];
void* s_dstPlanes[zkImage::MAX_PLANES];

qmMapIterator<int> s_interpolation(ZKRI_WARP_LINEAR, "interpolation", "Interpolation mode",
                                   {{"Linear", ZKRI_WARP_LINEAR}, {"NN", ZKRI_WARP_NN}, {"Cubic", ZKRI_WARP_CUBIC}});

constexpr double kDegree = 3.14159265358979323846 / 180.0;

class zkWarpTest : public zkImageTest {
public:
    zkWarpTest(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, const char* file,
               const char* id)
        : zkImageTest(call, loop, stat, func, file, id, s_data) {
        s_data.args = &s_args;
        s_interpolation.initValidation();
    }

    bool canStart() override {
        zkImageTest::canStart();
        addMappingParameters();
        addParameter(&s_interpolation);
        return true;
    }

    bool initData() override {
        m_roi = g_imageSize.value();
        zkImage& src = m_data.src1;
        zkImage& dst = m_data.dst;
        src.initFromFunc(m_func, zkSrc);
        dst.initFromFunc(m_func, zkDst);
        if (!src.createImage(m_roi) || !dst.createImage(m_roi)) return false;
        if (!src.setJaehne() || !dst.setConst(0.0, 0.0)) return false;
        zkWarpArgs& a = s_args;
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
        a.srcSize = m_roi;
        a.srcRoi = {0, 0, m_roi.width, m_roi.height};
        a.dstRoi = a.srcRoi;
        a.dstRoiSize = m_roi;
        a.interpolation = s_interpolation.value();
        return setMapping(m_roi);
    }

    // Per destination pixel and processed channel.
    double getDivisor() override {
        return double(m_roi.width) * m_roi.height * zkImage::numActualChannels(m_func, zkDst);
    }

protected:
    virtual void addMappingParameters() = 0;
    // Sets the mapping's arguments for an image of `size`; false when they cannot be made.
    virtual bool setMapping(ZkriSize size) = 0;

    // The centre of an image of `size`, in pixel coordinates.
    static double centreX(ZkriSize size) { return (size.width - 1) / 2.0; }
    static double centreY(ZkriSize size) { return (size.height - 1) / 2.0; }
};

}  // namespace
