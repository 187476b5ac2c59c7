// TimiScale: the rounding conversions (Convert to narrower and to integer types, with a rounding
// mode and, for the Sfs forms, a scale factor) and the linear scalings between an integer type's
// range and a float range (Scale) over image sizes. One test per library function of the Convert
// family's scale table.
#include <limits>
#include <utility>

#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"
#include "qmmapiterator.h"

// The functions and the rounding modes, used below before zkfamily.inc expands the table.
#define ZKR_TABLE "convert/scale.tbl"
#include "zkr_declare.h"
#undef ZKR_TABLE

namespace {

// The parameters of the rounding and scaling forms beside the image pointers and steps of
// zkImageArgs.
struct zkScaleArgs : zkImageArgs {
    ZkrRoundMode roundMode = zkrRndNear;
    Zkr32f vMin = 0.0f;
    Zkr32f vMax = 1.0f;
};

zkScaleArgs s_args;
zkImageData s_data;

qmMapIterator<int> s_roundMode(zkrRndNear, "roundMode", "Rounding mode of Convert",
                               {{"Near", zkrRndNear}, {"Zero", zkrRndZero}, {"Financial", zkrRndFinancial}});
qmIterator_NSC<double> s_vMin(0.0, "vMin", "Float value of the integer minimum (Scale)");
qmIterator_NSC<double> s_vMax(1.0, "vMax", "Float value of the integer maximum (Scale)");
// Both are passed as floats.
[[maybe_unused]] const bool s_limits = s_vMin.setLimits(-1.0e38, 1.0e38) && s_vMax.setLimits(-1.0e38, 1.0e38);

// The range of an integer element type.
void rangeOf(zkType t, double& lo, double& hi) {
    switch (t) {
        case zk8u: lo = 0, hi = 255; break;
        case zk8s: lo = -128, hi = 127; break;
        case zk16u: lo = 0, hi = 65535; break;
        case zk16s: lo = -32768, hi = 32767; break;
        default: lo = std::numeric_limits<int>::min(), hi = std::numeric_limits<int>::max(); break;
    }
}

class TimiScale : public zkImageTest {
public:
    TimiScale(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func)
        : zkImageTest(call, loop, stat, func, __FILE__, "TimiScale//ZK_REG", s_data) {
        s_data.args = &s_args;
        s_roundMode.initValidation();
    }

    // Conversions take the rounding mode (after the scale factor of the Sfs forms), scalings their
    // value range.
    bool canStart() override {
        zkImageTest::canStart();
        if (isScale()) {
            addParameter(&s_vMin);
            addParameter(&s_vMax);
        } else {
            addParameter(&s_roundMode);
        }
        return true;
    }

    bool initData() override {
        s_args.roundMode = ZkrRoundMode(s_roundMode.value());
        s_args.vMin = Zkr32f(s_vMin.value());
        s_args.vMax = Zkr32f(s_vMax.value());
        return zkImageTest::initData();
    }

protected:
    // Float sources spread a quarter beyond the range they map to, so that saturation and every
    // rounding case are part of the measurement; integer sources take the default rings across
    // their whole range.
    bool fillImages() override {
        if (m_func.srcType() != zk32f) return zkImageTest::fillImages();
        double lo = 0.0, hi = 1.0;
        if (isScale()) lo = s_vMin.value(), hi = s_vMax.value();
        else rangeOf(m_func.dstType(), lo, hi);
        // A reversed range is the library's to report; the data only needs some spread.
        if (hi < lo) std::swap(lo, hi);
        const double margin = (hi - lo) / 4.0;
        return m_data.src1.setRandom(lo - margin, hi + margin);
    }

private:
    bool isScale() const { return m_func.baseName() == "Scale"; }
};

}  // namespace

#define ZK_FAMILY_TABLE "convert/scale.tbl"
#define ZK_FAMILY_TEST TimiScale
#define ZK_FAMILY_ARGS s_args
#include "zkfamily.inc"
