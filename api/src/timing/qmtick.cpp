#include "qmtick.h"

#include <cstdlib>
#include <cstring>
#include "qmclock.h"

bool qmTickAlign::before(uint64_t expected) {
    if (!m_enabled || m_misses >= kMaxMisses) return false;
    if (m_lastTick != 0 && expected != 0 && expected < m_window) {
        const uint64_t since = m_counter() - m_lastTick;
        if (since < m_window - expected) return true;
    }
    return wait();
}

bool qmTickAlign::wait() {
    if (!m_enabled || m_misses >= kMaxMisses) return false;
    const uint64_t start = m_counter();
    uint64_t prev = start;
    for (;;) {
        const uint64_t now = m_counter();
        if (now - prev > m_jump) {
            m_lastTick = now;
            m_misses = 0;
            return true;
        }
        if (now - start > m_timeout) {
            ++m_misses;
            m_lastTick = 0;
            return false;
        }
        prev = now;
    }
}

qmTickAlign& qmSpanAlign() {
    static qmTickAlign s_align = [] {
        qmTickAlign a([] { return zkr_get_cycle_counter(); }, 2000, 20000000, 400000);
        const char* v = std::getenv("QM_TICK_ALIGN");
        if (v && std::strcmp(v, "0") == 0) a.setEnabled(false);
        return a;
    }();
    return s_align;
}
