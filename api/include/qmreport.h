// Report records: the run's title, a test's title and result, the -e listing and the summary.
// Every record writes itself twice: as a framed text box onto the console stream (and so onto the
// listing files) and as rows of cells onto a table stream. The records take plain facts structs,
// so they know nothing of sessions or test lists; the callers gather the facts.
#pragma once
#include <ctime>
#include "qmlist.h"
#include "qmresult.h"
#include "qmstream.h"
#include "qmstring.h"

// ---------------------------------------------------------------- framed line builder

// Builds the lines of a framed box: "|" at column 0, "|" at column 78, at most 79 characters
// before the new line. Each line holds up to six items placed at the format's six positions.
// A position p >= 0 is a column; p < 0 right-aligns the item so that it ends at column -p - 2
// (so -79 puts it against the right frame).
class qmReportFormat {
public:
    static constexpr int LINE_WIDTH = 79;   // characters of a separator line before its new line
    static constexpr int RIGHT_FRAME = 78;  // column of the right frame
    static constexpr int RIGHT = -79;       // position that ends an item against the right frame

    qmReportFormat(int p1, int p2, int p3, int p4, int p5, int p6);

    qmString firstLine();  // sets the framed flag; returns a separator line
    qmString lastLine();   // clears the framed flag; returns a separator line
    static qmString sepLine();  // "+", 77 times "-", "+", "\n"
    bool framed() const { return m_framed; }

    qmString getLine(const qmString& a, const qmString& b = qmString(), const qmString& c = qmString(),
                     const qmString& d = qmString(), const qmString& e = qmString(),
                     const qmString& f = qmString()) const;

    // Places one item on the last row of line (see the class comment); empty items are skipped,
    // right-aligned items that do not fit are dropped, and an item whose column the row has
    // already reached follows after one blank.
    static void setItem(qmString& line, const qmString& item, int position);

    // "hh:mm:ss"; hours are not limited to two digits. Negative spans (a clock set back) read 0.
    static qmString getTimeStr(int seconds);

    // Cuts the first piece of at most width characters off text at a blank, for wrapping.
    // False when text fits into width or has no blank at all (then text is left as it is).
    // A first word longer than width becomes the piece on its own.
    static bool getPieceItem(qmString& text, qmString& piece, int width);

private:
    bool m_framed = false;
    int m_pos[6];
};

// Writes name/value pairs as one row of two cells each (shared by the title and the summary).
void qmPairsToTable(qmCStream& c, const qmList<qmString>& pairs);

// ---------------------------------------------------------------- run title

// What the run's title shows. The session fills it when the header is written.
struct qmTitleFacts {
    qmString program = "Quillmark";
    qmString version = "2.0";
    time_t startTime = 0;
    qmString hostName;
    qmString system;               // operating system as uname reports it
    qmString processor;            // one-line processor summary
    qmList<qmString> libraries;    // library information lines, in registration order
    long long maxCacheBytes = 0;   // largest cache; 0 when unknown
};

// Host name and operating system of this computer (gethostname, uname).
void qmFillSystemFacts(qmTitleFacts& facts);

class qmReportTitle {
public:
    explicit qmReportTitle(const qmTitleFacts& facts);
    const qmList<qmString>& pairs() const { return m_pairs; }
    qmString text() const;                // the framed box
    void toTable(qmCStream& c) const;     // one row of two cells per pair

    // "8 MB (8388608 bytes)", "48 KB (49152 bytes)", "1000 bytes"; "" for 0 or less.
    static qmString cacheSizeText(long long bytes);
    // Local time as "YYYY-MM-DD hh:mm:ss".
    static qmString dateTimeText(time_t t);

private:
    qmString m_heading;
    qmString m_started;
    qmList<qmString> m_pairs;
};

// ---------------------------------------------------------------- test title

struct qmTestTitleFacts {
    qmString function;     // full library name of the measured function
    qmString test;         // test name (first field of the test's identification)
    qmString description;
    qmString source;       // file name of the registering module
};

class qmReportTestTitle {
public:
    explicit qmReportTestTitle(const qmTestTitleFacts& facts) : m_facts(facts) {}
    qmString text() const;
    // A table stream gets no row from a test title: the per-test row of qmReportTestResult
    // carries function, test and source, and a title row would break the table's columns.
    void toTable(qmCStream&) const {}

private:
    qmTestTitleFacts m_facts;
};

// ---------------------------------------------------------------- test result

struct qmTestResultFacts {
    qmString function;         // full library name; "-" in the table when empty
    qmString className;        // the test's class; "-" in the table when empty
    bool x87Modified = false;  // the measured function left the x87 status changed
    bool sseModified = false;  // the same for the SSE status
    qmString test;
    time_t startTime = 0;
    time_t endTime = 0;
    qmString source;
    int result = QM_UNDEFINED;
    qmString exeName;          // path or name of the executable; its file name is written
    bool writeTable = true;    // false keeps the record off the table streams
};

class qmReportTestResult {
public:
    static constexpr const char* HEADER =
        "Function,Class,Control87,Status87,ControlSSX,StatusSSX,Test,Time (sec.),SrcName,Result,ExeName";

    qmReportTestResult();  // the header of the per-test table
    explicit qmReportTestResult(const qmTestResultFacts& facts);

    const qmString& resultName() const { return m_resultName; }
    const qmString& tableLine() const { return m_tableLine; }
    bool writesTable() const { return m_writeTable; }
    // The console box; frame lines only when outLevel, read as a number, is above 2.
    qmString text(int outLevel) const;
    void toTable(qmCStream& c) const;

private:
    qmString m_resultName;
    qmString m_tableLine;
    bool m_writeTable = true;
    qmString m_outcome;  // "<short name> (<result text>)"; empty for the header
    qmString m_elapsed;  // "time hh:mm:ss"
    qmString m_note;     // plain text after the box
};

// ---------------------------------------------------------------- summary

// Totals of a run: the test list's counter of each result value. The summary reads the counters
// of the single results only, so whether 6 and 11 also hold the warning and failure totals
// does not change it.
struct qmSummaryFacts {
    int total = 0;
    int count[QM_RESULT_COUNT] = {};
    time_t startTime = 0;
    time_t endTime = 0;
    int notRun = 0;  // selected tests a stopped run left out; shown only when there are any
};

class qmReportEnd {
public:
    explicit qmReportEnd(const qmSummaryFacts& facts);
    const qmList<qmString>& pairs() const { return m_pairs; }
    // Value of the pair with exactly this name ("" when absent).
    qmString value(const qmString& name) const;
    qmString text() const;             // the "QM Summary" box
    void toTable(qmCStream& c) const;  // "END_DATA" row, then the pairs

private:
    qmList<qmString> m_pairs;
};

// ---------------------------------------------------------------- -e listing

struct qmListedTest {
    qmString function;
    qmString test;
};

struct qmListFacts {
    int mode = 0;                    // 0 tested functions, 1 applied and not applied, -1 not applied
    qmList<qmListedTest> tested;     // mode 0: the selected tests, in list order
    qmList<qmString> exported;       // modes 1, -1: the library's exported functions
    qmList<qmString> applied;        // modes 1, -1: function names some test measures
};

class qmReportList {
public:
    explicit qmReportList(const qmListFacts& facts);
    qmString text() const;
    void toTable(qmCStream& c) const;
    int numListed() const { return m_rows.size() / 2; }

private:
    qmString m_title;
    qmString m_footer;
    qmList<qmString> m_rows;  // pairs: function, then test name or applied mark ("" for none)
};

// ---------------------------------------------------------------- output operators

qmOStream& operator<<(qmOStream& o, const qmReportTitle& r);
qmOStream& operator<<(qmOStream& o, const qmReportTestTitle& r);
qmOStream& operator<<(qmOStream& o, const qmReportTestResult& r);
qmOStream& operator<<(qmOStream& o, const qmReportEnd& r);
qmOStream& operator<<(qmOStream& o, const qmReportList& r);
qmCStream& operator<<(qmCStream& c, const qmReportTitle& r);
qmCStream& operator<<(qmCStream& c, const qmReportTestTitle& r);
qmCStream& operator<<(qmCStream& c, const qmReportTestResult& r);
qmCStream& operator<<(qmCStream& c, const qmReportEnd& r);
qmCStream& operator<<(qmCStream& c, const qmReportList& r);
