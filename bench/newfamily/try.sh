#!/usr/bin/env bash
# Builds the worked example of docs/new-family.md in a copy of the committed tree and runs it: the six
# files are taken from the page's code blocks (each under a heading that names its file), so the page
# and the example cannot drift apart unnoticed. Nothing in the real tree is written.
#   bench/newfamily/try.sh [work-dir]     (default build-mut/newfamily)
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
work="$(mkdir -p "${1:-$root/build-mut/newfamily}" && cd "${1:-$root/build-mut/newfamily}" && pwd)"
tree="$work/tree"
mkdir -p "$tree"
git -C "$root" archive HEAD | tar -x -C "$tree"
python3 - "$root/docs/new-family.md" "$tree" <<'PY'
import re, sys, pathlib
doc, tree = pathlib.Path(sys.argv[1]).read_text(), pathlib.Path(sys.argv[2])
blocks = re.findall(r"^## [^\n]*`([^`\n]+)`\n.*?```(?:c|cpp)\n(.*?)```", doc, re.S | re.M)
written = []
for name, code in blocks:
    path = name if "/" in name else "zkr/families/negate/" + name
    (tree / path).parent.mkdir(parents=True, exist_ok=True)
    (tree / path).write_text(code)
    written.append(path)
print("example files:", *written)
if len(written) != 6:
    sys.exit("expected the six files of the example")
PY
export CCACHE_BASEDIR="$tree" CCACHE_NOHASHDIR=1
cd "$tree"
[ -f build/CMakeCache.txt ] || cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DQM_WERROR=ON -DQM_BENCH=OFF \
    -DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache > "$work/configure.log"
ninja -C build -j2 zkr_tests quillmark > "$work/build.log"
build/bin/zkr_tests --gtest_filter='*Negate*' --gtest_brief=1 | tail -3
build/bin/quillmark -e | grep -c 'TimiNegate|' | sed 's/^/functions listed under TimiNegate: /'
build/bin/quillmark -B -LP -t=TimiNegate -dSize=32x8 -dMethod=Manual -dNumLoops=1 | grep -E 'Number of tests|Successes'
