#include "qmistream.h"

#include <poll.h>

#include "qmexception.h"
#include "qmsignal.h"

qmIStream g_istrm;

qmIStream::~qmIStream() {
    deleteIniFile();
    deleteIStream();
}

void qmIStream::setIStream(i_stream* console) {
    if (console == m_console) return;
    deleteIStream();
    m_console = console;
}

void qmIStream::deleteIStream() {
    delete m_console;
    m_console = nullptr;
}

void qmIStream::addData(const qmString& name, const qmString& value) {
    m_data.insert_or_assign(name.trimmed(), value.trimmed());
}

bool qmIStream::setIniFile(const qmString& name, bool write) {
    deleteIniFile();
    auto* ini = new qmIniFile();
    if (!ini->open(name, write)) {
        delete ini;  // nothing was written: the proving open failed
        return false;
    }
    m_ini = ini;
    return true;
}

void qmIStream::deleteIniFile() {
    delete m_ini;  // closes, writing back what changed
    m_ini = nullptr;
}

bool qmIStream::setIniSection(const qmString& section) {
    m_section = section;
    if (!m_ini) return true;
    if (m_ini->isWritable()) m_ini->write(section);
    return !m_sectionsOnly || m_ini->sectionExist(section);
}

qmString qmIStream::askConsole(const qmString& prompt, const qmString& defaultValue) {
    g_ostrm << MSG_ERR << prompt << " [" << defaultValue << "]: " << MSG_RESTORE_FLUSH;
    // Wait for the answer in short steps: a stop request (Ctrl-C) at the prompt ends the dialogue at
    // once instead of waiting for a line first.
    if (FILE* f = m_console->handle(); f && fileno(f) >= 0) {
        pollfd in{fileno(f), POLLIN, 0};
        while (!tsSignal::stopRequested() && poll(&in, 1, 200) == 0) {
        }
    }
    if (const int sig = tsSignal::stopRequested())
        throw qmException("Stop requested by " + qmString(tsSignal::stopName(sig)) + " at the prompt \"" + prompt + "\"");
    qmString answer;
    m_console->getline(answer);
    answer = answer.trimmed();
    return answer.empty() ? defaultValue : answer;
}

qmString qmIStream::getItemValue(const qmString& name, const qmString& prompt, const qmString& defaultValue,
                                 const qmString& comment) {
    m_asked.insert(name);
    qmString value;
    if (auto d = m_data.find(name); d != m_data.end()) {
        value = d->second;
    } else if (qmString v = m_ini ? m_ini->read(m_section, name, qmString()) : qmString(); !v.empty()) {
        value = v;
    } else if (m_console) {
        value = askConsole(prompt.empty() ? name : prompt, defaultValue);
    } else {
        value = defaultValue;
    }
    if (isIniWrite()) m_ini->write(m_section, name, value, comment);
    return value;
}

void qmIStream::reportUnusedData() const {
    for (const auto& [name, value] : m_data) {
        if (m_asked.count(name)) continue;
        g_ostrm << MSG_ERR << "-- Warning: -d" << name.printable() << "=" << value.printable();
        if (name.empty()) {
            g_ostrm << " names no parameter; it was not used\n" << MSG_RESTORE;
            continue;
        }
        g_ostrm << " was not used: no parameter of this run is named " << name.printable();
        for (const qmString& asked : m_asked)
            if (asked.lower() == name.lower()) g_ostrm << " (names differ in letter case: " << asked << ")";
        g_ostrm << "\n" << MSG_RESTORE;
    }
}
