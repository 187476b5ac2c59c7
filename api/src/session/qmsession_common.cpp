// The data common to all tests, read once before they run: the timing method with its limits, the
// parameters the selected tests share, and the misalignment of the test data.
#include "qmistream.h"
#include "qmmapiterator.h"
#include "qmmemory.h"
#include "qmreport.h"
#include "qmsession.h"
#include "qmstepiterator.h"
#include "qmtool.h"

namespace {

// Points the parameter input at the console while a part of the common data is asked.
class qmConsoleScope {
public:
    explicit qmConsoleScope(bool interactive) {
        if (interactive)
            g_istrm.setIStream(new i_stream(stdin));
        else
            g_istrm.deleteIStream();
    }
    ~qmConsoleScope() { g_istrm.deleteIStream(); }
};

template <class Parm>
auto readValue(Parm& p) {
    p.fromIStream(g_istrm);
    p.firstValue();
    return p.value();
}

// The misalignment in units: stored modulo 64. A negative value would place a buffer before the
// start of its block, so it is refused ("Invalid value of VectorAlign = -5") like a value that is no
// number at all.
class qmVectorAlignParm : public qmDefault_NSC<int> {
public:
    using qmDefault_NSC<int>::qmDefault_NSC;
    int validItem(qmString& item) override {
        const int v = stringToValue(item);
        if (v < 0) item.setError();
        return v % 64;
    }
};

// The mutual shift in bytes: a multiple of 64 (the low six bits cleared). Shifts accumulate from
// buffer to buffer and wrap at SHIFT_WRAP, so a negative shift (which would place buffers before
// their blocks) and one of SHIFT_WRAP or more are refused.
class qmVectorShiftParm : public qmDefault_NSC<int> {
public:
    using qmDefault_NSC<int>::qmDefault_NSC;
    int validItem(qmString& item) override {
        const int v = stringToValue(item);
        if (v < 0 || v >= qmVectorPlacement::SHIFT_WRAP) item.setError();
        return v & ~63;
    }
};

}  // namespace

qmString qmSession::getEnterTitle(const qmString& title) {
    qmReportFormat f(1, -79, -79, -79, -79, -79);
    return f.firstLine() + f.getLine(title) + f.lastLine();
}

int qmSession::readTimingMethod() {
    qmTool preset;
    if (initTimingMethod)
        initTimingMethod(preset);
    else
        preset.setMethodAuto();

    const bool interactive = (m_askMode & 1) != 0;
    qmConsoleScope console(interactive);
    if (interactive) g_ostrm << MSG_ERR << getEnterTitle("Specify timing method, please") << MSG_RESTORE;

    qmMapIterator<int> method(preset.method, "Method", "Timing method",
                              {{"Auto", 0}, {"Manual", 1}, {"Statistic", 2}, {"Iterative", 3}});
    method.initValidation();
    const int m = readValue(method);
    int loops = 10, calls = 3, start = 1, stop = 2048;
    long long clocks = 10000, minClocks = 0;
    int ignored = 0;
    qmTool::getAutoParameters(ignored, ignored, minClocks);
    if (m == 1) {
        preset.getMethodLoop(loops);
        qmDefault_NSC<int> numLoops(loops, "NumLoops", "Number of loops");
        g_tool.setMethodLoop(readValue(numLoops));
    } else if (m == 2) {
        preset.getMethodStat(calls, clocks);
        qmDefault_NSC<int> numCalls(calls, "NumCalls", "Minimal number of calls");
        qmDefault_NSC<long long> total(clocks, "TotalCpuClocks", "Total CPU clocks");
        const int c = readValue(numCalls);
        g_tool.setMethodStat(c, readValue(total));
    } else if (m == 3) {
        long long presetClocks = 0;
        preset.getMethodBest(start, stop, presetClocks);
        qmDefault_NSC<int> startLoops(start, "StartNumLoops", "Start number of loops");
        qmDefault_NSC<int> stopLoops(stop, "StopNumLoops", "Stop number of loops");
        const int s = readValue(startLoops);
        g_tool.setMethodBest(s, readValue(stopLoops), minClocks);
    } else {
        g_tool.setMethodAuto();
    }
    readAccuracy(m);
    return interactive ? 1 : 0;
}

int qmSession::readAccuracy(int method) {
    if (method == 1 || method == 2) return 0;
    qmDefault_NSC<int> percent(method == 0 ? 5 : 100, "Accuracy", "Accuracy, %");
    double a = readValue(percent) * 0.01;
    // Both replacements lie far beyond any reachable spread: 0 or more than 50 per cent switch the
    // accuracy judgement off.
    if (a < 0.01)
        a = 10.0;
    else if (a > 0.5)
        a = 500.0;
    g_tool.accuracy = a;
    return 0;
}

int qmSession::readCommonParms() {
    const bool interactive = (m_askMode & 2) != 0;
    qmConsoleScope console(interactive);
    if (interactive && !m_commonParms.empty())
        g_ostrm << MSG_ERR << getEnterTitle("Specify common parameters, please") << MSG_RESTORE;
    for (qmParameter* p : m_commonParms) p->fromIStream(g_istrm);
    return interactive && !m_commonParms.empty() ? 1 : 0;
}

int qmSession::readDataOffset() {
    const bool interactive = (m_askMode & 4) != 0;
    qmConsoleScope console(interactive);
    if (interactive) g_ostrm << MSG_ERR << getEnterTitle("Specify vectors alignment, please") << MSG_RESTORE;

    qmMapIterator<bool> by(qmGetAlignByByte(), "AlignVectorsBy", "Align vectors by",
                           {{"byte", true}, {"element", false}});
    by.initValidation();
    const bool byByte = readValue(by);
    qmSetAlignByByte(byByte);

    qmVectorAlignParm align(qmGetVectorAlign(), "VectorAlign",
                            byByte ? "VectorAlign by Byte, 0..63" : "VectorAlign by Element, 0..63");
    qmSetVectorAlign(readValue(align));

    qmYesNoIterator firstOnly(qmGetAlignSrc(), "MisalignFirstVectorOnly", "Misalign the first vector only");
    qmSetAlignSrc(readValue(firstOnly));

    qmVectorShiftParm shift(qmGetVectorShift(), "MutualVectorShift", "MutualVectorShift in Bytes, divisible by 64");
    qmSetVectorShift(readValue(shift));
    return interactive ? 1 : 0;
}

int qmSession::readCommonData() {
    const int asked = readTimingMethod() + readCommonParms() + readDataOffset();
    if (asked != 0) g_ostrm << MSG_ERR << getEnterTitle("End of common specifications") << MSG_RESTORE;
    return asked;
}
