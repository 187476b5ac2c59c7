// The progress line appears on a terminal and nowhere else.
#include <gtest/gtest.h>

#include "e2e_support.h"

using namespace e2e;

namespace {
const std::string kRun = " -B -fAdd_8u_C1 -dSize=8x8 -dscaleFactor=0 -dMethod=Manual -dNumLoops=2 -LP";
}

TEST(Progress, ShownOnATerminalWithCountFunctionAndTimes) {
    // script(1) gives the program a pseudo-terminal for standard output and standard error.
    const Outcome r = run("script -qec " + quote(program() + kRun) + " /dev/null");
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(r.has("\r[1/2] zkriAdd_8u_C1RSfs  elapsed 0:0")) << r.out;
    EXPECT_TRUE(r.has("\r[2/2] zkriAdd_8u_C1IRSfs  elapsed 0:0")) << r.out;
    EXPECT_TRUE(r.has(", left ?")) << r.out;   // nothing to estimate from before the first test ends
    EXPECT_TRUE(r.has(", left ~")) << r.out;
    EXPECT_FALSE(r.has("[3/")) << r.out;
    // The line is cleared before the summary, so the listing's own lines stay whole.
    EXPECT_TRUE(r.has("\r\033[K")) << r.out;
    EXPECT_TRUE(r.has("| Result:     OK")) << r.out;
}

TEST(Progress, NothingChangesWithoutATerminal) {
    const Outcome withErr = run(program() + kRun);
    ASSERT_EQ(withErr.status, 0) << withErr.out;
    EXPECT_FALSE(withErr.has("\r")) << withErr.out;
    EXPECT_FALSE(withErr.has("elapsed")) << withErr.out;
    // Standard error alone is empty.
    const Outcome errOnly = run(program() + kRun + " 2>&1 >/dev/null");
    EXPECT_EQ(errOnly.out, "");
}

TEST(Progress, EnvironmentSwitchesItOff) {
    const Outcome r = run("QM_NO_PROGRESS=1 script -qec " + quote(program() + kRun) + " /dev/null");
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_FALSE(r.has("elapsed")) << r.out;
}
