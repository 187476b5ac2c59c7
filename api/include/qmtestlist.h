// The ordered list of registered tests: sorting, running the selected ones and counting results.
#pragma once
#include <ctime>
#include "qmlist.h"
#include "qmresult.h"
#include "qmstring.h"

class qmTest;
class qmConditions;
class qmParameter;

class qmTestList {
public:
    virtual ~qmTestList() = default;
    void add(qmTest* t) { m_tests.append(t); }
    int size() const { return m_tests.size(); }
    qmList<qmTest*>& tests() { return m_tests; }
    const qmList<qmTest*>& tests() const { return m_tests; }

    // Stable sort by function ("less" is compareFunc < 0; a null entry is never less).
    void sortFunc();
    // Runs every selected test; true when any failed.
    bool runTests(qmConditions& conditions);
    // Dry-runs the selected tests to collect the parameters common to all of them.
    void selectCommonParms(qmConditions& conditions, qmList<qmParameter*>& common);
    // Whether a test passes the conditions and the -F start-from rule
    // (the start-from text is cleared by the first test that contains it when `consume` is set).
    bool isSelected(qmTest* t, qmConditions& conditions, bool consume);
    // Tests a run with these conditions would run (for the progress line); changes nothing.
    int countSelected(qmConditions& conditions) const;

    void plus(int result);
    int count(int result) const { return result >= 0 && result < QM_RESULT_COUNT ? m_count[result] : 0; }
    int total() const { return m_total; }
    // Selected tests left out because the run was stopped (interrupted, or the library's state lost).
    int notRun() const { return m_notRun; }

    time_t m_startTime = 0;
    time_t m_endTime = 0;
    static qmString m_startFunc;      // -F
    static qmTest* m_pCurrentTest;    // the test being run

private:
    virtual void beforeAll() {}
    virtual void beforeTest() {}
    virtual void afterTest(qmTest*) {}
    bool stopAfter(const qmTest* t);
    void reportNotRun(const qmList<qmTest*>& notRun);

    qmList<qmTest*> m_tests;
    int m_total = 0;
    int m_notRun = 0;
    int m_count[QM_RESULT_COUNT] = {};
};

// Process-wide registration state, filled before main by the test modules.
extern qmTestList* pTestList;
bool qmRegTest(qmTest* test);
bool qmRegHotFunction(const qmString& name);
bool qmRegLibInfo(const qmString& info);
const qmList<qmString>* qmHotFunctions();  // null until the first registration
const qmList<qmString>* qmLibInfo();
