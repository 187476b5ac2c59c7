// Processor types of the library's dispatch and the program's own answers to the library's
// processor questions when no library is bound.
#include <unistd.h>

#include "qmcpuid.h"

// The first row of a code gives its label; the later ones are spellings that -T accepts too.
const qmCpuType qmCpuType::s_table[] = {
    {zkrCpuX86, "X86", "x86 generic code"},
    {zkrCpuMMX, "MMX", "x86 with MMX"},
    {zkrCpuSSE, "SSE", "x86 with SSE"},
    {zkrCpuSSE2, "SSE2", "x86 with SSE2"},
    {zkrCpuSSE3, "SSE3", "x86 with SSE3"},
    {zkrCpuSSSE3, "SSSE3", "x86 with Supplemental SSE3"},
    {zkrCpuSSE41, "SSE41", "x86 with SSE4.1"},
    {zkrCpuSSE42, "SSE42", "x86 with SSE4.2"},
    {zkrCpuAVX, "AVX", "x86 with AVX"},
    {zkrCpuAVX2, "AVX2", "x86 with AVX2"},
    {zkrCpuAVX512F, "AVX512", "x86 with AVX-512 Foundation"},
    {zkrCpuAVX512BW, "AVX512BW", "x86 with AVX-512 BW, DQ and VL"},
    {zkrCpuAVX512VNNI, "AVX512VNNI", "x86 with AVX-512 VNNI"},
    {zkrCpuX64, "X64", "x86-64 baseline with SSE2"},
    {zkrCpuX64v2, "X64v2", "x86-64 with SSE4.2 and POPCNT"},
    {zkrCpuX64v3, "X64v3", "x86-64 with AVX2 and FMA"},
    {zkrCpuX64v4, "X64v4", "x86-64 with AVX-512"},
    {zkrCpuX86, "Generic", "x86 generic code"},
    {zkrCpuSSE41, "SSE4.1", "x86 with SSE4.1"},
    {zkrCpuSSE42, "SSE4.2", "x86 with SSE4.2"},
    {zkrCpuAVX512F, "AVX512F", "x86 with AVX-512 Foundation"},
    {zkrCpuAVX512F, "AVX-512", "x86 with AVX-512 Foundation"},
    {zkrCpuAVX512BW, "AVX-512BW", "x86 with AVX-512 BW, DQ and VL"},
    {zkrCpuAVX512VNNI, "AVX-512VNNI", "x86 with AVX-512 VNNI"},
    {zkrCpuX64, "X64v1", "x86-64 baseline with SSE2"},
    {zkrCpuX64, "X86-64", "x86-64 baseline with SSE2"},
    {zkrCpuX64v2, "X86-64-v2", "x86-64 with SSE4.2 and POPCNT"},
    {zkrCpuX64v3, "X86-64-v3", "x86-64 with AVX2 and FMA"},
    {zkrCpuX64v4, "X86-64-v4", "x86-64 with AVX-512"},
    {zkrCpuX64v4, "X64-AVX512", "x86-64 with AVX-512"},
};
const int qmCpuType::s_count = static_cast<int>(sizeof s_table / sizeof s_table[0]);
static_assert(sizeof qmCpuType::s_table / sizeof qmCpuType::s_table[0] == 30);

namespace {
const qmCpuType* firstRow(int code) {
    for (int i = 0; i < qmCpuType::s_count; ++i)
        if (qmCpuType::s_table[i].m_code == code) return &qmCpuType::s_table[i];
    return nullptr;
}
}  // namespace

const char* qmCpuType::cpuLabel(int code) {
    const qmCpuType* row = firstRow(code);
    return row ? row->m_label : "Undefined";
}

const char* qmCpuType::cpuName(int code) {
    const qmCpuType* row = firstRow(code);
    return row ? row->m_name : "Undefined";
}

int qmCpuType::findByLabel(const qmString& label) {
    qmString wanted = label.trimmed().lower();
    for (int i = 0; i < s_count; ++i)
        if (qmString(s_table[i].m_label).lower() == wanted) return s_table[i].m_code;
    return -1;
}

qmString qmCpuType::optimizedList() {
    qmString list;
    for (int i = 0; i < s_count; ++i)
        if (firstRow(s_table[i].m_code) == &s_table[i])
            list << s_table[i].m_label << ": optimized for " << s_table[i].m_name << "\n";
    return list;
}

// ---------------------------------------------------------------- own answers

qmCpuFeatureRegs qmReadCpuFeatureRegs() {
    qmCpuFeatureRegs f;
    CPUID l1(1), l7(7, 0), e1(0x80000001u);
    f.leaf1Ecx = l1[CPUID::ECX];
    f.leaf1Edx = l1[CPUID::EDX];
    f.leaf7Ebx = l7[CPUID::EBX];
    f.ext1Ecx = e1[CPUID::ECX];
    if ((f.leaf1Ecx >> 27) & 1) {  // OSXSAVE: XGETBV is allowed
        unsigned lo, hi;
        __asm__ __volatile__("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
        f.xcr0 = (static_cast<unsigned long long>(hi) << 32) | lo;
    }
    return f;
}

// The program is built for x86-64 only, so the answer is one of the x86-64 levels: the best level
// whose every instruction the processor has and whose register state the operating system saves.
ZkrCpuType qmCpuTypeFromFeatures(const qmCpuFeatureRegs& f) {
    auto all = [](unsigned reg, std::initializer_list<int> bits) {
        for (int b : bits)
            if (!((reg >> b) & 1u)) return false;
        return true;
    };
    bool v2 = all(f.leaf1Ecx, {0, 9, 13, 19, 20, 23}) && all(f.ext1Ecx, {0});  // SSE3 SSSE3 CX16 SSE4 POPCNT LAHF
    bool ymmSaved = (f.xcr0 & 0x6) == 0x6;
    bool v3 = v2 && ymmSaved && all(f.leaf1Ecx, {12, 22, 27, 28, 29}) &&     // FMA MOVBE OSXSAVE AVX F16C
              all(f.leaf7Ebx, {3, 5, 8}) && all(f.ext1Ecx, {5});             // BMI1 AVX2 BMI2 LZCNT
    bool zmmSaved = (f.xcr0 & 0xE6) == 0xE6;
    bool v4 = v3 && zmmSaved && all(f.leaf7Ebx, {16, 17, 28, 30, 31});       // AVX-512 F DQ CD BW VL
    if (v4) return zkrCpuX64v4;
    if (v3) return zkrCpuX64v3;
    if (v2) return zkrCpuX64v2;
    return zkrCpuX64;
}

ZkrCpuType qmOwnCpuType() { return qmCpuTypeFromFeatures(qmReadCpuFeatureRegs()); }

int qmOwnNumCoresOnDie() {
    // Leaf 4 gives the cores per package where it describes caches; otherwise the topology leaf
    // 0xB (logical processors at core level over those at thread level); otherwise the online count.
    if (qmCacheLeaf() == 4) return static_cast<int>(CPUID(4, 0).getBits(CPUID::EAX, 31, 26)) + 1;
    CPUID smt(0xB, 0), core(0xB, 1);
    unsigned threads = smt.getBits(CPUID::EBX, 15, 0), logical = core.getBits(CPUID::EBX, 15, 0);
    if (core.getBits(CPUID::ECX, 15, 8) == 2 && threads > 0 && logical >= threads)
        return static_cast<int>(logical / threads);
    long online = sysconf(_SC_NPROCESSORS_ONLN);
    return online > 0 ? static_cast<int>(online) : 1;
}

ZkrStatus qmOwnMaxCacheSizeB(int* pSizeByte) {
    if (!pSizeByte) return zkrStsNullPtrErr;
    *pSizeByte = getMaxCacheSizeB();
    return zkrStsNoErr;
}
