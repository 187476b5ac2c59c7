// Fatal-signal capture: a crash inside an armed scope comes back as a caught signal.
#include <gtest/gtest.h>

#include <csignal>
#include <sys/mman.h>
#include <unistd.h>

#include "qmexception.h"
#include "qmsignal.h"

namespace {
// A page that faults on any access: a real storage violation that no sanitizer check intercepts
// (the address is valid for the compiler, only the protection forbids it).
class ForbiddenPage {
public:
    ForbiddenPage() : m_size(static_cast<size_t>(sysconf(_SC_PAGESIZE))) {
        m_page = mmap(nullptr, m_size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    }
    ~ForbiddenPage() {
        if (m_page != MAP_FAILED) munmap(m_page, m_size);
    }
    volatile int* address() const { return static_cast<volatile int*>(m_page); }
    bool valid() const { return m_page != MAP_FAILED; }

private:
    size_t m_size;
    void* m_page;
};

// Raises sig inside a scope; returns the code seen at the jump point, 0 when nothing was caught.
int caughtCode(int sig) {
    volatile int caught = 0;
    {
        qmSignalScope scope;
        if (QM_SIGNAL_CAUGHT())
            caught = tsSignal::code();
        else
            std::raise(sig);
    }
    return caught;
}
}  // namespace

TEST(Signal, RaisedSignalsAreCaughtAndDescribed) {
    EXPECT_EQ(caughtCode(SIGSEGV), SIGSEGV);
    EXPECT_STREQ(tsSignal::getInfo(), "Illegal storage access.");
    EXPECT_EQ(caughtCode(SIGFPE), SIGFPE);
    EXPECT_STREQ(tsSignal::getInfo(), "FP error, such as overflow, division by zero, invalid operation.");
    EXPECT_EQ(caughtCode(SIGILL), SIGILL);
    EXPECT_STREQ(tsSignal::getInfo(), "Illegal instruction.");
    EXPECT_STREQ(tsSignal::getInfo(0), "Unknown exception");
    EXPECT_STREQ(tsSignal::getInfo(SIGABRT), "Unknown exception");
    EXPECT_EQ(tsSignal::m_armed, 0);
}

TEST(Signal, RealStorageViolationIsCaught) {
    ForbiddenPage page;
    ASSERT_TRUE(page.valid());
    volatile bool caught = false;
    {
        qmSignalScope scope;
        if (QM_SIGNAL_CAUGHT()) {
            caught = true;
        } else {
            *page.address() = 1;
            ADD_FAILURE() << "the write to a forbidden page went through";
        }
    }
    EXPECT_TRUE(caught);
    EXPECT_EQ(tsSignal::code(), SIGSEGV);
    const qmException e(tsSignal::getInfo());
    EXPECT_STREQ(e.msg(), "--ZKR. Signal: Illegal storage access.");
    EXPECT_STREQ(e.info(), "Illegal storage access.");
    // The handler stays in place: a second fault is caught the same way.
    EXPECT_EQ(caughtCode(SIGSEGV), SIGSEGV);
}

TEST(Signal, NestedScopeRestoresTheOuterJumpPoint) {
    volatile int innerCatches = 0, outerCatches = 0;
    {
        qmSignalScope outer;
        if (QM_SIGNAL_CAUGHT()) {
            outerCatches = outerCatches + 1;
        } else {
            {
                qmSignalScope inner;
                if (QM_SIGNAL_CAUGHT())
                    innerCatches = innerCatches + 1;
                else
                    std::raise(SIGSEGV);
                EXPECT_EQ(tsSignal::m_armed, 2);
            }
            EXPECT_EQ(tsSignal::m_armed, 1);
            // The inner scope is gone: this one must land at the outer jump point.
            std::raise(SIGFPE);
            ADD_FAILURE() << "the signal did not return to the outer scope";
        }
    }
    EXPECT_EQ(innerCatches, 1);
    EXPECT_EQ(outerCatches, 1);
    EXPECT_EQ(tsSignal::code(), SIGFPE);
    EXPECT_EQ(tsSignal::m_armed, 0);
}

TEST(Signal, ExceptionTexts) {
    const qmException fromText(qmString("bad range 5..1"));
    EXPECT_STREQ(fromText.msg(), "--ZKR. Exception: bad range 5..1");
    EXPECT_STREQ(fromText.info(), "bad range 5..1");
    EXPECT_STREQ(fromText.what(), fromText.msg());
    // The fixed buffers cut long texts instead of overrunning.
    const qmException longOne(qmString(std::string(600, 'x')));
    EXPECT_EQ(std::string(longOne.info()).size(), 255u);
    EXPECT_EQ(std::string(longOne.msg()).size(), 255u);
}
