// qmPairIterator<T>: a list of value pairs. The two numbers of one item are separated by a comma,
// blanks allowed: "3,5; 7, 9". Because a comma would split a column of a csv table, the pair
// iterator prints its values in double quotes there (column flag QM_COLM_QUOTED).
#pragma once
#include "qmiterators.h"

template <class T>
struct qmPair {
    T first{};
    T second{};
    bool operator==(const qmPair&) const = default;
};

template <class T>
struct qmValueText<qmPair<T>> {
    static qmString toString(const qmPair<T>& p) {
        return qmValueText<T>::toString(p.first) + "," + qmValueText<T>::toString(p.second);
    }
    static bool fromString(const qmString& s, qmPair<T>& p) {
        qmList<qmString> parts = s.split(',');
        if (parts.size() != 2) return false;
        qmPair<T> r;
        if (!qmValueText<T>::fromString(parts.front(), r.first) || !qmValueText<T>::fromString(parts.back(), r.second))
            return false;
        p = r;
        return true;
    }
};

template <class T>
class qmPairIterator : public qmIterator_NSC<qmPair<T>> {
public:
    qmPairIterator(T first, T second, const qmString& name, const qmString& description)
        : qmIterator_NSC<qmPair<T>>(qmPair<T>{first, second}, name, description) {
        this->setColmFlags(this->colmFlags() | QM_COLM_QUOTED);
    }
};
