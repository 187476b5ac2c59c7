#include "qmgeometry.h"

#include <charconv>
#include <climits>
#include <vector>

bool qmParseDecimal(const qmString& text, long long& v) {
    qmString t = text.trimmed();
    const char* b = t.c_str();
    const char* e = b + t.length();
    if (b != e && *b == '+') ++b;  // from_chars takes "-" but not "+"
    long long r = 0;
    auto [end, ec] = std::from_chars(b, e, r, 10);
    if (b == e || ec != std::errc() || end != e) return false;
    v = r;
    return true;
}

bool qmParseDecimal(const qmString& text, int& v) {
    long long r = 0;
    if (!qmParseDecimal(text, r) || r < INT_MIN || r > INT_MAX) return false;
    v = static_cast<int>(r);
    return true;
}

bool qmParseDecimal(const qmString& text, double& v) {
    qmString t = text.trimmed();
    const char* b = t.c_str();
    const char* e = b + t.length();
    if (b != e && *b == '+') ++b;
    double r = 0;
    auto [end, ec] = std::from_chars(b, e, r);
    if (b == e || ec != std::errc() || end != e) return false;
    v = r;
    return true;
}

qmString qmToString(const ZkriSize& s) { return qmString() << s.width << 'x' << s.height; }
qmString qmToString(const ZkriPoint& p) { return qmString() << '(' << p.x << ',' << p.y << ')'; }
qmString qmToString(const ZkriRect& r) {
    return qmString() << '(' << r.x << ',' << r.y << ',' << r.width << ',' << r.height << ')';
}

bool qmFromString(const qmString& text, ZkriSize& s) {
    qmString t = text.trimmed();
    int x = t.findFirstOf("xX");
    int w = 0, h = 0;
    if (x < 0) {
        if (!qmParseDecimal(t, w)) return false;
        h = w;
    } else if (!qmParseDecimal(t.left(x), w) || !qmParseDecimal(t.mid(x + 1), h)) {
        return false;
    }
    s = ZkriSize{w, h};
    return true;
}

// The comma-separated integers of "(a,b,...)" or "a,b,...": exactly n of them.
static bool parseTuple(const qmString& text, int n, std::vector<int>& out) {
    qmString t = text.trimmed();
    if (t.startsWith("(") != t.endsWith(")")) return false;
    if (t.startsWith("(")) t = t.substr(1, t.length() - 2);
    qmList<qmString> items = t.split(',');
    if (items.size() != n) return false;
    out.clear();
    for (const qmString& item : items) {
        int v = 0;
        if (!qmParseDecimal(item, v)) return false;
        out.push_back(v);
    }
    return true;
}

bool qmFromString(const qmString& text, ZkriPoint& p) {
    std::vector<int> v;
    if (!parseTuple(text, 2, v)) return false;
    p = ZkriPoint{v[0], v[1]};
    return true;
}

bool qmFromString(const qmString& text, ZkriRect& r) {
    std::vector<int> v;
    if (!parseTuple(text, 4, v)) return false;
    r = ZkriRect{v[0], v[1], v[2], v[3]};
    return true;
}
