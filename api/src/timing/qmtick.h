// Starting timed spans right after the operating system's periodic clock interruption.
//
// A running process loses a slice of time at every scheduler tick (typically every millisecond;
// on the virtual machines we measure on, about 35 us of each millisecond), and the scheduler
// hands the processor to other work at ticks. A timed span shorter than the tick period includes
// one interruption or none depending on where it happens to start, so the figure jumps between
// levels from run to run. Starting a short span right after a tick makes it free of one. Spans
// that follow each other quickly share the window after one tick: a span that will end well
// before the next tick can be due starts at once. docs/noise.md has the measurements behind it.
#pragma once
#include <cstdint>

class qmTickAlign {
public:
    using Counter = uint64_t (*)();

    // `jump`: a gap between two consecutive counter reads larger than this is an interruption;
    // `timeout`: counter ticks to wait for one before giving up; `window`: how long after an
    // interruption a span may still end without waiting for the next one (well under the tick
    // period). After `kMaxMisses` waits in a row that see no interruption (a tickless processor)
    // it stops waiting.
    qmTickAlign(Counter counter, uint64_t jump, uint64_t timeout, uint64_t window)
        : m_counter(counter), m_jump(jump), m_timeout(timeout), m_window(window) {}

    // Before a span expected to take `expected` counter ticks (0: not known): returns at once
    // when the span will end inside the window after the last interruption seen, else waits for
    // the next one. Returns false when it neither waited successfully nor found the window open.
    bool before(uint64_t expected);

    // Spins until an interruption has just ended or the timeout passes; true when one was seen.
    // Returns at once (false) when disabled or given up.
    bool wait();

    bool enabled() const { return m_enabled; }
    void setEnabled(bool on) {
        m_enabled = on;
        m_misses = 0;
    }
    void setWindow(uint64_t window) { m_window = window; }

    static constexpr int kMaxMisses = 3;

private:
    Counter m_counter;
    uint64_t m_jump;
    uint64_t m_timeout;
    uint64_t m_window;
    uint64_t m_lastTick = 0;  // counter value right after the last interruption seen, 0: none
    int m_misses = 0;
    bool m_enabled = true;
};

// The process-wide instance the engine uses before each loop-form span: the time-stamp counter, a
// jump of 2,000 ticks (about 1 us; a spinning read takes a few dozen), a timeout of 20,000,000 ticks
// (5 to 10 ms at today's counter rates, more than a 250 Hz tick's period), a window of 400 us at the
// clock rate (set by the engine once the rate is known; 400,000 ticks until then). Off when the
// environment variable QM_TICK_ALIGN is "0".
qmTickAlign& qmSpanAlign();
