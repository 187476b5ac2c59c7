// Shards of one selection (qmtools.select --shard I/N), measured as separate runs writing JSON, merge
// in quillmark-compare into the lines of the unsharded run, each exactly once.
#include <gtest/gtest.h>

#include <algorithm>

#include "e2e_support.h"

using namespace e2e;
namespace fs = std::filesystem;

namespace {
std::string python(const std::string& args) {
    return "PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=" + quote(QM_TOOLS_DIR) + " /usr/bin/python3 " + args;
}
}  // namespace

TEST(Shards, ThreeShardsMergeIntoTheUnshardedLinesEachOnce) {
    TempDir d;
    const std::string measure = " -B -P -fAdd_8u -fSub_8u -dSize=8x8 -dscaleFactor=0 -dMethod=Manual -dNumLoops=2 -LE -l" + d.str();
    ASSERT_EQ(quill("-B -e -LE -fAdd_8u -fSub_8u -nlisting -r -l" + d.str()).status, 0);
    const std::string listing = quote((d / "listing.csv").string());
    ASSERT_EQ(run(python("-m qmtools.select --all " + listing + " > " + quote((d / "all.ini").string()))).status, 0);
    const std::string all = readFile(d / "all.ini");
    std::string shards;
    for (int i = 1; i <= 3; ++i) {
        const std::string ini = (d / ("shard" + std::to_string(i) + ".ini")).string();
        ASSERT_EQ(run(python("-m qmtools.select --all --shard " + std::to_string(i) + "/3 " + listing + " > " + quote(ini))).status, 0);
        shards += readFile(ini);
        fs::create_directories(d / "shards");
        const Outcome r = quill("-i" + ini + measure + " -jshards/host_X64_N1_shard" + std::to_string(i) + ".json");
        ASSERT_EQ(r.status, 0) << r.out;
    }
    // Every section of the selection is in exactly one shard.
    size_t sections = 0;
    for (size_t p = all.find('['); p != std::string::npos; p = all.find('[', p + 1)) {
        const std::string section = all.substr(p, all.find('\n', p) - p + 1);
        EXPECT_TRUE(shards.find(section) != std::string::npos && shards.find(section) == shards.rfind(section)) << section;
        ++sections;
    }
    ASSERT_GE(sections, 3u);
    EXPECT_EQ(std::count(shards.begin(), shards.end(), '['), static_cast<long>(sections));
    ASSERT_EQ(quill("-i" + (d / "all.ini").string() + measure + " -jwhole.json").status, 0);
    const Outcome c = run(python(quote(std::string(QM_TOOLS_DIR) + "/quillmark-compare") + " " +
                                 quote((d / "whole.json").string()) + " " + quote((d / "shards").string()) +
                                 " --fail-above 1e9 --csv " + quote((d / "cmp.csv").string())));
    ASSERT_EQ(c.status, 0) << c.out;
    EXPECT_TRUE(c.has("baseline only 0, contender only 0")) << c.out;
    // One sample on each side of every line: no line is measured by two shards.
    const std::string table = readFile(d / "cmp.csv");
    std::istringstream in(table);
    std::string row;
    std::getline(in, row);
    size_t rows = 0;
    for (; std::getline(in, row); ++rows) EXPECT_NE(row.find(",1,1,"), std::string::npos) << row;
    EXPECT_GE(rows, sections);
}
