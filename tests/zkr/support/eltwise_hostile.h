// The element-wise families' hostile-float check in one call: every 32f case of a family over the
// hostile fills (floats::checkHostileElementwise) on every level, with one and two threads.
#pragma once
#include <random>
#include <vector>

#include "eltwise_harness.h"
#include "float_fills.h"

namespace zkrtest::eltwise {

// `alsoAllowed`: flags the functions may raise beyond those of the model's own scalar evaluation.
template <class Model>
void checkHostileCases(const std::vector<Case>& cases, unsigned alsoAllowed = 0) {
    forEachCase(cases, [](const Case& c) { return c.comp == CompType::F32; }, [&](const Case& c) {
        std::mt19937 rng(606);
        forEachLevel([&](const Level&) {
            for (int threads : {1, 2}) {
                SCOPED_TRACE(testing::Message() << threads << " threads");
                ASSERT_GE(zkrSetNumThreads(threads), zkrStsNoErr);
                Call<Model, float> call(c, kSplitSize.width, kSplitSize.height, threads == 1, rng);
                floats::checkHostileElementwise(call, rng, alsoAllowed);
                if (testing::Test::HasFailure()) return;
            }
        });
    });
}

}  // namespace zkrtest::eltwise
