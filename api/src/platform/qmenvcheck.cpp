#include "qmenvcheck.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>

namespace {
// The first word of a small file, empty when it cannot be read.
std::string firstWord(const std::filesystem::path& p) {
    std::ifstream in(p);
    std::string w;
    in >> w;
    return w;
}

bool saysUnoptimized(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text.find("unoptimized") != std::string::npos || text.find("debug") != std::string::npos;
}
}  // namespace

qmEnvFacts qmReadEnvFacts(const std::string& sysRoot, int threads, const std::vector<std::string>& libraries) {
    namespace fs = std::filesystem;
    qmEnvFacts f;
    double load[1] = {0};
    if (getloadavg(load, 1) == 1) f.load1 = load[0];
    f.cores = static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN));
    f.threads = threads;
    std::error_code ec;
    std::map<int, std::string> byCpu;  // numeric order: cpu2 before cpu10
    for (const auto& entry : fs::directory_iterator(sysRoot, ec)) {
        const std::string name = entry.path().filename().string();
        if (name.size() < 4 || name.compare(0, 3, "cpu") != 0 ||
            !std::all_of(name.begin() + 3, name.end(), [](unsigned char c) { return std::isdigit(c); }))
            continue;
        const std::string g = firstWord(entry.path() / "cpufreq" / "scaling_governor");
        if (!g.empty()) byCpu[std::atoi(name.c_str() + 3)] = g;
    }
    for (const auto& [cpu, g] : byCpu) f.governors.push_back(g);
    // Generic cpufreq drivers show "boost" (1 on); the Intel driver shows "no_turbo" (0 on).
    const std::string boost = firstWord(fs::path(sysRoot) / "cpufreq" / "boost");
    const std::string noTurbo = firstWord(fs::path(sysRoot) / "intel_pstate" / "no_turbo");
    if (boost == "0" || boost == "1")
        f.boost = boost == "1";
    else if (noTurbo == "0" || noTurbo == "1")
        f.boost = noTurbo == "0";
#ifndef __OPTIMIZE__
    f.unoptimized.push_back("Quillmark (this program)");
#endif
    for (const std::string& lib : libraries)
        if (saysUnoptimized(lib)) f.unoptimized.push_back("library " + lib);
    return f;
}

std::vector<std::string> qmEnvFindings(const qmEnvFacts& f) {
    std::vector<std::string> out;
    char buf[256];
    const int cores = std::max(f.cores, 1);
    if (f.load1 > QM_LOAD_PER_CORE * cores) {
        std::snprintf(buf, sizeof buf,
                      "load average %.2f is above %.1f per core on %d cores: other processes are running", f.load1,
                      QM_LOAD_PER_CORE, cores);
        out.emplace_back(buf);
    }
    std::map<std::string, int> others;
    for (const std::string& g : f.governors)
        if (g != "performance") ++others[g];
    for (const auto& [g, n] : others)
        out.push_back("frequency governor '" + g + "' on " + std::to_string(n) + " of " +
                      std::to_string(f.governors.size()) + " processors, not 'performance'");
    if (f.boost == 1) out.emplace_back("frequency boost is on: the clock rate follows load and temperature");
    if (f.threads > f.cores && f.cores > 0)
        out.push_back("-N" + std::to_string(f.threads) + " asks for more threads than the " + std::to_string(f.cores) +
                      " processors online");
    for (const std::string& u : f.unoptimized) out.push_back("built without optimization: " + u);
    return out;
}
