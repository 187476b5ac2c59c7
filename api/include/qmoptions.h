// Command-line keys: the option table of the session and the parsed command line.
#pragma once
#include <functional>
#include "qmlist.h"
#include "qmstring.h"

class qmSession;

// One entry of the session's option table.
struct qmOption {
    char key = 0;
    bool hidden = false;    // used by developers only
    qmString help;          // one-line help; empty for a deprecated key
    std::function<qmString(const qmString& arg)> info;            // what the key will do, in words
    std::function<void(const qmString& arg, qmSession*)> apply;  // does it
    qmString description;   // extended help
    int ignoredOnExit = 0;  // exit level from which the echo says "ignored because of ..."; 0 never;
                            // -1: only for the help keys
};

struct qmCommandKey {
    char key;
    qmString arg;
};

// The parsed command line: keys with their arguments in the order given.
class qmCommandList {
public:
    void setArgs(int argc, char** argv);  // argv[1] onward
    void setArgs(const char* text);       // split at any of " ;\t\r\n"
    bool isKey(char key) const;
    // Argument of the last occurrence; false when the key does not occur.
    bool getArg(char key, qmString& arg) const;
    const qmList<qmCommandKey>& keys() const { return m_keys; }
    // The first word of the GNU form ("--name") that is not one of the requests understood
    // ("--help" as -h, "--version" as -v); empty when there is none. Such a word never starts a run.
    const qmString& unknownLongOption() const { return m_unknownLong; }

private:
    void pair(const qmList<qmString>& tokens);
    qmList<qmCommandKey> m_keys;
    qmString m_unknownLong;
};
