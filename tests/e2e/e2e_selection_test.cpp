// Selection and order of the tests, seen through the -e listing of the shipped program.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <vector>

#include "e2e_support.h"

using namespace e2e;

namespace {

// The function names of the listing's rows, in order.
std::vector<std::string> listed(const std::string& args) {
    const Outcome r = run(quote(program()) + " -e " + args);
    std::vector<std::string> names;
    std::istringstream in(r.out);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("| zkri", 0) != 0 && line.rfind("| __qm", 0) != 0) continue;
        std::istringstream cells(line.substr(2));
        std::string name;
        cells >> name;
        names.push_back(name);
    }
    return names;
}

using Names = std::vector<std::string>;

}  // namespace

TEST(Selection, FourFunctionPatternFormsCombine) {
    EXPECT_EQ(listed("-fAdd_8u -f=zkriSub_8u_C1RSfs -f-C4 -f+RSfs"),
              (Names{"zkriAdd_8u_C1RSfs", "zkriAdd_8u_C3RSfs", "zkriAdd_8u_C1IRSfs", "zkriAdd_8u_C3IRSfs",
                     "zkriSub_8u_C1RSfs"}));
}

TEST(Selection, EqualDoesNotOverrideNot) {
    EXPECT_TRUE(listed("-f=zkriAdd_8u_C1RSfs -f-zkriAdd_8u_C1RSfs").empty());
}

TEST(Selection, TestNamePatterns) {
    EXPECT_EQ(listed("-t=__qmKavroCpu"), (Names{"__qmKavroCpu"}));
    EXPECT_EQ(listed("-tTimiAdd").size(), 201u);
    // Every other test, the processor test among them, and none of TimiAdd's.
    const Names others = listed("-t-TimiAdd");
    EXPECT_EQ(others.size() + 201u, listed("").size());
    EXPECT_EQ(std::count(others.begin(), others.end(), "__qmKavroCpu"), 1);
    for (const std::string& n : listed("-tTimiAdd"))
        EXPECT_EQ(std::count(others.begin(), others.end(), n), 0) << n;
    EXPECT_EQ(listed("-t+Kavro -tTimi").size(), 0u) << "no test name holds both";
}

TEST(Selection, SortedByTypeThenInPlaceLastAndUnsortedInRegistrationOrder) {
    EXPECT_EQ(listed("-f=zkriAdd_8u_C1IRSfs -f=zkriAdd_8u_AC4RSfs -f=zkriAdd_8u_C4RSfs -f=zkriAdd_16s_C1RSfs"),
              (Names{"zkriAdd_8u_C4RSfs", "zkriAdd_8u_AC4RSfs", "zkriAdd_8u_C1IRSfs", "zkriAdd_16s_C1RSfs"}));
    EXPECT_EQ(listed("-s- -fAdd_8u_C1"), (Names{"zkriAdd_8u_C1RSfs", "zkriAdd_8u_C1IRSfs"}));
}

TEST(Selection, StartFromAndHotOnly) {
    const Names all = listed("-fSubC_32fc");
    ASSERT_EQ(all.size(), 6u);
    // -F passes over the tests before the first name that contains the text.
    EXPECT_EQ(listed("-fSubC_32fc -F_C1IR"), Names(all.begin() + 3, all.end()));
    EXPECT_TRUE(listed("-FnoSuchFunction").empty());
    // None of the Add family is on the hot list.
    EXPECT_TRUE(listed("-HONLY -tTimiAdd").empty());
}

TEST(Selection, GnuRequestsAnswerAndOtherLongWordsStartNothing) {
    const auto help = e2e::quill("--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.has("-h: type short help and exit"));
    EXPECT_FALSE(help.has("Sorting functions"));
    const auto version = e2e::quill("--version");
    EXPECT_EQ(version.status, 0);
    EXPECT_TRUE(version.has("-v: type the version number"));
    const auto bad = e2e::quill("--list -B -f=zkriAdd_8u_C1RSfs");
    EXPECT_EQ(bad.status, 4);
    EXPECT_TRUE(bad.has("FATAL ERROR: unknown option --list (the keys are single letters: -h lists them, --help too)"));
    EXPECT_FALSE(bad.has("Sorting functions"));
    EXPECT_FALSE(bad.has("zkriAdd_8u_C1RSfs"));
}
