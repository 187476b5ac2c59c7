// TimiDotProd: the dot products of two images per channel (DotProd) over image sizes. One test per
// library function of the family's table; the result lands in the module's output variable, which
// the argument bag points to. The sources are the image module's defaults (rings and random data).
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

struct zkDotProdArgs : zkImageArgs {
    void* pDp = nullptr;
};

// Output variable: one value per channel, written by every timed call.
Zkr64f s_dp[4];

zkDotProdArgs s_args;
zkImageData s_data;

class TimiDotProd : public zkImageTest {
public:
    TimiDotProd(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiDotProd//ZK_REG", s_data) {
        s_data.args = &s_args;
        s_args.pDp = s_dp;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "dotprod/dotprod.tbl"
#define ZK_FAMILY_TEST TimiDotProd
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
