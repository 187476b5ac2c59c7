// The table of hostile inputs in docs/robustness.md, run case by case: each row's shell command runs
// in a fresh directory and its output must hold every fragment the row expects. The document is the
// test's data, so the table and what the program does cannot drift apart.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <future>
#include <sstream>
#include <string>
#include <vector>

#include "e2e_support.h"

using namespace e2e;

namespace {

struct HostileCase {
    std::string number;
    std::string command;
    std::vector<std::string> expected;
};

// The text between pairs of backticks, in order; "\|" stands for "|" inside a table cell.
std::vector<std::string> codeSpans(const std::string& cell) {
    std::vector<std::string> spans;
    size_t open = 0;
    while ((open = cell.find('`', open)) != std::string::npos) {
        const size_t close = cell.find('`', open + 1);
        if (close == std::string::npos) break;
        std::string span = cell.substr(open + 1, close - open - 1);
        for (size_t p = 0; (p = span.find("\\|", p)) != std::string::npos;) span.replace(p, 2, "|");
        spans.push_back(span);
        open = close + 1;
    }
    return spans;
}

// The cells of a table row, split at every "|" that is not escaped.
std::vector<std::string> cells(const std::string& row) {
    std::vector<std::string> out;
    std::string cell;
    for (size_t i = 1; i < row.size(); ++i) {
        if (row[i] == '|' && row[i - 1] != '\\') {
            out.push_back(cell);
            cell.clear();
        } else {
            cell += row[i];
        }
    }
    return out;
}

// The rows of the table under "## Hostile input" whose first cell is a number.
std::vector<HostileCase> readCases() {
    std::ifstream doc(QM_ROBUSTNESS_DOC);
    std::vector<HostileCase> cases;
    bool inSection = false;
    for (std::string line; std::getline(doc, line);) {
        if (line.rfind("## ", 0) == 0) inSection = line == "## Hostile input";
        if (!inSection || line.rfind("| ", 0) != 0) continue;
        const auto c = cells(line);
        if (c.size() < 3) continue;
        const std::string number = c[0].substr(c[0].find_first_not_of(' '), c[0].find_last_not_of(' ') - c[0].find_first_not_of(' ') + 1);
        if (number.empty() || number.find_first_not_of("0123456789") != std::string::npos) continue;
        const auto command = codeSpans(c[1]);
        if (command.size() != 1) continue;
        cases.push_back({number, command[0], codeSpans(c[2])});
    }
    return cases;
}

// Runs a case's command with bash in a fresh directory: Q is the program writing and reading in that
// directory, QX the program as it stands, $ADD a quick run of one function; "[exit N]" follows.
std::string runCase(const HostileCase& hc) {
    TempDir dir;
    const std::string script = dir.str() + "/case.sh";
    std::ofstream(script) << "export QM_CPU_MHZ=2000\n"
                          << "QM=" << quote(program()) << "\n"
                          // In a subshell (a background job, a pipeline) the program replaces it, so that
                          // $! and PIPESTATUS are the program's own.
                          << "run() { if [ \"$BASHPID\" != \"$$\" ]; then exec \"$@\"; fi; \"$@\"; }\n"
                          << "Q() { run \"$QM\" -l\"$PWD\" -p\"$PWD\" \"$@\"; }\n"
                          << "QX() { run \"$QM\" \"$@\"; }\n"
                          << "ADD='-B -f=zkriAdd_8u_C1RSfs -dMethod=Manual -dNumLoops=1 -dSize=16x16'\n"
                          << "cd " << quote(dir.str()) << "\n"
                          << hc.command << "\n"
                          << "echo \"[exit $?]\"\n";
    const std::string cmd = "timeout -s KILL 30 bash " + quote(script) + " 2>&1 </dev/null";
    std::string out;
    if (FILE* p = popen(cmd.c_str(), "r")) {
        char buf[4096];
        size_t n;
        while ((n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
        pclose(p);
    }
    return out;
}

}  // namespace

// At least a hundred hostile inputs, each ending with the documented message or refusal: no crash,
// no hang (each has 30 seconds), nothing the sanitizers object to.
TEST(HostileInputTable, EveryDocumentedCaseBehavesAsDocumented) {
    const std::vector<HostileCase> cases = readCases();
    ASSERT_GE(cases.size(), 100u) << "the table of " << QM_ROBUSTNESS_DOC << " lost rows";
    // Six cases at a time: most of a case's time is the program's start, its files and the waits of
    // the signal rows.
    constexpr size_t kParallel = 6;
    for (size_t first = 0; first < cases.size(); first += kParallel) {
        std::vector<std::future<std::string>> outs;
        for (size_t i = first; i < first + kParallel && i < cases.size(); ++i)
            outs.push_back(std::async(std::launch::async, runCase, std::cref(cases[i])));
        for (size_t i = first; i < first + outs.size(); ++i) {
            const HostileCase& hc = cases[i];
            const std::string out = outs[i - first].get();
#ifdef QM_E2E_SANITIZED
            // An address-space limit leaves the sanitizers' shadow memory no room: such rows run only
            // in the plain build.
            if (hc.command.find("ulimit -v") != std::string::npos) continue;
#endif
            EXPECT_NE(out.find("[exit "), std::string::npos) << "case " << hc.number << " hung:\n" << out;
            for (const char* crash : {"runtime error:", "Sanitizer", "Segmentation fault", "terminate called",
                                      "double free", "core dumped"})
                EXPECT_EQ(out.find(crash), std::string::npos) << "case " << hc.number << ": " << hc.command << "\n" << out;
            for (const std::string& e : hc.expected)
                EXPECT_NE(out.find(e), std::string::npos)
                    << "case " << hc.number << ": " << hc.command << "\nexpected: " << e << "\n" << out;
        }
    }
}
