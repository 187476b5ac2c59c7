// The per-test records: a test's title box and its result record.
#include <gtest/gtest.h>

#include <algorithm>

#include "qmreport.h"
#include "test_capture.h"

namespace {
qmTestResultFacts addTest(int result) {
    qmTestResultFacts f;
    f.function = "zkriAdd_8u_C1RSfs";
    f.className = "TimiAdd";
    f.test = "TimiAdd";
    f.startTime = 5000;
    f.endTime = 5003;
    f.source = "p_iadd_ia.cpp";
    f.result = result;
    f.exeName = "/opt/quillmark/bin/quillmark";
    return f;
}

int columns(const qmString& line) { return line.split(',').size(); }

void expectBoxLines(const std::string& box) {
    size_t begin = 0;
    while (begin < box.size()) {
        size_t end = box.find('\n', begin);
        ASSERT_NE(end, std::string::npos);
        const std::string line = box.substr(begin, end - begin);
        EXPECT_EQ(line.size(), 79u) << line;
        EXPECT_TRUE(line.front() == '|' || line.front() == '+') << line;
        EXPECT_TRUE(line.back() == '|' || line.back() == '+') << line;
        begin = end + 1;
    }
}
}  // namespace

TEST(ReportTestResult, HeaderRecord) {
    const qmReportTestResult header;
    EXPECT_EQ(header.tableLine(),
              "Function,Class,Control87,Status87,ControlSSX,StatusSSX,Test,Time (sec.),SrcName,Result,ExeName");
    EXPECT_TRUE(header.writesTable());
    EXPECT_EQ(header.text(7), "");  // nothing for the console
}

TEST(ReportTestResult, TableLineLinesUpWithTheHeader) {
    qmTestResultFacts f = addTest(QM_BADSTSWRN);
    f.x87Modified = true;
    const qmReportTestResult r(f);
    EXPECT_EQ(r.resultName(), "BADSTSWRN");
    EXPECT_EQ(r.tableLine(), "zkriAdd_8u_C1RSfs,TimiAdd,-,?,-,-,TimiAdd,3,p_iadd_ia.cpp,BADSTSWRN,quillmark");
    EXPECT_EQ(columns(r.tableLine()), columns(qmReportTestResult().tableLine()));

    f.x87Modified = false;
    f.sseModified = true;
    EXPECT_EQ(qmReportTestResult(f).tableLine(),
              "zkriAdd_8u_C1RSfs,TimiAdd,-,-,-,?,TimiAdd,3,p_iadd_ia.cpp,BADSTSWRN,quillmark");
}

TEST(ReportTestResult, MissingFunctionAndClassReadAsDash) {
    qmTestResultFacts f = addTest(QM_OK);
    f.function = "";
    f.className = "";
    EXPECT_EQ(qmReportTestResult(f).tableLine(), "-,-,-,-,-,-,TimiAdd,3,p_iadd_ia.cpp,OK,quillmark");
}

TEST(ReportTestResult, ConsoleBoxFramedOnlyAboveWarnings) {
    const qmReportTestResult r(addTest(QM_FUNCFAIL));
    const std::string framed = r.text(3).str();
    const std::string sep = qmReportFormat::sepLine().str();
    ASSERT_EQ(framed.substr(0, sep.size()), sep);
    EXPECT_EQ(framed.substr(framed.size() - sep.size()), sep);
    const std::string line = framed.substr(sep.size(), 80);
    EXPECT_EQ(line.substr(0, 46), "| Result:     FUNCFAIL (lib function error)   ");
    EXPECT_EQ(line.substr(65), "time 00:00:03|\n");
    expectBoxLines(framed);

    // Errors and warnings only: the same line without frame.
    for (int level : {1, 2}) {
        const std::string plain = r.text(level).str();
        EXPECT_EQ(plain.find('+'), std::string::npos);
        EXPECT_EQ(plain.substr(0, 33), "  Result:     FUNCFAIL (lib funct");
        EXPECT_EQ(plain.substr(plain.size() - 14), "time 00:00:03\n");
    }
}

TEST(ReportTestResult, UndefinedResultAddsTheNoMeasurementNote) {
    const qmReportTestResult r(addTest(QM_UNDEFINED));
    EXPECT_EQ(r.resultName(), "UNDEFINED");
    const std::string text = r.text(7).str();
    const std::string note = "--No measurements have been done\n";
    ASSERT_GE(text.size(), note.size());
    EXPECT_EQ(text.substr(text.size() - note.size()), note);
    EXPECT_EQ(qmReportTestResult(addTest(QM_OK)).text(7).str().find("No measurements"), std::string::npos);
}

TEST(ReportTestResult, TableStreamGetsOneRow) {
    TempFile file("res");
    qmTestResultFacts skipped = addTest(QM_OK);
    skipped.writeTable = false;
    {
        qmCStream table;
        ASSERT_TRUE(table.addStream(file.path(), false));
        table << qmReportTestResult() << qmReportTestResult(addTest(QM_EXCPTFAIL)) << qmReportTestResult(skipped);
        EXPECT_EQ(table.numLines(), 2);
    }
    EXPECT_EQ(file.read(),
              std::string(qmReportTestResult::HEADER) +
                  "\nzkriAdd_8u_C1RSfs,TimiAdd,-,-,-,-,TimiAdd,3,p_iadd_ia.cpp,EXCPTFAIL,quillmark\n");
}

TEST(ReportTestResult, ConsoleOperatorFollowsTheStreamLevel) {
    const qmReportTestResult r(addTest(QM_OK));
    for (int level : {ERR | WARN, ERR | WARN | PERF}) {
        TempFile file("restxt");
        {
            qmOStream console;
            ASSERT_TRUE(console.addStream(file.path(), false));
            console.setOutLevel(level);
            console.setMsgLevel(MSG_ERR);
            console << r;
            console.flush();
        }
        EXPECT_EQ(file.read(), r.text(level).str());
        EXPECT_EQ(file.read().find('+') != std::string::npos, level > 2);
    }
}

TEST(ReportTestTitle, FramedBoxWithWrappedDescription) {
    qmTestTitleFacts f;
    f.function = "zkriCrossCorrFull_NormLevel_32f_C1R";
    f.test = "TimiCrossCorrFull";
    f.description = "Normalised cross-correlation of an image with a template over the full result size, "
                    "measured for template sizes from three by three up to the whole image";
    f.source = "p_icrosscorr_ia.cpp";
    const std::string box = qmReportTestTitle(f).text().str();
    expectBoxLines(box);
    const std::string first = box.substr(80, 80);
    EXPECT_EQ(first.substr(0, 38), "| zkriCrossCorrFull_NormLevel_32f_C1R ");
    EXPECT_EQ(first.substr(56), "test TimiCrossCorrFull|\n");
    // Separator, function, three description lines, source, separator.
    ASSERT_EQ(std::count(box.begin(), box.end(), '\n'), 7);
    qmString joined;
    for (int row = 2; row <= 4; ++row) {
        const qmString piece = qmString(box.substr(row * 80 + 2, 76)).trimmed();
        EXPECT_FALSE(piece.empty());
        joined << (row == 2 ? "" : " ") << piece;
    }
    EXPECT_EQ(joined, f.description);
    EXPECT_EQ(box.substr(5 * 80, 29), "| source p_icrosscorr_ia.cpp ");
}

TEST(ReportTestTitle, MissingPartsLeaveNoEmptyLines) {
    qmTestTitleFacts f;
    f.function = "zkriFilter_8u_C1R";
    const std::string box = qmReportTestTitle(f).text().str();
    const std::string sep = qmReportFormat::sepLine().str();
    EXPECT_EQ(box, sep + "| zkriFilter_8u_C1R" + std::string(59, ' ') + "|\n" + sep);
}

TEST(ReportTestTitle, AddsNoRowToATable) {
    TempFile file("title");
    qmTestTitleFacts f;
    f.function = "zkriFilter_8u_C1R";
    f.test = "TimiFilter";
    {
        qmCStream table;
        ASSERT_TRUE(table.addStream(file.path(), false));
        table << qmReportTestTitle(f);
        EXPECT_EQ(table.numFilled(), 0);
        EXPECT_EQ(table.numLines(), 0);
    }
    EXPECT_EQ(file.read(), "");
}
