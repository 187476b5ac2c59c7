// FftPlan of the library's runtime against the direct sum of the DFT's
// definition, computed in long double: every kind of length (powers of two,
// mixed radices, primes above the direct radices), one sequence, interleaved
// data and blocks of columns, both precisions, every instruction-set level.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <stdexcept>
#include <vector>

#include "fft_core.h"
#include "test_support.h"

namespace {

using zkrtest::forEachLevel;

// The direct DFT of x (forward: exp(-2 pi i jk/n); inverse: +), angles reduced exactly.
std::vector<std::complex<long double>> directDft(const std::vector<std::complex<long double>>& x, bool inverse) {
    const long n = long(x.size());
    std::vector<std::complex<long double>> root(x.size()), y(x.size());
    for (long j = 0; j < n; ++j)
        root[std::size_t(j)] = std::polar(1.0L, (inverse ? 2 : -2) * std::numbers::pi_v<long double> * j / n);
    for (long k = 0; k < n; ++k) {
        std::complex<long double> acc = 0;
        for (long j = 0; j < n; ++j) acc += x[std::size_t(j)] * root[std::size_t((j * k) % n)];
        y[std::size_t(k)] = acc;
    }
    return y;
}

// Largest error relative to the input's size: |y - ref| / (sqrt(n) * max|x|).
template <class T> struct Tol;
template <> struct Tol<float> { static constexpr double v = 4e-6; };
template <> struct Tol<double> { static constexpr double v = 1e-14; };

template <class T> void checkLengths(const std::vector<int>& lengths) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    for (int n : lengths) {
        SCOPED_TRACE("n = " + std::to_string(n));
        const zkr::FftPlan<T> plan(n);
        EXPECT_EQ(plan.size(), n);
        const auto un = static_cast<std::size_t>(n);
        std::vector<std::complex<long double>> x(un);
        for (auto& v : x) v = {u(rng), u(rng)};
        const double scale = std::sqrt(double(n)) * std::sqrt(2.0);
        for (bool inverse : {false, true}) {
            const auto ref = directDft(x, inverse);
            forEachLevel([&](const zkrtest::Level&) {
                std::vector<T> work(plan.workSize());
                // split planes, in place
                std::vector<T> re(un), im(un);
                for (int j = 0; j < n; ++j) re[std::size_t(j)] = T(x[std::size_t(j)].real()), im[std::size_t(j)] = T(x[std::size_t(j)].imag());
                inverse ? plan.inverse(re.data(), im.data(), work.data()) : plan.forward(re.data(), im.data(), work.data());
                // interleaved
                std::vector<std::complex<T>> c(un);
                for (int j = 0; j < n; ++j) c[std::size_t(j)] = {T(x[std::size_t(j)].real()), T(x[std::size_t(j)].imag())};
                inverse ? plan.inverse(c.data(), work.data()) : plan.forward(c.data(), work.data());
                double worst = 0;
                for (int k = 0; k < n; ++k) {
                    const auto r = ref[std::size_t(k)];
                    worst = std::max(worst, double(std::abs(std::complex<long double>(re[std::size_t(k)], im[std::size_t(k)]) - r)));
                    worst = std::max(worst, double(std::abs(std::complex<long double>(c[std::size_t(k)].real(), c[std::size_t(k)].imag()) - r)));
                }
                EXPECT_LE(worst / scale, Tol<T>::v) << (inverse ? "inverse" : "forward");
            });
        }
    }
}

TEST(FftCore, OneSequenceMatchesTheDirectSumFloat) {
    // 1, powers of two (radix 4 and a last radix 2), mixed radices up to 13, and
    // lengths with a prime factor above 13 (17, 2 x 53, 1009) through the chirp.
    checkLengths<float>({1, 2, 3, 4, 5, 7, 8, 11, 12, 13, 16, 17, 30, 32, 45, 64, 106, 128, 169, 210, 512, 1000, 1009});
}

TEST(FftCore, OneSequenceMatchesTheDirectSumDouble) { checkLengths<double>({1, 2, 6, 9, 17, 64, 97, 143, 256, 331}); }

TEST(FftCore, ColumnsOfABlockMatchTheDirectSumAndLeaveTheGapAlone) {
    // Column counts below, at and above the gathered block's width; rows longer
    // than the columns (a gap that must stay as it was).
    struct Case { int n, cols; };
    const Case cases[] = {{8, 1}, {12, 5}, {17, 70}, {64, 130}, {7, 9}, {1024, 3}};
    std::mt19937 rng(11);
    std::uniform_real_distribution<float> u(-1.0f, 1.0f);
    for (const Case& cs : cases) {
        SCOPED_TRACE("n = " + std::to_string(cs.n) + ", cols = " + std::to_string(cs.cols));
        const zkr::FftPlan<float> plan(cs.n);
        const std::ptrdiff_t stride = cs.cols + 3;
        std::vector<float> re0(std::size_t(stride * cs.n)), im0(re0.size());
        for (auto& v : re0) v = u(rng);
        for (auto& v : im0) v = u(rng);
        for (bool inverse : {false, true}) {
            std::vector<std::vector<std::complex<long double>>> refs;
            for (int c = 0; c < cs.cols; c += (cs.cols > 10 ? 17 : 1)) {
                std::vector<std::complex<long double>> x(static_cast<std::size_t>(cs.n));
                for (int j = 0; j < cs.n; ++j) x[std::size_t(j)] = {re0[std::size_t(j * stride + c)], im0[std::size_t(j * stride + c)]};
                refs.push_back(directDft(x, inverse));
            }
            forEachLevel([&](const zkrtest::Level&) {
                std::vector<float> re = re0, im = im0, work(plan.workSize(cs.cols));
                inverse ? plan.inverseColumns(re.data(), im.data(), stride, cs.cols, work.data())
                        : plan.forwardColumns(re.data(), im.data(), stride, cs.cols, work.data());
                for (int c = 0, i = 0; c < cs.cols; c += (cs.cols > 10 ? 17 : 1), ++i) {
                    double worst = 0;
                    for (int k = 0; k < cs.n; ++k)
                        worst = std::max(worst, double(std::abs(std::complex<long double>(re[std::size_t(k * stride + c)], im[std::size_t(k * stride + c)]) - refs[std::size_t(i)][std::size_t(k)])));
                    EXPECT_LE(worst / std::sqrt(2.0 * cs.n), 4e-6) << "column " << c;
                }
                for (int j = 0; j < cs.n; ++j)
                    for (std::ptrdiff_t g = cs.cols; g < stride; ++g) {
                        ASSERT_EQ(re[std::size_t(j * stride + g)], re0[std::size_t(j * stride + g)]);
                        ASSERT_EQ(im[std::size_t(j * stride + g)], im0[std::size_t(j * stride + g)]);
                    }
            });
        }
    }
}

TEST(FftCore, RefusesLengthsOutOfRange) {
    EXPECT_THROW(zkr::FftPlan<float>(0), std::invalid_argument);
    EXPECT_THROW(zkr::FftPlan<double>(-4), std::invalid_argument);
    EXPECT_THROW(zkr::FftPlan<float>((1 << 26) + 1), std::invalid_argument);
    EXPECT_FALSE(zkr::FftPlan<float>(1024).usesChirp());
    EXPECT_TRUE(zkr::FftPlan<float>(1031).usesChirp());
}

}  // namespace
