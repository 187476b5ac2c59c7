#include "qmsignal.h"

#include <cstring>

sigjmp_buf tsSignal::m_jmpbuf;
volatile sig_atomic_t tsSignal::m_code = 0;
int tsSignal::m_armed = 0;

namespace {
tsSignal s_signalCatcher;  // installed before main
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
    m_code = sig;
    if (m_armed > 0) siglongjmp(m_jmpbuf, -1);
    // Nobody is waiting for it: behave as the default action would.
    std::signal(sig, SIG_DFL);
    std::raise(sig);
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

qmSignalScope::qmSignalScope() {
    std::memcpy(m_saved, tsSignal::m_jmpbuf, sizeof m_saved);
    ++tsSignal::m_armed;
}

qmSignalScope::~qmSignalScope() {
    --tsSignal::m_armed;
    std::memcpy(tsSignal::m_jmpbuf, m_saved, sizeof m_saved);
}
