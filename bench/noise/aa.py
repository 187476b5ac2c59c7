#!/usr/bin/python3
"""Figures of bench/noise/aa.sh: per variant, the |difference| between the two runs of each pair,
line by line; the share of "OK" lines that repeat within 10 %; milliseconds per line."""
import glob
import os
import statistics
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.realpath(__file__)), "..", "..", "tools"))
from qmtools.table import read_table_file  # noqa: E402


def quantile(values, q):
    values = sorted(values)
    return values[min(len(values) - 1, int(q * len(values)))] if values else float("nan")


def pair_figures(a, b):
    """(|difference|, both said OK, OK repeats within 10 %) for every line both runs measured."""
    out = []
    for key, line in a.lines.items():
        other = b.lines.get(key)
        if not other or not line.figures() or not other.figures():
            continue
        x, y = line.figures()[0], other.figures()[0]
        d = abs(y - x) / x if x > 0 else 0.0
        ok = [s.result == "OK" for s in line.samples + other.samples]
        out.append((d, ok))
    return out


def main(work, variants):
    for v in variants:
        d = os.path.join(work, v.replace(":", "_").replace("=", "_").replace("/", "_"))
        diffs, ok_lines, ok_repeat, lines, seconds = [], 0, 0, 0, 0.0
        for fa in sorted(glob.glob(os.path.join(d, "pair*_a.csv"))):
            fb = fa[:-6] + "_b.csv"
            if not os.path.exists(fb):
                continue
            for diff, ok in pair_figures(read_table_file(fa), read_table_file(fb)):
                diffs.append(diff)
                for said_ok in ok:
                    if said_ok:
                        ok_lines += 1
                        ok_repeat += diff <= 0.10
            for f in (fa, fb):
                seconds += float(open(f[:-4] + ".seconds").read())
                lines += len(read_table_file(f).lines)
        if not diffs:
            print(f"{v}: no pairs")
            continue
        print(f"{v}: {len(diffs)} line pairs; |difference| median {statistics.median(diffs) * 100:.2f}%, "
              f"90th {quantile(diffs, 0.9) * 100:.2f}%, 99th {quantile(diffs, 0.99) * 100:.2f}%; "
              f"OK {ok_lines} of {2 * len(diffs)} figures, {ok_repeat / max(1, ok_lines) * 100:.1f}% of them "
              f"repeat within 10%; {seconds / max(1, lines) * 1000:.1f} ms per line")


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2:] or ["default"])
