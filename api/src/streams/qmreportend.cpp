#include "qmreport.h"

namespace {
int sum(const qmSummaryFacts& f, std::initializer_list<int> results) {
    int n = 0;
    for (int r : results) n += f.count[r];
    return n;
}
}  // namespace

// The counters of results 6 and 11 are not read: the test list's counting also adds every
// warning and every failure to them, so they would count those tests twice. A test that ended
// with 6 or 11 itself therefore shows up under "...Undefined".
qmReportEnd::qmReportEnd(const qmSummaryFacts& f) {
    const int successes = f.count[QM_OK];
    const int fail = sum(f, {QM_ACCURFAIL, QM_DATAFAIL, QM_FUNCFAIL});
    const int excptFail = f.count[QM_EXCPTFAIL];
    const int warning = sum(f, {QM_ACCURWRN, QM_DATAWRN, QM_FUNCWRN});
    const int badStsWrn = f.count[QM_BADSTSWRN];
    const int fails = excptFail + fail;
    const int warnings = badStsWrn + warning;
    const int seconds = static_cast<int>(difftime(f.endTime, f.startTime));

    auto add = [this](const char* name, const qmString& value) {
        m_pairs.append(name);
        m_pairs.append(value);
    };
    auto number = [](int n) { return qmString::format("%d", n); };
    add(".Number of tests", number(f.total));
    add(".Successes      ", number(successes));
    add(".Failures       ", number(fails + warnings));
    add("...Fails        ", number(fails));
    add(".....-FAIL      ", number(fail));
    add(".....-EXCPTFAIL ", number(excptFail));
    add("...Warnings     ", number(warnings));
    add(".....-WARNING   ", number(warning));
    add(".....-BADSTSWRN ", number(badStsWrn));
    add("...Undefined    ", number(f.total - successes - fails - warnings));
    if (f.notRun > 0) add(".Not run        ", number(f.notRun));
    add(".Total time     ", qmReportFormat::getTimeStr(seconds));
}

qmString qmReportEnd::value(const qmString& name) const {
    for (auto it = m_pairs.begin(); it != m_pairs.end(); ++it) {
        const qmString& n = *it++;
        if (it == m_pairs.end()) break;
        if (n == name) return *it;
    }
    return qmString();
}

qmString qmReportEnd::text() const {
    qmReportFormat fmt(1, 33, 34, qmReportFormat::RIGHT, qmReportFormat::RIGHT, qmReportFormat::RIGHT);
    qmString box = fmt.firstLine();
    box += fmt.getLine("QM Summary");
    for (auto it = m_pairs.begin(); it != m_pairs.end(); ++it) {
        const qmString& name = *it++;
        box += fmt.getLine(name + " : " + *it);
    }
    return box + fmt.lastLine();
}

void qmReportEnd::toTable(qmCStream& c) const {
    c << "END_DATA" << "\n";
    qmPairsToTable(c, m_pairs);
}

qmOStream& operator<<(qmOStream& o, const qmReportEnd& r) {
    o << r.text();
    return o;
}

qmCStream& operator<<(qmCStream& c, const qmReportEnd& r) {
    r.toTable(c);
    return c;
}
