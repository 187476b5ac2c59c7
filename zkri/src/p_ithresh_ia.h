// The test class of the threshold modules TimiThresh (p_ithresh_ia.cpp, not in place) and
// TimiThreshI (p_ithreshi_ia.cpp, in place), which measure the same operations: every function of
// the module's table over image sizes, its thresholds and replacement values and, for Threshold and
// Threshold_Val, the comparison operation. Included by those two modules only: each gets its own
// parameters, data and argument bag.
#pragma once

#include <cstring>

#include "qmmapiterator.h"
#include "qmstepiterator.h"
#include "zkrcore.h"
#include "zk.h"
#include "zkfamily.h"

// The family's forms and its comparison operation.
#include "thresh/thresh_forms.h"

namespace {

// The constants of the threshold forms beside the images of zkImageArgs, each pointing at one
// value per channel of the function's type (a one-channel form reads the first).
struct zkThreshArgs : zkImageArgs {
    const void* threshold = nullptr;
    const void* value = nullptr;
    const void* thresholdLT = nullptr;
    const void* valueLT = nullptr;
    const void* thresholdGT = nullptr;
    const void* valueGT = nullptr;
    ZkrCmpOp cmpOp = zkrCmpLess;
};

zkThreshArgs s_args;
zkImageData s_data;
zkConstant s_threshold, s_value, s_thresholdLT, s_valueLT, s_thresholdGT, s_valueGT;

// The sources hold values 0 to 255 in every type, so the defaults cut each image in the middle
// (one threshold) or in thirds (two) whatever its type; any value or range may be given instead.
qmStepIterator<double> s_thresholdParm(128.0, "threshold", "Threshold (every channel)");
qmStepIterator<double> s_valueParm(0.0, "value", "Value that replaces the components beyond the threshold");
qmStepIterator<double> s_thresholdLTParm(85.0, "thresholdLT", "Lower threshold (every channel)");
qmStepIterator<double> s_valueLTParm(0.0, "valueLT", "Value that replaces the components below the lower threshold");
qmStepIterator<double> s_thresholdGTParm(170.0, "thresholdGT", "Upper threshold (every channel)");
qmStepIterator<double> s_valueGTParm(255.0, "valueGT", "Value that replaces the components above the upper threshold");
// Each becomes a constant of the element type: within the range of a float, the widest floating type.
[[maybe_unused]] const bool s_limits =
    s_thresholdParm.setLimits(-1.0e38, 1.0e38) && s_valueParm.setLimits(-1.0e38, 1.0e38) &&
    s_thresholdLTParm.setLimits(-1.0e38, 1.0e38) && s_valueLTParm.setLimits(-1.0e38, 1.0e38) &&
    s_thresholdGTParm.setLimits(-1.0e38, 1.0e38) && s_valueGTParm.setLimits(-1.0e38, 1.0e38);
qmMapIterator<int> s_cmpOpParm(zkrCmpLess, "cmpOp", "Comparison with the threshold",
                               {{"less", zkrCmpLess}, {"greater", zkrCmpGreater}});

class zkThreshTest : public zkImageTest {
public:
    // form: the row's call form, which tells the constants the function takes.
    zkThreshTest(qmCallEntry call, qmLoopEntry loop, qmStatEntry stat, const char* func, const char* form,
                 const char* file, const char* id)
        : zkImageTest(call, loop, stat, func, file, id, s_data),
          m_twoSided(std::strncmp(form, "thr2v", 5) == 0),
          m_hasValue(std::strncmp(form, "thrv", 4) == 0),
          m_hasCmp(std::strstr(form, "_cmp") != nullptr) {
        s_data.args = &s_args;
        s_cmpOpParm.initValidation();
    }

    bool canStart() override {
        if (!zkImageTest::canStart()) return false;
        if (m_twoSided) {
            addParameter(&s_thresholdLTParm);
            addParameter(&s_valueLTParm);
            addParameter(&s_thresholdGTParm);
            addParameter(&s_valueGTParm);
        } else {
            addParameter(&s_thresholdParm);
            if (m_hasValue) addParameter(&s_valueParm);
        }
        if (m_hasCmp) {
            // Both comparisons unless the user names one.
            s_cmpOpParm.translate("less; greater");
            addParameter(&s_cmpOpParm);
        }
        return true;
    }

    bool initData() override {
        const zkType t = m_func.srcType();
        auto setAll = [t](zkConstant& c, double v) { return c.set(t, {v, v, v, v}); };
        if (m_twoSided) {
            if (!setAll(s_thresholdLT, s_thresholdLTParm.value()) || !setAll(s_valueLT, s_valueLTParm.value()) ||
                !setAll(s_thresholdGT, s_thresholdGTParm.value()) || !setAll(s_valueGT, s_valueGTParm.value()))
                return false;
        } else {
            if (!setAll(s_threshold, s_thresholdParm.value())) return false;
            if (m_hasValue && !setAll(s_value, s_valueParm.value())) return false;
        }
        s_args.threshold = s_threshold.data();
        s_args.value = s_value.data();
        s_args.thresholdLT = s_thresholdLT.data();
        s_args.valueLT = s_valueLT.data();
        s_args.thresholdGT = s_thresholdGT.data();
        s_args.valueGT = s_valueGT.data();
        s_args.cmpOp = m_hasCmp ? ZkrCmpOp(s_cmpOpParm.value()) : zkrCmpLess;
        return zkImageTest::initData();
    }

protected:
    // Values 0 to 255 at random in the source (and in the destination when it is the source), so
    // that every comparison goes both ways across each row.
    bool fillImages() override {
        if (!m_data.src1.setRandom(0.0, 255.0)) return false;
        return !m_func.inplace() || m_data.dst.setRandom(0.0, 255.0);
    }

private:
    bool m_twoSided, m_hasValue, m_hasCmp;
};

}  // namespace
