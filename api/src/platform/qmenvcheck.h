// What on this machine disturbs a measurement right now: load from other processes, a frequency
// governor other than performance, frequency boost, more threads than processors, a build without
// optimization. Read before the first test; every finding is one warning line and goes into the
// JSON metadata.
#pragma once
#include <string>
#include <vector>

struct qmEnvFacts {
    double load1 = -1;                   // load average of the last minute, -1 when unknown
    int cores = 0;                       // processors online
    int threads = 0;                     // the -N count, 0 when the library picks
    std::vector<std::string> governors;  // scaling governor of each processor that shows one
    int boost = -1;                      // 1 boost on, 0 off, -1 not visible
    std::vector<std::string> unoptimized;  // components built without optimization
};

// Reads the facts from the system; `sysRoot` is the root of the cpu tree ("/sys/devices/system/cpu"),
// `libraries` the library version texts ("name, version, date").
qmEnvFacts qmReadEnvFacts(const std::string& sysRoot, int threads, const std::vector<std::string>& libraries);

// One sentence per finding, in a fixed order; empty when nothing disturbs the measurement.
std::vector<std::string> qmEnvFindings(const qmEnvFacts& facts);

// Load average above this per processor online counts as other processes running.
constexpr double QM_LOAD_PER_CORE = 0.5;
