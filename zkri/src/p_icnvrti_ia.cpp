// TimCnvrtI: the exact conversions of the Convert family (widenings, integer to float) over image
// sizes. One test per library function of the family's cnvrti table.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

zkImageArgs s_args;
zkImageData s_data;

// The sources take the default rings across the whole range of their type; every value converts.
class TimCnvrtI : public zkImageTest {
public:
    TimCnvrtI(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimCnvrtI//ZK_REG", s_data) {
        s_data.args = &s_args;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "convert/cnvrti.tbl"
#define ZK_FAMILY_TEST TimCnvrtI
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
