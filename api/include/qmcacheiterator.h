// qmCacheIterator: the parameter "cacheIterator" that times a test twice, with data sized to fit in
// the largest cache ("inCache") and with data beyond it ("outofCache"). It controls a size
// parameter of the test and, after the test has built its data, checks the data's size against
// the mode's limits; when they do not fit it rescales the controlled parameter so that the test can
// build its data again, at most 11 times in a row.
#pragma once
#include "qmiterators.h"
#include "qmstepiterator.h"
#include "zkrcore.h"

class qmObject;

class qmCacheIterator : public qmIterator_NSC<int> {
public:
    using SetValueFunc = bool (*)(qmParameter* parm, int target, int bound, bool fine);
    static constexpr int MAX_TRIES = 11;

    qmCacheIterator(qmParameter& controlled, qmObject* watched, SetValueFunc setter);

    bool nextValue() override;
    qmString valueToString(int mode) const override;
    // Reads the mode back from its text form ("inCache", "outofCache") or its number.
    int stringToValue(qmString& text) const override;

    bool validateSize();
    bool repeatValue();
    bool setNewValue();
    void outputInfo() const;

    int getTotalSize() const;
    int getObjectSize() const;
    // Largest cache of the processor as the library reports it; 0 when the query fails.
    static int cacheSize();
    int lowSize() const;
    int highSize() const;
    qmString getComment() const;
    const qmString& message() const { return m_message; }
    int tries() const { return m_tries; }
    // The cache size the limits use (the library's answer unless a test sets it).
    void setCacheSize(int bytes) { m_cacheSize = bytes; }

protected:
    virtual bool setNewValueToParm(int target, int bound, bool fine) = 0;

    qmParameter& m_parm;
    qmObject* m_object;
    SetValueFunc m_setValue;
    int m_tries = 0;
    int m_objectSize = 0;
    int m_totalSize = 0;
    double m_lowFactor = 0.1;
    qmString m_message;
    int m_cacheSize = -1;  // -1: ask the library
};

// Controls a parameter of type T: an int (a length in elements, a side in pixels) or an image size
// (the scaling is then shared between width and height).
template <class T>
class qmCacheIteratorOf : public qmCacheIterator {
public:
    qmCacheIteratorOf(qmStepIterator<T>& controlled, qmObject* watched, SetValueFunc setter = nullptr)
        : qmCacheIterator(controlled, watched, setter), m_controlled(controlled) {}
    // Scales v by a power of two (coarse) or by one doubling or halving (fine); false when the result
    // would be 0 or below, or would overflow.
    static bool updateValue(T& v, long long size, long long bound, bool fine);

protected:
    bool setNewValueToParm(int target, int bound, bool fine) override {
        T v = m_controlled.value();
        if (!updateValue(v, target, bound, fine)) return false;
        m_controlled.setValue(v);
        return true;
    }

private:
    qmStepIterator<T>& m_controlled;
};

template <>
bool qmCacheIteratorOf<int>::updateValue(int& v, long long size, long long bound, bool fine);
template <>
bool qmCacheIteratorOf<ZkriSize>::updateValue(ZkriSize& v, long long size, long long bound, bool fine);

using qmCacheIteratorInt = qmCacheIteratorOf<int>;
using qmCacheIteratorSize = qmCacheIteratorOf<ZkriSize>;
