// TimSize: image generation and comparison within a tolerance (CompareEqualEps, CompareEqualEpsC,
// ImageJaehne) and the deinterlacing filter DeinterlaceFilterCAVT, over image sizes and the
// operations' own arguments: the tolerance of the comparisons, the constant the C forms compare
// with, and the filter's threshold. One test per library function of the family's table.
#include <cstring>

#include "zkrcore.h"
#include "qmstepiterator.h"
#include "zk.h"
#include "zkfamily.h"

namespace {

// The parameters of the family's forms beside the image pointers and steps of zkImageArgs.
struct zkSizeArgs : zkImageArgs {
    const void* value = nullptr;  // the constants, one per channel (the C1 form reads the first)
    Zkr32f eps = 0.0f;
    int threshold = 0;
};

zkSizeArgs s_args;
zkImageData s_data;
Zkr32f s_value[4];

qmStepIterator<double> s_eps(0.001, "eps", "Tolerance of the comparisons (>= 0)");
qmStepIterator<double> s_constant(0.5, "value", "Constant the C comparisons compare every channel with");
qmStepIterator<int> s_threshold(8, "threshold", "Deinterlacing: largest difference that keeps the field's sample");
// The tolerance and the constant are passed as floats (a negative tolerance reaches the library,
// which refuses it).
[[maybe_unused]] const bool s_limits = s_eps.setLimits(-1.0e38, 1.0e38) && s_constant.setLimits(-1.0e38, 1.0e38);

enum class Kind { Compare, CompareC, Jaehne, Deinterlace };

Kind kindOf(const char* func) {
    if (std::strstr(func, "CompareEqualEpsC_")) return Kind::CompareC;
    if (std::strstr(func, "CompareEqualEps_")) return Kind::Compare;
    if (std::strstr(func, "Jaehne")) return Kind::Jaehne;
    return Kind::Deinterlace;
}

class TimSize : public zkImageTest {
public:
    TimSize(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimSize//ZK_REG", s_data), m_kind(kindOf(func)) {
        s_data.args = &s_args;
        s_args.value = s_value;
    }

    bool canStart() override {
        if (!zkImageTest::canStart()) return false;
        if (m_kind == Kind::Compare || m_kind == Kind::CompareC) addParameter(&s_eps);
        if (m_kind == Kind::CompareC) addParameter(&s_constant);
        if (m_kind == Kind::Deinterlace) addParameter(&s_threshold);
        return true;
    }

    bool initData() override {
        if (!zkImageTest::initData()) return false;
        zkImageArgs& a = s_args;
        if (m_kind == Kind::Compare || m_kind == Kind::CompareC) {
            // The same pattern twice, so the mask is mostly set; the mask is one 8u channel.
            if (!m_data.src2.setJaehne()) return false;
            m_data.dst.init(zk8u, 1, false);
            if (!m_data.dst.createImage(m_roi) || !m_data.dst.setConst(0.0, 0.0)) return false;
            a.pDst = a.pSrcDst = m_data.dst.roiPointer();
            a.dstStep = a.srcDstStep = m_data.dst.step();
        }
        s_args.eps = Zkr32f(s_eps.value());
        for (Zkr32f& v : s_value) v = Zkr32f(s_constant.value());
        s_args.threshold = s_threshold.value();
        return true;
    }

private:
    Kind m_kind;
};

}  // namespace

#define ZK_FAMILY_TABLE "imggen/imggen.tbl"
#define ZK_FAMILY_TEST TimSize
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
