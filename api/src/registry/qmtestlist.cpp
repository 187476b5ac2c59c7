// The test list: registration, sorting, selection, running and counting.
#include "qmtestlist.h"

#include <csignal>

#include "qmconditions.h"
#include "qmprogress.h"
#include "qmsignal.h"
#include "qmstream.h"
#include "qmtest.h"

qmTestList* pTestList = nullptr;
qmString qmTestList::m_startFunc;
qmTest* qmTestList::m_pCurrentTest = nullptr;

namespace {
qmList<qmString>* s_hot = nullptr;
qmList<qmString>* s_libInfo = nullptr;
}  // namespace

bool qmRegTest(qmTest* test) {
    if (!pTestList) pTestList = new qmTestList;
    pTestList->add(test);
    return true;
}

bool qmRegHotFunction(const qmString& name) {
    if (!s_hot) s_hot = new qmList<qmString>;
    s_hot->append(name);
    return true;
}

bool qmRegLibInfo(const qmString& info) {
    if (!s_libInfo) s_libInfo = new qmList<qmString>;
    if (s_libInfo->contains(info)) return false;
    s_libInfo->append(info);
    return true;
}

const qmList<qmString>* qmHotFunctions() { return s_hot; }
const qmList<qmString>* qmLibInfo() { return s_libInfo; }

// The functions that the hot list singles out for the 'Interest' column and -HONLY.
#define QM_HOT(name) bool hot_##name = qmRegHotFunction(#name);
QM_HOT(zkriCopy_8u_C1R)
QM_HOT(zkriCrossCorrFull_NormLevel_32f_C1R)
QM_HOT(zkriDCT8x8Inv_16s_C1I)
QM_HOT(zkriDCT8x8Inv_16s8u_C1R)
QM_HOT(zkriDilate3x3_8u_C1R)
QM_HOT(zkriFFTFwd_RToPack_32f_C1R)
QM_HOT(zkriFilter_8u_C1R)
QM_HOT(zkriFilterMedian_8u_C1R)
QM_HOT(zkriResize_8u_C1R)
QM_HOT(zkriResizeSqrPixel_8u_C3R)
#undef QM_HOT

void qmTestList::sortFunc() {
    if (m_tests.size() < 2) return;
    m_tests.sort([](const qmTest* a, const qmTest* b) { return a && b && a->compareFunc(b) < 0; });
}

bool qmTestList::isSelected(qmTest* t, qmConditions& conditions, bool consume) {
    if (!t->tobeRun(conditions)) return false;
    if (!m_startFunc.empty()) {
        if (!t->funcName().contains(m_startFunc)) return false;
        if (consume) m_startFunc = qmString();
    }
    return true;
}

void qmTestList::plus(int result) {
    ++m_total;
    if (result >= 0 && result < QM_RESULT_COUNT) ++m_count[result];
    if (qmIsWarning(result) && result != QM_WARNING) ++m_count[QM_WARNING];
    if (qmIsFailure(result) && result != QM_FAIL) ++m_count[QM_FAIL];
}

int qmTestList::countSelected(qmConditions& conditions) const {
    qmString start = m_startFunc;
    int n = 0;
    for (qmTest* t : m_tests) {
        if (!t->tobeRun(conditions)) continue;
        if (!start.empty()) {
            if (!t->funcName().contains(start)) continue;
            start = qmString();
        }
        ++n;
    }
    return n;
}

bool qmTestList::runTests(qmConditions& conditions) {
    beforeAll();
    bool stopped = false;
    qmList<qmTest*> notRun;
    g_progress.begin(countSelected(conditions));
    int number = 0;
    for (qmTest* t : m_tests) {
        if (!isSelected(t, conditions, true)) continue;
        if (stopped) {
            notRun.append(t);
            continue;
        }
        g_progress.test(++number, t->funcName().str());
        m_pCurrentTest = t;
        beforeTest();
        const qmResult r = t->run();
        afterTest(t);
        if (!(r == QM_UNDEFINED && t->result() == QM_OK)) plus(r);
        m_pCurrentTest = nullptr;
        stopped = stopAfter(t);
    }
    g_progress.end();
    reportNotRun(notRun);
    return m_count[QM_FAIL] != 0;
}

// After a fault on a thread the framework did not start, the library's state (its workers, locks
// and buffers) can no longer be trusted; after SIGINT or SIGTERM the user wants the run to end.
// Either way the run stops here and closes in order.
bool qmTestList::stopAfter(const qmTest* t) {
    if (const int sig = tsSignal::foreignFault()) {
        g_ostrm << MSG_ERR << "-- " << t->funcName() << ": fatal signal (" << tsSignal::getInfo(sig)
                << ") on a thread the framework did not start; the library state cannot be trusted, the run stops\n"
                << MSG_RESTORE_FLUSH;
        return true;
    }
    if (const int sig = tsSignal::stopRequested()) {
        g_ostrm << MSG_ERR << "-- Run interrupted by " << tsSignal::stopName(sig)
                << " during " << t->funcName() << "; the run stops\n" << MSG_RESTORE_FLUSH;
        return true;
    }
    return false;
}

void qmTestList::reportNotRun(const qmList<qmTest*>& notRun) {
    if (notRun.empty()) return;
    m_notRun = static_cast<int>(notRun.size());
    g_ostrm << MSG_ERR << "-- Tests not run: " << m_notRun << "\n";
    for (const qmTest* t : notRun) g_ostrm << "--   not run: " << t->funcName() << "\n";
    g_ostrm << MSG_RESTORE_FLUSH;
}

void qmTestList::selectCommonParms(qmConditions& conditions, qmList<qmParameter*>& common) {
    const qmString startFunc = m_startFunc;  // a dry run must not consume the start-from text
    bool first = true;
    for (qmTest* t : m_tests) {
        if (!isSelected(t, conditions, true)) continue;
        t->startAndStop();
        if (first) {
            common = t->parameters();
            first = false;
            continue;
        }
        qmList<qmParameter*> kept;
        for (qmParameter* p : common)
            if (t->parameters().contains(p)) kept.append(p);
        common = kept;
    }
    m_startFunc = startFunc;
}
