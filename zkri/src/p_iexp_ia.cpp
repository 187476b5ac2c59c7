// TimiExp: the exponential and the logarithm (Exp, Ln) over image sizes and scale factors. One test per
// library function of the family's table; the in-place logarithms are TimiLnI's.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

zkImageArgs s_args;
zkImageData s_data;

class TimiExp : public zkImageTest {
public:
    TimiExp(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiExp//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

protected:
    // The measurement stays on the regular path: float exponentials get arguments whose results are
    // normal floats (no overflow or underflow flag), logarithms positive arguments (zero or negative
    // ones take the warning path on every call). Integer exponentials of any argument are regular:
    // results beyond the type saturate, and in place they settle there.
    bool fillImages() override {
        zkImage& src = m_func.inplace() ? m_data.dst : m_data.src1;
        const zkType t = m_func.srcType();
        const bool isFloat = zkIsFloat(t);
        if (m_func.baseName() == "Ln") return src.setRandom(1.0, isFloat ? 1000.0 : (zkTypeBits(t) == 8 ? 255.0 : 30000.0));
        return isFloat ? src.setRandom(-20.0, 20.0) : src.setRandom(0.0, 12.0);
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "exp/exp.tbl"
#define ZK_FAMILY_TEST TimiExp
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
