// TimiDiv: the element-wise division family (Div: the second source divided by the first; DivC: the
// source divided by a constant) over image sizes, scale factors and the constant. One test per
// library function of the family's table.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

// The constant of DivC: every computed channel gets the same divisor (complex: its real part, the
// imaginary part is 0). Zero is refused: DivC rejects a zero divisor without computing anything.
class zkDivisorIterator : public qmIterator_NSC<double> {
public:
    using qmIterator_NSC<double>::qmIterator_NSC;
    qmString validString() const override { return "any nonzero value"; }
    double validItem(qmString& item) override {
        const double v = stringToValue(item);
        if (!item.error() && v == 0.0) item.setError();
        return v;
    }
};

struct zkDivArgs : zkImageArgs {
    const void* value = nullptr;
};

zkDivArgs s_args;
zkImageData s_data;
zkConstant s_value;
zkDivisorIterator s_divisor(3.0, "divisor", "Divisor of the DivC functions (integer types: rounded)");
// Passed as a constant of the element type: within the range of a float.
[[maybe_unused]] const bool s_divisorLimits = s_divisor.setLimits(-1.0e38, 1.0e38);

class TimiDiv : public zkImageTest {
public:
    TimiDiv(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiDiv//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

    bool canStart() override {
        zkImageTest::canStart();
        if (isDivC()) addParameter(&s_divisor);
        return true;
    }

    bool initData() override {
        if (isDivC()) {
            const double v = s_divisor.value();
            if (!s_value.set(m_func.srcType(), {v, v, v, v})) return false;
            s_args.value = s_value.data();
        }
        return zkImageTest::initData();
    }

protected:
    bool isDivC() const { return m_func.baseName() == "DivC"; }

    // Div divides by the first source: it holds no zero, which would take the warning path on every
    // call. An in-place function divides the same image again and again: integer images sink to the
    // quotients' fixed points (0 and +-1) at once, while float ones would sink into denormals (slow,
    // and an underflow flag); a float in-place destination therefore starts where repeated division
    // leads, at zero, which every further call keeps.
    bool fillImages() override {
        const bool isFloat = zkIsFloat(m_func.srcType());
        if (isDivC()) {
            if (!m_data.src1.setRandom()) return false;
        } else if (!m_data.src1.setRandom(1.0, isFloat ? 4.0 : 100.0)) {
            return false;
        }
        if (!m_data.src2.setRandom()) return false;
        if (!m_func.inplace()) return true;
        return isFloat ? m_data.dst.setConst(0.0, 0.0) : m_data.dst.setRandom();
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "div/div.tbl"
#define ZK_FAMILY_TEST TimiDiv
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
