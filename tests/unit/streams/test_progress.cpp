// The progress line's text: counts, elapsed time, the estimate, and the width limit.
#include <gtest/gtest.h>

#include "qmprogress.h"

TEST(ProgressLine, ClockShowsMinutesThenHours) {
    EXPECT_EQ(qmProgress::clock(0), "0:00");
    EXPECT_EQ(qmProgress::clock(-5), "0:00");
    EXPECT_EQ(qmProgress::clock(59.4), "0:59");
    EXPECT_EQ(qmProgress::clock(59.6), "1:00");
    EXPECT_EQ(qmProgress::clock(3599), "59:59");
    EXPECT_EQ(qmProgress::clock(3600), "1:00:00");
    EXPECT_EQ(qmProgress::clock(36061), "10:01:01");
}

TEST(ProgressLine, EstimateNeedsOneFinishedTest) {
    EXPECT_EQ(qmProgress::format(1, 201, "zkriAdd_8u_C1RSfs", 0.2, 0),
              "[  1/201] zkriAdd_8u_C1RSfs  elapsed 0:00, left ?");
    // 10 s for 4 finished tests: 2.5 s each, 196 to go.
    EXPECT_EQ(qmProgress::format(5, 200, "f", 10, 4), "[  5/200] f  elapsed 0:10, left ~8:10");
    // The last test: nothing left after it once it is counted.
    EXPECT_EQ(qmProgress::format(3, 3, "g", 6, 2), "[3/3] g  elapsed 0:06, left ~0:03");
    // From parameter sets: 4 tests of 10 sets each and 4 sets of the fifth in 11 s (0.25 s a set):
    // 6 sets left of the fifth, 195 tests of 10 sets to come.
    EXPECT_EQ(qmProgress::format(5, 200, "f", 11, 4, 44, 4), "[  5/200] f  elapsed 0:11, left ~8:09");
    // Tests of unequal length: the mean of the finished ones stands for each test to come, and a
    // current test beyond that mean is taken as ending now.
    EXPECT_EQ(qmProgress::format(3, 4, "g", 30, 2, 30, 26), "[3/4] g  elapsed 0:30, left ~0:02");
    EXPECT_EQ(qmProgress::format(4, 4, "h", 30, 3, 30, 1), "[4/4] h  elapsed 0:30, left ~0:09");
}

TEST(ProgressLine, LongNamesAreCutToOneTerminalLine) {
    const std::string name(200, 'x');
    const std::string line = qmProgress::format(7, 3230, name, 125, 6);
    EXPECT_EQ(line.size(), 79u);
    EXPECT_EQ(line.substr(0, 12), "[   7/3230] ");
    EXPECT_NE(line.find("...  elapsed 2:05, left ~"), std::string::npos) << line;
}

TEST(ProgressLine, InactiveWithoutATerminal) {
    // Unit tests run with standard error redirected or not: either way a run of no tests shows nothing,
    // and a progress object that never began never draws.
    qmProgress p;
    p.begin(0);
    EXPECT_FALSE(p.active());
    p.test(1, "f");
    p.beforeConsoleWrite();
    p.afterConsoleWrite("line\n");
    p.end();
    EXPECT_FALSE(p.active());
}
