// Files for capturing what the streams write: a unique path under the test temporary directory,
// removed again when the test ends.
#pragma once
#include <gtest/gtest.h>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

class TempFile {
public:
    explicit TempFile(const std::string& tag) {
        static int s_serial = 0;
        m_path = testing::TempDir() + "qm_" + tag + "_" + std::to_string(getpid()) + "_" +
                 std::to_string(++s_serial) + ".txt";
        std::remove(m_path.c_str());
    }
    ~TempFile() { std::remove(m_path.c_str()); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    const std::string& path() const { return m_path; }
    std::string read() const {
        std::ifstream in(m_path, std::ios::binary);
        std::stringstream ss;
        ss << in.rdbuf();
        return ss.str();
    }

private:
    std::string m_path;
};
