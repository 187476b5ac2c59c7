#!/usr/bin/env bash
# Measures shard I of N of one selection on this machine and writes its JSON document, result table
# and summary table named by host, level and thread count:
#     <out>/<host>_<level>_N<threads>_shard<I>of<N>.json (.csv, _sum.csv)
# Usage: run-shard.sh I N [BUILD_DIR [OUT_DIR]]. The environment chooses the rest:
#   QM_LEVEL     -T level (X64, X64v3, ...; empty: the library's choice, named "auto")
#   QM_THREADS   -N thread count (default 1)
#   QM_SELECT    selection options of qmtools.select (default "--all": every function of the listing)
#   QM_FILTER    -f/-t keys that narrow the listing first (default none)
#   QM_KEYS      further keys of the measurement (-d values, -C, ...)
# quillmark-report and quillmark-compare read the directory of every shard as one set of lines.
set -euo pipefail
i="$1"; n="$2"
build="${3:-build}"
out="$(mkdir -p "${4:-results}" && cd "${4:-results}" && pwd)"
bin="$(cd "$build/bin" && pwd)"
threads="${QM_THREADS:-1}"
level="${QM_LEVEL:-}"
name="$(hostname -s)_${level:-auto}_N${threads}_shard${i}of${n}"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
# shellcheck disable=SC2086  # QM_FILTER and QM_KEYS are lists of keys
"$bin/quillmark" -B -e -LE ${QM_FILTER:-} -l"$work" -nlisting -r >/dev/null
# shellcheck disable=SC2086
PYTHONPATH="$bin" PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 -m qmtools.select ${QM_SELECT:---all} \
    --shard "$i/$n" "$work/listing.csv" >"$work/shard.ini"
echo "$name: $(grep -c '^\[' "$work/shard.ini" || true) functions"
# shellcheck disable=SC2086
"$bin/quillmark" -B -i"$work/shard.ini" -P ${QM_FILTER:-} ${level:+-T$level} -N"$threads" ${QM_KEYS:-} \
    -l"$out" -n"$name" -r -u -j -LE
