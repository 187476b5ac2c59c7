#!/usr/bin/env python3
"""Cost of a family, from the processor-time log of a clean build (measure.sh's cpu_times_clean.log):
per family its library objects (entry points and kernels of every level), its reference-model test,
and per test module its source, each against the number of functions it carries; a least-squares line
through each, and the projection for the test modules still to come.

Usage: fit.py <cpu_times_clean.log> [--modules N --functions M --folders F --cores C]
"""
import argparse
import collections
import glob
import os
import re
import statistics
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def rows(table):
    with open(table) as f:
        return sum(1 for line in f if line.startswith("ZKR_FN("))


def family_sizes():
    sizes = {}
    for d in sorted(glob.glob(os.path.join(ROOT, "zkr/families/*/"))):
        sizes[os.path.basename(d.rstrip("/"))] = sum(rows(t) for t in glob.glob(d + "*.tbl"))
    return sizes


def module_sizes():
    sizes = {}
    for src in glob.glob(os.path.join(ROOT, "zkri/src/p_*_ia.cpp")):
        with open(src) as f:
            m = re.search(r'#define ZK_FAMILY_TABLE "([^"]+)"', f.read())
        if m:
            sizes[os.path.basename(src)[2:-7]] = rows(os.path.join(ROOT, "zkr/families", m.group(1)))
    return sizes


def fit(points):
    """Least-squares a + b n through (n, seconds) points."""
    slope, intercept = statistics.linear_regression([x for x, _ in points], [y for _, y in points])
    return intercept, slope


def read_log(log):
    """Processor seconds per output of the launcher's log (a rebuilt output counts once, its last time)."""
    seen = {}
    with open(log) as f:
        for line in f:
            sec, out = line.rstrip("\n").split("\t")
            seen[out] = float(sec)
    return seen


def costs(log):
    seen = read_log(log)
    lib, test, mod = collections.Counter(), collections.Counter(), collections.Counter()
    for out, sec in seen.items():
        m = re.search(r"zkrfam_([a-z0-9]+?)(_base|_avx2|_avx512)?\.dir", out)
        if m:
            lib[m.group(1)] += sec
        m = re.search(r"zkr_tests\.dir/families/(\w+?)(_edges)?_test\.cpp\.o$", out)
        if m:
            test[m.group(1)] += sec
        m = re.search(r"/p_(\w+?)_ia\.cpp\.o$", out)
        if m:
            mod[m.group(1)] += sec
    return lib, test, mod


def totals(log):
    """Processor seconds of the clean build: the product (framework, library, program) and everything."""
    seen = read_log(log)
    # Tests, fixtures and benchmarks: their objects under tests/ and bench/, their programs in bin/.
    extra = re.compile(r"(^|/)(tests|bench)/|(^|/)bin/(qm_|zkr_tests|bench_)")
    product = sum(sec for out, sec in seen.items() if not extra.search(out))
    return product, sum(seen.values())


def main(argv):
    ap = argparse.ArgumentParser()
    ap.add_argument("log")
    ap.add_argument("--modules", type=int, default=38, help="test modules still to come")
    ap.add_argument("--functions", type=int, default=1297, help="the functions they measure")
    ap.add_argument("--folders", type=int, default=None,
                    help="library folders they bring (default: one per module, the most it can be)")
    ap.add_argument("--cores", type=float, default=1.89,
                    help="cores' worth a -j2 build keeps busy (steps / wall time of the measured build)")
    a = ap.parse_args(argv)
    folders = a.modules if a.folders is None else a.folders
    lib, test, mod = costs(a.log)
    fams, mods = family_sizes(), module_sizes()
    lib_fit = fit([(fams[f], s) for f, s in lib.items() if f in fams])
    test_fit = fit([(fams[f], s) for f, s in test.items() if f in fams])
    mod_fit = fit([(mods[m], s) for m, s in mod.items() if m in mods])
    # Each line is a fixed part per object group plus a part per function, so what the catalogue adds is
    # the fixed parts times the number of folders (library, reference test) or modules, plus the
    # per-function parts times the functions, however the functions are spread.
    add = {
        "library": folders * lib_fit[0] + a.functions * lib_fit[1],
        "modules": a.modules * mod_fit[0] + a.functions * mod_fit[1],
        "tests": folders * test_fit[0] + a.functions * test_fit[1],
    }
    product, everything = totals(a.log)
    print("measured: %d library folders (%d functions), %d modules" % (len(lib), sum(fams.values()), len(mod)))
    print("fits: library %.1f + %.3f n s per folder, module %.1f + %.3f n s, reference test %.1f + %.3f n s"
          % (lib_fit + mod_fit + test_fit))
    print("to come: %d modules, %d functions, %d library folders: library +%.0f s, modules +%.0f s,"
          " reference tests +%.0f s of steps" % (a.modules, a.functions, folders, add["library"],
                                                 add["modules"], add["tests"]))
    for name, today, extra in (("product", product, add["library"] + add["modules"]),
                               ("everything", everything, sum(add.values()))):
        full = today + extra
        print("%-10s today %4.0f s of steps; full catalogue %4.0f s, at -j2 about %3.0f s (%.1f minutes)"
              % (name, today, full, full / a.cores, full / a.cores / 60))


if __name__ == "__main__":
    main(sys.argv[1:])
