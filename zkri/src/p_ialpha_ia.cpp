// TimiAlpha: alpha compositing of two images (AlphaComp with per-pixel alpha, AlphaCompC with
// constant alphas, AlphaCompColorKey) over image sizes and compositing operations. One test per
// library function of the family's TimiAlpha table.
#include "alpha_module.h"

namespace {

class TimiAlpha : public zkAlphaTest {
public:
    TimiAlpha(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkAlphaTest(call, loop, stat, func, __FILE__, "TimiAlpha//ZK_REG") {}
};

}  // namespace

#define ZK_FAMILY_TABLE "alpha/TimiAlpha.tbl"
#define ZK_FAMILY_TEST TimiAlpha
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
