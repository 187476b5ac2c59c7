// Running the built programs from tests: output, exit status and scratch directories.
#pragma once
#include <cstdlib>

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
Outcome run(const std::string& cmd, const std::string& dir = "");

std::string quote(const std::string& s);

std::string program();

// Runs the program with the given arguments (in the given directory, the current one when empty).
Outcome quill(const std::string& args, const std::string& dir = "");

// The -e listing's rows of one test class, counted per base (the function name's part after "zkri"
// up to the underscore before its type, so "Threshold_GT" and "LUT_Linear" are bases), so that a
// family's test can compare them with the catalogue's counts.
std::map<std::string, int> listedBases(const std::string& testClass);
std::string fixtureProgram();

std::string readFile(const std::filesystem::path& p);

void writeFile(const std::filesystem::path& p, const std::string& text);

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
