// TimiAnd: the bitwise operations of two images (And, Or, Xor) and the one's complement (Not), not in
// place, over image sizes. One test per library function of the family's table.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

zkImageArgs s_args;
zkImageData s_data;

class TimiAnd : public zkImageTest {
public:
    TimiAnd(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiAnd//ZK_REG", s_data) {
        s_data.args = &s_args;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "logic/and.tbl"
#define ZK_FAMILY_TEST TimiAnd
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
