// What a result needs to be understood later or on another machine: program and library builds,
// the processor, the level and threads asked for and in force, times and load.
#include "qmrunmeta.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <fstream>

#include "qmclock.h"
#include "qmcpuid.h"
#include "qmenvcheck.h"
#include "qmjson.h"
#include "qmreport.h"
#include "qmsession.h"
#include "qmtestlist.h"

#ifndef QM_CXX_COMPILER
#define QM_CXX_COMPILER "unknown"
#endif
#ifndef QM_CXX_FLAGS
#define QM_CXX_FLAGS ""
#endif
#ifndef QM_SOURCE_REVISION
#define QM_SOURCE_REVISION "unknown"
#endif

namespace {
using qmJson::number;
using qmJson::object;
using qmJson::quote;

double s_loadAtStart = -1;

std::string nullOr(const std::string& s) { return s.empty() ? "null" : quote(s); }

double loadAverage() {
    double load[1] = {0};
    return getloadavg(load, 1) == 1 ? load[0] : -1;
}

std::string processorModel() {
    if (largestExFunction() < 0x80000004u) return std::string();
    std::string brand;
    for (unsigned leaf = 0x80000002u; leaf <= 0x80000004u; ++leaf) {
        const CPUID r(leaf);
        for (int reg = 0; reg < 4; ++reg)
            for (int b = 0; b < 4; ++b)
                if (const char c = static_cast<char>(r[reg] >> (8 * b))) brand += c;
    }
    const size_t first = brand.find_first_not_of(' ');
    return first == std::string::npos ? std::string() : brand.substr(first, brand.find_last_not_of(' ') - first + 1);
}

std::vector<std::string> features() {
    std::vector<std::string> out;
    for (int i = 0; i < FeatureFlagsCount; ++i) {
        const FeatureFlag& f = FeatureFlags[i];
        if (f.mnemonic && *f.mnemonic && validFunction(f.leaf) && CPUID(f.leaf).getBit(f.reg, f.bit))
            out.emplace_back(f.mnemonic);
    }
    return out;
}

// Level, kind and size of every cache the processor describes.
std::string caches() {
    std::vector<std::string> out;
    const unsigned leaf = qmCacheLeaf();
    static const char* const kinds[] = {"none", "data", "instruction", "unified"};
    for (int i = 0; leaf && i < 16; ++i) {
        const int bytes = getCacheSizeB(i);
        if (bytes < 0) break;
        const CPUID r(leaf, static_cast<unsigned>(i));
        const unsigned kind = r.getBits(CPUID::EAX, 4, 0);
        out.push_back(object({{"level", std::to_string(r.getBits(CPUID::EAX, 7, 5))},
                              {"type", quote(kind < 4 ? kinds[kind] : "other")},
                              {"bytes", std::to_string(bytes)}}));
    }
    if (!out.empty()) return qmJson::array(out);
    // A processor (or hypervisor) whose CPUID describes no cache: what the system says.
    for (int i = 0;; ++i) {
        const std::string dir = "/sys/devices/system/cpu/cpu0/cache/index" + std::to_string(i) + "/";
        std::ifstream level(dir + "level"), type(dir + "type"), size(dir + "size");
        std::string l, t, z;
        if (!(level >> l) || !(type >> t) || !(size >> z)) break;
        long long bytes = std::atoll(z.c_str());
        bytes *= z.back() == 'K' ? 1024 : z.back() == 'M' ? 1024 * 1024 : 1;
        const char* kind = t == "Data" ? "data" : t == "Instruction" ? "instruction" : t == "Unified" ? "unified" : "other";
        out.push_back(object({{"level", l}, {"type", quote(kind)}, {"bytes", std::to_string(bytes)}}));
    }
    return qmJson::array(out);
}

std::string libraries(std::string& active) {
    std::vector<std::string> out;
    if (!zkrVersionList) return "[]";
    for (auto getter : *zkrVersionList)
        if (const ZkrLibraryVersion* v = getter()) {
            if (active.empty() && v->targetCpu) active = v->targetCpu;
            out.push_back(object({{"name", nullOr(v->Name ? v->Name : "")},
                                  {"version", nullOr(v->Version ? v->Version : "")},
                                  {"build_date", nullOr(v->BuildDate ? v->BuildDate : "")},
                                  {"level", nullOr(v->targetCpu ? v->targetCpu : "")}}));
        }
    return qmJson::array(out);
}

std::vector<std::string> libraryTexts() {
    std::vector<std::string> out;
    for (const qmString& t : qmZkrVersionTexts()) out.push_back(t.str());
    return out;
}
}  // namespace

std::string qmIsoTime(long long seconds) {
    const time_t t = static_cast<time_t>(seconds);
    struct tm utc {};
    gmtime_r(&t, &utc);
    char buf[32];
    strftime(buf, sizeof buf, "%Y-%m-%dT%H:%M:%SZ", &utc);
    return buf;
}

std::vector<std::string> qmCheckEnvironment() {
    const char* root = std::getenv("QM_SYSFS_CPU");  // another cpu tree, for tests
    const qmEnvFacts facts =
        qmReadEnvFacts(root && *root ? root : "/sys/devices/system/cpu", s_numThreads > 0 ? s_numThreads : 0,
                       libraryTexts());
    const std::vector<std::string> findings = qmEnvFindings(facts);
    for (const std::string& f : findings) g_ostrm << MSG_WARN << "-- Warning: " << f << "\n" << MSG_RESTORE;
    return findings;
}

void qmJsonRunStart(const std::vector<std::string>& findings) {
    if (!g_json.active()) return;
    char host[256] = {};
    gethostname(host, sizeof host - 1);
    struct utsname u {};
    std::string system;
    if (uname(&u) == 0) system = std::string(u.sysname) + " " + u.release + " " + u.machine;
    std::string active;
    const std::string libs = libraries(active);
    const long cores = sysconf(_SC_NPROCESSORS_ONLN);
    g_json.setMeta("program", object({{"name", quote("Quillmark")},
                                      {"version", quote(QM_version)},
                                      {"build_date", quote(QM_buildDate)},
                                      {"compiler", quote(QM_CXX_COMPILER)},
                                      {"flags", quote(QM_CXX_FLAGS)},
                                      {"source_revision", quote(QM_SOURCE_REVISION)}}));
    g_json.setMeta("command_line", qmJson::strings(g_json.commandLine()));
    g_json.setMeta("host", object({{"name", quote(host)}, {"system", quote(system)}}));
    g_json.setMeta("processor", object({{"model", nullOr(processorModel())},
                                        {"type", quote(cpuInfo().str())},
                                        {"features", qmJson::strings(features())},
                                        {"clock_mhz", std::to_string(qmCpuTicker::getFreq())},
                                        {"cores", std::to_string(cores)},
                                        {"caches", caches()}}));
    // The reference library is built by the same configure step as the program.
    g_json.setMeta("libraries", libs);
    g_json.setMeta("library_build", object({{"compiler", quote(QM_CXX_COMPILER)}, {"flags", quote(QM_CXX_FLAGS)}}));
    g_json.setMeta("level", object({{"requested", s_cpuType < 0 ? "null" : quote(qmCpuType::cpuLabel(s_cpuType))},
                                    {"active", nullOr(active)}}));
    g_json.setMeta("threads", object({{"requested", s_numThreads > 0 ? std::to_string(s_numThreads) : "null"},
                                      {"cores", std::to_string(cores)}}));
    g_json.setMeta("start_time", quote(qmIsoTime(pTestList->m_startTime)));
    s_loadAtStart = loadAverage();
    g_json.setMeta("load_average", object({{"start", number(s_loadAtStart)}, {"end", "null"}}));
    g_json.setMeta("environment", qmJson::strings(findings));
}

void qmJsonRunEnd() {
    if (!g_json.active()) return;
    g_json.setMeta("end_time", quote(qmIsoTime(pTestList->m_endTime)));
    g_json.setMeta("load_average", object({{"start", number(s_loadAtStart)}, {"end", number(loadAverage())}}));
    g_json.write();
}
