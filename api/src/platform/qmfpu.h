// Floating-point control checks: a known x87 control word and SSE control/status register (SSX),
// status flags cleared before each timed span and collected after it, so that a measured function
// that raises an exception flag (other than inexact) or changes the control state is noticed.
#pragma once
#include "qmstring.h"

// Bare processor operations on the calling thread's floating-point state.
unsigned qm_get_cw_fpu();
unsigned qm_get_sw_fpu();
void qm_set_cw_fpu(unsigned value, unsigned mask);
unsigned qm_clear_fpu();  // returns the status word, then clears the x87 exception flags
unsigned qm_get_ssx();
void qm_set_ssx(unsigned value, unsigned mask);
void qm_destroy_ssx();     // all sixteen SSE registers to all-ones (NaN patterns)
bool zkr_is_ssx_extension();

class ts87Base {
public:
    static constexpr unsigned Precision = 0x200;  // 53-bit
    static constexpr unsigned Rounding = 0;       // to nearest
    // Every exception masked but zero-divide: an x87 division by zero in a measured function
    // raises SIGFPE, which the test run reports as an exception.
    static constexpr unsigned Exception = 0x3B;

    ts87Base() { setDefault(); }
    unsigned getCW() const { return qm_get_cw_fpu(); }
    unsigned getSW() const { return qm_get_sw_fpu(); }
    void set(unsigned value, unsigned mask);
    unsigned clear() { return qm_clear_fpu(); }
    void enableExceptions() { set(0, 63); }
    void disableExceptions() { set(63, 63); }
    void disableInexactException();
    void setDefault();
    static qmString strSW(unsigned word);
    static qmString strCW(unsigned word);
};

class tsSSXBase {
public:
    static constexpr unsigned Rounding = 0;
    static constexpr unsigned FlushZero = 0x8000;
    static constexpr unsigned Exception = 0x1F80;  // all six masked

    tsSSXBase() : m_hasSSX(zkr_is_ssx_extension()) { setDefault(); }
    bool hasSSX() const { return m_hasSSX; }
    unsigned get() const { return m_hasSSX ? qm_get_ssx() : 0; }
    void set(unsigned value, unsigned mask) {
        if (m_hasSSX) qm_set_ssx(value, mask);
    }
    void enableExceptions() { set(0, 0x1F80); }
    void disableExceptions() { set(0x1F80, 0x1F80); }
    void disableInexactException() { set((get() & 0x1F80) | 0x1000, 0x1F80); }
    // Everything but denormals-are-zero, so the status flags are cleared as well.
    void setDefault() { set(Rounding | Exception | FlushZero, 0xFFBF); }
    void destroy() {
        if (m_hasSSX) qm_destroy_ssx();
    }
    qmString strExceptionState(unsigned word) const;
    qmString strCW(unsigned word) const;

private:
    bool m_hasSSX;
};

// The x87 state with the words accumulated over the timed spans since the last clear.
class qm87 {
public:
    void init();
    void clear();
    void start() { m_base.clear(); }
    void stop() {
        m_status |= m_base.getSW();
        m_control |= m_base.getCW();
    }
    qmString strSW() const { return ts87Base::strSW(m_status); }
    qmString strCW() const { return ts87Base::strCW(m_control); }
    bool badStatus() const { return strSW().contains("?"); }
    ts87Base& base() { return m_base; }
    unsigned m_control = 0;
    unsigned m_status = 0;

private:
    ts87Base m_base;
};

// The SSE state with the register value accumulated over the timed spans since the last clear.
class qmSSX {
public:
    void init();
    void collect() { m_value |= m_base.get(); }
    qmString strExceptionState() const { return m_base.strExceptionState(m_value); }
    qmString strCW() const { return m_base.strCW(m_value); }
    bool badStatus() const { return strExceptionState().contains("?"); }
    tsSSXBase& base() { return m_base; }
    unsigned m_value = 0;

private:
    tsSSXBase m_base;
};

extern qm87 g_ctrl87;
extern qmSSX g_ssx;

// Around the timed calls (the timing engine).
void ctrlStart();
void ctrlStop();
// After each parameter line (the test).
void initCtrlStatus();
bool badCtrlStatus(bool& x87, bool& sse);
void printCtrlStatus(bool x87, bool sse);
void clearCtrlStatus();
// 3 (the changed flags set, both status words printed) when the state is bad, else 0; clears it.
int checkCtrlStatus(bool& x87Changed, bool& sseChanged);
