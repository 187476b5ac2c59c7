#include "qmparameter.h"

#include "qmexception.h"
#include "qmistream.h"
#include "qmsignal.h"

qmParameter::qmParameter(const qmString& name, const qmString& description)
    : m_name(name), m_prompt(description) {}

void qmParameter::reset() {
    resetIterator();
    m_deprecatedFlag = false;
    m_deprecatedText = qmString();
}

qmString qmParameter::valueString() const { return qmString(); }
qmString qmParameter::defaultString() const { return valueString(); }
qmString qmParameter::validString() const { return qmString(); }
qmString qmParameter::description() const { return m_name + " = " + defaultString(); }

qmString qmParameter::prompt() const {
    qmString valid = validString();
    return valid.empty() ? m_prompt : m_prompt + " {" + valid + "}";
}

void qmParameter::resetIterator() { m_hasValue = false; }

bool qmParameter::firstValue() {
    resetIterator();
    return nextValue();
}

bool qmParameter::nextValue() {
    m_hasValue = !m_hasValue;
    return m_hasValue;
}

bool qmParameter::isDeprecatedParm() { return false; }
bool qmParameter::isDeprecatedValue() { return m_deprecatedFlag; }

bool qmParameter::setDeprecatedFlag(bool) {
    m_deprecatedFlag = false;
    return false;
}

void qmParameter::toOStream(qmOStream& o) const {
    if (!m_name.empty()) o << m_name << "=" << valueString() << " ";
}

int qmParameter::colmIndex() const { return -1; }

qmString qmParameter::cellText() const {
    if (m_name.empty()) return qmString();
    if (m_deprecatedFlag) return m_deprecatedText;
    if (m_colmFlags & QM_COLM_QUOTED) return "\"" + valueString() + "\"";
    return valueString();
}

void qmParameter::toCStream(qmCStream& c) const {
    if (colmIndex() < 0) c << cellText();
    else c.setColm(colmIndex(), cellText());
}

void qmParameter::nameToCStream(qmCStream& c) const {
    if (colmIndex() < 0) c << m_name;
    else c.setColm(colmIndex(), m_name);
}

namespace {
// Puts the console output level back however the dialogue ends (answer, exception or signal).
class qmOutLevelKeeper {
public:
    explicit qmOutLevelKeeper(bool raise) : m_saved(g_ostrm.outLevel()) {
        if (raise) g_ostrm.setOutLevel(ERR | WARN | PERF);
    }
    ~qmOutLevelKeeper() { g_ostrm.setOutLevel(m_saved); }

private:
    int m_saved;
};
}  // namespace

// The value of one item read from a stream, with a signal during the dialogue turned into an
// exception. No object that lives past the jump point is modified after it (a local string assigned
// there could be clobbered by the jump back).
static qmString askValue(const qmParameter& p, qmIStream& in) {
    // The dialogue is shown in full (errors, warnings, results) whatever -L asked for.
    qmOutLevelKeeper level(in.isConsole());
    qmSignalScope scope;
    if (QM_SIGNAL_CAUGHT()) throw qmException(tsSignal::getInfo());
    return in.getItemValue(p.name(), p.prompt(), p.defaultString(), p.validString());
}

void qmParameter::fromIStream(qmIStream& in) {
    if (m_name.empty()) return;
    qmString text = askValue(*this, in);
    translate(text);
}
