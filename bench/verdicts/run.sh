#!/usr/bin/env bash
# How far quillmark-compare can be trusted on this machine:
#  A/A: the same build and level measured REPS times per side (runs of the two sides alternate);
#  A/B: the baseline x86-64 level against the best level the processor runs, REPS times per side.
# The selection is the main job's (PER_CLASS functions of every test class at its sizes).
# Usage: bench/verdicts/run.sh [build-dir] [work-dir]; then analyse.py prints the figures.
#   REPS (5) runs per side; AB=0 leaves out the A/B runs (for a long A/A series: REPS=10 AB=0 gives
#   the 20 runs that analyse.py splits at random to test the regression gate).
set -euo pipefail
build="${1:-build}"
work="${2:-$build/verdicts}"
bin="$(cd "$build/bin" && pwd)"
here="$(cd "$(dirname "$0")" && pwd)"
tools="$(cd "$here/../../tools" && pwd)"
reps="${REPS:-5}"
sizes="${QM_SIZES:-32x32; 128x128; 512x512}"
mkdir -p "$work"
work="$(cd "$work" && pwd)"
rm -rf "$work"/*.csv "$work"/aa_a "$work"/aa_b "$work"/ab_a "$work"/ab_b

"$bin/quillmark" -B -e -LE -l"$work" -nlisting -r >/dev/null
PYTHONPATH="$tools" PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 -m qmtools.select --per-class "${PER_CLASS:-8}" \
  "$work/listing.csv" >"$work/selection.ini"
rm -f "$work/listing.csv"

flags=" $(grep -m1 '^flags' /proc/cpuinfo | cut -d: -f2) "
has() { for f in "$@"; do [[ "$flags" == *" $f "* ]] || return 1; done; }
best=X64
has avx2 fma bmi2 && best=X64v3
has avx512f avx512bw avx512dq avx512vl && best=X64v4

# The comparison workflow counts core clocks (the stable mode, docs/noise.md) unless told otherwise.
export QM_STABLE="${QM_STABLE:-1}"
measure() {  # name level run-number: one run into its own table
  "$bin/quillmark" -B -i"$work/selection.ini" -P -T"$2" -dSize="$sizes" -LE -l"$work" -n"$1_$3" -r -u >/dev/null || true
}
start=$SECONDS
for i in $(seq 1 "$reps"); do
  measure aa_a "$best" "$i"; measure aa_b "$best" "$i"
  if [ "${AB:-1}" != 0 ]; then measure ab_a X64 "$i"; measure ab_b "$best" "$i"; fi
  echo "round $i of $reps: $((SECONDS - start)) s"
done
for side in aa_a aa_b ab_a ab_b; do
  ls "$work/${side}"_*.csv >/dev/null 2>&1 || continue
  mkdir -p "$work/$side"; mv "$work/${side}"_*.csv "$work/$side/"
done
echo "A/A at -T$best, A/B -TX64 against -T$best, $reps runs per side: $work"
