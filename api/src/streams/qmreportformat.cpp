#include "qmreport.h"

namespace {
// Characters after the last new line: the column the next character would take.
int rowLength(const qmString& text) {
    int nl = text.rfind('\n');
    return text.length() - (nl + 1);
}
}  // namespace

qmReportFormat::qmReportFormat(int p1, int p2, int p3, int p4, int p5, int p6) : m_pos{p1, p2, p3, p4, p5, p6} {}

qmString qmReportFormat::firstLine() {
    m_framed = true;
    return sepLine();
}

qmString qmReportFormat::lastLine() {
    m_framed = false;
    return sepLine();
}

qmString qmReportFormat::sepLine() { return "+" + qmString(LINE_WIDTH - 2, '-') + "+\n"; }

void qmReportFormat::setItem(qmString& line, const qmString& item, int position) {
    if (item.empty()) return;
    if (position < 0) {
        position = -item.length() - 1 - position;
        if (position < 0) return;  // too long to end where it should: dropped, never moved
    }
    const int length = rowLength(line);
    if (position > length)
        line += qmString(position - length, ' ');
    else
        line += ' ';
    line += item;
}

qmString qmReportFormat::getLine(const qmString& a, const qmString& b, const qmString& c, const qmString& d,
                                 const qmString& e, const qmString& f) const {
    qmString line = m_framed ? "|" : " ";
    const qmString* items[6] = {&a, &b, &c, &d, &e, &f};
    for (int i = 0; i < 6; ++i) setItem(line, *items[i], m_pos[i]);
    const int length = rowLength(line);
    if (m_framed && length <= RIGHT_FRAME) line += qmString(RIGHT_FRAME - length, ' ') + "|";
    return line + "\n";
}

qmString qmReportFormat::getTimeStr(int seconds) {
    if (seconds < 0) seconds = 0;
    return qmString::format("%02d:%02d:%02d", seconds / 3600, seconds % 3600 / 60, seconds % 60);
}

bool qmReportFormat::getPieceItem(qmString& text, qmString& piece, int width) {
    if (text.length() <= width) return false;
    int cut = text.rfind(' ');
    if (cut < 0) return false;
    // Move the cut to earlier blanks while the piece is still too long; when no earlier blank
    // exists the last cut stands, so an overlong first word becomes a piece of its own.
    while (cut > width) {
        int earlier = text.left(cut).rfind(' ');
        if (earlier < 0) break;
        cut = earlier;
    }
    piece = text.left(cut);
    text = text.mid(cut + 1);
    return true;
}

void qmPairsToTable(qmCStream& c, const qmList<qmString>& pairs) {
    for (auto it = pairs.begin(); it != pairs.end();) {
        c << *it++;
        if (it != pairs.end()) c << *it++;
        c << "\n";
    }
}
