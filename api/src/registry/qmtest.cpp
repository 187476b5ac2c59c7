// The life of one test: the fixed order of steps, the parameter loop, checks and result lines.
#include "qmtest.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "qmcacheiterator.h"
#include "qmconditions.h"
#include "qmexception.h"
#include "qmfpu.h"
#include "qmistream.h"
#include "qmparameter.h"
#include "qmreport.h"
#include "qmsession.h"
#include "qmsignal.h"
#include "qmtestlist.h"
#include "qmzkrenv.h"

qmResult qmTest::m_currentResult = QM_UNDEFINED;
int qmTest::m_hot = 0;
bool qmTest::m_cache = false;
int qmTest::m_numParmsColm = 12;
int qmTest::m_numResultColm = 6;
bool zkTest::m_checkErrorsOnly = false;

qmTestInfo::qmTestInfo(const qmString& id) {
    const int first = id.find('/');
    if (first < 0) {
        name = id;
        return;
    }
    name = id.left(first);
    const int second = id.find('/', first + 1);
    if (second < 0) {
        description = id.substr(first + 1);
        return;
    }
    description = id.substr(first + 1, second - first - 1);
    macro = id.substr(second + 1);
}

// ---------------------------------------------------------------- construction

void qmTest::construct(const qmString& funcName, const qmString& srcPath, const qmString& info) {
    m_createTime = m_endTime = m_startTime = std::time(nullptr);
    m_funcName = funcName;
    m_srcName = srcPath.fileName();
    m_info = qmTestInfo(info);
    initSettings();
}

qmTest::qmTest(qmOldEntry old, const qmString& funcName, const qmString& srcPath, const qmString& info)
    : m_old(old) {
    construct(funcName, srcPath, info);
}

qmTest::qmTest(qmLoopEntry loop, qmStatEntry stat, const qmString& funcName, const qmString& srcPath,
               const qmString& info)
    : m_loop(loop), m_stat(stat) {
    construct(funcName, srcPath, info);
}

qmTest::qmTest(qmCallEntry call, qmCallEntry init, qmLoopEntry loop, qmStatEntry stat, const qmString& funcName,
               const qmString& srcPath, const qmString& info)
    : m_loop(loop), m_stat(stat), m_call(call), m_init(init) {
    construct(funcName, srcPath, info);
}

qmTest::~qmTest() { delete m_cacheIter; }

void qmTest::regCacheParm(qmStepIterator<int>& parm, qmObject* object, bool (*setValue)(qmParameter*, int, int, bool)) {
    delete m_cacheIter;
    m_cacheIter = new qmCacheIteratorInt(parm, object, setValue);
}

void qmTest::regCacheParm(qmStepIterator<ZkriSize>& parm, qmObject* object,
                          bool (*setValue)(qmParameter*, int, int, bool)) {
    delete m_cacheIter;
    m_cacheIter = new qmCacheIteratorSize(parm, object, setValue);
}

void qmTest::initSettings() {
    m_currentResult = QM_UNDEFINED;
    m_firstLine = true;
    m_x87Changed = m_sseChanged = false;
    m_parms.clear();
}

void qmTest::raiseResult(int r) { m_currentResult = qmWorse(m_currentResult, r); }

// ---------------------------------------------------------------- selection and ordering

bool qmTest::tobeRun(qmConditions& conditions) {
    if (!conditions.tobeRun(this)) return false;
    if (m_hot == 2) {
        const qmList<qmString>* hot = qmHotFunctions();
        return hot && hot->contains(m_funcName);
    }
    return true;
}

int qmTest::compareFunc(const qmTest* other) const { return m_funcName.str().compare(other->m_funcName.str()); }

int zkTest::compareFunc(const qmTest* other) const { return zkFunc(m_funcName).compare(zkFunc(other->funcName())); }

bool qmTest::isHotLine() const {
    const qmList<qmString>* hot = qmHotFunctions();
    return hot && hot->contains(m_funcName);
}

bool zkTest::isFloatFunction() const { return zkIsFloat(m_func.srcType()) || zkIsFloat(m_func.dstType()); }

// ---------------------------------------------------------------- the run

namespace {
// The innermost step that an exception left, kept while the exception unwinds the tracer.
qmString s_failedStep;

// Runs one named step under the tracer; the step's name names it in error messages.
template <class F>
auto step(const char* name, F&& f) {
    qmTraceScope scope(name);
    try {
        return f();
    } catch (...) {
        if (s_failedStep.empty()) s_failedStep = name;
        throw;
    }
}

// The step to blame: the one an exception left, else the innermost one still traced (a signal
// jumps out without unwinding the tracer).
qmString failedStep() {
    qmString where = s_failedStep.empty() ? g_trace.getCurName() : s_failedStep;
    s_failedStep = qmString();
    return where;
}
}  // namespace

qmResult qmTest::run() {
    qmSignalScope signals;
    const int traceDepth = g_trace.depth();
    const int savedLevel = g_ostrm.outLevel();
    if (QM_SIGNAL_CAUGHT()) {
        initCtrlStatus();  // the handler ran with a fresh floating-point state; restore ours
        g_ostrm.setOutLevel(savedLevel);
        const qmString where = failedStep();
        g_trace.unwindTo(traceDepth);
        m_currentResult = QM_EXCPTFAIL;
        qmException e(tsSignal::getInfo());
        g_ostrm << MSG_ERR << e.msg() << " in " << where << "\n" << MSG_RESTORE;
        return finishRun();
    }
    try {
        m_result = QM_OK;
        m_currentResult = QM_UNDEFINED;
        m_startTime = std::time(nullptr);
        m_tool = g_tool;
        m_parms.clear();
        if (!step("setIniSection", [&] { return g_istrm.setIniSection(m_funcName); })) return QM_UNDEFINED;
        step("beginTest", [&] { beginTest(); });
        step("testTitle", [&] { writeTitle(); });
        stepsAfterStart();
    } catch (const std::exception& ex) {
        const qmString where = failedStep();
        g_trace.unwindTo(traceDepth);
        g_ostrm.setOutLevel(savedLevel);
        m_currentResult = QM_EXCPTFAIL;
        const auto* qe = dynamic_cast<const qmException*>(&ex);
        g_ostrm << MSG_ERR << (qe ? qmString(qe->msg()) : "--ZKR. Exception: " + qmString(ex.what())) << " in "
                << where << "\n" << MSG_RESTORE;
    }
    return finishRun();
}

void qmTest::stepsAfterStart() {
    if (!step("canStart", [&] { return canStart(); })) {
        g_ostrm << MSG_ERR << "-- Can't start timing\n" << MSG_RESTORE;
        raiseResult(QM_DATAFAIL);
    } else {
        if (m_cache && m_cacheIter) m_parms.prepend(m_cacheIter);
        step("parmsFromIstrm", [&] { return parmsFromIstrm(); });
        step("funcToCstrm", [&] { funcToCstrm(); });
        step("parmsNameToCstrm", [&] { parmsNameToCstrm(); });
        if (qmSession::m_nameExit || g_istrm.nameOnly()) {
            raiseResult(QM_OK);
        } else {
            step("outputRegInfo", [&] { outputRegInfo(); });
            step("loopData", [&] { loopData(); });
        }
    }
    step("flushStart", [&] { flushStart(); });
}

qmResult qmTest::finishRun() {
    {
        qmTraceScope scope("testResult");
        m_result = m_currentResult;
        m_endTime = std::time(nullptr);
        writeResultRecord();
    }
    {
        qmTraceScope scope("endTest");
        try {
            endTest();
        } catch (const std::exception&) {
            // the result record is written already; a failing clean-up cannot change it
        }
    }
    return m_result;
}

void qmTest::startAndStop() {
    const int savedLevel = g_ostrm.outLevel();
    g_ostrm.setOutLevel(ERR);
    qmSignalScope signals;
    if (QM_SIGNAL_CAUGHT()) {
        initCtrlStatus();
        g_ostrm << MSG_ERR << qmException(tsSignal::getInfo()).msg() << " in startAndStop of " << m_funcName
                << " test\n" << MSG_RESTORE;
        g_ostrm.setOutLevel(savedLevel);
        return;
    }
    try {
        m_parms.clear();
        beginTest();
        canStart();
        flushStart();
        endTest();
    } catch (const std::exception& ex) {
        const auto* qe = dynamic_cast<const qmException*>(&ex);
        g_ostrm << MSG_ERR << (qe ? qmString(qe->msg()) : qmString(ex.what())) << " in startAndStop of "
                << m_funcName << " test\n" << MSG_RESTORE;
    }
    g_ostrm.setOutLevel(savedLevel);
}

// ---------------------------------------------------------------- the parameter loop

bool qmTest::startParameters() {
    for (qmParameter* p : m_parms)
        if (!p->firstValue()) return false;
    return true;
}

// Odometer: the last parameter moves fastest; false when the first one wraps.
bool qmTest::advanceParameters() {
    for (auto it = m_parms.std().rbegin(); it != m_parms.std().rend(); ++it) {
        if ((*it)->nextValue()) return true;
        if (std::next(it) == m_parms.std().rend()) return false;
        (*it)->firstValue();
    }
    return false;
}

bool qmTest::canContinue() {
    if (m_cacheIter && m_cacheInvalid) {
        m_cacheInvalid = false;
        if (m_cacheIter->repeatValue()) return true;
        m_cacheIter->outputInfo();
        // The sizes cannot be brought within the mode's limits: give the mode up and go on with the
        // next one, the other parameters from their first values.
        if (!m_cacheIter->nextValue()) return false;
        bool after = false;
        for (qmParameter* p : m_parms) {
            if (after) p->firstValue();
            after = after || p == m_cacheIter;
        }
        return true;
    }
    if (m_firstLine) return startParameters();
    return advanceParameters();
}

void qmTest::loopData() {
    m_firstLine = true;
    m_setFailure = QM_UNDEFINED;
    g_cstrm.identicalLinesStart(m_numParmsColm);
    bool firstSet = true;
    do {
        m_vectorNum = 0;
        m_vectorShift = 0;
        if (!step("canContinue", [&] { return canContinue(); })) {
            if (m_firstLine) {
                g_ostrm << MSG_ERR << "-- One of argument list for timing is empty\n" << MSG_RESTORE;
                raiseResult(QM_DATAFAIL);
            }
            break;
        }
        m_firstLine = false;
        m_passSetOver = false;
        g_ostrm.startErrorCapture();  // what initData says on failing is the reason of its row
        const bool ready = step("initData", [&] { return initData(); });
        const qmString initErrors = g_ostrm.stopErrorCapture();
        if (!ready && !m_passSetOver) failSet(QM_DATAFAIL, initErrors);
        if (ready) {
            if (firstSet) {
                outputConst();
                firstSet = false;
            }
            const bool cacheInvalid = m_cacheIter && m_cache && !m_cacheIter->validateSize();
            if (cacheInvalid) {
                m_cacheInvalid = true;
            } else {
                putTextParms(MSG_PERF);
                if (m_tool.callMode) reserveAllVectors();
                if (m_hot == 2 && !isHotLine()) {
                    g_ostrm << "  measuring is omitted: not hot line\n";
                } else {
                    measureLine();
                }
            }
        }
        step("flushData", [&] { flushData(); });
        // An interrupted run ends the loop after the set just written; its line stays whole.
        if (tsSignal::stopRequested()) break;
    } while (m_currentResult < QM_ACCURFAIL);

    if (m_currentResult == QM_UNDEFINED && !tsSignal::stopRequested()) {
        g_ostrm << MSG_ERR << "-- Error while initialization of function data\n" << MSG_RESTORE;
        raiseResult(QM_DATAFAIL);
    }
    // A set that could not run fails the test, after the other sets ran.
    raiseResult(m_setFailure);
    g_cstrm.linePostponeOut(m_numResultColm + m_numParmsColm);
    if (g_cstrm.identicalLinesStop()) {
        g_ostrm << MSG_WARN << "-- Warning: duplicate lines in performance table (csv-file)\n" << MSG_RESTORE;
        raiseResult(g_ostrm.outLevel() < WARN ? QM_OK : QM_DATAWRN);
    }
}

// A set that cannot run (its data could not be made: too large to allocate, refused by its module)
// is named on the console with the reason and leaves a row with the failure in the result table, so
// that the table shows every set asked for. The loop goes on with the next set; the test fails.
void qmTest::failSet(qmResult r, const qmString& errors) {
    // The reason is the last message initData wrote at the error level, without its "--".
    qmString reason;
    for (const qmString& line : errors.parse("\n")) {
        qmString l = line.trimmed();
        while (l.startsWith("-")) l = l.substr(1);
        if (!l.trimmed().empty()) reason = l.trimmed();
    }
    if (reason.empty()) reason = "the test data could not be prepared";
    qmString set;
    for (qmParameter* p : m_parms)
        if (!p->name().empty()) set += " " + p->name() + "=" + p->valueString();
    g_ostrm << MSG_ERR << "-- Parameter set" << set << " cannot run: " << reason << "\n" << MSG_RESTORE;
    putTableParms();
    const int col = m_numParmsColm;
    g_cstrm.setColm(col + 1, getUnit());
    g_cstrm.setColm(col + 4, qmResultName(r));
    std::string cell = reason.str();
    std::replace(cell.begin(), cell.end(), ',', ';');  // a comma would split the cell
    g_cstrm.setColm(col + 5, qmString(cell));
    if (m_hot) g_cstrm.setColm(col + 6, isHotLine() ? "hot" : "");
    g_cstrm.lineOut(m_numParmsColm + m_numResultColm);
    g_ostrm << MSG_PERF
            << qmString::format("    %12s clocks/%s  %12s usec  ", "", getUnit().c_str(), "") + qmResultName(r) + "  " +
                   reason
            << "\n" << MSG_RESTORE;
    m_setFailure = qmWorse(m_setFailure, r);
}

void qmTest::measureLine() {
    printAllMemoryBlocks("before function calls");
    clearCtrlStatus();
    const int level = g_ostrm.outLevel();
    if (level == (ERR | WARN)) g_ostrm.setOutLevel(ERR | WARN | PERF);
    const qmResult timed = step("runTiming", [&] { return runTiming(); });
    g_ostrm.setOutLevel(level);
    int line = timed;
    if (timed == QM_UNDEFINED) {
        g_ostrm << MSG_ERR << "-- Internal test problem: runTiming() function returns undefined result\n"
                << MSG_RESTORE;
        line = QM_FAIL;
    } else {
        printAllMemoryBlocks("after function calls");
    }
    line = qmWorse(line, checkCtrlStatus(m_x87Changed, m_sseChanged));
    if (qmIsWarning(line) && g_ostrm.outLevel() < WARN) line = QM_OK;
    raiseResult(line);
    outputResult(static_cast<qmResult>(line));
}

qmResult qmTest::runTiming() {
    qmTool::m_pResetVectors = &qmTest::resetAllVectors;
    if (m_loop || m_stat || m_call) return m_tool.timing(m_loop, m_stat, m_call, m_init);
    if (m_old) return m_tool.timing(m_old);
    return QM_UNDEFINED;
}

// ---------------------------------------------------------------- library status

qmResult zkTest::checkStatus(int status, const qmString& where) {
    if (status == 0) return QM_OK;
    const bool warning = status > 0;
    if (warning && m_checkErrorsOnly) return QM_OK;
    g_ostrm << (warning ? MSG_WARN : MSG_ERR) << (warning ? "--ZKR WARNING. " : "--ZKR ERROR. ") << "status = "
            << status;
    if (!where.empty()) g_ostrm << " in " << where;
    g_ostrm << ": " << g_zkr.getStatusString(static_cast<ZkrStatus>(status)) << "\n" << MSG_RESTORE;
    if (warning) {
        raiseResult(g_ostrm.outLevel() < WARN ? QM_OK : QM_FUNCWRN);
        return QM_FUNCWRN;
    }
    raiseResult(QM_FUNCFAIL);
    return QM_FUNCFAIL;
}
