// Reading the programs' console reports and table files in end-to-end tests: result lines,
// summary counters, the result and per-test tables, ini-files and the processor clock rate.
#pragma once
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "e2e_support.h"

namespace e2e {

inline std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string l; std::getline(in, l);) out.push_back(l);
    return out;
}

// Table cells: the rows checked here never quote commas.
inline std::vector<std::string> splitCsv(const std::string& line) {
    std::vector<std::string> cells;
    std::string cell;
    std::istringstream in(line);
    while (std::getline(in, cell, ',')) cells.push_back(cell);
    if (!line.empty() && line.back() == ',') cells.emplace_back();
    return cells;
}

inline bool isNumber(const std::string& s, double* value = nullptr) {
    if (s.empty()) return false;
    char* end = nullptr;
    const double v = std::strtod(s.c_str(), &end);
    if (end != s.c_str() + s.size()) return false;
    if (value) *value = v;
    return true;
}

// A table of a file: the row of column titles that begins with `titleStart`, then every row up to
// the first empty line or "END_DATA".
struct Table {
    std::vector<std::string> titles;
    std::vector<std::vector<std::string>> rows;

    int col(const std::string& title) const {
        for (size_t i = 0; i < titles.size(); ++i)
            if (titles[i] == title) return static_cast<int>(i);
        ADD_FAILURE() << "no column " << title;
        return -1;
    }
    std::string at(size_t row, const std::string& title) const {
        const int c = col(title);
        if (c < 0 || row >= rows.size() || c >= static_cast<int>(rows[row].size())) return "<missing>";
        return rows[row][c];
    }
};

inline Table parseTable(const std::string& text, const std::string& titleStart) {
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

inline Table resultTable(const std::string& text) { return parseTable(text, "Function,funcBase,"); }
inline Table perTestTable(const std::string& text) { return parseTable(text, "Function,Class,"); }

// One performance line of the console: "  <clocks> clocks/<unit>  <usec> usec  <RESULT>  <comment>".
struct PerfLine {
    double clocks = 0;
    std::string unit;
    double usec = 0;
    std::string result;
    std::string comment;
    std::string params;  // the "Name=value ..." line written just before it
};

inline std::vector<PerfLine> perfLines(const std::string& out) {
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

// The value of a counter of the framed summary box, as "| .Successes       : 1"; -1 when absent.
inline int summaryCount(const std::string& out, const std::string& name) {
    const std::string key = "| " + name;
    for (const std::string& l : lines(out)) {
        if (l.rfind(key, 0) != 0) continue;
        const size_t colon = l.find(" : ", key.size());
        if (colon == std::string::npos || l.find_first_not_of(' ', key.size()) != colon + 1) continue;
        return std::atoi(l.c_str() + colon + 3);
    }
    return -1;
}

// The clock rate in MHz from the header's processor line ("..., 2x2.4 GHz, ...").
inline double headerMHz(const std::string& out) {
    static const std::regex re(R"(\| Processor     : .*?(?:\d+x)?(\d+(?:\.\d+)?) (GHz|MHz))");
    std::smatch m;
    if (!std::regex_search(out, m, re)) return -1;
    const double v = std::atof(m[1].str().c_str());
    return m[2] == "GHz" ? v * 1000.0 : v;
}

// The "<name>=<number>" item of a comment such as "nLps=100 acc=6.8%"; -1 when absent.
inline double commentValue(const std::string& comment, const std::string& name) {
    const std::regex re("(?:^|\\s)" + name + "=([0-9.]+)");
    std::smatch m;
    if (!std::regex_search(comment, m, re)) return -1;
    return std::atof(m[1].str().c_str());
}

// Auto and Iterative measurements may miss the asked accuracy on a busy machine; a warning is
// only acceptable when the line says which accuracy was reached and it is worse than the one asked.
inline void expectOkOrJustifiedAccuracyWarning(const std::string& result, const std::string& comment,
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

// The sections of an ini-file with their keys and values; "//" comments cut off.
using IniFile = std::map<std::string, std::map<std::string, std::string>>;

inline std::string trim(const std::string& s) {
    const size_t b = s.find_first_not_of(" \t\r");
    if (b == std::string::npos) return "";
    return s.substr(b, s.find_last_not_of(" \t\r") - b + 1);
}

inline IniFile parseIni(const std::string& text) {
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

// Whether `parts` occur in `text` in this order.
inline ::testing::AssertionResult inOrder(const std::string& text, const std::vector<std::string>& parts) {
    size_t pos = 0;
    for (const std::string& p : parts) {
        const size_t at = text.find(p, pos);
        if (at == std::string::npos) return ::testing::AssertionFailure() << "'" << p << "' missing or out of order";
        pos = at + p.size();
    }
    return ::testing::AssertionSuccess();
}

}  // namespace e2e
