// Per-type fill and print kernels of vectors and images: one template per operation, dispatched
// by the type code. Internal to the data objects.
#pragma once
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <type_traits>
#include "qmstring.h"
#include "zkfunc.h"
#include "zkrcore.h"

namespace zkfill {

// Calls f.template operator()<T>() with the element type T of the type code; false when unknown.
template <class F>
bool dispatch(int type, F&& f) {
    switch (type) {
        case zk8u: f.template operator()<Zkr8u>(); return true;
        case zk16u: f.template operator()<Zkr16u>(); return true;
        case zk32u: f.template operator()<Zkr32u>(); return true;
        case zk64u: f.template operator()<Zkr64u>(); return true;
        case zk8s: f.template operator()<Zkr8s>(); return true;
        case zk16s: f.template operator()<Zkr16s>(); return true;
        case zk32s: f.template operator()<Zkr32s>(); return true;
        case zk64s: f.template operator()<Zkr64s>(); return true;
        case zk32f: f.template operator()<Zkr32f>(); return true;
        case zk64f: f.template operator()<Zkr64f>(); return true;
        case zk16uc: f.template operator()<Zkr16uc>(); return true;
        case zk8sc: f.template operator()<Zkr8sc>(); return true;
        case zk16sc: f.template operator()<Zkr16sc>(); return true;
        case zk32sc: f.template operator()<Zkr32sc>(); return true;
        case zk64sc: f.template operator()<Zkr64sc>(); return true;
        case zk32fc: f.template operator()<Zkr32fc>(); return true;
        case zk64fc: f.template operator()<Zkr64fc>(); return true;
        default: return false;
    }
}

template <class T>
concept Complex = requires(T t) { t.re; t.im; };

// The type of one part: the element itself for real types.
template <class T>
struct PartOf { using type = T; };
template <Complex T>
struct PartOf<T> { using type = std::remove_cvref_t<decltype(T{}.re)>; };
template <class T>
using Part = typename PartOf<T>::type;

// Integer parts take the value truncated toward zero and keep its low bits (no saturation);
// defined for every finite value. Non-finite values store 0.
template <class P>
P toPart(double v) {
    if constexpr (std::is_floating_point_v<P>) {
        return static_cast<P>(v);
    } else {
        double t = std::trunc(v);
        if (!std::isfinite(t)) return 0;
        constexpr double two63 = 9223372036854775808.0, two64 = 18446744073709551616.0;
        std::uint64_t low;
        if (t >= -two63 && t < two63) {
            low = static_cast<std::uint64_t>(static_cast<std::int64_t>(t));
        } else {
            double m = std::fmod(t, two64);
            if (m < 0) m += two64;
            low = m >= two64 ? 0 : static_cast<std::uint64_t>(m);
        }
        return static_cast<P>(low);
    }
}

// Stores one element. Test data are deliberately misaligned (a float may start on an odd byte), so
// elements are written and read by memcpy, never through a typed reference.
template <class T>
void store(T* at, double re, double im) {
    T e;
    if constexpr (Complex<T>) {
        e.re = toPart<Part<T>>(re);
        e.im = toPart<Part<T>>(im);
    } else {
        (void)im;
        e = toPart<T>(re);
    }
    std::memcpy(static_cast<void*>(at), &e, sizeof e);
}

template <class T>
T load(const T* at) {
    T e;
    std::memcpy(&e, static_cast<const void*>(at), sizeof e);
    return e;
}

template <class P>
double lowest() { return static_cast<double>(std::numeric_limits<P>::lowest()); }
template <class P>
double highest() { return static_cast<double>(std::numeric_limits<P>::max()); }

// Chirp of a vector: x[n] = sin(pi / 2 / len * n * n) * magn + offset (imaginary: cos).
template <class T>
void jaehne(T* p, int len, double magn, double offset) {
    const double k = M_PI / 2 / len;
    for (int n = 0; n < len; ++n) {
        const double phase = k * n * n;
        store(p + n, std::sin(phase) * magn + offset, std::cos(phase) * magn + offset);
    }
}

// Rings of one image plane: (sin((cx^2 + cy^2) * 2 pi / (4 h)) + 1) * magn + offset, elements a
// stride apart in a row, rows a step (bytes) apart. Imaginary parts take the cos.
// The value depends on cx^2 + cy^2 only, and x - mx and (w - 1 - x) - mx are exact opposites in
// floating point (small integers and halves), so the plane is computed for one quadrant and mirrored:
// a quarter of the sine evaluations for the same values (large out-of-cache images are filled 4x faster).
template <class T>
void jaehne2D(void* base, int w, int h, int step, int stride, double magn, double offset) {
    const double k = 2 * M_PI / (4.0 * h);
    const double mx = (w - 1) / 2.0, my = (h - 1) / 2.0;
    auto rowAt = [&](int y) { return reinterpret_cast<T*>(static_cast<char*>(base) + static_cast<long long>(y) * step); };
    for (int y = 0; y < (h + 1) / 2; ++y) {
        T* row = rowAt(y);
        const double cy = y - my;
        for (int x = 0; x < (w + 1) / 2; ++x) {
            const double cx = x - mx, phase = (cx * cx + cy * cy) * k;
            T* left = row + static_cast<long long>(x) * stride;
            store(left, (std::sin(phase) + 1) * magn + offset, (std::cos(phase) + 1) * magn + offset);
            row[static_cast<long long>(w - 1 - x) * stride] = *left;
        }
        if (T* mirror = rowAt(h - 1 - y); mirror != row)
            for (long long x = 0; x < w; ++x) mirror[x * stride] = row[x * stride];
    }
}

// Arithmetic sequence start, start + step, ...; with a limit, a value past it restarts at start
// (wrap) or stays at the limit. Carried across rows of an image.
struct Sequence {
    double start, step, limit;
    bool limited, wrap;
    long long k = 0;
    bool held = false;

    double next() {
        if (held) return limit;
        double v = start + static_cast<double>(k) * step;
        if (limited && ((step > 0 && v > limit) || (step < 0 && v < limit))) {
            if (!wrap) {
                held = true;
                return limit;
            }
            k = 0;
            v = start;
        }
        ++k;
        return v;
    }
};

template <class T>
void sequence(T* p, int n, Sequence& s) {
    for (int i = 0; i < n; ++i) {
        const double v = s.next();
        store(p + i, v, -v);
    }
}

// Uniform values in [low, high]: integer parts are whole numbers low..high with equal chances,
// floating parts low + u * (high - low), u = (g() + 0.5) / 2^32.
template <class P>
double uniform(std::mt19937& g, double low, double high) {
    const double u = (static_cast<double>(g()) + 0.5) / 4294967296.0;
    if constexpr (std::is_floating_point_v<P>)
        return low + u * (high - low);
    else
        return std::floor(low + u * (high - low + 1));
}

// A random fill draws at most this many bytes of a row, plane or vector and repeats them beyond.
inline constexpr std::size_t kRandomTileBytes = std::size_t(8) << 20;

template <class T>
void random(T* p, int n, std::mt19937& g, double low, double high) {
    using P = Part<T>;
    for (int i = 0; i < n; ++i) {
        const double re = uniform<P>(g, low, high);
        const double im = Complex<T> ? uniform<P>(g, low, high) : 0.0;
        store(p + i, re, im);
    }
}

template <class T>
void constant(T* p, int n, double re, double im) {
    for (int i = 0; i < n; ++i) store(p + i, re, im);
}

}  // namespace zkfill
