// TimiMorph: 3x3 erosion and dilation, not in place and in place, and the centre-weighted 3x3
// median, over image sizes (and the centre weight). One test per library function of the Morph
// family's morph table.
//
// The source ROI lies inside an image one pixel larger on every side, which supplies the border
// the 3x3 neighbourhood reaches; the in-place functions work on that ROI of the source itself.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

struct zkMorphArgs : zkImageArgs {
    ZkriSize dstRoiSize{0, 0};
    int weight = 3;
};

zkMorphArgs s_args;
zkImageData s_data;
qmIterator_NSC<int> s_weight(3, "Weight", "Weight of the centre pixel in the median");
[[maybe_unused]] const bool s_weightLimits = s_weight.setLimits(1, 255);

class TimiMorph : public zkImageTest {
public:
    TimiMorph(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiMorph//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

    bool canStart() override {
        regCacheParm(g_imageSize, &m_data.src1);
        addParameter(&g_imageSize);
        if (m_func.contains("Weighted")) addParameter(&s_weight);
        return true;
    }

    bool initData() override {
        m_roi = g_imageSize.value();
        if (m_roi.width <= 0 || m_roi.height <= 0) return false;
        zkImage& src = m_data.src1;
        zkImage& dst = m_data.dst;
        src.initFromFunc(m_func, zkSrc);
        if (!src.createImage(m_roi.width + 2, m_roi.height + 2)) return false;
        src.setJaehne();
        src.setRoi({1, 1, m_roi.width, m_roi.height});
        s_args.roiSize = s_args.dstRoiSize = m_roi;
        s_args.weight = s_weight.value();
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

#define ZK_FAMILY_TABLE "morph/morph.tbl"
#define ZK_FAMILY_TEST TimiMorph
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
