// TimiWin: images multiplied by two-dimensional Bartlett and Hamming windows (radial and separable),
// over image sizes. One test per library function of the family's table.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

zkImageArgs s_args;
zkImageData s_data;

class TimiWin : public zkImageTest {
public:
    TimiWin(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiWin//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

protected:
    // A float image windowed again and again in place would sink into denormals (slow, and a
    // floating-point flag): in-place float images hold zeros, which stay put.
    bool fillImages() override {
        if (!zkImageTest::fillImages()) return false;
        if (m_func.inplace() && zkIsFloat(m_func.srcType())) return m_data.dst.setConst(0.0, 0.0);
        return true;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "win/win.tbl"
#define ZK_FAMILY_TEST TimiWin
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
