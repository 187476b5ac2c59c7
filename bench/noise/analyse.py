#!/usr/bin/python3
"""Run-to-run spread of bench/noise/run.sh's variants: per variant, the |difference| of each line
between consecutive runs (median, 90th and 99th percentile), the same per image size, and the
share of lines whose runs spread by more than 5 % (largest over smallest figure)."""
import os
import re
import statistics
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.realpath(__file__)), "..", "..", "tools"))
from qmtools.table import read_table_file, table_files  # noqa: E402

_SIZE = re.compile(r"^\d+x\d+$")


def quantile(values, q):
    values = sorted(values)
    return values[min(len(values) - 1, int(q * len(values)))] if values else float("nan")


def run_number(path):
    m = re.search(r"run_(\d+)\.csv$", path)
    return int(m.group(1)) if m else 0


def spread(directory):
    """(diffs by size, per-line spreads, runs) of the tables in directory, in run order."""
    runs = [read_table_file(p) for p in sorted(table_files(directory), key=run_number)]
    by_size = {}
    spreads = []
    keys = set.intersection(*(set(r.lines) for r in runs)) if runs else set()
    for key in sorted(keys):
        figs = [r.lines[key].figures() for r in runs]
        if not all(figs):
            continue
        figs = [f[0] for f in figs]
        size = next((p for p in key[1] if _SIZE.match(p)), "-")
        for a, b in zip(figs, figs[1:]):
            by_size.setdefault(size, []).append(abs(b - a) / a)
        spreads.append(max(figs) / min(figs) - 1)
    return by_size, spreads, len(runs)


def line(label, diffs):
    return (f"{label:<10} {len(diffs):>6} {statistics.median(diffs) * 100:>7.2f}% "
            f"{quantile(diffs, 0.9) * 100:>7.2f}% {quantile(diffs, 0.99) * 100:>7.1f}%")


def main(work, variants):
    for v in variants:
        directory = os.path.join(work, re.sub(r"[:=/]", "_", v))
        by_size, spreads, n = spread(directory)
        every = [d for ds in by_size.values() for d in ds]
        if not every:
            print(f"{v}: no line measured in every run")
            continue
        wide = sum(1 for s in spreads if s > 0.05)
        print(f"{v}: {n} runs, {len(spreads)} lines; lines spread over 5 %: {wide} ({wide / len(spreads) * 100:.1f}%)")
        print(f"  {'size':<10} {'pairs':>6} {'median':>8} {'p90':>8} {'p99':>8}")
        print("  " + line("all", every))
        for size in sorted(by_size, key=lambda s: [int(x) for x in s.split("x")] if "x" in s else [0]):
            print("  " + line(size, by_size[size]))


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "build/noise", sys.argv[2:] or ["plain", "pinned", "thp", "noaslr"])
