// qmMapIterator<T>: a parameter whose values the user names. The map keeps the order in which its
// entries were added; a typed name matches any entry of which it is a prefix, in any letter case,
// and the first such entry in map order wins ("acc" selects "accurate"). Values print as their
// first name.
#pragma once
#include "qmiterators.h"

template <class T>
class qmMapIterator : public qmEnumIterator_NCS<T> {
public:
    using Entry = std::pair<qmString, T>;

    qmMapIterator(T value, const qmString& name, const qmString& description, std::initializer_list<Entry> map = {})
        : qmEnumIterator_NCS<T>(value, name, description) {
        for (const Entry& e : map) addMap(e.first, e.second);
    }

    void addMap(const qmString& key, T value) { m_map.append({key, value}); }
    void resetMap() {
        m_map.clear();
        this->m_allowed.clear();
    }
    const qmList<Entry>& map() const { return m_map; }

    // Narrows the accepted values to those of the map (every name already maps into it; a caller
    // may remove some with resetValidation()/addAllowed() for a restricted choice).
    void initValidation() {
        this->m_allowed.clear();
        for (const Entry& e : m_map) this->m_allowed.append(e.second);
        qmEnumIterator_NCS<T>::initValidation();
    }

    qmString valueToString(T v) const override {
        for (const Entry& e : m_map)
            if (e.second == v) return e.first;
        return qmValueText<T>::toString(v);
    }

    T stringToValue(qmString& text) const override {
        const qmString typed = text.trimmed().lower();
        if (!typed.empty())
            for (const Entry& e : m_map)
                if (e.first.lower().startsWith(typed)) return e.second;
        text.setError();
        return T{};
    }

    qmString validString() const override {
        qmString out;
        for (const Entry& e : m_map) {
            if (!out.empty()) out += ", ";
            out += e.first;
        }
        return out;
    }

private:
    qmList<Entry> m_map;
};

// A yes/no choice: "yes" is true, "no" false ("y", "N" and any other prefix accepted).
class qmYesNoIterator : public qmMapIterator<bool> {
public:
    qmYesNoIterator(bool value, const qmString& name, const qmString& description)
        : qmMapIterator<bool>(value, name, description, {{"yes", true}, {"no", false}}) {}
};

// Compiled once in the framework (api/src/params/qminstances.cpp).
extern template class qmMapIterator<int>;
