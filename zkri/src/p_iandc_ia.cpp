// TimiAndC: the bitwise operations with a constant (AndC, OrC, XorC) and the shifts (LShiftC,
// RShiftC), not in place, over image sizes, the constant and the shift count. One test per library
// function of the family's table.
#include "p_iandc_ia.h"

namespace {

class TimiAndC : public zkLogicConstTest {
public:
    TimiAndC(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkLogicConstTest(call, loop, stat, func, __FILE__, "TimiAndC//ZK_REG") {}
};

}  // namespace

#define ZK_FAMILY_TABLE "logic/andc.tbl"
#define ZK_FAMILY_TEST TimiAndC
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
