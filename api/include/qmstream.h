// Console and table output streams: everything the program prints goes through these.
#pragma once
#include <cstdio>
#include <vector>
#include "qmlist.h"
#include "qmstring.h"

// Bits of the console output level (-L).
enum OutputLevel : int { ERR = 1, WARN = 2, PERF = 4, INFO = 8, TRACE = 16, MEMINFO = 32, DATA = 64 };
// Level of the text being written, plus the two control values.
enum MessageLevel : int {
    MSG_ERR = 1, MSG_WARN = 2, MSG_PERF = 4, MSG_INFO = 8, MSG_TRACE = 16, MSG_MEMINFO = 32, MSG_DATA = 64,
    MSG_RESTORE = -10,        // restore the previous message level
    MSG_RESTORE_FLUSH = -11,  // restore and flush
};

// Mode bits of io_stream.
enum : int { IO_READ = 1, IO_WRITE = 2, IO_APPEND = 4, IO_BINARY = 8, IO_OUTFILE = 256 };

// One open file (or, for an output without a file, the terminal). Files are opened without blocking:
// a FIFO without a reader (or writer) and a directory are refused with the system's reason instead
// of stopping the program.
class io_stream {
public:
    io_stream(const qmString& name, int mode, bool report);
    virtual ~io_stream();
    io_stream(const io_stream&) = delete;
    io_stream& operator=(const io_stream&) = delete;

    const qmString& name() const { return m_name; }
    FILE* handle() const { return m_file; }
    bool isOpen() const { return m_file != nullptr; }
    void close();

protected:
    io_stream() = default;
    qmString m_name;
    FILE* m_file = nullptr;
};

// An output file. Every write is checked: the first failure is reported once on the console with
// the file's name and the system's reason, marks the run's output as lost (qmOutputLost) and ends
// the writing to that file. The terminal's own failures (a closed pipe) are not reported.
class o_stream : public io_stream {
public:
    o_stream() = default;  // the terminal
    o_stream(const qmString& name, bool append, bool report = true)
        : io_stream(name, append ? IO_OUTFILE | IO_WRITE | IO_APPEND : IO_OUTFILE | IO_WRITE, report) {}
    ~o_stream() override;
    void write(const qmString& s);
    void flush();
    // Writes the text with one system call after what is buffered (a table row: a run killed at
    // any moment leaves each row whole or absent). A row the system takes only in part is cut off
    // the file again, so the file ends with its last whole row.
    void writeWhole(const qmString& s);
    bool failed() const { return m_failed; }

private:
    void fail(int error);
    bool m_failed = false;
};

class i_stream : public io_stream {
public:
    i_stream(const qmString& name, bool binary = false, bool report = true)
        : io_stream(name, binary ? IO_READ | IO_BINARY : IO_READ, report) {}
    // A stream the program does not own (stdin). Read unbuffered, so that what the system holds is
    // all there is to read and a wait for input can be watched (qmIStream's console prompt).
    explicit i_stream(FILE* f) {
        m_file = f;
        m_borrowed = true;
        if (f == stdin) std::setvbuf(f, nullptr, _IONBF, 0);
    }
    ~i_stream() override;
    // Reads one line of any length without its line end; false at end of file.
    bool getline(qmString& line);

private:
    bool m_borrowed = false;
};

// Creates an output file stream, or null (after the open-failure message) when it cannot be opened.
o_stream* createOStream(const qmString& name, bool append);

// Opens a regular file for reading without blocking on the way (a FIFO or device named as a data
// file is refused with ENODEV, a directory with EISDIR); null with errno set otherwise.
FILE* qmOpenRegularFile(const qmString& name, const char* mode = "rb");

// True once a write to an output file failed (reported on the console): results were lost. The
// session turns it into the exit status.
bool qmOutputLost();
void qmSetOutputLost(bool lost);

// Writes a whole file (the .end file, an ini-file) so that it is complete or not replaced at all:
// the text goes to a temporary file beside it that is then renamed over it. A device or FIFO is
// written in place. Open failures are reported as "-- Can't open file <name> to write: <reason>",
// write failures as for any output file.
enum class qmWholeWrite { Written, NotOpened, Failed };
qmWholeWrite qmWriteWholeFile(const qmString& name, const qmString& text);

// The console stream g_ostrm: the terminal plus listing files, filtered by the output level.
class qmOStream {
public:
    qmOStream() = default;
    ~qmOStream();

    bool addStream(const qmString& name, bool append);
    void addTerminal();                    // standard output as an output
    void addOutput(o_stream* s) { m_outputs.append(s); }  // takes ownership
    int numOutputs() const { return m_outputs.size(); }

    void setOutLevel(int level) { m_outLevel = level; }
    int outLevel() const { return m_outLevel; }
    // The error-level text written since the capture started (whatever the output level): the
    // reason a step gives for failing, kept for its result row.
    void startErrorCapture() { m_errors = qmString(); m_capturing = true; }
    qmString stopErrorCapture() { m_capturing = false; return m_errors; }
    int msgLevel() const { return m_msgLevel; }
    void setMsgLevel(int level);           // pushes the current level
    void restoreMsgLevel();                // pops; ERR when nothing was saved
    bool beginMessage(int level);          // false (nothing changed) when level > output level
    void endMessage() { restoreMsgLevel(); }
    void endMessageFlush() { restoreMsgLevel(); flush(); }
    bool passes() const { return (m_msgLevel & m_outLevel) != 0; }

    void write(const qmString& s);
    void flush();
    void close();

    qmOStream& operator<<(const qmString& s) { write(s); return *this; }
    qmOStream& operator<<(const char* s) { write(qmString(s)); return *this; }
    qmOStream& operator<<(char c) { write(qmString(c)); return *this; }
    qmOStream& operator<<(int v) { write(qmString::fromInt(v)); return *this; }
    qmOStream& operator<<(unsigned v) { write(qmString::fromUInt(v)); return *this; }
    qmOStream& operator<<(unsigned char v) { write(qmString::fromUInt(v)); return *this; }
    qmOStream& operator<<(long v) { write(qmString::fromInt(v)); return *this; }
    qmOStream& operator<<(long long v) { write(qmString::fromInt(v)); return *this; }
    qmOStream& operator<<(unsigned long v) { write(qmString::fromUInt(v)); return *this; }
    qmOStream& operator<<(double v) { write(qmString::fromDouble(v)); return *this; }
    qmOStream& operator<<(MessageLevel l);
    qmOStream& operator<<(OutputLevel l) { setMsgLevel(l); return *this; }

private:
    qmList<o_stream*> m_outputs;
    int m_outLevel = ERR | WARN | PERF;
    int m_msgLevel = PERF;
    qmList<int> m_saved;
    bool m_capturing = false;
    qmString m_errors;
};

// A table stream: rows of up to 32 columns written as comma-separated lines to csv files.
class qmCStream {
public:
    static constexpr int MAX_COLUMNS = 32;
    qmCStream() = default;
    ~qmCStream();

    bool addStream(const qmString& name, bool append);
    void addOutput(o_stream* s) { m_outputs.append(s); }
    int numOutputs() const { return m_outputs.size(); }

    // "\n" ends the row; any other text fills the next column (beyond 32: dropped).
    void write(const qmString& s);
    qmCStream& operator<<(const qmString& s) { write(s); return *this; }
    qmCStream& operator<<(const char* s) { write(qmString(s)); return *this; }
    qmCStream& operator<<(int v) { write(qmString::fromInt(v)); return *this; }
    qmCStream& operator<<(long long v) { write(qmString::fromInt(v)); return *this; }
    qmCStream& operator<<(double v) { write(qmString::fromDouble(v)); return *this; }

    void setColm(int index, const qmString& text);
    void getColm(int index, qmString& text) const;
    int numFilled() const { return m_filled; }
    int numLines() const { return m_lines; }

    qmString rowText(int n) const;  // the row as tableOut(n) would write it, without "\n"
    void tableOut(int n = 0);
    void lineOut(int n = 0);
    void tableFlush();
    void linePostpone();
    void linePostponeOut(int n);
    int numPostponed() const { return static_cast<int>(m_postponed.size()); }

    void identicalLinesStart(int width);
    bool identicalLinesStop();

    void flush();
    void close();

private:
    void writeRow(const qmString& row);  // to every output, with its new line, flushed
    qmList<o_stream*> m_outputs;
    qmString m_colm[MAX_COLUMNS];
    int m_filled = 0;
    int m_lines = 0;
    int m_identWidth = 0;
    std::vector<std::vector<qmString>> m_kept;
    std::vector<std::vector<qmString>> m_postponed;
};

// Call tracer: star-indented "trace into"/"trace out of" lines at the TRACE level.
class qmTrace {
public:
    void traceIn(const qmString& name);
    void traceOut(const qmString& name);
    qmString getCurName() const { return m_names.empty() ? qmString() : m_names.back(); }
    void flush();
    int depth() const { return m_names.size(); }
    // Forgets the names entered below the given depth (after a jump out of nested steps).
    void unwindTo(int depth);

private:
    void emit(const qmString& line);
    qmString m_indent;
    qmString m_buffer;
    qmList<qmString> m_names;
};

// Traces a scope in and out. The name is a literal and is not copied: a signal caught inside the
// scope jumps over the destructor, which must then leave nothing behind.
class qmTraceScope {
public:
    explicit qmTraceScope(const char* name) : m_name(name) { enter(name); }
    ~qmTraceScope() { leave(m_name); }
    qmTraceScope(const qmTraceScope&) = delete;
    qmTraceScope& operator=(const qmTraceScope&) = delete;

private:
    static void enter(const char* name);
    static void leave(const char* name);
    const char* m_name;
};

extern qmOStream g_ostrm;
extern qmCStream g_cstrm;  // performance result table (-r/-R)
extern qmCStream g_qstrm;  // function parameter name table (-q)
extern qmCStream g_ustrm;  // summary table (-u/-U)
extern qmCStream g_mstrm;  // memory table (-m)
extern qmTrace g_trace;

// Output level mask from the letters of a -L argument ("E" 1, "W" 3, "P" 7, "I" 15, "T" 23, "M" 39, "D" 71).
int qmLevelMask(const qmString& letters);
