#include <gtest/gtest.h>

#include "qmfpu.h"
#include "qmsignal.h"
#include "test_console_capture.h"

namespace {
void sseOverflow() {
    volatile float big = 1e38f;
    volatile float r = big * big;
    (void)r;
}
void sseInexact() {
    volatile float one = 1.0f, three = 3.0f;
    volatile float r = one / three;
    (void)r;
}
void x87Overflow() {
    volatile long double big = 1e4000L;
    volatile long double r = big * big;
    (void)r;
}
}  // namespace

class FpuControl : public ::testing::Test {
protected:
    void SetUp() override { initCtrlStatus(); }
    void TearDown() override { initCtrlStatus(); }
};

TEST(FpuTexts, StatusWords) {
    EXPECT_EQ(ts87Base::strSW(0), "Ok");
    EXPECT_EQ(ts87Base::strSW(0x20), "_Inexact ");
    EXPECT_EQ(ts87Base::strSW(0x3F), "?Invalid ?Denormal ?Zerodivide ?Overflow ?Underflow _Inexact ");
    EXPECT_EQ(ts87Base::strSW(0xFFC0), "Ok");  // only the six flag bits count
}

TEST(FpuTexts, X87ControlWord) {
    EXPECT_EQ(ts87Base::strCW(0x37F), "Near 64 Invalid Denormal Zerodivide Overflow Underflow Inexact ");
    EXPECT_EQ(ts87Base::strCW(0x23B), "Near 53 Invalid Denormal Overflow Underflow Inexact ");
    EXPECT_EQ(ts87Base::strCW(0xC00), "Zero 24 ");
    EXPECT_EQ(ts87Base::strCW(0x800 | 0x100), "Up ");  // 0x100 is no precision of the table
}

TEST(FpuTexts, SseControlWord) {
    tsSSXBase& sse = g_ssx.base();
    ASSERT_TRUE(sse.hasSSX());
    EXPECT_EQ(sse.strCW(0x9F80), "Near Invalid Denormal Zerodivide Overflow Underflow Inexact FlushToZero ");
    EXPECT_EQ(sse.strCW(0x6000), "Zero NoFlushToZero ");
    EXPECT_EQ(sse.strCW(0x2000 | 0x400), "Down Overflow NoFlushToZero ");
    EXPECT_EQ(sse.strExceptionState(0x8), "?Overflow ");
}

TEST_F(FpuControl, DefaultsAreSet) {
    EXPECT_EQ(qm_get_cw_fpu() & 0xF3F, 0x23Bu);  // zero-divide left unmasked
    EXPECT_EQ(qm_get_ssx() & 0xFFBF, 0x9F80u);
}

TEST_F(FpuControl, CleanStateReadsOk) {
    ctrlStart();
    ctrlStop();
    EXPECT_EQ(g_ctrl87.strSW(), "Ok");
    EXPECT_EQ(g_ssx.strExceptionState(), "Ok");
    bool x87 = true, sse = true;
    EXPECT_FALSE(badCtrlStatus(x87, sse));
    EXPECT_FALSE(x87);
    EXPECT_FALSE(sse);
}

TEST_F(FpuControl, InexactAloneIsNotBad) {
    ctrlStart();
    sseInexact();
    ctrlStop();
    EXPECT_EQ(g_ssx.strExceptionState(), "_Inexact ");
    bool x87Changed = false, sseChanged = false;
    EXPECT_EQ(checkCtrlStatus(x87Changed, sseChanged), 0);
    EXPECT_FALSE(sseChanged);
}

TEST_F(FpuControl, SseOverflowIsBadAndPrinted) {
    qmConsoleCapture console(ERR | WARN);
    ctrlStart();
    sseOverflow();
    ctrlStop();
    EXPECT_NE(g_ssx.strExceptionState().find("?Overflow "), -1);
    bool x87 = false, sse = false;
    EXPECT_TRUE(badCtrlStatus(x87, sse));
    EXPECT_FALSE(x87);
    EXPECT_TRUE(sse);

    bool x87Changed = false, sseChanged = false;
    EXPECT_EQ(checkCtrlStatus(x87Changed, sseChanged), 3);
    EXPECT_TRUE(sseChanged);
    EXPECT_FALSE(x87Changed);
    EXPECT_EQ(console.text(), "-- Status    87: Ok\n-- Status    SSX: ?Overflow _Inexact \n");
    // checkCtrlStatus cleared the state
    EXPECT_FALSE(badCtrlStatus(x87, sse));
    EXPECT_EQ(g_ssx.strExceptionState(), "Ok");
}

TEST_F(FpuControl, X87OverflowIsSeenByTheX87Watch) {
    ctrlStart();
    x87Overflow();
    ctrlStop();
    EXPECT_NE(g_ctrl87.strSW().find("?Overflow "), -1);
    bool x87 = false, sse = false;
    EXPECT_TRUE(badCtrlStatus(x87, sse));
    EXPECT_TRUE(x87);
    EXPECT_FALSE(sse);
    clearCtrlStatus();
    EXPECT_EQ(g_ctrl87.strSW(), "Ok");
}

TEST_F(FpuControl, PrintsOnlyTheRequestedWords) {
    qmConsoleCapture console(ERR | WARN);
    printCtrlStatus(false, true);
    printCtrlStatus(false, false);
    EXPECT_EQ(console.text(), "-- Status    SSX: Ok\n");
}

TEST_F(FpuControl, X87DivisionByZeroRaisesSignal) {
    volatile bool caught = false;
    {
        qmSignalScope scope;
        if (QM_SIGNAL_CAUGHT()) {
            caught = true;
        } else {
            volatile long double one = 1.0L, zero = 0.0L;
            volatile long double r = one / zero;
            (void)r;
        }
    }
    qm_clear_fpu();
    EXPECT_TRUE(caught);
    EXPECT_EQ(tsSignal::code(), SIGFPE);
}

TEST_F(FpuControl, DisableInexactTakesTheStatusWord) {
    ts87Base& x87 = g_ctrl87.base();
    x87.disableInexactException();  // the status word was just cleared: only inexact stays masked
    EXPECT_EQ(qm_get_cw_fpu() & 63, 32u);
    x87.disableExceptions();
    EXPECT_EQ(qm_get_cw_fpu() & 63, 63u);

    tsSSXBase& sse = g_ssx.base();
    sse.set(0x1F80 & ~0x1000u & ~0x400u, 0x1F80);  // overflow and inexact unmasked
    sse.disableInexactException();
    EXPECT_EQ(qm_get_ssx() & 0x1F80, 0x1F80u & ~0x400u);
    sse.disableExceptions();
    EXPECT_EQ(qm_get_ssx() & 0x1F80, 0x1F80u);
}

TEST_F(FpuControl, ClearKeepsTheControlWords) {
    sseOverflow();
    clearCtrlStatus();
    EXPECT_EQ(qm_get_ssx() & 63, 0u);
    EXPECT_EQ(qm_get_ssx() & 0xFFC0, 0x9F80u);
    EXPECT_EQ(qm_get_cw_fpu() & 0xF3F, 0x23Bu);
}
