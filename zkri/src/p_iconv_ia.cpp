// TimiConv: the two-image convolutions (Full and Valid) over image sizes and sizes of the second
// image, with the scale factor of the integer forms. One test per library function of the Corr
// family's conv table.
//
// The first image is the ROI, the second a smaller image of the same type and layout (a larger
// parameter is cut to the ROI); the destination takes the size the shape gives. Results are per
// processed channel element of the first image ("pxch").
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

struct zkConvArgs : zkImageArgs {
    ZkriSize src1Size{0, 0};
    ZkriSize src2Size{0, 0};
};

zkConvArgs s_args;
zkImageData s_data;
qmIterator_NSC<ZkriSize> s_kernelSize({ZkriSize{3, 3}, ZkriSize{7, 7}}, "Src2Size", "Second image size (width x height)");
[[maybe_unused]] const bool s_kernelLimits = s_kernelSize.setLimits({1, 1}, {1024, 1024});

class TimiConv : public zkImageTest {
public:
    TimiConv(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiConv//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

    bool canStart() override {
        m_data.scale.init(m_func);
        regCacheParm(g_imageSize, &m_data.src1);
        addParameter(&g_imageSize);
        addParameter(&s_kernelSize);
        addParameter(&m_data.scale);
        return true;
    }

    bool initData() override {
        m_roi = g_imageSize.value();
        const ZkriSize want = s_kernelSize.value();
        if (m_roi.width <= 0 || m_roi.height <= 0 || want.width <= 0 || want.height <= 0) return false;
        const ZkriSize k{want.width < m_roi.width ? want.width : m_roi.width,
                         want.height < m_roi.height ? want.height : m_roi.height};
        const ZkriSize out = m_func.contains("Full") ? ZkriSize{m_roi.width + k.width - 1, m_roi.height + k.height - 1}
                                                     : ZkriSize{m_roi.width - k.width + 1, m_roi.height - k.height + 1};
        zkImage& one = m_data.src1;
        zkImage& two = m_data.src2;
        zkImage& dst = m_data.dst;
        one.initFromFunc(m_func, zkSrc);
        two.initFromFunc(m_func, zkSrc);
        dst.initFromFunc(m_func, zkDst);
        if (!one.createImage(m_roi) || !two.createImage(k) || !dst.createImage(out)) return false;
        one.setJaehne();
        two.setRandom();
        s_args.pSrc1 = one.roiPointer();
        s_args.src1Step = one.step();
        s_args.src1Size = m_roi;
        s_args.pSrc2 = two.roiPointer();
        s_args.src2Step = two.step();
        s_args.src2Size = k;
        s_args.pDst = dst.roiPointer();
        s_args.dstStep = dst.step();
        s_args.scaleFactor = m_data.scale.value();
        return true;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "corr/conv.tbl"
#define ZK_FAMILY_TEST TimiConv
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
