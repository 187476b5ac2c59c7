#include "qmsignal.h"

#include <unistd.h>

#include <cstring>

sigjmp_buf tsSignal::m_jmpbuf;
volatile sig_atomic_t tsSignal::m_code = 0;
volatile sig_atomic_t tsSignal::m_armed = 0;
pthread_t tsSignal::m_owner{};
volatile sig_atomic_t tsSignal::m_foreign = 0;
volatile sig_atomic_t tsSignal::m_stop = 0;

namespace {
tsSignal s_signalCatcher;  // installed before main
volatile sig_atomic_t s_pipeClosed = 0;  // a SIGPIPE came: the console's reader is gone
}

tsSignal::tsSignal() {
    struct sigaction sa {};
    sa.sa_handler = &tsSignal::sig_fpe;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_NODEFER;
    sigaction(SIGFPE, &sa, nullptr);
    sigaction(SIGILL, &sa, nullptr);
    sigaction(SIGSEGV, &sa, nullptr);
}

void tsSignal::sig_fpe(int sig) {
    if (m_armed > 0 && !pthread_equal(pthread_self(), m_owner)) {
        // Another thread faulted while a test was measuring: only the measuring thread may use its
        // jump point. The first such fault is recorded and forwarded; this thread never returns
        // (returning would repeat the faulting instruction).
        if (m_foreign == 0) {
            m_foreign = sig;
            m_code = sig;
            pthread_kill(m_owner, sig);
        }
        for (;;) pause();
    }
    if (m_foreign == 0) m_code = sig;
    if (m_armed > 0) siglongjmp(m_jmpbuf, -1);
    // Nobody is waiting for it: behave as the default action would.
    std::signal(sig, SIG_DFL);
    std::raise(sig);
}

void tsSignal::sig_stop(int sig) {
    if (sig == SIGPIPE) {
        // Every later write to the closed pipe fails quietly instead of raising it again.
        std::signal(SIGPIPE, SIG_IGN);
        s_pipeClosed = 1;
        if (m_stop != 0) return;
    } else if (m_stop != 0) {
        // The second request: end at once, as the default action does.
        std::signal(sig, SIG_DFL);
        std::raise(sig);
        return;
    }
    m_stop = sig;
    static const char note[] = "\n-- Stop requested: the run ends after the current parameter set (again to end at once)\n";
    [[maybe_unused]] const ssize_t n = write(STDERR_FILENO, note, sizeof note - 1);
}

const char* tsSignal::stopName(int sig) {
    switch (sig) {
        case SIGINT: return "SIGINT";
        case SIGTERM: return "SIGTERM";
        case SIGHUP: return "SIGHUP";
        case SIGPIPE: return "SIGPIPE";
        default: return "a signal";
    }
}

const char* tsSignal::getInfo() { return getInfo(m_code); }

const char* tsSignal::getInfo(int code) {
    switch (code) {
        case SIGFPE: return "FP error, such as overflow, division by zero, invalid operation.";
        case SIGILL: return "Illegal instruction.";
        case SIGSEGV: return "Illegal storage access.";
        default: return "Unknown exception";
    }
}

qmStopScope::qmStopScope() {
    tsSignal::m_stop = 0;
    s_pipeClosed = 0;
    struct sigaction sa {};
    sa.sa_handler = &tsSignal::sig_stop;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_RESTART;
    sigaction(SIGINT, &sa, &m_int);
    sigaction(SIGTERM, &sa, &m_term);
    sigaction(SIGHUP, &sa, &m_hup);
    sigaction(SIGPIPE, &sa, &m_pipe);
}

qmStopScope::~qmStopScope() {
    sigaction(SIGINT, &m_int, nullptr);
    sigaction(SIGTERM, &m_term, nullptr);
    sigaction(SIGHUP, &m_hup, nullptr);
    // After the console's reader went away, the writes that follow the run (the last flushes)
    // must not end the process.
    if (s_pipeClosed)
        std::signal(SIGPIPE, SIG_IGN);
    else
        sigaction(SIGPIPE, &m_pipe, nullptr);
}

qmSignalScope::qmSignalScope() : m_savedOwner(tsSignal::m_owner) {
    std::memcpy(m_saved, tsSignal::m_jmpbuf, sizeof m_saved);
    tsSignal::m_owner = pthread_self();
    tsSignal::m_armed = tsSignal::m_armed + 1;
}

qmSignalScope::~qmSignalScope() {
    tsSignal::m_armed = tsSignal::m_armed - 1;
    std::memcpy(tsSignal::m_jmpbuf, m_saved, sizeof m_saved);
    tsSignal::m_owner = m_savedOwner;
}
