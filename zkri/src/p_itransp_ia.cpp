// TimiTransp: image transposition over image sizes. The not-in-place functions turn a W x H source
// into an H x W destination; the in-place ones need a square and transpose the W x W square of
// the size's width. One test per library function of the family's table.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"
#include "zkimagesize.h"

namespace {

zkImageArgs s_args;
zkImageData s_data;

class TimiTransp : public zkImageTest {
public:
    TimiTransp(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiTransp//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

    bool canStart() override {
        regCacheParm(g_imageSize, &m_data.src1);
        addParameter(&g_imageSize);
        return true;
    }

    bool initData() override {
        const ZkriSize size = g_imageSize.value();
        if (size.width <= 0 || size.height <= 0) return false;
        zkImage& src = m_data.src1;
        zkImage& dst = m_data.dst;
        src.initFromFunc(m_func, zkSrc);
        if (m_func.inplace()) {
            m_roi = {size.width, size.width};
            if (!src.createImage(m_roi) || !src.setJaehne()) return false;
            s_args.pSrcDst = src.roiPointer();
            s_args.srcDstStep = src.step();
        } else {
            m_roi = size;
            dst.initFromFunc(m_func, zkDst);
            if (!src.createImage(size) || !dst.createImage(size.height, size.width)) return false;
            if (!src.setJaehne() || !dst.setConst(0.0, 0.0)) return false;
            s_args.pSrc = src.roiPointer();
            s_args.srcStep = src.step();
            s_args.pDst = dst.roiPointer();
            s_args.dstStep = dst.step();
        }
        s_args.roiSize = m_roi;
        return true;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "geom/transp.tbl"
#define ZK_FAMILY_TEST TimiTransp
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
