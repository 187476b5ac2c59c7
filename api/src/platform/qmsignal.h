// Fatal-signal capture: SIGFPE, SIGILL and SIGSEGV raised while a jump point is armed return control
// to that jump point, where the caller turns them into a qmException; a crash inside a measured
// library call so ends one test, not the process.
#pragma once
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

    static sigjmp_buf m_jmpbuf;
    static volatile sig_atomic_t m_code;
    static int m_armed;  // nesting depth of armed jump points; 0 lets a signal kill the process
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
};

// Arms the jump point in the calling function: after a signal, execution continues at this point
// with the statement following the macro seeing a non-zero value. Use as
//   qmSignalScope scope;
//   if (QM_SIGNAL_CAUGHT()) throw qmException(tsSignal::getInfo());
#define QM_SIGNAL_CAUGHT() (sigsetjmp(tsSignal::m_jmpbuf, 1) != 0)
