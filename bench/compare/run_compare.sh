#!/usr/bin/env bash
# Measures zkriAdd_8u_C1RSfs (scale factor 0) with Google Benchmark and with Quillmark at three
# sizes and prints both figures in clocks per pixel, their ratio and the wall time each tool needed.
# Google Benchmark gives two figures (see bench_compare_gbench.cpp): time-stamp-counter clocks over
# its whole timed loop, and its process CPU time converted to clocks; Quillmark gives its Auto figure.
#
#   bench/compare/run_compare.sh [build-dir]        (REPS=5 by default: runs per tool and size)
#
# Every run is its own process; the runs of the two tools alternate so that load from other users
# of the machine falls on both alike, and the table shows medians over REPS runs.
# Quillmark's time excludes its clock-rate estimate (a busy wait of 1 to 2 s, it waits for the
# seconds counter to advance twice), which starts after the line "Sorting functions..." and ends
# with the header box: with line-buffered output, each line is stamped on arrival and the gap
# between those two lines is subtracted from the process wall time.
set -euo pipefail
build="${1:-build}"
reps="${REPS:-5}"
gb="$build/bin/bench_compare_gbench"
qm="$build/bin/quillmark"
for exe in "$gb" "$qm"; do
  [ -x "$exe" ] || { echo "missing $exe (build first)" >&2; exit 1; }
done
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
log="$work/runs.txt"

median() { sort -g | awk '{v[NR] = $1} END {print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2}'; }

# One Google Benchmark process for one size: counter figure, CPU-time figure, wall seconds.
run_gbench() {
  local w=$1 h=$2 t0 t1 figs
  t0=$EPOCHREALTIME
  "$gb" --benchmark_filter="BM_zkriAdd_8u_C1RSfs/$w/$h\$" --benchmark_format=csv 2>/dev/null >"$work/gb.csv"
  t1=$EPOCHREALTIME
  figs=$(awk -F, 'NR == 1 {for (i = 1; i <= NF; ++i) col[$i] = i; next}
                  {print $col["\"clk_per_px\""], $col["\"cpu_clk_per_px\""]}' "$work/gb.csv")
  echo "$figs $(awk -v a="$t0" -v b="$t1" 'BEGIN {printf "%.3f", b - a}')"
}

# One Quillmark process for one size: figure, seconds without the clock-rate estimate, process
# wall seconds, result and comment columns (loop count, accuracy warnings).
run_quillmark() {
  local size=$1
  rm -f "$work/qm.csv"
  stdbuf -oL "$qm" -B -f=zkriAdd_8u_C1RSfs -dSize="$size" -dscaleFactor=0 -LP -r"$work/qm.csv" |
    { t0=$EPOCHREALTIME
      while IFS= read -r line; do echo "$EPOCHREALTIME $line"; done
      echo "$EPOCHREALTIME EXIT"
      echo "$t0 START"; } >"$work/qm.out"
  local times
  times=$(awk '$2 == "START" {start = $1}
               $2 == "EXIT" {end = $1}
               sorting && !seen {est = $1 - sorting; seen = 1}
               /Sorting functions/ {sorting = $1}
               END {printf "%.3f %.3f", end - start - est, end - start}' "$work/qm.out")
  awk -F, '$1 == "zkriAdd_8u_C1RSfs" {c = $13; comment = $17; for (i = 18; i <= NF; ++i) comment = comment "," $i}
           END {printf "%s %s %s\n", c, t, comment}' t="$times" "$work/qm.csv"
}

printf '# size run tool figure [cpu-figure] seconds [wall result,comment]\n' >"$log"
for size in 64x64 256x256 1024x1024; do
  w=${size%x*}; h=${size#*x}
  for ((r = 1; r <= reps; ++r)); do
    echo "$size $r gbench $(run_gbench "$w" "$h")" >>"$log"
    echo "$size $r quillmark $(run_quillmark "$size")" >>"$log"
  done
done

echo "Runs. gbench: clk/px (counter), clk/px (CPU time), seconds."
echo "      quillmark: clk/px, seconds without the clock-rate estimate, process wall seconds, result and comment."
grep -v '^#' "$log"
echo
echo "Spread over $reps runs per tool and size: (max - min) / median of the figures, alternating processes:"
spread() { awk -v s="$1" -v t="$2" -v c="$3" '$1 == s && $3 == t {print $c}' "$log" | sort -g |
  awk '{v[NR] = $1} END {m = (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2; printf "%.1f%%", (m > 0 ? (v[NR] - v[1]) / m * 100 : 0)}'; }
printf '%-10s %12s %12s %12s\n' size "GB clk/px" "GB cpu" "QM clk/px"
for size in 64x64 256x256 1024x1024; do
  printf '%-10s %12s %12s %12s\n' "$size" "$(spread "$size" gbench 4)" "$(spread "$size" gbench 5)" "$(spread "$size" quillmark 4)"
done
echo
echo "Medians over $reps runs per tool and size (clocks per pixel; seconds to reach the figure):"
printf '%-10s %10s %10s %10s %7s %7s %7s %7s\n' size "GB clk/px" "GB cpu" "QM clk/px" "GB/QM" "cpu/QM" "GB s" "QM s"
col() { awk -v s="$1" -v t="$2" -v c="$3" '$1 == s && $3 == t {print $c}' "$log" | median; }
for size in 64x64 256x256 1024x1024; do
  gbf=$(col "$size" gbench 4); gbc=$(col "$size" gbench 5); gbt=$(col "$size" gbench 6)
  qmf=$(col "$size" quillmark 4); qmt=$(col "$size" quillmark 5)
  awk -v s="$size" -v a="$gbf" -v c="$gbc" -v b="$qmf" -v x="$gbt" -v y="$qmt" 'BEGIN {
    printf "%-10s %10.3f %10.3f %10.3f %7.2f %7.2f %7.3f %7.3f\n", s, a, c, b, (b > 0 ? a / b : 0), (b > 0 ? c / b : 0), x, y}'
done
