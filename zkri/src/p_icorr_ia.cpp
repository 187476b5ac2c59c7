// TimiCorr: template matching (normalised cross-correlation, its zero-mean form, the normalised
// squared distance, each with the Full, Valid and Same destinations, and the plain valid
// cross-correlation) over image sizes and template sizes. One test per library function of the
// Corr family's corr table.
//
// The source is the ROI; the template is a separate image of the same type and layout, at most the
// ROI's size (a larger template parameter is cut to the ROI). The destination takes the size the
// function's shape gives. Results are per processed source channel element ("pxch").
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

struct zkCorrArgs : zkImageArgs {
    ZkriSize srcRoiSize{0, 0};
    const void* pTpl = nullptr;
    int tplStep = 0;
    ZkriSize tplRoiSize{0, 0};
};

zkCorrArgs s_args;
zkImageData s_data;
qmIterator_NSC<ZkriSize> s_tplSize({ZkriSize{5, 5}, ZkriSize{17, 17}}, "TplSize", "Template size (width x height)");
[[maybe_unused]] const bool s_tplLimits = s_tplSize.setLimits({1, 1}, {1024, 1024});

class TimiCorr : public zkImageTest {
public:
    TimiCorr(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiCorr//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

    bool canStart() override {
        regCacheParm(g_imageSize, &m_data.src1);
        addParameter(&g_imageSize);
        addParameter(&s_tplSize);
        return true;
    }

    bool initData() override {
        m_roi = g_imageSize.value();
        const ZkriSize want = s_tplSize.value();
        if (m_roi.width <= 0 || m_roi.height <= 0 || want.width <= 0 || want.height <= 0) return false;
        const ZkriSize tpl{want.width < m_roi.width ? want.width : m_roi.width,
                           want.height < m_roi.height ? want.height : m_roi.height};
        ZkriSize out = m_roi;
        if (m_func.contains("Full")) out = {m_roi.width + tpl.width - 1, m_roi.height + tpl.height - 1};
        else if (m_func.contains("Valid")) out = {m_roi.width - tpl.width + 1, m_roi.height - tpl.height + 1};
        zkImage& src = m_data.src1;
        zkImage& t = m_data.src2;
        zkImage& dst = m_data.dst;
        src.initFromFunc(m_func, zkSrc);
        t.initFromFunc(m_func, zkSrc);
        dst.initFromFunc(m_func, zkDst);
        if (!src.createImage(m_roi) || !t.createImage(tpl) || !dst.createImage(out)) return false;
        src.setJaehne();
        t.setRandom();
        s_args.pSrc = src.roiPointer();
        s_args.srcStep = src.step();
        s_args.srcRoiSize = m_roi;
        s_args.pTpl = t.roiPointer();
        s_args.tplStep = t.step();
        s_args.tplRoiSize = tpl;
        s_args.pDst = dst.roiPointer();
        s_args.dstStep = dst.step();
        return true;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "corr/corr.tbl"
#define ZK_FAMILY_TEST TimiCorr
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
