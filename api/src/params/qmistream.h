// qmIStream (global g_istrm): where parameter values come from. In order of priority: the -d data
// list, the ini-file (-i, or -I which also writes every value it hands out), the console, and the
// parameter's default.
#pragma once
#include <map>
#include <set>
#include "qminifile.h"
#include "qmstream.h"

// The section of the parameters common to all tests.
inline constexpr const char* QM_COMMON_SECTION = "Quillmark";

class qmIStream {
public:
    qmIStream() = default;
    ~qmIStream();
    qmIStream(const qmIStream&) = delete;
    qmIStream& operator=(const qmIStream&) = delete;

    // Console input; the stream takes ownership (e.g. new i_stream(stdin)).
    void setIStream(i_stream* console);
    void deleteIStream();
    bool isConsole() const { return m_console != nullptr; }

    // The -d data list; a name given again replaces the earlier value.
    void addData(const qmString& name, const qmString& value);
    void clearData() { m_data.clear(); m_asked.clear(); }
    // Warns about every -d name that no parameter of the run asked for ("-- Warning: -dNumLoop=2
    // was not used: ..."), naming a parameter that differs only in letter case.
    void reportUnusedData() const;

    // Opens the ini-file (write: -I); false when it cannot be written, the file then not attached.
    bool setIniFile(const qmString& name, bool write);
    // Writes the ini-file back when needed and detaches it.
    void deleteIniFile();
    qmIniFile* iniFile() const { return m_ini; }
    bool isIniWrite() const { return m_ini && m_ini->isWritable(); }

    // Selects the section of the function being measured. Under -I the section is created. False
    // when only listed functions are to be measured (-P) and the ini-file has no such section.
    bool setIniSection(const qmString& section);
    void setSectionsOnly(bool on) { m_sectionsOnly = on; }

    // Name-only state: parameters are collected (and written to the -I file) but nothing is
    // measured; on while an ini-file is open for writing (-I). -Q is the session's name-exit flag.
    bool nameOnly() const { return isIniWrite(); }

    // The definition of a parameter: -d, else a non-empty ini value, else the console answer
    // (an empty answer or end of input takes the default), else the default. Under -I the chosen
    // value is written into the current section with the comment (an existing entry is kept).
    // The console prompt is "<prompt> [<default>]: " at level ERR (the name replaces an empty
    // prompt).
    qmString getItemValue(const qmString& name, const qmString& prompt, const qmString& defaultValue,
                          const qmString& comment);

private:
    qmString askConsole(const qmString& prompt, const qmString& defaultValue);

    i_stream* m_console = nullptr;
    std::map<qmString, qmString> m_data;
    std::set<qmString> m_asked;  // every parameter name looked up
    qmIniFile* m_ini = nullptr;
    qmString m_section = QM_COMMON_SECTION;
    bool m_sectionsOnly = false;
};

extern qmIStream g_istrm;
