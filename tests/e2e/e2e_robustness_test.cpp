// Interrupted runs and faults on foreign threads: every one ends with a clear message, the footer, the
// summary and the .end file, never with a crash, a hang or a torn table row. Hostile input is the
// table of docs/robustness.md (e2e_hostile_test.cpp).
#include <gtest/gtest.h>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>
#include <spawn.h>

#include <chrono>
#include <thread>
#include <vector>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;
namespace fs = std::filesystem;

namespace {

Outcome fixture(const std::string& args) { return run(quote(fixtureProgram()) + " " + args); }

// The run ended in order: no crash, the summary box, and the .end file in the directory.
void expectOrderlyEnd(const Outcome& r, const TempDir& d) {
    EXPECT_GE(r.status, 0) << "ended by a signal:\n" << r.out;
    EXPECT_FALSE(r.has("double free")) << r.out;
    EXPECT_FALSE(r.has("terminate called")) << r.out;
    EXPECT_TRUE(r.has("QM Summary")) << r.out;
    EXPECT_TRUE(fs::exists(d / "quillmark.end") || fs::exists(d / "qm_fixture_program.end")) << r.out;
}

// A program started in the background with its output in a file, for tests that signal it mid-run.
class Background {
public:
    Background(const std::string& exe, const std::vector<std::string>& args, const TempDir& dir)
        : m_out(dir / "console.txt") {
        std::vector<char*> argv;
        std::vector<std::string> all{exe};
        all.insert(all.end(), args.begin(), args.end());
        for (std::string& a : all) argv.push_back(a.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t fa;
        posix_spawn_file_actions_init(&fa);
        posix_spawn_file_actions_addopen(&fa, 1, m_out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_adddup2(&fa, 1, 2);
        posix_spawn_file_actions_addopen(&fa, 0, "/dev/null", O_RDONLY, 0);
        if (posix_spawn(&m_pid, exe.c_str(), &fa, nullptr, argv.data(), environ) != 0) m_pid = -1;
        posix_spawn_file_actions_destroy(&fa);
    }
    ~Background() {
        if (m_pid > 0 && !m_done) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
        }
    }
    bool started() const { return m_pid > 0; }
    // Waits until the file holds at least `lines` lines; false after the time limit or when the
    // program ended first.
    bool waitForLines(const fs::path& file, size_t lines, int seconds = 120) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
        while (std::chrono::steady_clock::now() < end) {
            if (fs::exists(file) && e2e::lines(readFile(file)).size() >= lines) return true;
            if (waitpid(m_pid, &m_status, WNOHANG) == m_pid) {
                m_done = true;
                return false;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return false;
    }
    void signal(int sig) const { kill(m_pid, sig); }
    // The wait status once the program ended; false when it runs on past the limit.
    bool wait(int& status, int seconds = 120) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
        while (!m_done && std::chrono::steady_clock::now() < end) {
            if (waitpid(m_pid, &m_status, WNOHANG) == m_pid) m_done = true;
            else std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        status = m_status;
        return m_done;
    }
    std::string console() const { return readFile(m_out); }

private:
    fs::path m_out;
    pid_t m_pid = -1;
    int m_status = 0;
    bool m_done = false;
};

// Every row of a result table has as many cells as its column title: none was cut.
void expectWholeRows(const std::string& table, size_t minRows) {
    const auto ls = e2e::lines(table);
    size_t head = 0;
    while (head < ls.size() && ls[head].rfind("Function,", 0) != 0) ++head;
    ASSERT_LT(head, ls.size()) << table;
    const size_t cells = splitCsv(ls[head]).size();
    EXPECT_GE(ls.size() - head - 1, minRows);
    for (size_t i = head + 1; i < ls.size(); ++i) {
        EXPECT_EQ(splitCsv(ls[i]).size(), cells) << "row " << i << ": " << ls[i];
        EXPECT_EQ(ls[i].rfind("fixLongTable_32f_C1R,", 0), 0u) << ls[i];
    }
    EXPECT_TRUE(table.empty() || table.back() == '\n') << "the last row is cut";
}

const std::vector<std::string> kLongTable{"-B", "-f=fixLongTable_32f_C1R", "-f=fixOk_32f_C1R", "-f=fixX87Status_32f_C1R",
                                          "-dMethod=Manual", "-dNumLoops=1", "-r", "-u", "-g"};

}  // namespace



// SIGINT or SIGTERM while the test measures: the set in hand is finished and written, the run ends
// with the message naming the test, the tests not run listed and counted, footer, summary and .end.
TEST(Interruption, StopSignalEndsTheRunInOrder) {
    for (const char* sig : {"2", "15"}) {
        TempDir d;
        Outcome r = fixture(std::string("-B -f=fixStopSelf_32f_C1R -f=fixThreadSegv_32f_C1R -f=fixX87Status_32f_C1R "
                                        "-dMethod=Manual -dNumLoops=2 -dStopSignal=") +
                            sig + " -LP -r -u -g -l" + d.str());
        expectOrderlyEnd(r, d);
        const std::string name = std::string(sig) == "2" ? "SIGINT" : "SIGTERM";
        EXPECT_TRUE(r.has("-- Run interrupted by " + name + " during fixStopSelf_32f_C1R; the run stops")) << r.out;
        EXPECT_TRUE(r.has("-- Tests not run: 2")) << r.out;
        EXPECT_TRUE(r.has("--   not run: fixThreadSegv_32f_C1R")) << r.out;
        EXPECT_TRUE(r.has("--   not run: fixX87Status_32f_C1R")) << r.out;
        EXPECT_EQ(summaryCount(r.out, ".Number of tests"), 1) << r.out;
        EXPECT_EQ(summaryCount(r.out, ".Successes"), 1) << r.out;
        EXPECT_EQ(summaryCount(r.out, ".Not run"), 2) << r.out;
        // The signal came while the third set was prepared: three lines, the third complete.
        const Table t = resultTable(readFile(d / "qm_fixture_program.csv"));
        ASSERT_EQ(t.rows.size(), 3u) << readFile(d / "qm_fixture_program.csv");
        EXPECT_EQ(t.at(2, "Result"), "OK");
        EXPECT_TRUE(readFile(d / "qm_fixture_program_sum.csv").find("Not run") != std::string::npos);
    }
}

// Without a stop request nothing is reported as not run and the summary has no such line.
TEST(Interruption, UninterruptedRunReportsNothingNotRun) {
    TempDir d;
    Outcome r = fixture("-B -f=fixOk_32f_C1R -dMethod=Manual -dNumLoops=2 -LP -g -l" + d.str());
    expectOrderlyEnd(r, d);
    EXPECT_FALSE(r.has("not run")) << r.out;
    EXPECT_EQ(summaryCount(r.out, ".Not run"), -1) << r.out;
}

// A signal from outside mid-table: the run stops in order; every row written is whole.
TEST(Interruption, ExternalSigintMidTableKeepsRowsWhole) {
    TempDir d;
    std::vector<std::string> args = kLongTable;
    args.push_back("-l" + d.str());
    Background b(fixtureProgram(), args, d);
    ASSERT_TRUE(b.started());
    ASSERT_TRUE(b.waitForLines(d / "qm_fixture_program.csv", 30)) << b.console();
    b.signal(SIGINT);
    int status = 0;
    ASSERT_TRUE(b.wait(status)) << "the run did not stop";
    ASSERT_TRUE(WIFEXITED(status)) << b.console();
    const std::string out = b.console();
    EXPECT_TRUE(out.find("-- Run interrupted by SIGINT during fixLongTable_32f_C1R") != std::string::npos) << out;
    EXPECT_TRUE(out.find("--   not run: fixX87Status_32f_C1R") != std::string::npos) << out;
    EXPECT_TRUE(out.find("QM Summary") != std::string::npos) << out;
    EXPECT_TRUE(fs::exists(d / "qm_fixture_program.end"));
    expectWholeRows(readFile(d / "qm_fixture_program.csv"), 20);
}

// A second SIGINT ends the process at once, by the signal, without footer or .end file.
TEST(Interruption, SecondSigintEndsAtOnce) {
    TempDir d;
    std::vector<std::string> args = kLongTable;
    args.push_back("-l" + d.str());
    // Slow enough per set (about a second) that the first request is still pending when the second
    // arrives; the second is sent once the first has been taken (two pending SIGINTs would merge).
    args.push_back("-dNumLoops=10000000");
    Background b(fixtureProgram(), args, d);
    ASSERT_TRUE(b.waitForLines(d / "qm_fixture_program.csv", 10)) << b.console();
    b.signal(SIGINT);
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (b.console().find("-- Stop requested") == std::string::npos && std::chrono::steady_clock::now() < until)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    b.signal(SIGINT);
    int status = 0;
    ASSERT_TRUE(b.wait(status));
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << b.console();
    EXPECT_FALSE(fs::exists(d / "qm_fixture_program.end"));
    expectWholeRows(readFile(d / "qm_fixture_program.csv"), 1);
}

// SIGKILL cannot be caught: whatever the table holds then is whole rows only.
TEST(Interruption, SigkillMidTableLeavesOnlyWholeRows) {
    for (size_t after : {15u, 60u, 150u}) {
        TempDir d;
        std::vector<std::string> args = kLongTable;
        args.push_back("-l" + d.str());
        Background b(fixtureProgram(), args, d);
        ASSERT_TRUE(b.waitForLines(d / "qm_fixture_program.csv", after)) << b.console();
        b.signal(SIGKILL);
        int status = 0;
        ASSERT_TRUE(b.wait(status));
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
        expectWholeRows(readFile(d / "qm_fixture_program.csv"), after - 10);
    }
}

// A fatal signal on a thread the test started: that test is EXCPTFAIL with the usual message, the run
// stops in order (the library's state is lost) and the process does not hang on the parked thread.
TEST(ForeignThreadFault, EndsTheTestAndStopsTheRunInOrder) {
    TempDir d;
    Outcome r = fixture("-B -f=fixThreadSegv_32f_C1R -f=fixX87Status_32f_C1R -dMethod=Manual -dNumLoops=2 -LP -r -u -g -l" +
                        d.str());
    expectOrderlyEnd(r, d);
    EXPECT_EQ(r.status, 1) << r.out;
    EXPECT_TRUE(r.has("--ZKR. Signal: Illegal storage access. in ")) << r.out;
    EXPECT_TRUE(r.has("-- fixThreadSegv_32f_C1R: fatal signal (Illegal storage access.) on a thread the framework "
                      "did not start; the library state cannot be trusted, the run stops"))
        << r.out;
    EXPECT_TRUE(r.has("--   not run: fixX87Status_32f_C1R")) << r.out;
    EXPECT_EQ(summaryCount(r.out, ".....-EXCPTFAIL"), 1) << r.out;
    EXPECT_EQ(summaryCount(r.out, ".Not run"), 1) << r.out;
    const Table per = perTestTable(readFile(d / "qm_fixture_program_sum.csv"));
    ASSERT_EQ(per.rows.size(), 1u);
    EXPECT_EQ(per.at(0, "Result"), "EXCPTFAIL");
}



