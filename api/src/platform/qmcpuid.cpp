#include "qmcpuid.h"

#include <cpuid.h>
#include <cstdio>

#include "qmstream.h"
#include "qmzkrenv.h"

// ---------------------------------------------------------------- the instruction

void CPUID::hardware(unsigned leaf, unsigned subleaf, unsigned regs[4]) {
    __cpuid_count(leaf, subleaf, regs[0], regs[1], regs[2], regs[3]);
}

qmCpuidReader CPUID::s_reader = &CPUID::hardware;

qmCpuidReader CPUID::setReader(qmCpuidReader reader) {
    qmCpuidReader previous = s_reader;
    s_reader = reader ? reader : &CPUID::hardware;
    return previous;
}

CPUID::CPUID(unsigned leaf, unsigned subleaf) {
    if (validFunction(leaf)) read(leaf, subleaf, m_regs);
}

unsigned CPUID::getBits(int reg, int hi, int lo) const {
    unsigned width = static_cast<unsigned>(hi - lo + 1);
    unsigned mask = width >= 32 ? ~0u : (1u << width) - 1u;
    return (m_regs[reg] >> lo) & mask;
}

unsigned largestFunction() {
    unsigned r[4];
    CPUID::read(0, 0, r);
    return r[0];
}

unsigned largestExFunction() {
    unsigned r[4];
    CPUID::read(0x80000000u, 0, r);
    return r[0];
}

bool validFunction(unsigned leaf) {
    if (leaf == 0 || leaf == 0x80000000u) return true;
    if (leaf < 0x80000000u) return leaf <= largestFunction();
    return leaf <= largestExFunction();
}

// ---------------------------------------------------------------- feature flags

const FeatureFlag FeatureFlags[] = {
    {1, CPUID::EDX, 0, "FPU", "Floating-point Unit On-Chip"},
    {1, CPUID::EDX, 1, "VME", "Virtual Mode Extension"},
    {1, CPUID::EDX, 2, "DE", "Debugging Extension"},
    {1, CPUID::EDX, 3, "PSE", "Page Size Extension"},
    {1, CPUID::EDX, 4, "TSC", "Time-Stamp Counter"},
    {1, CPUID::EDX, 5, "MSR", "Model Specific Registers"},
    {1, CPUID::EDX, 6, "PAE", "Physical Address Extension"},
    {1, CPUID::EDX, 7, "MCE", "Machine-Check Exception"},
    {1, CPUID::EDX, 8, "CX8", "CMPXCHG8 Instruction"},
    {1, CPUID::EDX, 9, "APIC", "On-chip APIC Hardware"},
    {1, CPUID::EDX, 10, "", ""},
    {1, CPUID::EDX, 11, "SEP", "Fast System Call"},
    {1, CPUID::EDX, 12, "MTRR", "Memory Type Range Registers"},
    {1, CPUID::EDX, 13, "PGE", "Page Global Enable"},
    {1, CPUID::EDX, 14, "MCA", "Machine-Check Architecture"},
    {1, CPUID::EDX, 15, "CMOV", "Conditional Move Instruction"},
    {1, CPUID::EDX, 16, "PAT", "Page Attribute Table"},
    {1, CPUID::EDX, 17, "PSE-36", "36-bit Page Size Extension"},
    {1, CPUID::EDX, 18, "PSN", "Processor serial number is present and enabled"},
    {1, CPUID::EDX, 19, "CLFSH", "CLFLUSH Instruction"},
    {1, CPUID::EDX, 20, "", ""},
    {1, CPUID::EDX, 21, "DS", "Debug Store"},
    {1, CPUID::EDX, 22, "ACPI", "Thermal Monitor and Software Controlled Clock Facilities"},
    {1, CPUID::EDX, 23, "MMX", "MMX technology"},
    {1, CPUID::EDX, 24, "FXSR", "FXSAVE and FXSTOR Instructions"},
    {1, CPUID::EDX, 25, "SSE", "Streaming SIMD Extensions"},
    {1, CPUID::EDX, 26, "SSE2", "Streaming SIMD Extensions 2"},
    {1, CPUID::EDX, 27, "SS", "Self-Snoop"},
    {1, CPUID::EDX, 28, "HTT", "Multi-Threading"},
    {1, CPUID::EDX, 29, "TM", "Thermal Monitor"},
    {1, CPUID::EDX, 30, "", ""},
    {1, CPUID::EDX, 31, "PBE", "Pending Break Enable"},
    {1, CPUID::ECX, 0, "SSE3", "Streaming SIMD Extensions 3"},
    {1, CPUID::ECX, 1, "PCLMULQDQ", "PCLMULQDQ Instruction"},
    {1, CPUID::ECX, 2, "DTES64", "64-bit Debug Store"},
    {1, CPUID::ECX, 3, "MONITOR", "MONITOR/MWAIT"},
    {1, CPUID::ECX, 4, "DS-CPL", "CPL Qualified Debug Store"},
    {1, CPUID::ECX, 5, "VMX", "Virtual Machine Extensions"},
    {1, CPUID::ECX, 6, "SMX", "Safer Mode Extensions"},
    {1, CPUID::ECX, 7, "EST", "Enhanced Frequency Scaling"},
    {1, CPUID::ECX, 8, "TM2", "Thermal Monitor 2"},
    {1, CPUID::ECX, 9, "SSSE3", "Supplemental Streaming SIMD Extensions 3"},
    {1, CPUID::ECX, 10, "CNXT-ID", "L1 Context ID"},
    {1, CPUID::ECX, 11, "SDBG", "Silicon Debug Interface"},
    {1, CPUID::ECX, 12, "FMA", "Fused Multiply-Add"},
    {1, CPUID::ECX, 13, "CX16", "CMPXCHG16B Instruction"},
    {1, CPUID::ECX, 14, "xTPR", "xTPR Update Control"},
    {1, CPUID::ECX, 15, "PDCM", "Perfmon and Debug Capability"},
    {1, CPUID::ECX, 16, "", ""},
    {1, CPUID::ECX, 17, "PCID", "Process-context Identifiers"},
    {1, CPUID::ECX, 18, "DCA", "Direct Cache Access"},
    {1, CPUID::ECX, 19, "SSE4.1", "Streaming SIMD Extensions 4.1"},
    {1, CPUID::ECX, 20, "SSE4.2", "Streaming SIMD Extensions 4.2"},
    {1, CPUID::ECX, 21, "x2APIC", "Extended xAPIC Support"},
    {1, CPUID::ECX, 22, "MOVBE", "MOVBE Instruction"},
    {1, CPUID::ECX, 23, "POPCNT", "POPCNT Instruction"},
    {1, CPUID::ECX, 24, "TSC-DEADLINE", "Time-Stamp Counter Deadline"},
    {1, CPUID::ECX, 25, "AES", "AES Instruction Extensions"},
    {1, CPUID::ECX, 26, "XSAVE", "XSAVE/XRSTOR States"},
    {1, CPUID::ECX, 27, "OSXSAVE", "OS-Enabled Extended State Management"},
    {1, CPUID::ECX, 28, "AVX", "Advanced Vector Extensions"},
    {1, CPUID::ECX, 29, "F16C", "16-bit Floating-Point Conversion Instructions"},
    {1, CPUID::ECX, 30, "RDRAND", "RDRAND Instruction"},
    {1, CPUID::ECX, 31, "", ""},
    {0x80000001u, CPUID::EDX, 11, "SYSCALL", "SYSCALL/SYSRET Instructions"},
    {0x80000001u, CPUID::EDX, 20, "XD", "Execute Disable Bit"},
    {0x80000001u, CPUID::EDX, 29, QM_FLAG_64BIT, "64-bit Architecture Extension"},
    {0x80000001u, CPUID::ECX, 0, "LAHF", "LAHF/SAHF available in 64-bit mode"},
};
const int FeatureFlagsCount = static_cast<int>(sizeof FeatureFlags / sizeof FeatureFlags[0]);
static_assert(sizeof FeatureFlags / sizeof FeatureFlags[0] == 68);

const FeatureFlag* findFlagInfo(const FeatureFlag* table, int count, const qmString& name) {
    for (int i = 0; i < count; ++i)
        if (name == table[i].mnemonic) return &table[i];
    return nullptr;
}

bool isFeatureFlag(const qmString& name) {
    const FeatureFlag* f = findFlagInfo(FeatureFlags, FeatureFlagsCount, name);
    return f && CPUID(f->leaf).getBit(f->reg, f->bit);
}

void printFeatureFlag(const qmString& name, int value) {
    const FeatureFlag* f = findFlagInfo(FeatureFlags, FeatureFlagsCount, name);
    if (!f) {
        g_ostrm << qmString::format("%-11s? - unknown flag???????\n", name.c_str());
        return;
    }
    g_ostrm << qmString::format("%-11s%d - %s\n", f->mnemonic, value, f->description);
}

void printFeatureFlag(const qmString& name) { printFeatureFlag(name, isFeatureFlag(name) ? 1 : 0); }

// ---------------------------------------------------------------- caches

unsigned qmCacheLeaf() {
    for (unsigned leaf : {4u, 0x8000001Du})
        if (validFunction(leaf) && CPUID(leaf, 0).getBits(CPUID::EAX, 4, 0) != 0) return leaf;
    return 0;
}

int getCacheSizeB(int index) {
    unsigned leaf = qmCacheLeaf();
    if (leaf == 0) return -1;
    CPUID c(leaf, static_cast<unsigned>(index));
    if (c.getBits(CPUID::EAX, 4, 0) == 0) return -1;
    long long size = (static_cast<long long>(c[CPUID::ECX]) + 1) * (c.getBits(CPUID::EBX, 11, 0) + 1) *
                     (c.getBits(CPUID::EBX, 21, 12) + 1) * (c.getBits(CPUID::EBX, 31, 22) + 1);
    return size > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<int>(size);
}

int getMaxCacheSizeB() {
    if (qmCacheLeaf() == 0) return 0;
    int largest = 0;
    // Subleaves are numbered densely; a processor has a handful of caches, 64 is a safety stop.
    for (int i = 0; i < 64; ++i) {
        int size = getCacheSizeB(i);
        if (size < 0) break;
        if (size > largest) largest = size;
    }
    return largest;
}

int qmGetMaxCacheSizeB() {
    if (g_zkr.getMaxCacheSizeB) {
        int size = 0;
        if (g_zkr.getMaxCacheSizeB(&size) == zkrStsNoErr && size > 0) return size;
    }
    return getMaxCacheSizeB();
}
