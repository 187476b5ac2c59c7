// FftPlan: the plan (factors, twiddles, chirps) and the per-level butterflies.
#include "fft_core.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <numbers>
#include <stdexcept>
#include <utility>

#include "levels.h"

namespace zkr {
namespace fftcore {

// What one level provides for one element type.
template <class T> struct LevelOps {
    void (*block)(const typename FftPlan<T>::Data& d, T* re, T* im, T* work, int s0);
    void (*columns)(const typename FftPlan<T>::Data& d, T* re, T* im, std::ptrdiff_t rowStride, int c0, int bw,
                    T* work);
    void (*split)(const std::complex<T>* c, int n, T* re, T* im);
    void (*join)(const T* re, const T* im, int n, std::complex<T>* c);
};

namespace base {
#include "fft_core_level.inc"
}  // namespace base

#pragma GCC push_options
#pragma GCC target("avx2,fma")
namespace avx2 {
#include "fft_core_level.inc"
}  // namespace avx2
#pragma GCC pop_options

#pragma GCC push_options
#pragma GCC target("avx512f,avx512bw,avx512vl,avx512dq,prefer-vector-width=512")
namespace avx512 {
#include "fft_core_level.inc"
}  // namespace avx512
#pragma GCC pop_options

template <class T> const LevelOps<T>& levelOps() {
    return forLevel(base::ops<T>, avx2::ops<T>, avx512::ops<T>);
}

namespace {

constexpr int kMaxLength = 1 << 26;

// Twiddles exp(-2 pi i u p / (r m)) of one stage, u = 1 .. r-1, p < m, appended u-major.
template <class T> void appendTwiddles(int r, int m, std::vector<T>& re, std::vector<T>& im) {
    const double len = double(r) * m;
    for (int u = 1; u < r; ++u)
        for (int p = 0; p < m; ++p) {
            // u * p < r * m: reduce exactly before the angle, as an integer
            const double a = -2.0 * std::numbers::pi * double(std::int64_t(u) * p) / len;
            re.push_back(T(std::cos(a)));
            im.push_back(T(std::sin(a)));
        }
}

// Factors n into the radices of the direct transform (4, 2, then the odd
// primes in increasing order); false when a prime factor is too large.
bool factor(int n, int maxRadix, std::vector<int>& radices) {
    radices.clear();
    while (n % 4 == 0) {
        radices.push_back(4);
        n /= 4;
    }
    if (n % 2 == 0) {
        radices.push_back(2);
        n /= 2;
    }
    for (int p = 3; n > 1; p += 2) {
        if (p > maxRadix) return false;
        while (n % p == 0) {
            radices.push_back(p);
            n /= p;
        }
    }
    return true;
}

template <class T> void makeStages(int n, const std::vector<int>& radices, typename FftPlan<T>::Data& d) {
    d.n = n;
    d.stages.clear();
    d.twRe.clear();
    d.twIm.clear();
    int len = n, stride = 1;
    for (int r : radices) {
        const int m = len / r;
        d.stages.push_back({r, m, stride, d.twRe.size()});
        appendTwiddles<T>(r, m, d.twRe, d.twIm);
        len = m;
        stride *= r;
    }
}

}  // namespace

}  // namespace fftcore

template <class T> FftPlan<T>::FftPlan(int n) {
    if (n < 1 || n > fftcore::kMaxLength) throw std::invalid_argument("FftPlan: length out of range");
    n_ = n;
    std::vector<int> radices;
    if (fftcore::factor(n, kMaxDirectRadix, radices)) {
        fftcore::makeStages<T>(n, radices, data_);
        return;
    }
    // Bluestein: X[k] = c[k] sum_j (x[j] c[j]) conj(c[k - j]), c[j] = exp(-pi i j^2 / n),
    // the convolution done circularly on a power-of-two length m >= 2n - 1.
    chirp_ = true;
    int m = 1;
    while (m < 2 * n - 1) m *= 2;
    data_.n = n;
    data_.chirp = true;
    data_.m = m;
    data_.cRe.resize(std::size_t(n));
    data_.cIm.resize(std::size_t(n));
    std::vector<double> cr(static_cast<std::size_t>(n)), ci(static_cast<std::size_t>(n));
    const std::int64_t twoN = 2 * std::int64_t(n);
    for (int j = 0; j < n; ++j) {
        // j^2 mod 2n keeps the angle exact for large j
        const std::int64_t k = (std::int64_t(j) * j) % twoN;
        const double a = -std::numbers::pi * double(k) / double(n);
        cr[std::size_t(j)] = std::cos(a);
        ci[std::size_t(j)] = std::sin(a);
        data_.cRe[std::size_t(j)] = T(cr[std::size_t(j)]);
        data_.cIm[std::size_t(j)] = T(ci[std::size_t(j)]);
    }
    // The spectrum of b[k] = conj(c[k]) for k < n, b[m - k] = conj(c[k]) for
    // 0 < k < n, zero elsewhere, computed in double precision and divided by m
    // (the normalisation of the inverse transform of the convolution).
    std::vector<double> br(std::size_t(m), 0.0), bi(std::size_t(m), 0.0);
    for (int k = 0; k < n; ++k) {
        br[std::size_t(k)] = cr[std::size_t(k)];
        bi[std::size_t(k)] = -ci[std::size_t(k)];
        if (k > 0) {
            br[std::size_t(m - k)] = cr[std::size_t(k)];
            bi[std::size_t(m - k)] = -ci[std::size_t(k)];
        }
    }
    FftPlan<double>::Data sub;
    fftcore::factor(m, kMaxDirectRadix, radices);
    fftcore::makeStages<double>(m, radices, sub);
    std::vector<double> work(2 * std::size_t(m));
    fftcore::base::block<double>(sub, br.data(), bi.data(), work.data(), 1);
    data_.bRe.resize(std::size_t(m));
    data_.bIm.resize(std::size_t(m));
    for (int k = 0; k < m; ++k) {
        data_.bRe[std::size_t(k)] = T(br[std::size_t(k)] / m);
        data_.bIm[std::size_t(k)] = T(bi[std::size_t(k)] / m);
    }
    data_.sub.resize(1);
    fftcore::makeStages<T>(m, radices, data_.sub.front());
}

// Columns transformed per gathered block: enough to fill vector lanes and
// keep the block (two planes, twice) within a few hundred kilobytes.
template <class T> int FftPlan<T>::chunkFor(int cols) const {
    const std::size_t len = std::size_t(chirp_ ? data_.m : n_);
    const std::size_t fit = (256 * 1024) / (4 * sizeof(T) * len);
    const int bw = int(std::clamp<std::size_t>(fit, 8, 64));
    return std::max(1, std::min(cols, bw));
}

template <class T> std::size_t FftPlan<T>::workSize(int cols) const {
    if (n_ == 0) return 0;
    const std::size_t bw = std::size_t(chunkFor(std::max(cols, 1)));
    const std::size_t inner = chirp_ ? 4 * std::size_t(data_.m) * bw : 2 * std::size_t(n_) * bw;
    return 2 * std::size_t(n_) * bw + inner;
}

template <class T> void FftPlan<T>::run(T* re, T* im, T* work) const {
    if (n_ <= 1) return;
    fftcore::levelOps<T>().block(data_, re, im, work, 1);
}

template <class T> void FftPlan<T>::runInterleaved(std::complex<T>* data, bool inverse, T* work) const {
    if (n_ <= 1) return;
    const auto& ops = fftcore::levelOps<T>();
    T* re = work;
    T* im = work + n_;
    ops.split(data, n_, re, im);
    if (inverse) std::swap(re, im);
    ops.block(data_, re, im, work + 2 * std::size_t(n_), 1);
    if (inverse) std::swap(re, im);
    ops.join(re, im, n_, data);
}

template <class T>
void FftPlan<T>::runColumns(T* re, T* im, std::ptrdiff_t rowStride, int cols, T* work) const {
    if (n_ <= 1 || cols <= 0) return;
    const auto& ops = fftcore::levelOps<T>();
    const int bw = chunkFor(cols);
    for (int c0 = 0; c0 < cols; c0 += bw) ops.columns(data_, re, im, rowStride, c0, std::min(bw, cols - c0), work);
}

template class FftPlan<float>;
template class FftPlan<double>;

}  // namespace zkr
