// Ini-files: written with defaults by -I, edited by the user, read by -i with -d taking
// precedence, extended by a second -I, and used by -P to choose the functions.
#include <gtest/gtest.h>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;
namespace fs = std::filesystem;

namespace {

Outcome fixture(const std::string& args) { return run(quote(fixtureProgram()) + " " + args); }

// The performance lines of one test's box.
std::vector<PerfLine> linesOf(const std::string& out, const std::string& name) {
    const size_t title = out.find("| " + name + " ");
    if (title == std::string::npos) return {};
    const size_t result = out.find("| Result:", title);
    return perfLines(out.substr(title, result - title));
}

std::vector<std::string> paramsOf(const std::vector<PerfLine>& ls) {
    std::vector<std::string> p;
    for (const PerfLine& l : ls) p.push_back(l.params);
    return p;
}

const std::vector<std::string> kAllLens = {"Len=1", "Len=2", "Len=3", "Len=4", "Len=5"};

}  // namespace

TEST(IniFile, WriteEditReadOverrideExtendAndSelect) {
    TempDir d;
    const std::string dirs = " -p" + d.str() + " -l" + d.str();
    const fs::path ini = d / "x.ini";

    // 1. -I writes the common section and one section per selected function, and measures nothing.
    Outcome w = fixture("-B -f=fixOk_32f_C1R -f=fixLibWarning_32f_C1R -LP -I x.ini" + dirs);
    EXPECT_EQ(w.status, 0) << w.out;
    EXPECT_TRUE(w.has("-Ix.ini: write QM parameters to " + ini.string() + " and exit\n")) << w.out;
    EXPECT_TRUE(perfLines(w.out).empty()) << w.out;
    IniFile f = parseIni(readFile(ini));
    ASSERT_TRUE(f.count("Quillmark")) << readFile(ini);
    EXPECT_EQ(f["Quillmark"]["Method"], "Auto");
    EXPECT_EQ(f["Quillmark"]["Accuracy"], "5");
    EXPECT_EQ(f["Quillmark"]["AlignVectorsBy"], "element");
    EXPECT_EQ(f["Quillmark"]["VectorAlign"], "0");
    EXPECT_EQ(f["Quillmark"]["MisalignFirstVectorOnly"], "no");
    EXPECT_EQ(f["Quillmark"]["MutualVectorShift"], "0");
    EXPECT_FALSE(f["Quillmark"].count("NumLoops"));  // asked only for the Manual method
    EXPECT_EQ(f["fixOk_32f_C1R"]["Len"], "1; 5; +1");
    EXPECT_EQ(f["fixLibWarning_32f_C1R"]["Len"], "1; 5; +1");
    EXPECT_EQ(f.size(), 3u);
    EXPECT_TRUE(inOrder(readFile(ini), {"\n[Quillmark]\n", "Method=Auto\t// ", "\n[fixLibWarning_32f_C1R]\nLen=",
                                        "\n[fixOk_32f_C1R]\nLen="}));

    // 2. The user edits it: one length for fixOk (with a comment), the Manual method with 7 loops.
    std::string text = readFile(ini);
    const std::string okSection = "[fixOk_32f_C1R]\nLen=1; 5; +1";
    ASSERT_NE(text.find(okSection), std::string::npos);
    text.replace(text.find(okSection), okSection.size(), "[fixOk_32f_C1R]\nLen = 3 // one small length");
    const size_t method = text.find("Method=Auto");
    text.replace(method, text.find('\n', method) - method, "Method=Manual\nNumLoops=7");
    writeFile(ini, text);

    // 3. -i reads it.
    Outcome r = fixture("-B -f=fixOk_32f_C1R -f=fixLibWarning_32f_C1R -LPW -i x.ini" + dirs);
    const auto ok = linesOf(r.out, "fixOk_32f_C1R");
    EXPECT_EQ(paramsOf(ok), std::vector<std::string>{"Len=3"}) << r.out;
    const auto warn = linesOf(r.out, "fixLibWarning_32f_C1R");
    EXPECT_EQ(paramsOf(warn), kAllLens) << r.out;
    for (const PerfLine& l : perfLines(r.out)) EXPECT_EQ(commentValue(l.comment, "nLps"), 7) << l.comment;
    EXPECT_EQ(readFile(ini), text) << "a file only read is not rewritten";

    // 4. -d beats the ini-file.
    Outcome o = fixture("-B -f=fixOk_32f_C1R -LP -i x.ini -dLen=2 -dNumLoops=9" + dirs);
    const auto over = linesOf(o.out, "fixOk_32f_C1R");
    EXPECT_EQ(paramsOf(over), std::vector<std::string>{"Len=2"}) << o.out;
    ASSERT_EQ(over.size(), 1u);
    EXPECT_EQ(over[0].comment, "nLps=9");

    // 5. A second -I keeps every edited value and adds only the new function's section.
    Outcome w2 = fixture("-B -f=fixOk_32f_C1R -f=fixX87Status_32f_C1R -LP -I x.ini" + dirs);
    EXPECT_TRUE(perfLines(w2.out).empty()) << w2.out;
    f = parseIni(readFile(ini));
    EXPECT_EQ(f["Quillmark"]["Method"], "Manual") << readFile(ini);
    EXPECT_EQ(f["Quillmark"]["NumLoops"], "7");
    EXPECT_EQ(f["fixOk_32f_C1R"]["Len"], "3");
    EXPECT_EQ(f["fixLibWarning_32f_C1R"]["Len"], "1; 5; +1");
    ASSERT_TRUE(f.count("fixX87Status_32f_C1R"));
    // The new section starts from the common definition, not from the previous function's Len=3.
    EXPECT_EQ(f["fixX87Status_32f_C1R"]["Len"], "1; 5; +1");
    EXPECT_EQ(f.size(), 4u);

    // 6. -P measures only the functions named as sections, whatever -t selects.
    Outcome p = fixture("-B -tTimFixture -LP -i x.ini -P" + dirs);
    EXPECT_EQ(summaryCount(p.out, ".Number of tests"), 3) << p.out;
    for (const char* name : {"fixOk_32f_C1R", "fixLibWarning_32f_C1R", "fixX87Status_32f_C1R"})
        EXPECT_FALSE(linesOf(p.out, name).empty()) << name;
    for (const char* name : {"fixSegv_32f_C1R", "fixFailThird_32f_C1R", "fixNoValues_32f_C1R"})
        EXPECT_FALSE(p.has("| " + std::string(name) + " ")) << name;
}

TEST(IniFile, MissingFileForReadingFallsBackToDefaults) {
    TempDir d;
    Outcome r = fixture("-B -f=fixOk_32f_C1R -LP -i absent.ini -p" + d.str());
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_EQ(paramsOf(perfLines(r.out)), kAllLens) << r.out;
    EXPECT_FALSE(fs::exists(d / "absent.ini"));
}

TEST(IniFile, UnwritablePathIsFatal) {
    Outcome r = fixture("-B -f=fixOk_32f_C1R -I/nonexistent-dir/x.ini");
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(r.has("FATAL ERROR: can't open ini-file for writing\n")) << r.out;
    EXPECT_FALSE(r.has("QM Summary"));
    EXPECT_FALSE(r.has("| fixOk_32f_C1R"));
}
