// qmObject: the base of the test data objects, with a name for messages and the size that the
// cache iterator watches.
#pragma once
#include "qmstring.h"

class qmObject {
public:
    explicit qmObject(const qmString& name = "object") : m_name(name) {}

    virtual int objectSize() const { return 0; }          // bytes of data owned
    virtual qmString objectInfo() const { return m_name; }  // one-line description

    const qmString& name() const { return m_name; }
    void setName(const qmString& name) { m_name = name; }

    // Writes "-- Fail to allocate <name> data" at the error level.
    void reportAllocFailure() const;

protected:
    // Data objects are deleted through their own type; the virtual destructor is declared by
    // zkVector in its slot after the reserved-copy operations.
    ~qmObject() = default;
    qmObject(const qmObject&) = default;
    qmObject& operator=(const qmObject&) = default;

    qmString m_name;
};
