// The test list: registration, sorting, selection, running and counting.
#include "qmtestlist.h"

#include "qmconditions.h"
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

bool qmTestList::runTests(qmConditions& conditions) {
    beforeAll();
    for (qmTest* t : m_tests) {
        if (!isSelected(t, conditions, true)) continue;
        m_pCurrentTest = t;
        beforeTest();
        const qmResult r = t->run();
        afterTest(t);
        if (!(r == QM_UNDEFINED && t->result() == QM_OK)) plus(r);
        m_pCurrentTest = nullptr;
    }
    return m_count[QM_FAIL] != 0;
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
