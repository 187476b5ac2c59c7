#!/usr/bin/env bash
# Build budgets: a clean Release build with Ninja in its own directory (the product first, then everything
# else), then the time of a rebuild after
# touching one family's table, and the cost of each family's objects read from Ninja's log.
# Usage: bench/budgets/measure.sh [build-dir] [family]   (defaults: build-cost, add)
# Prints seconds of wall time, and the processor time of every compile and link step (recorded by
# cpu_time.py, the build's launcher), summed per family. Wall times mean something only on a machine
# with nothing else running; processor times hardly depend on other work, so the sum of them divided by
# the jobs is the wall time a quiet machine would take (the builds keep both cores busy).
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
dir=${1:-$root/build-cost}
family=${2:-add}
jobs=${JOBS:-2}

rm -rf "$dir"
launcher="$root/bench/budgets/cpu_time.py"
export QM_CPU_LOG="$dir/cpu_times.log"
cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_COMPILER_LAUNCHER="$launcher" \
      -DCMAKE_CXX_COMPILER_LAUNCHER="$launcher" -DCMAKE_CXX_LINKER_LAUNCHER="$launcher" >/dev/null
rm -f "$QM_CPU_LOG"
# The product first (what `make build` and `make run` build), then everything else (what `make test`
# adds: tests, fixtures, benchmarks).
start=$(date +%s.%N)
cmake --build "$dir" -j"$jobs" --target quillmark zkr_function_list >/dev/null
product=$(echo "$(date +%s.%N) - $start" | bc)
cmake --build "$dir" -j"$jobs" >/dev/null
clean=$(echo "$(date +%s.%N) - $start" | bc)

cp "$QM_CPU_LOG" "$dir/cpu_times_clean.log"
touch "$root/zkr/families/$family/$family.tbl"
start=$(date +%s.%N)
cmake --build "$dir" -j"$jobs" --target quillmark zkr_function_list >/dev/null
incremental_product=$(echo "$(date +%s.%N) - $start" | bc)
cmake --build "$dir" -j"$jobs" >/dev/null
incremental=$(echo "$(date +%s.%N) - $start" | bc)

printf 'clean build of the product, -j%s: %.0f s\n' "$jobs" "$product"
printf 'clean build of everything, -j%s: %.0f s\n' "$jobs" "$clean"
printf 'rebuild after touching %s.tbl: product %.0f s, everything %.0f s\n' "$family" "$incremental_product" "$incremental"

# Processor seconds per object of the clean build, from the launcher's log (seconds, output).
python3 - "$dir/cpu_times_clean.log" "$jobs" <<'PY'
import collections, os, re, sys
root = os.path.dirname(os.path.abspath(sys.argv[1]))
part = collections.Counter()
seen = {}
for line in open(sys.argv[1]):
    sec, out = line.rstrip('\n').split('\t')
    seen[out] = float(sec)
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
    m = re.search(r'e2e_(\w+?)_test\.cpp\.o$', out)
    if m:
        fam['end-to-end ' + m.group(1)] += sec
    m = re.search(r'zkr_kernels/(\w+?)_bench\.cpp\.o$', out)
    if m:
        fam['bench ' + m.group(1)] += sec
    rel = os.path.relpath(out, root)
    if rel.startswith(('tests/', 'bin/qm_', 'bin/zkr_tests')) or rel in ('bin/qm_unit_tests',):
        part['tests'] += sec
    elif rel.startswith(('bench/', 'bin/bench_')):
        part['benchmarks'] += sec
    else:
        part['product'] += sec
print('processor time of all compile and link steps: %.0f s, at -j%s about %.0f s of wall time'
      % (total, sys.argv[2], total / int(sys.argv[2])))
for k in ('product', 'tests', 'benchmarks'):
    print('  %-28s %6.1f s' % ('= ' + k, part[k]))
fam['~ everything else (framework, program, tests, benchmarks)'] = total - sum(fam.values())
for k in sorted(fam):
    print('  %-28s %6.1f s' % (k, fam[k]))
PY
