#!/usr/bin/python3
"""Span length against the clock interruption: the Manual method at fixed loop counts (one timed
span of that many calls), with the spans started after an interruption (QM_TICK_ALIGN on, the
default) and anywhere (QM_TICK_ALIGN=0), alternating processes so that a change of the machine's
state over time hits both alike. Prints per loop count the figures' median and 10th-90th
percentile range. Usage: spans.py [build-dir] [rounds]"""
import os
import statistics
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.realpath(__file__)), "..", "..", "tools"))
from qmtools.table import read_table_file  # noqa: E402

FUNCTION = os.environ.get("FUNCTION", "zkriAdd_8u_C1RSfs")
SIZE = os.environ.get("SIZE", "512x512")


def measure(binary, work, loops, align):
    env = dict(os.environ, QM_TICK_ALIGN="1" if align else "0", QM_CPU_MHZ=os.environ.get("QM_CPU_MHZ", "2000"))
    sizes = "; ".join([SIZE] * 4)
    subprocess.run([binary, "-B", "-N1", "-dMethod=Manual", f"-dNumLoops={loops}", f"-f={FUNCTION}",
                    "-dscaleFactor=0", f"-dSize={sizes}", "-LE", f"-l{work}", "-nspan", "-r"],
                   env=env, stdout=subprocess.DEVNULL, check=False)
    table = read_table_file(os.path.join(work, "span.csv"))
    return [s.clocks for line in table.lines.values() for s in line.samples if s.clocks is not None]


def main(build, rounds):
    binary = os.path.join(build, "bin", "quillmark")
    figures = {}
    with tempfile.TemporaryDirectory() as work:
        for _ in range(rounds):
            for loops in (4, 16, 64, 256, 1024):
                for align in (False, True):
                    figures.setdefault((loops, align), []).extend(measure(binary, work, loops, align))
    print(f"{FUNCTION} {SIZE}, Manual method, {rounds} rounds of 4 spans per loop count and side")
    print(f"{'loops':>6} {'aligned':>8} {'median':>8} {'p10':>8} {'p90':>8} {'p90/p10':>8}")
    for (loops, align), f in sorted(figures.items()):
        f.sort()
        p10, p90 = f[len(f) // 10], f[min(len(f) - 1, len(f) * 9 // 10)]
        print(f"{loops:>6} {'yes' if align else 'no':>8} {statistics.median(f):>8.4f} {p10:>8.4f} {p90:>8.4f} {p90 / p10:>8.3f}")


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "build", int(sys.argv[2]) if len(sys.argv) > 2 else 8)
