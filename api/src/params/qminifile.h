// qmIniFile: an ini-file held in memory. Sections ("[name]") hold entries ("key = value"); text from
// "//" on is a comment. The file is written back only when something was added or removed.
// Choices (see docs/parameters.md):
//   - comments survive a rewrite: an entry keeps the comment of its line, and a line that is only
//     a comment is kept in place as a bare line;
//   - entries before the first section line belong to the unnamed section "", written back first
//     and without a header line.
#pragma once
#include <string>
#include "qmlist.h"
#include "qmstream.h"
#include "qmstring.h"

// The value of an entry that is a bare line (no "="), written back as its key alone.
inline constexpr const char* QM_INI_LINE = "~~~";

struct qmIniEntry {
    qmString key;
    qmString value;
    qmString comment;
};

class qmValues : public qmList<qmIniEntry> {
public:
    qmIniEntry* exist(const qmString& key);
    const qmIniEntry* exist(const qmString& key) const;
};

struct qmIniSection {
    qmString name;
    qmValues values;
};

class qmSections : public qmList<qmIniSection> {
public:
    qmIniSection* exist(const qmString& name);
    const qmIniSection* exist(const qmString& name) const;
};

class qmIniFile {
public:
    qmIniFile() = default;
    ~qmIniFile();
    qmIniFile(const qmIniFile&) = delete;
    qmIniFile& operator=(const qmIniFile&) = delete;

    // Reads the file when it exists. With write, then opens it for writing to prove that it can be
    // written; that open empties the file on disk until close() writes the content back. False when
    // writing was asked and is impossible.
    bool open(const qmString& name, bool write);
    // Writes the file back when modified (or emptied by the proving open) and forgets it.
    void close();

    qmString read(const qmString& section, const qmString& key, const qmString& defaultValue) const;
    // Adds what is absent; an existing entry keeps its value. Any addition marks the file modified.
    void write(const qmString& section, const qmString& key, const qmString& value, const qmString& comment);
    void write(const qmString& section, const qmString& key);  // a bare line
    void write(const qmString& section);

    bool sectionExist(const qmString& section) const;
    bool valueExist(const qmString& section, const qmString& key) const;
    const qmValues* getSectionValues(const qmString& section) const;
    bool eraseSection(const qmString& section);
    bool deleteKey(const qmString& section, const qmString& key);

    // Line parsers (the line already stripped of its comment and trimmed).
    static bool getSection(const qmString& line, qmString& name);
    static bool getValue(const qmString& line, qmString& key, qmString& value);

    const qmString& name() const { return m_name; }
    bool isOpen() const { return m_open; }
    bool isWritable() const { return m_out != nullptr; }
    bool isModified() const { return m_modified; }
    const qmSections& sections() const { return m_sections; }

private:
    void readLines(const std::string& text);
    qmString text() const;  // the file as updateFile writes it
    qmIniSection& section(const qmString& name);  // finds or appends
    void updateFile();

    qmString m_name;
    qmSections m_sections;
    bool m_open = false;
    bool m_modified = false;
    o_stream* m_out = nullptr;  // held from the proving open until close
    std::string m_original;     // the bytes read, put back when the rewrite fails
};
