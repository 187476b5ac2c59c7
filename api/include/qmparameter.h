// qmParameter: the base of every test parameter. A parameter has a name (its key in ini-files, on
// -d and in column headers; empty = silent and never read), a prompt text, column flags and a
// deprecated state, and walks its values with firstValue()/nextValue().
// The typed iterator family is in qmiterators.h, qmmapiterator.h, qmstepiterator.h and
// qmpairiterator.h.
#pragma once
#include <cstdint>
#include "qmstream.h"
#include "qmstring.h"

class qmIStream;

// Column flag bits.
enum : uint32_t { QM_COLM_QUOTED = 2 };  // the value is printed in double quotes in result tables

class qmParameter {
public:
    qmParameter(const qmString& name, const qmString& description);
    virtual ~qmParameter() = default;

    // Virtual operations in their fixed slot order.
    virtual void reset();
    virtual qmString valueString() const;
    virtual qmString defaultString() const;
    virtual qmString validString() const;
    virtual qmString description() const;
    virtual qmString prompt() const;
    virtual void resetIterator();
    virtual bool firstValue();
    virtual bool nextValue();
    virtual bool isDeprecatedParm();
    virtual bool isDeprecatedValue();
    virtual bool setDeprecatedFlag(bool on);
    virtual void toOStream(qmOStream& o) const;
    virtual int colmIndex() const;
    virtual void toCStream(qmCStream& c) const;
    virtual void nameToCStream(qmCStream& c) const;
    virtual void fromIStream(qmIStream& in);
    virtual void translate(const qmString& definition) = 0;

    const qmString& name() const { return m_name; }
    void setName(const qmString& name) { m_name = name; }
    const qmString& promptText() const { return m_prompt; }
    uint32_t colmFlags() const { return m_colmFlags; }
    void setColmFlags(uint32_t flags) { m_colmFlags = flags; }
    bool deprecatedFlag() const { return m_deprecatedFlag; }
    const qmString& deprecatedText() const { return m_deprecatedText; }
    bool hasValue() const { return m_hasValue; }

    // The text toCStream writes: "" for a silent parameter, the deprecated text, or the value
    // (quoted under QM_COLM_QUOTED).
    qmString cellText() const;

protected:
    qmString m_name;
    qmString m_prompt;
    uint32_t m_colmFlags = 0;
    bool m_deprecatedFlag = false;
    qmString m_deprecatedText;
    bool m_hasValue = false;
};
