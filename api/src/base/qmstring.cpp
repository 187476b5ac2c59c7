#include "qmstring.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

qmString qmString::fromDouble(double v) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.10g", v);
    return qmString(buf);
}

qmString qmString::format(const char* fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    va_list ap2;
    va_copy(ap2, ap);
    int n = std::vsnprintf(nullptr, 0, fmt, ap);
    va_end(ap);
    std::string s(n > 0 ? static_cast<size_t>(n) : 0, '\0');
    if (n > 0) std::vsnprintf(s.data(), s.size() + 1, fmt, ap2);
    va_end(ap2);
    return qmString(std::move(s));
}

static int toPos(size_t p) { return p == std::string::npos ? -1 : static_cast<int>(p); }

int qmString::find(const qmString& what, int from) const {
    if (from < 0 || from > length()) return -1;
    return toPos(m_s.find(what.m_s, static_cast<size_t>(from)));
}

int qmString::find(char c, int from) const {
    if (from < 0 || from > length()) return -1;
    return toPos(m_s.find(c, static_cast<size_t>(from)));
}

int qmString::rfind(char c) const { return toPos(m_s.rfind(c)); }

int qmString::findFirstOf(const char* chars, int from) const {
    if (from < 0 || from > length()) return -1;
    return toPos(m_s.find_first_of(chars, static_cast<size_t>(from)));
}

qmString qmString::substr(int pos, int len) const {
    if (pos < 0) pos = 0;
    if (pos >= length()) return qmString();
    size_t n = len < 0 ? std::string::npos : static_cast<size_t>(len);
    return qmString(m_s.substr(static_cast<size_t>(pos), n));
}

qmString qmString::trimmed() const {
    const char* blanks = " \t\r\n";
    size_t b = m_s.find_first_not_of(blanks);
    if (b == std::string::npos) return qmString();
    size_t e = m_s.find_last_not_of(blanks);
    return qmString(m_s.substr(b, e - b + 1));
}

qmString qmString::lower() const {
    std::string r = m_s;
    std::transform(r.begin(), r.end(), r.begin(), [](unsigned char c) { return std::tolower(c); });
    return qmString(std::move(r));
}

qmString qmString::upper() const {
    std::string r = m_s;
    std::transform(r.begin(), r.end(), r.begin(), [](unsigned char c) { return std::toupper(c); });
    return qmString(std::move(r));
}

qmString qmString::fileName() const {
    size_t p = m_s.find_last_of("/\\");
    return p == std::string::npos ? *this : qmString(m_s.substr(p + 1));
}

qmString qmString::fileTitle() const {
    qmString name = fileName();
    int dot = name.rfind('.');
    return dot > 0 ? name.left(dot) : name;
}

qmString qmString::fileDir() const {
    size_t p = m_s.find_last_of("/\\");
    return p == std::string::npos ? qmString() : qmString(m_s.substr(0, p + 1));
}

qmList<qmString> qmString::parse(const char* separators) const {
    qmList<qmString> out;
    size_t pos = 0;
    while (pos < m_s.size()) {
        size_t b = m_s.find_first_not_of(separators, pos);
        if (b == std::string::npos) break;
        size_t e = m_s.find_first_of(separators, b);
        out.append(qmString(m_s.substr(b, e == std::string::npos ? std::string::npos : e - b)));
        if (e == std::string::npos) break;
        pos = e;
    }
    return out;
}

qmList<qmString> qmString::split(char separator) const {
    qmList<qmString> out;
    size_t pos = 0;
    while (true) {
        size_t e = m_s.find(separator, pos);
        out.append(qmString(m_s.substr(pos, e == std::string::npos ? std::string::npos : e - pos)));
        if (e == std::string::npos) break;
        pos = e + 1;
    }
    return out;
}

bool qmString::toInt(long long& v) const {
    const qmString trimmedText = trimmed();
    const std::string& t = trimmedText.m_s;
    if (t.empty()) return false;
    // Decimal unless written with "0x": a value typed as "08" or "010" means eight or ten,
    // not an octal number (or, for "08", no number at all).
    const size_t digits = (t[0] == '-' || t[0] == '+') ? 1 : 0;
    const bool hex = t.compare(digits, 2, "0x") == 0 || t.compare(digits, 2, "0X") == 0;
    errno = 0;
    char* end = nullptr;
    long long r = std::strtoll(t.c_str(), &end, hex ? 16 : 10);
    if (errno != 0 || *end != '\0') return false;
    v = r;
    return true;
}

bool qmString::toDouble(double& v) const {
    std::string t = trimmed().m_s;
    if (t.empty()) return false;
    errno = 0;
    char* end = nullptr;
    double r = std::strtod(t.c_str(), &end);
    if (errno == ERANGE || *end != '\0') return false;
    v = r;
    return true;
}

qmString qmString::printable() const {
    std::string out;
    for (const char ch : m_s) {
        const auto c = static_cast<unsigned char>(ch);
        if ((c < 0x20 && c != '\n' && c != '\t') || c == 0x7f) {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02X", c);
            out += hex;
        } else {
            out += ch;
        }
    }
    return qmString(std::move(out));
}
