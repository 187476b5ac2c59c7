// TimiAndI: the bitwise operations in place (And, Or, Xor, Not) and the element-wise maximum and
// minimum into the source-destination image (MaxEvery, MinEvery), over image sizes. One test per
// library function of the family's table.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

zkImageArgs s_args;
zkImageData s_data;

class TimiAndI : public zkImageTest {
public:
    TimiAndI(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiAndI//ZK_REG", s_data) {
        s_data.args = &s_args;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "logic/andi.tbl"
#define ZK_FAMILY_TEST TimiAndI
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
