// qmStepIterator<T>: a value list or an arithmetic/geometric range.
//   "16; 1024; *2"  -> 16, 32, ..., 1024      (first; last; <op><step>, op one of + - *)
//   "10; 1; -1"     -> 10, 9, ..., 1
//   "1; 2; 3"       -> a list: the third item does not begin with an operation character
// A shrinking range is written with first > last and '-' (or '+' with a negative step), or with
// negative limits and '*'. For ZkriSize every rule applies to width and height alike, and the step
// is a size or one number for both ("16x16; 1024x1024; *2" doubles both dimensions).
#pragma once
#include <cmath>
#include <type_traits>
#include "qmiterators.h"

template <class T>
class qmStepIterator : public qmIterator_NSC<T> {
    using Parts = qmStepComponents<T>;
    using C = decltype(Parts::get(std::declval<T>(), 0));

public:
    // A list of one value.
    qmStepIterator(T value, const qmString& name, const qmString& description)
        : qmIterator_NSC<T>(value, name, description) {}
    // A list.
    qmStepIterator(std::initializer_list<T> values, const qmString& name, const qmString& description)
        : qmIterator_NSC<T>(values, name, description) {}
    // A range; a built-in range that breaks the rules throws like a typed one.
    qmStepIterator(T first, T last, char op, T step, const qmString& name, const qmString& description)
        : qmIterator_NSC<T>(first, name, description) {
        setRange(first, last, op, step, qmString());
    }

    T first() const { return m_first; }
    T last() const { return m_last; }
    T step() const { return m_step; }
    char operation() const { return m_op; }  // '+', '-', '*', or '?' for a list
    bool descending() const { return m_descending; }
    bool isRange() const { return m_op != '?'; }

    qmString defaultString() const override {
        if (!isRange()) return this->joinValues();
        return this->valueToString(m_first) + "; " + this->valueToString(m_last) + "; " + m_op +
               this->valueToString(m_step);
    }

    qmString description() const override {
        if (!isRange()) return qmParameter::description();
        const qmString& n = this->m_name;
        return "for (" + n + " = " + this->valueToString(m_first) + "; " + n + (m_descending ? " >= " : " <= ") +
               this->valueToString(m_last) + "; " + n + " " + m_op + "= " + this->valueToString(m_step) + ")";
    }

    bool nextValue() override {
        if (!isRange()) return qmIterator_NSC<T>::nextValue();
        T next = m_first;
        if (this->m_hasValue && !advance(this->m_current, next)) return stop();
        if (!withinLast(next)) return stop();
        this->m_current = next;
        this->m_hasValue = true;
        return true;
    }

    // A typed range may not sweep more values than a run could ever measure ("1; 2000000000; +1").
    static constexpr long long s_maxRangeValues = 1000000;

    void translate(const qmString& definition) override {
        if (translateStep(definition)) {
            if (rangeValues(s_maxRangeValues + 1) > s_maxRangeValues)
                throw qmException("Range of " + this->m_name + " = " + definition.trimmed() + " has more than " +
                                  qmString::format("%lld", s_maxRangeValues) + " values");
            return;
        }
        qmIterator_NSC<T>::translate(definition);
        m_op = '?';
    }

    // The step form: exactly three items, the third beginning with '+', '-' or '*'. False when the
    // text is not of that form; throws on a bad value or a conflict.
    bool translateStep(const qmString& definition) {
        qmList<qmString> items;
        for (const qmString& piece : definition.parse(";"))
            if (!piece.trimmed().empty()) items.append(piece.trimmed());
        if (items.size() != 3) return false;
        auto it = items.begin();
        qmString firstText = *it++, lastText = *it++, stepText = *it;
        const char op = stepText[0];
        if (op != '+' && op != '-' && op != '*') return false;

        const qmString of = " of " + this->m_name + " = " + definition.trimmed();
        T first = this->stringToValue(firstText);
        if (firstText.error()) throw qmException("Invalid first value = " + firstText + of);
        T last = this->stringToValue(lastText);
        if (lastText.error()) throw qmException("Invalid last value = " + lastText + of);
        qmString stepValue = stepText.mid(1);
        T step = this->stringToValue(stepValue);
        if (stepValue.error()) throw qmException("Invalid step = " + stepText + of);
        // Every value of a range lies between its limits: both limits inside the allowed range suffice.
        this->checkLimits(first, firstText);
        this->checkLimits(last, lastText);
        setRange(first, last, op, step, definition.trimmed());
        return true;
    }

private:
    void setRange(T first, T last, char op, T step, const qmString& definition) {
        bool descending = false;
        if (const char* rule = brokenRule(first, last, op, step, descending)) {
            const qmString text = definition.empty() ? this->valueToString(first) + "; " + this->valueToString(last) +
                                                           "; " + qmString(op) + this->valueToString(step)
                                                     : definition;
            throw qmException("Conflict between iterator limits and operation in " + this->m_name + " = " + text +
                              ": " + rule);
        }
        m_first = first;
        m_last = last;
        m_step = step;
        m_op = op;
        m_descending = descending;
        this->m_values = qmList<T>{first};
        this->m_current = first;
        this->reset();
    }

    // The range rules, applied to every component; components may not run in opposite directions.
    // The rule a range breaks, or null when it keeps them all.
    static const char* brokenRule(T first, T last, char op, T step, bool& descending) {
        bool up = false, down = false;
        for (int i = 0; i < Parts::count; ++i) {
            up = up || Parts::get(first, i) < Parts::get(last, i);
            down = down || Parts::get(first, i) > Parts::get(last, i);
        }
        if (up && down) return "the dimensions of the limits run in opposite directions";
        descending = down;
        for (int i = 0; i < Parts::count; ++i) {
            const C f = Parts::get(first, i), l = Parts::get(last, i), s = Parts::get(step, i);
            switch (op) {
                case '+':
                    if (!descending && !(s >= 1)) return "'+' from a lower to a higher limit needs a step of at least 1";
                    if (descending && !(s < 1)) return "'+' from a higher to a lower limit needs a step below 1";
                    break;
                case '-':
                    if (!descending && !(s < 1)) return "'-' from a lower to a higher limit needs a step below 1";
                    if (descending && !(s >= 1)) return "'-' from a higher to a lower limit needs a step of at least 1";
                    break;
                case '*': {
                    const bool positive = f >= 1 && l >= 1, negative = f < 0 && l < 0;
                    if (!(positive || negative)) return "'*' needs both limits at least 1 or both negative";
                    if (!(s > 1)) return "'*' needs a step above 1";
                    if (positive && descending) return "'*' with positive limits needs the first below the last";
                    if (negative && !descending) return "'*' with negative limits needs the first above the last";
                    break;
                }
                default: return "the operation is not one of '+', '-', '*'";
            }
        }
        return nullptr;
    }

    // The value after v; false when the operation overflows or does not move v toward the last
    // limit (a zero step, or a fractional '+' step in a descending range), so a walk always ends.
    bool advance(const T& v, T& next) const {
        for (int i = 0; i < Parts::count; ++i) {
            const C c = Parts::get(v, i), s = Parts::get(m_step, i);
            C r{};
            if constexpr (std::is_integral_v<C>) {
                const bool overflow = m_op == '+'   ? __builtin_add_overflow(c, s, &r)
                                      : m_op == '-' ? __builtin_sub_overflow(c, s, &r)
                                                    : __builtin_mul_overflow(c, s, &r);
                if (overflow) return false;
            } else {
                r = m_op == '+' ? c + s : m_op == '-' ? c - s : c * s;
                if (!std::isfinite(static_cast<double>(r))) return false;
            }
            if (m_descending ? !(r < c) : !(r > c)) return false;
            Parts::set(next, i, r);
        }
        return true;
    }

    // The number of values the range sweeps, counted up to `limit`.
    long long rangeValues(long long limit) const {
        long long n = 1;
        T v = m_first, next = m_first;
        while (n < limit && advance(v, next) && withinLast(next)) {
            v = next;
            ++n;
        }
        return n;
    }

    bool withinLast(const T& v) const {
        for (int i = 0; i < Parts::count; ++i) {
            const C c = Parts::get(v, i), l = Parts::get(m_last, i);
            if (m_descending ? c < l : c > l) return false;
        }
        return true;
    }

    bool stop() {
        this->m_hasValue = false;
        return false;
    }

    T m_first{}, m_last{}, m_step{};
    char m_op = '?';
    bool m_descending = false;
};

// The image size parameter shared by the image tests.
typedef qmStepIterator<ZkriSize> zkSizeIterator;

// Compiled once in the framework (api/src/params/qminstances.cpp).
extern template class qmIterator<ZkriSize>;
extern template class qmDefault_NSC<ZkriSize>;
extern template class qmIterator_NSC<ZkriSize>;
extern template class qmStepIterator<int>;
extern template class qmStepIterator<double>;
extern template class qmStepIterator<ZkriSize>;
