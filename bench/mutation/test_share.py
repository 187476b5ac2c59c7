#!/usr/bin/env python3
"""The test share: lines of C++ (.cpp .h .hpp .inc .c .cc) under tests/ against the lines of C++
outside tests/ and bench/, over the files git tracks; prints both, the share and the test lines the
35 % aim allows for today's code.  bench/mutation/test_share.py [--by-folder]"""
import subprocess
import sys
from collections import Counter
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
EXT = {".cpp", ".h", ".hpp", ".inc", ".c", ".cc"}
files = subprocess.run(["git", "ls-files"], cwd=ROOT, capture_output=True, text=True, check=True).stdout.split()
tests, code, folders = 0, 0, Counter()
for f in files:
    p = Path(f)
    if p.suffix not in EXT or f.startswith("bench/"):
        continue
    n = len((ROOT / p).read_text(errors="replace").splitlines())
    if f.startswith("tests/"):
        tests += n
        folders["/".join(p.parts[:3])] += n
    else:
        code += n
print(f"tests {tests} lines, code {code} lines: test share {100 * tests / (tests + code):.1f} % "
      f"(35 % allows {int(0.35 / 0.65 * code)} test lines)")
if "--by-folder" in sys.argv:
    for folder, n in folders.most_common():
        print(f"  {folder:28} {n}")
