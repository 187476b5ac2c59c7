#include "qmstream.h"

#include "qmprogress.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

qmOStream g_ostrm;
qmCStream g_cstrm;
qmCStream g_qstrm;
qmCStream g_ustrm;
qmCStream g_mstrm;
qmTrace g_trace;

// ---------------------------------------------------------------- files

namespace {
bool s_outputLost = false;

// Opens without blocking (a FIFO without its other end fails at once or reads as empty instead of
// waiting) and refuses a directory, which the C library would open for reading. An output keeps
// blocking writes once open.
FILE* openFile(const qmString& name, int mode) {
    const bool read = (mode & IO_READ) != 0;
    int flags = O_CLOEXEC | O_NONBLOCK;
    flags |= read ? O_RDONLY : O_WRONLY | O_CREAT | ((mode & IO_APPEND) ? O_APPEND : O_TRUNC);
    const int fd = ::open(name.c_str(), flags, 0666);
    if (fd < 0) return nullptr;
    struct stat st {};
    if (fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
        const int error = S_ISDIR(st.st_mode) ? EISDIR : errno;
        ::close(fd);
        errno = error;
        return nullptr;
    }
    if (!read) fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    FILE* f = fdopen(fd, read ? "r" : (mode & IO_APPEND) ? "a" : "w");
    if (!f) {
        const int error = errno;
        ::close(fd);
        errno = error;
    }
    return f;
}

void reportOpenFailure(const qmString& name, const char* how, int error) {
    g_ostrm.setMsgLevel(MSG_ERR);
    g_ostrm << "-- Can't open file " << name << how << ": " << std::strerror(error) << "\n";
    g_ostrm.restoreMsgLevel();
}
}  // namespace

FILE* qmOpenRegularFile(const qmString& name, const char* mode) {
    const int fd = ::open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return nullptr;
    struct stat st {};
    int error = 0;
    if (fstat(fd, &st) != 0)
        error = errno;
    else if (!S_ISREG(st.st_mode))
        error = S_ISDIR(st.st_mode) ? EISDIR : ENODEV;
    FILE* f = error ? nullptr : fdopen(fd, mode);
    if (!f) {
        if (!error) error = errno;
        ::close(fd);
        errno = error;
    }
    return f;
}

bool qmOutputLost() { return s_outputLost; }
void qmSetOutputLost(bool lost) { s_outputLost = lost; }

io_stream::io_stream(const qmString& name, int mode, bool report) : m_name(name) {
    m_file = openFile(name, mode);
    if (!m_file && report)
        reportOpenFailure(name, (mode & IO_READ) ? " to read" : (mode & IO_WRITE) ? " to write" : "", errno);
}

io_stream::~io_stream() { close(); }

void io_stream::close() {
    if (m_file) std::fclose(m_file);
    m_file = nullptr;
}

o_stream::~o_stream() { flush(); }

void o_stream::fail(int error) {
    if (m_failed || !m_file) return;
    m_failed = true;  // first, so that the report below does not come back to this file
    s_outputLost = true;
    g_ostrm.setMsgLevel(MSG_ERR);
    g_ostrm << "-- Can't write file " << m_name << ": " << std::strerror(error)
            << "; the rest of the output to it is lost\n";
    g_ostrm.restoreMsgLevel();
}

void o_stream::write(const qmString& s) {
    if (m_file) {
        if (!m_failed && std::fputs(s.c_str(), m_file) == EOF) fail(errno);
        return;
    }
    // The terminal: the progress line steps aside for console text.
    g_progress.beforeConsoleWrite();
    std::fputs(s.c_str(), stdout);
    g_progress.afterConsoleWrite(s.str());
}

void o_stream::flush() {
    if (!m_file) {
        std::fflush(stdout);
        return;
    }
    if (!m_failed && std::fflush(m_file) == EOF) fail(errno);
}

void o_stream::writeWhole(const qmString& s) {
    if (m_failed) return;
    FILE* f = m_file ? m_file : stdout;
    if (std::fflush(f) == EOF) {
        fail(errno);
        return;
    }
    const std::string& text = s.str();
    const char* p = text.data();
    size_t left = text.size();
    size_t done = 0;
    while (left > 0) {
        const ssize_t n = ::write(fileno(f), p, left);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            const int error = n < 0 ? errno : ENOSPC;
            // The part of the row that went out is cut off again: the file ends with a whole row.
            struct stat st {};
            const bool cut = done > 0 && m_file && fstat(fileno(f), &st) == 0 && S_ISREG(st.st_mode) &&
                             st.st_size >= static_cast<off_t>(done) &&
                             ftruncate(fileno(f), st.st_size - static_cast<off_t>(done)) == 0;
            fail(error);
            if (done > 0 && m_file && !cut) g_ostrm << MSG_ERR << "-- " << m_name << " ends in a cut row\n" << MSG_RESTORE;
            return;
        }
        p += n;
        done += static_cast<size_t>(n);
        left -= static_cast<size_t>(n);
    }
}

i_stream::~i_stream() {
    if (m_borrowed) m_file = nullptr;
}

bool i_stream::getline(qmString& line) {
    line = qmString();
    if (!m_file) return false;
    std::string s;
    int c;
    bool any = false;
    while ((c = std::fgetc(m_file)) != EOF) {
        any = true;
        if (c == '\n') break;
        s += static_cast<char>(c);
    }
    if (!s.empty() && s.back() == '\r') s.pop_back();
    line = qmString(std::move(s));
    return any;
}

o_stream* createOStream(const qmString& name, bool append) {
    auto* s = new o_stream(name, append, true);
    if (!s->isOpen()) {
        delete s;
        return nullptr;
    }
    return s;
}

qmWholeWrite qmWriteWholeFile(const qmString& name, const qmString& text) {
    auto inPlace = [&] {
        o_stream out(name, false, true);
        if (!out.isOpen()) return qmWholeWrite::NotOpened;
        out.write(text);
        out.flush();
        return out.failed() ? qmWholeWrite::Failed : qmWholeWrite::Written;
    };
    struct stat st {};
    const bool exists = ::stat(name.c_str(), &st) == 0;
    // A device or FIFO cannot be replaced: written in place.
    if (exists && !S_ISREG(st.st_mode)) return inPlace();
    // A file the user may not write stays refused, as an open for writing would refuse it.
    if (exists && access(name.c_str(), W_OK) != 0) {
        reportOpenFailure(name, " to write", errno);
        return qmWholeWrite::NotOpened;
    }
    std::string tmp = name.str() + ".XXXXXX";
    const int fd = mkostemp(tmp.data(), O_CLOEXEC);
    if (fd < 0) {
        // No file can be made beside it (a directory the user may not write): the file itself is
        // written, as far as it goes.
        if (exists) return inPlace();
        reportOpenFailure(name, " to write", errno);
        return qmWholeWrite::NotOpened;
    }
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(fd, exists ? (st.st_mode & 07777) : (0666 & ~mask));
    const std::string& bytes = text.str();
    size_t done = 0;
    int error = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            error = n < 0 ? errno : ENOSPC;
            break;
        }
        done += static_cast<size_t>(n);
    }
    if (error == 0 && fsync(fd) != 0) error = errno;
    if (::close(fd) != 0 && error == 0) error = errno;
    if (error == 0 && std::rename(tmp.c_str(), name.c_str()) != 0) error = errno;
    if (error != 0) {
        std::remove(tmp.c_str());
        s_outputLost = true;
        g_ostrm.setMsgLevel(MSG_ERR);
        g_ostrm << "-- Can't write file " << name << ": " << std::strerror(error) << "; it is not written\n";
        g_ostrm.restoreMsgLevel();
        return qmWholeWrite::Failed;
    }
    return qmWholeWrite::Written;
}

// ---------------------------------------------------------------- console stream

qmOStream::~qmOStream() { close(); }

bool qmOStream::addStream(const qmString& name, bool append) {
    o_stream* s = createOStream(name, append);
    if (!s) return false;
    m_outputs.append(s);
    return true;
}

void qmOStream::addTerminal() { m_outputs.prepend(new o_stream()); }

void qmOStream::setMsgLevel(int level) {
    m_saved.append(m_msgLevel);
    m_msgLevel = level;
}

void qmOStream::restoreMsgLevel() {
    if (m_saved.empty()) {
        m_msgLevel = ERR;
        return;
    }
    m_msgLevel = m_saved.back();
    m_saved.pop_back();
}

bool qmOStream::beginMessage(int level) {
    if (level > m_outLevel) return false;
    setMsgLevel(level);
    return true;
}

void qmOStream::write(const qmString& s) {
    if (m_capturing && m_msgLevel == MSG_ERR) m_errors += s;
    if (!passes()) return;
    for (o_stream* o : m_outputs) o->write(s);
}

void qmOStream::flush() {
    for (o_stream* o : m_outputs)
        if (o->handle()) o->flush();
    std::fflush(stdout);
}

void qmOStream::close() {
    flush();
    for (o_stream* o : m_outputs) delete o;
    m_outputs.clear();
}

qmOStream& qmOStream::operator<<(MessageLevel l) {
    if (l == MSG_RESTORE) {
        restoreMsgLevel();
    } else if (l == MSG_RESTORE_FLUSH) {
        restoreMsgLevel();
        flush();
    } else {
        setMsgLevel(l);
    }
    return *this;
}

int qmLevelMask(const qmString& letters) {
    int mask = 0;
    for (char c : letters.str()) {
        switch (c) {
            case 'E': mask |= 1; break;
            case 'W': mask |= 3; break;
            case 'P': mask |= 7; break;
            case 'I': mask |= 15; break;
            case 'T': mask |= 23; break;
            case 'M': mask |= 39; break;
            case 'D': mask |= 71; break;
            default: break;
        }
    }
    return mask;
}

// ---------------------------------------------------------------- table streams

qmCStream::~qmCStream() { close(); }

namespace {
// True when the file exists and its last byte is not a line end (a table cut in a row).
bool endsInPartialLine(const qmString& name) {
    const int fd = ::open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return false;
    struct stat st {};
    char last = '\n';
    if (fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_size > 0 && pread(fd, &last, 1, st.st_size - 1) != 1)
        last = '\n';
    ::close(fd);
    return last != '\n';
}
}  // namespace

bool qmCStream::addStream(const qmString& name, bool append) {
    const bool damaged = append && endsInPartialLine(name);
    o_stream* s = createOStream(name, append);
    if (!s) return false;
    // Rows appended to a table that ends in a cut row start on a line of their own.
    if (damaged) s->writeWhole("\n");
    m_outputs.append(s);
    return true;
}

void qmCStream::write(const qmString& s) {
    if (s == "\n") {
        lineOut(0);
        return;
    }
    if (m_filled < MAX_COLUMNS) m_colm[m_filled++] = s;
}

void qmCStream::setColm(int index, const qmString& text) {
    if (index < 0 || index >= MAX_COLUMNS) return;
    m_colm[index] = text;
    if (index >= m_filled) m_filled = index + 1;
}

void qmCStream::getColm(int index, qmString& text) const {
    if (index < 0 || index >= MAX_COLUMNS) return;
    text = m_colm[index];
}

namespace {
// n columns of a row (0: as many as are filled), "-" for empty or unfilled ones.
qmString joinColumns(const qmString* colm, int filled, int n) {
    if (n <= 0) n = filled;
    if (n > qmCStream::MAX_COLUMNS) n = qmCStream::MAX_COLUMNS;
    qmString row;
    for (int i = 0; i < n; ++i) {
        if (i) row += ",";
        row += (i < filled && !colm[i].empty()) ? colm[i] : qmString("-");
    }
    return row;
}
}  // namespace

qmString qmCStream::rowText(int n) const { return joinColumns(m_colm, m_filled, n); }

void qmCStream::writeRow(const qmString& row) {
    const qmString line = row + "\n";
    for (o_stream* o : m_outputs) o->writeWhole(line);
}

void qmCStream::tableOut(int n) { writeRow(rowText(n)); }

void qmCStream::lineOut(int n) {
    tableOut(n);
    ++m_lines;
    if (m_identWidth > 0) m_kept.emplace_back(m_colm, m_colm + m_identWidth);
    tableFlush();
}

void qmCStream::tableFlush() {
    for (auto& c : m_colm) c = qmString();
    m_filled = 0;
}

void qmCStream::linePostpone() {
    m_postponed.emplace_back(m_colm, m_colm + m_filled);
    tableFlush();
}

// The postponed rows go out from their own store, so a row being filled meanwhile stays intact.
void qmCStream::linePostponeOut(int n) {
    for (const auto& row : m_postponed) writeRow(joinColumns(row.data(), static_cast<int>(row.size()), n));
    m_postponed.clear();
}

void qmCStream::identicalLinesStart(int width) {
    m_identWidth = width < 0 ? 0 : width > MAX_COLUMNS ? MAX_COLUMNS : width;
    m_kept.clear();
}

bool qmCStream::identicalLinesStop() {
    if (m_identWidth == 0 || m_kept.empty()) {
        m_identWidth = 0;
        m_kept.clear();
        return false;
    }
    bool found = false;
    const int first = m_lines - static_cast<int>(m_kept.size()) + 1;
    for (size_t i = 0; i < m_kept.size() && !found; ++i) {
        for (size_t j = i + 1; j < m_kept.size(); ++j) {
            if (m_kept[i] == m_kept[j]) {
                g_ostrm.setMsgLevel(MSG_WARN);
                g_ostrm << " Performance table warning:\n"
                        << " Lines " << first + static_cast<int>(i) << " & " << first + static_cast<int>(j)
                        << " have identical parameters\n";
                g_ostrm.restoreMsgLevel();
                g_ostrm.flush();
                found = true;
                break;
            }
        }
    }
    m_identWidth = 0;
    m_kept.clear();
    return found;
}

void qmCStream::flush() {
    for (o_stream* o : m_outputs) o->flush();
}

void qmCStream::close() {
    for (o_stream* o : m_outputs) delete o;
    m_outputs.clear();
}

// ---------------------------------------------------------------- tracer

void qmTrace::emit(const qmString& line) {
    g_ostrm.setMsgLevel(MSG_TRACE);
    g_ostrm << line;
    m_buffer += line;
    flush();
    g_ostrm.restoreMsgLevel();
}

void qmTrace::traceIn(const qmString& name) {
    m_indent += "*";
    // Lines are built only when the console shows tracing: steps run for every parameter line.
    if (g_ostrm.outLevel() & TRACE) emit(m_indent + "*****" + " trace into   " + name + "\n");
    m_names.append(name);
}

void qmTrace::traceOut(const qmString& name) {
    if (g_ostrm.outLevel() & TRACE) emit(m_indent + "*****" + " trace out of " + name + "\n");
    if (!m_indent.empty()) m_indent = m_indent.left(m_indent.length() - 1);
    if (!m_names.empty() && m_names.back() == name) m_names.pop_back();
}

void qmTrace::flush() { m_buffer = qmString(); }

void qmTrace::unwindTo(int depth) {
    while (m_names.size() > depth) m_names.pop_back();
    if (m_indent.length() > depth) m_indent = m_indent.left(depth);
}

void qmTraceScope::enter(const char* name) { g_trace.traceIn(name); }
void qmTraceScope::leave(const char* name) { g_trace.traceOut(name); }
