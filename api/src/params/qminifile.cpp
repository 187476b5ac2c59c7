#include "qminifile.h"

#include <unistd.h>

qmIniEntry* qmValues::exist(const qmString& key) {
    for (qmIniEntry& e : *this)
        if (e.key == key) return &e;
    return nullptr;
}

const qmIniEntry* qmValues::exist(const qmString& key) const { return const_cast<qmValues*>(this)->exist(key); }

qmIniSection* qmSections::exist(const qmString& name) {
    for (qmIniSection& s : *this)
        if (s.name == name) return &s;
    return nullptr;
}

const qmIniSection* qmSections::exist(const qmString& name) const {
    return const_cast<qmSections*>(this)->exist(name);
}

qmIniFile::~qmIniFile() { close(); }

bool qmIniFile::getSection(const qmString& line, qmString& name) {
    int open = line.find('[');
    if (open < 0) return false;
    int end = line.find(']', open + 1);
    if (end < 0) return false;
    name = line.substr(open + 1, end - open - 1).trimmed();
    return true;
}

bool qmIniFile::getValue(const qmString& line, qmString& key, qmString& value) {
    int eq = line.find('=');
    if (eq < 0) return false;
    key = line.left(eq).trimmed();
    value = line.mid(eq + 1).trimmed();
    return true;
}

qmIniSection& qmIniFile::section(const qmString& name) {
    if (qmIniSection* s = m_sections.exist(name)) return *s;
    m_sections.append(qmIniSection{name, {}});
    return m_sections.back();
}

void qmIniFile::readLines(i_stream& in) {
    qmIniSection* current = nullptr;  // entries before any section line go to the unnamed one
    qmString raw;
    while (in.getline(raw)) {
        // A line is text: it ends at a NUL byte, as it would when written back.
        if (const size_t nul = raw.str().find('\0'); nul != std::string::npos) raw = qmString(raw.str().substr(0, nul));
        int slashes = raw.find("//");
        qmString comment = slashes < 0 ? qmString() : raw.mid(slashes + 2).trimmed();
        qmString line = (slashes < 0 ? raw : raw.left(slashes)).trimmed();
        qmString name, key, value;
        if (line.empty()) {
            if (slashes >= 0) section(current ? current->name : qmString()).values.append({raw.trimmed(), QM_INI_LINE, {}});
        } else if (getSection(line, name)) {
            current = &section(name);
        } else {
            if (!getValue(line, key, value)) {
                key = line;
                value = QM_INI_LINE;
            }
            section(current ? current->name : qmString()).values.append({key, value, comment});
        }
    }
}

bool qmIniFile::open(const qmString& name, bool write) {
    close();
    m_name = name;
    m_open = true;
    if (access(name.c_str(), F_OK) == 0) {
        i_stream in(name, false, true);
        readLines(in);
    }
    if (!write) return true;
    m_out = new o_stream(name, false, true);
    if (m_out->isOpen()) return true;
    delete m_out;
    m_out = nullptr;
    return false;
}

void qmIniFile::updateFile() {
    if (!m_out) m_out = new o_stream(m_name, false, true);
    if (!m_out->isOpen()) return;
    for (const qmIniSection& s : m_sections) {
        if (!s.name.empty() || &s != &m_sections.front()) m_out->write("\n[" + s.name + "]\n");
        for (const qmIniEntry& e : s.values) {
            qmString line = e.value == QM_INI_LINE ? e.key : e.key + "=" + e.value;
            if (e.value != QM_INI_LINE && !e.comment.empty()) line += "\t// " + e.comment;
            m_out->write(line + "\n");
        }
    }
    m_out->flush();
}

void qmIniFile::close() {
    if (!m_open) return;
    // A proving open emptied the file on disk: its content must go back even when unchanged.
    if (m_modified || m_out) updateFile();
    delete m_out;
    m_out = nullptr;
    m_sections.clear();
    m_modified = false;
    m_open = false;
    m_name = qmString();
}

qmString qmIniFile::read(const qmString& section, const qmString& key, const qmString& defaultValue) const {
    const qmIniSection* s = m_sections.exist(section);
    const qmIniEntry* e = s ? s->values.exist(key.trimmed()) : nullptr;
    return e ? e->value : defaultValue;
}

void qmIniFile::write(const qmString& sectionName, const qmString& key, const qmString& value,
                      const qmString& comment) {
    write(sectionName);
    qmValues& values = section(sectionName).values;
    if (values.exist(key.trimmed())) return;
    values.append({key.trimmed(), value, comment});
    m_modified = true;
}

void qmIniFile::write(const qmString& sectionName, const qmString& key) {
    write(sectionName, key, QM_INI_LINE, qmString());
}

void qmIniFile::write(const qmString& sectionName) {
    if (m_sections.exist(sectionName)) return;
    section(sectionName);
    m_modified = true;
}

bool qmIniFile::sectionExist(const qmString& section) const { return m_sections.exist(section) != nullptr; }

bool qmIniFile::valueExist(const qmString& section, const qmString& key) const {
    const qmIniSection* s = m_sections.exist(section);
    return s && s->values.exist(key);
}

const qmValues* qmIniFile::getSectionValues(const qmString& section) const {
    const qmIniSection* s = m_sections.exist(section);
    return s ? &s->values : nullptr;
}

bool qmIniFile::eraseSection(const qmString& section) {
    for (auto it = m_sections.begin(); it != m_sections.end(); ++it) {
        if (it->name == section) {
            m_sections.erase(it);
            m_modified = true;
            return true;
        }
    }
    return false;
}

bool qmIniFile::deleteKey(const qmString& section, const qmString& key) {
    qmIniSection* s = m_sections.exist(section);
    if (!s) return false;
    for (auto it = s->values.begin(); it != s->values.end(); ++it) {
        if (it->key == key) {
            s->values.erase(it);
            m_modified = true;
            return true;
        }
    }
    return false;
}
