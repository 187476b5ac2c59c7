// TimiPolar: complex images from magnitude and phase images (PolarToCart: 32f to 32fc on C1, C3, C4,
// AC4, 32f to two planes, 16s with fixed-point phases to 16sc scaled) over image sizes and, for the
// Sfs functions, scale factors. One test per library function of the family's table: the magnitudes
// are the first source (rings), the phases the second (random), the destination the complex image
// (the planar form's imaginary plane is an image of the module's own).
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

struct zkPolarArgs : zkImageArgs {
    const void* pSrcMagn = nullptr;
    const void* pSrcPhase = nullptr;
    void* pDstRe = nullptr;
    void* pDstIm = nullptr;
};

zkPolarArgs s_args;
zkImageData s_data;
zkImage s_im{"dstIm"};

class TimiPolar : public zkImageTest {
public:
    TimiPolar(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiPolar//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

    bool initData() override {
        if (!zkImageTest::initData()) return false;
        s_args.pSrcMagn = s_args.pSrc1;
        s_args.pSrcPhase = s_args.pSrc2;
        s_args.pDstRe = s_args.pDst;
        s_args.pDstIm = nullptr;
        if (m_funcName.find("_P2R") >= 0) {
            s_im.initFromFunc(m_func, zkDst);
            if (!s_im.createImage(m_roi)) return false;
            s_args.pDstIm = s_im.roiPointer();
            // both planes step alike: the module's planes are made alike
            if (s_im.step() != s_args.dstStep) return false;
        }
        return true;
    }

    void flushData() override {
        s_im.deleteVector();
        zkImageTest::flushData();
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "polar/polar.tbl"
#define ZK_FAMILY_TEST TimiPolar
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
