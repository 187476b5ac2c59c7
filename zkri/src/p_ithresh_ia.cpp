// TimiThresh: the threshold functions not in place (Threshold, Threshold_GT, _LT, _Val, _GTVal,
// _LTVal, _LTValGTVal) over image sizes, thresholds, replacement values and comparison operations.
// One test per library function of the family's table; the test class is shared with TimiThreshI.
#include "p_ithresh_ia.h"

namespace {

class TimiThresh : public zkThreshTest {
public:
    TimiThresh(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, const char* form)
        : zkThreshTest(call, loop, stat, func, form, __FILE__, "TimiThresh//ZK_REG") {}
};

}  // namespace

#define ZK_FAMILY_TABLE "thresh/thresh.tbl"
#define ZK_FAMILY_TEST TimiThresh
#define ZK_FAMILY_ARGS s_args
#define ZK_FAMILY_REGISTER(name, form, ...) \
    qmRegTest(new TimiThresh(&tcall_##name, &tim_##name##_loop, &tim_##name##_stat, #name, #form))
#include "zkfamily.inc"
