// Running the built programs from tests: output, exit status and scratch directories.
#pragma once
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

namespace e2e {

struct Outcome {
    int status = -1;
    std::string out;  // standard output and standard error together
    bool has(const std::string& s) const { return out.find(s) != std::string::npos; }
    size_t count(const std::string& s) const {
        size_t n = 0;
        for (size_t p = out.find(s); p != std::string::npos; p = out.find(s, p + s.size())) ++n;
        return n;
    }
};

// Runs a shell command line in the given directory (the current one when empty).
inline Outcome run(const std::string& cmd, const std::string& dir = "") {
    Outcome r;
    const std::string full = (dir.empty() ? "" : "cd '" + dir + "' && ") + cmd + " 2>&1 </dev/null";
    FILE* p = popen(full.c_str(), "r");
    if (!p) return r;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, p)) > 0) r.out.append(buf, n);
    const int st = pclose(p);
    r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
    return r;
}

inline std::string quote(const std::string& s) { return "'" + s + "'"; }

inline std::string program() { return QM_PROGRAM; }

// The -e listing's rows of one test class, counted per base (the function name's part after "zkri"
// up to its first "_"), so that a family's test can compare them with the catalogue's counts.
inline std::map<std::string, int> listedBases(const std::string& testClass) {
    const Outcome r = run(quote(program()) + " -e -t=" + testClass);
    std::map<std::string, int> bases;
    std::istringstream in(r.out);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("| zkri", 0) != 0 || line.find(testClass + "|") == std::string::npos) continue;
        ++bases[line.substr(6, line.find('_') - 6)];
    }
    return bases;
}
inline std::string fixtureProgram() { return QM_FIXTURE_PROGRAM; }

inline std::string readFile(const std::filesystem::path& p) {
    std::ifstream in(p);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

inline void writeFile(const std::filesystem::path& p, const std::string& text) { std::ofstream(p) << text; }

// A fresh scratch directory, removed with the object.
class TempDir {
public:
    TempDir() {
        char tmpl[] = "/tmp/qm_e2e_XXXXXX";
        m_path = mkdtemp(tmpl);
    }
    ~TempDir() {
        std::error_code ec;
        std::filesystem::remove_all(m_path, ec);
    }
    const std::filesystem::path& path() const { return m_path; }
    std::string str() const { return m_path.string(); }
    std::filesystem::path operator/(const std::string& name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
};

}  // namespace e2e
