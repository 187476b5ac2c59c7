// The test class shared by the separable resamplers' modules (TimResizeSqr, TimiSuperSampling,
// TimiResizeFilter, TimiResample, each with its own table): the source is the whole image of the
// shared size parameter, the destination is sized from the module's factors; each module adds its
// parameters. Results are per destination pixel and processed channel. Each module includes this
// header once, so each has its own data and parameters.
#pragma once

#include <algorithm>
#include <cmath>

#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"
#include "qmmapiterator.h"
#include "resizesqr/resizesqr_forms.h"

namespace {

// The parameters of the resampler forms beside the image pointers and steps of zkImageArgs.
struct zkResampleArgs : zkImageArgs {
    ZkriSize srcSize{0, 0};
    ZkriRect srcRoi{0, 0, 0, 0};
    ZkriRect dstRoi{0, 0, 0, 0};
    ZkriSize srcRoiSize{0, 0};
    ZkriSize dstRoiSize{0, 0};
    double xFactor = 1.0, yFactor = 1.0, xShift = 0.0, yShift = 0.0;
    int interpolation = ZKRI_RSQ_LINEAR;
    int filter = ZKRI_RESIZE_FILTER_LANCZOS;
};

zkResampleArgs s_args;
zkImageData s_data;
// Plane pointers of the planar forms, which take arrays of plane pointers as pSrc and pDst.
const void* s_srcPlanes[zkImage::MAX_PLANES];
void* s_dstPlanes[zkImage::MAX_PLANES];

class zkResampleTest : public zkImageTest {
public:
    zkResampleTest(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, const char* file,
                   const char* id)
        : zkImageTest(call, loop, stat, func, file, id, s_data) {
        s_data.args = &s_args;
    }

    bool canStart() override {
        zkImageTest::canStart();
        addModuleParameters();
        return true;
    }

    bool initData() override {
        const ZkriSize size = g_imageSize.value();
        m_roi = destinationSize(size);
        zkImage& src = m_data.src1;
        zkImage& dst = m_data.dst;
        src.initFromFunc(m_func, zkSrc);
        dst.initFromFunc(m_func, zkDst);
        if (!src.createImage(size) || !dst.createImage(m_roi)) return false;
        if (!src.setJaehne() || !dst.setConst(0.0, 0.0)) return false;
        zkResampleArgs& a = s_args;
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
        a.srcSize = a.srcRoiSize = size;
        a.srcRoi = {0, 0, size.width, size.height};
        a.dstRoiSize = m_roi;
        a.dstRoi = {0, 0, m_roi.width, m_roi.height};
        setArguments(size);
        return true;
    }

    // Per destination pixel and processed channel.
    double getDivisor() override {
        return double(m_roi.width) * m_roi.height * zkImage::numActualChannels(m_func, zkDst);
    }

protected:
    virtual void addModuleParameters() = 0;
    // The destination's size for a source of `size`.
    virtual ZkriSize destinationSize(ZkriSize size) = 0;
    // The module's own arguments, once the images are made.
    virtual void setArguments(ZkriSize) {}

    // A length scaled by a factor: at least one pixel.
    static int scaled(int len, double factor) { return std::max(1, int(std::floor(len * factor))); }
};

}  // namespace
