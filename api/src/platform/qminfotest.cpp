#include "qminfotest.h"

#include "qmcpuid.h"

__qmInfoTest::__qmInfoTest(const qmString& name, const qmString& description)
    : qmTest(static_cast<qmLoopEntry>(nullptr), nullptr, name, __FILE__, name + "/" + description + "/") {}

qmResult __qmInfoTest::run() {
    m_currentResult = QM_OK;
    m_startTime = std::time(nullptr);
    writeTitle();
    {
        // The report is what the test is run for: show it whatever the console level.
        g_ostrm.setMsgLevel(MSG_ERR);
        printInformation();
        g_ostrm.restoreMsgLevel();
    }
    m_result = QM_OK;
    m_endTime = std::time(nullptr);
    writeResultRecord();
    return m_result;
}

void __qmKavroCpuTest::printInformation() { qmPrintCpuInformation(); }

qmTest* qmNewKavroCpuTest() { return new __qmKavroCpuTest; }
