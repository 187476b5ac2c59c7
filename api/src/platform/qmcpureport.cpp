// The processor report of the built-in CPU test and the one-line summary of the report header.
#include <unistd.h>

#include "qmclock.h"
#include "qmcpuid.h"
#include "qmstream.h"
#include "qmzkrenv.h"

namespace {
const qmString kStars(64, '*');
const qmString kRule(64, '=');
const qmString kDashes(64, '-');

void openSection(const char* title) { g_ostrm << "\n" << kRule << "\n" << title; }

qmString vendorString() {
    CPUID c(0);
    qmString s;
    for (int reg : {CPUID::EBX, CPUID::EDX, CPUID::ECX})
        for (int n = 0; n < 4; ++n) s += static_cast<char>(c.getByte(reg, n));
    return s;
}

qmString brandString() {
    if (!validFunction(0x80000004u)) return qmString();
    std::string s;
    for (unsigned leaf = 0x80000002u; leaf <= 0x80000004u; ++leaf) {
        CPUID c(leaf);
        for (int reg = CPUID::EAX; reg <= CPUID::EDX; ++reg)
            for (int n = 0; n < 4; ++n) s += static_cast<char>(c.getByte(reg, n));
    }
    return qmString(s.c_str()).trimmed();  // the 48 bytes end with NULs and may start with blanks
}

void printHeader() {
    g_ostrm << kStars << "\n"
            << "    Kavro(R) Processor Identification\n"
            << "    Got by CPUID Instruction Functions\n";
    qmString vendor = vendorString();
    if (vendor != "GenuineKavro")
        g_ostrm << "    ATTENTION! It is not Genuine Kavro processor.\n"
                << "    Information below may be inadequate.\n";
    g_ostrm << kStars << "\n";
    g_ostrm << MSG_PERF << qmString::format("Largest Standard Function 0x%08X\n", largestFunction())
            << qmString::format("Largest Extended Function 0x%08X\n", largestExFunction()) << MSG_RESTORE;
    g_ostrm << "Vendor-ID      " << vendor << "\n";
    qmString brand = brandString();
    if (!brand.empty()) g_ostrm << "Brand String   " << brand << "\n";
}

void printSignature() {
    CPUID c(1);
    openSection("    Processor Identification Signature\n\n");
    g_ostrm << "Family   " << c.getBits(CPUID::EAX, 11, 8) + c.getBits(CPUID::EAX, 27, 20) << "\n"
            << "Model    " << c.getBits(CPUID::EAX, 19, 16) * 16 + c.getBits(CPUID::EAX, 7, 4) << "\n"
            << "Stepping " << c.getBits(CPUID::EAX, 3, 0) << "\n"
            << "Type     " << c.getBits(CPUID::EAX, 13, 12) << "\n";
    if (unsigned brandId = c.getBits(CPUID::EBX, 7, 0)) g_ostrm << qmString::format("Brand ID 0x%02X\n", brandId);
}

void printFlags() {
    openSection("    Feature Flags\n\n");
    for (const char* name : {"MMX", "SSE", "SSE2", "SSE3", "SSSE3", "SSE4.1", "SSE4.2", "x2APIC", QM_FLAG_64BIT})
        printFeatureFlag(name);
}

void printMultiThreading() {
    openSection("    Multi Threading Features\n\n");
    unsigned logical = CPUID(1).getBits(CPUID::EBX, 23, 16);
    unsigned cores = validFunction(4) ? CPUID(4, 0).getBits(CPUID::EAX, 31, 26) + 1 : 0;
    if (isFeatureFlag("HTT") && logical >= 2)
        g_ostrm << "Kavro(R) Multi-Threading or Multi-Core Technology is supported\n";
    else
        g_ostrm << "Kavro(R) Multi-Threading and Multi-Core Technology are not supported\n";
    g_ostrm << "Logical Processors " << logical << " - Number of logical processors per physical package\n";
    if (cores != 0) g_ostrm << "Cores per Package  " << cores << " - Maximum number of processor cores per package\n";
}

const char* cacheTypeName(unsigned type) {
    switch (type) {
        case 1: return "Data Cache";
        case 2: return "Instruction Cache";
        case 3: return "Unified Cache";
        default: return nullptr;
    }
}

void printCache(const CPUID& c) {
    unsigned type = c.getBits(CPUID::EAX, 4, 0);
    g_ostrm << kDashes << "\n    ";
    if (const char* name = cacheTypeName(type))
        g_ostrm << name << "\n";
    else
        g_ostrm << "Cache Type " << type << "\n";
    unsigned sets = c[CPUID::ECX] + 1, line = c.getBits(CPUID::EBX, 11, 0) + 1;
    unsigned parts = c.getBits(CPUID::EBX, 21, 12) + 1, ways = c.getBits(CPUID::EBX, 31, 22) + 1;
    long long sizeKb = static_cast<long long>(sets) * line * parts * ways / 1024;
    g_ostrm << "Cache Level       " << c.getBits(CPUID::EAX, 7, 5) << "\n"
            << "Cache Size Kb     " << sizeKb << "\n"
            << qmString::format("Threads Sharing   %-4d - Maximum number of threads sharing this cache\n",
                                static_cast<int>(c.getBits(CPUID::EAX, 25, 14) + 1))
            << "Number of Sets    " << sets << "\n"
            << qmString::format("Line Size         %-4d - System coherency line size\n", static_cast<int>(line))
            << qmString::format("Line Partitions   %-4d - Physical line partitions\n", static_cast<int>(parts))
            << qmString::format("Associativity     %-4d - Ways of associativity\n", static_cast<int>(ways));
    if (c.getBit(CPUID::EAX, 9)) g_ostrm << "Fully Associative cache\n";
    if (c.getBit(CPUID::EAX, 8)) g_ostrm << "Self Initializing cache level\n";
    if (c.getBit(CPUID::EDX, 1)) g_ostrm << "Cache is inclusive to lower cache levels\n";
    if (c.getBit(CPUID::EDX, 0)) g_ostrm << "WBINVD/INVD behavior on lower level caches\n";
}

// Leaf 4, or the extended cache leaf when leaf 4 describes no cache; both share the layout.
void printCaches() {
    unsigned leaf = qmCacheLeaf();
    if (leaf == 0) return;
    openSection("    Deterministic Cache Parameters\n");
    for (unsigned sub = 0; sub < 64; ++sub) {
        CPUID c(leaf, sub);
        if (c.getBits(CPUID::EAX, 4, 0) == 0) break;
        printCache(c);
    }
}

const char* l2Associativity(unsigned code) {
    switch (code) {
        case 0: return "Disabled";
        case 1: return "Direct mapped";
        case 2: return "2-Way";
        case 4: return "4-Way";
        case 6: return "8-Way";
        case 8: return "16-Way";
        case 15: return "Fully associative";
        default: return nullptr;
    }
}

void printL2Features() {
    CPUID c(0x80000006u);
    openSection("    Extended L2 Cache Features\n\n");
    unsigned assoc = c.getBits(CPUID::ECX, 15, 12);
    const char* text = l2Associativity(assoc);
    g_ostrm << "L2 Cache Size Kb       " << c.getBits(CPUID::ECX, 31, 16) << "\n"
            << "L2 Cache Line Size     " << c.getBits(CPUID::ECX, 7, 0) << "\n"
            << "L2 Cache Associativity " << (text ? qmString(text) : qmString::format("Reserved (%u)", assoc))
            << "\n";
}
}  // namespace

void qmPrintCpuInformation() {
    // Every x86-64 processor has CPUID, so the report always comes from it.
    printHeader();
    if (validFunction(1)) {
        printSignature();
        printFlags();
    }
    printMultiThreading();
    if (validFunction(4) || validFunction(0x8000001Du)) printCaches();
    if (validFunction(0x80000006u)) printL2Features();
    g_ostrm << kStars << "\n";
}

qmString cpuInfo() {
    int type = g_zkr.getCpuType ? g_zkr.getCpuType() : qmOwnCpuType();
    qmString s = qmCpuType::cpuName(type);
    s += ", ";
    long count = sysconf(_SC_NPROCESSORS_ONLN);
    if (count > 1) s << static_cast<int>(count) << "x";
    int mhz = qmCpuTicker::getFreq();
    if (mhz > 999)
        s << mhz / 1000.0 << " GHz";
    else
        s << mhz << " MHz";
    if (int cache = qmGetMaxCacheSizeB(); cache > 0) s << ", Max cache size " << cache / 1024 << " K";
    return s;
}
