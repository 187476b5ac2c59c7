// The process entry: runs the registered session (or a default one) and frees all test memory.
#include "qmmemory.h"
#include "qmsession.h"
#include "qmstream.h"

int main(int argc, char** argv) {
    g_trace.traceIn("main");
    if (!pSession) pSession = new qmSession;
    const int result = pSession->run(argc, argv);
    qmFreeAll();
    g_trace.traceOut("main");
    return result;
}
