// TimiSSIM: the structural similarity of two 8u images (SSIM, blocks of 8x8) over image sizes. The
// result lands in the module's output variable, which the argument bag points to; the sources are
// the image module's defaults (rings and random data).
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

struct zkSsimArgs : zkImageArgs {
    void* pSsim = nullptr;
};

Zkr32f s_ssim;

zkSsimArgs s_args;
zkImageData s_data;

class TimiSSIM : public zkImageTest {
public:
    TimiSSIM(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiSSIM//ZK_REG", s_data) {
        s_data.args = &s_args;
        s_args.pSsim = &s_ssim;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "ssim/ssim.tbl"
#define ZK_FAMILY_TEST TimiSSIM
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
