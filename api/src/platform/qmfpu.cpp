#include "qmfpu.h"

#include <cpuid.h>

#include "qmstream.h"

// ---------------------------------------------------------------- processor operations

unsigned qm_get_cw_fpu() {
    unsigned short cw;
    __asm__ __volatile__("fnstcw %0" : "=m"(cw));
    return cw;
}

unsigned qm_get_sw_fpu() {
    unsigned short sw;
    __asm__ __volatile__("fnstsw %0" : "=m"(sw));
    return sw;
}

void qm_set_cw_fpu(unsigned value, unsigned mask) {
    unsigned short cw = static_cast<unsigned short>((qm_get_cw_fpu() & ~mask) | (value & mask));
    __asm__ __volatile__("fldcw %0" : : "m"(cw));
}

unsigned qm_clear_fpu() {
    unsigned sw = qm_get_sw_fpu();
    __asm__ __volatile__("fnclex");
    return sw;
}

unsigned qm_get_ssx() {
    unsigned csr;
    __asm__ __volatile__("stmxcsr %0" : "=m"(csr));
    return csr;
}

void qm_set_ssx(unsigned value, unsigned mask) {
    unsigned csr = (qm_get_ssx() & ~mask) | (value & mask);
    __asm__ __volatile__("ldmxcsr %0" : : "m"(csr));
}

void qm_destroy_ssx() {
    __asm__ __volatile__(
        "pcmpeqd %%xmm0, %%xmm0\n\t"
        "movdqa %%xmm0, %%xmm1\n\t"
        "movdqa %%xmm0, %%xmm2\n\t"
        "movdqa %%xmm0, %%xmm3\n\t"
        "movdqa %%xmm0, %%xmm4\n\t"
        "movdqa %%xmm0, %%xmm5\n\t"
        "movdqa %%xmm0, %%xmm6\n\t"
        "movdqa %%xmm0, %%xmm7\n\t"
        "movdqa %%xmm0, %%xmm8\n\t"
        "movdqa %%xmm0, %%xmm9\n\t"
        "movdqa %%xmm0, %%xmm10\n\t"
        "movdqa %%xmm0, %%xmm11\n\t"
        "movdqa %%xmm0, %%xmm12\n\t"
        "movdqa %%xmm0, %%xmm13\n\t"
        "movdqa %%xmm0, %%xmm14\n\t"
        "movdqa %%xmm0, %%xmm15\n\t"
        :
        :
        : "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11",
          "xmm12", "xmm13", "xmm14", "xmm15");
}

bool zkr_is_ssx_extension() {
    unsigned a, b, c, d;
    if (!__get_cpuid(1, &a, &b, &c, &d)) return false;
    return (d >> 25) & 1;
}

// ---------------------------------------------------------------- texts

namespace {
struct qmBitText {
    unsigned bits;
    const char* text;
};

constexpr qmBitText kStatusFlags[] = {{0x1, "?Invalid "},   {0x2, "?Denormal "},  {0x4, "?Zerodivide "},
                                      {0x8, "?Overflow "},  {0x10, "?Underflow "}, {0x20, "_Inexact "}};
constexpr qmBitText k87Masks[] = {{0x1, "Invalid "},  {0x2, "Denormal "},   {0x4, "Zerodivide "},
                                  {0x8, "Overflow "}, {0x10, "Underflow "}, {0x20, "Inexact "}};
constexpr qmBitText k87Precision[] = {{0x0, "24 "}, {0x200, "53 "}, {0x300, "64 "}};
constexpr qmBitText k87Rounding[] = {{0xC00, "Zero "}, {0x800, "Up "}, {0x400, "Down "}, {0x0, "Near "}};
constexpr qmBitText kSSXMasks[] = {{0x80, "Invalid "},   {0x100, "Denormal "},  {0x200, "Zerodivide "},
                                   {0x400, "Overflow "}, {0x800, "Underflow "}, {0x1000, "Inexact "}};
constexpr qmBitText kSSXRounding[] = {{0x6000, "Zero "}, {0x4000, "Up "}, {0x2000, "Down "}, {0x0, "Near "}};
constexpr qmBitText kSSXFlush[] = {{0x8000, "FlushToZero "}, {0x0, "NoFlushToZero "}};

// Texts of all set bits, in table order.
template <size_t N>
qmString setBits(const qmBitText (&table)[N], unsigned word) {
    qmString s;
    for (const qmBitText& row : table)
        if (word & row.bits) s += row.text;
    return s;
}

// The text of the first row whose value equals the word's bits under the mask.
template <size_t N>
const char* valueText(const qmBitText (&table)[N], unsigned word, unsigned mask) {
    for (const qmBitText& row : table)
        if ((word & mask) == row.bits) return row.text;
    return "";
}

qmString statusText(unsigned word) {
    qmString s = setBits(kStatusFlags, word);
    return s.empty() ? qmString("Ok") : s;
}

constexpr const char* kNoSSX = "cpu has not SSX extension";
}  // namespace

qmString ts87Base::strSW(unsigned word) { return statusText(word); }

qmString ts87Base::strCW(unsigned word) {
    return qmString(valueText(k87Rounding, word, 0xC00)) + valueText(k87Precision, word, 0x300) +
           setBits(k87Masks, word);
}

qmString tsSSXBase::strExceptionState(unsigned word) const {
    return m_hasSSX ? statusText(word) : qmString(kNoSSX);
}

qmString tsSSXBase::strCW(unsigned word) const {
    if (!m_hasSSX) return kNoSSX;
    return qmString(valueText(kSSXRounding, word, 0x6000)) + setBits(kSSXMasks, word) +
           valueText(kSSXFlush, word, 0x8000);
}

// ---------------------------------------------------------------- x87 and SSE state

void ts87Base::set(unsigned value, unsigned mask) {
    clear();
    qm_set_cw_fpu(value, mask);
}

void ts87Base::disableInexactException() {
    // The new masks come from the status word, not the control word: kept as it always was.
    set((getSW() & 63) | 32, 63);
}

void ts87Base::setDefault() {
    clear();
    qm_set_cw_fpu(Exception | Precision | Rounding, 0xF3F);
}

void qm87::init() {
    m_control = m_status = 0;
    m_base.setDefault();
}

void qm87::clear() {
    m_control = m_status = 0;
    m_base.clear();
}

void qmSSX::init() {
    m_value = 0;
    m_base.destroy();
    m_base.setDefault();
}

qm87 g_ctrl87;
qmSSX g_ssx;

void ctrlStart() {
    g_ctrl87.start();
    g_ssx.base().destroy();
}

void ctrlStop() {
    g_ctrl87.stop();
    g_ssx.collect();
}

void initCtrlStatus() {
    g_ctrl87.init();
    g_ssx.init();
}

bool badCtrlStatus(bool& x87, bool& sse) {
    x87 = g_ctrl87.badStatus();
    sse = g_ssx.badStatus();
    return x87 || sse;
}

void printCtrlStatus(bool x87, bool sse) {
    g_ostrm.setMsgLevel(MSG_WARN);
    if (x87) g_ostrm << "-- Status    87: " << g_ctrl87.strSW() << "\n";
    if (sse) g_ostrm << "-- Status    SSX: " << g_ssx.strExceptionState() << "\n";
    g_ostrm.restoreMsgLevel();
}

void clearCtrlStatus() {
    g_ctrl87.clear();
    g_ssx.m_value = 0;
    g_ssx.base().destroy();
    g_ssx.base().set(0, 63);  // the six status flags (does nothing without SSE)
}

int checkCtrlStatus(bool& x87Changed, bool& sseChanged) {
    bool x87 = false, sse = false;
    int result = 0;
    if (badCtrlStatus(x87, sse)) {
        x87Changed = x87Changed || x87;
        sseChanged = sseChanged || sse;
        printCtrlStatus(true, true);  // both words, so the line shows what changed and what did not
        result = 3;
    }
    clearCtrlStatus();
    return result;
}
