#!/usr/bin/env python3
"""Cost of a family, from the processor-time log of a clean build (measure.sh's cpu_times_clean.log):
per family its library objects (entry points and kernels of every level), its reference-model test,
and per test module its source, each against the number of functions it carries; a least-squares line
through each, and the projection for the families still to come.

Usage: fit.py <cpu_times_clean.log> [--families N --functions M --modules-per-family R]
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


def costs(log):
    seen = {}
    with open(log) as f:
        for line in f:
            sec, out = line.rstrip("\n").split("\t")
            seen[out] = float(sec)
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


def main(argv):
    ap = argparse.ArgumentParser()
    ap.add_argument("log")
    ap.add_argument("--families", type=int, default=52, help="families still to come")
    ap.add_argument("--functions", type=int, default=1297, help="their functions")
    ap.add_argument("--modules-per-family", type=float, default=1.3)
    a = ap.parse_args(argv)
    lib, test, mod = costs(a.log)
    fams, mods = family_sizes(), module_sizes()
    lib_fit = fit([(fams[f], s) for f, s in lib.items() if f in fams])
    test_fit = fit([(fams[f], s) for f, s in test.items() if f in fams])
    mod_fit = fit([(mods[m], s) for m, s in mod.items() if m in mods])
    n = a.functions / a.families
    per_family = {
        "library": lib_fit[0] + lib_fit[1] * n,
        "modules": a.modules_per_family * mod_fit[0] + mod_fit[1] * n,
        "test": test_fit[0] + test_fit[1] * n,
    }
    print("families measured: %d (%d functions), modules: %d" % (len(lib), sum(fams.values()), len(mod)))
    print("library %.1f + %.3f n s, module %.1f + %.3f n s, test %.1f + %.3f n s"
          % (lib_fit + mod_fit + test_fit))
    print("a family of %.0f functions with %.1f modules: library %.1f s, modules %.1f s, test %.1f s;"
          " product %.1f s, everything %.1f s"
          % (n, a.modules_per_family, per_family["library"], per_family["modules"], per_family["test"],
             per_family["library"] + per_family["modules"], sum(per_family.values())))
    print("the %d families to come: product +%.0f s, everything +%.0f s of steps"
          % (a.families, a.families * (per_family["library"] + per_family["modules"]),
             a.families * sum(per_family.values())))


if __name__ == "__main__":
    main(sys.argv[1:])
