// The progress line: while a run measures, and only when standard error is a terminal, one line on
// standard error shows the test number out of the selected count, the function, the elapsed time and
// an estimate of the time left. Console output to the same terminal clears the line before it is
// written and redraws it after each whole line, so the listing reads as without it. When standard
// error is not a terminal (or QM_NO_PROGRESS is set) nothing is written at all.
#pragma once
#include <chrono>
#include <string>

class qmProgress {
public:
    // Starts a run of `total` selected tests; shows nothing when standard error is no terminal.
    void begin(int total);
    // Test `number` (1-based) of the run starts.
    void test(int number, const std::string& func);
    // The current test has measured one more parameter set (a result line).
    void parameterSet() { ++m_setsThisTest; }
    // Clears the line; nothing more is shown until the next begin.
    void end();

    // Around console output to standard output.
    void beforeConsoleWrite();
    void afterConsoleWrite(const std::string& text);

    // The text of the line: "[  12/201] zkriAdd_8u_C1RSfs  elapsed 0:12, left ~3:05". The estimate
    // needs one finished test ("left ?" before); seconds < 0 count as 0. With the parameter sets
    // measured so far (`sets`, of which `setsNow` by the current test) the time left is the time per
    // set times the sets still to come: the finished tests' sets per test for each test not started,
    // and what the current test has left of that mean; without sets (sets < 0), time per test.
    static std::string format(int number, int total, const std::string& func, double elapsedSec, int finished,
                              long sets = -1, long setsNow = 0);
    // m:ss, or h:mm:ss from an hour on.
    static std::string clock(double seconds);

    bool active() const { return m_active; }

private:
    void draw();
    void clear();

    bool m_active = false;
    bool m_shown = false;
    bool m_sharedTerminal = false;  // standard output goes to a terminal too
    int m_total = 0;
    int m_number = 0;
    long m_setsDone = 0;      // sets of the finished tests
    long m_setsThisTest = 0;  // sets of the current test
    std::string m_func;
    std::chrono::steady_clock::time_point m_start;
};

extern qmProgress g_progress;
