// Fatal-signal capture: SIGFPE, SIGILL and SIGSEGV raised while a jump point is armed return control
// to that jump point, where the caller turns them into a qmException; a crash inside a measured
// library call so ends one test, not the process.
//
// A jump point belongs to the thread that armed it (the measuring thread). A fatal signal on any
// other thread (a worker the library started) must not jump across threads: that thread is parked
// for good, the fault is recorded, and the measuring thread is sent the same signal so that it leaves
// through its own jump point. The test then ends as EXCPTFAIL and, the library's state being lost,
// the run stops in order after it.
//
// Interruption: during a run, SIGINT, SIGTERM or SIGHUP asks the run to stop in order (the current
// parameter set finishes, the tests not run are reported, footer, summary and .end file are
// written); a second one ends the process at once. SIGPIPE (the reader of the console output went
// away, as with "| head -3") stops the run the same way, and later ones are ignored: every write
// to the closed pipe raises it again, and the files still have to be finished.
#pragma once
#include <pthread.h>

#include <csetjmp>
#include <csignal>

class tsSignal {
public:
    tsSignal();  // installs the handler for the three signals
    static int code() { return m_code; }
    // "FP error, ...", "Illegal instruction.", "Illegal storage access." or "Unknown exception".
    static const char* getInfo();
    static const char* getInfo(int code);
    static void sig_fpe(int sig);

    // The fatal signal that arrived on a thread other than the measuring one, 0 when none did.
    static int foreignFault() { return m_foreign; }
    // The stop signal received (SIGINT, SIGTERM, SIGHUP, SIGPIPE), 0 when none.
    static int stopRequested() { return m_stop; }
    static void sig_stop(int sig);
    // "SIGINT", "SIGTERM", "SIGHUP", "SIGPIPE", else "a signal".
    static const char* stopName(int sig);

    static sigjmp_buf m_jmpbuf;
    static volatile sig_atomic_t m_code;
    static volatile sig_atomic_t m_armed;  // nesting depth of armed jump points; 0 lets a signal kill
    static pthread_t m_owner;              // the thread that armed the jump point
    static volatile sig_atomic_t m_foreign;
    static volatile sig_atomic_t m_stop;
};

// True once a stop was requested. The timing engine may call it between timed spans to end a long
// parameter set early: it reads one flag and does nothing else.
inline bool qmStopRequested() { return tsSignal::m_stop != 0; }

// Installs the stop handler (SIGINT, SIGTERM, SIGHUP, SIGPIPE) for the life of a run and restores
// the previous ones after.
class qmStopScope {
public:
    qmStopScope();
    ~qmStopScope();
    qmStopScope(const qmStopScope&) = delete;
    qmStopScope& operator=(const qmStopScope&) = delete;

private:
    struct sigaction m_int {};
    struct sigaction m_term {};
    struct sigaction m_hup {};
    struct sigaction m_pipe {};
};

// Keeps the enclosing jump point while an inner one is armed, and restores it on leaving.
class qmSignalScope {
public:
    qmSignalScope();
    ~qmSignalScope();
    qmSignalScope(const qmSignalScope&) = delete;
    qmSignalScope& operator=(const qmSignalScope&) = delete;

private:
    sigjmp_buf m_saved;
    pthread_t m_savedOwner;
};

// Arms the jump point in the calling function: after a signal, execution continues at this point
// with the statement following the macro seeing a non-zero value. Use as
//   qmSignalScope scope;
//   if (QM_SIGNAL_CAUGHT()) throw qmException(tsSignal::getInfo());
#define QM_SIGNAL_CAUGHT() (sigsetjmp(tsSignal::m_jmpbuf, 1) != 0)
