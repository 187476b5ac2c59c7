// Calls one entry point of the library a given number of times on a 16x4 image, so that the
// instructions of one call (argument checks, job set-up, dispatch, the few rows of work) can be
// counted under callgrind from the difference of two runs (instructions.py). One entry point per
// element-wise form the entry points tell apart: binary with and without scale factor, in place,
// constant by value, per channel and in place, unary, and the division and logic families' own
// set-ups.
//
// Usage: bench_entry_calls <entry> <calls>     bench_entry_calls --list
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "zkri.h"

namespace {

constexpr int kW = 16, kH = 4;

struct Images {
    std::vector<Zkr32f> a = std::vector<Zkr32f>(kW * kH * 4, 1.5f), b = a, d = a;
    std::vector<Zkr8u> a8 = std::vector<Zkr8u>(kW * kH * 4, 3), b8 = a8, d8 = a8;
    const Zkr32f values[3] = {1.0f, 2.0f, 3.0f};
    const ZkriSize roi{kW, kH};
};

struct Entry {
    const char* name;
    ZkrStatus (*call)(Images&);
};

constexpr int s32 = kW * 4, s32c3 = kW * 12, s8 = kW;

const Entry kEntries[] = {
    {"zkriAdd_8u_C1RSfs", [](Images& m) { return zkriAdd_8u_C1RSfs(m.a8.data(), s8, m.b8.data(), s8, m.d8.data(), s8, m.roi, 0); }},
    {"zkriSub_32f_C1R", [](Images& m) { return zkriSub_32f_C1R(m.a.data(), s32, m.b.data(), s32, m.d.data(), s32, m.roi); }},
    {"zkriAdd_32f_C1IR", [](Images& m) { return zkriAdd_32f_C1IR(m.a.data(), s32, m.d.data(), s32, m.roi); }},
    {"zkriAddC_8u_C1RSfs", [](Images& m) { return zkriAddC_8u_C1RSfs(m.a8.data(), s8, 7, m.d8.data(), s8, m.roi, 0); }},
    {"zkriAddC_32f_C3R", [](Images& m) { return zkriAddC_32f_C3R(m.a.data(), s32c3, m.values, m.d.data(), s32c3, m.roi); }},
    {"zkriSubC_32f_C1IR", [](Images& m) { return zkriSubC_32f_C1IR(2.0f, m.d.data(), s32, m.roi); }},
    {"zkriMul_32f_C1IR", [](Images& m) { return zkriMul_32f_C1IR(m.a.data(), s32, m.d.data(), s32, m.roi); }},
    {"zkriDiv_32f_C1R", [](Images& m) { return zkriDiv_32f_C1R(m.a.data(), s32, m.b.data(), s32, m.d.data(), s32, m.roi); }},
    {"zkriSqr_32f_C1R", [](Images& m) { return zkriSqr_32f_C1R(m.a.data(), s32, m.d.data(), s32, m.roi); }},
    {"zkriAnd_8u_C1R", [](Images& m) { return zkriAnd_8u_C1R(m.a8.data(), s8, m.b8.data(), s8, m.d8.data(), s8, m.roi); }},
    {"zkriAndC_8u_C1R", [](Images& m) { return zkriAndC_8u_C1R(m.a8.data(), s8, 0x5A, m.d8.data(), s8, m.roi); }},
};

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
        for (const Entry& e : kEntries) std::printf("%s\n", e.name);
        return 0;
    }
    if (argc != 3) {
        std::fprintf(stderr, "usage: bench_entry_calls <entry> <calls> | --list\n");
        return 2;
    }
    char* end = nullptr;
    const long calls = std::strtol(argv[2], &end, 10);
    if (*end != '\0' || calls < 0) {
        std::fprintf(stderr, "bench_entry_calls: the number of calls must be a whole number >= 0: %s\n", argv[2]);
        return 2;
    }
    for (const Entry& e : kEntries) {
        if (std::strcmp(e.name, argv[1]) != 0) continue;
        Images m;
        int bad = 0;
        for (long i = 0; i < calls; ++i) bad += e.call(m) != zkrStsNoErr;
        if (bad) {
            std::fprintf(stderr, "bench_entry_calls: %s failed %d times\n", e.name, bad);
            return 1;
        }
        return 0;
    }
    std::fprintf(stderr, "bench_entry_calls: unknown entry %s (--list names them)\n", argv[1]);
    return 2;
}
