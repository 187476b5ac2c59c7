// Reading the programs' console reports and table files in end-to-end tests: result lines,
// summary counters, the result and per-test tables, ini-files and the processor clock rate.
#pragma once
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "e2e_support.h"

namespace e2e {

std::vector<std::string> lines(const std::string& text);

// Table cells: the rows checked here never quote commas.
std::vector<std::string> splitCsv(const std::string& line);

bool isNumber(const std::string& s, double* value = nullptr);

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

Table parseTable(const std::string& text, const std::string& titleStart);

Table resultTable(const std::string& text);
Table perTestTable(const std::string& text);

// One performance line of the console: "  <clocks> clocks/<unit>  <usec> usec  <RESULT>  <comment>".
struct PerfLine {
    double clocks = 0;
    std::string unit;
    double usec = 0;
    std::string result;
    std::string comment;
    std::string params;  // the "Name=value ..." line written just before it
};

std::vector<PerfLine> perfLines(const std::string& out);

// Every performance line says "OK" with a positive figure per unit (pixel channels by default).
void expectEveryLineOk(const std::vector<PerfLine>& perf, const std::string& unit = "pxch");

// The value of a counter of the framed summary box, as "| .Successes       : 1"; -1 when absent.
int summaryCount(const std::string& out, const std::string& name);

// The clock rate in MHz from the header's processor line ("..., 2x2.4 GHz, ...").
double headerMHz(const std::string& out);

// The "<name>=<number>" item of a comment such as "nLps=100 acc=6.8%"; -1 when absent.
double commentValue(const std::string& comment, const std::string& name);

// Auto and Iterative measurements may miss the asked accuracy on a busy machine; a warning is
// only acceptable when the line says which accuracy was reached and it is worse than the one asked.
void expectOkOrJustifiedAccuracyWarning(const std::string& result, const std::string& comment,
                                               double askedPercent);

// The sections of an ini-file with their keys and values; "//" comments cut off.
using IniFile = std::map<std::string, std::map<std::string, std::string>>;

std::string trim(const std::string& s);

IniFile parseIni(const std::string& text);

// Whether `parts` occur in `text` in this order.
::testing::AssertionResult inOrder(const std::string& text, const std::vector<std::string>& parts);

}  // namespace e2e
