// The framed-line builder shared by every console report.
#include <gtest/gtest.h>

#include "qmreport.h"

namespace {
constexpr int R = qmReportFormat::RIGHT;

std::string framedLine(qmReportFormat& fmt, const qmString& a, const qmString& b = "", const qmString& c = "") {
    fmt.firstLine();
    return fmt.getLine(a, b, c).str();
}
}  // namespace

TEST(ReportFormat, SeparatorIs79CharactersAndNewLine) {
    const std::string sep = qmReportFormat::sepLine().str();
    ASSERT_EQ(sep.size(), 80u);
    EXPECT_EQ(sep, std::string("+").append(77, '-').append("+\n"));
}

TEST(ReportFormat, FirstAndLastLineSwitchTheFrame) {
    qmReportFormat fmt(1, 14, R, R, R, R);
    EXPECT_FALSE(fmt.framed());
    EXPECT_EQ(fmt.firstLine(), qmReportFormat::sepLine());
    EXPECT_TRUE(fmt.framed());
    EXPECT_EQ(fmt.getLine("x").str(), std::string("| x").append(75, ' ').append("|\n"));
    EXPECT_EQ(fmt.lastLine(), qmReportFormat::sepLine());
    EXPECT_FALSE(fmt.framed());
    // Unframed lines start with a blank and are neither padded nor closed.
    EXPECT_EQ(fmt.getLine("x").str(), "  x\n");
}

TEST(ReportFormat, RightFrameOnlyWhileTheLineFits) {
    qmReportFormat fmt(1, R, R, R, R, R);
    // Items ending at column 60: padded to 78 and closed.
    std::string line = framedLine(fmt, std::string(59, 'a'));
    ASSERT_EQ(line.size(), 80u);
    EXPECT_EQ(line.substr(0, 61), std::string("| ").append(59, 'a'));
    EXPECT_EQ(line.substr(61, 17), std::string(17, ' '));
    EXPECT_EQ(line.substr(78), "|\n");
    // Up to column 77 the frame still closes the line at 78.
    line = framedLine(fmt, std::string(76, 'b'));
    EXPECT_EQ(line, std::string("| ").append(76, 'b').append("|\n"));
    // Running to column 78 leaves no room: no right frame.
    line = framedLine(fmt, std::string(77, 'c'));
    EXPECT_EQ(line, std::string("| ").append(77, 'c').append("\n"));
    // Longer still: written whole, no frame, nothing cut.
    line = framedLine(fmt, std::string(90, 'd'));
    EXPECT_EQ(line, std::string("| ").append(90, 'd').append("\n"));
}

TEST(ReportFormat, ItemAtAReachedColumnFollowsOneBlank) {
    qmReportFormat fmt(1, 33, 34, R, R, R);
    // Column 1 right after the left frame: always one blank first.
    std::string line = framedLine(fmt, "abc");
    EXPECT_EQ(line.substr(0, 5), "| abc");
    // 10 characters at 33 end at 42, so the item for 34 goes after one blank at 44.
    line = framedLine(fmt, "", "0123456789", "X");
    EXPECT_EQ(line.substr(0, 33), std::string("|").append(32, ' '));
    EXPECT_EQ(line.substr(33, 12), "0123456789 X");
    EXPECT_EQ(line.size(), 80u);
    // A position just past the end is padded to, not blank-prefixed.
    qmReportFormat tight(1, 5, R, R, R, R);
    tight.firstLine();
    EXPECT_EQ(tight.getLine("ab", "c").substr(0, 6), "| ab c");
}

TEST(ReportFormat, EmptyItemsAreSkipped) {
    qmReportFormat fmt(1, 10, 20, R, R, R);
    const std::string line = framedLine(fmt, "", "", "z");
    EXPECT_EQ(line.substr(0, 21), std::string("|").append(19, ' ').append("z"));
}

TEST(ReportFormat, RightAlignedPlacement) {
    qmReportFormat fmt(R, R, R, R, R, R);
    // -79: a 3-character item starts at 75 and ends against the frame at 78.
    std::string line = framedLine(fmt, "abc");
    EXPECT_EQ(line, std::string("|").append(74, ' ').append("abc|\n"));
    fmt.lastLine();
    EXPECT_EQ(fmt.getLine("abc").str(), std::string(" ").append(74, ' ').append("abc\n"));
    // Any -p ends the item at column p - 2.
    qmString row = "|";
    qmReportFormat::setItem(row, "ab", -10);
    EXPECT_EQ(row.str(), "|      ab");
    // A second item for the same right edge cannot go back: it follows after one blank.
    line = framedLine(fmt, "abc", "de");
    EXPECT_EQ(line, std::string("|").append(74, ' ').append("abc de\n"));
}

TEST(ReportFormat, TooLongRightAlignedItemsAreDropped) {
    // Exactly as long as the row allows: starts at column 0, so it follows the frame after a blank.
    qmString row = "|";
    qmReportFormat::setItem(row, "abcd", -5);
    EXPECT_EQ(row.str(), "| abcd");
    // One character more would need column -1: dropped, not moved.
    row = "|";
    qmReportFormat::setItem(row, "abcde", -5);
    EXPECT_EQ(row.str(), "|");
    qmReportFormat fmt(1, R, R, R, R, R);
    const std::string line = framedLine(fmt, "left", std::string(79, 'x'));
    EXPECT_EQ(line, std::string("| left").append(72, ' ').append("|\n"));
}

TEST(ReportFormat, ColumnsCountFromTheLastNewLine) {
    qmString text = "first row that is long\n|";
    qmReportFormat::setItem(text, "x", 5);
    EXPECT_EQ(text.str(), "first row that is long\n|    x");
}

TEST(ReportFormat, TimeStrings) {
    EXPECT_EQ(qmReportFormat::getTimeStr(3725), "01:02:05");
    EXPECT_EQ(qmReportFormat::getTimeStr(90000), "25:00:00");
    EXPECT_EQ(qmReportFormat::getTimeStr(0), "00:00:00");
    EXPECT_EQ(qmReportFormat::getTimeStr(59), "00:00:59");
    EXPECT_EQ(qmReportFormat::getTimeStr(60), "00:01:00");
    EXPECT_EQ(qmReportFormat::getTimeStr(3599), "00:59:59");
    EXPECT_EQ(qmReportFormat::getTimeStr(3600), "01:00:00");
    EXPECT_EQ(qmReportFormat::getTimeStr(360000), "100:00:00");
    EXPECT_EQ(qmReportFormat::getTimeStr(-5), "00:00:00");
}

TEST(ReportFormat, PieceItemLeavesFittingTextAlone) {
    qmString text = "fits in ten", piece = "old";
    EXPECT_FALSE(qmReportFormat::getPieceItem(text, piece, 11));
    EXPECT_EQ(text, "fits in ten");
    EXPECT_EQ(piece, "old");
    // Too long but without any blank: nothing to cut at.
    text = "abcdefghijkl";
    EXPECT_FALSE(qmReportFormat::getPieceItem(text, piece, 5));
    EXPECT_EQ(text, "abcdefghijkl");
}

TEST(ReportFormat, PieceItemCutsAtTheLastFittingBlank) {
    qmString text = "the quick brown fox", piece;
    ASSERT_TRUE(qmReportFormat::getPieceItem(text, piece, 10));
    EXPECT_EQ(piece, "the quick");
    EXPECT_EQ(text, "brown fox");
    // A blank right at the width still gives a piece of exactly width characters.
    text = "abcde fgh";
    ASSERT_TRUE(qmReportFormat::getPieceItem(text, piece, 5));
    EXPECT_EQ(piece, "abcde");
    EXPECT_EQ(text, "fgh");
}

TEST(ReportFormat, PieceItemKeepsAnOverlongFirstWordWhole) {
    qmString text = "abcdefghijkl mn op", piece;
    ASSERT_TRUE(qmReportFormat::getPieceItem(text, piece, 5));
    EXPECT_EQ(piece, "abcdefghijkl");
    EXPECT_EQ(text, "mn op");
}

TEST(ReportFormat, PieceItemWrapsALongTextIntoFittingPieces) {
    qmString text = "one two three four five six seven eight nine ten eleven twelve", piece;
    qmList<qmString> pieces;
    while (qmReportFormat::getPieceItem(text, piece, 12)) pieces.append(piece);
    pieces.append(text);
    qmString joined;
    for (const qmString& p : pieces) {
        EXPECT_LE(p.length(), 12) << p;
        joined << (joined.empty() ? "" : " ") << p;
    }
    EXPECT_EQ(joined, "one two three four five six seven eight nine ten eleven twelve");
    EXPECT_EQ(pieces.front(), "one two");
}
