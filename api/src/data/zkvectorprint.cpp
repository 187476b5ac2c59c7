// Data printers of vectors: one element format per part type.
#include <cinttypes>
#include "zkvector.h"
#include "zkvectorfill.h"

namespace {
template <class P>
qmString partText(P v) {
    if constexpr (sizeof(P) == 1) return qmString::format(" %02X", static_cast<unsigned>(static_cast<std::uint8_t>(v)));
    else if constexpr (std::is_same_v<P, float>) return qmString::format(" %14.6g", static_cast<double>(v));
    else if constexpr (std::is_same_v<P, double>) return qmString::format(" %20.12g", v);
    else if constexpr (std::is_signed_v<P>) return qmString::format(" %" PRId64, static_cast<std::int64_t>(v));
    else return qmString::format(" %" PRIu64, static_cast<std::uint64_t>(v));
}

template <class P>
qmString pairText(P re, P im) {
    if constexpr (std::is_same_v<P, float>)
        return qmString::format(" (%14.6g,%14.6g)", static_cast<double>(re), static_cast<double>(im));
    else if constexpr (std::is_same_v<P, double>)
        return qmString::format(" (%20.12g,%20.12g)", re, im);
    else
        return qmString::format(" (%" PRId64 ",%" PRId64 ")", static_cast<std::int64_t>(re),
                                static_cast<std::int64_t>(im));
}

// Clamps [first, first + count) to [0, length); count -1 means to the end.
void clampRange(int length, int& first, int& count) {
    if (first < 0) first = 0;
    if (first > length) first = length;
    if (count < 0 || count > length - first) count = length - first;
}
}  // namespace

qmString zkVector::vectorStringReal(int first, int count) const {
    qmString s;
    if (!m_data) return s;
    clampRange(m_length, first, count);
    zkfill::dispatch(m_type, [&]<class T>() {
        const T* p = ptr<T>() + first;
        for (int i = 0; i < count; ++i) {
            const T e = zkfill::load(p + i);
            if constexpr (zkfill::Complex<T>)
                s << partText(e.re) << partText(e.im);
            else
                s << partText(e);
        }
    });
    return s;
}

qmString zkVector::vectorStringCplx(int first, int count) const {
    if (!zkIsComplex(m_type)) return vectorStringReal(first, count);
    qmString s;
    if (!m_data) return s;
    clampRange(m_length, first, count);
    zkfill::dispatch(m_type, [&]<class T>() {
        if constexpr (zkfill::Complex<T>) {
            const T* p = ptr<T>() + first;
            for (int i = 0; i < count; ++i) {
                const T e = zkfill::load(p + i);
                s << pairText(e.re, e.im);
            }
        }
    });
    return s;
}
