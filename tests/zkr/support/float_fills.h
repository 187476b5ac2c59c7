// Hostile float data for the floating-point families' tests, and the floating-point status flags
// a call raises on the calling thread.
//
// The fills mix what a careful user may feed a float image: NaN (quiet, of either sign), both
// infinities, both zeros, denormals, the float extremes, and values of every magnitude from 1e-30
// to 1e30 with alternating signs. A family's test fills its sources with them and checks its
// reference model (computed without the kernel's algorithm) and the flags its page allows.
#pragma once

#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <algorithm>
#include <cfenv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace zkrtest::floats {

inline float fromBits(std::uint32_t b) {
    float f;
    std::memcpy(&f, &b, sizeof f);
    return f;
}
inline std::uint32_t bitsOf(float f) {
    std::uint32_t b;
    std::memcpy(&b, &f, sizeof b);
    return b;
}

inline constexpr float kInf = std::numeric_limits<float>::infinity();

// The special values, each at least once in every hostile fill of 40 or more values.
inline const std::vector<float>& specials() {
    static const std::vector<float> v = {
        std::numeric_limits<float>::quiet_NaN(),  // positive quiet NaN
        fromBits(0xffc00000u),                    // the processor's default NaN (sign set)
        fromBits(0x7fc01234u),                    // a NaN with a payload
        kInf,
        -kInf,
        0.0f,
        -0.0f,
        std::numeric_limits<float>::denorm_min(),
        -std::numeric_limits<float>::denorm_min(),
        fromBits(0x007fffffu),  // the largest denormal
        -1.0e-40f,
        std::numeric_limits<float>::min(),  // the smallest normal
        std::numeric_limits<float>::max(),
        -std::numeric_limits<float>::max(),
        1.0e-30f,
        -1.0e30f,
        1.0e30f,
        1.0f,
        -1.0f,
    };
    return v;
}

inline bool isSpecial(float x) {
    return !std::isfinite(x) || x == 0.0f || std::fabs(x) < std::numeric_limits<float>::min();
}

// A value of magnitude 10^e, e uniform in [lo, hi], sign from `negative`.
inline float wideValue(std::mt19937& rng, bool negative, float lo = -30.0f, float hi = 30.0f) {
    const float e = std::uniform_real_distribution<float>(lo, hi)(rng);
    const float m = std::pow(10.0f, e);
    return negative ? -m : m;
}

// Every special value (in random order and places) among values from 1e-30 to 1e30 of alternating
// signs; `specialShare` of the rest are specials again.
inline void fillHostile(float* v, std::size_t n, std::mt19937& rng, double specialShare = 0.1) {
    const std::vector<float>& sp = specials();
    std::bernoulli_distribution special(specialShare);
    std::uniform_int_distribution<std::size_t> pick(0, sp.size() - 1);
    for (std::size_t i = 0; i < n; ++i) v[i] = special(rng) ? sp[pick(rng)] : wideValue(rng, i % 2 == 1);
    if (n < sp.size()) return;
    std::vector<std::size_t> places(n);
    for (std::size_t i = 0; i < n; ++i) places[i] = i;
    std::shuffle(places.begin(), places.end(), rng);
    for (std::size_t k = 0; k < sp.size(); ++k) v[places[k]] = sp[k];
}
inline void fillHostile(std::vector<float>& v, std::mt19937& rng, double specialShare = 0.1) {
    fillHostile(v.data(), v.size(), rng, specialShare);
}

// Finite values only, across the whole wide range (no specials): for reference models that have
// no defined answer for NaN or infinities in a given role.
inline void fillWide(std::vector<float>& v, std::mt19937& rng) {
    for (std::size_t i = 0; i < v.size(); ++i) v[i] = wideValue(rng, i % 2 == 1);
}

// Distance in representable floats (both finite), 0 for equal values including +0 / -0.
inline std::int64_t ulpDistance(float a, float b) {
    auto key = [](float f) {
        const std::int64_t s = std::int32_t(bitsOf(f));
        return s < 0 ? std::int64_t(INT32_MIN) - s : s;
    };
    const std::int64_t d = key(a) - key(b);
    return d < 0 ? -d : d;
}

// ---- floating-point status flags --------------------------------------------------------------

// The SSE status flags (MXCSR bits 0..5: invalid, denormal operand, divide by zero, overflow,
// underflow, inexact). The library works in SSE registers only.
enum Flag : unsigned { kInvalid = 0x1, kDenormal = 0x2, kZeroDivide = 0x4, kOverflow = 0x8, kUnderflow = 0x10,
                       kInexact = 0x20 };

inline void clearFlags() { _mm_setcsr(_mm_getcsr() & ~0x3fu); }
inline unsigned readFlags() { return _mm_getcsr() & 0x3fu; }

inline std::string flagNames(unsigned f) {
    static const char* const names[] = {"invalid", "denormal", "zero-divide", "overflow", "underflow", "inexact"};
    std::string s;
    for (int i = 0; i < 6; ++i)
        if (f & (1u << i)) s += (s.empty() ? "" : " ") + std::string(names[i]);
    return s.empty() ? "none" : s;
}

// The flags the C library's function raises for x (C99 has no denormal-operand flag).
template <class F> unsigned c99Flags(F f, float x) {
    std::feclearexcept(FE_ALL_EXCEPT);
    clearFlags();
    volatile float in = x;
    volatile float out = f(in);
    (void)out;
    unsigned r = 0;
    if (std::fetestexcept(FE_INVALID)) r |= kInvalid;
    if (std::fetestexcept(FE_DIVBYZERO)) r |= kZeroDivide;
    if (std::fetestexcept(FE_OVERFLOW)) r |= kOverflow;
    if (std::fetestexcept(FE_UNDERFLOW)) r |= kUnderflow;
    if (std::fetestexcept(FE_INEXACT)) r |= kInexact;
    std::feclearexcept(FE_ALL_EXCEPT);
    return r;
}

// The flags body() raises on this thread.
template <class Body> unsigned flagsOf(Body body) {
    clearFlags();
    body();
    const unsigned f = readFlags();
    clearFlags();
    return f;
}

// ---- element-wise calls ---------------------------------------------------------------------------

// For a call of the element-wise harness (a Call with optional sources src1 / src2, a destination
// plane, args(sf), expected(before, y, i, sf) and expectedStatus(before)): fills the float operands
// (sources, and the destination, which in-place forms read) with the hostile fills, runs the
// function and checks every component against the model: NaN where the model gives NaN (any NaN),
// the model's bits elsewhere, the sources untouched. Then checks that the call raised no flag the
// model's own scalar evaluation of the same components did not raise (inexact, and the flags the
// family's page names in `alsoAllowed`, aside): the kernels may not add a flag to what the
// operation itself raises in C.
template <class CallT>
void checkHostileElementwise(CallT& call, std::mt19937& rng, unsigned alsoAllowed = 0, double specialShare = 0.1) {
    if (call.src1) fillHostile(call.src1->data, rng, specialShare);
    if (call.src2) fillHostile(call.src2->data, rng, specialShare);
    fillHostile(call.dst.data, rng, specialShare);
    const auto before = call.dst;
    const std::vector<float> s1 = call.src1 ? call.src1->data : std::vector<float>{};
    const std::vector<float> s2 = call.src2 ? call.src2->data : std::vector<float>{};
    const auto args = call.args(0);
    const auto status = call.expectedStatus(before);
    decltype(call.fc->call(args)) got = status;
    const unsigned raised = flagsOf([&] { got = call.fc->call(args); });
    ASSERT_EQ(got, status);
    std::vector<float> want(std::size_t(before.height) * std::size_t(before.rowComps()));
    const unsigned modelFlags = flagsOf([&] {
        for (int y = 0; y < before.height; ++y)
            for (int i = 0; i < before.rowComps(); ++i)
                want[std::size_t(y) * std::size_t(before.rowComps()) + std::size_t(i)] = call.expected(before, y, i, 0);
    });
    for (int y = 0; y < before.height; ++y)
        for (int i = 0; i < before.rowComps(); ++i) {
            const float w = want[std::size_t(y) * std::size_t(before.rowComps()) + std::size_t(i)];
            const float g = call.dst.at(y, i);
            const bool ok = std::isnan(w) ? std::isnan(g) : bitsOf(g) == bitsOf(w);
            ASSERT_TRUE(ok) << "row " << y << " component " << i << ": got " << g << ", want " << w << " (inputs "
                            << (call.src1 ? call.src1->at(y, i) : before.at(y, i)) << ", "
                            << (call.src2 ? call.src2->at(y, i) : before.at(y, i)) << ")";
        }
    auto same = [](const std::vector<float>& a, const std::vector<float>& b) {
        return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
    };
    EXPECT_TRUE(!call.src1 || same(call.src1->data, s1)) << "source 1 modified";
    EXPECT_TRUE(!call.src2 || same(call.src2->data, s2)) << "source 2 modified";
    EXPECT_EQ(raised & ~(modelFlags | kInexact | alsoAllowed), 0u)
        << "the call raised " << flagNames(raised) << ", the operation itself " << flagNames(modelFlags);
}

}  // namespace zkrtest::floats
