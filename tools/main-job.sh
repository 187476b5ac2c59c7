#!/usr/bin/env bash
# The main job: a representative selection (a few functions of every test class) measured at four
# image sizes (L1-, L2-, L3- and memory-resident for 8-bit data) at every instruction-set level this
# machine can run, then one HTML report of the runs, whose path is printed last.
set -euo pipefail
build="${1:-build}"
bin="$(cd "$build/bin" && pwd)"
tools="$(cd "$(dirname "$0")" && pwd)"
out="$bin/main-job"
sizes="${QM_SIZES:-32x32; 128x128; 512x512; 1024x1024}"
mkdir -p "$out"
rm -f "$out"/level_*.csv "$out"/level_*_sum.csv

# The selection: every test class of the -e listing, two functions each (QM_PER_CLASS).
"$bin/quillmark" -B -e -LE -l"$out" -nlisting -r >/dev/null
PYTHONPATH="$tools" PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 -m qmtools.select --per-class "${QM_PER_CLASS:-2}" "$out/listing.csv" >"$out/selection.ini"
classes=$(cut -d, -f2 "$out/listing.csv" | grep '^Tim' | sort -u | wc -l)
echo "Selected: $(grep -c '^\[' "$out/selection.ini") functions of $classes test classes"

# Instruction-set levels: the x86-64 levels whose instructions the processor has.
flags=" $(grep -m1 '^flags' /proc/cpuinfo | cut -d: -f2) "
has() { for f in "$@"; do [[ "$flags" == *" $f "* ]] || return 1; done; }
levels=(X64)
has sse4_2 popcnt && levels+=(X64v2)
has avx2 fma bmi2 && levels+=(X64v3)
has avx512f avx512bw avx512dq avx512vl && levels+=(X64v4)

start=$SECONDS
args=()
for level in "${levels[@]}"; do
  echo "Measuring at -T$level..."
  # A failed test (exit status 1) leaves its lines without figures; the report shows the rest.
  "$bin/quillmark" -B -i"$out/selection.ini" -P -T"$level" -dSize="$sizes" -LE -l"$out" -nlevel_"$level" -r -u >/dev/null || true
  args+=("$level=$out/level_$level.csv")
done
echo "Measured ${#levels[@]} levels in $((SECONDS - start)) s"
"$tools/quillmark-report" "${args[@]}" --title "Quillmark: main job" -o "$out/report.html" >/dev/null
echo
echo "Report: $out/report.html"
