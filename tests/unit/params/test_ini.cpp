#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "qminifile.h"

namespace {

namespace fs = std::filesystem;

class IniFile : public ::testing::Test {
protected:
    void SetUp() override {
        m_path = fs::path(::testing::TempDir()) /
                 ("qm_ini_" + std::to_string(getpid()) + "_" +
                  ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".ini");
        fs::remove(m_path);
    }
    void TearDown() override { fs::remove(m_path); }

    void put(const std::string& text) { std::ofstream(m_path) << text; }
    std::string content() const {
        std::ifstream in(m_path);
        std::stringstream ss;
        ss << in.rdbuf();
        return ss.str();
    }
    qmString path() const { return m_path.string(); }

    fs::path m_path;
};

}  // namespace

TEST(IniLines, SectionAndValueParsers) {
    qmString name, key, value;
    EXPECT_TRUE(qmIniFile::getSection("[zkriAdd_8u_C1RSfs]", name));
    EXPECT_EQ(name, "zkriAdd_8u_C1RSfs");
    EXPECT_TRUE(qmIniFile::getSection("x [ Quillmark ] y", name));
    EXPECT_EQ(name, "Quillmark");
    EXPECT_FALSE(qmIniFile::getSection("[Quillmark", name));
    EXPECT_FALSE(qmIniFile::getSection("]Quillmark[", name));
    EXPECT_TRUE(qmIniFile::getValue("Len = 64 = x", key, value));
    EXPECT_EQ(key, "Len");
    EXPECT_EQ(value, "64 = x");  // split at the first "="
    EXPECT_FALSE(qmIniFile::getValue("no equals here", key, value));
}

TEST_F(IniFile, ReadsSectionsEntriesAndComments) {
    put("// generated\n"
        "Loose = 1\n"
        "[Quillmark]\n"
        "  Method = Manual   // the method\n"
        "NumLoops=\n"
        "\n"
        "[zkriAdd_8u_C1RSfs\n"
        "[zkriAdd_8u_C1RSfs]\n"
        "Len = 64 // small\n"
        "bare line\n"
        "[Quillmark]\n"
        "Accuracy = 5\n");
    qmIniFile ini;
    ASSERT_TRUE(ini.open(path(), false));
    EXPECT_EQ(ini.read("", "Loose", "-"), "1");  // before any section: the unnamed one
    EXPECT_EQ(ini.read("Quillmark", " Method ", "-"), "Manual");
    EXPECT_EQ(ini.read("Quillmark", "NumLoops", "-"), "");
    EXPECT_EQ(ini.read("Quillmark", "Accuracy", "-"), "5");  // a repeated section adds to the first
    EXPECT_EQ(ini.read("zkriAdd_8u_C1RSfs", "Len", "-"), "64");
    EXPECT_EQ(ini.read("zkriAdd_8u_C1RSfs", "bare line", "-"), QM_INI_LINE);
    EXPECT_EQ(ini.read("zkriAdd_8u_C1RSfs", "len", "-"), "-");  // keys are exact
    EXPECT_EQ(ini.read("Missing", "Len", "dflt"), "dflt");
    // "[" without a later "]" is no section line; it holds no "=" so it is a bare line.
    EXPECT_TRUE(ini.valueExist("Quillmark", "[zkriAdd_8u_C1RSfs"));
    const qmValues* v = ini.getSectionValues("zkriAdd_8u_C1RSfs");
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->front().comment, "small");
    EXPECT_EQ(ini.getSectionValues("Missing"), nullptr);
    EXPECT_FALSE(ini.isModified());
}

TEST_F(IniFile, BracketWithoutCloseIsAnEntryWhenItHoldsEquals) {
    put("[A]\nSize = [64x64\n");
    qmIniFile ini;
    ASSERT_TRUE(ini.open(path(), false));
    EXPECT_EQ(ini.read("A", "Size", "-"), "[64x64");
    EXPECT_FALSE(ini.sectionExist("64x64"));
}

TEST_F(IniFile, WriteFormsNeverOverwrite) {
    qmIniFile ini;
    ASSERT_TRUE(ini.open(path(), false));  // a missing file reads as empty
    EXPECT_FALSE(ini.sectionExist("Quillmark"));
    ini.write("Quillmark");
    EXPECT_TRUE(ini.isModified());
    EXPECT_TRUE(ini.sectionExist("Quillmark"));
    ini.write("Quillmark", "Method", "Auto", "Auto, Manual");
    ini.write("Quillmark", "Method", "Manual", "other");
    EXPECT_EQ(ini.read("Quillmark", "Method", ""), "Auto");
    ini.write("zkriAdd_8u_C1RSfs", "note");
    EXPECT_TRUE(ini.valueExist("zkriAdd_8u_C1RSfs", "note"));
    ini.close();
    EXPECT_EQ(content(), "\n[Quillmark]\nMethod=Auto\t// Auto, Manual\n\n[zkriAdd_8u_C1RSfs]\nnote\n");
}

TEST_F(IniFile, RewriteKeepsCommentsAndLooseEntries) {
    put("// my settings\nLoose=1\n[A]\n// about Len\nLen = 64 // small\nbare\n");
    qmIniFile ini;
    ASSERT_TRUE(ini.open(path(), false));
    ini.write("A", "Order", "3", "");
    ini.close();
    const std::string expected = "// my settings\nLoose=1\n\n[A]\n// about Len\nLen=64\t// small\nbare\nOrder=3\n";
    EXPECT_EQ(content(), expected);
    // Reading the rewritten file gives the same content back.
    ASSERT_TRUE(ini.open(path(), true));
    ini.close();
    EXPECT_EQ(content(), expected);
}

TEST_F(IniFile, UnchangedFileIsNotRewritten) {
    put("[A]\nLen = 64 // spacing kept\n");
    const auto old = fs::file_time_type::clock::now() - std::chrono::hours(24);
    fs::last_write_time(m_path, old);
    {
        qmIniFile ini;
        ASSERT_TRUE(ini.open(path(), false));
        EXPECT_EQ(ini.read("A", "Len", ""), "64");
        ini.write("A", "Len", "128", "");  // exists: no change
        EXPECT_FALSE(ini.isModified());
    }  // the destructor closes
    EXPECT_EQ(fs::last_write_time(m_path), old);
    EXPECT_EQ(content(), "[A]\nLen = 64 // spacing kept\n");
}

TEST_F(IniFile, ProvingOpenEmptiesUntilClose) {
    put("[A]\nLen=64\n");
    qmIniFile ini;
    ASSERT_TRUE(ini.open(path(), true));
    EXPECT_TRUE(ini.isWritable());
    EXPECT_EQ(content(), "");  // the content lives in memory now
    EXPECT_EQ(ini.read("A", "Len", ""), "64");
    ini.close();
    EXPECT_EQ(content(), "\n[A]\nLen=64\n");
    EXPECT_FALSE(ini.isOpen());
}

TEST_F(IniFile, UnwritableFileFailsOnlyWhenWritingIsAsked) {
    const qmString bad = path() + ".missing-dir/x.ini";
    qmIniFile ini;
    EXPECT_TRUE(ini.open(bad, false));
    ini.close();
    EXPECT_FALSE(ini.open(bad, true));
    EXPECT_FALSE(ini.isWritable());
}

TEST_F(IniFile, EraseSectionAndDeleteKey) {
    put("[A]\nx=1\ny=2\n[B]\nz=3\n");
    qmIniFile ini;
    ASSERT_TRUE(ini.open(path(), false));
    EXPECT_FALSE(ini.deleteKey("A", "nope"));
    EXPECT_FALSE(ini.eraseSection("C"));
    EXPECT_FALSE(ini.isModified());
    EXPECT_TRUE(ini.deleteKey("A", "x"));
    EXPECT_TRUE(ini.eraseSection("B"));
    EXPECT_TRUE(ini.isModified());
    ini.close();
    EXPECT_EQ(content(), "\n[A]\ny=2\n");
}

// Hostile files: a NUL byte ends the line's text (as it would when written back), and a line of
// any length is read whole.
TEST_F(IniFile, NulByteEndsTheLineAndLongLinesReadWhole) {
    std::string text("[Quill\0junk]\nSize=64x64\n[B]\nKey=", 32);
    const std::string longValue(100000, '7');
    text += longValue + "\n";
    put(text);
    qmIniFile ini;
    ASSERT_TRUE(ini.open(path(), true));
    EXPECT_FALSE(ini.sectionExist(qmString(std::string("Quill\0junk]", 11))));
    EXPECT_EQ(ini.read("B", "Key", "-"), longValue);
    ini.write("C", "K", "1", "");
    ini.close();
    // Written back and read again: the same sections and values.
    qmIniFile again;
    ASSERT_TRUE(again.open(path(), false));
    EXPECT_EQ(again.read("B", "Key", "-"), longValue);
    EXPECT_EQ(again.read("C", "K", "-"), "1");
    EXPECT_EQ(content().find('\0'), std::string::npos);
}
