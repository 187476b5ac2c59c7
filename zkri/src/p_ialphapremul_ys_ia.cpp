// iAlphaPremul__YS: the in-place premultiplications of the multiplication family (AlphaPremul by
// each pixel's own alpha, AlphaPremulC by a constant alpha) over image sizes and that constant.
// One test per library function of the family's alphapremul_ys table.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

struct zkPremulArgs : zkImageArgs {
    const void* alpha = nullptr;  // AlphaPremulC
};

zkPremulArgs s_args;
zkImageData s_data;
zkConstant s_alpha;

// The constant alpha as a fraction of opaque, inside [0, 1].
qmIterator_NSC<double> s_alphaParm(0.5, "alpha", "Constant alpha of AlphaPremulC, a fraction of opaque");
[[maybe_unused]] const bool s_alphaLimits = s_alphaParm.setLimits(0.0, 1.0);

class TimiAlphaPremulYS : public zkImageTest {
public:
    TimiAlphaPremulYS(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "iAlphaPremul__YS//ZK_REG", s_data) {
        s_data.args = &s_args;
    }

    bool canStart() override {
        zkImageTest::canStart();
        if (m_func.baseName() == "AlphaPremulC") addParameter(&s_alphaParm);
        return true;
    }

    // Opaque is the type's largest value (8u and 16u only here).
    bool initData() override {
        const zkType t = m_func.srcType();
        const double opaque = double((1LL << zkTypeBits(t)) - 1);
        const bool set = s_alpha.set(t, {s_alphaParm.value() * opaque});
        s_args.alpha = s_alpha.data();
        return set && zkImageTest::initData();
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "mul/alphapremul_ys.tbl"
#define ZK_FAMILY_TEST TimiAlphaPremulYS
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
