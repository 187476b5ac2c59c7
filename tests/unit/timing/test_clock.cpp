#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "qmclock.h"
#include "qmtick.h"

TEST(ClockNominalRate, SnapsOnlyWithinThreePercent) {
    EXPECT_EQ(qmNominalFreqMHz(2993), 3060);  // 67 / 2993 < 0.03
    EXPECT_EQ(qmNominalFreqMHz(2900), 2900);  // nearest 2800, 100 / 2900 > 0.03
    EXPECT_EQ(qmNominalFreqMHz(5000), 5000);  // further than 1000 from every rate
    EXPECT_EQ(qmNominalFreqMHz(1000), 1000);
    EXPECT_EQ(qmNominalFreqMHz(1012), 1000);
    EXPECT_EQ(qmNominalFreqMHz(0), 0);
}

TEST(ClockNominalRate, HalfwayTakesTheLowerRate) {
    EXPECT_EQ(qmNominalFreqMHz(2515), 2500);  // between 2500 and 2530
    EXPECT_EQ(qmNominalFreqMHz(2630), 2600);  // between 2600 and 2660
    EXPECT_EQ(qmNominalFreqMHz(2631), 2660);
}

TEST(ClockCounter, PresentAndNeverGoesBack) {
    EXPECT_TRUE(zkr_has_rdtsc());
    uint64_t a = zkr_get_cycle_counter();
    uint64_t b = zkr_get_cycle_counter();
    EXPECT_GE(b, a);
    EXPECT_EQ(qmCpuTicker::getClockFactor(), 1);
}

TEST(ClockTicker, CachedRateIsNotEstimatedAgain) {
    int saved = qmCpuTicker::m_freqMHz;
    qmCpuTicker::m_freqMHz = 1234;
    EXPECT_EQ(qmCpuTicker::getFreq(), 1234);
    qmCpuTicker::m_freqMHz = saved;
}

TEST(ClockRateFromEnvironment, WholeMegahertzInRangeOnly) {
    EXPECT_EQ(qmClockRateFromEnv(nullptr), 0);
    EXPECT_EQ(qmClockRateFromEnv("2300"), 2300);
    EXPECT_EQ(qmClockRateFromEnv("1"), 1);
    EXPECT_EQ(qmClockRateFromEnv("100000"), 100000);
    const char* const refused[] = {"0", "100001", "-5", "2.3e3", "2300MHz", "", "99999999999999999999999"};
    testing::internal::CaptureStderr();
    for (const char* v : refused) EXPECT_EQ(qmClockRateFromEnv(v), 0) << v;
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_NE(err.find("QM_CPU_MHZ=\"2300MHz\" is not a clock rate in MHz"), std::string::npos) << err;
    size_t lines = 0;
    for (char c : err) lines += c == '\n';
    EXPECT_EQ(lines, 7u);  // one message per refused value
}

TEST(ClockOSTimer, FallsBackToProcessorTimeWithoutDevice) {
    LinuxRTClock fresh;
    EXPECT_EQ(fresh.m_fd, -1);
    EXPECT_FALSE(fresh.m_enabled);
    EXPECT_EQ(LinuxRTClock::INT_PER_SEC, 8192);
    ASSERT_EQ(g_rtClock.m_fd, -1);

    OSTimer timer;
    EXPECT_EQ(timer.getOSFreq(), 1000000);
    long long value = -1;
    long long returned = OSTimer::GetCounter(&value);
    EXPECT_EQ(returned, value);
    EXPECT_GE(value, 0);
    timer.start();
    timer.stop();
    EXPECT_GE(timer.getSec(), 0.0f);
    EXPECT_FLOAT_EQ(timer.getUSec(), timer.getSec() * 1e6f);
}

// ---------------------------------------------------------------- priority through a fake system

namespace {
struct FakeSystem {
    uid_t uid = 0;
    int nice = 5;
    int policy = SCHED_BATCH;
    int maxFifo = 99;
    std::vector<std::string> calls;
};
FakeSystem* s_sys = nullptr;

qmPrioritySystem fakeSystem() {
    return {
        [] { s_sys->calls.push_back("getuid"); return s_sys->uid; },
        [](int, id_t) { s_sys->calls.push_back("getpriority"); return s_sys->nice; },
        [](int, id_t, int prio) {
            s_sys->calls.push_back("setpriority " + std::to_string(prio));
            return 0;
        },
        [](pid_t) { s_sys->calls.push_back("getscheduler"); return s_sys->policy; },
        [](pid_t, sched_param* p) {
            s_sys->calls.push_back("getparam");
            p->sched_priority = 0;
            return 0;
        },
        [](pid_t, int policy, const sched_param* p) {
            s_sys->calls.push_back("setscheduler " + std::to_string(policy) + " " + std::to_string(p->sched_priority));
            return 0;
        },
        [](int policy) {
            s_sys->calls.push_back("max " + std::to_string(policy));
            return s_sys->maxFifo;
        },
    };
}

// The calls other than the root check.
std::vector<std::string> changes(const std::vector<std::string>& calls) {
    std::vector<std::string> out;
    for (const auto& c : calls)
        if (c != "getuid") out.push_back(c);
    return out;
}
}  // namespace

class ClockPriority : public ::testing::Test {
protected:
    void SetUp() override {
        s_sys = &m_sys;
        m_saved = g_prioritySystem;
        g_prioritySystem = fakeSystem();
        _bSavedPrio = false;
    }
    void TearDown() override {
        g_prioritySystem = m_saved;
        _bSavedPrio = false;
        s_sys = nullptr;
    }
    FakeSystem m_sys;
    qmPrioritySystem m_saved{};
};

TEST_F(ClockPriority, LevelZeroCallsNothing) {
    _bSavedPrio = true;
    qmSetPriority(0);
    EXPECT_FALSE(_bSavedPrio);
    EXPECT_TRUE(m_sys.calls.empty());
    qmResetPriority();
    EXPECT_TRUE(m_sys.calls.empty());
}

TEST_F(ClockPriority, HighMixesFifoMaximumWithRoundRobin) {
    qmSetPriority(1);
    EXPECT_TRUE(_bSavedPrio);
    std::vector<std::string> expected = {"getpriority", "getscheduler", "getparam", "setpriority -20",
                                         "max " + std::to_string(SCHED_FIFO),
                                         "setscheduler " + std::to_string(SCHED_RR) + " 99"};
    EXPECT_EQ(changes(m_sys.calls), expected);
}

TEST_F(ClockPriority, HighKeepsPolicyWhenMaximumFails) {
    m_sys.maxFifo = -1;
    qmSetPriority(1);
    std::vector<std::string> expected = {"getpriority", "getscheduler", "getparam", "setpriority -20",
                                         "max " + std::to_string(SCHED_FIFO)};
    EXPECT_EQ(changes(m_sys.calls), expected);
}

TEST_F(ClockPriority, NormalAndLow) {
    qmSetPriority(2);
    auto normal = changes(m_sys.calls);
    ASSERT_EQ(normal.size(), 5u);
    EXPECT_EQ(normal[3], "setpriority 0");
    EXPECT_EQ(normal[4], "setscheduler " + std::to_string(SCHED_OTHER) + " 0");
    m_sys.calls.clear();
    qmSetPriority(3);
    auto low = changes(m_sys.calls);
    ASSERT_EQ(low.size(), 5u);
    EXPECT_EQ(low[3], "setpriority 10");
}

TEST_F(ClockPriority, OutOfRangeSavesAndResetRestores) {
    qmSetPriority(7);
    EXPECT_TRUE(_bSavedPrio);
    EXPECT_EQ(changes(m_sys.calls), (std::vector<std::string>{"getpriority", "getscheduler", "getparam"}));
    m_sys.calls.clear();
    qmResetPriority();
    EXPECT_FALSE(_bSavedPrio);
    EXPECT_EQ(changes(m_sys.calls),
              (std::vector<std::string>{"setpriority 5", "setscheduler " + std::to_string(SCHED_BATCH) + " 0"}));
    m_sys.calls.clear();
    qmResetPriority();  // nothing saved any more
    EXPECT_TRUE(m_sys.calls.empty());
}

TEST_F(ClockPriority, NotRootChangesNothing) {
    m_sys.uid = 1000;
    qmSetPriority(1);
    qmResetPriority();
    EXPECT_TRUE(changes(m_sys.calls).empty());
    EXPECT_FALSE(m_sys.calls.empty());  // but it did ask who it runs as
}

// ---------------------------------------------------------------- tick alignment
namespace {
// A counter that advances by `step` per read and jumps by `jumpBy` at the reads listed in `jumps`.
struct FakeCounter {
    static inline uint64_t value = 0;
    static inline int reads = 0;
    static inline std::vector<int> jumps;
    static inline uint64_t step = 30, jumpBy = 70000;
    static uint64_t read() {
        ++reads;
        for (int j : jumps)
            if (j == reads) value += jumpBy;
        return value += step;
    }
    static void reset(std::vector<int> at) {
        value = 1000;
        reads = 0;
        jumps = std::move(at);
    }
};
}  // namespace


TEST(TickAlign, ReturnsRightAfterTheFirstJump) {
    FakeCounter::reset({50});
    qmTickAlign align(&FakeCounter::read, 2000, 1000000, 400000);
    EXPECT_TRUE(align.wait());
    EXPECT_EQ(FakeCounter::reads, 50);  // the read that saw the jump is the last one
}

TEST(TickAlign, GapsAtOrBelowTheThresholdAreNotTicks) {
    FakeCounter::reset({10, 20});
    FakeCounter::jumpBy = 1970;  // with the step: exactly the threshold, not above it
    qmTickAlign align(&FakeCounter::read, 2000, 30000, 400000);
    EXPECT_FALSE(align.wait());
    EXPECT_GT(FakeCounter::value - 1000, 30000u);  // waited the whole timeout
    FakeCounter::jumpBy = 70000;
}

TEST(TickAlign, GivesUpAfterThreeWaitsWithoutATickAndRecoversWhenEnabledAgain) {
    FakeCounter::reset({});
    qmTickAlign align(&FakeCounter::read, 2000, 3000, 400000);
    for (int i = 0; i < qmTickAlign::kMaxMisses; ++i) EXPECT_FALSE(align.wait());
    const int reads = FakeCounter::reads;
    EXPECT_FALSE(align.wait());           // given up: returns without reading the counter
    EXPECT_EQ(FakeCounter::reads, reads);
    FakeCounter::reset({5});
    align.setEnabled(true);
    EXPECT_TRUE(align.wait());
}

TEST(TickAlign, AMissFollowedByATickStartsTheCountAgain) {
    FakeCounter::reset({});
    qmTickAlign align(&FakeCounter::read, 2000, 3000, 400000);
    EXPECT_FALSE(align.wait());
    EXPECT_FALSE(align.wait());
    FakeCounter::jumps = {FakeCounter::reads + 3};
    EXPECT_TRUE(align.wait());
    FakeCounter::jumps = {};
    EXPECT_FALSE(align.wait());
    EXPECT_FALSE(align.wait());
    FakeCounter::jumps = {FakeCounter::reads + 3};
    EXPECT_TRUE(align.wait());  // two misses since the last tick: still waiting
}

TEST(TickAlign, DisabledNeverWaits) {
    FakeCounter::reset({1});
    qmTickAlign align(&FakeCounter::read, 2000, 3000, 400000);
    align.setEnabled(false);
    EXPECT_FALSE(align.wait());
    EXPECT_EQ(FakeCounter::reads, 0);
}

TEST(TickAlign, SpansThatEndInsideTheWindowAfterATickStartAtOnce) {
    FakeCounter::reset({3});
    qmTickAlign align(&FakeCounter::read, 2000, 1000000, 10000);
    EXPECT_TRUE(align.before(0));  // nothing known: waits for the tick at the third read
    EXPECT_EQ(FakeCounter::reads, 3);
    EXPECT_TRUE(align.before(5000));  // 30 ticks after it, a span of 5,000 ends inside 10,000
    EXPECT_EQ(FakeCounter::reads, 4);  // one read to see where it stands, no waiting
    FakeCounter::value += 5000;        // now 5,060 after the tick: 5,000 more would not fit
    FakeCounter::jumps = {FakeCounter::reads + 10};
    EXPECT_TRUE(align.before(5000));
    EXPECT_EQ(FakeCounter::reads, 14);  // the window check at read 5, then waited for the tick at read 14
}

TEST(TickAlign, UnknownOrLongSpansAlwaysWaitAndAMissClosesTheWindow) {
    FakeCounter::reset({2});
    qmTickAlign align(&FakeCounter::read, 2000, 3000, 10000);
    EXPECT_TRUE(align.wait());
    FakeCounter::jumps = {FakeCounter::reads + 4};
    EXPECT_TRUE(align.before(0));  // unknown length: waits although the window is open
    FakeCounter::jumps = {FakeCounter::reads + 4};
    EXPECT_TRUE(align.before(10000));  // as long as the window: waits
    FakeCounter::jumps = {};
    EXPECT_FALSE(align.wait());        // a miss forgets the last tick
    const int reads = FakeCounter::reads;
    EXPECT_FALSE(align.before(100));   // so even a short span waits (and misses again)
    EXPECT_GT(FakeCounter::reads, reads + 50);
}

TEST(TickAlign, TheEngineInstanceFollowsTheEnvironment) {
    // The test process does not set QM_TICK_ALIGN; the instance is on and, on a machine with a
    // clock interruption, sees one.
    ASSERT_EQ(std::getenv("QM_TICK_ALIGN"), nullptr);
    EXPECT_TRUE(qmSpanAlign().enabled());
}
