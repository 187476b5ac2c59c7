// The Resize module from the command line: its listing, and a measurement of every function over
// its factors and interpolation modes with results per destination pixel channel.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

TEST(ResizeModule, ListsEveryFunctionUnderItsTestClass) {
    const Outcome r = quill("-e -t=TimResize");
    EXPECT_EQ(r.status, 0) << r.out;
    std::map<std::string, int> perBase;
    std::set<std::string> names;
    std::istringstream in(r.out);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("| zkri", 0) != 0) continue;
        std::istringstream cells(line.substr(2));
        std::string name, cls;
        cells >> name >> cls;
        EXPECT_EQ(cls, "TimResize|") << line;
        names.insert(name);
        perBase[name.substr(0, name.find('_'))]++;
    }
    EXPECT_EQ(names.size(), 19u);
    EXPECT_EQ(perBase, (std::map<std::string, int>{{"zkriResize", 18}, {"zkriResizeYUV422", 1}}));
    EXPECT_EQ(summaryCount(r.out, ".Number of tests"), -1) << "the listing runs nothing";
}

TEST(ResizeModule, MeasuresEveryFunctionOverFactorsAndModes) {
    TempDir d;
    const Outcome r = quill("-B -LP -t=TimResize -dSize=32x16 -dMethod=Manual -dNumLoops=2 \"-dxFactor=0.5; 2\" "
                            "-dyFactor=0.5 \"-dinterpolation=NN; Super\" -r -l" + d.str());
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_EQ(summaryCount(r.out, ".Number of tests"), 19);
    EXPECT_EQ(summaryCount(r.out, ".Successes"), 19);
    const double mhz = headerMHz(r.out);
    ASSERT_GT(mhz, 0);
    const Table t = resultTable(readFile(d / "quillmark.csv"));
    ASSERT_EQ(t.rows.size(), 19u * 2 * 2);
    std::map<std::string, int> rows;
    for (size_t i = 0; i < t.rows.size(); ++i) {
        const std::string f = t.at(i, "Function");
        rows[f]++;
        EXPECT_EQ(t.at(i, "Result"), "OK") << f;
        EXPECT_EQ(t.at(i, "Unit"), "pxch");
        // Parameter columns: size, x factor, y factor, mode.
        EXPECT_EQ(t.at(i, "Parm1"), "32x16");
        EXPECT_EQ(t.at(i, "Parm3"), "0.5");
        EXPECT_TRUE(t.at(i, "Parm4") == "NN" || t.at(i, "Parm4") == "Super") << t.at(i, "Parm4");
        double clocks = 0, usec = 0;
        ASSERT_TRUE(isNumber(t.at(i, "Clocks"), &clocks)) << t.at(i, "Clocks");
        ASSERT_TRUE(isNumber(t.at(i, "Time (usec)"), &usec));
        ASSERT_GT(clocks, 0);
        // Per destination pixel channel processed: 16 (x 0.5) or 64 (x 2) by 8 pixels, three channels
        // of AC4 and of three planes, two components of packed 4:2:2.
        const double width = t.at(i, "Parm2") == "0.5" ? 16 : 64;
        const int channels = f.find("_C1R") != std::string::npos   ? 1
                             : f.find("_C4R") != std::string::npos ? 4
                             : f.find("_C2R") != std::string::npos ? 2
                                                                   : 3;
        const double pxch = usec * mhz / clocks;
        EXPECT_NEAR(pxch, width * 8 * channels, 0.03 * pxch) << f << " " << t.at(i, "Parm2");
    }
    EXPECT_EQ(rows.size(), 19u);
    for (const auto& [f, n] : rows) EXPECT_EQ(n, 4) << f;
}
