// TimiRand: uniform and normal noise added in place (AddRandUniform_Direct, AddRandGauss_Direct)
// over image sizes and the noise's parameters. One test per library function of the family's
// table. The seed is the module's: every call advances it, so each call draws new noise.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

// The noise parameters beside the image of zkImageArgs, converted to the element type by the call.
struct zkRandArgs : zkImageArgs {
    double low = 0, high = 16, mean = 0, stdDev = 8;
    unsigned int* pSeed = nullptr;
};

unsigned int s_seed = 12345;

zkRandArgs s_args;
zkImageData s_data;

// Ranges every element type holds (8u has no negative values).
qmIterator_NSC<double> s_low(0.0, "low", "Lower bound of uniform noise");
qmIterator_NSC<double> s_high(16.0, "high", "Upper bound of uniform noise");
qmIterator_NSC<double> s_mean(0.0, "mean", "Mean of normal noise");
qmIterator_NSC<double> s_stdDev(8.0, "stdDev", "Standard deviation of normal noise");
[[maybe_unused]] const bool s_limits = s_low.setLimits(0.0, 255.0) && s_high.setLimits(0.0, 255.0) &&
                                       s_mean.setLimits(0.0, 255.0) && s_stdDev.setLimits(0.0, 255.0);

class TimiRand : public zkImageTest {
public:
    TimiRand(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiRand//ZK_REG", s_data) {
        s_data.args = &s_args;
        s_args.pSeed = &s_seed;
    }

    bool canStart() override {
        if (!zkImageTest::canStart()) return false;
        if (isGauss()) {
            addParameter(&s_mean);
            addParameter(&s_stdDev);
        } else {
            addParameter(&s_low);
            addParameter(&s_high);
        }
        return true;
    }

    bool initData() override {
        s_args.low = s_low.value(), s_args.high = s_high.value();
        s_args.mean = s_mean.value(), s_args.stdDev = s_stdDev.value();
        return zkImageTest::initData();
    }

private:
    bool isGauss() const { return m_func.baseName().find("Gauss") >= 0; }
};

}  // namespace

#define ZK_FAMILY_TABLE "rand/rand.tbl"
#define ZK_FAMILY_TEST TimiRand
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
