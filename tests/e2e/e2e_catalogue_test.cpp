// Every test class of the catalogue from the command line, with nothing written per family: the
// listing's classes each measure every function they list, every line "OK". A new family is
// covered here as soon as its module registers; a family's own end-to-end source is needed only
// for what is particular to it (its parameters, sweeps and messages).
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

namespace {

// Test class -> functions, from the -e listing's rows "| <function>   <class>|".
std::map<std::string, std::set<std::string>> listedClasses() {
    const Outcome r = quill("-e");
    EXPECT_EQ(r.status, 0) << r.out;
    std::map<std::string, std::set<std::string>> classes;
    static const std::regex row(R"(^\| (zkr\w+) +(\w+)\|$)");
    std::istringstream in(r.out);
    std::smatch m;
    for (std::string line; std::getline(in, line);)
        if (std::regex_match(line, m, row)) classes[m[2]].insert(m[1]);
    return classes;
}

// The figure and result of every performance line, the MFlops column included where a test
// reports one (the transforms).
std::vector<std::pair<double, std::string>> results(const std::string& out) {
    static const std::regex line(R"(^ +([0-9.]+) clocks/\S+ +[0-9.]+ usec(?: +[0-9.]+ MFlops)? +(\S+))");
    std::vector<std::pair<double, std::string>> found;
    std::istringstream in(out);
    std::smatch m;
    for (std::string l; std::getline(in, l);)
        if (std::regex_search(l, m, line)) found.emplace_back(std::stod(m[1]), m[2]);
    return found;
}

}  // namespace

// The listing holds at least every family's classes; each class's functions are distinct from
// every other class's (one registration per function).
TEST(Catalogue, EveryFunctionIsListedUnderOneTestClass) {
    const auto classes = listedClasses();
    ASSERT_GE(classes.size(), 30u);
    std::map<std::string, std::string> owner;
    for (const auto& [cls, functions] : classes)
        for (const std::string& f : functions) {
            const auto [it, fresh] = owner.emplace(f, cls);
            EXPECT_TRUE(fresh) << f << " is listed under " << it->second << " and " << cls;
        }
}

// One short run per class (32x8 images for the classes with a size, their other parameters at
// their defaults, one call per line): every function listed is a test that runs, succeeds and gives only "OK"
// lines. What a family's module, table or library code loses or breaks shows up here by name.
TEST(Catalogue, EveryTestClassMeasuresEveryListedFunctionOk) {
    const auto classes = listedClasses();
    ASSERT_FALSE(classes.empty());
    for (const auto& [cls, functions] : classes) {
        SCOPED_TRACE(cls);
        const Outcome r = quill("-B -LP -t=" + cls + " -dSize=32x8 -dMethod=Manual -dNumLoops=1");
        EXPECT_EQ(r.status, 0) << r.out;
        EXPECT_EQ(summaryCount(r.out, ".Number of tests"), static_cast<int>(functions.size())) << r.out;
        EXPECT_EQ(summaryCount(r.out, ".Successes"), static_cast<int>(functions.size())) << r.out;
        const auto lines = results(r.out);
        EXPECT_GE(lines.size(), functions.size()) << r.out;
        for (const auto& [clocks, result] : lines) {
            EXPECT_EQ(result, "OK");
            EXPECT_GT(clocks, 0);
        }
    }
}
