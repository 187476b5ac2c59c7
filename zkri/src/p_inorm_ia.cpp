// TimiNorm: the Inf, L1 and L2 norms of an image, of the difference of two images and relative to
// the second image (Norm, NormDiff, NormRel) over image sizes. One test per library function of
// the family's table; every result lands in the module's output variable, which the argument bag
// points to. The sources are the image module's defaults: rings in the first, random values in
// the second (so the relative norms never divide by a zero norm).
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

struct zkNormArgs : zkImageArgs {
    void* pValue = nullptr;
};

// Output variable: one value per channel, written by every timed call.
Zkr64f s_value[4];

zkNormArgs s_args;
zkImageData s_data;

class TimiNorm : public zkImageTest {
public:
    TimiNorm(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiNorm//ZK_REG", s_data) {
        s_data.args = &s_args;
        s_args.pValue = s_value;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "norm/norm.tbl"
#define ZK_FAMILY_TEST TimiNorm
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
