// TimCmp: comparisons of two images or of an image with a constant into an 8u mask (Compare,
// CompareC) over image sizes and comparison operations. One test per library function of the
// family's table.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"
#include "qmmapiterator.h"

// The family's functions and its comparison operations, used below before zkfamily.inc expands the
// table.
#define ZKR_TABLE "cmp/cmp.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace {

// The parameters of the compare forms beside the image pointers and steps of zkImageArgs.
struct zkCmpArgs : zkImageArgs {
    const void* value = nullptr;  // the constant of CompareC, one element per compared channel
    ZkrCmpOp cmpOp = zkrCmpLess;
};

zkCmpArgs s_args;
zkImageData s_data;
zkConstant s_value;

// A typed name selects the first entry it is a prefix of, so each shorter name comes before the
// longer one it begins ("Greater" before "GreaterEq").
qmMapIterator<int> s_cmpOp(zkrCmpLess, "cmpOp", "Comparison operation",
                           {{"Less", zkrCmpLess},
                            {"LessEq", zkrCmpLessEq},
                            {"Eq", zkrCmpEq},
                            {"Greater", zkrCmpGreater},
                            {"GreaterEq", zkrCmpGreaterEq}});

class TimCmp : public zkImageTest {
public:
    TimCmp(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimCmp//ZK_REG", s_data) {
        s_data.args = &s_args;
        s_cmpOp.initValidation();
    }

    bool canStart() override {
        zkImageTest::canStart();
        addParameter(&s_cmpOp);
        return true;
    }

    // Sources in the function's type and layout; the destination is always one 8u channel.
    bool initData() override {
        m_roi = g_imageSize.value();
        zkImage& src1 = m_data.src1;
        zkImage& src2 = m_data.src2;
        zkImage& dst = m_data.dst;
        src1.initFromFunc(m_func, zkSrc);
        src2.initFromFunc(m_func, zkSrc2);
        dst.init(zk8u, 1, false);
        if (!src1.createImage(m_roi) || !src2.createImage(m_roi) || !dst.createImage(m_roi)) return false;

        // Random sources over one range and a constant in its middle: about half of the comparisons
        // hold, so the masks are mixed like those of real images.
        const zkType t = m_func.srcType();
        double lo = 0.0, hi = 255.0;
        if (t == zk16u) hi = 65535.0;
        else if (t == zk16s) lo = -32768.0, hi = 32767.0;
        else if (t == zk32f) lo = -1.0, hi = 1.0;
        const double mid = (lo + hi) / 2.0;
        if (!src1.setRandom(lo, hi) || !src2.setRandom(lo, hi)) return false;
        if (!s_value.set(t, {mid, mid, mid, mid})) return false;

        zkCmpArgs& a = s_args;
        a.pSrc = a.pSrc1 = src1.roiPointer();
        a.srcStep = a.src1Step = src1.step();
        a.pSrc2 = src2.roiPointer();
        a.src2Step = src2.step();
        a.pDst = dst.roiPointer();
        a.dstStep = dst.step();
        a.roiSize = m_roi;
        a.value = s_value.data();
        a.cmpOp = ZkrCmpOp(s_cmpOp.value());
        return true;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "cmp/cmp.tbl"
#define ZK_FAMILY_TEST TimCmp
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
