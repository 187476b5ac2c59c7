#include "qmreport.h"

// ---------------------------------------------------------------- test title

// Function name with the test name against the right frame, then the description wrapped to
// the box, then the source module.
qmString qmReportTestTitle::text() const {
    constexpr int kTextWidth = qmReportFormat::RIGHT_FRAME - 3;  // columns 2..76, a blank before the frame
    qmReportFormat fmt(1, qmReportFormat::RIGHT, qmReportFormat::RIGHT, qmReportFormat::RIGHT,
                       qmReportFormat::RIGHT, qmReportFormat::RIGHT);
    qmString box = fmt.firstLine();
    const qmString test = m_facts.test.empty() ? qmString() : "test " + m_facts.test;
    box += fmt.getLine(m_facts.function, test);
    qmString rest = m_facts.description, piece;
    while (qmReportFormat::getPieceItem(rest, piece, kTextWidth)) box += fmt.getLine(piece);
    if (!rest.empty()) box += fmt.getLine(rest);
    if (!m_facts.source.empty()) box += fmt.getLine("source " + m_facts.source);
    return box + fmt.lastLine();
}

qmOStream& operator<<(qmOStream& o, const qmReportTestTitle& r) {
    o << r.text();
    return o;
}

qmCStream& operator<<(qmCStream& c, const qmReportTestTitle& r) {
    r.toTable(c);
    return c;
}

// ---------------------------------------------------------------- test result

qmReportTestResult::qmReportTestResult() : m_tableLine(HEADER) {}

// The row starts with the function and the test's class so that it lines up with HEADER; the
// control words are not checked by the framework, hence "-" under Control87 and ControlSSX.
qmReportTestResult::qmReportTestResult(const qmTestResultFacts& f)
    : m_resultName(qmResultName(f.result)), m_writeTable(f.writeTable) {
    auto cell = [](const qmString& s) { return s.empty() ? qmString("-") : s; };
    const int seconds = static_cast<int>(difftime(f.endTime, f.startTime));
    m_tableLine << cell(f.function) << "," << cell(f.className) << ","
                << "-," << (f.x87Modified ? "?" : "-") << ","
                << "-," << (f.sseModified ? "?" : "-") << ","
                << f.test << "," << seconds << "," << f.source << "," << m_resultName << ","
                << f.exeName.fileName();
    m_outcome << m_resultName << " (" << qmResultString(f.result) << ")";
    m_elapsed << "time " << qmReportFormat::getTimeStr(seconds);
    if (f.result == QM_UNDEFINED) m_note = "--No measurements have been done\n";
}

qmString qmReportTestResult::text(int outLevel) const {
    if (m_outcome.empty()) return qmString();  // the table header has nothing for the console
    qmReportFormat fmt(1, 14, qmReportFormat::RIGHT, qmReportFormat::RIGHT, qmReportFormat::RIGHT,
                       qmReportFormat::RIGHT);
    const bool frame = outLevel > 2;  // more than errors and warnings
    qmString box = frame ? fmt.firstLine() : qmString();
    box += fmt.getLine("Result:", m_outcome, m_elapsed);
    if (frame) box += fmt.lastLine();
    return box + m_note;
}

void qmReportTestResult::toTable(qmCStream& c) const {
    if (m_writeTable) c << m_tableLine << "\n";
}

qmOStream& operator<<(qmOStream& o, const qmReportTestResult& r) {
    o << r.text(o.outLevel());
    return o;
}

qmCStream& operator<<(qmCStream& c, const qmReportTestResult& r) {
    r.toTable(c);
    return c;
}
