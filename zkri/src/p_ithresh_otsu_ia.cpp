// TimiThresh_otsu: Otsu's threshold of an 8u image over image sizes. The level chosen lands in a
// module variable, which the argument bag points to.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

struct zkOtsuArgs : zkImageArgs {
    void* pThreshold = nullptr;
};

Zkr8u s_level;
zkOtsuArgs s_args;
zkImageData s_data;

class TimiThresh_otsu : public zkImageTest {
public:
    TimiThresh_otsu(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiThresh_otsu//ZK_REG", s_data) {
        s_data.args = &s_args;
        s_args.pThreshold = &s_level;
    }
    // The source keeps the default rings across the whole 8u range: every level of the histogram
    // is used, so the search for the level runs its full course.
};

}  // namespace

#define ZK_FAMILY_TABLE "thresh/thresh_otsu.tbl"
#define ZK_FAMILY_TEST TimiThresh_otsu
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
