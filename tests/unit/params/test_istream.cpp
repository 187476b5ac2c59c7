#include <gtest/gtest.h>

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "qmistream.h"
#include "qmmapiterator.h"
#include "qmsignal.h"
#include "qmstepiterator.h"

namespace {

namespace fs = std::filesystem;

std::string slurp(const fs::path& p) {
    std::ifstream in(p);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

// g_istrm and g_ostrm are process-wide: every test starts and ends with them clean.
class IStream : public ::testing::Test {
protected:
    void SetUp() override {
        m_base = fs::path(::testing::TempDir()) /
                 ("qm_is_" + std::to_string(getpid()) + "_" +
                  ::testing::UnitTest::GetInstance()->current_test_info()->name());
        clean();
        m_level = g_ostrm.outLevel();
    }
    void TearDown() override {
        clean();
        g_ostrm.close();
        g_ostrm.setOutLevel(m_level);
        for (const char* ext : {".ini", ".in", ".out"}) fs::remove(file(ext));
    }
    static void clean() {
        g_istrm.deleteIStream();
        g_istrm.deleteIniFile();
        g_istrm.clearData();
        g_istrm.setIniSection(QM_COMMON_SECTION);
        g_istrm.setSectionsOnly(false);
    }
    fs::path file(const char* ext) const { return fs::path(m_base.string() + ext); }
    // Console answers, one per line.
    void console(const std::string& answers) {
        std::ofstream(file(".in")) << answers;
        g_istrm.setIStream(new i_stream(file(".in").string()));
    }
    void ini(const std::string& text) { std::ofstream(file(".ini")) << text; }
    void captureConsole() { ASSERT_TRUE(g_ostrm.addStream(file(".out").string(), false)); }
    std::string captured() {
        g_ostrm.close();
        return slurp(file(".out"));
    }

    fs::path m_base;
    int m_level = 0;
};

}  // namespace

TEST_F(IStream, DefaultWithoutAnySource) {
    EXPECT_EQ(g_istrm.getItemValue("Len", "Length", "16", ""), "16");
    EXPECT_FALSE(g_istrm.isConsole());
    EXPECT_FALSE(g_istrm.nameOnly());
}

TEST_F(IStream, DataOverIniOverConsole) {
    ini("[Quillmark]\nLen = 32\nOrder = 5\nEmpty =\n");
    ASSERT_TRUE(g_istrm.setIniFile(file(".ini").string(), false));
    console("100\n200\n");
    g_istrm.addData("Len", "8");
    g_istrm.addData("Len", " 4 ");  // a name given again replaces the value
    EXPECT_EQ(g_istrm.getItemValue("Len", "", "16", ""), "4");
    EXPECT_EQ(g_istrm.getItemValue("Order", "", "1", ""), "5");
    EXPECT_EQ(g_istrm.getItemValue("Empty", "", "1", ""), "100");  // an empty ini value does not count
    EXPECT_EQ(g_istrm.getItemValue("Other", "", "1", ""), "200");
}

TEST_F(IStream, ConsolePromptAndEmptyAnswers) {
    console("  \n");
    captureConsole();
    g_ostrm.setOutLevel(ERR);  // the prompt is an ERR message: always visible
    EXPECT_EQ(g_istrm.getItemValue("Len", "Vector length", "16; 32", ""), "16; 32");  // blank answer
    EXPECT_EQ(g_istrm.getItemValue("Order", "", "3", ""), "3");                       // end of input
    EXPECT_EQ(captured(), "Vector length [16; 32]: Order [3]: ");
}

TEST_F(IStream, SectionSelectsTheFunctionsValues) {
    ini("[Quillmark]\nLen=1\n[zkriAdd_8u_C1RSfs]\nLen=2\n");
    ASSERT_TRUE(g_istrm.setIniFile(file(".ini").string(), false));
    EXPECT_EQ(g_istrm.getItemValue("Len", "", "0", ""), "1");
    EXPECT_TRUE(g_istrm.setIniSection("zkriAdd_8u_C1RSfs"));
    EXPECT_EQ(g_istrm.getItemValue("Len", "", "0", ""), "2");
    EXPECT_TRUE(g_istrm.setIniSection("zkriSub_8u_C1RSfs"));
    EXPECT_EQ(g_istrm.getItemValue("Len", "", "0", ""), "0");
    g_istrm.setSectionsOnly(true);  // -P: only functions named in the file
    EXPECT_FALSE(g_istrm.setIniSection("zkriSub_8u_C1RSfs"));
    EXPECT_TRUE(g_istrm.setIniSection("zkriAdd_8u_C1RSfs"));
}

TEST_F(IStream, WritingModeRecordsChosenValuesAndKeepsExisting) {
    const std::string path = file(".ini").string();
    ASSERT_TRUE(g_istrm.setIniFile(path, true));
    EXPECT_TRUE(g_istrm.nameOnly());
    g_istrm.addData("Method", "Manual");
    EXPECT_EQ(g_istrm.getItemValue("Method", "", "Auto", "Auto, Manual"), "Manual");
    ASSERT_TRUE(g_istrm.setIniSection("zkriAdd_8u_C1RSfs"));
    EXPECT_EQ(g_istrm.getItemValue("Len", "", "16", ""), "16");
    g_istrm.deleteIniFile();
    const std::string first = "\n[Quillmark]\nMethod=Manual\t// Auto, Manual\n\n[zkriAdd_8u_C1RSfs]\nLen=16\n";
    EXPECT_EQ(slurp(path), first);

    // A second run with other defaults keeps every value and adds only the missing one.
    g_istrm.clearData();
    g_istrm.setIniSection(QM_COMMON_SECTION);
    ASSERT_TRUE(g_istrm.setIniFile(path, true));
    EXPECT_EQ(g_istrm.getItemValue("Method", "", "Statistic", ""), "Manual");
    ASSERT_TRUE(g_istrm.setIniSection("zkriAdd_8u_C1RSfs"));
    EXPECT_EQ(g_istrm.getItemValue("Len", "", "64", ""), "16");
    EXPECT_EQ(g_istrm.getItemValue("Order", "", "2", ""), "2");
    g_istrm.deleteIniFile();
    EXPECT_EQ(slurp(path), first + "Order=2\n");
}

TEST_F(IStream, UnwritableIniFileIsRefused) {
    EXPECT_FALSE(g_istrm.setIniFile(file(".d/missing/x.ini").string(), true));
    EXPECT_EQ(g_istrm.iniFile(), nullptr);
    EXPECT_TRUE(g_istrm.setIniFile(file(".ini").string(), false));  // reading a missing file is fine
    EXPECT_NE(g_istrm.iniFile(), nullptr);
    EXPECT_FALSE(g_istrm.nameOnly());
}

TEST_F(IStream, ParameterReadsThroughTheStream) {
    qmStepIterator<int> len(16, 1024, '*', 2, "Len", "Vector length");
    qmMapIterator<int> method(0, "Method", "Timing method", {{"Auto", 0}, {"Manual", 1}});
    qmIterator_NSC<int> silent(7, "", "never asked");
    g_istrm.addData("Len", "8; 4");
    len.fromIStream(g_istrm);
    EXPECT_FALSE(len.isRange());
    EXPECT_EQ(len.defaultString(), "8; 4");
    console("man\n");
    method.fromIStream(g_istrm);
    ASSERT_TRUE(method.firstValue());
    EXPECT_EQ(method.value(), 1);
    silent.fromIStream(g_istrm);  // would take "" from the exhausted console, but is not asked
    EXPECT_EQ(silent.defaultString(), "7");
    g_istrm.addData("Len", "0; 64; *2");
    EXPECT_THROW(len.fromIStream(g_istrm), qmException);
    EXPECT_EQ(len.defaultString(), "8; 4");
}

TEST_F(IStream, IniRecordsTheValidValuesAsComment) {
    ASSERT_TRUE(g_istrm.setIniFile(file(".ini").string(), true));
    qmMapIterator<int> method(0, "Method", "Timing method", {{"Auto", 0}, {"Manual", 1}});
    method.fromIStream(g_istrm);
    g_istrm.deleteIniFile();
    EXPECT_EQ(slurp(file(".ini")), "\n[Quillmark]\nMethod=Auto\t// Auto, Manual\n");
}

namespace {
int s_levelSeen = 0;
bool s_raise = false;
// A console whose reading reports the output level in force, or is hit by a signal.
ssize_t consoleRead(void*, char* buf, size_t size) {
    s_levelSeen = g_ostrm.outLevel();
    if (s_raise) std::raise(SIGFPE);
    const char answer[] = "32\n";
    size_t n = std::min(size, sizeof answer - 1);
    std::memcpy(buf, answer, n);
    return static_cast<ssize_t>(n);
}
FILE* signalConsole() {
    cookie_io_functions_t io{};
    io.read = consoleRead;
    return fopencookie(nullptr, "r", io);
}
}  // namespace

TEST_F(IStream, DialogueRaisesOutputLevelAndTurnsSignalsIntoExceptions) {
    FILE* f = signalConsole();
    ASSERT_NE(f, nullptr);
    g_istrm.setIStream(new i_stream(f));
    g_ostrm.setOutLevel(ERR);
    qmIterator_NSC<int> len(16, "Len", "Vector length");
    s_raise = false;
    len.fromIStream(g_istrm);
    EXPECT_EQ(s_levelSeen, 7);
    EXPECT_EQ(g_ostrm.outLevel(), ERR);
    EXPECT_EQ(len.defaultString(), "32");

    s_raise = true;
    try {
        len.fromIStream(g_istrm);
        ADD_FAILURE() << "no exception";
    } catch (const qmException& e) {
        EXPECT_STREQ(e.msg(), "--ZKR. Signal: FP error, such as overflow, division by zero, invalid operation.");
    }
    s_raise = false;
    EXPECT_EQ(g_ostrm.outLevel(), ERR);
    EXPECT_EQ(tsSignal::m_armed, 0);
    g_istrm.deleteIStream();
    std::fclose(f);
}

// -d values that no parameter asked for are named at the end of the run; a name that differs from
// an asked one only in letter case says which.
TEST_F(IStream, UnusedDataIsNamedWithACaseHint) {
    captureConsole();
    g_ostrm.setOutLevel(ERR);
    g_istrm.addData("NumLoop", "2");
    g_istrm.addData("size", "32x32");
    g_istrm.addData("", "5");
    g_istrm.addData("Len", "8");
    EXPECT_EQ(g_istrm.getItemValue("Len", "", "1", ""), "8");
    EXPECT_EQ(g_istrm.getItemValue("Size", "", "1x1", ""), "1x1");
    g_istrm.reportUnusedData();
    EXPECT_EQ(captured(),
              "-- Warning: -d=5 names no parameter; it was not used\n"
              "-- Warning: -dNumLoop=2 was not used: no parameter of this run is named NumLoop\n"
              "-- Warning: -dsize=32x32 was not used: no parameter of this run is named size (names differ in letter "
              "case: Size)\n");
}
