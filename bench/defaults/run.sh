#!/usr/bin/env bash
# Every test class measured at its default parameters, one run per class as a user would start it
# (`quillmark -B -LP -t=<class>`), and the result of every performance line counted per class.
# Usage: bench/defaults/run.sh [build-dir] [class-pattern]   (defaults: build, every class)
# Prints one row per class: functions listed, lines measured, lines per result word, seconds; exits 1
# when any line is not "OK". Meaningful on a machine with nothing else running: the Auto method's
# accuracy judgement (ACCURWRN) reacts to other work sharing the cores.
set -uo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-$root/build}
pattern=${2:-.}
prog="$build/bin/quillmark"
[ -x "$prog" ] || { echo "no program at $prog (build first)" >&2; exit 2; }
# The clock rate is estimated once here and given to every run (each run would spend two seconds on it).
if [ -z "${QM_CPU_MHZ:-}" ]; then
    QM_CPU_MHZ=$("$prog" -B -t__qmKavroCpu -LP 2>/dev/null |
                 sed -n 's/^| Processor *: .*, \([0-9]*x\)\{0,1\}\([0-9.]*\) \(GHz\|MHz\).*/\2 \3/p' |
                 awk '{ print ($2 == "GHz") ? int($1 * 1000 + 0.5) : int($1) }')
fi
export QM_CPU_MHZ QM_NO_PROGRESS=1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$prog" -e 2>/dev/null | sed -n 's/^| zk[A-Za-z0-9_]* .* \([A-Za-z_][A-Za-z0-9_]*\)|$/\1/p' | sort | uniq -c >"$work/classes"
bad=0
printf '%-20s %9s %6s  %s\n' class functions lines 'results (seconds)'
while read -r count class; do
    [[ "$class" =~ $pattern ]] || continue
    start=$(date +%s)
    "$prog" -B -LP "-t=$class" >"$work/out" 2>&1 || true
    secs=$(( $(date +%s) - start ))
    results=$(grep -E '^ +[0-9.eE+-]+ clocks/' "$work/out" | awk '{ print $5 }' | sort | uniq -c | awk '{ printf "%s %s, ", $2, $1 }')
    lines=$(grep -cE '^ +[0-9.eE+-]+ clocks/' "$work/out" || true)
    printf '%-20s %9s %6s  %s(%s s)\n' "$class" "$count" "$lines" "$results" "$secs"
    if grep -E '^ +[0-9.eE+-]+ clocks/' "$work/out" | awk '{ print $5 }' | grep -qv '^OK$' || [ "$lines" -eq 0 ]; then
        bad=1
        # The first lines that are not OK, each with the parameters it was measured at.
        awk '/^ +[0-9.eE+-]+ clocks\// { if ($5 != "OK") print "    " prev " ->" $0; next } { prev = $0 }' "$work/out" | head -5
    fi
done <"$work/classes"
exit $bad
