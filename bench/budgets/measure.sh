#!/usr/bin/env bash
# Build budgets: a clean Release build with Ninja in its own directory, then the time of a rebuild after
# touching one family's table, and the cost of each family's objects read from Ninja's log.
# Usage: bench/budgets/measure.sh [build-dir] [family]   (defaults: build-cost, add)
# Prints seconds of wall time; the per-object times in .ninja_log are wall times of each compile, which
# on a machine with nothing else running are its processor time.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
dir=${1:-$root/build-cost}
family=${2:-add}
jobs=${JOBS:-2}

rm -rf "$dir"
cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
start=$(date +%s.%N)
cmake --build "$dir" -j"$jobs" >/dev/null
clean=$(echo "$(date +%s.%N) - $start" | bc)

touch "$root/zkr/families/$family/$family.tbl"
start=$(date +%s.%N)
cmake --build "$dir" -j"$jobs" >/dev/null
incremental=$(echo "$(date +%s.%N) - $start" | bc)

printf 'clean build, -j%s: %.0f s\n' "$jobs" "$clean"
printf 'rebuild after touching %s.tbl: %.0f s\n' "$family" "$incremental"

# Per-object compile seconds from the log of the clean build (format: start end mtime output hash, in ms).
python3 - "$dir/.ninja_log" <<'PY'
import collections, re, sys
seen = {}
for line in open(sys.argv[1]):
    if line.startswith('#'):
        continue
    start, end, _, out, _ = line.rstrip('\n').split('\t')
    seen[out] = (int(end) - int(start)) / 1000.0   # the last build of each output wins
fam = collections.defaultdict(float)
total = 0.0
for out, sec in seen.items():
    total += sec
    m = re.search(r'zkrfam_([a-z0-9]+?)(_base|_avx2|_avx512)?\.dir', out)
    if m:
        fam['library ' + m.group(1)] += sec
    m = re.search(r'p_(\w+?)_ia\.cpp\.o$', out)
    if m:
        fam['module p_' + m.group(1) + '_ia'] += sec
    m = re.search(r'families/(\w+?)_(test|edges_test)\.cpp\.o$', out)
    if m:
        fam['test ' + m.group(1)] += sec
print('sum of all compile and link steps: %.0f s' % total)
for k in sorted(fam):
    print('  %-28s %6.1f s' % (k, fam[k]))
PY
