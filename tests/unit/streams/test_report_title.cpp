// The run's title record and the -e listing.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "qmreport.h"
#include "test_capture.h"

namespace {
// Runs the test body with the time zone set to UTC, restoring the previous zone afterwards.
class UtcZone {
public:
    UtcZone() {
        const char* tz = std::getenv("TZ");
        m_had = tz != nullptr;
        if (m_had) m_old = tz;
        setenv("TZ", "UTC", 1);
        tzset();
    }
    ~UtcZone() {
        if (m_had) setenv("TZ", m_old.c_str(), 1);
        else unsetenv("TZ");
        tzset();
    }

private:
    bool m_had = false;
    std::string m_old;
};

qmTitleFacts sampleTitle() {
    qmTitleFacts f;
    f.startTime = 1268734200;  // 2010-03-16 10:10:00 UTC
    f.hostName = "bench7";
    f.system = "Linux 6.1.0 x86_64";
    f.processor = "Kavro K9 family 6 model 26, 4 cores, 2.93 GHz, SSE4.2, invariant time-stamp counter";
    f.libraries.append("libzkri, 7.0.1, Mar 10 2010");
    f.libraries.append("libzkrs, 7.0.1, Mar 10 2010");
    f.maxCacheBytes = 8 * 1024 * 1024;
    return f;
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    size_t begin = 0;
    while (begin < text.size()) {
        size_t end = text.find('\n', begin);
        if (end == std::string::npos) end = text.size();
        out.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return out;
}
}  // namespace

TEST(ReportTitle, CacheSizeText) {
    EXPECT_EQ(qmReportTitle::cacheSizeText(0), "");
    EXPECT_EQ(qmReportTitle::cacheSizeText(-1), "");
    EXPECT_EQ(qmReportTitle::cacheSizeText(1000), "1000 bytes");
    EXPECT_EQ(qmReportTitle::cacheSizeText(1024), "1 KB (1024 bytes)");
    EXPECT_EQ(qmReportTitle::cacheSizeText(49152), "48 KB (49152 bytes)");
    EXPECT_EQ(qmReportTitle::cacheSizeText(1024 * 1024), "1 MB (1048576 bytes)");
    EXPECT_EQ(qmReportTitle::cacheSizeText(12LL * 1024 * 1024 * 1024), "12288 MB (12884901888 bytes)");
}

TEST(ReportTitle, PairsInOrder) {
    UtcZone utc;
    const qmReportTitle title(sampleTitle());
    const qmList<qmString> expected = {
        "Program", "Quillmark 2.0", "Started", "2010-03-16 10:10:00", "Computer", "bench7",
        "System", "Linux 6.1.0 x86_64", "Processor", sampleTitle().processor,
        "Library", "libzkri, 7.0.1, Mar 10 2010", "Library", "libzkrs, 7.0.1, Mar 10 2010",
        "Largest cache", "8 MB (8388608 bytes)"};
    EXPECT_EQ(title.pairs().std(), expected.std());
}

TEST(ReportTitle, FramedBoxWrapsLongValuesIntoTheValueColumn) {
    UtcZone utc;
    const std::vector<std::string> box = lines(qmReportTitle(sampleTitle()).text().str());
    ASSERT_EQ(box.size(), 10u);  // separators, heading, 5 pairs, one continuation line
    for (const std::string& line : box) EXPECT_EQ(line.size(), 79u) << line;
    EXPECT_EQ(box[0], qmReportFormat::sepLine().str().substr(0, 79));
    EXPECT_EQ(box[1], "| Quillmark 2.0" + std::string(44, ' ') + "2010-03-16 10:10:00|");
    EXPECT_EQ(box[2].substr(0, 26), "| Computer      : bench7  ");
    EXPECT_EQ(box[4].substr(0, 36), "| Processor     : Kavro K9 family 6 ");
    // The continuation starts in the value column under an empty name.
    EXPECT_EQ(box[5].substr(0, 18), "|" + std::string(17, ' '));
    EXPECT_NE(box[5][18], ' ');
    EXPECT_EQ(box[8].substr(0, 41), "| Largest cache : 8 MB (8388608 bytes)   ");
}

TEST(ReportTitle, MissingFactsKeepTheirRows) {
    UtcZone utc;
    qmTitleFacts f;
    const qmReportTitle title(f);
    EXPECT_EQ(title.pairs().size(), 14);  // program, start, computer, system, processor, library, cache
    TempFile file("title");
    {
        qmCStream table;
        ASSERT_TRUE(table.addStream(file.path(), false));
        table << title;
    }
    EXPECT_EQ(file.read(),
              "Program,Quillmark 2.0\nStarted,1970-01-01 00:00:00\nComputer,-\nSystem,-\nProcessor,-\n"
              "Library,-\nLargest cache,-\n");
    for (const std::string& line : lines(title.text().str())) EXPECT_EQ(line.size(), 79u) << line;
}

TEST(ReportTitle, SystemFactsOfThisComputer) {
    qmTitleFacts f;
    qmFillSystemFacts(f);
    EXPECT_FALSE(f.hostName.empty());
    EXPECT_TRUE(f.system.startsWith("Linux ")) << f.system;
}

namespace {
qmListFacts libraryFacts(int mode) {
    qmListFacts f;
    f.mode = mode;
    f.exported = {"zkriAdd_8u_C1RSfs", "zkriAbs_16s_C1R", "zkriFilter_8u_C1R"};
    f.applied = {"zkriFilter_8u_C1R", "zkriAdd_8u_C1RSfs", "zkriNotExported_8u_C1R"};
    return f;
}

std::string tableOf(const qmReportList& list) {
    TempFile file("list");
    {
        qmCStream table;
        table.addStream(file.path(), false);
        table << list;
    }
    return file.read();
}
}  // namespace

TEST(ReportList, TestedFunctions) {
    qmListFacts f;
    f.tested.append({"zkriAdd_8u_C1RSfs", "TimiAdd"});
    f.tested.append({"zkriFilter_8u_C1R", "TimiFilter"});
    const qmReportList list(f);
    EXPECT_EQ(list.numListed(), 2);
    const std::vector<std::string> box = lines(list.text().str());
    ASSERT_EQ(box.size(), 8u);
    EXPECT_EQ(box[1].substr(0, 19), "| Tested functions ");
    EXPECT_EQ(box[3], "| zkriAdd_8u_C1RSfs" + std::string(52, ' ') + "TimiAdd|");
    EXPECT_EQ(box[6].substr(0, 10), "| 2 tests ");
    for (const std::string& line : box) EXPECT_EQ(line.size(), 79u) << line;
    EXPECT_EQ(tableOf(list), "zkriAdd_8u_C1RSfs,TimiAdd\nzkriFilter_8u_C1R,TimiFilter\n");
}

TEST(ReportList, AppliedAndNotApplied) {
    const qmReportList list(libraryFacts(1));
    EXPECT_EQ(list.numListed(), 3);
    const std::string box = list.text().str();
    EXPECT_NE(box.find("| Applied and not applied library functions "), std::string::npos);
    EXPECT_NE(box.find("| zkriAbs_16s_C1R" + std::string(50, ' ') + "not applied|"), std::string::npos);
    EXPECT_NE(box.find("| zkriFilter_8u_C1R" + std::string(52, ' ') + "applied|"), std::string::npos);
    EXPECT_NE(box.find("| 2 applied, 1 not applied of 3 "), std::string::npos);
    EXPECT_EQ(tableOf(list), "zkriAdd_8u_C1RSfs,applied\nzkriAbs_16s_C1R,not applied\nzkriFilter_8u_C1R,applied\n");
}

TEST(ReportList, NotAppliedOnly) {
    const qmReportList list(libraryFacts(-1));
    EXPECT_EQ(list.numListed(), 1);
    const std::string box = list.text().str();
    EXPECT_NE(box.find("| Not applied library functions "), std::string::npos);
    EXPECT_EQ(box.find("zkriAdd"), std::string::npos);
    EXPECT_NE(box.find("| 1 not applied of 3 "), std::string::npos);
    EXPECT_EQ(tableOf(list), "zkriAbs_16s_C1R\n");
}

TEST(ReportList, NameTooLongForTheMarkKeepsBoth) {
    qmListFacts f;
    f.tested.append({qmString(70, 'f'), "TimiLong"});
    const std::vector<std::string> box = lines(qmReportList(f).text().str());
    EXPECT_EQ(box[3], "| " + std::string(70, 'f') + " TimiLong");
}
