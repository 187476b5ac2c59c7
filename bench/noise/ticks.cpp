// What a spinning process loses to interruptions: reads the time-stamp counter back to back for
// about two seconds and records every gap between two reads longer than a threshold (an
// interruption: the scheduler's clock tick, a device, the hypervisor). Prints how many there
// were, how long they took and how far apart they came. Run it pinned to each processor
// (taskset -c N) to see their differences.
#include <x86intrin.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {
uint64_t quantile(std::vector<uint64_t> v, double q) {
    if (v.empty()) return 0;
    std::sort(v.begin(), v.end());
    return v[std::min(v.size() - 1, static_cast<size_t>(q * static_cast<double>(v.size())))];
}
}  // namespace

int main(int argc, char** argv) {
    const double mhz = argc > 1 ? std::atof(argv[1]) : 2000.0;  // counter rate, for the microseconds
    const uint64_t threshold = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 2000;
    const auto total = static_cast<uint64_t>(mhz * 2e6);  // two seconds of counter ticks
    std::vector<uint64_t> at, length;
    at.reserve(100000);
    length.reserve(100000);
    const uint64_t start = __rdtsc();
    uint64_t prev = start;
    while (prev - start < total) {
        const uint64_t now = __rdtsc();
        if (now - prev > threshold && at.size() < at.capacity()) {
            at.push_back(now - start);
            length.push_back(now - prev);
        }
        prev = now;
    }
    uint64_t lost = 0;
    for (uint64_t l : length) lost += l;
    std::vector<uint64_t> apart;
    for (size_t i = 1; i < at.size(); ++i) apart.push_back(at[i] - at[i - 1]);
    auto us = [&](uint64_t ticks) { return static_cast<double>(ticks) / mhz; };
    std::printf("interruptions: %zu in 2 s (%.0f a second), %.2f%% of the time lost\n", at.size(),
                static_cast<double>(at.size()) / 2.0, 100.0 * static_cast<double>(lost) / static_cast<double>(total));
    std::printf("length (us): median %.1f, 90th percentile %.1f, 99th %.1f, longest %.1f\n", us(quantile(length, 0.5)),
                us(quantile(length, 0.9)), us(quantile(length, 0.99)), us(quantile(length, 1.0)));
    std::printf("apart (us): 10th percentile %.0f, median %.0f, 90th %.0f\n", us(quantile(apart, 0.1)),
                us(quantile(apart, 0.5)), us(quantile(apart, 0.9)));
    return 0;
}
