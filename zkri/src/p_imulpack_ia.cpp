// TimiMulPack: products of packed real spectra (MulPack, MulPackConj), their magnitudes and phases
// (MagnitudePack, PhasePack), and the magnitude and phase of complex images (Magnitude, Phase), over
// image sizes and, for the Sfs functions, scale factors. One test per library function of the family's
// table: the in-place products (the second operand is the destination) register as
// "TimiMulPack//ZK_REG_Ibs", every other function as "TimiMulPack//ZK_REG".
#include <cstring>

#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

zkImageArgs s_args;
zkImageData s_data;

class TimiMulPack : public zkImageTest {
public:
    TimiMulPack(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, const char* id)
        : zkImageTest(call, loop, stat, func, __FILE__, id, s_data) {
        s_data.args = &s_args;
    }

    static const char* idOf(const char* form) {
        return std::strstr(form, "_i") ? "TimiMulPack//ZK_REG_Ibs" : "TimiMulPack//ZK_REG";
    }

protected:
    // A float product repeated on its own result would overflow or sink into denormals (slow, and a
    // floating-point flag): in-place float destinations hold zeros, which stay put.
    bool fillImages() override {
        if (!zkImageTest::fillImages()) return false;
        if (m_func.inplace() && zkIsFloat(m_func.srcType())) return m_data.dst.setConst(0.0, 0.0);
        return true;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "mulpack/mulpack.tbl"
#define ZK_FAMILY_TEST TimiMulPack
#define ZK_FAMILY_ARGS s_args
#define ZK_FAMILY_REGISTER(name, form, ...)                                                                  \
    qmRegTest(new TimiMulPack(&tcall_##name, &tim_##name##_loop, &tim_##name##_stat, #name, TimiMulPack::idOf(#form)))
#include "zkfamily.inc"
