// TimiAdd: the element-wise addition family (Add, Sub, AddC, SubC, Complement) over image sizes and
// scale factors. One test per library function of the family's table.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

// The constant of AddC/SubC: small enough that most results stay unsaturated.
struct zkAddArgs : zkImageArgs {
    const void* value = nullptr;
};

zkAddArgs s_args;
zkImageData s_data;
zkConstant s_value;

class TimiAdd : public zkImageTest {
public:
    TimiAdd(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiAdd//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

    bool initData() override {
        const zkType t = m_func.srcType();
        const bool floatComplex = zkIsFloat(t) && zkIsComplex(t);
        const bool set = floatComplex ? s_value.set(t, {0.25, 0.5, 0.75, 1.0}, {-0.5, 0.125, -0.25, 0.5})
                                      : s_value.set(t, {3, 5, 7, 9}, {-2, 1, -4, 2});
        s_args.value = s_value.data();
        return set && zkImageTest::initData();
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "add/add.tbl"
#define ZK_FAMILY_TEST TimiAdd
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
