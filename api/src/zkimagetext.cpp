// Text forms: the image description and the library's size, point and rectangle types.
#include <regex>
#include "zkimage.h"

qmString zkImage::getString() const {
    qmString s;
    s << ZkriSize{m_width, m_height} << " " << zkFunc::typeToString(m_type) << " ";
    if (m_channels == 4 && m_actualChannels == 3) s << "A";
    s << (m_plane ? "P" : "C") << m_channels << " step " << m_step;
    if (m_plane) s << " planes " << m_channels;
    return s;
}

qmString& operator<<(qmString& s, const ZkriSize& v) { return s << v.width << "x" << v.height; }
qmString& operator<<(qmString& s, const ZkriPoint& v) { return s << v.x << "," << v.y; }
qmString& operator<<(qmString& s, const ZkriRect& v) {
    return s << v.x << "," << v.y << "," << v.width << "x" << v.height;
}

namespace {
// Whole-text matches with blanks allowed around the numbers and separators.
const char* const kInt = R"(\s*([-+]?\d{1,10})\s*)";

bool matchInts(const qmString& s, const std::string& pattern, int* out, int count) {
    static const std::regex::flag_type flags = std::regex::ECMAScript | std::regex::icase;
    std::smatch m;
    if (!std::regex_match(s.str(), m, std::regex(pattern, flags))) return false;
    long long v[4];
    for (int i = 0; i < count; ++i) {
        if (!qmString(m[i + 1].str()).toInt(v[i]) || v[i] < -2147483648LL || v[i] > 2147483647LL) return false;
    }
    for (int i = 0; i < count; ++i) out[i] = static_cast<int>(v[i]);
    return true;
}
}  // namespace

bool zkParseSize(const qmString& s, ZkriSize& v) {
    int n[2];
    if (!matchInts(s, std::string(kInt) + "x" + kInt, n, 2)) return false;
    v = {n[0], n[1]};
    return true;
}

bool zkParsePoint(const qmString& s, ZkriPoint& v) {
    int n[2];
    if (!matchInts(s, std::string(kInt) + "," + kInt, n, 2)) return false;
    v = {n[0], n[1]};
    return true;
}

bool zkParseRect(const qmString& s, ZkriRect& v) {
    int n[4];
    if (!matchInts(s, std::string(kInt) + "," + kInt + "," + kInt + "x" + kInt, n, 4)) return false;
    v = {n[0], n[1], n[2], n[3]};
    return true;
}

ZkriSize& operator<<(ZkriSize& v, qmString& s) {
    if (!zkParseSize(s, v)) s.setError();
    return v;
}

ZkriPoint& operator<<(ZkriPoint& v, qmString& s) {
    if (!zkParsePoint(s, v)) s.setError();
    return v;
}

ZkriRect& operator<<(ZkriRect& v, qmString& s) {
    if (!zkParseRect(s, v)) s.setError();
    return v;
}
