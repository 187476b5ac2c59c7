// The helpers of e2e_support.h and e2e_tables.h, compiled once for every end-to-end test source.
#include <sys/wait.h>

#include <cstdio>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>

#include "e2e_support.h"
#include "e2e_tables.h"

namespace e2e {

Outcome run(const std::string& cmd, const std::string& dir) {
    // The programs are given a clock rate, so that each run skips the two-second estimate; the tests
    // of the estimate itself unset it on their command line.
    setenv("QM_CPU_MHZ", "2000", 0);
    Outcome r;
    const std::string full = (dir.empty() ? "" : "cd '" + dir + "' && ") + cmd + " 2>&1 </dev/null";
    FILE* p = popen(full.c_str(), "r");
    if (!p) return r;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, p)) > 0) r.out.append(buf, n);
    const int st = pclose(p);
    r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
    return r;
}

std::string quote(const std::string& s) { return "'" + s + "'"; }

std::string program() { return QM_PROGRAM; }

Outcome quill(const std::string& args, const std::string& dir) { return run(quote(program()) + " " + args, dir); }

std::map<std::string, int> listedBases(const std::string& testClass) {
    const Outcome r = run(quote(program()) + " -e -t=" + testClass);
    std::map<std::string, int> bases;
    std::istringstream in(r.out);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("| zkri", 0) != 0 || line.find(testClass + "|") == std::string::npos) continue;
        // The base ends at the first underscore followed by a type token (a digit): the base of
        // zkriLUT_Linear_8u_C1R is "LUT_Linear"; a name without a type is all base.
        const std::string name = line.substr(6, line.find(' ', 6) - 6);
        size_t end = 0;
        while ((end = name.find('_', end)) != std::string::npos && !std::isdigit(static_cast<unsigned char>(name[end + 1])))
            ++end;
        ++bases[name.substr(0, end)];
    }
    return bases;
}

std::string fixtureProgram() { return QM_FIXTURE_PROGRAM; }

std::string readFile(const std::filesystem::path& p) {
    std::ifstream in(p);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

void writeFile(const std::filesystem::path& p, const std::string& text) { std::ofstream(p) << text; }

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string l; std::getline(in, l);) out.push_back(l);
    return out;
}

std::vector<std::string> splitCsv(const std::string& line) {
    std::vector<std::string> cells;
    std::string cell;
    std::istringstream in(line);
    while (std::getline(in, cell, ',')) cells.push_back(cell);
    if (!line.empty() && line.back() == ',') cells.emplace_back();
    return cells;
}

bool isNumber(const std::string& s, double* value) {
    if (s.empty()) return false;
    char* end = nullptr;
    const double v = std::strtod(s.c_str(), &end);
    if (end != s.c_str() + s.size()) return false;
    if (value) *value = v;
    return true;
}

Table parseTable(const std::string& text, const std::string& titleStart) {
    Table t;
    bool inTable = false;
    for (const std::string& l : lines(text)) {
        if (!inTable) {
            if (l.rfind(titleStart, 0) == 0) {
                t.titles = splitCsv(l);
                inTable = true;
            }
            continue;
        }
        if (l.empty() || l == "END_DATA") break;
        t.rows.push_back(splitCsv(l));
    }
    return t;
}

Table resultTable(const std::string& text) { return parseTable(text, "Function,funcBase,"); }

Table perTestTable(const std::string& text) { return parseTable(text, "Function,Class,"); }

std::vector<PerfLine> perfLines(const std::string& out) {
    static const std::regex re(R"(^\s+(\S+) clocks/(\S+)\s+(\S+) usec  ([A-Z]+)(?:  (.*))?$)");
    std::vector<PerfLine> found;
    std::string lastParams;
    for (const std::string& l : lines(out)) {
        std::smatch m;
        if (std::regex_match(l, m, re)) {
            PerfLine p;
            if (!isNumber(m[1], &p.clocks)) p.clocks = -1;
            p.unit = m[2];
            if (!isNumber(m[3], &p.usec)) p.usec = -1;
            p.result = m[4];
            p.comment = m[5];
            p.params = lastParams;
            found.push_back(p);
        } else if (l.rfind("  ", 0) == 0 && l.find('=') != std::string::npos) {
            lastParams = l.substr(2);
        }
    }
    return found;
}

void expectEveryLineOk(const std::vector<PerfLine>& perf, const std::string& unit) {
    for (const PerfLine& p : perf) {
        EXPECT_EQ(p.result, "OK") << p.params << " " << p.comment;
        EXPECT_EQ(p.unit, unit) << p.params;
        EXPECT_GT(p.clocks, 0) << p.params;
    }
}

int summaryCount(const std::string& out, const std::string& name) {
    const std::string key = "| " + name;
    for (const std::string& l : lines(out)) {
        if (l.rfind(key, 0) != 0) continue;
        const size_t colon = l.find(" : ", key.size());
        if (colon == std::string::npos || l.find_first_not_of(' ', key.size()) != colon + 1) continue;
        return std::atoi(l.c_str() + colon + 3);
    }
    return -1;
}

double headerMHz(const std::string& out) {
    static const std::regex re(R"(\| Processor     : .*?(?:\d+x)?(\d+(?:\.\d+)?) (GHz|MHz))");
    std::smatch m;
    if (!std::regex_search(out, m, re)) return -1;
    const double v = std::atof(m[1].str().c_str());
    return m[2] == "GHz" ? v * 1000.0 : v;
}

double commentValue(const std::string& comment, const std::string& name) {
    const std::regex re("(?:^|\\s)" + name + "=([0-9.]+)");
    std::smatch m;
    if (!std::regex_search(comment, m, re)) return -1;
    return std::atof(m[1].str().c_str());
}

void expectOkOrJustifiedAccuracyWarning(const std::string& result, const std::string& comment,
                                               double askedPercent) {
    if (result == "OK") {
        EXPECT_EQ(comment.find("acc="), std::string::npos) << comment;
        return;
    }
    ASSERT_EQ(result, "ACCURWRN") << comment;
    const double reached = commentValue(comment, "acc");
    EXPECT_GT(reached, askedPercent) << comment;
    EXPECT_NE(comment.find("actual accuracy = "), std::string::npos) << comment;
}

std::string trim(const std::string& s) {
    const size_t b = s.find_first_not_of(" \t\r");
    if (b == std::string::npos) return "";
    return s.substr(b, s.find_last_not_of(" \t\r") - b + 1);
}

IniFile parseIni(const std::string& text) {
    IniFile ini;
    std::string section;
    for (std::string l : lines(text)) {
        const size_t c = l.find("//");
        if (c != std::string::npos) l = l.substr(0, c);
        l = trim(l);
        if (l.empty()) continue;
        if (l.front() == '[' && l.back() == ']') {
            section = l.substr(1, l.size() - 2);
            ini[section];
            continue;
        }
        const size_t eq = l.find('=');
        if (eq != std::string::npos) ini[section][trim(l.substr(0, eq))] = trim(l.substr(eq + 1));
    }
    return ini;
}

::testing::AssertionResult inOrder(const std::string& text, const std::vector<std::string>& parts) {
    size_t pos = 0;
    for (const std::string& p : parts) {
        const size_t at = text.find(p, pos);
        if (at == std::string::npos) return ::testing::AssertionFailure() << "'" << p << "' missing or out of order";
        pos = at + p.size();
    }
    return ::testing::AssertionSuccess();
}

}  // namespace e2e
