// Processor identification through the CPUID instruction: the feature flags, the cache sizes, the
// one-line summary of the report header and the full report of the built-in CPU test.
#pragma once
#include "qmstring.h"
#include "zkrcore.h"

// Executes (or, in tests, imitates) CPUID for a leaf and subleaf: EAX, EBX, ECX, EDX.
using qmCpuidReader = void (*)(unsigned leaf, unsigned subleaf, unsigned regs[4]);

class CPUID {
public:
    enum { EAX = 0, EBX = 1, ECX = 2, EDX = 3 };
    // Executes the instruction only for a valid leaf; any other leaf reads as four zeros.
    explicit CPUID(unsigned leaf, unsigned subleaf = 0);
    unsigned operator[](int reg) const { return m_regs[reg]; }
    unsigned getBits(int reg, int hi, int lo) const;
    bool getBit(int reg, int bit) const { return (m_regs[reg] >> bit) & 1u; }
    signed char getByte(int reg, int n) const { return static_cast<signed char>(m_regs[reg] >> (8 * n)); }

    // Raw execution, without the validity check.
    static void read(unsigned leaf, unsigned subleaf, unsigned regs[4]) { s_reader(leaf, subleaf, regs); }
    static void hardware(unsigned leaf, unsigned subleaf, unsigned regs[4]);
    // Replaces the reader (tests feed synthetic register values); returns the previous one.
    static qmCpuidReader setReader(qmCpuidReader reader);

    unsigned m_regs[4] = {0, 0, 0, 0};

private:
    static qmCpuidReader s_reader;
};

unsigned largestFunction();
unsigned largestExFunction();
bool validFunction(unsigned leaf);

struct FeatureFlag {
    unsigned leaf;
    int reg;
    int bit;
    const char* mnemonic;
    const char* description;
};
extern const FeatureFlag FeatureFlags[];
extern const int FeatureFlagsCount;  // 68
// The mnemonic of the 64-bit extension flag (leaf 0x80000001, EDX bit 29).
constexpr const char* QM_FLAG_64BIT = "X86-64";

const FeatureFlag* findFlagInfo(const FeatureFlag* table, int count, const qmString& name);
bool isFeatureFlag(const qmString& name);
// "%-11s" mnemonic, the bit (or the value given), " - ", description.
void printFeatureFlag(const qmString& name);
void printFeatureFlag(const qmString& name, int value);

// The leaf that describes the caches: 4, or 0x8000001D when leaf 4 shows none; 0 when neither does.
unsigned qmCacheLeaf();
// Size of the cache of that subleaf, -1 when its type is 0 (the end of the list).
int getCacheSizeB(int index);
// The largest cache, 0 when the caches are not described.
int getMaxCacheSizeB();
// The library's answer when it gives one above 0, otherwise getMaxCacheSizeB().
int qmGetMaxCacheSizeB();

// Report header summary: processor name, count, clock rate, largest cache.
qmString cpuInfo();
// The full report of the built-in CPU test.
void qmPrintCpuInformation();

// Processor types of the library's dispatch, with the labels that the -T key accepts.
class qmCpuType {
public:
    int m_code;
    const char* m_label;
    const char* m_name;

    static const qmCpuType s_table[];
    static const int s_count;  // 30
    // Label of the first row with the code; "Undefined" when there is none.
    static const char* cpuLabel(int code);
    static const char* cpuName(int code);
    // The code of a label, case-insensitive; -1 when unknown.
    static int findByLabel(const qmString& label);
    // One "<label>: optimized for <name>" line per processor type.
    static qmString optimizedList();
};

// Feature registers that decide the best processor type.
struct qmCpuFeatureRegs {
    unsigned leaf1Ecx = 0, leaf1Edx = 0;
    unsigned leaf7Ebx = 0;
    unsigned ext1Ecx = 0;
    unsigned long long xcr0 = 0;  // state the operating system saves (XGETBV 0)
};
qmCpuFeatureRegs qmReadCpuFeatureRegs();
ZkrCpuType qmCpuTypeFromFeatures(const qmCpuFeatureRegs& f);

// The program's own answers for the library entries when no library is bound.
ZkrCpuType qmOwnCpuType();
int qmOwnNumCoresOnDie();
ZkrStatus qmOwnMaxCacheSizeB(int* pSizeByte);
