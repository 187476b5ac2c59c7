#!/usr/bin/env bash
# A/A pairs of whole runs: the same selection measured twice in separate processes, one after the
# other, for each variant (the default path, or with other keys or environment), the pairs interleaved so
# that a change of the machine's load falls on all of them alike. aa.py prints per variant the
# |difference| of each line between the two runs of a pair (median, 90th, 99th percentile), how many
# of the lines that say "OK" repeat within 10 %, and the milliseconds per line.
# Usage: bench/noise/aa.sh [build-dir] [work-dir]
#   PAIRS (2) pairs per variant; SELECT (-tTimiAdd) the selection keys; QM_SIZES the sizes;
#   VARIANTS ("default") among default, keys:KEYS (extra keys, such as keys:-N1) and env:NAME=VALUE.
set -euo pipefail
build="${1:-build}"
work="${2:-$build/aa}"
bin="$(cd "$build/bin" && pwd)"
here="$(cd "$(dirname "$0")" && pwd)"
pairs="${PAIRS:-2}"
sizes="${QM_SIZES:-64x64; 256x256; 512x512}"
read -r -a select <<<"${SELECT:--tTimiAdd}"
read -r -a variants <<<"${VARIANTS:-default}"
mkdir -p "$work"
work="$(cd "$work" && pwd)"
export QM_CPU_MHZ="${QM_CPU_MHZ:-2000}" QM_NO_PROGRESS=1

run() {  # variant pair side
  local dir="$work/${1//[:=\/]/_}" envs=(QM_NO_PROGRESS=1) keys=()
  case "$1" in
    default) ;;
    keys:*) read -r -a keys <<<"${1#keys:}" ;;
    env:*) envs+=("${1#env:}") ;;
    *) echo "unknown variant $1" >&2; exit 2 ;;
  esac
  mkdir -p "$dir"
  local t0=$EPOCHREALTIME
  env "${envs[@]}" "$bin/quillmark" -B "${select[@]}" "${keys[@]}" -dSize="$sizes" -LE -l"$dir" -n"pair${2}_$3" -r >/dev/null || true
  awk -v a="$t0" -v b="$EPOCHREALTIME" 'BEGIN {printf "%.3f\n", b - a}' >"$dir/pair${2}_$3.seconds"
}
for v in "${variants[@]}"; do rm -rf "${work:?}/${v//[:=\/]/_}"; done
start=$SECONDS
for i in $(seq 1 "$pairs"); do
  for v in "${variants[@]}"; do run "$v" "$i" a; run "$v" "$i" b; done
  echo "pair $i of $pairs: $((SECONDS - start)) s" >&2
done
/usr/bin/python3 "$here/aa.py" "$work" "${variants[@]}"
