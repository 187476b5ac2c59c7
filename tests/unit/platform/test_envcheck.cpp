// The environment check: facts read from a cpu tree, and the findings each fact gives.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "qmenvcheck.h"

namespace {
namespace fs = std::filesystem;

void put(const fs::path& p, const std::string& text) {
    fs::create_directories(p.parent_path());
    std::ofstream(p) << text << "\n";
}

bool mentions(const std::vector<std::string>& findings, const std::string& word) {
    for (const std::string& f : findings)
        if (f.find(word) != std::string::npos) return true;
    return false;
}
}  // namespace

TEST(EnvCheck, ReadsGovernorsInProcessorOrderAndBothBoostSwitches) {
    const fs::path root = fs::temp_directory_path() / ("qm_envcheck_" + std::to_string(::getpid()));
    fs::remove_all(root);
    put(root / "cpu10/cpufreq/scaling_governor", "powersave");
    put(root / "cpu2/cpufreq/scaling_governor", "performance");
    fs::create_directories(root / "cpu3");  // no cpufreq: not counted
    put(root / "cpufreq/scaling_governor", "ignored");  // not a processor folder
    put(root / "intel_pstate/no_turbo", "0");
    qmEnvFacts f = qmReadEnvFacts(root.string(), 3, {"zkri, 1.0.0 (ref avx2), Nov 25 2026", "zkrs, 1.0 debug"});
    EXPECT_EQ(f.governors, (std::vector<std::string>{"performance", "powersave"}));
    EXPECT_EQ(f.boost, 1);  // no_turbo 0: boost on
    EXPECT_EQ(f.threads, 3);
    EXPECT_GE(f.cores, 1);
    ASSERT_FALSE(f.unoptimized.empty());
    EXPECT_EQ(f.unoptimized.back(), "library zkrs, 1.0 debug");
    // The generic switch wins over the Intel one.
    put(root / "cpufreq/boost", "0");
    EXPECT_EQ(qmReadEnvFacts(root.string(), 0, {}).boost, 0);
    fs::remove_all(root);
    // A tree that is not there shows nothing.
    f = qmReadEnvFacts((root / "none").string(), 0, {});
    EXPECT_TRUE(f.governors.empty());
    EXPECT_EQ(f.boost, -1);
}

TEST(EnvCheck, EachFactGivesItsFindingAtTheBoundary) {
    struct Case {
        const char* what;
        double load;
        int cores, threads;
        std::vector<std::string> governors;
        int boost;
        const char* word;  // expected in a finding; nullptr: no finding at all
    };
    const Case cases[] = {
        {"quiet machine", 0.2, 4, 4, {"performance", "performance"}, 0, nullptr},
        {"load just at 0.5 per core", 2.0, 4, 0, {}, -1, nullptr},
        {"load above 0.5 per core", 2.01, 4, 0, {}, -1, "load average 2.01"},
        {"unknown load", -1, 4, 0, {}, -1, nullptr},
        {"one slow governor", 0, 2, 0, {"performance", "schedutil"}, -1, "'schedutil' on 1 of 2"},
        {"boost on", 0, 2, 0, {}, 1, "boost is on"},
        {"threads equal to cores", 0, 2, 2, {}, -1, nullptr},
        {"threads above cores", 0, 2, 3, {}, -1, "-N3 asks for more threads than the 2"},
    };
    for (const Case& c : cases) {
        qmEnvFacts f;
        f.load1 = c.load;
        f.cores = c.cores;
        f.threads = c.threads;
        f.governors = c.governors;
        f.boost = c.boost;
        const auto findings = qmEnvFindings(f);
        if (!c.word)
            EXPECT_TRUE(findings.empty()) << c.what << ": " << (findings.empty() ? "" : findings[0]);
        else
            EXPECT_TRUE(findings.size() == 1 && mentions(findings, c.word)) << c.what;
    }
    qmEnvFacts all;
    all.load1 = 9;
    all.cores = 1;
    all.threads = 2;
    all.governors = {"powersave"};
    all.boost = 1;
    all.unoptimized = {"library x"};
    const auto findings = qmEnvFindings(all);
    ASSERT_EQ(findings.size(), 5u);  // load, governor, boost, threads, build: in this order
    EXPECT_TRUE(mentions({findings[0]}, "load") && mentions({findings[4]}, "without optimization: library x"));
}
