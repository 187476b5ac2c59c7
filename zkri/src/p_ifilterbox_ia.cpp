// TimFilterBox: the neighbourhood filters over a rectangular mask (box mean, maximum, minimum,
// median) over image sizes and mask sizes, the anchor at the centre of the mask. One test per
// library function of the family's table.
//
// The source ROI lies inside a larger image that supplies the border the mask reaches: for a
// W x H ROI and a w x h mask the source is (W + w - 1) x (H + h - 1) and the ROI starts at the
// anchor. The in-place functions filter that ROI of the source itself.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

// The filter forms add the destination ROI size, the mask size and its anchor to the image bag.
struct zkFilterArgs : zkImageArgs {
    ZkriSize dstRoiSize{0, 0};
    ZkriSize maskSize{3, 3};
    ZkriPoint anchor{1, 1};
};

zkFilterArgs s_args;
zkImageData s_data;
qmIterator_NSC<ZkriSize> s_maskSize({ZkriSize{3, 3}, ZkriSize{5, 5}}, "MaskSize", "Mask size (width x height)");
// The library takes masks of up to 65536 elements.
[[maybe_unused]] const bool s_maskLimits = s_maskSize.setLimits({1, 1}, {256, 256});

class TimFilterBox : public zkImageTest {
public:
    TimFilterBox(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimFilterBox//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

    // The ROI size (cache-capable, watched on the source with its border), then the mask size.
    bool canStart() override {
        regCacheParm(g_imageSize, &m_data.src1);
        addParameter(&g_imageSize);
        addParameter(&s_maskSize);
        return true;
    }

    bool initData() override {
        m_roi = g_imageSize.value();
        const ZkriSize mask = s_maskSize.value();
        if (m_roi.width <= 0 || m_roi.height <= 0 || mask.width <= 0 || mask.height <= 0) return false;
        const ZkriPoint anchor{mask.width / 2, mask.height / 2};
        zkImage& src = m_data.src1;
        zkImage& dst = m_data.dst;
        src.initFromFunc(m_func, zkSrc);
        if (!src.createImage(m_roi.width + mask.width - 1, m_roi.height + mask.height - 1)) return false;
        src.setJaehne();
        src.setRoi({anchor.x, anchor.y, m_roi.width, m_roi.height});
        s_args.maskSize = mask;
        s_args.anchor = anchor;
        s_args.roiSize = s_args.dstRoiSize = m_roi;
        if (m_func.inplace()) {
            s_args.pSrcDst = src.roiPointer();
            s_args.srcDstStep = src.step();
            return true;
        }
        dst.initFromFunc(m_func, zkDst);
        if (!dst.createImage(m_roi)) return false;
        s_args.pSrc = src.roiPointer();
        s_args.srcStep = src.step();
        s_args.pDst = dst.roiPointer();
        s_args.dstStep = dst.step();
        return true;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "filterbox/filterbox.tbl"
#define ZK_FAMILY_TEST TimFilterBox
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
