// qmString helpers at their boundaries.
#include <gtest/gtest.h>

#include <unordered_set>

#include "qmexception.h"
#include "qmstring.h"

namespace {
std::vector<std::string> pieces(const qmList<qmString>& l) {
    std::vector<std::string> out;
    for (const qmString& s : l) out.push_back(s.str());
    return out;
}
using Pieces = std::vector<std::string>;
}  // namespace

TEST(String, FindGivesMinusOneWhenAbsentOrOutOfRange) {
    const qmString s = "abcabc";
    EXPECT_EQ(s.find("bc"), 1);
    EXPECT_EQ(s.find("bc", 2), 4);
    EXPECT_EQ(s.find("x"), -1);
    EXPECT_EQ(s.find('c', 3), 5);
    EXPECT_EQ(s.find('c', 6), -1);
    EXPECT_EQ(s.find("a", 7), -1);
    EXPECT_EQ(s.find("a", -1), -1);
    EXPECT_EQ(s.rfind('a'), 3);
    EXPECT_EQ(s.rfind('x'), -1);
    EXPECT_EQ(s.findFirstOf("cx"), 2);
    EXPECT_EQ(s.findFirstOf("xyz"), -1);
    EXPECT_EQ(qmString().find("a"), -1);
}

TEST(String, SubstrClamps) {
    const qmString s = "abcdef";
    EXPECT_EQ(s.substr(2, 3), "cde");
    EXPECT_EQ(s.substr(4, 100), "ef");
    EXPECT_EQ(s.substr(6), "");
    EXPECT_EQ(s.substr(60, 2), "");
    EXPECT_EQ(s.substr(-3, 2), "ab");
    EXPECT_EQ(s.substr(1, 0), "");
    EXPECT_EQ(s.left(10), "abcdef");
    EXPECT_EQ(s.mid(5), "f");
}

TEST(String, TrimCaseAndAffixes) {
    EXPECT_EQ(qmString(" \t a b \r\n").trimmed(), "a b");
    EXPECT_EQ(qmString(" \t\n").trimmed(), "");
    EXPECT_EQ(qmString("MiXeD 8u").lower(), "mixed 8u");
    EXPECT_EQ(qmString("MiXeD 8u").upper(), "MIXED 8U");
    EXPECT_TRUE(qmString("zkriAdd").startsWith("zkri"));
    EXPECT_FALSE(qmString("zkr").startsWith("zkri"));
    EXPECT_TRUE(qmString("a.csv").endsWith(".csv"));
    EXPECT_TRUE(qmString("abc").contains(""));
}

TEST(String, PathParts) {
    const qmString p = "/opt/qm/bin/quillmark.tar.gz";
    EXPECT_EQ(p.fileName(), "quillmark.tar.gz");
    EXPECT_EQ(p.fileTitle(), "quillmark.tar");
    EXPECT_EQ(p.fileDir(), "/opt/qm/bin/");
    EXPECT_EQ(qmString("quillmark").fileDir(), "");
    EXPECT_EQ(qmString("quillmark").fileTitle(), "quillmark");
    EXPECT_EQ(qmString("dir/.hidden").fileTitle(), ".hidden");  // a leading dot is no extension
    EXPECT_EQ(qmString("dir.d/file").fileTitle(), "file");      // dots of directories do not count
    EXPECT_EQ(qmString("dir/").fileName(), "");
    EXPECT_EQ(qmString("/").fileDir(), "/");
    EXPECT_TRUE(qmString("/tmp").isAbsolutePath());
    EXPECT_FALSE(qmString("tmp/x").isAbsolutePath());
}

TEST(String, ParseDropsEmptyPiecesSplitKeepsThem) {
    EXPECT_EQ(pieces(qmString(",, a,,b ,").parse(", ")), (Pieces{"a", "b"}));
    EXPECT_EQ(pieces(qmString("16 32,64").parse(", ")), (Pieces{"16", "32", "64"}));
    EXPECT_TRUE(qmString(",,,").parse(",").empty());
    EXPECT_TRUE(qmString().parse(",").empty());
    EXPECT_EQ(pieces(qmString("a,,b,").split(',')), (Pieces{"a", "", "b", ""}));
    EXPECT_EQ(pieces(qmString("").split(',')), (Pieces{""}));
    EXPECT_EQ(pieces(qmString("TimiAdd//ZK_REG").split('/')), (Pieces{"TimiAdd", "", "ZK_REG"}));
}

TEST(String, IntegerParsing) {
    long long v = -1;
    EXPECT_TRUE(qmString(" 42 ").toInt(v));
    EXPECT_EQ(v, 42);
    EXPECT_TRUE(qmString("-7").toInt(v));
    EXPECT_EQ(v, -7);
    EXPECT_TRUE(qmString("0x10").toInt(v));
    EXPECT_EQ(v, 16);
    // Leading zeros are decimal: a size typed as "08" or "010" means eight or ten.
    EXPECT_TRUE(qmString("08").toInt(v));
    EXPECT_EQ(v, 8);
    EXPECT_TRUE(qmString("010").toInt(v));
    EXPECT_EQ(v, 10);
    EXPECT_TRUE(qmString("9223372036854775807").toInt(v));
    EXPECT_EQ(v, 9223372036854775807LL);
    v = 5;
    EXPECT_FALSE(qmString("9223372036854775808").toInt(v));
    EXPECT_FALSE(qmString("").toInt(v));
    EXPECT_FALSE(qmString("12abc").toInt(v));
    EXPECT_FALSE(qmString("1.5").toInt(v));
    EXPECT_FALSE(qmString("0x").toInt(v));
    EXPECT_EQ(v, 5);  // failures leave the value alone
}

TEST(String, DoubleParsing) {
    double d = 0;
    EXPECT_TRUE(qmString("1.5e3").toDouble(d));
    EXPECT_DOUBLE_EQ(d, 1500.0);
    EXPECT_TRUE(qmString(" -0.25 ").toDouble(d));
    EXPECT_DOUBLE_EQ(d, -0.25);
    EXPECT_TRUE(qmString("7").toDouble(d));
    EXPECT_DOUBLE_EQ(d, 7.0);
    d = 3;
    EXPECT_FALSE(qmString("1.5x").toDouble(d));
    EXPECT_FALSE(qmString("").toDouble(d));
    EXPECT_FALSE(qmString("1e999").toDouble(d));
    EXPECT_DOUBLE_EQ(d, 3.0);
}

TEST(String, FormatAndNumberAppending) {
    EXPECT_EQ(qmString::format("%05.1f|%d|%s", 3.14159, -4, "x"), "003.1|-4|x");
    EXPECT_EQ(qmString::format("%s", ""), "");
    EXPECT_EQ(qmString::format("%s", std::string(500, 'y').c_str()).length(), 500);
    qmString s;
    s << 12 << ' ' << 1.5 << ' ' << -3LL << ' ' << 4000000000u << ' ' << 0.1 << ' ' << "end";
    EXPECT_EQ(s, "12 1.5 -3 4000000000 0.1 end");
    EXPECT_EQ(qmString::fromDouble(1e20), "1e+20");
}

TEST(String, ConcatenationAndComparison) {
    const qmString a = "ab";
    EXPECT_EQ("x" + a + 'c' + "d", "xabcd");
    EXPECT_LT(qmString("abc"), qmString("abd"));
    EXPECT_LT(qmString("ab"), qmString("abc"));
    EXPECT_TRUE(a == "ab");
    EXPECT_EQ(qmString(3, '-'), "---");
    EXPECT_EQ(qmString(static_cast<const char*>(nullptr)), "");
}

TEST(String, ErrorFlagIsNotPartOfTheText) {
    qmString bad = "16";
    bad.setError();
    EXPECT_TRUE(bad.error());
    EXPECT_FALSE(qmString("16").error());
    // Equality, ordering and hashing look at the text only, so a flagged value is still found.
    EXPECT_EQ(bad, qmString("16"));
    EXPECT_FALSE(bad < qmString("16") || qmString("16") < bad);
    qmList<qmString> values = {"8", "16"};
    EXPECT_TRUE(values.contains(bad));
    std::unordered_set<qmString> set = {qmString("16")};
    EXPECT_TRUE(set.contains(bad));
    bad.setError(false);
    EXPECT_FALSE(bad.error());
}

// Control characters of user input are shown escaped; line ends, tabs and other text stay.
TEST(StringPrintable, ControlCharactersEscaped) {
    EXPECT_EQ(qmString(std::string("64\x01x64\x1b[2J\x7f", 11)).printable(), "64\\x01x64\\x1B[2J\\x7F");
    EXPECT_EQ(qmString(std::string("a\0b", 3)).printable(), "a\\x00b");
    EXPECT_EQ(qmString("line\n\tnext").printable(), "line\n\tnext");
    EXPECT_EQ(qmString("\xc3\xa9t\xc3\xa9").printable(), "\xc3\xa9t\xc3\xa9");
    EXPECT_EQ(qmException(qmString("Size = \x1b")).info(), std::string("Size = \\x1B"));
}
