#include "qmreport.h"

#include <iterator>

#include <sys/utsname.h>
#include <unistd.h>

void qmFillSystemFacts(qmTitleFacts& facts) {
    char host[256] = {};
    if (gethostname(host, sizeof host - 1) == 0) facts.hostName = host;
    struct utsname u {};
    if (uname(&u) == 0) facts.system << u.sysname << " " << u.release << " " << u.machine;
}

qmString qmReportTitle::cacheSizeText(long long bytes) {
    if (bytes <= 0) return qmString();
    qmString text;
    if (bytes % (1024 * 1024) == 0)
        text << bytes / (1024 * 1024) << " MB (" << bytes << " bytes)";
    else if (bytes % 1024 == 0)
        text << bytes / 1024 << " KB (" << bytes << " bytes)";
    else
        text << bytes << " bytes";
    return text;
}

qmString qmReportTitle::dateTimeText(time_t t) {
    struct tm local {};
    localtime_r(&t, &local);
    char buf[32];
    strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S", &local);
    return buf;
}

qmReportTitle::qmReportTitle(const qmTitleFacts& f)
    : m_heading(f.program + " " + f.version), m_started(dateTimeText(f.startTime)) {
    auto add = [this](const char* name, const qmString& value) {
        m_pairs.append(name);
        m_pairs.append(value);
    };
    add("Program", m_heading);
    add("Started", m_started);
    add("Computer", f.hostName);
    add("System", f.system);
    add("Processor", f.processor);
    if (f.libraries.empty()) add("Library", qmString());
    for (const qmString& lib : f.libraries) add("Library", lib);
    add("Largest cache", cacheSizeText(f.maxCacheBytes));
}

// Program and start time on the first line; then one "name : value" line per pair, long values
// wrapped at blanks into the value column.
qmString qmReportTitle::text() const {
    constexpr int kValueColumn = 18;
    constexpr int kValueWidth = qmReportFormat::RIGHT_FRAME - kValueColumn - 1;  // a blank before the frame
    qmReportFormat fmt(1, 16, kValueColumn, qmReportFormat::RIGHT, qmReportFormat::RIGHT,
                       qmReportFormat::RIGHT);
    qmString box = fmt.firstLine();
    box += fmt.getLine(m_heading, qmString(), qmString(), m_started);
    auto it = m_pairs.begin();
    std::advance(it, 4);  // the program and start-time pairs are the heading line
    for (; it != m_pairs.end(); ++it) {
        const qmString& name = *it++;
        qmString value = *it, piece;
        bool first = true;
        while (qmReportFormat::getPieceItem(value, piece, kValueWidth)) {
            box += fmt.getLine(first ? name : qmString(), first ? ":" : "", piece);
            first = false;
        }
        box += fmt.getLine(first ? name : qmString(), first ? ":" : "", value);
    }
    return box + fmt.lastLine();
}

void qmReportTitle::toTable(qmCStream& c) const { qmPairsToTable(c, m_pairs); }

qmOStream& operator<<(qmOStream& o, const qmReportTitle& r) {
    o << r.text();
    return o;
}

qmCStream& operator<<(qmCStream& c, const qmReportTitle& r) {
    r.toTable(c);
    return c;
}
