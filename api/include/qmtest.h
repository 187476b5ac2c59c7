// qmTest: the base of every test (one library function measured over its parameter sets);
// zkTest: a test of a ZKR library function.
#pragma once
#include <ctime>
#include <utility>
#include "qmlist.h"
#include "qmmemory.h"
#include "qmreport.h"
#include "qmresult.h"
#include "qmstream.h"
#include "qmstring.h"
#include "qmtool.h"
#include "zkfunc.h"
#include "zkrcore.h"

class qmConditions;
class qmParameter;
class qmCacheIterator;
class qmObject;
class zkVector;
template <class T> class qmStepIterator;

// "name/description/macro", as "TimiAdd//ZK_REG".
struct qmTestInfo {
    qmTestInfo() = default;
    explicit qmTestInfo(const qmString& id);
    qmString name;
    qmString description;
    qmString macro;
};

using qmLoopEntry = qmResult (*)(int numLoops, long long* clocks);
using qmStatEntry = qmResult (*)(int* numCalls, long long* clocks);
using qmCallEntry = int (*)();
using qmOldEntry = qmResult (*)(qmTool&, int);

class qmTest : public qmVectorPlacement {
public:
    qmTest(qmOldEntry old, const qmString& funcName, const qmString& srcPath, const qmString& info);
    qmTest(qmLoopEntry loop, qmStatEntry stat, const qmString& funcName, const qmString& srcPath,
           const qmString& info);
    qmTest(qmCallEntry call, qmCallEntry init, qmLoopEntry loop, qmStatEntry stat, const qmString& funcName,
           const qmString& srcPath, const qmString& info);

    // Virtual operations, in slot order.
    virtual ~qmTest();
    virtual bool tobeRun(qmConditions& conditions);
    virtual qmResult run();
    virtual int compareFunc(const qmTest* other) const;
    virtual void putTableResult_Deprecated(qmResult r);
    virtual bool canStart() { return true; }
    virtual void flushStart() {}
    virtual bool canContinue();
    virtual bool initData() { return true; }
    virtual void flushData() {}
    virtual qmResult runTiming();
    virtual double getFlops() { return 0.0; }
    virtual double getDivisor() { return 1.0; }
    virtual qmString getUnit() { return "call"; }
    virtual void funcToCstrm();
    virtual bool parmsFromIstrm();
    virtual void parmsToOstrm();
    virtual void parmsToCstrm();
    virtual void parmsNameToCstrm();
    virtual void resultToCstrm(qmResult r);
    virtual void constToOstrm() {}
    virtual void beginTest() {}
    virtual void endTest() {}
    virtual qmString getComment();
    virtual bool isFloatFunction() const { return false; }
    virtual bool isHotLine() const;
    virtual void initSettings();
    virtual void printAllMemoryBlocks(const qmString& title);
    virtual qmString formatClocks(double x);
    virtual qmString regInfo();
    virtual void putTableParms();
    virtual void putTableResult(qmResult r);
    // The JSON record (-j) of the result row just filled in the table stream.
    std::string jsonRecord(qmResult r);
    virtual void putTextParms();
    virtual void putTextParms(MessageLevel level);
    virtual void loopData();
    virtual void outputResult(qmResult r);
    virtual void outputConst();
    virtual void outputRegInfo();
    virtual void putTextResult(qmResult r);

    // Quiet dry run that only registers the test's parameters.
    void startAndStop();
    // Attaches the cache iterator (-C) to a size parameter and the object whose size is watched.
    void regCacheParm(qmStepIterator<int>& parm, qmObject* object,
                      bool (*setValue)(qmParameter*, int, int, bool) = nullptr);
    void regCacheParm(qmStepIterator<ZkriSize>& parm, qmObject* object,
                      bool (*setValue)(qmParameter*, int, int, bool) = nullptr);
    void addParameter(qmParameter* p) { m_parms.append(p); }
    const qmList<qmParameter*>& parameters() const { return m_parms; }
    qmCacheIterator* cacheIterator() const { return m_cacheIter; }

    const qmString& funcName() const { return m_funcName; }
    const qmString& srcName() const { return m_srcName; }
    const qmTestInfo& info() const { return m_info; }
    qmResult result() const { return m_result; }
    time_t createTime() const { return m_createTime; }
    time_t startTime() const { return m_startTime; }
    // The test's title and result records, onto the console and the summary table.
    void writeTitle() const;
    void writeResultRecord() const;
    // Facts for the test's title and result records.
    qmTestTitleFacts titleFacts() const;
    qmTestResultFacts resultFacts() const;
    time_t endTime() const { return m_endTime; }
    bool x87Changed() const { return m_x87Changed; }
    bool sseChanged() const { return m_sseChanged; }
    const qmTool& tool() const { return m_tool; }
    qmTool& tool() { return m_tool; }
    bool hasLoopEntry() const { return m_loop != nullptr; }
    bool hasStatEntry() const { return m_stat != nullptr; }

    // Raises the running result of the test in progress (results only rise).
    static void raiseResult(int r);
    // Reserved copies of every live test vector: taken before a Set&Use measurement, restored before
    // each of its calls.
    static void reserveAllVectors();
    static void resetAllVectors();

    // Class-wide state.
    static qmResult m_currentResult;
    static int m_hot;            // 0 none, 1 -H, 2 -HONLY
    static bool m_cache;         // -C: in cache and out of cache
    static int m_numParmsColm;   // parameter columns of the result table
    static int m_numResultColm;  // result columns of the result table

protected:
    time_t m_createTime = 0;
    time_t m_endTime = 0;
    time_t m_startTime = 0;  // start of the last run
    qmString m_funcName;
    qmString m_srcName;
    qmTestInfo m_info;
    qmTool m_tool;
    qmResult m_result = QM_UNDEFINED;
    qmLoopEntry m_loop = nullptr;
    qmStatEntry m_stat = nullptr;
    qmCallEntry m_call = nullptr;
    qmCallEntry m_init = nullptr;
    qmOldEntry m_old = nullptr;
    bool m_firstLine = true;
    bool m_x87Changed = false;
    bool m_sseChanged = false;
    qmList<qmParameter*> m_parms;
    qmCacheIterator* m_cacheIter = nullptr;
    bool m_cacheInvalid = false;

    // initData: this set is passed over on purpose (it does not apply to the function), not a
    // failure. An initData that returns false without it marks a set that cannot run.
    void passSetOver() { m_passSetOver = true; }

private:
    // The row of a set that cannot run: its parameters, the failure and the reason.
    void failSet(qmResult r, const qmString& errors);
    bool m_passSetOver = false;
    qmResult m_setFailure = QM_UNDEFINED;  // the worst failure of a set that could not run
    void construct(const qmString& funcName, const qmString& srcPath, const qmString& info);
    bool stepIniSection();
    void stepsAfterStart();
    qmResult finishRun();
    void measureLine();
    bool startParameters();
    bool advanceParameters();
};

class zkTest : public qmTest {
public:
    template <class... Args>
    explicit zkTest(Args&&... args) : qmTest(std::forward<Args>(args)...), m_func(m_funcName) {}

    bool tobeRun(qmConditions& conditions) override { return qmTest::tobeRun(conditions); }
    qmResult run() override { return qmTest::run(); }
    int compareFunc(const qmTest* other) const override;
    void funcToCstrm() override;
    bool isFloatFunction() const override;
    void printAllMemoryBlocks(const qmString& title) override;
    qmString regInfo() override;
    virtual void printFirstDebugLine(const qmString& title);
    virtual void printLastDebugLine(const qmString& title);
    virtual void printFirstBlockLine(int index, qmObject* object, int size);
    virtual void printLastBlockLine(int index, qmObject* object);
    virtual void printVectorBlock(zkVector* v);
    virtual void printByteBlock(void* p, int size);

    // Library status: 0 -> 1 (OK); a warning -> 5 (or 1 silently with m_checkErrorsOnly); an error -> 9.
    static qmResult checkStatus(int status, const qmString& where);
    qmResult checkStatus(int status) const { return checkStatus(status, m_funcName); }

    const zkFunc& func() const { return m_func; }
    void setFunc(const zkFunc& f) { m_func = f; }

    static bool m_checkErrorsOnly;

protected:
    zkFunc m_func;
};
