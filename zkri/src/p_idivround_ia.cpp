// TimiDivRound: integer division with a rounding mode (Div_Round: the second source divided by the
// first, rounded toward zero, to nearest even or to nearest away from zero) over image sizes, scale
// factors and rounding modes. One test per library function of the table.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"
#include "qmmapiterator.h"

// The family's functions and ZkrRoundMode, used below before zkfamily.inc expands the table.
#define ZKR_TABLE "div/div_round.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace {

struct zkDivRoundArgs : zkImageArgs {
    int rndMode = zkrRndNear;
};

zkDivRoundArgs s_args;
zkImageData s_data;
// Every mode by default: the modes differ in the code that rounds, which is what a user compares.
qmMapIterator<int> s_roundMode(zkrRndNear, "roundMode", "Rounding mode of the quotients",
                               {{"Zero", zkrRndZero}, {"Near", zkrRndNear}, {"Financial", zkrRndFinancial}});

class TimiDivRound : public zkImageTest {
public:
    TimiDivRound(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiDivRound//ZK_REG", s_data) {
        s_data.args = &s_args;
        s_roundMode.initValidation();
        static const bool s_defaults = (s_roundMode.translate("Zero; Near; Financial"), true);
        (void)s_defaults;
    }

    bool canStart() override {
        zkImageTest::canStart();
        addParameter(&s_roundMode);
        return true;
    }

    bool initData() override {
        s_args.rndMode = s_roundMode.value();
        return zkImageTest::initData();
    }

protected:
    // The divisor (first source) holds no zero, which would take the warning path on every call; in
    // place, the integer destination settles on the quotients' fixed points after the first calls.
    bool fillImages() override {
        if (!m_data.src1.setRandom(1.0, 100.0) || !m_data.src2.setRandom()) return false;
        return !m_func.inplace() || m_data.dst.setRandom();
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "div/div_round.tbl"
#define ZK_FAMILY_TEST TimiDivRound
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
