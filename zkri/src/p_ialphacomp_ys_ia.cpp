// iAlphaComp__YS: alpha compositing of float images and of planar images (AlphaComp with per-pixel
// alpha, AlphaCompC with constant alphas) over image sizes and compositing operations. One test per
// library function of the family's iAlphaComp__YS table; none of them is measured by TimiAlpha.
#include "alpha_module.h"

namespace {

class iAlphaComp__YS : public zkAlphaTest {
public:
    iAlphaComp__YS(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkAlphaTest(call, loop, stat, func, __FILE__, "iAlphaComp__YS//ZK_REG") {}
};

}  // namespace

#define ZK_FAMILY_TABLE "alpha/iAlphaComp__YS.tbl"
#define ZK_FAMILY_TEST iAlphaComp__YS
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
