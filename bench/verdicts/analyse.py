#!/usr/bin/python3
"""Figures of an A/A and an A/B run of bench/verdicts/run.sh: the raw spread between single runs and
how often quillmark-compare calls a line changed."""
import os
import statistics
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.realpath(__file__)), "..", "..", "tools"))
from qmtools import stats  # noqa: E402
from qmtools.compare import Comparison  # noqa: E402
from qmtools.table import read_table_file, read_tables, table_files  # noqa: E402


def quantile(values, q):
    values = sorted(values)
    return values[min(len(values) - 1, int(q * len(values)))]


def runs(directory):
    return [read_table_file(name) for name in table_files(directory)]


def changed(cmp):
    return sum(1 for _, j in cmp.rows if j.verdict in (stats.FASTER, stats.SLOWER))


def main(work):
    settings = stats.Settings()
    a_runs, b_runs = runs(os.path.join(work, "aa_a")), runs(os.path.join(work, "aa_b"))
    diffs = []
    single_changed = single_lines = 0
    for a, b in zip(a_runs, b_runs):
        for key, line in a.lines.items():
            other = b.lines.get(key)
            if other and line.figures() and other.figures():
                x, y = line.figures()[0], other.figures()[0]
                diffs.append(abs(y - x) / x)
        cmp = Comparison(a, b, settings)
        single_changed += changed(cmp)
        single_lines += len(cmp.rows)
    print(f"A/A: {len(a_runs)} runs per side, {len(diffs)} line pairs of single runs")
    print(f"  |difference| between single runs: median {statistics.median(diffs) * 100:.1f}%, "
          f"90th percentile {quantile(diffs, 0.9) * 100:.1f}%, 99th {quantile(diffs, 0.99) * 100:.1f}%")
    print(f"  single run against single run: {single_changed} of {single_lines} lines called changed "
          f"({single_changed / single_lines * 100:.1f}%)")
    cmp = Comparison(read_tables(os.path.join(work, "aa_a")), read_tables(os.path.join(work, "aa_b")), settings)
    print(f"  all runs against all runs: {changed(cmp)} of {len(cmp.rows)} lines called changed "
          f"({changed(cmp) / len(cmp.rows) * 100:.1f}%); " + ", ".join(f"{v} {cmp.counts.get(v, 0)}" for v in stats.VERDICTS))
    cmp = Comparison(read_tables(os.path.join(work, "ab_a")), read_tables(os.path.join(work, "ab_b")), settings)
    big = [(line, j) for line, j in cmp.rows if abs(j.ratio - 1) > 0.10]
    hit = [1 for _, j in big if j.verdict == (stats.SLOWER if j.ratio > 1 else stats.FASTER)]
    print(f"A/B: {len(cmp.rows)} lines, {len(big)} with a median difference above 10%, "
          f"{len(hit)} of them detected ({len(hit) / max(1, len(big)) * 100:.1f}%); "
          + ", ".join(f"{v} {cmp.counts.get(v, 0)}" for v in stats.VERDICTS))
    print(f"  geometric mean best/baseline: {cmp.overall():.3f}")


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "build/verdicts")
