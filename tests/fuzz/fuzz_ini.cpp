// libFuzzer target of the ini-file reader: any bytes as the file's content. The reader must load them
// without a crash; every entry it found must be found again by key; and a file written back after an
// addition must read in again with its named sections and the added entry.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "qminifile.h"
#include "qmstream.h"

namespace {

std::string scratchName(const char* tag) {
    return std::string("/tmp/qm_fuzz_ini_") + std::to_string(getpid()) + tag + ".ini";
}

void writeBytes(const std::string& name, const std::uint8_t* data, std::size_t size) {
    FILE* f = std::fopen(name.c_str(), "wb");
    if (!f) std::abort();
    if (size) std::fwrite(data, 1, size, f);
    std::fclose(f);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    g_ostrm.setOutLevel(0);
    const std::string name = scratchName("");
    writeBytes(name, data, size);

    qmList<qmString> names;
    {
        qmIniFile ini;
        if (!ini.open(name.c_str(), false)) std::abort();
        for (const qmIniSection& s : ini.sections()) {
            names.append(s.name);
            if (!ini.sectionExist(s.name)) std::abort();
            for (const qmIniEntry& e : s.values) {
                if (e.value == QM_INI_LINE) continue;
                if (!ini.valueExist(s.name, e.key)) std::abort();
            }
        }
    }
    {
        // Add an entry and write the file back: it reads in again with the entry and every named
        // section of the input.
        qmIniFile ini;
        if (!ini.open(name.c_str(), true)) std::abort();
        ini.write("QmFuzzAdded", "Size", "64x64", "added by the fuzzer");
        ini.close();
        qmIniFile again;
        if (!again.open(name.c_str(), false)) std::abort();
        if (again.read("QmFuzzAdded", "Size", "") != "64x64") std::abort();
        for (const qmString& n : names)
            if (!n.empty() && !again.sectionExist(n)) std::abort();
    }
    std::remove(name.c_str());
    return 0;
}
