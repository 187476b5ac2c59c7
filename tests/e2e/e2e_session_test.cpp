// The program's keys, help, listings, batch runs and output files, seen from outside.
#include <gtest/gtest.h>

#include "e2e_support.h"

using namespace e2e;
namespace fs = std::filesystem;

TEST(Banner, VersionAlonePrintsBannerAndExitsZero) {
    Outcome r = quill("-v");
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(r.has("Kavro(R) Zorbex. Quillmark 2.0, ")) << r.out;
    EXPECT_TRUE(r.has("-v: type the version number of the Quillmark and exit")) << r.out;
    EXPECT_FALSE(r.has("QM Summary"));
}

TEST(Help, QuickHelpHidesDeveloperKeys) {
    Outcome r = quill("-h");
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(r.has("QUICK HELP\n-B               = batch mode (no console input)\n")) << r.out;
    EXPECT_TRUE(r.has("-f=< eq-pattern> = run tests for function with this full name\n"));
    EXPECT_FALSE(r.has("-SU              = measure functions with data set & use"));
    EXPECT_FALSE(r.has("-m[<file-name>]"));
}

TEST(Help, QuestionMarkShowsHiddenKeys) {
    Outcome r = quill("-?");
    EXPECT_TRUE(r.has("QUICK HELP with hidden keys\n")) << r.out;
    EXPECT_TRUE(r.has("-SU              = measure functions with data set & use\n"));
    EXPECT_TRUE(r.has("-?: type short help with hidden key sand exit"));
}

TEST(Help, KeyHelpForms) {
    Outcome b = quill("-hB");
    EXPECT_TRUE(b.has("EXTENDED KEY HELP\n-B               = batch mode (no console input)\n")) << b.out;
    Outcome q = quill("-h?");
    EXPECT_TRUE(q.has("EXTENDED KEY HELP\nKey -? is deprecated\n")) << q.out;
    Outcome x = quill("-hx");
    EXPECT_TRUE(x.has("EXTENDED KEY HELP\nKey -x is not valid\n")) << x.out;
    Outcome full = quill("-hh");
    EXPECT_TRUE(full.has("EXTENDED HELP\n\n-B               = batch mode")) << full.out;
    EXPECT_FALSE(full.has("This is hidden key used by developers only"));
    Outcome fullHidden = quill("-??");
    EXPECT_TRUE(fullHidden.has("EXTENDED HELP with hidden keys\n"));
    EXPECT_TRUE(fullHidden.has("This is hidden key used by developers only\n"));
}

TEST(Echo, EveryKeyIsEchoedBeforeTheRun) {
    TempDir d;
    const std::string l = " -l" + d.str();
    // Every output names a file of its own: two naming one file are refused before the echo.
    Outcome r = quill("-e -B -AAll -dNumLoops=5 -dbad -d -ix -I -P -o -Oo2 -LPW -Lxyz -r -Rr2 -u -Uu2 -g -nname -p" + d.str() +
                  l + " -fAdd -f-Sub -f+8u -f=zkriAdd_8u_C1RSfs -f -t -tTimiAdd -FzkriAdd -YHIGH -Yx -H -HONLY -SU "
                  "-C -s- -s -m -q -Q -Z");
    EXPECT_TRUE(r.has("Command line options: \n")) << r.out;
    EXPECT_TRUE(r.has("-B: ignored because of -e option\n"));
    EXPECT_TRUE(r.has("-o: write console output to " + d.str() + "/name.txt\n")) << r.out;
    EXPECT_TRUE(r.has("-Lxyz: ignored because of -e option\n"));
    EXPECT_TRUE(r.has("-f: ignored: empty function pattern\n")) << r.out;
    EXPECT_TRUE(r.has("-fAdd: test functions containing 'Add' in the name\n"));
    EXPECT_TRUE(r.has("-f-Sub: don't test functions containing 'Sub' in the name\n"));
    EXPECT_TRUE(r.has("-f+8u: don't test functions without '8u' in the name\n"));
    EXPECT_TRUE(r.has("-f=zkriAdd_8u_C1RSfs: test function equal to 'zkriAdd_8u_C1RSfs' in the name\n"));
    EXPECT_TRUE(r.has("-t: ignored: empty test pattern\n"));
    EXPECT_TRUE(r.has("-tTimiAdd: run tests containing TimiAdd\n"));
    EXPECT_TRUE(r.has("-g: create file " + d.str() + "/name.end at the end of QM work\n"));
    EXPECT_TRUE(r.has("-nname: name ini-file and output files as name.<proper-ext>\n"));
    EXPECT_TRUE(r.has("-l" + d.str() + ": open output files in " + d.str() + "/\n"));
    EXPECT_TRUE(r.has("-s-: don't sort functions\n"));
    EXPECT_TRUE(r.has("-s: sort functions\n"));
    EXPECT_TRUE(r.has("-m: ignored: incorrect option key\n"));
    EXPECT_TRUE(r.has("-Z: ignored: incorrect option key\n"));
    EXPECT_TRUE(r.has("-e: enumerate tested functions and exit\n"));
}

TEST(Echo, EchoTextsWithoutExitKey) {
    TempDir d;
    Outcome r = quill("-B -AAll -ATiming -dNumLoops=5 -dbad -LPW -Lxyz -YHIGH -Yx -H -HONLY -SU -C -f=nothing -l" + d.str(),
                  d.str());
    EXPECT_TRUE(r.has("-B: batch mode\n")) << r.out;
    EXPECT_TRUE(r.has("-AAll: ask, timing method, common parameters, data misalignment, each test parameters from console\n"));
    EXPECT_TRUE(r.has("-ATiming: ask, timing method from console\n"));
    EXPECT_TRUE(r.has("-dNumLoops=5: set QM parameter NumLoops=5\n"));
    EXPECT_TRUE(r.has("-dbad: ignored: incorrect data format\n"));
    EXPECT_TRUE(r.has("-LPW: write errors,warnings,performance results to console\n"));
    EXPECT_TRUE(r.has("-Lxyz: ignored: incorrect level of console output\n"));
    EXPECT_TRUE(r.has("-YHIGH: set high process priority\n"));
    EXPECT_TRUE(r.has("-Yx: ignored: incorrect process priority value\n"));
    EXPECT_TRUE(r.has("-H: add 'Interest' column to table file\n"));
    EXPECT_TRUE(r.has("-HONLY: run tests for hot functions only\n"));
    EXPECT_TRUE(r.has("-SU: include to measurement data set & use time\n"));
    EXPECT_TRUE(r.has("-C: test data size will be in cache and out of cache if that is supported by test\n"));
    EXPECT_EQ(r.status, 0);
}

TEST(Listing, EnumerationListsAndExits) {
    Outcome r = quill("-e -f=__qmKavroCpu");
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(r.has("__qmKavroCpu")) << r.out;
    EXPECT_FALSE(r.has("QM Summary"));
    // The listing's title names the library from its version getters; the run has not started.
    EXPECT_TRUE(r.has("| Library       : zkri, ")) << r.out;
    EXPECT_FALSE(r.has("| Library       :  ")) << r.out;
    Outcome v = quill("-e -v -t=__qmKavroCpu");
    EXPECT_TRUE(v.has("Kavro(R) Zorbex. Quillmark 2.0")) << v.out;
    EXPECT_TRUE(v.has("__qmKavroCpu"));
}

TEST(Batch, RunWritesHeaderFooterTablesAndSignalFileLast) {
    TempDir d;
    Outcome r = quill("-B -t=__qmKavroCpu -r -u -g -l" + d.str());
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(r.has("QM Summary")) << r.out;
    EXPECT_TRUE(r.has("| .Number of tests : 1"));
    EXPECT_TRUE(r.has("| .Successes       : 1"));
    ASSERT_TRUE(fs::exists(d / "quillmark.csv"));
    ASSERT_TRUE(fs::exists(d / "quillmark_sum.csv"));
    ASSERT_TRUE(fs::exists(d / "quillmark.end"));
    const std::string sum = readFile(d / "quillmark_sum.csv");
    EXPECT_NE(sum.find("END_DATA\n"), std::string::npos) << sum;
    EXPECT_NE(sum.find(".Number of tests,1\n"), std::string::npos) << sum;
    EXPECT_NE(sum.find("__qmKavroCpu"), std::string::npos);
    EXPECT_LE(fs::last_write_time(d / "quillmark_sum.csv"), fs::last_write_time(d / "quillmark.end"));
    const std::string end = readFile(d / "quillmark.end");
    EXPECT_EQ(end.substr(0, 3), "00:") << end;  // elapsed time first, then ctime's line
    EXPECT_EQ(std::count(end.begin(), end.end(), '\n'), 3);
}

TEST(Batch, UnopenableOutputFileIsFatal) {
    Outcome r = quill("-B -t=__qmKavroCpu -r/nonexistent-dir/x.csv");
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(r.has("-- Can't open file /nonexistent-dir/x.csv to write: ")) << r.out;
    EXPECT_TRUE(r.has("FATAL ERROR: can't open output file for writing\n"));
    EXPECT_FALSE(r.has("QM Summary"));
}

TEST(Batch, UnopenableSignalFileIsReportedAndRunUnchanged) {
    Outcome r = quill("-B -t=__qmKavroCpu -g/nonexistent-dir/x.end");
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(r.has("QM Summary")) << r.out;
    EXPECT_TRUE(r.has("-- Can't open file /nonexistent-dir/x.end to write: "));
}

TEST(Config, CfgFileInWorkingDirectorySuppliesTheCommandLine) {
    TempDir d;
    writeFile(d / "quillmark.cfg", "-B -t=__qmKavroCpu -rout -l" + d.str() + "\nsecond line ignored -v\n");
    Outcome r = quill("", d.str());
    EXPECT_TRUE(r.has("read from quillmark.cfg file\n")) << r.out;
    EXPECT_TRUE(r.has("QM Summary"));
    EXPECT_TRUE(fs::exists(d / "out.csv"));
}

TEST(Config, CfgFileBesideTheProgramIsUsedWhenNoneInWorkingDirectory) {
    TempDir bin, work;
    fs::copy_file(program(), bin / "quillmark");
    fs::permissions(bin / "quillmark", fs::perms::owner_all);
    writeFile(bin / "quillmark.cfg", "-B -t=__qmKavroCpu -rbeside");
    Outcome r = run(quote((bin / "quillmark").string()), work.str());
    EXPECT_TRUE(r.has("read from " + bin.str() + "/quillmark.cfg file\n")) << r.out;
    EXPECT_TRUE(fs::exists(bin / "beside.csv"));
}

TEST(Config, CompiledInCommandLineIsTheLastResort) {
    TempDir work;
    Outcome r = run(quote(fixtureProgram()), work.str());
    EXPECT_TRUE(r.has("Command line options: set by _FORCE_CMDLINE preprocessor definition\n")) << r.out;
    EXPECT_TRUE(r.has("-B: batch mode\n"));
    EXPECT_TRUE(r.has("| .Number of tests : 1"));
    const fs::path sum = fs::path(fixtureProgram()).parent_path() / "qm_fixture_program_sum.csv";
    EXPECT_TRUE(fs::exists(sum));
    fs::remove(sum);
}
