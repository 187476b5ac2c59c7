// The core clock of the stable mode with a scripted counter: the chain and the stream advance it
// by what the test says, so the readings, the re-measured spans and the accuracy they leave are
// exact.
#include <gtest/gtest.h>

#include <deque>
#include <vector>

#include "qmcoreclock.h"
#include "qmtool.h"

namespace {
uint64_t g_now = 0;
std::deque<double> g_perCycle;   // counter ticks per core cycle of each chain run (last repeats)
std::deque<uint64_t> g_stream;   // counter ticks of each stream run (last repeats)

uint64_t now() { return g_now; }
template <class T> T next(std::deque<T>& q) {
    const T v = q.front();
    if (q.size() > 1) q.pop_front();
    return v;
}
void chain(int steps) { g_now += static_cast<uint64_t>(next(g_perCycle) * steps * qmCoreClock::kCyclesPerStep); }
void stream() { g_now += next(g_stream); }

qmCoreClock makeClock(std::vector<double> perCycle, std::vector<uint64_t> streamTicks = {200}) {
    g_now = 1;
    g_perCycle.assign(perCycle.begin(), perCycle.end());
    g_stream.assign(streamTicks.begin(), streamTicks.end());
    qmCoreClock c(&now, &chain, 100, &stream, 1);
    c.setSettings({0.02, 0.15, 1.0});  // 1 ms budget: 1,000 ticks at the tests' rate
    c.setEnabled(true);
    c.startMeasurement(1000.0);
    return c;
}
}  // namespace

TEST(CoreClock, ChainTellsTicksPerCycleAsTheBestOfItsRuns) {
    g_now = 0;
    g_perCycle.assign({2.5, 2.0, 2.2});
    qmCoreClock c(&now, &chain, 100, nullptr, 3);
    EXPECT_DOUBLE_EQ(c.ticksPerCycle(), 2.0);
}

TEST(CoreClock, StreamContentionIsRelativeToItsBestInCoreCycles) {
    // 200 ticks at 2 ticks a cycle and 220 at 2.2 are the same 100 cycles: no contention; 300
    // ticks at 2 ticks a cycle are half as many cycles again.
    qmCoreClock c = makeClock({2.0, 2.2, 2.0}, {200, 220, 300});
    EXPECT_DOUBLE_EQ(c.read().contention, 1.0);
    const qmCoreClock::Reading r = c.read();
    EXPECT_DOUBLE_EQ(r.perCycle, 2.2);
    EXPECT_DOUBLE_EQ(r.contention, 1.0);
    EXPECT_DOUBLE_EQ(c.read().contention, 1.5);
}

TEST(CoreClock, SpansBecomeCoreCyclesAtTheMeanOfTheirReadings) {
    qmCoreClock c = makeClock({2.0});
    qmCoreClock::Reading a{2.0, 1.0, 0}, b{2.03, 1.0, 0};
    EXPECT_DOUBLE_EQ(c.toCycles(2015, a, b), 1000.0);
    EXPECT_DOUBLE_EQ(c.kept(), 0.0);  // 1.5 % apart: within the agreement
}

TEST(CoreClock, MovedClockOrSharedCoreIsMeasuredAgainWithinTheBudget) {
    qmCoreClock c = makeClock({2.0});
    const qmCoreClock::Reading steady{2.0, 1.0, 1}, moved{2.2, 1.0, 1}, shared{2.0, 1.3, 1};
    EXPECT_FALSE(c.retry(steady, steady));
    EXPECT_NEAR(c.doubt(steady, moved), 0.1, 1e-12);
    EXPECT_NEAR(c.doubt(steady, shared), 0.3, 1e-12);
    g_now = 500;
    EXPECT_TRUE(c.retry(steady, moved));   // charges 499 ticks
    g_now = 1001;
    EXPECT_TRUE(c.retry(steady, shared));  // 999 so far: still within 1,000
    EXPECT_FALSE(c.retry(steady, moved));  // spent
    EXPECT_DOUBLE_EQ(c.toCycles(2100, steady, moved), 1000.0);
    EXPECT_NEAR(c.kept(), 0.1, 1e-12);
    c.startMeasurement(1000.0);
    EXPECT_DOUBLE_EQ(c.kept(), 0.0);
    EXPECT_TRUE(c.retry(steady, moved));
}

// ---------------------------------------------------------------- the engine in the stable mode

namespace {
std::vector<int> g_loops;
qmResult loopEntry(int n, long long* clocks) {
    g_loops.push_back(n);
    *clocks = 2000LL * n;  // 1,000 core cycles a call at 2 ticks a cycle
    g_now += static_cast<uint64_t>(*clocks);
    return QM_OK;
}

class StableMode : public ::testing::Test {
protected:
    void SetUp() override { g_loops.clear(); }
    void TearDown() override { qmMachineClock() = m_saved; }
    qmCoreClock m_saved = qmMachineClock();
};
}  // namespace

TEST_F(StableMode, FiguresAreCoreClocks) {
    qmMachineClock() = makeClock({2.0});
    qmTool tool;
    EXPECT_EQ(tool.timing(loopEntry, nullptr, nullptr, nullptr), QM_OK);
    EXPECT_EQ(g_loops, (std::vector<int>{1, 4}));
    EXPECT_DOUBLE_EQ(tool.funcClocks, 1000.0);
    EXPECT_EQ(tool.params, "nLps=4");
}

TEST_F(StableMode, SpanDuringWhichTheClockMovedIsMeasuredAgain) {
    // Readings: before and after the prior span disagree (2.0, 2.3), then all agree at 2.0.
    qmMachineClock() = makeClock({2.0, 2.3, 2.0});
    qmTool tool;
    EXPECT_EQ(tool.timing(loopEntry, nullptr, nullptr, nullptr), QM_OK);
    EXPECT_EQ(g_loops, (std::vector<int>{1, 1, 4}));
    EXPECT_EQ(tool.comment, "successfully");
}

TEST_F(StableMode, CoreSharedLongerThanTheBudgetMakesTheLineInaccurate) {
    // The stream runs 40 % slower than its best after the first reading, for good.
    qmMachineClock() = makeClock({2.0}, {200, 280});
    qmTool tool;
    EXPECT_EQ(tool.timing(loopEntry, nullptr, nullptr, nullptr), QM_ACCURWRN);
    EXPECT_EQ(tool.params.substr(tool.params.find("acc=")), "acc=40.0%");
    EXPECT_EQ(tool.comment, "successfullyactual accuracy = 40.0%");
}

TEST_F(StableMode, OffCountsCounterTicks) {
    qmMachineClock() = makeClock({2.0, 2.5});
    qmMachineClock().setEnabled(false);
    qmTool tool;
    EXPECT_EQ(tool.timing(loopEntry, nullptr, nullptr, nullptr), QM_OK);
    EXPECT_DOUBLE_EQ(tool.funcClocks, 2000.0);
    EXPECT_EQ(g_loops, (std::vector<int>{1, 4}));
}
