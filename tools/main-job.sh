#!/usr/bin/env bash
# The main job: a representative selection (a few functions of every test class, QM_TOTAL (36) at most
# so that its length stays put as the catalogue grows; every class keeps one) measured at nine
# image sizes (1 KB to 2 MB for one byte a pixel: four in L1, then steps through L2 to beyond it, so
# that the cache steps show in each curve) at every instruction-set level this machine can run,
# then one HTML report of the runs, whose path is printed last. The levels are measured interleaved,
# round robin, QM_ROUNDS (3) rounds appended into one table per level, so that a slow phase of the
# machine hits every level alike and the report can show each figure's spread; the baseline and the
# best level come first in each round. A level that would start after QM_BUDGET seconds (150) of
# measuring is left out of the first round, and a round that would end after it is not started.
# The runs count core clocks (the stable mode, QM_STABLE=1, docs/noise.md) unless the environment
# says QM_STABLE=0.
set -euo pipefail
build="${1:-build}"
bin="$(cd "$build/bin" && pwd)"
tools="$(cd "$(dirname "$0")" && pwd)"
out="$bin/main-job"
# Nine sizes cost about three times the measuring of the former three per round (the engine's time per
# parameter set hardly depends on the size); the budget below keeps the job's length and leaves fewer
# rounds or levels when the machine is slow.
sizes="${QM_SIZES:-32x32; 64x64; 96x96; 128x128; 192x192; 256x256; 512x512; 1024x1024; 1448x1448}"
budget="${QM_BUDGET:-150}"
mkdir -p "$out"
rm -f "$out"/level_*.csv "$out"/level_*_sum.csv

# The selection: every test class of the -e listing, up to three functions each (QM_PER_CLASS), at
# most QM_TOTAL functions in all.
"$bin/quillmark" -B -e -LE -l"$out" -nlisting -r >/dev/null
PYTHONPATH="$tools" PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 -m qmtools.select --per-class "${QM_PER_CLASS:-3}" --total "${QM_TOTAL:-36}" "$out/listing.csv" >"$out/selection.ini"
classes=$(grep '^zkr' "$out/listing.csv" | cut -d, -f2 | sort -u | wc -l)
echo "Selected: $(grep -c '^\[' "$out/selection.ini") functions of $classes test classes"

# Instruction-set levels: the x86-64 levels whose instructions the processor has.
flags=" $(grep -m1 '^flags' /proc/cpuinfo | cut -d: -f2) "
has() { for f in "$@"; do [[ "$flags" == *" $f "* ]] || return 1; done; }
levels=(X64)
has sse4_2 popcnt && levels+=(X64v2)
has avx2 fma bmi2 && levels+=(X64v3)
has avx512f avx512bw avx512dq avx512vl && levels+=(X64v4)

order=("${levels[0]}")
[ ${#levels[@]} -gt 1 ] && order+=("${levels[-1]}" "${levels[@]:1:${#levels[@]}-2}")
export QM_STABLE="${QM_STABLE:-1}"
rounds="${QM_ROUNDS:-3}"
start=$SECONDS
declare -A done_level=()
for round in $(seq 1 "$rounds"); do
  if [ "$round" -gt 1 ]; then
    per_round=$(( (SECONDS - start) / (round - 1) ))
    if [ $((SECONDS - start + per_round)) -gt "$budget" ]; then
      echo "Stopping after $((round - 1)) rounds: another would end after ${budget} s of measuring"
      break
    fi
  fi
  for level in "${order[@]}"; do
    if [ "$round" -eq 1 ] && [ $((SECONDS - start)) -ge "$budget" ]; then
      echo "Skipping -T$level: ${budget} s of measuring used"
      continue
    fi
    [ "$round" -gt 1 ] && [ -z "${done_level[$level]:-}" ] && continue
    echo "Round $round: measuring at -T$level..."
    # A failed test (exit status 1) leaves its lines without figures; the report shows the rest.
    # Each round appends its run to the level's tables (-R, -U).
    keys=(-r -u); [ "$round" -gt 1 ] && keys=(-R -U)
    "$bin/quillmark" -B -i"$out/selection.ini" -P -T"$level" -dSize="$sizes" -LE -l"$out" -nlevel_"$level" "${keys[@]}" -q+ >/dev/null || true
    done_level[$level]=1
  done
done
echo "Measured ${#done_level[@]} levels in $((SECONDS - start)) s"
args=()
for level in "${levels[@]}"; do
  [ -n "${done_level[$level]:-}" ] && args+=("$level=$out/level_$level.csv")
done
"$tools/quillmark-report" "${args[@]}" --title "Quillmark: main job" -o "$out/report.html" >/dev/null
echo
echo "Report: $out/report.html"
