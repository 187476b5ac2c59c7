// TimiSum: the reductions of an image to one value per channel (Sum, Mean, Min, Max, MinMax,
// MinIndx, MaxIndx, QualityIndex) over image sizes. One test per library function of the family's
// table; every result lands in the module's output variables, which the argument bag points to.
// The float sums and means, which take an algorithm hint, are measured by TimiHint.
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

// The outputs of the family's forms, one value per channel (at most four).
struct zkSumArgs : zkImageArgs {
    void* pSum = nullptr;
    void* pMean = nullptr;
    void* pMin = nullptr;
    void* pMax = nullptr;
    void* pIndexX = nullptr;
    void* pIndexY = nullptr;
    void* pQuality = nullptr;
};

// Output variables: written by every timed call.
Zkr64f s_sum[4], s_mean[4];
alignas(16) unsigned char s_min[4 * sizeof(Zkr64f)], s_max[4 * sizeof(Zkr64f)];
int s_indexX[4], s_indexY[4];
Zkr32f s_quality[4];

zkSumArgs s_args;
zkImageData s_data;

class TimiSum : public zkImageTest {
public:
    TimiSum(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiSum//ZK_REG", s_data) {
        s_data.args = &s_args;
        s_args.pSum = s_sum;
        s_args.pMean = s_mean;
        s_args.pMin = s_min;
        s_args.pMax = s_max;
        s_args.pIndexX = s_indexX;
        s_args.pIndexY = s_indexY;
        s_args.pQuality = s_quality;
    }
};

}  // namespace

#define ZK_FAMILY_TABLE "sum/sum.tbl"
#define ZK_FAMILY_TEST TimiSum
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
