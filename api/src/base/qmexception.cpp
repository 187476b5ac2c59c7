#include "qmexception.h"

// The buffers are fixed at 256 characters; longer texts are cut on purpose.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wformat-truncation"
#endif

#include <cstdio>

qmException::qmException(const qmString& info) {
    // User input quoted in a message may hold control characters (from -d, an ini-file or the
    // console); shown as "\xNN" they cannot move the cursor or clear the terminal.
    const qmString text = info.printable();
    std::snprintf(m_info, sizeof m_info, "%s", text.c_str());
    std::snprintf(m_msg, sizeof m_msg, "--ZKR. Exception: %s", text.c_str());
}

qmException::qmException(const char* signalDescription) {
    std::snprintf(m_info, sizeof m_info, "%s", signalDescription ? signalDescription : "");
    std::snprintf(m_msg, sizeof m_msg, "--ZKR. Signal: %s", m_info);
}
