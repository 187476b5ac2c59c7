// TimiHint: the library functions that take an algorithm hint, measured over image sizes and the
// hint: the float L1 and L2 norms (Norm, NormDiff, NormRel), the float sums and means, and the
// narrowing scalings of integer ranges onto 8u. Their tables belong to three families (norm, sum,
// convert); the module expands each in turn, so its tests register in that order. Results land in
// the module's output variables, which the argument bag points to.
#include "qmmapiterator.h"
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

struct zkHintArgs : zkImageArgs {
    void* pValue = nullptr;
    void* pSum = nullptr;
    void* pMean = nullptr;
    ZkrHintAlgorithm hint = zkrAlgHintFast;
};

// Output variables: one value per channel, written by every timed call.
Zkr64f s_value[4], s_sum[4], s_mean[4];

zkHintArgs s_args;
zkImageData s_data;

qmMapIterator<int> s_hint(zkrAlgHintAccurate, "hint", "Algorithm hint",
                          {{"fast", zkrAlgHintFast}, {"accurate", zkrAlgHintAccurate}});

class TimiHint : public zkImageTest {
public:
    TimiHint(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiHint//ZK_REG", s_data) {
        s_data.args = &s_args;
        s_args.pValue = s_value;
        s_args.pSum = s_sum;
        s_args.pMean = s_mean;
    }

    // The hint varies fastest, after the image size.
    bool canStart() override {
        if (!zkImageTest::canStart()) return false;
        s_hint.translate("fast; accurate");
        addParameter(&s_hint);
        return true;
    }

    bool initData() override {
        s_args.hint = ZkrHintAlgorithm(s_hint.value());
        return zkImageTest::initData();
    }
};

}  // namespace

#define ZK_FAMILY_TEST TimiHint
#define ZK_FAMILY_ARGS s_args
#define ZK_FAMILY_TABLE "norm/hint.tbl"
#include "zkfamily.inc"
#undef ZK_FAMILY_TABLE
#define ZK_FAMILY_TABLE "sum/hint.tbl"
#include "zkfamily.inc"
#undef ZK_FAMILY_TABLE
#define ZK_FAMILY_TABLE "convert/scale_hint.tbl"
#include "zkfamily.inc"
