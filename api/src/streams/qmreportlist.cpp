#include "qmreport.h"

#include <unordered_set>

qmReportList::qmReportList(const qmListFacts& f) {
    auto add = [this](const qmString& function, const qmString& mark) {
        m_rows.append(function);
        m_rows.append(mark);
    };
    if (f.mode == 0) {
        m_title = "Tested functions";
        for (const qmListedTest& t : f.tested) add(t.function, t.test);
        m_footer << numListed() << " tests";
        return;
    }
    // A library exports thousands of functions: look the applied names up in a hash set.
    const std::unordered_set<qmString> appliedSet(f.applied.begin(), f.applied.end());
    int applied = 0, notApplied = 0;
    for (const qmString& name : f.exported) {
        const bool isApplied = appliedSet.contains(name);
        ++(isApplied ? applied : notApplied);
        if (f.mode > 0) add(name, isApplied ? "applied" : "not applied");
        else if (!isApplied) add(name, qmString());
    }
    if (f.mode > 0) {
        m_title = "Applied and not applied library functions";
        m_footer << applied << " applied, " << notApplied << " not applied of " << f.exported.size();
    } else {
        m_title = "Not applied library functions";
        m_footer << notApplied << " not applied of " << f.exported.size();
    }
}

// Title, one line per function with its test name or mark against the right frame, then the
// count; a name too long for the mark to fit keeps the mark after one blank.
qmString qmReportList::text() const {
    qmReportFormat fmt(1, qmReportFormat::RIGHT, qmReportFormat::RIGHT, qmReportFormat::RIGHT,
                       qmReportFormat::RIGHT, qmReportFormat::RIGHT);
    qmString box = fmt.firstLine();
    box += fmt.getLine(m_title);
    box += qmReportFormat::sepLine();
    for (auto it = m_rows.begin(); it != m_rows.end(); ++it) {
        const qmString& function = *it++;
        box += fmt.getLine(function, *it);
    }
    box += qmReportFormat::sepLine();
    box += fmt.getLine(m_footer);
    return box + fmt.lastLine();
}

// Mode 0 rows: function, test; mode 1: function, mark; mode -1: the function alone.
void qmReportList::toTable(qmCStream& c) const {
    for (auto it = m_rows.begin(); it != m_rows.end(); ++it) {
        c << *it++;
        if (!it->empty()) c << *it;
        c << "\n";
    }
}

qmOStream& operator<<(qmOStream& o, const qmReportList& r) {
    o << r.text();
    return o;
}

qmCStream& operator<<(qmCStream& c, const qmReportList& r) {
    r.toTable(c);
    return c;
}
