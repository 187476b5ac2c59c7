// qmString: the framework's string, a thin value wrapper over std::string.
#pragma once
#include <compare>
#include <string>
#include <string_view>
#include <sstream>
#include "qmlist.h"

class qmString {
public:
    qmString() = default;
    qmString(const char* s) : m_s(s ? s : "") {}
    qmString(const std::string& s) : m_s(s) {}
    qmString(std::string&& s) : m_s(std::move(s)) {}
    qmString(std::string_view s) : m_s(s) {}
    qmString(size_t n, char c) : m_s(n, c) {}
    explicit qmString(char c) : m_s(1, c) {}

    // Number-to-text conversions used by the stream operators.
    static qmString fromInt(long long v) { return qmString(std::to_string(v)); }
    static qmString fromUInt(unsigned long long v) { return qmString(std::to_string(v)); }
    static qmString fromDouble(double v);          // "%g" style, shortest natural form
    static qmString format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

    const std::string& str() const { return m_s; }
    std::string& str() { return m_s; }
    const char* c_str() const { return m_s.c_str(); }
    int length() const { return static_cast<int>(m_s.size()); }
    bool empty() const { return m_s.empty(); }
    char operator[](int i) const { return m_s[static_cast<size_t>(i)]; }
    char& operator[](int i) { return m_s[static_cast<size_t>(i)]; }
    operator std::string_view() const { return m_s; }

    // Position of the text, or -1 when absent.
    int find(const qmString& what, int from = 0) const;
    int find(char c, int from = 0) const;
    int rfind(char c) const;
    int findFirstOf(const char* chars, int from = 0) const;
    bool contains(const qmString& what) const { return find(what) >= 0; }
    bool startsWith(const qmString& p) const { return m_s.starts_with(p.m_s); }
    bool endsWith(const qmString& p) const { return m_s.ends_with(p.m_s); }
    // Up to len characters from pos (clamped, never throws).
    qmString substr(int pos, int len = -1) const;
    qmString left(int n) const { return substr(0, n); }
    qmString mid(int pos) const { return substr(pos); }

    qmString trimmed() const;
    // The text with control characters other than line end and tab shown as "\xNN", for echoing
    // user input to a terminal.
    qmString printable() const;
    qmString lower() const;
    qmString upper() const;
    // Path helpers: the file name without directories and extension, the directory with its
    // trailing slash ("" when none), the file name with extension.
    qmString fileTitle() const;
    qmString fileName() const;
    qmString fileDir() const;
    bool isAbsolutePath() const { return !m_s.empty() && m_s[0] == '/'; }

    // Splits at any of the separator characters; empty pieces are dropped.
    qmList<qmString> parse(const char* separators) const;
    // Splits at the separator, keeping empty pieces.
    qmList<qmString> split(char separator) const;

    // Numeric parsing of the whole (trimmed) text; false when it is not a number. Integers are
    // decimal, or hexadecimal with "0x".
    bool toInt(long long& v) const;
    bool toDouble(double& v) const;

    qmString& operator+=(const qmString& o) { m_s += o.m_s; return *this; }
    qmString& operator+=(const char* o) { m_s += o; return *this; }
    qmString& operator+=(char c) { m_s += c; return *this; }
    friend qmString operator+(qmString a, const qmString& b) { a += b; return a; }
    friend qmString operator+(qmString a, const char* b) { a += b; return a; }
    friend qmString operator+(const char* a, const qmString& b) { return qmString(a) += b; }
    friend qmString operator+(qmString a, char c) { a += c; return a; }
    // Comparison is by text only: the error flag is a mark of the parser, not part of the value.
    std::strong_ordering operator<=>(const qmString& o) const { return m_s <=> o.m_s; }
    bool operator==(const qmString& o) const { return m_s == o.m_s; }
    bool operator==(const char* o) const { return m_s == o; }

    // Stream-style appending of numbers and texts ("s << 12 << ' ' << 1.5").
    qmString& operator<<(const qmString& o) { return *this += o; }
    qmString& operator<<(const char* o) { return *this += o; }
    qmString& operator<<(char c) { return *this += c; }
    qmString& operator<<(int v) { return *this += fromInt(v); }
    qmString& operator<<(unsigned v) { return *this += fromUInt(v); }
    qmString& operator<<(long v) { return *this += fromInt(v); }
    qmString& operator<<(long long v) { return *this += fromInt(v); }
    qmString& operator<<(unsigned long v) { return *this += fromUInt(v); }
    qmString& operator<<(unsigned long long v) { return *this += fromUInt(v); }
    qmString& operator<<(double v) { return *this += fromDouble(v); }

    // Error flag used by value parsers to mark a text that is not a valid value.
    void setError(bool e = true) { m_error = e; }
    bool error() const { return m_error; }

private:
    std::string m_s;
    bool m_error = false;
};

inline std::ostream& operator<<(std::ostream& os, const qmString& s) { return os << s.str(); }

template <>
struct std::hash<qmString> {
    size_t operator()(const qmString& s) const noexcept { return std::hash<std::string>()(s.str()); }
};
