// What the tests of the spectrum families share: images of any component type in padded rows, and
// the packed layout of a real spectrum read and written by its rule (each packed value placed at
// F(u, v) with its conjugate at F(-u, -v)), in long double.
#pragma once

#include <complex>
#include <cstring>
#include <vector>

namespace zkrtest::spectrum {

using Cl = std::complex<long double>;

// An image of components S in a padded buffer: comps components a pixel, rows of `step` bytes.
template <class S> struct Img {
    int w = 0, h = 0, comps = 0;
    int step = 0;
    std::vector<unsigned char> bytes;
    Img(int w_, int h_, int comps_, int pad) : w(w_), h(h_), comps(comps_) {
        step = int(sizeof(S)) * (w * comps + pad);
        bytes.assign(std::size_t(step) * std::size_t(h) + 64, 0);
    }
    S get(int i, int y) const {
        S v;
        std::memcpy(&v, bytes.data() + std::size_t(y) * std::size_t(step) + std::size_t(i) * sizeof(S), sizeof(S));
        return v;
    }
    void* data() { return bytes.data(); }
};

// The full spectrum of channel c of a packed image: each packed value is placed where the layout puts
// it, with its conjugate at the mirrored frequency.
template <class S> std::vector<Cl> unpack(const Img<S>& p, int nc, int c) {
    const int w = p.w, h = p.h;
    std::vector<Cl> f(std::size_t(w * h));
    auto put = [&](int u, int v, Cl z) {
        f[std::size_t(v * w + u)] = z;
        f[std::size_t(((h - v) % h) * w + (w - u) % w)] = std::conj(z);
    };
    auto at = [&](int x, int y) { return (long double)p.get(x * nc + c, y); };
    // the real-valued columns u = 0 and (even W) u = W / 2, packed along the rows
    std::vector<int> realU = {0};
    if (w % 2 == 0 && w > 1) realU.push_back(w / 2);
    for (int u : realU) {
        const int col = u == 0 ? 0 : w - 1;
        put(u, 0, at(col, 0));
        for (int j = 1; 2 * j < h; ++j) put(u, j, Cl(at(col, 2 * j - 1), at(col, 2 * j)));
        if (h % 2 == 0 && h > 1) put(u, h / 2, at(col, h - 1));
    }
    for (int v = 0; v < h; ++v)
        for (int k = 1; 2 * k < w; ++k) put(k, v, Cl(at(2 * k - 1, v), at(2 * k, v)));
    return f;
}

// Channel c's packed value at (x, y) of a full Hermitian spectrum.
inline long double packedAt(const std::vector<Cl>& f, int w, int h, int x, int y) {
    auto F = [&](int u, int v) { return f[std::size_t(v * w + u)]; };
    if (x == 0 || (w % 2 == 0 && x == w - 1)) {
        const int u = x == 0 ? 0 : w / 2;
        if (y == 0) return F(u, 0).real();
        if (h % 2 == 0 && y == h - 1) return F(u, h / 2).real();
        return y % 2 == 1 ? F(u, (y + 1) / 2).real() : F(u, y / 2).imag();
    }
    return x % 2 == 1 ? F((x + 1) / 2, y).real() : F(x / 2, y).imag();
}

}  // namespace zkrtest::spectrum
