// TimiCopyP: copies between planar images and between planes and four-channel pixels, and a median
// over a rectangular mask, over image sizes. One test per library function of the family's table.
//
// The median's source ROI lies inside a larger image that supplies the border the mask reaches:
// for a W x H ROI and a w x h mask the source is (W + w - 1) x (H + h - 1), the anchor at the
// centre of the mask. Parameter beside the size: MaskSize (the median's).
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

struct zkCopyPArgs : zkImageArgs {
    ZkriSize dstRoiSize{0, 0};
    ZkriSize maskSize{3, 3};
    ZkriPoint anchor{1, 1};
};

zkCopyPArgs s_args;
zkImageData s_data;
qmIterator_NSC<ZkriSize> s_maskSize(ZkriSize{3, 3}, "MaskSize", "Median mask size (width x height)");
// The library takes masks of up to 65536 elements.
[[maybe_unused]] const bool s_maskLimits = s_maskSize.setLimits({1, 1}, {256, 256});

class TimiCopyP : public zkImageTest {
public:
    TimiCopyP(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiCopyP//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

    bool canStart() override {
        regCacheParm(g_imageSize, &m_data.src1);
        addParameter(&g_imageSize);
        if (isMedian()) addParameter(&s_maskSize);
        return true;
    }

    bool initData() override {
        m_roi = g_imageSize.value();
        if (m_roi.width <= 0 || m_roi.height <= 0) return false;
        zkImage& src = m_data.src1;
        zkImage& dst = m_data.dst;
        src.initFromFunc(m_func, zkSrc);
        dst.initFromFunc(m_func, zkDst);
        if (isMedian()) {
            const ZkriSize mask = s_maskSize.value();
            if (mask.width <= 0 || mask.height <= 0) return false;
            const ZkriPoint anchor{mask.width / 2, mask.height / 2};
            if (!src.createImage(m_roi.width + mask.width - 1, m_roi.height + mask.height - 1)) return false;
            src.setRoi({anchor.x, anchor.y, m_roi.width, m_roi.height});
            s_args.maskSize = mask;
            s_args.anchor = anchor;
        } else if (!src.createImage(m_roi)) {
            return false;
        }
        if (!dst.createImage(m_roi)) return false;
        src.setJaehne();
        dst.setRandom();
        if (src.plane()) {
            for (int p = 0; p < src.numPlanes(); ++p) m_srcPlanes[p] = src.roiPointer(p);
            s_args.pSrc = m_srcPlanes;
        } else {
            s_args.pSrc = src.roiPointer();
        }
        if (dst.plane()) {
            for (int p = 0; p < dst.numPlanes(); ++p) m_dstPlanes[p] = dst.roiPointer(p);
            s_args.pDst = m_dstPlanes;
        } else {
            s_args.pDst = dst.roiPointer();
        }
        s_args.srcStep = src.step();
        s_args.dstStep = dst.step();
        s_args.roiSize = s_args.dstRoiSize = m_roi;
        return true;
    }

private:
    bool isMedian() const { return m_func.baseName() == "Median"; }

    const void* m_srcPlanes[4] = {};
    void* m_dstPlanes[4] = {};
};

}  // namespace

#define ZK_FAMILY_TABLE "copy/TimiCopyP.tbl"
#define ZK_FAMILY_TEST TimiCopyP
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
