// TimiLnI: the in-place logarithms and float exponentials of the Exp family over image sizes and scale
// factors, registered under the in-place registration form. One test per library function of the table.
#include <limits>

#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

zkImageArgs s_args;
zkImageData s_data;

class TimiLnI : public zkImageTest {
public:
    TimiLnI(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiLnI//ZK_REG_I", s_data) {
        s_data.args = &s_args;
    }

    // An in-place logarithm is taken again and again of its own results. With a scale factor of -2
    // or below, every integer from 2 up settles on a fixed point of round(ln(x) * 2^-sf) (9 for -2,
    // 67 or 68 for -4), so the calls stay on the regular path; from -1 up the values sink to 0 and
    // every later call reports zkrStsLnZeroArg. The user may still ask for any scale factor.
    bool canStart() override {
        zkImageTest::canStart();
        if (m_func.scale()) m_data.scale.translate("-2; -4");
        return true;
    }

protected:
    // Integer images start in the range that converges (see canStart). Repeated float logarithms
    // and exponentials have no finite fixed point (ln reaches negative values, exp overflows), so
    // float images hold +inf, the one value both functions map onto itself; the kernels compute every
    // element alike, whatever its value.
    bool fillImages() override {
        if (zkIsFloat(m_func.srcType()))
            return m_data.dst.setConst(std::numeric_limits<double>::infinity(), 0.0);
        return m_data.dst.setRandom(2.0, 250.0);
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "exp/lni.tbl"
#define ZK_FAMILY_TEST TimiLnI
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
