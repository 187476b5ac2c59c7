// Test data and library environment options on the Add family: misalignment and mutual shift of
// the buffers, data in and out of cache, thread count, processor dispatch level, the listing of
// the library's exported functions, and a leak check of whole runs under the address sanitizer.
#include <gtest/gtest.h>

#include <regex>

#include <cstdint>
#include <set>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;

namespace {


const std::string kOne = "-B -f=zkriAdd_8u_C1RSfs -dSize=64x64 -dscaleFactor=0 ";
const std::string kManual = "-dMethod=Manual -dNumLoops=2 ";

struct Block {
    std::uintptr_t raw = 0, aligned = 0;
    long size = 0;
};

// The blocks allocated before the first measurement, from the memory lines of -LM.
std::vector<Block> firstBlocks(const std::string& out) {
    static const std::regex re(R"(^ - qmMalloc: size:(\d+)  address:0x([0-9a-fA-F]+)  alignedPointer:0x([0-9a-fA-F]+)$)");
    std::vector<Block> blocks;
    for (const std::string& l : lines(out)) {
        if (l.find(" clocks/") != std::string::npos) break;
        std::smatch m;
        if (!std::regex_match(l, m, re)) continue;
        blocks.push_back({std::stoull(m[2], nullptr, 16), std::stoull(m[3], nullptr, 16), std::stol(m[1])});
    }
    return blocks;
}

void expectAllOk(const Outcome& r, size_t lines) {
    const auto ls = perfLines(r.out);
    ASSERT_EQ(ls.size(), lines) << r.out;
    for (const PerfLine& l : ls) {
        EXPECT_EQ(l.result, "OK") << r.out;
        EXPECT_GT(l.clocks, 0);
    }
}

}  // namespace

TEST(Misalignment, ByteMisalignmentWithMutualShift) {
    Outcome r = quill(kOne + kManual + "-LM -dVectorAlign=3 -dAlignVectorsBy=byte -dMutualVectorShift=64");
    EXPECT_EQ(r.status, 0);
    expectAllOk(r, 1);
    const auto blocks = firstBlocks(r.out);
    ASSERT_EQ(blocks.size(), 3u) << r.out;  // two sources and the destination
    for (size_t i = 0; i < blocks.size(); ++i) {
        EXPECT_EQ(blocks[i].aligned % 64, 3u) << i;
        // Each further buffer lies 64 bytes further past its boundary than the one before.
        const std::uintptr_t offset = blocks[i].aligned - blocks[i].raw;
        EXPECT_GE(offset, 64 * i + 3) << i;
        EXPECT_LT(offset, 64 * i + 3 + 64) << i;
        EXPECT_EQ(blocks[i].size, 64 * 64);
    }
}

TEST(Misalignment, ElementMisalignmentOfTheFirstVectorOnly) {
    // 3 elements of a 16-bit image are 6 bytes; 67 is taken modulo 64.
    Outcome r = quill("-B -f=zkriAdd_16s_C1RSfs -dSize=64x64 -dscaleFactor=0 " + kManual +
                      "-LM -dVectorAlign=67 -dAlignVectorsBy=element -dMisalignFirstVectorOnly=yes");
    EXPECT_EQ(r.status, 0);
    expectAllOk(r, 1);
    const auto blocks = firstBlocks(r.out);
    ASSERT_EQ(blocks.size(), 3u) << r.out;
    EXPECT_EQ(blocks[0].aligned % 64, 6u);
    EXPECT_EQ(blocks[1].aligned % 64, 0u);
    EXPECT_EQ(blocks[2].aligned % 64, 0u);
}

TEST(Misalignment, DefaultBuffersStartOnA64ByteBoundary) {
    Outcome r = quill(kOne + kManual + "-LM -dMisalignFirstVectorOnly=yes");
    expectAllOk(r, 1);
    const auto blocks = firstBlocks(r.out);
    ASSERT_EQ(blocks.size(), 3u) << r.out;
    for (const Block& b : blocks) EXPECT_EQ(b.aligned % 64, 0u);
}

// Big data: the out-of-cache images are above the largest cache, three of them at once.
TEST(Cache, InAndOutOfCacheSizesFollowTheLargestCache) {
    TempDir d;
    Outcome r = quill(kOne + "-dMethod=Manual -dNumLoops=1 -C -LP -r -l" + d.str());
    EXPECT_EQ(r.status, 0) << r.out;
    std::smatch m;
    ASSERT_TRUE(std::regex_search(r.out, m, std::regex(R"(\| Largest cache : \d+ MB \((\d+) bytes\))"))) << r.out;
    const double cache = std::stod(m[1]);
    const Table t = resultTable(readFile(d / "quillmark.csv"));
    ASSERT_EQ(t.rows.size(), 2u) << r.out;
    const char* modes[] = {"inCache", "outofCache"};
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(t.at(i, "Parm1"), modes[i]);
        const std::string comment = t.at(i, "Comment");
        EXPECT_NE(comment.find(modes[i]), std::string::npos) << comment;
        EXPECT_EQ(t.at(i, "Result"), "OK");
        const std::string size = t.at(i, "Parm2");
        ASSERT_TRUE(std::regex_match(size, m, std::regex(R"((\d+)x(\d+))"))) << size;
        const double image = std::stod(m[1]) * std::stod(m[2]);  // bytes of one 8u image
        if (i == 0) {
            EXPECT_GE(image, 0.1 * cache);
            EXPECT_LE(3 * image, 0.9 * cache);
        } else {
            EXPECT_GE(image, 1.05 * cache);
        }
        EXPECT_EQ(t.at(i, "Parm3"), "0");
    }
    EXPECT_TRUE(r.has("  cacheIterator=inCache Size=")) << r.out;
    EXPECT_TRUE(r.has("  cacheIterator=outofCache Size=")) << r.out;
}

TEST(LibraryEnvironment, ThreadCountIsPassedToTheLibrary) {
    Outcome r = quill(kOne + kManual + "-N2 -LP");
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(r.has("-N2: call zkrSetNumThreads(2)\n")) << r.out;
    EXPECT_TRUE(r.has("\n--calling zkrSetNumThreads( 2 )\n")) << r.out;
    EXPECT_FALSE(r.has("--ZKR ERROR."));
    expectAllOk(r, 1);
}

TEST(LibraryEnvironment, BadThreadCountAndProcessorNameAreIgnored) {
    Outcome r = quill("-e -N0 -TNoSuchCpu -f=zkriAdd_8u_C1RSfs");
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(r.has("-N0: ignored: incorrect number of threads\n")) << r.out;
    EXPECT_TRUE(r.has("-TNoSuchCpu: ignored: incorrect CPU type\n")) << r.out;
    EXPECT_FALSE(r.has("--calling"));
}

// Each dispatch level this machine can run: the library reports the code path it switched to.
TEST(LibraryEnvironment, DispatchLevelsTheMachineSupports) {
    struct Level {
        const char* key;
        const char* path;
        bool supported;
    };
    __builtin_cpu_init();
    const Level levels[] = {{"AVX512", "avx512", __builtin_cpu_supports("avx512f") != 0},
                            {"AVX2", "avx2", __builtin_cpu_supports("avx2") != 0},
                            {"X64", "x64", true}};
    int run = 0;
    for (const Level& l : levels) {
        if (!l.supported) continue;
        ++run;
        Outcome r = quill(kOne + kManual + "-LP -T" + l.key);
        SCOPED_TRACE(l.key);
        EXPECT_EQ(r.status, 0);
        EXPECT_TRUE(r.has(std::string("-T") + l.key + ": call zkrInitStaticCpu ( zkrCpu" + l.key + " )\n")) << r.out;
        EXPECT_TRUE(std::regex_search(r.out, std::regex(std::string("\n--calling zkrInitCpu\\( zkrCpu") + l.key +
                                                        "=\\d+ \\)\n--status = zkrStsNoErr\n")))
            << r.out;
        EXPECT_TRUE(r.has(std::string("| Library       : zkri, ")) && r.has(std::string("(ref ") + l.path + ")"))
            << r.out;
        expectAllOk(r, 1);
    }
    EXPECT_GE(run, 1);
}

TEST(Listing, AppliedAndNotAppliedLibraryFunctions) {
    Outcome all = quill("-e+");
    EXPECT_EQ(all.status, 0);
    EXPECT_TRUE(all.has("| Applied and not applied library functions")) << all.out;
    std::smatch m;
    ASSERT_TRUE(std::regex_search(all.out, m, std::regex(R"(\| (\d+) applied, (\d+) not applied of (\d+) )"))) << all.out;
    const int applied = std::stoi(m[1]), notApplied = std::stoi(m[2]), exported = std::stoi(m[3]);
    EXPECT_EQ(applied + notApplied, exported);

    static const std::regex row(R"(^\| (zkr\w+) +(applied|not applied)\|$)");
    std::set<std::string> appliedRows, notAppliedRows;
    for (const std::string& l : lines(all.out)) {
        if (!std::regex_match(l, m, row)) continue;
        (m[2] == "applied" ? appliedRows : notAppliedRows).insert(m[1]);
    }
    EXPECT_EQ(static_cast<int>(appliedRows.size()), applied);
    EXPECT_EQ(static_cast<int>(notAppliedRows.size()), notApplied);
    // Applied are exactly the measured rows of the family tables (the build's function list; helper
    // rows, such as creating a transform's setup, are exported but measured by no test).
    std::set<std::string> measured, helpers;
    std::ifstream list(QM_FUNCTION_LIST);
    ASSERT_TRUE(list) << QM_FUNCTION_LIST;
    for (std::string line; std::getline(list, line);) {
        const std::string name = line.substr(0, line.find(' '));
        (line.find("(helper)") != std::string::npos ? helpers : measured).insert(name);
    }
    EXPECT_GE(measured.size(), 201u);
    EXPECT_EQ(appliedRows, measured);
    for (const std::string& h : helpers) EXPECT_EQ(notAppliedRows.count(h), 1u) << h;

    Outcome missing = quill("-e-");
    EXPECT_EQ(missing.status, 0);
    EXPECT_TRUE(missing.has("| Not applied library functions")) << missing.out;
    ASSERT_TRUE(std::regex_search(missing.out, m, std::regex(R"(\| (\d+) not applied of (\d+) )")));
    EXPECT_EQ(std::stoi(m[1]), notApplied);
    EXPECT_EQ(std::stoi(m[2]), exported);
    std::set<std::string> listed;
    for (const std::string& l : lines(missing.out))
        if (std::regex_match(l, m, std::regex(R"(^\| (zkr\w+) +\|$)"))) listed.insert(m[1]);
    EXPECT_EQ(listed, notAppliedRows);
    EXPECT_FALSE(missing.has("QM Summary"));
}

// Whole runs under the address sanitizer end without a leak or a memory error.
TEST(Memory, RunsUnderAddressSanitizerLeakNothing) {
#ifndef QM_E2E_SANITIZED
    GTEST_SKIP() << "the programs were built without the address sanitizer (QM_SANITIZE=OFF)";
#else
    const std::string env = "ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 ";
    Outcome f = run(env + quote(fixtureProgram()) +
                    " -B -f=fixOk_32f_C1R -f=fixFailThird_32f_C1R -f=fixNoValues_32f_C1R -dMethod=Manual -dNumLoops=3 -LPW");
    EXPECT_EQ(f.status, 1) << f.out;  // two failing fixtures, no sanitizer exit code
    EXPECT_EQ(summaryCount(f.out, ".Number of tests"), 3) << f.out;
    EXPECT_FALSE(f.has("LeakSanitizer")) << f.out;
    EXPECT_FALSE(f.has("AddressSanitizer")) << f.out;
    EXPECT_FALSE(f.has("runtime error:")) << f.out;

    Outcome q = run(env + quote(program()) + " " + kOne + kManual + "-LP");
    EXPECT_EQ(q.status, 0) << q.out;
    expectAllOk(q, 1);
    EXPECT_FALSE(q.has("LeakSanitizer")) << q.out;
    EXPECT_FALSE(q.has("AddressSanitizer")) << q.out;
    EXPECT_FALSE(q.has("runtime error:")) << q.out;
#endif
}
