#!/usr/bin/env python3
"""The mutation run: seeds each fault of mutants.py into a copy of the committed tree, one at a time,
rebuilds only what the fault touches (ninja, in the copy's own build directory), runs the tests that
cover the faulty code and counts the fault as caught when they fail. Prints one line per fault and
the totals; with --markdown FILE also writes them as a table.

    bench/mutation/run.py [--dir build-mut] [--only SUBSTRING] [--markdown FILE] [--jobs 2]

The copy is <dir>/tree (git archive of HEAD) built in <dir>/tree/build with the compiler cache, so
that a second run, and the first one after a build of the same sources elsewhere under the same
layout, compiles only the mutated files. The real tree is never written."""

import argparse
import os
import subprocess
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
from mutants import MUTANTS, Mutant  # noqa: E402

ROOT = Path(__file__).resolve().parents[2]


def sh(cmd, cwd, env=None, timeout=None, log=None):
    r = subprocess.run(cmd, cwd=cwd, env=env, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                       timeout=timeout)
    if log is not None:
        log.write(f"$ {' '.join(cmd)}\n{r.stdout}\n")
    return r


def prepare(work: Path, env, jobs: int, log):
    tree = work / "tree"
    tree.mkdir(parents=True, exist_ok=True)
    archive = subprocess.run(["git", "archive", "HEAD"], cwd=ROOT, stdout=subprocess.PIPE, check=True).stdout
    subprocess.run(["tar", "-x", "-C", str(tree)], input=archive, check=True)
    build = tree / "build"
    if not (build / "CMakeCache.txt").exists():
        r = sh(["cmake", "-S", ".", "-B", "build", "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache", "-DCMAKE_C_COMPILER_LAUNCHER=ccache", "-DQM_WERROR=ON",
                "-DQM_BENCH=OFF"], tree, env, log=log)
        if r.returncode != 0:
            sys.exit("configuring the copy failed; see the log")
    programs = sorted({m.program for m in MUTANTS})
    r = sh(["ninja", "-C", "build", f"-j{jobs}", *programs], tree, env, log=log)
    if r.returncode != 0:
        sys.exit("the unmutated copy does not build; see the log")
    for p in programs:  # the unmutated tests must pass, else a failure proves nothing
        filters = sorted({f for m in MUTANTS if m.program == p for f in m.filter.split(":")})
        if run_tests(build, Mutant("unmutated", "", "", "", "", p, ":".join(filters)), env, log) != 0:
            sys.exit(f"the unmutated copy fails {p} --gtest_filter={':'.join(filters)}; see the log")
    return tree, build


def program_path(build: Path, name: str) -> Path:
    hits = list(build.rglob(name))
    hits = [h for h in hits if h.is_file() and os.access(h, os.X_OK)]
    if not hits:
        raise FileNotFoundError(name)
    return hits[0]


def run_tests(build: Path, m, env, log) -> int:
    exe = program_path(build, m.program)
    try:
        r = sh([str(exe), f"--gtest_filter={m.filter}", "--gtest_brief=1"], exe.parent, env, timeout=900, log=log)
    except subprocess.TimeoutExpired:
        return 124
    return r.returncode


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--dir", default=str(ROOT / "build-mut"))
    ap.add_argument("--only", default="")
    ap.add_argument("--markdown", default="")
    ap.add_argument("--jobs", type=int, default=2)
    args = ap.parse_args()

    work = Path(args.dir).resolve()
    work.mkdir(parents=True, exist_ok=True)
    env = dict(os.environ, CCACHE_BASEDIR=str(work / "tree"), CCACHE_NOHASHDIR="1")
    with open(work / "mutation.log", "w") as log:
        tree, build = prepare(work, env, args.jobs, log)
        rows = []
        for m in MUTANTS:
            if args.only and args.only not in m.name:
                continue
            path = tree / m.path
            text = path.read_text()
            n = text.count(m.old)
            start = time.time()
            if n != 1:
                rows.append((m, f"not applied ({n} matches)", 0.0))
                print(f"{'SKIP':7} {m.kind:18} {m.name}: the text occurs {n} times", flush=True)
                continue
            try:
                path.write_text(text.replace(m.old, m.new))
                b = sh(["ninja", "-C", "build", f"-j{args.jobs}", m.program], tree, env, log=log)
                if b.returncode != 0:
                    verdict = "did not build"
                else:
                    verdict = "caught" if run_tests(build, m, env, log) != 0 else "MISSED"
            finally:
                path.write_text(text)
            secs = time.time() - start
            rows.append((m, verdict, secs))
            print(f"{verdict.split()[0].upper():7} {m.kind:18} {m.name} ({secs:.0f} s)", flush=True)
        # Rebuild the unmutated programs so that the next run starts from them.
        sh(["ninja", "-C", "build", f"-j{args.jobs}", *sorted({m.program for m in MUTANTS})], tree, env, log=log)

    scored = [r for r in rows if r[1] in ("caught", "MISSED")]
    caught = sum(1 for r in scored if r[1] == "caught")
    total = len(scored)
    share = 100.0 * caught / total if total else 0.0
    print(f"mutation run: {caught} of {total} seeded faults caught ({share:.1f} %), "
          f"{len(rows) - total} not scored")
    if args.markdown:
        with open(args.markdown, "w") as f:
            f.write("| fault | kind | tests run | verdict | seconds |\n|---|---|---|---|---|\n")
            for m, verdict, secs in rows:
                f.write(f"| {m.name} | {m.kind} | `{m.program} --gtest_filter={m.filter}` | {verdict} | {secs:.0f} |\n")
            f.write(f"\n{caught} of {total} caught ({share:.1f} %).\n")
    return 0 if total and caught == total else 1


if __name__ == "__main__":
    sys.exit(main())
