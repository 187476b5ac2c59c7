// Captures what the console stream writes, through a listing file, for the duration of a test.
#pragma once
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "qmstream.h"

class qmConsoleCapture {
public:
    explicit qmConsoleCapture(int outLevel) : m_savedLevel(g_ostrm.outLevel()) {
        static int s_serial = 0;
        m_path = testing::TempDir() + "qm_console_" + std::to_string(getpid()) + "_" + std::to_string(++s_serial) + ".txt";
        g_ostrm.close();
        g_ostrm.addStream(m_path.c_str(), false);
        g_ostrm.setOutLevel(outLevel);
    }
    ~qmConsoleCapture() {
        g_ostrm.close();
        g_ostrm.setOutLevel(m_savedLevel);
        std::remove(m_path.c_str());
    }
    std::string text() const {
        g_ostrm.flush();
        std::ifstream in(m_path);
        std::stringstream ss;
        ss << in.rdbuf();
        return ss.str();
    }

private:
    int m_savedLevel;
    std::string m_path;
};
