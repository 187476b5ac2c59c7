// Shared set-up of the test-data tests: default placement settings, an empty block list before
// and after each test, and a capture of what the console stream writes.
#pragma once
#include <gtest/gtest.h>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>
#include "qmmemory.h"
#include "qmstream.h"

inline int offset64(const void* p) { return static_cast<int>(reinterpret_cast<std::uintptr_t>(p) & 63); }

inline void setPlacement(int align, bool byByte, int shift, bool firstOnly) {
    qmSetVectorAlign(align);
    qmSetAlignByByte(byByte);
    qmSetVectorShift(shift);
    qmSetAlignSrc(firstOnly);
}

class DataTest : public ::testing::Test {
protected:
    void SetUp() override {
        qmFreeAll();
        setPlacement(0, false, 0, false);
        qmVectorPlacement::resetPlacement();
    }
    void TearDown() override {
        qmFreeAll();
        setPlacement(0, false, 0, false);
        qmVectorPlacement::resetPlacement();
    }
};

// Sends the console stream to a temporary file at the given output level for its lifetime.
class ConsoleCapture {
public:
    explicit ConsoleCapture(int level) : m_savedLevel(g_ostrm.outLevel()) {
        char name[] = "/tmp/qm_console_XXXXXX";
        int fd = mkstemp(name);
        if (fd >= 0) close(fd);
        m_path = name;
        g_ostrm.addStream(m_path.c_str(), false);
        g_ostrm.setOutLevel(level);
    }
    ~ConsoleCapture() {
        finish();
        std::remove(m_path.c_str());
    }
    // Everything written so far; the capture ends.
    std::string text() {
        finish();
        std::ifstream in(m_path);
        std::stringstream s;
        s << in.rdbuf();
        return s.str();
    }

private:
    void finish() {
        if (m_done) return;
        m_done = true;
        g_ostrm.close();
        g_ostrm.setOutLevel(m_savedLevel);
    }
    std::string m_path;
    int m_savedLevel;
    bool m_done = false;
};
