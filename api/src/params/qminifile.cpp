#include "qminifile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

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

void qmIniFile::readLines(const std::string& text) {
    qmIniSection* current = nullptr;  // entries before any section line go to the unnamed one
    size_t pos = 0;
    while (pos < text.size()) {
        size_t end = text.find('\n', pos);
        if (end == std::string::npos) end = text.size();
        std::string rawText = text.substr(pos, end - pos);
        pos = end + 1;
        if (!rawText.empty() && rawText.back() == '\r') rawText.pop_back();
        // A line is text: it ends at a NUL byte, as it would when written back.
        if (const size_t nul = rawText.find('\0'); nul != std::string::npos) rawText.resize(nul);
        const qmString raw(std::move(rawText));
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

namespace {
void iniWarning(const qmString& name, const qmString& why) {
    g_ostrm << MSG_ERR << "-- Warning: ini-file " << name << " " << why << "\n" << MSG_RESTORE;
}
}  // namespace

bool qmIniFile::open(const qmString& name, bool write) {
    close();
    m_name = name;
    m_open = true;
    m_original = std::string();
    struct stat st {};
    if (::stat(name.c_str(), &st) != 0) {
        // A missing file is no error: every value comes from -d, the console or the defaults.
        if (!write) iniWarning(name, "does not exist; no parameter is read from it");
    } else if (!S_ISREG(st.st_mode)) {
        // A FIFO or device is not read (it could block or never end); a directory cannot be written.
        iniWarning(name, "is not a regular file; no parameter is read from it");
        if (write && S_ISDIR(st.st_mode)) return false;
    } else {
        i_stream in(name, false, true);
        if (!in.isOpen()) {
            iniWarning(name, "can't be read; no parameter is read from it");
            if (write) return false;  // its content could not be written back
        } else {
            char buf[65536];
            size_t n = 0;
            while ((n = std::fread(buf, 1, sizeof buf, in.handle())) > 0) m_original.append(buf, n);
            if (std::ferror(in.handle())) iniWarning(name, qmString("can't be read whole: ") + std::strerror(errno));
            readLines(m_original);
        }
    }
    if (!write) return true;
    m_out = new o_stream(name, false, true);
    if (m_out->isOpen()) return true;
    delete m_out;
    m_out = nullptr;
    return false;
}

qmString qmIniFile::text() const {
    qmString out;
    for (const qmIniSection& s : m_sections) {
        if (!s.name.empty() || &s != &m_sections.front()) out += "\n[" + s.name + "]\n";
        for (const qmIniEntry& e : s.values) {
            qmString line = e.value == QM_INI_LINE ? e.key : e.key + "=" + e.value;
            if (e.value != QM_INI_LINE && !e.comment.empty()) line += "\t// " + e.comment;
            out += line + "\n";
        }
    }
    return out;
}

// The whole file goes to a temporary file that replaces it when complete: a full disk leaves the
// file as it was, never cut in an entry. The proving open emptied it on disk, so its former content
// is put back then.
void qmIniFile::updateFile() {
    delete m_out;
    m_out = nullptr;
    if (qmWriteWholeFile(m_name, text()) != qmWholeWrite::Failed) return;
    if (m_original.empty()) return;
    o_stream back(m_name, false, false);
    back.write(m_original);
    back.flush();
    g_ostrm << MSG_ERR << "-- " << m_name
            << (back.isOpen() && !back.failed() ? " keeps its former content\n" : " could not be restored\n")
            << MSG_RESTORE;
}

void qmIniFile::close() {
    if (!m_open) return;
    // A proving open emptied the file on disk: its content must go back even when unchanged.
    if (m_modified || m_out) updateFile();
    delete m_out;
    m_out = nullptr;
    m_sections.clear();
    m_original = std::string();
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
