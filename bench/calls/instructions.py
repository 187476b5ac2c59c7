#!/usr/bin/env python3
"""Instructions per call of the library's entry points, for one or two builds of the library.

Runs bench_entry_calls under callgrind twice per entry point (LOW and HIGH calls) and takes the
difference, so that start-up and set-up cancel out and what remains is the instructions of one call:
argument checks, job set-up, dispatch and the few rows of a 16x4 image. Instruction counts do not
depend on the machine's load, so two builds are compared without the spread of timed runs (on these
shared machines timed A/A runs of one call differ by up to 1.8 times).

Usage: instructions.py <bench_entry_calls> <lib-dir A> [<lib-dir B>] [--low N] [--high N] [--entry NAME ...]
LD_LIBRARY_PATH, which takes precedence over the program's run path, points each run at one build.
"""
import argparse
import os
import re
import shutil
import subprocess
import sys

COLLECTED = re.compile(r"Collected : (\d+)")


def instructions(bench, libdir, entry, calls):
    env = dict(os.environ, LD_LIBRARY_PATH=libdir)
    run = subprocess.run(["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", bench, entry, str(calls)],
                         env=env, capture_output=True, text=True)
    m = COLLECTED.search(run.stderr)
    if run.returncode != 0 or not m:
        sys.exit("instructions.py: %s %s under callgrind failed (exit %d):\n%s" % (entry, calls, run.returncode,
                                                                                   run.stderr[-2000:]))
    return int(m.group(1))


def per_call(bench, libdir, entry, low, high):
    return (instructions(bench, libdir, entry, high) - instructions(bench, libdir, entry, low)) / (high - low)


def main(argv):
    ap = argparse.ArgumentParser()
    ap.add_argument("bench")
    ap.add_argument("lib_a")
    ap.add_argument("lib_b", nargs="?")
    ap.add_argument("--low", type=int, default=1000)
    ap.add_argument("--high", type=int, default=3000)
    ap.add_argument("--entry", action="append", help="entry points to count (default: all the program lists)")
    args = ap.parse_args(argv)
    if args.high <= args.low or args.low < 0:
        sys.exit("instructions.py: --high must be greater than --low, and --low at least 0")
    if not shutil.which("valgrind"):
        sys.exit("instructions.py: valgrind is not installed")
    entries = args.entry or subprocess.run([args.bench, "--list"], check=True, capture_output=True,
                                           text=True).stdout.split()
    libs = [args.lib_a] + ([args.lib_b] if args.lib_b else [])
    print("instructions per call, 16x4 image (%d-%d calls)" % (args.low, args.high))
    print("%-22s %10s" % ("entry", "A") + ("  %10s  %6s" % ("B", "B/A") if args.lib_b else ""))
    for entry in entries:
        counts = [per_call(args.bench, lib, entry, args.low, args.high) for lib in libs]
        line = "%-22s %10.1f" % (entry, counts[0])
        if args.lib_b:
            line += "  %10.1f  %6.3f" % (counts[1], counts[1] / counts[0] if counts[0] else float("nan"))
        print(line, flush=True)


if __name__ == "__main__":
    main(sys.argv[1:])
