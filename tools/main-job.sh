#!/usr/bin/env bash
# The main job: a batch measurement of the whole Add family (201 functions) at three image sizes (L1-, L2- and L3-resident for 8-bit data),
# with the result and summary tables written beside the program.
set -euo pipefail
build="${1:-build}"
bin="$build/bin"
"$bin/quillmark" -B -tTimiAdd -LPW -dSize="64x64; 256x256; 512x512" -r -u -nquillmark_add
echo
echo "Results table: $(cd "$bin" && pwd)/quillmark_add.csv"
echo "Summary table: $(cd "$bin" && pwd)/quillmark_add_sum.csv"
