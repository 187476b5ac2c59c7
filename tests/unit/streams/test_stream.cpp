// Console and table streams, the tracer and the -L letters.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <utility>

#include "qmstream.h"
#include "test_capture.h"

namespace {
// Captures what g_ostrm writes through a listing file added for the test, with the given output
// level; the previous level is restored and the listing file dropped afterwards.
class ConsoleCapture {
public:
    explicit ConsoleCapture(int outLevel) : m_file("console"), m_level(g_ostrm.outLevel()) {
        g_ostrm.setOutLevel(outLevel);
        EXPECT_TRUE(g_ostrm.addStream(m_file.path(), false));
    }
    ~ConsoleCapture() {
        g_ostrm.setOutLevel(m_level);
        g_ostrm.close();
    }
    std::string text() {
        g_ostrm.flush();
        return m_file.read();
    }

private:
    TempFile m_file;
    int m_level;
};
}  // namespace

// ---------------------------------------------------------------- console stream

TEST(OStream, MessageLevelStack) {
    qmOStream o;
    EXPECT_EQ(o.msgLevel(), PERF);
    o.setMsgLevel(MSG_WARN);
    o.setMsgLevel(MSG_INFO);
    EXPECT_EQ(o.msgLevel(), INFO);
    o.restoreMsgLevel();
    EXPECT_EQ(o.msgLevel(), WARN);
    o << MSG_RESTORE;
    EXPECT_EQ(o.msgLevel(), PERF);
    // Nothing saved any more: errors.
    o.restoreMsgLevel();
    EXPECT_EQ(o.msgLevel(), ERR);
    o << MSG_DATA << MSG_RESTORE_FLUSH;
    EXPECT_EQ(o.msgLevel(), ERR);
}

TEST(OStream, BeginMessageComparesNumerically) {
    qmOStream o;
    o.setOutLevel(ERR | WARN);
    o.setMsgLevel(MSG_ERR);
    EXPECT_FALSE(o.beginMessage(MSG_PERF));
    EXPECT_EQ(o.msgLevel(), ERR);  // nothing changed
    EXPECT_TRUE(o.beginMessage(MSG_WARN));
    EXPECT_EQ(o.msgLevel(), WARN);
    o.endMessage();
    EXPECT_EQ(o.msgLevel(), ERR);
    EXPECT_TRUE(o.beginMessage(3));  // equal to the output level
    o.endMessageFlush();
    EXPECT_EQ(o.msgLevel(), ERR);
}

TEST(OStream, TextsWithoutASharedBitAreDroppedEverywhere) {
    TempFile listing("listing");
    qmOStream o;
    testing::internal::CaptureStdout();
    o.addTerminal();
    ASSERT_TRUE(o.addStream(listing.path(), false));
    EXPECT_EQ(o.numOutputs(), 2);
    o.setOutLevel(ERR);
    o << MSG_PERF << "perf " << 1 << MSG_RESTORE;
    o << MSG_ERR << "err " << 2 << "\n" << MSG_RESTORE;
    // Numerically below the output level but sharing no bit: still dropped.
    o.setOutLevel(ERR | PERF);
    o << MSG_WARN << "warn" << MSG_RESTORE;
    o << MSG_PERF << "perf now\n" << MSG_RESTORE;
    o.flush();
    const std::string terminal = testing::internal::GetCapturedStdout();
    EXPECT_EQ(terminal, "err 2\nperf now\n");
    EXPECT_EQ(listing.read(), terminal);
}

TEST(OStream, AppendOrTruncateListing) {
    TempFile listing("append");
    for (bool append : {false, true}) {
        qmOStream o;
        ASSERT_TRUE(o.addStream(listing.path(), append));
        o.setMsgLevel(MSG_ERR);
        o << "line\n";
    }
    EXPECT_EQ(listing.read(), "line\nline\n");
    {
        qmOStream o;
        ASSERT_TRUE(o.addStream(listing.path(), false));
    }
    EXPECT_EQ(listing.read(), "");
}

TEST(OStream, OpenFailureIsReportedOnTheConsole) {
    ConsoleCapture console(ERR);
    qmOStream o;
    EXPECT_FALSE(o.addStream("/nonexistent-qm-dir/out.txt", false));
    EXPECT_EQ(o.numOutputs(), 0);
    EXPECT_EQ(createOStream("/nonexistent-qm-dir/out.csv", true), nullptr);
    i_stream in("/nonexistent-qm-dir/in.ini");
    EXPECT_FALSE(in.isOpen());
    EXPECT_EQ(console.text(),
              "-- Can't open file /nonexistent-qm-dir/out.txt to write: No such file or directory\n"
              "-- Can't open file /nonexistent-qm-dir/out.csv to write: No such file or directory\n"
              "-- Can't open file /nonexistent-qm-dir/in.ini to read: No such file or directory\n");
    // Without reporting asked for, a failure is silent.
    const std::string before = console.text();
    i_stream quiet("/nonexistent-qm-dir/in.ini", false, false);
    EXPECT_FALSE(quiet.isOpen());
    EXPECT_EQ(console.text(), before);
}

// ---------------------------------------------------------------- checked writes

namespace {
size_t occurrences(const std::string& text, const std::string& what) {
    size_t n = 0;
    for (size_t p = text.find(what); p != std::string::npos; p = text.find(what, p + 1)) ++n;
    return n;
}
}  // namespace

// A failed write is reported once, with the file and the system's reason, whatever way the text
// went (buffered, flushed, as a whole row); the run then counts its output as lost.
TEST(OutputFile, WriteFailureIsReportedOnceAndMarksOutputLost) {
    ConsoleCapture console(ERR);
    qmSetOutputLost(false);
    {
        o_stream full("/dev/full", false);
        ASSERT_TRUE(full.isOpen());
        full.write("row 1\n");
        full.flush();
        full.writeWhole("row 2\n");
        full.write("row 3\n");
        EXPECT_TRUE(full.failed());
    }
    EXPECT_TRUE(qmOutputLost());
    EXPECT_EQ(occurrences(console.text(), "-- Can't write file /dev/full: No space left on device; the rest of the output "
                                          "to it is lost\n"),
              1u)
        << console.text();
    qmSetOutputLost(false);
    qmCStream table;
    ASSERT_TRUE(table.addStream("/dev/full", false));
    table << "a" << "b" << "\n";
    EXPECT_TRUE(qmOutputLost());
    qmSetOutputLost(false);
}

// A row the system takes only in part (here: the file size limit) is cut off again, so the table
// ends with its last whole row.
TEST(OutputFile, ARowCutByTheSystemIsTakenOffAgain) {
    TempFile table("cut");
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{10, 10};
        setrlimit(RLIMIT_FSIZE, &limit);
        o_stream o(table.path(), false);
        o.writeWhole("12345\n");
        o.writeWhole("abcdefgh\n");
        _exit(o.failed() && qmOutputLost() ? 0 : 1);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(table.read(), "12345\n");
}

// Rows appended to a table that ends in a cut row start on a new line; a whole table is continued.
TEST(OutputFile, AppendingToACutTableStartsOnANewLine) {
    for (const auto& [before, after] : {std::pair<std::string, std::string>{"a,b,c", "a,b,c\nx,y\n"},
                                        {"a\n", "a\nx,y\n"},
                                        {"", "x,y\n"}}) {
        TempFile table("append");
        std::ofstream(table.path()) << before;
        {
            qmCStream c;
            ASSERT_TRUE(c.addStream(table.path(), true));
            c << "x" << "y" << "\n";
        }
        EXPECT_EQ(table.read(), after) << before;
    }
}

// Opening never waits: a FIFO without a reader cannot be written, one without a writer reads as
// empty, a directory is refused with the system's reason.
TEST(OutputFile, OpeningNeverBlocks) {
    ConsoleCapture console(ERR);
    TempFile fifo("fifo");
    ASSERT_EQ(mkfifo(fifo.path().c_str(), 0600), 0);
    o_stream w(fifo.path(), false);
    EXPECT_FALSE(w.isOpen());
    i_stream r(fifo.path());
    ASSERT_TRUE(r.isOpen());
    qmString line;
    EXPECT_FALSE(r.getline(line));
    const std::string dir = testing::TempDir();
    i_stream d(dir);
    EXPECT_FALSE(d.isOpen());
    const std::string out = console.text();
    EXPECT_NE(out.find(fifo.path() + " to write: No such device or address\n"), std::string::npos) << out;
    EXPECT_NE(out.find(" to read: Is a directory\n"), std::string::npos) << out;
}

// A whole file is replaced when complete or left as it was; a file that cannot be made is an open
// failure (the run's result stays), a failed write loses output.
TEST(OutputFile, WholeFileIsReplacedOrLeftAlone) {
    ConsoleCapture console(ERR);
    qmSetOutputLost(false);
    TempFile f("whole");
    std::ofstream(f.path()) << "old\n";
    EXPECT_EQ(qmWriteWholeFile(f.path(), "new\n"), qmWholeWrite::Written);
    EXPECT_EQ(f.read(), "new\n");
    EXPECT_EQ(qmWriteWholeFile("/nonexistent-qm-dir/x.end", "x"), qmWholeWrite::NotOpened);
    EXPECT_FALSE(qmOutputLost());
    EXPECT_EQ(qmWriteWholeFile("/dev/full", "x\n"), qmWholeWrite::Failed);
    EXPECT_TRUE(qmOutputLost());
    qmSetOutputLost(false);
    const std::string out = console.text();
    EXPECT_NE(out.find("-- Can't open file /nonexistent-qm-dir/x.end to write: No such file or directory\n"),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("-- Can't write file /dev/full: No space left on device"), std::string::npos) << out;
    // No temporary file is left beside it.
    size_t beside = 0;
    for (const auto& e : std::filesystem::directory_iterator(testing::TempDir()))
        beside += e.path().string().rfind(f.path() + ".", 0) == 0;
    EXPECT_EQ(beside, 0u);
}

TEST(InputFile, ReadsLinesOfAnyLength) {
    TempFile file("lines");
    const std::string longLine(5000, 'q');
    {
        qmOStream o;
        ASSERT_TRUE(o.addStream(file.path(), false));
        o.setMsgLevel(MSG_ERR);
        o << "first\r\n" << longLine << "\n\nlast";
    }
    i_stream in(file.path());
    qmString line;
    ASSERT_TRUE(in.getline(line));
    EXPECT_EQ(line, "first");
    ASSERT_TRUE(in.getline(line));
    EXPECT_EQ(line.str(), longLine);
    ASSERT_TRUE(in.getline(line));
    EXPECT_EQ(line, "");
    ASSERT_TRUE(in.getline(line));
    EXPECT_EQ(line, "last");
    EXPECT_FALSE(in.getline(line));
}

TEST(LevelMask, LettersOfMinusL) {
    EXPECT_EQ(qmLevelMask("E"), 1);
    EXPECT_EQ(qmLevelMask("W"), 3);
    EXPECT_EQ(qmLevelMask("P"), 7);
    EXPECT_EQ(qmLevelMask("I"), 15);
    EXPECT_EQ(qmLevelMask("T"), 23);
    EXPECT_EQ(qmLevelMask("M"), 39);
    EXPECT_EQ(qmLevelMask("D"), 71);
    EXPECT_EQ(qmLevelMask("DATA"), 87);  // "T" counts too
    EXPECT_EQ(qmLevelMask("ERR"), 1);
    EXPECT_EQ(qmLevelMask("xyz"), 0);
    EXPECT_EQ(qmLevelMask("e"), 0);
    EXPECT_EQ(qmLevelMask(""), 0);
    EXPECT_EQ(qmLevelMask("WM"), 39 | 3);
}

// ---------------------------------------------------------------- table streams

namespace {
class TableFile {
public:
    TableFile() : m_file("table") { EXPECT_TRUE(table.addStream(m_file.path(), false)); }
    std::string text() const { return m_file.read(); }
    TempFile m_file;
    qmCStream table;
};
}  // namespace

TEST(CStream, RowsOfAtMost32Columns) {
    TableFile t;
    for (int i = 1; i <= 33; ++i) t.table << i;
    EXPECT_EQ(t.table.numFilled(), 32);
    t.table << "\n";
    std::string expected;
    for (int i = 1; i <= 32; ++i) expected += std::to_string(i) + (i < 32 ? "," : "\n");
    EXPECT_EQ(t.text(), expected);
    EXPECT_EQ(t.table.numLines(), 1);
    EXPECT_EQ(t.table.numFilled(), 0);
}

TEST(CStream, TableOutFillsMissingAndEmptyColumnsWithDash) {
    TableFile t;
    t.table << "a" << "b";
    t.table.tableOut(5);
    t.table.tableOut(0);  // as many as filled
    t.table.tableOut(1);
    t.table.tableFlush();
    t.table << "x" << "" << "z" << "\n";
    EXPECT_EQ(t.text(), "a,b,-,-,-\na,b\na\nx,-,z\n");
    EXPECT_EQ(t.table.numLines(), 1);  // only lineOut counts
}

TEST(CStream, DirectColumnAccess) {
    TableFile t;
    t.table.setColm(2, "c");
    EXPECT_EQ(t.table.numFilled(), 3);
    t.table.setColm(32, "ignored");
    t.table.setColm(-1, "ignored");
    EXPECT_EQ(t.table.numFilled(), 3);
    qmString got = "unchanged";
    t.table.getColm(2, got);
    EXPECT_EQ(got, "c");
    t.table.getColm(40, got);
    EXPECT_EQ(got, "c");
    t.table.lineOut(0);
    EXPECT_EQ(t.text(), "-,-,c\n");
}

TEST(CStream, PostponedLinesComeOutInOrderWithTheFinalWidth) {
    TableFile t;
    t.table << "a" << "b";
    t.table.linePostpone();
    t.table << "c";
    t.table.linePostpone();
    EXPECT_EQ(t.table.numPostponed(), 2);
    EXPECT_EQ(t.table.numFilled(), 0);
    EXPECT_EQ(t.text(), "");
    // A row in progress is not disturbed by the postponed rows going out.
    t.table << "next";
    t.table.linePostponeOut(3);
    EXPECT_EQ(t.table.numPostponed(), 0);
    t.table << "\n";
    EXPECT_EQ(t.text(), "a,b,-\nc,-,-\nnext\n");
    t.table.linePostponeOut(3);
    EXPECT_EQ(t.text(), "a,b,-\nc,-,-\nnext\n");
}

TEST(CStream, IdenticalLinesAreReportedWithTheirNumbers) {
    ConsoleCapture console(ERR | WARN);
    TableFile t;
    t.table << "before" << "\n" << "before too" << "\n";
    t.table.identicalLinesStart(2);
    t.table << "a" << "1" << "x" << "\n";
    t.table << "b" << "1" << "y" << "\n";
    t.table << "a" << "1" << "z" << "\n";  // equal to line 3 in the first two columns
    t.table << "b" << "1" << "w" << "\n";
    EXPECT_TRUE(t.table.identicalLinesStop());
    EXPECT_EQ(console.text(), " Performance table warning:\n Lines 3 & 5 have identical parameters\n");
    // The check is off now.
    EXPECT_FALSE(t.table.identicalLinesStop());
}

TEST(CStream, DistinctOrNoLinesPassTheCheck) {
    ConsoleCapture console(ERR | WARN);
    TableFile t;
    EXPECT_FALSE(t.table.identicalLinesStop());  // never started
    t.table.identicalLinesStart(1);
    EXPECT_FALSE(t.table.identicalLinesStop());  // nothing written
    t.table.identicalLinesStart(2);
    t.table << "a" << "1" << "\n" << "a" << "2" << "\n" << "b" << "1" << "\n";
    EXPECT_FALSE(t.table.identicalLinesStop());
    // Columns beyond the width do not count; a width above 32 compares all 32.
    t.table.identicalLinesStart(100);
    t.table << "a" << "\n" << "a" << "" << "\n";
    EXPECT_TRUE(t.table.identicalLinesStop());
    EXPECT_EQ(console.text(), " Performance table warning:\n Lines 4 & 5 have identical parameters\n");
}

TEST(CStream, IdenticalLinesWarningFollowsTheConsoleLevel) {
    ConsoleCapture console(ERR);
    TableFile t;
    t.table.identicalLinesStart(1);
    t.table << "a" << "\n" << "a" << "\n";
    EXPECT_TRUE(t.table.identicalLinesStop());
    EXPECT_EQ(console.text(), "");
}

// ---------------------------------------------------------------- tracer

TEST(Trace, NestedLinesAndNames) {
    ConsoleCapture console(ERR | TRACE);
    const int level = g_ostrm.msgLevel();
    qmTrace trace;
    trace.traceIn("main");
    EXPECT_EQ(trace.getCurName(), "main");
    trace.traceIn("run");
    EXPECT_EQ(trace.getCurName(), "run");
    EXPECT_EQ(trace.depth(), 2);
    trace.traceOut("run");
    EXPECT_EQ(trace.getCurName(), "main");
    trace.traceOut("main");
    EXPECT_EQ(trace.getCurName(), "");
    EXPECT_EQ(console.text(),
              "****** trace into   main\n"
              "******* trace into   run\n"
              "******* trace out of run\n"
              "****** trace out of main\n");
    EXPECT_EQ(g_ostrm.msgLevel(), level);
}

TEST(Trace, SilentWithoutTheTraceLevelAndKeepsTheMessageLevel) {
    ConsoleCapture console(ERR | WARN | PERF);
    g_ostrm.setMsgLevel(MSG_WARN);
    {
        qmTraceScope scope("step");
        EXPECT_EQ(g_trace.getCurName(), "step");
        EXPECT_EQ(g_ostrm.msgLevel(), WARN);
    }
    EXPECT_EQ(g_ostrm.msgLevel(), WARN);
    g_ostrm.restoreMsgLevel();
    EXPECT_EQ(console.text(), "");
}

TEST(Trace, LeavingANameThatIsNotInnermostKeepsTheStack) {
    qmTrace trace;
    trace.traceIn("outer");
    trace.traceIn("inner");
    trace.traceOut("outer");
    EXPECT_EQ(trace.getCurName(), "inner");
    EXPECT_EQ(trace.depth(), 2);
}
