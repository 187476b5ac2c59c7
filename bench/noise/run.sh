#!/usr/bin/env bash
# Where the run-to-run spread comes from: the same selection (one function of every test class at
# three sizes, the main job's picker) measured RUNS times under each variant, the variants' runs
# interleaved round by round so that a change of load hits them alike. analyse.py prints, per
# variant, the |difference| of each line between consecutive runs.
# Usage: bench/noise/run.sh [build-dir] [work-dir] [variant...]
#   variants: plain (as a user runs it), pinned (taskset to one core), thp (glibc's malloc asks for
#   transparent huge pages), noaslr (address randomisation off: the virtual placement fixed);
#   env:NAME=VALUE runs with that environment variable set.
set -euo pipefail
build="${1:-build}"
work="${2:-$build/noise}"
shift $(( $# < 2 ? $# : 2 ))
variants=("$@")
[ ${#variants[@]} -eq 0 ] && variants=(plain pinned thp noaslr)
bin="$(cd "$build/bin" && pwd)"
here="$(cd "$(dirname "$0")" && pwd)"
tools="$(cd "$here/../../tools" && pwd)"
runs="${RUNS:-12}"
sizes="${QM_SIZES:-32x32; 128x128; 512x512}"
mkdir -p "$work"
work="$(cd "$work" && pwd)"

"$bin/quillmark" -B -e -LE -l"$work" -nlisting -r >/dev/null
PYTHONPATH="$tools" PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 -m qmtools.select --per-class "${PER_CLASS:-1}" \
  "$work/listing.csv" >"$work/selection.ini"
rm -f "$work/listing.csv"
export QM_CPU_MHZ="${QM_CPU_MHZ:-2000}"

measure() {  # variant run-number
  local prefix=()
  case "$1" in
    plain) ;;
    pinned) prefix=(taskset -c "${PIN_CPU:-1}") ;;
    thp) prefix=(env GLIBC_TUNABLES=glibc.malloc.hugetlb=1) ;;
    noaslr) prefix=(setarch "$(uname -m)" -R) ;;
    env:*) prefix=(env "${1#env:}") ;;
    *) echo "unknown variant $1" >&2; exit 2 ;;
  esac
  local dir="$work/${1//[:=\/]/_}"
  mkdir -p "$dir"
  "${prefix[@]}" "$bin/quillmark" -B -i"$work/selection.ini" -P -dSize="$sizes" -LE -l"$dir" -nrun_"$2" -r >/dev/null || true
}
for v in "${variants[@]}"; do rm -rf "${work:?}/${v//[:=\/]/_}"; done
declare -A took=()
start=$SECONDS
for i in $(seq 1 "$runs"); do
  for v in "${variants[@]}"; do
    t0=$(date +%s%N)
    measure "$v" "$i"
    took[$v]=$(( ${took[$v]:-0} + ($(date +%s%N) - t0) / 1000000 ))
  done
  echo "round $i of $runs: $((SECONDS - start)) s, load $(cut -d' ' -f1 /proc/loadavg)"
done
for v in "${variants[@]}"; do echo "$v: $((took[$v] / runs)) ms a run"; done
/usr/bin/python3 "$here/analyse.py" "$work" "${variants[@]}"
