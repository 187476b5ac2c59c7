// The summary record at the end of a run.
#include <gtest/gtest.h>

#include "qmreport.h"
#include "test_capture.h"

namespace {
// Counters as the test list keeps them: the result's own counter, plus 6 for every warning and
// 11 for every failure.
qmSummaryFacts countedRun(std::initializer_list<int> results, bool withGroupTotals) {
    qmSummaryFacts f;
    for (int r : results) {
        ++f.total;
        ++f.count[r];
        if (withGroupTotals && r >= QM_ACCURWRN && r <= QM_FUNCWRN) ++f.count[QM_WARNING];
        if (withGroupTotals && r >= QM_ACCURFAIL && r <= QM_EXCPTFAIL) ++f.count[QM_FAIL];
    }
    f.startTime = 1000;
    f.endTime = 1000 + 3725;
    return f;
}

std::string padded(const std::string& text) { return text + std::string(78 - text.size(), ' ') + "|\n"; }
}  // namespace

TEST(ReportEnd, PairsInOrderWithExactNames) {
    const qmReportEnd end(countedRun({1}, true));
    const char* names[] = {".Number of tests", ".Successes      ", ".Failures       ", "...Fails        ",
                           ".....-FAIL      ", ".....-EXCPTFAIL ", "...Warnings     ", ".....-WARNING   ",
                           ".....-BADSTSWRN ", "...Undefined    ", ".Total time     "};
    ASSERT_EQ(end.pairs().size(), 22);
    auto it = end.pairs().begin();
    for (const char* name : names) {
        EXPECT_EQ(*it, name);
        ++it, ++it;
    }
}

TEST(ReportEnd, CountsOfASuccessAWarningAndAnException) {
    for (bool groupTotals : {false, true}) {
        SCOPED_TRACE(groupTotals ? "with group totals" : "single counters only");
        const qmReportEnd end(countedRun({QM_OK, QM_BADSTSWRN, QM_EXCPTFAIL}, groupTotals));
        EXPECT_EQ(end.value(".Number of tests"), "3");
        EXPECT_EQ(end.value(".Successes      "), "1");
        EXPECT_EQ(end.value(".Failures       "), "2");
        EXPECT_EQ(end.value("...Fails        "), "1");
        EXPECT_EQ(end.value(".....-FAIL      "), "0");
        EXPECT_EQ(end.value(".....-EXCPTFAIL "), "1");
        EXPECT_EQ(end.value("...Warnings     "), "1");
        EXPECT_EQ(end.value(".....-WARNING   "), "0");
        EXPECT_EQ(end.value(".....-BADSTSWRN "), "1");
        EXPECT_EQ(end.value("...Undefined    "), "0");
        EXPECT_EQ(end.value(".Total time     "), "01:02:05");
    }
}

TEST(ReportEnd, EveryWarningAndFailureKindIsGrouped) {
    const qmReportEnd end(countedRun({2, 4, 5, 7, 8, 9, 9}, true));
    EXPECT_EQ(end.value(".....-WARNING   "), "3");
    EXPECT_EQ(end.value(".....-FAIL      "), "4");
    EXPECT_EQ(end.value("...Fails        "), "4");
    EXPECT_EQ(end.value("...Warnings     "), "3");
    EXPECT_EQ(end.value(".Failures       "), "7");
    EXPECT_EQ(end.value("...Undefined    "), "0");
}

TEST(ReportEnd, Results6And11AndUndefinedFallIntoUndefined) {
    const qmReportEnd end(countedRun({QM_WARNING, QM_FAIL, QM_UNDEFINED, QM_OK}, true));
    EXPECT_EQ(end.value(".Number of tests"), "4");
    EXPECT_EQ(end.value(".Successes      "), "1");
    EXPECT_EQ(end.value(".Failures       "), "0");
    EXPECT_EQ(end.value("...Undefined    "), "3");
}

TEST(ReportEnd, EmptyRun) {
    qmSummaryFacts none;
    const qmReportEnd end(none);
    EXPECT_EQ(end.value(".Number of tests"), "0");
    EXPECT_EQ(end.value("...Undefined    "), "0");
    EXPECT_EQ(end.value(".Total time     "), "00:00:00");
    EXPECT_EQ(end.value("no such name"), "");
}

TEST(ReportEnd, SummaryBox) {
    const std::string box = qmReportEnd(countedRun({QM_OK, QM_BADSTSWRN, QM_EXCPTFAIL}, true)).text().str();
    const std::string sep = qmReportFormat::sepLine().str();
    const std::string expected = sep + padded("| QM Summary") + padded("| .Number of tests : 3") +
                                 padded("| .Successes       : 1") + padded("| .Failures        : 2") +
                                 padded("| ...Fails         : 1") + padded("| .....-FAIL       : 0") +
                                 padded("| .....-EXCPTFAIL  : 1") + padded("| ...Warnings      : 1") +
                                 padded("| .....-WARNING    : 0") + padded("| .....-BADSTSWRN  : 1") +
                                 padded("| ...Undefined     : 0") + padded("| .Total time      : 01:02:05") + sep;
    EXPECT_EQ(box, expected);
}

TEST(ReportEnd, SummaryRowsOnATableStream) {
    TempFile file("sum");
    {
        qmCStream table;
        ASSERT_TRUE(table.addStream(file.path(), false));
        table << qmReportEnd(countedRun({QM_OK, QM_OK}, true));
        EXPECT_EQ(table.numLines(), 12);
    }
    EXPECT_EQ(file.read(),
              "END_DATA\n.Number of tests,2\n.Successes      ,2\n.Failures       ,0\n...Fails        ,0\n"
              ".....-FAIL      ,0\n.....-EXCPTFAIL ,0\n...Warnings     ,0\n.....-WARNING   ,0\n"
              ".....-BADSTSWRN ,0\n...Undefined    ,0\n.Total time     ,01:02:05\n");
}

TEST(ReportEnd, ConsoleOperatorWritesTheBox) {
    TempFile file("sumtxt");
    const qmReportEnd end(countedRun({QM_OK}, true));
    {
        qmOStream console;
        ASSERT_TRUE(console.addStream(file.path(), false));
        console.setOutLevel(ERR);
        console.setMsgLevel(MSG_ERR);
        console << end;
        console.flush();
    }
    EXPECT_EQ(file.read(), end.text().str());
}
