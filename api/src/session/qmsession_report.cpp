// What the session writes around the tests: the report title, the result table's column titles,
// the -e listing, the footer with the summary, and the end-of-run signal file.
#include <ctime>

#include "qmclock.h"
#include "qmcpuid.h"
#include "qmexports.h"
#include "qmreport.h"
#include "qmsession.h"
#include "qmtest.h"
#include "qmtestlist.h"

namespace {
qmTitleFacts titleFacts() {
    qmTitleFacts f;
    f.version = QM_version;
    f.startTime = pTestList->m_startTime;
    qmFillSystemFacts(f);
    f.processor = cpuInfo();
    // The -e listing comes before the run registers the library texts: it reads the getters itself.
    if (const qmList<qmString>* libs = qmLibInfo())
        f.libraries = *libs;
    else
        f.libraries = qmZkrVersionTexts();
    f.maxCacheBytes = qmGetMaxCacheSizeB();
    return f;
}

qmSummaryFacts summaryFacts() {
    qmSummaryFacts f;
    f.total = pTestList->total();
    for (int r = 0; r < QM_RESULT_COUNT; ++r) f.count[r] = pTestList->count(r);
    f.startTime = pTestList->m_startTime;
    f.endTime = pTestList->m_endTime;
    f.notRun = pTestList->notRun();
    return f;
}
}  // namespace

void qmSession::outputHeader() {
    const qmReportTitle title(titleFacts());
    g_ostrm << title;
    g_cstrm << title;
    g_qstrm << title;
    g_ustrm << title;
    g_ustrm << qmReportTestResult();
}

void qmSession::outputFooter() {
    const qmReportEnd end(summaryFacts());
    g_ostrm << MSG_ERR << end << MSG_RESTORE;
    g_ustrm << end;
    g_ostrm.flush();
    g_cstrm.flush();
    g_ustrm.flush();
}

void qmSession::outputSignal() {
    if (m_sglName.empty()) return;
    const int seconds = static_cast<int>(std::difftime(pTestList->m_endTime, pTestList->m_startTime));
    qmString text = qmReportFormat::getTimeStr(seconds) + "\n";
    text += std::ctime(&pTestList->m_endTime);  // ctime ends its own line; a blank line follows
    text += "\n";
    // Complete or absent: a waiting program never sees a part of it. A file that cannot be opened
    // is reported and leaves the run's result as it is; a failed write marks the output as lost.
    qmWriteWholeFile(m_sglName, text);
}

void qmSession::listTests(int mode) {
    const qmReportTitle title(titleFacts());
    g_ostrm << title;
    g_cstrm << title;
    qmListFacts facts;
    facts.mode = mode;
    // List what a run would measure: the start-from text is consumed as a run consumes it.
    const qmString startFunc = qmTestList::m_startFunc;
    for (qmTest* t : pTestList->tests()) {
        if (!pTestList->isSelected(t, m_conditions, true)) continue;
        if (mode == 0)
            facts.tested.append({t->funcName(), t->info().name});
        else
            facts.applied.append(t->funcName());
    }
    qmTestList::m_startFunc = startFunc;
    if (mode != 0) facts.exported = qmLibraryExports();
    const qmReportList list(facts);
    g_ostrm << list;
    g_cstrm << list;
}

// ---------------------------------------------------------------- result table columns

void qmSession::funcTitleToCStream() {
    g_cstrm << "Function" << "funcBase" << "funcDataType" << "funcDescriptor";
}

void qmSession::parmsTitleToCStream() {
    for (int i = 1; i <= qmTest::m_numParmsColm - 4; ++i) g_cstrm << qmString::format("Parm%d", i);
}

void qmSession::resultTitleToCStream() {
    g_cstrm << "Clocks" << "Unit" << "Time (usec)" << "MFlops" << "Result" << "Comment";
    if (qmTest::m_hot) g_cstrm << "Interest";
}

void qmSession::putTableTitleLine() {
    funcTitleToCStream();
    parmsTitleToCStream();
    resultTitleToCStream();
    g_cstrm.tableOut();
    g_cstrm.tableFlush();
}

void qmSession::putTableTitle() {
    qmTest::m_numResultColm = qmTest::m_hot ? 7 : 6;
    putTableTitleLine();
}
