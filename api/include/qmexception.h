// qmException: bad user input, and signals or failures caught inside a test.
#pragma once
#include <exception>
#include "qmstring.h"

class qmException : public std::exception {
public:
    // From a text: the information holds the text, the message "--ZKR. Exception: <text>".
    explicit qmException(const qmString& info);
    // From a signal description: the message "--ZKR. Signal: <description>".
    explicit qmException(const char* signalDescription);

    const char* msg() const { return m_msg; }
    const char* info() const { return m_info; }
    const char* what() const noexcept override { return m_msg; }

private:
    char m_msg[256];
    char m_info[256];
};
