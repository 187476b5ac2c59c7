#include "qmcacheiterator.h"

#include <climits>

#include "qmmemory.h"
#include "qmobject.h"
#include "qmzkrenv.h"

qmCacheIterator::qmCacheIterator(qmParameter& controlled, qmObject* watched, SetValueFunc setter)
    : qmIterator_NSC<int>({0, 1}, "cacheIterator", "In-Outof-Cache"),
      m_parm(controlled),
      m_object(watched),
      m_setValue(setter) {}

bool qmCacheIterator::nextValue() {
    if (!qmIterator_NSC<int>::nextValue()) return false;
    m_tries = 0;
    m_message = qmString();
    m_lowFactor = 0.1;
    m_parm.firstValue();
    return true;
}

qmString qmCacheIterator::valueToString(int mode) const {
    return mode == 0 ? "inCache" : mode == 1 ? "outofCache" : qmString::fromInt(mode);
}

int qmCacheIterator::stringToValue(qmString& text) const {
    if (text == qmString("inCache")) return 0;
    if (text == qmString("outofCache")) return 1;
    return qmIterator_NSC<int>::stringToValue(text);
}

qmString qmCacheIterator::getComment() const {
    const int mode = value();
    return mode == 0 ? "inCache" : mode == 1 ? "outofCache" : "";
}

int qmCacheIterator::cacheSize() {
    int bytes = 0;
    if (!g_zkr.getMaxCacheSizeB || g_zkr.getMaxCacheSizeB(&bytes) != 0 || bytes < 0) return 0;
    return bytes;
}

int qmCacheIterator::lowSize() const {
    const double s = m_cacheSize >= 0 ? m_cacheSize : cacheSize();
    return static_cast<int>(value() == 0 ? s * m_lowFactor : s * 1.05);
}

int qmCacheIterator::highSize() const {
    const double s = m_cacheSize >= 0 ? m_cacheSize : cacheSize();
    return value() == 0 ? static_cast<int>(s * 0.9) : INT_MAX;
}

int qmCacheIterator::getTotalSize() const {
    const long long total = qmMallocTotal();
    return total > INT_MAX ? INT_MAX : static_cast<int>(total);
}

int qmCacheIterator::getObjectSize() const { return m_object ? m_object->objectSize() : 0; }

bool qmCacheIterator::validateSize() {
    m_objectSize = getObjectSize();
    m_totalSize = getTotalSize();
    const bool watched = m_objectSize != 0;
    if (!watched) m_objectSize = m_totalSize;
    const int low = lowSize(), high = highSize();
    if (m_objectSize >= low && m_totalSize <= high) {
        m_tries = 0;
        m_message = qmString();
        return true;
    }
    m_message = qmString("      ") + m_parm.valueString() + " try: cacheParm=" + valueString();
    if (m_objectSize < low)
        m_message << (watched ? " objectSize=" : " totalSize=") << m_objectSize << " < " << low << "\n";
    else
        m_message << " totalSize=" << m_totalSize << " > " << high << "\n";
    return false;
}

bool qmCacheIterator::repeatValue() {
    if (++m_tries > MAX_TRIES) return false;
    return setNewValue();
}

bool qmCacheIterator::setNewValue() {
    const bool tooBig = m_totalSize > highSize();
    const int target = tooBig ? m_totalSize : m_objectSize;
    const int bound = tooBig ? highSize() : lowSize();
    const bool fine = m_tries > 1;
    return m_setValue ? m_setValue(&m_parm, target, bound, fine) : setNewValueToParm(target, bound, fine);
}

void qmCacheIterator::outputInfo() const {
    if (g_ostrm.outLevel() < PERF) g_ostrm << MSG_ERR << m_message << MSG_RESTORE;
}

// ---------------------------------------------------------------- rescaling

template <>
bool qmCacheIteratorOf<int>::updateValue(int& v, long long size, long long bound, bool fine) {
    if (fine) {
        if (size < bound && v > INT_MAX / 2) return false;
        v = size >= bound ? v >> 1 : v << 1;
        return v > 0;
    }
    int k = 0;
    if (size <= bound)
        while (size <= bound) {
            size *= 2;
            ++k;
        }
    do {
        size /= 2;
        --k;
    } while (size / 2 >= bound && size > 0);
    if (k >= 31 || (k >= 1 && v > (INT_MAX >> k))) return false;
    v = k >= 1 ? v << k : v >> -k;
    return v > 0;
}

template <>
bool qmCacheIteratorOf<ZkriSize>::updateValue(ZkriSize& v, long long size, long long bound, bool fine) {
    if (fine) {
        if (size < bound && (v.width > INT_MAX / 2 || v.height > INT_MAX / 2)) return false;
        if (size < bound)
            (v.width <= v.height ? v.width : v.height) <<= 1;
        else
            (v.width > v.height ? v.width : v.height) >>= 1;
        return v.width >= 1 && v.height >= 1;
    }
    int ex = 0, ey = 0;
    while (size <= bound) {
        size *= 2;
        (ex <= ey ? ex : ey) += 1;
    }
    do {
        size /= 2;
        (ex > ey ? ex : ey) -= 1;
    } while (size / 2 >= bound && size > 0);
    if (ex >= 31 || ey >= 31 || (ex > 0 && v.width > (INT_MAX >> ex)) || (ey > 0 && v.height > (INT_MAX >> ey)))
        return false;
    v.width = ex > 0 ? v.width << ex : v.width >> -ex;
    v.height = ey > 0 ? v.height << ey : v.height >> -ey;
    return v.width >= 1 && v.height >= 1;
}

