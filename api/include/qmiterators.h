// The typed parameter family: qmIterator<T> (the value list and its text forms), qmDefault_NSC<T>
// (one default value, deprecated values), qmIterator_NSC<T> (a list walked in order) and the
// enumerations with a closed set of allowed values.
//
// Value definitions are texts of items separated by ";", each trimmed: "64; 128; 256".
#pragma once
#include <initializer_list>
#include <iterator>
#include <utility>
#include "qmexception.h"
#include "qmparameter.h"
#include "qmvaluetext.h"

// The scalar components of a value: the value itself, or the two dimensions of a size. Ranges and
// limits apply to each component.
template <class T>
struct qmStepComponents {
    static constexpr int count = 1;
    static T get(const T& v, int) { return v; }
    static void set(T& v, int, T c) { v = c; }
};

template <>
struct qmStepComponents<ZkriSize> {
    static constexpr int count = 2;
    static int get(const ZkriSize& v, int i) { return i ? v.height : v.width; }
    static void set(ZkriSize& v, int i, int c) { (i ? v.height : v.width) = c; }
};

template <class T>
class qmIterator {
public:
    // Typed operations in their fixed slot order. value() is inline so that a call on an object of
    // a final class costs one load.
    virtual T value() const { return m_current; }
    virtual qmString valueToString(T v) const { return qmValueText<T>::toString(v); }
    // Parses one value; marks the text with its error flag when it is not a valid T.
    virtual T stringToValue(qmString& text) const {
        T v{};
        if (!qmValueText<T>::fromString(text, v)) text.setError();
        return v;
    }
    // Parses one item of a definition, possibly normalising it; invalid items get the error flag.
    virtual T validItem(qmString& item) { return stringToValue(item); }
    virtual ~qmIterator() = default;
    virtual void add(T v) { m_values.append(v); }

    const qmList<T>& values() const { return m_values; }
    void clearValues() { m_values.clear(); }
    // Moves the current value (used when a controlling iterator rescales its parameter).
    void setValue(T v) { m_current = v; }

protected:
    qmString joinValues() const {
        qmString out;
        for (const T& v : m_values) {
            if (!out.empty()) out += "; ";
            out += valueToString(v);
        }
        return out;
    }

    qmList<T> m_values;
    T m_current{};
};

template <class T>
class qmDefault_NSC : public qmParameter, public qmIterator<T> {
public:
    qmDefault_NSC(T value, const qmString& name, const qmString& description) : qmParameter(name, description) {
        this->m_values.append(value);
        this->m_current = value;
    }

    qmString valueString() const override { return this->valueToString(this->m_current); }
    qmString defaultString() const override { return this->joinValues(); }

    // One pass over the single value.
    bool nextValue() override {
        if (!qmParameter::nextValue()) return false;
        if (!this->m_values.empty()) this->m_current = this->m_values.front();
        return true;
    }

    // A single value; a list of several is not a valid definition here.
    void translate(const qmString& definition) override {
        qmList<T> items = translateList(definition);
        if (items.size() != 1) throw qmException("Invalid value of " + m_name + " = " + definition.trimmed());
        this->m_values = items;
        this->m_current = items.front();
        reset();
    }

    // The values the test module can handle: every value of a definition, typed or read (each
    // dimension of a size, both limits of a range), must lie in [lo, hi]. A value outside is refused
    // with "Invalid value of <name> = <value> (allowed: <lo> to <hi>)" before any set runs.
    // Returns true, so that a module can declare the limits in a static initialiser.
    bool setLimits(T lo, T hi) {
        m_lo = lo;
        m_hi = hi;
        m_limited = true;
        return true;
    }
    bool limited() const { return m_limited; }
    bool withinLimits(const T& v) const {
        if (!m_limited) return true;
        using Parts = qmStepComponents<T>;
        if constexpr (requires(const T& a) { Parts::get(a, 0) >= Parts::get(a, 0); }) {
            for (int i = 0; i < Parts::count; ++i) {
                const auto c = Parts::get(v, i);
                if (!(c >= Parts::get(m_lo, i) && c <= Parts::get(m_hi, i))) return false;  // NaN fails too
            }
        }
        return true;
    }
    qmString limitsText() const { return this->valueToString(m_lo) + " to " + this->valueToString(m_hi); }
    // Refuses a value outside the limits, naming the parameter, the value and the range.
    void checkLimits(const T& v, const qmString& text) const {
        if (!withinLimits(v))
            throw qmException("Invalid value of " + m_name + " = " + text + " (allowed: " + limitsText() + ")");
    }
    qmString validString() const override { return m_limited ? limitsText() : qmString(); }

    // A value still accepted but shown by another text in output (e.g. a renamed mode).
    void addDeprecated(T value, const qmString& text) { m_deprecated.append({value, text}); }
    bool isDeprecatedParm() override { return !m_deprecated.empty(); }
    bool isDeprecatedValue() override { return findDeprecated() != nullptr; }
    bool setDeprecatedFlag(bool on) override {
        m_deprecatedFlag = false;
        if (!on) return false;
        if (const qmString* text = findDeprecated()) {
            m_deprecatedFlag = true;
            m_deprecatedText = *text;
            return true;
        }
        return false;
    }

protected:
    // The values of a ";"-separated definition, in the order typed.
    qmList<T> translateList(const qmString& definition) {
        qmList<T> out;
        for (const qmString& piece : definition.parse(";")) {
            qmString item = piece.trimmed();
            if (item.empty()) continue;
            T v = this->validItem(item);
            if (item.error()) throw qmException("Invalid value of " + m_name + " = " + item + validNote());
            checkLimits(v, item);
            out.append(v);
        }
        if (out.empty()) throw qmException(qmString("Empty iterator definition") + emptyNote(definition));
        return out;
    }

    // " (allowed: ...)" after a refused item when the parameter says what it takes.
    qmString validNote() const {
        const qmString valid = this->validString();
        return valid.empty() ? qmString() : " (allowed: " + valid + ")";
    }
    // Names the parameter and the text that held no value.
    qmString emptyNote(const qmString& definition) const {
        return " of " + m_name + " = \"" + definition + "\"";
    }

private:
    // The replacement text of the current value when it is deprecated, compared as text.
    const qmString* findDeprecated() const {
        const qmString current = this->valueToString(this->m_current);
        for (const auto& [v, text] : m_deprecated)
            if (this->valueToString(v) == current) return &text;
        return nullptr;
    }

    qmList<std::pair<T, qmString>> m_deprecated;
    T m_lo{}, m_hi{};
    bool m_limited = false;
};

template <class T>
class qmIterator_NSC : public qmDefault_NSC<T> {
public:
    qmIterator_NSC(T value, const qmString& name, const qmString& description)
        : qmDefault_NSC<T>(value, name, description) {}
    qmIterator_NSC(std::initializer_list<T> values, const qmString& name, const qmString& description)
        : qmDefault_NSC<T>(*values.begin(), name, description) {
        this->m_values = qmList<T>(values);
    }

    void resetIterator() override {
        qmParameter::resetIterator();
        m_pos = this->m_values.begin();
    }

    bool nextValue() override {
        auto next = this->m_hasValue ? std::next(m_pos) : this->m_values.begin();
        if (next == this->m_values.end()) {
            this->m_hasValue = false;
            return false;
        }
        m_pos = next;
        this->m_current = *m_pos;
        this->m_hasValue = true;
        return true;
    }

    void translate(const qmString& definition) override {
        this->m_values = this->translateList(definition);
        this->m_current = this->m_values.front();
        this->reset();
    }

private:
    typename qmList<T>::iterator m_pos{};
};

// A closed set of allowed values; while validation is on, a typed value outside it is invalid.
// Validation starts off; qmEnumIterator<T> is the same with validation on from the start.
template <class T>
class qmEnumIterator_NCS : public qmIterator_NSC<T> {
public:
    using qmIterator_NSC<T>::qmIterator_NSC;

    void addAllowed(T v) { m_allowed.append(v); }
    void initValidation() { m_validate = true; }
    void resetValidation() { m_validate = false; }
    bool validation() const { return m_validate; }

    qmString validString() const override {
        qmString out;
        for (const T& v : m_allowed) {
            if (!out.empty()) out += ", ";
            out += this->valueToString(v);
        }
        return out;
    }

    T validItem(qmString& item) override {
        T v = this->stringToValue(item);
        if (!item.error() && m_validate && !m_allowed.contains(v)) item.setError();
        return v;
    }

protected:
    qmList<T> m_allowed;
    bool m_validate = false;
};

template <class T>
class qmEnumIterator : public qmEnumIterator_NCS<T> {
public:
    qmEnumIterator(T value, std::initializer_list<T> allowed, const qmString& name, const qmString& description)
        : qmEnumIterator_NCS<T>(value, name, description) {
        for (const T& v : allowed) this->addAllowed(v);
        this->initValidation();
    }
};

// The value types the framework and the test modules use are instantiated once, in the framework
// (api/src/params/qminstances.cpp), instead of in every module that declares a parameter.
extern template class qmIterator<int>;
extern template class qmIterator<float>;
extern template class qmIterator<double>;
extern template class qmDefault_NSC<int>;
extern template class qmDefault_NSC<float>;
extern template class qmDefault_NSC<double>;
extern template class qmIterator_NSC<int>;
extern template class qmIterator_NSC<float>;
extern template class qmIterator_NSC<double>;
extern template class qmEnumIterator_NCS<int>;
