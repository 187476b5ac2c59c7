#!/bin/sh
# Builds the libFuzzer targets (clang, AddressSanitizer and UndefinedBehaviorSanitizer over the whole
# framework) in their own build directory and runs each for a bounded time from its seed corpus under
# tests/fuzz/<target>/. Usage: tests/fuzz/run.sh [total-seconds] (default 240, shared by the targets).
# Inputs that made a target fail are kept in that corpus as regression cases.
set -eu
root=$(cd "$(dirname "$0")/../.." && pwd)
build=${QM_FUZZ_BUILD:-$root/build-fuzz}
total=${1:-240}
targets="fuzz_ini fuzz_params fuzz_cmdline fuzz_bmp"
per=$((total / 4))
[ "$per" -ge 1 ] || per=1

# The compiler cache, when installed, as in the Makefile's builds.
launcher=""
if command -v ccache >/dev/null 2>&1; then
    launcher="-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache"
    export CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=1
fi
# Ninja when installed, for a directory not configured yet (one that exists keeps its generator).
generator=""
if command -v ninja >/dev/null 2>&1 && [ ! -f "$build/CMakeCache.txt" ]; then generator="-G Ninja"; fi
# shellcheck disable=SC2086
cmake -S "$root" -B "$build" $generator -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQM_FUZZ=ON -DQM_BENCH=OFF $launcher \
      -DQM_WERROR="${QM_WERROR:-OFF}" -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ >/dev/null
cmake --build "$build" --target $targets -j2

for t in $targets; do
    work="$build/${t}_corpus"   # grows with what the fuzzer finds; the seeds stay untouched
    mkdir -p "$work"
    seeds="$root/tests/fuzz/$t"
    [ -d "$seeds" ] || seeds=""
    extra=""
    [ "$t" = fuzz_bmp ] && extra="$root/tests/data"
    echo "== $t: ${per}s"
    "$build/bin/$t" -max_total_time="$per" -max_len=8192 -timeout=10 -rss_limit_mb=2048 \
        -print_final_stats=1 -artifact_prefix="$build/$t-" "$work" $seeds $extra 2>&1 |
        grep -E "^stat::number_of_executed_units|^#.*DONE|ERROR|SUMMARY|Test unit written" || true
    # A crash leaves an artifact: fail the run and show it.
    for a in "$build/$t"-crash-* "$build/$t"-leak-* "$build/$t"-timeout-* "$build/$t"-oom-*; do
        [ -e "$a" ] || continue
        echo "$t: failing input $a (copy it into tests/fuzz/$t/ once fixed)"
        exit 1
    done
    echo "$t: ${per}s without a failure"
done
