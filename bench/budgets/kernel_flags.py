#!/usr/bin/env python3
"""Speed of the library's kernels built with two sets of compiler flags, measured in one run.

Runs the kernel benchmark (bench_zkr_kernels) against two builds of libzkri, A and B, alternating
A, B, A, B, ... so that both see the same machine, and prints per row the median clocks per pixel of
each and their ratio B/A, then the geometric mean of the ratios per dispatch level and the rows
where B is slower or faster by more than --margin.

Usage: kernel_flags.py <bench_zkr_kernels> <lib-dir A> <lib-dir B> [--rounds N] [--filter REGEX]
                       [--min-time S] [--margin F]
The benchmark binary finds libzkri through its run path; LD_LIBRARY_PATH, which takes precedence
over it, points each run at one of the two builds.
"""
import argparse
import json
import math
import os
import statistics
import subprocess
import sys


def run_once(bench, libdir, flt, min_time):
    env = dict(os.environ, LD_LIBRARY_PATH=libdir)
    out = subprocess.run([bench, "--benchmark_filter=" + flt, "--benchmark_min_time=%g" % min_time,
                          "--benchmark_format=json"], env=env, check=True, capture_output=True,
                         text=True).stdout
    rows = {b["name"]: b["clk/px"] for b in json.loads(out)["benchmarks"] if "clk/px" in b} if out.strip() else {}
    if not rows:
        sys.exit("kernel_flags.py: no benchmark row matches --filter=%s" % flt)
    return rows


def level_of(name):
    parts = name.split("/")
    return parts[1] if len(parts) > 1 else "?"


def compare(a_runs, b_runs, margin):
    """Per row the medians of A and B and the ratio B/A; rows missing from either side are skipped."""
    rows = {}
    for name in a_runs[0]:
        a = [r[name] for r in a_runs if name in r]
        b = [r[name] for r in b_runs if name in r]
        if a and b and statistics.median(a) > 0:
            ma, mb = statistics.median(a), statistics.median(b)
            rows[name] = (ma, mb, mb / ma)
    by_level = {}
    for name, (_, _, ratio) in rows.items():
        by_level.setdefault(level_of(name), []).append(math.log(ratio))
    gmeans = {lv: math.exp(sum(v) / len(v)) for lv, v in by_level.items()}
    outliers = sorted((n for n, r in rows.items() if abs(r[2] - 1) > margin), key=lambda n: rows[n][2])
    return rows, gmeans, outliers


def main(argv):
    ap = argparse.ArgumentParser()
    ap.add_argument("bench")
    ap.add_argument("lib_a")
    ap.add_argument("lib_b")
    ap.add_argument("--rounds", type=int, default=3)
    ap.add_argument("--filter", default="/L1$")
    ap.add_argument("--min-time", type=float, default=0.05)
    ap.add_argument("--margin", type=float, default=0.15)
    a = ap.parse_args(argv)
    a_runs, b_runs = [], []
    for _ in range(a.rounds):
        a_runs.append(run_once(a.bench, a.lib_a, a.filter, a.min_time))
        b_runs.append(run_once(a.bench, a.lib_b, a.filter, a.min_time))
    rows, gmeans, outliers = compare(a_runs, b_runs, a.margin)
    print("%d rows, %d rounds each; ratio B/A of the median clocks per pixel" % (len(rows), a.rounds))
    for lv in sorted(gmeans):
        print("  geometric mean at %-7s %.3f" % (lv + ":", gmeans[lv]))
    print("rows differing by more than %.0f %%:" % (100 * a.margin))
    for n in outliers:
        ma, mb, r = rows[n]
        print("  %-40s A %9.4f  B %9.4f  B/A %.2f" % (n, ma, mb, r))


if __name__ == "__main__":
    main(sys.argv[1:])
