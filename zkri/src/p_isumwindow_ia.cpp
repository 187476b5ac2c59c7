// TimiSumWindow: the window sums along rows and columns (SumWindowRow, SumWindowColumn) over image
// sizes and window lengths, the anchor at the window's centre. One test per library function of
// the family's table.
//
// The source ROI lies inside a larger image that supplies the border the window reaches: for a
// W x H ROI and a window of m the row functions read (W + m - 1) x H, the column ones W x (H + m - 1).
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

struct zkSumWindowArgs : zkImageArgs {
    ZkriSize dstRoiSize{0, 0};
    int maskSize = 5;
    int anchor = 2;
};

zkSumWindowArgs s_args;
zkImageData s_data;

qmIterator_NSC<int> s_maskSize({3, 9}, "maskSize", "Window length");
[[maybe_unused]] const bool s_maskLimits = s_maskSize.setLimits(1, 1024);

class TimiSumWindow : public zkImageTest {
public:
    TimiSumWindow(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiSumWindow//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

    // The ROI size (cache-capable, watched on the source with its border), then the window length.
    bool canStart() override {
        regCacheParm(g_imageSize, &m_data.src1);
        addParameter(&g_imageSize);
        addParameter(&s_maskSize);
        return true;
    }

    bool initData() override {
        m_roi = g_imageSize.value();
        const int mask = s_maskSize.value();
        if (m_roi.width <= 0 || m_roi.height <= 0 || mask <= 0) return false;
        const bool row = m_func.baseName().find("Row") >= 0;
        const int anchor = mask / 2;
        zkImage& src = m_data.src1;
        zkImage& dst = m_data.dst;
        src.initFromFunc(m_func, zkSrc);
        if (!src.createImage(m_roi.width + (row ? mask - 1 : 0), m_roi.height + (row ? 0 : mask - 1))) return false;
        src.setJaehne();
        src.setRoi({row ? anchor : 0, row ? 0 : anchor, m_roi.width, m_roi.height});
        dst.initFromFunc(m_func, zkDst);
        if (!dst.createImage(m_roi)) return false;
        s_args.pSrc = src.roiPointer();
        s_args.srcStep = src.step();
        s_args.pDst = dst.roiPointer();
        s_args.dstStep = dst.step();
        s_args.roiSize = s_args.dstRoiSize = m_roi;
        s_args.maskSize = mask;
        s_args.anchor = anchor;
        return true;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "sumwindow/sumwindow.tbl"
#define ZK_FAMILY_TEST TimiSumWindow
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
