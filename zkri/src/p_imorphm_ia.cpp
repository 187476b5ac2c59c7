// TimMorphM: erosion and dilation with an arbitrary mask, not in place and in place, over image
// sizes, mask sizes and mask shapes (the full rectangle, the cross of its middle row and column,
// the ellipse inside it), the anchor at the centre. One test per library function of the Morph
// family's morphm table.
//
// The source ROI lies inside a larger image that supplies the border the mask reaches: for a
// W x H ROI and a w x h mask the source is (W + w - 1) x (H + h - 1) and the ROI starts at the
// anchor. The in-place functions work on that ROI of the source itself.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"
#include "qmmapiterator.h"

namespace {

struct zkMorphMArgs : zkImageArgs {
    const void* pMask = nullptr;
    ZkriSize maskSize{3, 3};
    ZkriPoint anchor{1, 1};
};

enum MaskShape { kRect, kCross, kEllipse };

zkMorphMArgs s_args;
zkImageData s_data;
zkVector s_mask{zk8u, "mask"};
qmIterator_NSC<ZkriSize> s_maskSize({ZkriSize{3, 3}, ZkriSize{7, 7}}, "MaskSize", "Mask size (width x height)");
[[maybe_unused]] const bool s_maskLimits = s_maskSize.setLimits({1, 1}, {256, 256});
qmMapIterator<int> s_shape(kRect, "MaskShape", "Set elements of the mask",
                           {{"Rect", kRect}, {"Cross", kCross}, {"Ellipse", kEllipse}});

class TimMorphM : public zkImageTest {
public:
    TimMorphM(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimMorphM//ZK_REG", s_data) {
        s_data.args = &s_args;
        s_shape.initValidation();
        static const bool s_defaults = (s_shape.translate("Rect; Ellipse"), true);
        (void)s_defaults;
    }

    bool canStart() override {
        regCacheParm(g_imageSize, &m_data.src1);
        addParameter(&g_imageSize);
        addParameter(&s_maskSize);
        addParameter(&s_shape);
        return true;
    }

    bool initData() override {
        m_roi = g_imageSize.value();
        const ZkriSize mask = s_maskSize.value();
        if (m_roi.width <= 0 || m_roi.height <= 0 || mask.width <= 0 || mask.height <= 0) return false;
        const ZkriPoint anchor{mask.width / 2, mask.height / 2};
        if (!makeMask(mask, anchor, s_shape.value())) return false;
        zkImage& src = m_data.src1;
        zkImage& dst = m_data.dst;
        src.initFromFunc(m_func, zkSrc);
        if (!src.createImage(m_roi.width + mask.width - 1, m_roi.height + mask.height - 1)) return false;
        src.setJaehne();
        src.setRoi({anchor.x, anchor.y, m_roi.width, m_roi.height});
        s_args.maskSize = mask;
        s_args.anchor = anchor;
        s_args.roiSize = m_roi;
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

    void flushData() override {
        zkImageTest::flushData();
        s_mask.deleteVector();
    }

private:
    // The mask bytes of a shape: every place (Rect), the anchor's row and column (Cross), or the
    // places inside the ellipse through the mask's edges (Ellipse, the anchor always set).
    static bool makeMask(ZkriSize size, ZkriPoint anchor, int shape) {
        if (!s_mask.createVector(size.width * size.height)) return false;
        auto* m = static_cast<Zkr8u*>(s_mask.data());
        const double rx = size.width / 2.0, ry = size.height / 2.0;
        for (int y = 0; y < size.height; ++y)
            for (int x = 0; x < size.width; ++x) {
                const double dx = (x + 0.5 - rx) / rx, dy = (y + 0.5 - ry) / ry;
                const bool set = shape == kRect    ? true
                                 : shape == kCross ? (x == anchor.x || y == anchor.y)
                                                   : (dx * dx + dy * dy <= 1.0 || (x == anchor.x && y == anchor.y));
                m[y * size.width + x] = set ? 1 : 0;
            }
        s_args.pMask = m;
        return true;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "morph/morphm.tbl"
#define ZK_FAMILY_TEST TimMorphM
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
