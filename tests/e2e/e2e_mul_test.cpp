// The multiplication family from the command line: TimiMul and iAlphaPremul__YS list every function
// with the counts per base, register the in-place forms of TimiMul as its ZK_REG_Ibs group, and a
// short run measures every function of both with "OK"; the family's parameters are read from -d.
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <string>
#include <vector>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

namespace {


const char* const kShort = " -dSize=32x8 -dMethod=Manual -dNumLoops=2";

// Function name -> registration macro, from the "| zkri... test <class>|" title and the
// "registered by <macro> macro" line that follows it in an information-level run.
std::map<std::string, std::string> macros(const std::string& out) {
    static const std::regex title(R"(^\| (zkri\S+) +test \S+\|$)");
    static const std::regex reg(R"(registered by (\S+) macro)");
    std::map<std::string, std::string> found;
    std::string fn;
    for (const std::string& l : lines(out)) {
        std::smatch m;
        if (std::regex_match(l, m, title)) fn = m[1];
        else if (!fn.empty() && std::regex_search(l, m, reg)) found[fn] = m[1], fn.clear();
    }
    return found;
}

bool inPlace(const std::string& fn) { return fn.find("IR") != std::string::npos; }

}  // namespace

TEST(MulFamily, ListsEveryFunctionPerBase) {
    EXPECT_EQ(listedBases("TimiMul"), (std::map<std::string, int>{{"Mul", 50},
                                                                  {"MulC", 50},
                                                                  {"MulScale", 16},
                                                                  {"MulCScale", 16},
                                                                  {"AlphaPremul", 4},
                                                                  {"AlphaPremulC", 16},
                                                                  {"CompColorKey", 9}}));
    EXPECT_EQ(listedBases("iAlphaPremul__YS"), (std::map<std::string, int>{{"AlphaPremul", 4}, {"AlphaPremulC", 4}}));
}

// One line per function, three scale factors for the 72 scaled ones; the in-place forms (66) are
// the ZK_REG_Ibs group, the others ZK_REG.
TEST(MulFamily, MeasuresEveryFunctionOkInTwoGroups) {
    const Outcome r = quill(std::string("-B -LPI -t=TimiMul") + kShort);
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    EXPECT_EQ(perf.size(), 161u + 2u * 72u);
    expectEveryLineOk(perf);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 161);
    const std::map<std::string, std::string> reg = macros(r.out);
    EXPECT_EQ(reg.size(), 161u);
    int ibs = 0;
    for (const auto& [fn, macro] : reg) {
        EXPECT_EQ(macro, inPlace(fn) ? "ZK_REG_Ibs" : "ZK_REG") << fn;
        ibs += macro == "ZK_REG_Ibs";
    }
    EXPECT_EQ(ibs, 66);
}

TEST(MulFamily, MeasuresEveryInPlacePremultiplicationOk) {
    const Outcome r = quill(std::string("-B -LPI -tiAlphaPremul__YS") + kShort);
    EXPECT_EQ(r.status, 0) << r.out;
    const std::vector<PerfLine> perf = perfLines(r.out);
    EXPECT_EQ(perf.size(), 8u);
    for (const PerfLine& p : perf) EXPECT_EQ(p.result, "OK") << p.params << " " << p.comment;
    const std::map<std::string, std::string> reg = macros(r.out);
    EXPECT_EQ(reg.size(), 8u);
    for (const auto& [fn, macro] : reg) {
        EXPECT_TRUE(inPlace(fn)) << fn;
        EXPECT_EQ(macro, "ZK_REG") << fn;
    }
}

// The constant, the alpha and the colour key are parameters of the functions that take them
// only; a list gives one line per value, and a value outside the range is refused.
TEST(MulFamily, ReadsItsParametersFromTheCommandLine) {
    const Outcome r = quill(std::string("-B -LP -f=zkriMulC_8u_C1RSfs -f=zkriAlphaPremulC_8u_C1R '-dvalue=2;5' "
                                        "-dalpha=0.25 -dscaleFactor=0") +
                            kShort);
    EXPECT_EQ(r.status, 0) << r.out;
    std::vector<std::string> params;
    for (const PerfLine& p : perfLines(r.out)) {
        EXPECT_EQ(p.result, "OK");
        params.push_back(p.params);
    }
    ASSERT_EQ(params.size(), 3u) << r.out;
    int alphaLines = 0, valueLines = 0;
    for (const std::string& p : params) {
        const bool alpha = p.find("alpha=0.25") != std::string::npos;
        const bool value = p.find("value=2") != std::string::npos || p.find("value=5") != std::string::npos;
        EXPECT_NE(alpha, value) << "one constant per function: " << p;
        alphaLines += alpha;
        valueLines += value;
    }
    EXPECT_EQ(alphaLines, 1);
    EXPECT_EQ(valueLines, 2);

    const Outcome bad = quill(std::string("-B -LP -f=zkriAlphaPremulC_8u_C4IR -dalpha=1.5") + kShort);
    EXPECT_TRUE(bad.has("Invalid value of alpha")) << bad.out;
    EXPECT_TRUE(perfLines(bad.out).empty()) << bad.out;
}
