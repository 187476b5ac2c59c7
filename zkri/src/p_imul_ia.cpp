// TimiMul: the multiplication family (Mul, MulC, MulScale, MulCScale, AlphaPremul, AlphaPremulC,
// CompColorKey) over image sizes, scale factors and the family's constants. One test per library
// function of the family's table: the forms that write into their second source (in place)
// register as "TimiMul//ZK_REG_Ibs", every other one as "TimiMul//ZK_REG".
#include <cstring>

#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

// The parameters of the family's forms beside the images of zkImageArgs, each pointing at a
// constant of the function's element type.
struct zkMulArgs : zkImageArgs {
    const void* value = nullptr;     // MulC, MulCScale
    const void* alpha = nullptr;     // AlphaPremulC
    const void* colorKey = nullptr;  // CompColorKey
};

zkMulArgs s_args;
zkImageData s_data;
zkConstant s_value, s_alpha, s_colorKey;

// Products of the Jaehne rings and a small constant keep most integer results unsaturated.
qmIterator_NSC<double> s_valueParm(3.0, "value", "Constant of MulC and MulCScale, every channel (complex: value + value*i)");
qmIterator_NSC<double> s_alphaParm(0.5, "alpha", "Constant alpha of AlphaPremulC, a fraction of opaque");
qmIterator_NSC<double> s_colorKeyParm(0.0, "colorKey", "Colour key of CompColorKey, every colour channel (saturated to the type)");
[[maybe_unused]] const bool s_limits = s_valueParm.setLimits(-1.0e6, 1.0e6) && s_alphaParm.setLimits(0.0, 1.0) &&
                                       s_colorKeyParm.setLimits(-32768.0, 65535.0);

// The largest value of a type, which stands for an opaque alpha (floats: 1).
double opaque(zkType t) {
    if (zkIsFloat(t)) return 1.0;
    return zkIsSigned(t) ? double((1LL << (zkTypeBits(t) - 1)) - 1) : double((1LL << zkTypeBits(t)) - 1);
}

class TimiMul : public zkImageTest {
public:
    TimiMul(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, const char* id)
        : zkImageTest(call, loop, stat, func, __FILE__, id, s_data) {
        s_data.args = &s_args;
    }

    // The registration of a table row: in-place forms ("_i" in the form's name) form the second group.
    static const char* idOf(const char* form) {
        return std::strstr(form, "_i") ? "TimiMul//ZK_REG_Ibs" : "TimiMul//ZK_REG";
    }

    bool canStart() override {
        zkImageTest::canStart();
        const qmString base = m_func.baseName();
        if (base == "MulC" || base == "MulCScale") addParameter(&s_valueParm);
        if (base == "AlphaPremulC") addParameter(&s_alphaParm);
        if (base == "CompColorKey") addParameter(&s_colorKeyParm);
        return true;
    }

    bool initData() override {
        const zkType t = m_func.srcType();
        const double v = s_valueParm.value(), alpha = s_alphaParm.value() * opaque(t), key = s_colorKeyParm.value();
        const bool set = s_value.set(t, {v, v, v, v}, {v, v, v, v}) && s_alpha.set(t, {alpha}) &&
                         s_colorKey.set(t, {key, key, key, key});
        s_args.value = s_value.data();
        s_args.alpha = s_alpha.data();
        s_args.colorKey = s_colorKey.data();
        return set && zkImageTest::initData();
    }

protected:
    // A float product repeated on its own result would overflow or sink into denormals (slow, and
    // a floating-point flag): in-place float destinations hold zeros, which stay put.
    bool fillImages() override {
        if (!zkImageTest::fillImages()) return false;
        if (m_func.inplace() && zkIsFloat(m_func.srcType())) return m_data.dst.setConst(0.0, 0.0);
        return true;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "mul/mul.tbl"
#define ZK_FAMILY_TEST TimiMul
#define ZK_FAMILY_ARGS s_args
#define ZK_FAMILY_REGISTER(name, form, ...)                                                          \
    qmRegTest(new TimiMul(&tcall_##name, &tim_##name##_loop, &tim_##name##_stat, #name, TimiMul::idOf(#form)))
#include "zkfamily.inc"
