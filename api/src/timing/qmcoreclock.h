// The processor's own clock beside the time-stamp counter, for the stable mode (QM_STABLE=1).
//
// The time-stamp counter runs at a constant rate; the core does not. On the shared virtual
// machines we measure on, the host moves the core's clock by 4 to 12 % within seconds, and a
// function bound by the core (by its loads and stores in L1, or by arithmetic) takes that many
// more counter ticks; nothing in the guest reports it (no hardware events, no frequency files).
// A sentinel with a known cost in core cycles tells the ratio: a chain of dependent 64-bit
// multiply-adds takes exactly 4 cycles a step (3 for the multiplication, 1 for the addition) on
// every x86-64 core of the last fifteen years. Read right before and right after a span, it turns
// the span's counter ticks into core clocks, which repeat from run to run whatever the host does
// with the clock. A span during which the clock moved (the two readings disagree) is measured
// again, within a wait budget per measurement; one kept without agreement carries that
// disagreement as its accuracy. docs/noise.md has the measurements behind it.
#pragma once
#include <cstdint>

class qmCoreClock {
public:
    using Counter = uint64_t (*)();
    using Chain = void (*)(int steps);  // `steps` dependent steps of kCyclesPerStep cycles each

    static constexpr int kCyclesPerStep = 4;

    using Stream = void (*)();          // a fixed amount of loads and stores in L1

    struct Settings {
        double agreement = 0.02;   // before and after a span may differ by this much
        double contention = 0.15;  // the stream may take this much longer than its best
        double waitMs = 20;        // milliseconds one measurement may spend on spans measured again
    };

    // One look at the core: counter ticks per core cycle, and how much longer than its best the
    // L1 stream takes in core cycles (1.0: alone on the core; above: another thread on the same
    // physical core competes for its loads and stores, which the clock does not show).
    struct Reading {
        double perCycle = 0;
        double contention = 1.0;
        uint64_t at = 0;  // the counter when the reading began
    };

    qmCoreClock(Counter counter, Chain chain, int steps, Stream stream, int runs)
        : m_counter(counter), m_chain(chain), m_steps(steps), m_stream(stream), m_runs(runs) {}

    // Counter ticks per core cycle now: the best of `runs` chains of `steps` steps.
    double ticksPerCycle();
    // Both figures now; the stream's best in core cycles is learnt as readings come.
    Reading read();

    // A new measurement with the counter's ticks per millisecond: its budget starts afresh, and so
    // does the worst disagreement it kept.
    void startMeasurement(double ticksPerMs) {
        m_ticksPerMs = ticksPerMs;
        m_spent = 0;
        m_kept = 0;
    }
    // Whether a span whose readings were `before` and `after` is to be measured again (the clock
    // moved or the core was shared, and the budget lasts); charges the time from the first reading
    // to now to the budget when it is.
    bool retry(const Reading& before, const Reading& after);
    // The core clocks of a span of `ticks` counter ticks between the two readings; notes their
    // disagreement, or the contention seen, when beyond what is asked.
    double toCycles(uint64_t ticks, const Reading& before, const Reading& after);
    // The worst disagreement or contention (as a fraction) of the spans kept in this
    // measurement beyond what is asked: the accuracy the measurement cannot be better than.
    double kept() const { return m_kept; }
    // How far the two readings say a span may be off: the clock's movement, or the contention
    // beyond what is asked.
    double doubt(const Reading& before, const Reading& after) const;

    static double disagreement(double before, double after);

    bool enabled() const { return m_enabled; }
    void setEnabled(bool on) { m_enabled = on; }
    const Settings& settings() const { return m_settings; }
    void setSettings(const Settings& s) { m_settings = s; }

private:
    Counter m_counter;
    Chain m_chain;
    int m_steps;
    Stream m_stream;
    int m_runs;
    double m_streamBest = 0;  // the stream's fewest core cycles seen
    Settings m_settings;
    double m_ticksPerMs = 2e6;
    uint64_t m_spent = 0;
    double m_kept = 0;
    bool m_enabled = false;
};

// The process-wide core clock the engine uses around loop spans: chains of 1,024 steps and the
// stream (saturating byte additions over three 2 KiB rows with the widest vectors the processor
// has, sixteen passes), best of three each (about 7 us a reading). On when the environment
// variable QM_STABLE is "1".
qmCoreClock& qmMachineClock();
