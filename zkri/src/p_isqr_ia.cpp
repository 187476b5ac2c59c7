// TimiSqr: the element-wise unary family (Sqr, Sqrt, Abs) over image sizes and scale factors. One
// test per library function of the family's table.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

zkImageArgs s_args;
zkImageData s_data;

class TimiSqr : public zkImageTest {
public:
    TimiSqr(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiSqr//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

protected:
    // Square roots are measured on their regular path: the sources hold no negative values, which
    // would take the warning path on every call. A float image squared in place again and again
    // would sink into denormals (slow, and an underflow flag) or overflow: it holds -1, 0 and 1,
    // which stay put. Otherwise the default patterns (rings across the whole signed range).
    bool fillImages() override {
        const zkType t = m_func.srcType();
        if (m_func.baseName() == "Sqr" && zkIsFloat(t) && m_func.inplace())
            return zkImageTest::fillImages() && m_data.dst.setSequence(-1.0, 1.0, 1.0, true);
        if (m_func.baseName() != "Sqrt") return zkImageTest::fillImages();
        const double high = zkIsFloat(t) ? 1000.0 : 32767.0;
        if (!m_data.src1.setRandom(0.0, high)) return false;
        return !m_func.inplace() || m_data.dst.setRandom(0.0, high);
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "sqr/sqr.tbl"
#define ZK_FAMILY_TEST TimiSqr
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
