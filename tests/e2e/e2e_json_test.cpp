// JSON results (-j): every document a run writes validates against docs/results.schema.json, carries
// the same lines as the csv table of the run, tells thread counts apart, and carries the environment
// check's findings, which the console shows as warnings.
#include <gtest/gtest.h>

#include "e2e_support.h"

using namespace e2e;
namespace fs = std::filesystem;

namespace {
const std::string kRun = " -B -fAdd_8u_C1 -dSize=8x8 -dscaleFactor=0 -dMethod=Manual -dNumLoops=2 -q+";

Outcome validate(const std::string& docs) {
    return run("PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=" + quote(QM_TOOLS_DIR) + " /usr/bin/python3 -m qmtools.validate --schema " +
               quote(std::string(QM_SOURCE_DIR) + "/docs/results.schema.json") + " " + docs);
}

size_t dataRows(const std::string& csv) {
    size_t rows = 0;
    std::istringstream in(csv);
    // Result rows carry the unit; the -q+ name rows do not.
    for (std::string l; std::getline(in, l);) rows += l.rfind("zkriAdd_8u_C1", 0) == 0 && l.find(",pxch,") != std::string::npos;
    return rows;
}
}  // namespace

TEST(JsonResults, EveryDocumentValidatesAndMatchesTheTable) {
    TempDir d;
    fs::create_directories(d / "sys/cpu0/cpufreq");
    writeFile(d / "sys/cpu0/cpufreq/scaling_governor", "powersave\n");
    std::string docs;
    for (const char* threads : {"1", "2"}) {
        const std::string n = std::string("n") + threads;
        const Outcome r = run("QM_SYSFS_CPU=" + quote((d / "sys").string()) + " " + quote(program()) + kRun + " -N" + threads +
                              " -j" + n + " -j" + n + "b.json -r" + n + " -l" + d.str());
        ASSERT_EQ(r.status, 0) << r.out;
        EXPECT_TRUE(r.has("-- Warning: frequency governor 'powersave' on 1 of 1 processors, not 'performance'")) << r.out;
        EXPECT_TRUE(r.has("-j" + n + ": write JSON results with run metadata to " + (d / (n + ".json")).string()));
        const std::string doc = readFile(d / (n + ".json"));
        EXPECT_EQ(doc, readFile(d / (n + "b.json")));  // a repeated key writes the same document twice
        // One record per line, as many as the table's result rows, each naming its parameters.
        const size_t rows = dataRows(readFile(d / (n + ".csv")));
        EXPECT_GT(rows, 0u);
        size_t records = 0;
        std::istringstream in(doc);
        for (std::string l; std::getline(in, l);)
            if (l.rfind("{\"function\": \"zkriAdd_8u_C1", 0) == 0) {
                ++records;
                EXPECT_NE(l.find("{\"name\": \"Size\", \"value\": \"8x8\"}"), std::string::npos) << l;
            }
        EXPECT_EQ(records, rows);
        EXPECT_TRUE(doc.find("\"threads\": {\"requested\": " + std::string(threads) + ",") != std::string::npos);
        EXPECT_NE(doc.find("\"frequency governor 'powersave' on 1 of 1"), std::string::npos);
        docs += " " + quote((d / (n + ".json")).string());
    }
    const Outcome v = validate(docs);
    EXPECT_EQ(v.status, 0) << v.out;
    // The validator finds a fault the schema forbids: an OK record without clocks.
    std::string bad = readFile(d / "n1.json");
    const size_t at = bad.find("\"clocks\": ");
    ASSERT_NE(at, std::string::npos);
    bad.replace(at, bad.find(',', at) - at, "\"clocks\": null");
    writeFile(d / "bad.json", bad);
    const Outcome b = validate(quote((d / "bad.json").string()));
    EXPECT_EQ(b.status, 1) << b.out;
    EXPECT_TRUE(b.has("records.0.clocks")) << b.out;
}

TEST(JsonResults, NoDocumentWithoutARunAndUnwritablePathIsRefused) {
    TempDir d;
    const Outcome h = quill("-h -jx -l" + d.str());
    EXPECT_EQ(h.status, 0);
    EXPECT_FALSE(fs::exists(d / "x.json"));  // help measures nothing and leaves no empty file
    const Outcome r = quill("-B -f=nothing -j" + (d / "missing/x.json").string());
    EXPECT_TRUE(r.has("FATAL ERROR: can't open output file for writing")) << r.out;
}
