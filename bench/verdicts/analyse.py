#!/usr/bin/python3
"""Figures of an A/A and an A/B run of bench/verdicts/run.sh: the raw spread between single runs and
how often quillmark-compare calls a line changed; with ten or more A/A runs in all, how often a
regression gate on five runs per side would fail by chance (random splits of the A/A runs into two
sides) and how often it finds a true change of 10 % (one side's figures scaled by 1.10)."""
import copy
import os
import random
import statistics
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.realpath(__file__)), "..", "..", "tools"))
from qmtools import stats  # noqa: E402
from qmtools.compare import Comparison  # noqa: E402
from qmtools.table import Table, read_table_file, read_tables, table_files  # noqa: E402


def quantile(values, q):
    values = sorted(values)
    return values[min(len(values) - 1, int(q * len(values)))]


def runs(directory):
    return [read_table_file(name) for name in table_files(directory)]


def changed(cmp):
    return sum(1 for _, j in cmp.rows if j.verdict in (stats.FASTER, stats.SLOWER))


def merged(tables):
    """One table holding every run of the given single-run tables, as the comparison reads a file
    that several runs were appended to."""
    out = Table()
    for t in tables:
        out.add(copy.deepcopy(t))
    return out


def scaled(table, factor):
    t = copy.deepcopy(table)
    for line in t.lines.values():
        for sample in line.samples:
            if sample.clocks is not None:
                sample.clocks *= factor
    return t


def gate(runs, splits=20, per_side=5, seed=1):
    """Random splits of the A/A runs into two sides of `per_side` runs: how many the gate passes
    (exit 0: no line slower beyond 5 %), and of the lines a true 10 % slowdown was added to, the
    share found slower."""
    rng = random.Random(seed)
    settings = stats.Settings()
    passed, found, lines = 0, 0, 0
    for _ in range(splits):
        pick = rng.sample(range(len(runs)), 2 * per_side)
        a = merged([runs[i] for i in pick[:per_side]])
        b = merged([runs[i] for i in pick[per_side:]])
        passed += not Comparison(a, b, settings).failures(5.0)
        cmp = Comparison(a, scaled(b, 1.10), settings)
        found += sum(1 for _, j in cmp.rows if j.verdict == stats.SLOWER)
        lines += len(cmp.rows)
    return passed, splits, found, lines


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
    every = a_runs + b_runs
    if len(every) >= 10:
        passed, splits, found, lines = gate(every)
        print(f"  regression gate, 5 against 5 runs drawn from the {len(every)} A/A runs: passes {passed} of "
              f"{splits} splits; a true 10% slowdown found in {found} of {lines} lines "
              f"({found / max(1, lines) * 100:.1f}%)")
    if not os.path.isdir(os.path.join(work, "ab_a")):
        return
    cmp = Comparison(read_tables(os.path.join(work, "ab_a")), read_tables(os.path.join(work, "ab_b")), settings)
    big = [(line, j) for line, j in cmp.rows if abs(j.ratio - 1) > 0.10]
    hit = [1 for _, j in big if j.verdict == (stats.SLOWER if j.ratio > 1 else stats.FASTER)]
    print(f"A/B: {len(cmp.rows)} lines, {len(big)} with a median difference above 10%, "
          f"{len(hit)} of them detected ({len(hit) / max(1, len(big)) * 100:.1f}%); "
          + ", ".join(f"{v} {cmp.counts.get(v, 0)}" for v in stats.VERDICTS))
    print(f"  geometric mean best/baseline: {cmp.overall():.3f}")


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "build/verdicts")
