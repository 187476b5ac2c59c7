// The process entry: runs the registered session (or a default one) and frees all test memory.
#include <unistd.h>

#include <cstdio>

#include "qmmemory.h"
#include "qmsession.h"
#include "qmsignal.h"
#include "qmstream.h"

int main(int argc, char** argv) {
    g_trace.traceIn("main");
    if (!pSession) pSession = new qmSession;
    const int result = pSession->run(argc, argv);
    qmFreeAll();
    g_trace.traceOut("main");
    if (tsSignal::foreignFault()) {
        // A thread of the library is parked in the fault handler for good: the library's own
        // clean-up at exit would wait for it. Every file is complete and flushed; leave now.
        std::fflush(nullptr);
        _exit(result);
    }
    return result;
}
