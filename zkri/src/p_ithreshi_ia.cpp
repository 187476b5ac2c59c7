// TimiThreshI: the threshold functions in place (Threshold, Threshold_GT, _LT, _Val, _GTVal, _LTVal,
// _LTValGTVal) over image sizes, thresholds, replacement values and comparison operations. One test
// per library function of the family's in-place table; the test class is shared with TimiThresh.
#include "p_ithresh_ia.h"

namespace {

class TimiThreshI : public zkThreshTest {
public:
    TimiThreshI(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, const char* form)
        : zkThreshTest(call, loop, stat, func, form, __FILE__, "TimiThreshI//ZK_REG") {}
};

}  // namespace

#define ZK_FAMILY_TABLE "thresh/threshi.tbl"
#define ZK_FAMILY_TEST TimiThreshI
#define ZK_FAMILY_ARGS s_args
#define ZK_FAMILY_REGISTER(name, form, ...) \
    qmRegTest(new TimiThreshI(&tcall_##name, &tim_##name##_loop, &tim_##name##_stat, #name, #form))
#include "zkfamily.inc"
