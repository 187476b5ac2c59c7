// TimiBorder: copies of an image into a larger one with borders around it (replicated edge pixels,
// a constant, or the image wrapped around), over source sizes and top and left border widths. The
// borders are as wide on the right as on the left and as high at the bottom as at the top: the
// destination is (W + 2 * left) x (H + 2 * top) for a W x H source. The in-place functions take the
// source as the interior of the destination. One test per library function of the family's table.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"
#include "qmstepiterator.h"
#include "zkimagesize.h"

#define ZKR_TABLE "border/border.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace {

// The border forms add the two ROI sizes, the border widths and the border value to the image bag.
struct zkBorderArgs : zkImageArgs {
    ZkriSize srcRoiSize{0, 0};
    ZkriSize dstRoiSize{0, 0};
    int topBorderHeight = 0;
    int leftBorderWidth = 0;
    const void* value = nullptr;  // one element (C1 forms) or one a channel, held by pointer
};

zkBorderArgs s_args;
zkImageData s_data;
zkConstant s_value;
// Border widths: a list or range of values from 0 up; twice the widest border added to the largest
// image size still fits an int.
qmStepIterator<int> s_top({1, 16}, "TopBorder", "Height of the top and bottom borders (rows)");
qmStepIterator<int> s_left({1, 16}, "LeftBorder", "Width of the left and right borders (pixels)");
[[maybe_unused]] const bool s_borderLimits = s_top.setLimits(0, 65536) && s_left.setLimits(0, 65536);

class TimiBorder : public zkImageTest {
public:
    TimiBorder(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiBorder//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

    // The source size (cache-capable, watched on the destination that holds the borders), then
    // the border widths, the left one varying fastest.
    bool canStart() override {
        regCacheParm(g_imageSize, &m_data.dst);
        addParameter(&g_imageSize);
        addParameter(&s_top);
        addParameter(&s_left);
        return true;
    }

    bool initData() override {
        const ZkriSize size = g_imageSize.value();
        const int top = s_top.value(), left = s_left.value();
        if (size.width <= 0 || size.height <= 0 || top < 0 || left < 0) return false;
        m_roi = {size.width + 2 * left, size.height + 2 * top};
        zkImage& src = m_data.src1;
        zkImage& dst = m_data.dst;
        dst.initFromFunc(m_func, zkDst);
        if (!dst.createImage(m_roi)) return false;
        zkBorderArgs& a = s_args;
        a.srcRoiSize = size;
        a.dstRoiSize = m_roi;
        a.topBorderHeight = top;
        a.leftBorderWidth = left;
        if (m_func.inplace()) {
            // The source is the interior of the destination.
            if (!dst.setJaehne()) return false;
            a.pSrcDst = dst.getPointerAt(left, top);
            a.srcDstStep = dst.step();
            return true;
        }
        src.initFromFunc(m_func, zkSrc);
        if (!src.createImage(size) || !src.setJaehne() || !dst.setConst(0.0, 0.0)) return false;
        // A mid-grey border for the constant forms, the same in every channel.
        const double grey = zkIsFloat(m_func.dstType()) ? 0.5 : 100.0;
        if (!s_value.set(m_func.dstType(), {grey, grey, grey, grey})) return false;
        a.value = s_value.data();
        a.pSrc = src.roiPointer();
        a.srcStep = src.step();
        a.pDst = dst.roiPointer();
        a.dstStep = dst.step();
        return true;
    }

    // Per destination pixel and processed channel: the borders are written too.
    double getDivisor() override {
        return double(m_roi.width) * m_roi.height * zkImage::numActualChannels(m_func, zkDst);
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "border/border.tbl"
#define ZK_FAMILY_TEST TimiBorder
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
