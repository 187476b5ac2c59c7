// Hostile input and interrupted runs: every one ends with a clear message, the footer, the summary and
// the .end file, never with a crash, a hang or a torn table row.
#include <gtest/gtest.h>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "e2e_support.h"
#include "e2e_tables.h"

using namespace e2e;
namespace fs = std::filesystem;

namespace {

Outcome quill(const std::string& args) { return run(quote(program()) + " " + args); }
Outcome fixture(const std::string& args) { return run(quote(fixtureProgram()) + " " + args); }

const std::string kAdd = "-B -f=zkriAdd_8u_C1RSfs -dSize=64x64 -dMethod=Manual -dNumLoops=2 ";

// The run ended in order: no crash, the summary box, and the .end file in the directory.
void expectOrderlyEnd(const Outcome& r, const TempDir& d) {
    EXPECT_GE(r.status, 0) << "ended by a signal:\n" << r.out;
    EXPECT_FALSE(r.has("double free")) << r.out;
    EXPECT_FALSE(r.has("terminate called")) << r.out;
    EXPECT_TRUE(r.has("QM Summary")) << r.out;
    EXPECT_TRUE(fs::exists(d / "quillmark.end") || fs::exists(d / "qm_fixture_program.end")) << r.out;
}

}  // namespace

// A misalignment that would place buffers before their blocks (negative) or a shift past the wrap is
// refused by name before any test runs; the run still closes its tables and writes the .end file.
TEST(HostileInput, OutOfRangeMisalignmentIsRefusedByName) {
    const std::pair<const char*, const char*> cases[] = {
        {"MutualVectorShift", "-6400"}, {"MutualVectorShift", "-64"},  {"MutualVectorShift", "-1"},
        {"MutualVectorShift", "32768"}, {"MutualVectorShift", "2147483647"}, {"VectorAlign", "-5"},
        {"VectorAlign", "-64"}};
    for (const auto& [name, value] : cases) {
        TempDir d;
        Outcome r = quill(kAdd + "-d" + name + "=" + value + " -r -g -l" + d.str());
        expectOrderlyEnd(r, d);
        EXPECT_TRUE(r.has(std::string("--ZKR. Exception: Invalid value of ") + name + " = " + value)) << r.out;
        EXPECT_EQ(summaryCount(r.out, ".Number of tests"), 0) << r.out;
    }
}

// The largest values accepted still measure: buffers shift by up to 32704 bytes, VectorAlign 63 and
// values above 63 (reduced modulo 64) give a result line and no exception.
TEST(HostileInput, LargestAcceptedMisalignmentStillMeasures) {
    for (const char* def : {"-dMutualVectorShift=32767", "-dMutualVectorShift=64", "-dVectorAlign=63",
                            "-dVectorAlign=127 -dAlignVectorsBy=byte"}) {
        TempDir d;
        Outcome r = quill(kAdd + def + " -LP -g -l" + d.str());
        expectOrderlyEnd(r, d);
        EXPECT_FALSE(r.has("Exception")) << def << "\n" << r.out;
        EXPECT_EQ(summaryCount(r.out, ".Number of tests"), 1) << def << "\n" << r.out;
        EXPECT_EQ(summaryCount(r.out, ".....-EXCPTFAIL"), 0) << def << "\n" << r.out;
    }
}
