// Span length against the clock interruption, outside the framework: times spans of 4 to 256 calls
// of zkriAdd_8u_C1RSfs (scale factor 0, one thread) 41 times each, once started anywhere and once
// started right after an interruption (the same wait the engine does), alternating the two, and
// prints each side's quartiles. Usage: bench_span_probe [width] (square images, 512 by default).
#include <x86intrin.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "zkri.h"

namespace {
// Spins until two counter reads are more than 2,000 ticks apart (an interruption) or 20,000,000
// ticks have passed.
void waitForInterruption() {
    const uint64_t start = __rdtsc();
    uint64_t prev = start;
    for (;;) {
        const uint64_t now = __rdtsc();
        if (now - prev > 2000 || now - start > 20000000) return;
        prev = now;
    }
}
}  // namespace

int main(int argc, char** argv) {
    const int w = argc > 1 ? std::atoi(argv[1]) : 512;
    if (w < 1 || w > 8192) {
        std::fprintf(stderr, "width %d: give 1 to 8192\n", w);
        return 2;
    }
    zkrSetNumThreads(1);
    std::vector<Zkr8u> a(static_cast<size_t>(w) * w, 3), b(a.size(), 5), d(a.size());
    const ZkriSize roi{w, w};
    auto call = [&] { return zkriAdd_8u_C1RSfs(a.data(), w, b.data(), w, d.data(), w, roi, 0); };
    const double pixels = static_cast<double>(w) * w;
    std::printf("zkriAdd_8u_C1RSfs %dx%d, clocks per pixel: min 25th median 75th max of 41 spans\n", w, w);
    for (int n : {4, 16, 64, 256}) {
        std::vector<double> side[2];
        for (int k = 0; k < 82; ++k) {
            const int aligned = k % 2;
            if (aligned) waitForInterruption();
            call();  // warm-up, as the engine's entries do
            const uint64_t s = __rdtsc();
            for (int i = 0; i < n; ++i) call();
            side[aligned].push_back(static_cast<double>(__rdtsc() - s) / n / pixels);
        }
        for (int aligned = 0; aligned < 2; ++aligned) {
            auto& f = side[aligned];
            std::sort(f.begin(), f.end());
            std::printf("%4d calls, %-9s %.4f %.4f %.4f %.4f %.4f\n", n, aligned ? "aligned" : "anywhere", f[0], f[10],
                        f[20], f[30], f[40]);
        }
    }
    return 0;
}
