// Text forms of the library's geometry records, used to print and to read image sizes, points and
// regions in parameters and result lines:
//   size  "WxH"        (also read: "W x H", "WXH", and a single number N meaning NxN)
//   point "(x,y)"      (parentheses optional when reading, blanks allowed)
//   rect  "(x,y,w,h)"  (parentheses optional when reading, blanks allowed)
// Numbers are decimal; a leading zero does not make a number octal.
#pragma once
#include "qmstream.h"
#include "qmstring.h"
#include "zkrcore.h"

qmString qmToString(const ZkriSize& s);
qmString qmToString(const ZkriPoint& p);
qmString qmToString(const ZkriRect& r);

// Parse the whole text; false (and the target untouched) when it is not a valid form.
bool qmFromString(const qmString& text, ZkriSize& s);
bool qmFromString(const qmString& text, ZkriPoint& p);
bool qmFromString(const qmString& text, ZkriRect& r);

// Whole-text decimal number parsing shared by the geometry and the parameter parsers.
bool qmParseDecimal(const qmString& text, long long& v);
bool qmParseDecimal(const qmString& text, int& v);
bool qmParseDecimal(const qmString& text, double& v);

inline bool operator==(const ZkriSize& a, const ZkriSize& b) { return a.width == b.width && a.height == b.height; }
inline bool operator==(const ZkriPoint& a, const ZkriPoint& b) { return a.x == b.x && a.y == b.y; }
inline bool operator==(const ZkriRect& a, const ZkriRect& b) {
    return a.x == b.x && a.y == b.y && a.width == b.width && a.height == b.height;
}

inline qmString& operator<<(qmString& s, const ZkriSize& v) { return s += qmToString(v); }
inline qmString& operator<<(qmString& s, const ZkriPoint& v) { return s += qmToString(v); }
inline qmString& operator<<(qmString& s, const ZkriRect& v) { return s += qmToString(v); }
inline qmOStream& operator<<(qmOStream& o, const ZkriSize& v) { return o << qmToString(v); }
inline qmOStream& operator<<(qmOStream& o, const ZkriPoint& v) { return o << qmToString(v); }
inline qmOStream& operator<<(qmOStream& o, const ZkriRect& v) { return o << qmToString(v); }
