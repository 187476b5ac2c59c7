#!/bin/sh
# Builds the bitmap-reader fuzz target in its own build directory and runs it for a bounded time
# from a seed corpus of the test bitmaps. Usage: tests/fuzz/run.sh [seconds] (default 60).
set -eu
root=$(cd "$(dirname "$0")/../.." && pwd)
build=${QM_FUZZ_BUILD:-$root/build-fuzz}
seconds=${1:-60}

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQM_FUZZ=ON -DQM_BENCH=OFF \
      -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ >/dev/null
cmake --build "$build" --target fuzz_bmp -j2

corpus="$build/fuzz_bmp_corpus"
mkdir -p "$corpus"
cp "$root"/tests/data/*.bmp "$corpus"/
"$build/bin/fuzz_bmp" -max_total_time="$seconds" -max_len=8192 -rss_limit_mb=2048 -print_final_stats=1 "$corpus"
echo "fuzz_bmp: ${seconds}s without a crash"
