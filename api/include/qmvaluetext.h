// qmValueText<T>: the text form of one parameter value. Numbers are read as decimal (a leading zero
// does not make them octal) and printed with the stream's number formatting; enumerations go
// through their underlying integer (a qmMapIterator gives them names); sizes use "WxH".
#pragma once
#include <limits>
#include <type_traits>
#include "qmgeometry.h"
#include "qmstring.h"

template <class T, class Enable = void>
struct qmValueText;

template <class T>
struct qmValueText<T, std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, bool>>> {
    static qmString toString(T v) { return std::is_signed_v<T> ? qmString::fromInt(v) : qmString::fromUInt(v); }
    static bool fromString(const qmString& s, T& v) {
        long long r = 0;
        if (!qmParseDecimal(s, r)) return false;
        if (r < static_cast<long long>(std::numeric_limits<T>::min()) ||
            (r > 0 && static_cast<unsigned long long>(r) > static_cast<unsigned long long>(std::numeric_limits<T>::max())))
            return false;
        v = static_cast<T>(r);
        return true;
    }
};

template <>
struct qmValueText<bool> {
    static qmString toString(bool v) { return v ? "1" : "0"; }
    static bool fromString(const qmString& s, bool& v) {
        long long r = 0;
        if (!qmParseDecimal(s, r) || (r != 0 && r != 1)) return false;
        v = r != 0;
        return true;
    }
};

template <class T>
struct qmValueText<T, std::enable_if_t<std::is_floating_point_v<T>>> {
    static qmString toString(T v) { return qmString::fromDouble(static_cast<double>(v)); }
    // A finite number of the type: "nan", "inf" and values beyond the type's range are refused
    // (a float would otherwise be converted out of its range).
    static bool fromString(const qmString& s, T& v) {
        double r = 0;
        if (!qmParseDecimal(s, r) || !(r >= -double(std::numeric_limits<T>::max()) && r <= double(std::numeric_limits<T>::max())))
            return false;
        v = static_cast<T>(r);
        return true;
    }
};

template <class T>
struct qmValueText<T, std::enable_if_t<std::is_enum_v<T>>> {
    using U = std::underlying_type_t<T>;
    static qmString toString(T v) { return qmValueText<U>::toString(static_cast<U>(v)); }
    static bool fromString(const qmString& s, T& v) {
        U u{};
        if (!qmValueText<U>::fromString(s, u)) return false;
        v = static_cast<T>(u);
        return true;
    }
};

template <>
struct qmValueText<ZkriSize> {
    static qmString toString(const ZkriSize& v) { return qmToString(v); }
    static bool fromString(const qmString& s, ZkriSize& v) { return qmFromString(s, v); }
};
