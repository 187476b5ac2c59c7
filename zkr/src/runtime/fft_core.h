// One-dimensional complex fast Fourier transforms of any length, in single
// and double precision, for the families that need a spectrum (DFT, DCT,
// deconvolution, correlation of large templates, ...).
//
// Usage:
//   zkr::FftPlan<float> plan(n);                 // once per length (allocates)
//   std::vector<float> work(plan.workSize());    // or workSize(cols) for columns
//   plan.forward(re, im, work.data());           // in place, split planes
//   plan.inverse(re, im, work.data());
//
// Conventions:
//   forward  X[k] = sum_j x[j] exp(-2 pi i j k / n)
//   inverse  x[j] = sum_k X[k] exp(+2 pi i j k / n)
// Neither direction scales: forward then inverse multiplies by n; the caller
// applies whatever normalisation it wants.
//
// Data are split planes (real parts in one array, imaginary parts in
// another), so that the butterflies are plain loops over contiguous values.
// Interleaved std::complex data have their own overloads, which convert
// through the work area.
//
// Algorithm: lengths whose prime factors are all at most kMaxDirectRadix run
// a self-sorting (Stockham) mixed-radix transform, radix 4 and 2 first, the
// other factors after; other lengths run Bluestein's chirp transform on a
// power-of-two length M >= 2n - 1. Twiddles and chirps are computed in double
// precision once, when the plan is made. The butterflies are compiled for
// every instruction-set level of the library and the level in force
// (zkrGetDispatchLevel) is used at each call.
//
// Thread safety: a plan is read-only after construction; several threads may
// run one plan at once, each with its own work area. No call allocates.
#pragma once

#include <complex>
#include <cstddef>
#include <type_traits>
#include <vector>

namespace zkr {

template <class T> class FftPlan {
    static_assert(std::is_same_v<T, float> || std::is_same_v<T, double>, "FftPlan is for float and double");

public:
    // Largest prime factor the mixed-radix transform handles directly.
    static constexpr int kMaxDirectRadix = 13;

    FftPlan() = default;
    // A plan for length n >= 1 (n <= 2^26). Throws std::bad_alloc when
    // memory runs out, std::invalid_argument for a length out of range.
    explicit FftPlan(int n);

    int size() const { return n_; }
    // True when the length runs Bluestein's transform (a prime factor above kMaxDirectRadix).
    bool usesChirp() const { return chirp_; }

    // Elements of T the work area of one call needs: `cols` is the number of
    // columns of a forwardColumns/inverseColumns call (1 for one sequence).
    std::size_t workSize(int cols = 1) const;

    // One sequence of n values in split planes, transformed in place.
    void forward(T* re, T* im, T* work) const { run(re, im, work); }
    // The inverse is the forward transform with the planes exchanged.
    void inverse(T* re, T* im, T* work) const { run(im, re, work); }

    // One interleaved sequence of n complex values, in place.
    void forward(std::complex<T>* data, T* work) const { runInterleaved(data, false, work); }
    void inverse(std::complex<T>* data, T* work) const { runInterleaved(data, true, work); }

    // Every column of an n-row block, in place: row r holds `cols` values at
    // re + r * rowStride and im + r * rowStride (rowStride counted in
    // elements, >= cols). The loops run along the rows, so this is the fast
    // way to transform the columns of an image. Work: workSize(cols).
    void forwardColumns(T* re, T* im, std::ptrdiff_t rowStride, int cols, T* work) const {
        runColumns(re, im, rowStride, cols, work);
    }
    void inverseColumns(T* re, T* im, std::ptrdiff_t rowStride, int cols, T* work) const {
        runColumns(im, re, rowStride, cols, work);
    }

    // What the butterflies read; public for the per-level code only.
    struct Stage {
        int radix;   // r
        int m;       // length of this stage's sub-transforms divided by r
        int stride;  // s of one sequence (product of the earlier radices)
        std::size_t tw;  // offset of this stage's twiddles: (r - 1) x m values, u-major
    };
    struct Data {
        int n = 0;
        std::vector<Stage> stages;
        std::vector<T> twRe, twIm;
        // Bluestein: chirp exp(-pi i j^2 / n), j < n, and the spectrum of the
        // conjugate chirp on the power-of-two length, divided by that length.
        bool chirp = false;
        int m = 0;
        std::vector<T> cRe, cIm, bRe, bIm;
        std::vector<Data> sub;  // the power-of-two plan of length m (one element)
    };

private:
    void run(T* re, T* im, T* work) const;
    void runInterleaved(std::complex<T>* data, bool inverse, T* work) const;
    void runColumns(T* re, T* im, std::ptrdiff_t rowStride, int cols, T* work) const;
    int chunkFor(int cols) const;

    int n_ = 0;
    bool chirp_ = false;
    Data data_;
};

extern template class FftPlan<float>;
extern template class FftPlan<double>;

}  // namespace zkr
