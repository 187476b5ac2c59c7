#include "qmcoreclock.h"

#include <immintrin.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "qmclock.h"

double qmCoreClock::ticksPerCycle() {
    uint64_t best = UINT64_MAX;
    for (int i = 0; i < m_runs; ++i) {
        const uint64_t t0 = m_counter();
        m_chain(m_steps);
        best = std::min(best, m_counter() - t0);
    }
    return static_cast<double>(best) / (static_cast<double>(m_steps) * kCyclesPerStep);
}

qmCoreClock::Reading qmCoreClock::read() {
    Reading r;
    r.at = m_counter();
    r.perCycle = ticksPerCycle();
    if (!m_stream || r.perCycle <= 0) return r;
    uint64_t best = UINT64_MAX;
    for (int i = 0; i < m_runs; ++i) {
        const uint64_t t0 = m_counter();
        m_stream();
        best = std::min(best, m_counter() - t0);
    }
    const double cycles = static_cast<double>(best) / r.perCycle;
    if (m_streamBest <= 0 || cycles < m_streamBest) m_streamBest = cycles;
    r.contention = cycles / m_streamBest;
    return r;
}

double qmCoreClock::doubt(const Reading& before, const Reading& after) const {
    double d = disagreement(before.perCycle, after.perCycle);
    if (d <= m_settings.agreement) d = 0;
    const double c = std::max(before.contention, after.contention) - 1.0;
    if (c > m_settings.contention) d = std::max(d, c);
    return d;
}

double qmCoreClock::disagreement(double before, double after) {
    const double low = std::min(before, after);
    return low > 0 ? std::fabs(after - before) / low : 0.0;
}

bool qmCoreClock::retry(const Reading& before, const Reading& after) {
    if (doubt(before, after) <= 0) return false;
    if (static_cast<double>(m_spent) >= m_settings.waitMs * m_ticksPerMs) return false;
    m_spent += m_counter() - before.at;
    return true;
}

double qmCoreClock::toCycles(uint64_t ticks, const Reading& before, const Reading& after) {
    m_kept = std::max(m_kept, doubt(before, after));
    const double perCycle = 0.5 * (before.perCycle + after.perCycle);
    return perCycle > 0 ? static_cast<double>(ticks) / perCycle : static_cast<double>(ticks);
}

namespace {
// Dependent steps of a 64-bit multiplication and an addition, written out so that no compiler
// can change their cost: 3 + 1 cycles a step; the loop's own counter runs beside them.
void multiplyAddChain(int steps) {
    uint64_t x = 1;
    const uint64_t a = 6364136223846793005ull, b = 1442695040888963407ull;
    if (steps <= 0) return;
    __asm__ __volatile__(
        "1:\n\t"
        "imulq %[a], %[x]\n\t"
        "addq %[b], %[x]\n\t"
        "decl %[n]\n\t"
        "jnz 1b"
        : [x] "+r"(x), [n] "+r"(steps)
        : [a] "r"(a), [b] "r"(b)
        : "cc");
}

// The stream: saturating byte additions over three rows of 2 KiB, sixteen passes, with the
// widest vectors the processor has (the library's kernels use them too: another thread on the
// same core slows 64-byte loads and stores by half). The rows stay in L1 between readings.
alignas(64) uint8_t s_rowA[2048];
alignas(64) uint8_t s_rowB[2048];
alignas(64) uint8_t s_rowD[2048];

[[gnu::noinline]] void streamSse2() {
    for (int pass = 0; pass < 16; ++pass) {
        for (int i = 0; i < 2048; i += 16) {
            const __m128i a = _mm_load_si128(reinterpret_cast<const __m128i*>(s_rowA + i));
            const __m128i b = _mm_load_si128(reinterpret_cast<const __m128i*>(s_rowB + i));
            _mm_store_si128(reinterpret_cast<__m128i*>(s_rowD + i), _mm_adds_epu8(a, b));
        }
        __asm__ __volatile__("" ::: "memory");  // every pass is done, not folded into one
    }
}

[[gnu::noinline, gnu::target("avx2")]] void streamAvx2() {
    for (int pass = 0; pass < 16; ++pass) {
        for (int i = 0; i < 2048; i += 32) {
            const __m256i a = _mm256_load_si256(reinterpret_cast<const __m256i*>(s_rowA + i));
            const __m256i b = _mm256_load_si256(reinterpret_cast<const __m256i*>(s_rowB + i));
            _mm256_store_si256(reinterpret_cast<__m256i*>(s_rowD + i), _mm256_adds_epu8(a, b));
        }
        __asm__ __volatile__("" ::: "memory");
    }
}

[[gnu::noinline, gnu::target("avx512f,avx512bw")]] void streamAvx512() {
    for (int pass = 0; pass < 16; ++pass) {
        for (int i = 0; i < 2048; i += 64) {
            const __m512i a = _mm512_load_si512(s_rowA + i);
            const __m512i b = _mm512_load_si512(s_rowB + i);
            _mm512_store_si512(s_rowD + i, _mm512_adds_epu8(a, b));
        }
        __asm__ __volatile__("" ::: "memory");
    }
}

qmCoreClock::Stream widestStream() {
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512bw")) return &streamAvx512;
    if (__builtin_cpu_supports("avx2")) return &streamAvx2;
    return &streamSse2;
}
}  // namespace

qmCoreClock& qmMachineClock() {
    static qmCoreClock s_clock = [] {
        qmCoreClock c([] { return zkr_get_cycle_counter(); }, &multiplyAddChain, 1024, widestStream(), 3);
        const char* on = std::getenv("QM_STABLE");
        c.setEnabled(on && std::strcmp(on, "1") == 0);
        return c;
    }();
    return s_clock;
}
