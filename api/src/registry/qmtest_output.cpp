// What a test writes: the table heading, one line per parameter set on the console and the result
// table, the registration echo and memory diagnostics.
#include <cstdio>
#include <map>

#include "qmcacheiterator.h"
#include "qmclock.h"
#include "qmistream.h"
#include "qmjson.h"
#include "qmmemory.h"
#include "qmparameter.h"
#include "qmprogress.h"
#include "qmsession.h"
#include "qmtest.h"
#include "qmtestlist.h"
#include "zkvector.h"

namespace {
constexpr int kFuncColumns = 4;  // Function, funcBase, funcDataType, funcDescriptor

// The data object that owns a block, or null for bare buffers and later image planes.
qmObject* qmObjectOf(void* owner) {
    if (!owner || owner == MEM_OBJECT_IS_BUFFER || owner == MEM_OBJECT_IS_SUBOBJECT) return nullptr;
    return static_cast<qmObject*>(owner);
}
}

qmTestTitleFacts qmTest::titleFacts() const { return {m_funcName, m_info.name, m_info.description, m_srcName}; }

qmTestResultFacts qmTest::resultFacts() const {
    qmTestResultFacts f;
    f.function = m_funcName;
    f.className = m_info.name;
    f.x87Modified = m_x87Changed;
    f.sseModified = m_sseChanged;
    f.test = m_info.name;
    f.startTime = m_startTime;
    f.endTime = m_endTime;
    f.source = m_srcName;
    f.result = m_result;
    f.exeName = qmSession::m_exePath;
    return f;
}

void qmTest::writeTitle() const {
    const qmReportTestTitle title(titleFacts());
    g_ostrm << title;
    g_ustrm << title;
}

void qmTest::writeResultRecord() const {
    const qmReportTestResult record(resultFacts());
    g_ostrm << record;
    g_ustrm << record;
    g_ostrm.flush();
    g_cstrm.flush();
    g_ustrm.flush();
}

qmString qmTest::formatClocks(double x) {
    if (x <= 0) return qmString();
    if (x < 0.0001 || x > 1e7) return qmString::format("%.3e", x);
    const int decimals = x >= 100 ? 0 : x >= 10 ? 1 : x >= 1 ? 2 : x >= 0.1 ? 3 : x >= 0.01 ? 4 : x >= 0.001 ? 5 : 6;
    return qmString::format("%.*f", decimals, x);
}

qmString qmTest::getComment() {
    // The tool's note says what went wrong; a successful line needs no note.
    qmString c = m_tool.status > QM_OK ? m_tool.comment : qmString();
    if (m_cacheIter && m_cache) {
        const qmString mode = m_cacheIter->getComment();
        if (!mode.empty()) c = c.empty() ? mode : c + " " + mode;
    }
    return c;
}

// ---------------------------------------------------------------- table heading

void qmTest::funcToCstrm() { g_cstrm.setColm(0, m_funcName); }

void zkTest::funcToCstrm() {
    qmString base, type, descr;
    m_func.parseFunction(base, type, descr);
    g_cstrm.setColm(0, m_funcName);
    g_cstrm.setColm(1, base);
    g_cstrm.setColm(2, type);
    g_cstrm.setColm(3, descr);
}

bool qmTest::parmsFromIstrm() {
    // Module parameters are shared by the module's tests: each test starts from the definition the
    // parameter had before the first test read its own section, never from the previous test's.
    static std::map<qmParameter*, qmString> s_baseDefinition;
    for (qmParameter* p : m_parms) {
        if (p->name().empty()) continue;
        const auto [it, first] = s_baseDefinition.try_emplace(p, p->defaultString());
        if (!first) p->translate(it->second);
        p->fromIStream(g_istrm);
    }
    return true;
}

void qmTest::parmsNameToCstrm() {
    // The heading fills the function columns of the next result row; the names go to the name table.
    qmString cells[kFuncColumns];
    for (int i = 0; i < kFuncColumns; ++i) g_cstrm.getColm(i, cells[i]);
    auto writeNames = [&](qmCStream& s) {
        for (int i = 0; i < kFuncColumns; ++i) s.setColm(i, cells[i]);
        int col = kFuncColumns;
        for (qmParameter* p : m_parms)
            if (!p->name().empty()) s.setColm(col++, p->name());
        s.lineOut(m_numParmsColm);
    };
    if (qmSession::m_nameMode & 2) writeNames(g_qstrm);
    g_cstrm.tableFlush();
    if (qmSession::m_nameMode & 1) writeNames(g_cstrm);
}

// ---------------------------------------------------------------- one line

void qmTest::parmsToCstrm() {
    funcToCstrm();
    int col = kFuncColumns;
    for (qmParameter* p : m_parms) {
        if (p->name().empty()) continue;
        qmCStream cell;
        p->toCStream(cell);
        qmString text;
        cell.getColm(0, text);
        g_cstrm.setColm(col++, text);
    }
}

void qmTest::putTableParms() { parmsToCstrm(); }

void qmTest::resultToCstrm(qmResult r) {
    const double perUnit = m_tool.funcClocks / getDivisor();
    const double usec = m_tool.funcClocks / qmCpuTicker::getFreq();
    const double flops = getFlops();
    int col = m_numParmsColm;
    g_cstrm.setColm(col++, formatClocks(perUnit));
    g_cstrm.setColm(col++, getUnit());
    g_cstrm.setColm(col++, formatClocks(usec));
    g_cstrm.setColm(col++, flops > 0 && usec > 0 ? qmString::format("%.1f", flops / usec) : qmString());
    g_cstrm.setColm(col++, qmResultName(r));
    qmString comment = m_tool.params;
    const qmString extra = getComment();
    if (!extra.empty()) comment = comment.empty() ? extra : comment + " " + extra;
    g_cstrm.setColm(col++, comment);
    if (m_hot) g_cstrm.setColm(col++, isHotLine() ? "hot" : "");
}

void qmTest::putTableResult(qmResult r) {
    putTableParms();
    resultToCstrm(r);
    if (g_json.active()) g_json.addRecord(jsonRecord(r));
    g_progress.parameterSet();
    g_cstrm.lineOut(m_numParmsColm + m_numResultColm);
}

// The JSON record of the row just filled: the same texts as the table's cells for the function and
// its parameters (so that readers match a line across both forms), numbers as numbers.
std::string qmTest::jsonRecord(qmResult r) {
    using qmJson::number;
    using qmJson::quote;
    qmString cells[kFuncColumns];
    for (int i = 0; i < kFuncColumns; ++i) g_cstrm.getColm(i, cells[i]);
    std::vector<std::string> params;
    int col = kFuncColumns;
    for (qmParameter* p : m_parms) {
        if (p->name().empty()) continue;
        qmString value;
        g_cstrm.getColm(col++, value);
        params.push_back(qmJson::object({{"name", quote(p->name().str())}, {"value", quote(value.str())}}));
    }
    const double perUnit = m_tool.funcClocks / getDivisor();
    const double usec = m_tool.funcClocks / qmCpuTicker::getFreq();
    const double flops = getFlops();
    const bool figure = perUnit > 0 && r != QM_UNDEFINED && !qmIsFailure(r);
    auto nullable = [](const qmString& t) { return t.empty() ? std::string("null") : quote(t.str()); };
    return qmJson::object({{"function", quote(cells[0].str())},
                           {"base", nullable(cells[1])},
                           {"type", nullable(cells[2])},
                           {"descriptor", nullable(cells[3])},
                           {"class", quote(m_info.name.str())},
                           {"params", qmJson::array(params)},
                           {"clocks", figure ? number(perUnit) : "null"},
                           {"unit", quote(getUnit().str())},
                           {"time_usec", figure && usec > 0 ? number(usec) : "null"},
                           {"mflops", flops > 0 && usec > 0 ? number(flops / usec) : "null"},
                           {"result", quote(qmResultName(r))},
                           {"comment", quote(getComment().str())},
                           {"method_params", quote(m_tool.params.str())},
                           {"accuracy", number(m_tool.achievedAccuracy)}});
}

void qmTest::putTableResult_Deprecated(qmResult r) { putTableResult(r); }

void qmTest::putTextParms() { putTextParms(MSG_PERF); }

void qmTest::putTextParms(MessageLevel level) {
    g_ostrm << level << " ";
    for (qmParameter* p : m_parms)
        if (!p->name().empty()) g_ostrm << " " << p->name() << "=" << p->valueString();
    g_ostrm << "\n" << MSG_RESTORE;
}

void qmTest::parmsToOstrm() { putTextParms(MSG_PERF); }

void qmTest::putTextResult(qmResult r) {
    const double perUnit = m_tool.funcClocks / getDivisor();
    const double usec = m_tool.funcClocks / qmCpuTicker::getFreq();
    qmString line = qmString::format("    %12s clocks/%s  %12s usec", formatClocks(perUnit).c_str(),
                                     getUnit().c_str(), formatClocks(usec).c_str());
    const double flops = getFlops();
    if (flops > 0 && usec > 0) line += qmString::format("  %10.1f MFlops", flops / usec);
    line += qmString("  ") + qmResultName(r);
    if (!m_tool.params.empty()) line += "  " + m_tool.params;
    const qmString comment = getComment();
    if (!comment.empty() && r != QM_OK) line += "  " + comment;
    g_ostrm << MSG_PERF << line << "\n" << MSG_RESTORE;
}

void qmTest::outputResult(qmResult r) {
    putTableResult(r);
    putTextResult(r);
}

void qmTest::outputConst() { constToOstrm(); }

qmString qmTest::regInfo() {
    qmString t = "   Test has been registered";
    if (!m_info.macro.empty()) t << " by " << m_info.macro << " macro";
    qmList<qmString> entries;
    if (m_loop) entries.append("loopMethod");
    if (m_stat) entries.append("statMethod");
    if (m_old) entries.append("oldMethod");
    if (m_call) entries.append(m_tool.callMode ? "funcCall with Set&Use" : "funcCall");
    if (m_init) entries.append("funcInit");
    if (entries.empty()) return t + " without any function to call.\n No standard timing method is available\n";
    t += " with ";
    bool first = true;
    for (const qmString& e : entries) {
        t << (first ? "" : ", ") << e;
        first = false;
    }
    qmString used;
    if (m_tool.callMode && m_call)
        used = "funcCall";
    else if (m_tool.method == 2)
        used = m_stat ? "statMethod" : m_loop ? "loopMethod" : "funcCall";
    else
        used = m_loop ? "loopMethod" : m_stat ? "statMethod" : m_call ? "funcCall" : "oldMethod";
    return t + ".\n   " + used + " is called for measuring.\n";
}

qmString zkTest::regInfo() { return qmTest::regInfo(); }

void qmTest::outputRegInfo() { g_ostrm << MSG_INFO << regInfo() << MSG_RESTORE; }

// ---------------------------------------------------------------- memory diagnostics

void qmTest::printAllMemoryBlocks(const qmString& title) {
    if (g_mstrm.numOutputs() > 0) {
        static bool headingWritten = false;
        qmMemoryTable(g_mstrm, !headingWritten);
        headingWritten = true;
    }
    if (!g_ostrm.beginMessage(MSG_MEMINFO)) return;
    g_ostrm << " - memory blocks " << title << ":\n";
    int size = 0;
    void* owner = nullptr;
    int index = 0;
    for (void* p = qmMallocFirst(&size, &owner); p; p = qmMallocNext(&size, &owner))
        g_ostrm << "   block " << index++ << ": size " << size << "\n";
    g_ostrm.endMessage();
}

void zkTest::printAllMemoryBlocks(const qmString& title) {
    qmTest::printAllMemoryBlocks(title);
    if (!g_ostrm.beginMessage(MSG_DATA)) return;
    printFirstDebugLine(title);
    int size = 0;
    void* owner = nullptr;
    int index = 0;
    for (void* p = qmMallocFirst(&size, &owner); p; p = qmMallocNext(&size, &owner), ++index) {
        auto* object = qmObjectOf(owner);
        printFirstBlockLine(index, object, size);
        if (auto* v = dynamic_cast<zkVector*>(object))
            printVectorBlock(v);
        printLastBlockLine(index, object);
    }
    printLastDebugLine(title);
    g_ostrm.endMessage();
}

void zkTest::printFirstDebugLine(const qmString& title) {
    g_ostrm << "---- data of " << m_funcName << " " << title << " ----\n";
}

void zkTest::printLastDebugLine(const qmString& title) { g_ostrm << "---- end of data " << title << " ----\n"; }

void zkTest::printFirstBlockLine(int index, qmObject* object, int size) {
    g_ostrm << " block " << index << " (" << (object ? object->objectInfo() : qmString("buffer")) << "), " << size
            << " bytes:\n";
}

void zkTest::printLastBlockLine(int index, qmObject*) { g_ostrm << " end of block " << index << "\n"; }

void zkTest::printVectorBlock(zkVector* v) {
    g_ostrm << (zkIsComplex(v->type()) ? v->vectorStringCplx() : v->vectorStringReal()) << "\n";
}

void zkTest::printByteBlock(void* p, int size) {
    qmString t;
    const auto* bytes = static_cast<const unsigned char*>(p);
    for (int i = 0; i < size; ++i) t += qmString::format(" %02X", bytes[i]);
    g_ostrm << t << "\n";
}

// ---------------------------------------------------------------- Set&Use

void qmTest::reserveAllVectors() { zkVector::reserveAllVectors(); }

void qmTest::resetAllVectors() { zkVector::restoreAllVectors(); }
