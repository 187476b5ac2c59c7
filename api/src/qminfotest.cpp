#include "qminfotest.h"

#include "qmcpuid.h"
#include "qmreport.h"

__qmInfoTest::__qmInfoTest(const qmString& name, const qmString& description)
    : qmTest(static_cast<qmLoopEntry>(nullptr), nullptr, name, __FILE__, name + "/" + description + "/") {}

qmResult __qmInfoTest::run() {
    m_currentResult = QM_OK;
    m_startTime = std::time(nullptr);
    qmReportTestTitle title(titleFacts());
    g_ostrm << title;
    g_ustrm << title;
    printInformation();
    m_result = QM_OK;
    m_endTime = std::time(nullptr);
    qmReportTestResult record(resultFacts());
    g_ostrm << record;
    g_ustrm << record;
    g_ostrm.flush();
    return m_result;
}

void __qmKavroCpuTest::printInformation() { qmPrintCpuInformation(); }

qmTest* qmNewKavroCpuTest() { return new __qmKavroCpuTest; }
