#!/usr/bin/env python3
"""Prints the library families a sanitizer build takes, as a CMake list (QM_FAMILIES).

The plain build and its tests cover every family. The sanitizer builds cover the framework, every
family that a test outside the families' own tests names (its modules or functions: the end-to-end,
unit, fixture and fuzz tests, the scripts, libzkrs), and one of GROUPS rotating groups of the others,
each with the families a module or test needs beside it (one that expands several families' tables).
The group follows the day of the checked-out commit, so every family is in a sanitizer build at
least once every GROUPS days of commits, and a given commit always gives the same sample.

    tools/family-sample.py [--groups N] [--group K] [--list]
"""
import argparse
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
TABLE_REF = re.compile(r'"([a-z0-9_]+)/[A-Za-z0-9_]+\.tbl"')
ROW = re.compile(r"^\s*ZKR_FN(?:_AUX)?\(\s*(\w+)", re.M)
MODULE = re.compile(r"Tim[A-Za-z0-9_]+")  # also inside "-tTimiAdd"
FUNCTION = re.compile(r"\bzkri\w+\b")
# Where a test that runs the program or the library outside the families' own tests may name a
# module or a function (the unit tests only parse names, the fuzz targets only the program's input).
PINNING_SOURCES = ["tests/e2e", "tests/fixtures", "tests/tools", "tests/data", "Makefile", ".ci",
                   "zkr/CMakeLists.txt", "zkr/src"]


def families():
    """Folder name -> the function names of its tables."""
    out = {}
    for d in sorted((ROOT / "zkr" / "families").iterdir()):
        tables = list(d.glob("*.tbl")) if d.is_dir() else []
        if tables:
            out[d.name] = {m.group(1) for t in tables for m in ROW.finditer(t.read_text(errors="replace"))}
    return out


def modules():
    """Test class name -> family, from the module sources' table references."""
    out = {}
    for src in (ROOT / "zkri" / "src").glob("*.cpp"):
        text = src.read_text(errors="replace")
        ref = TABLE_REF.search(text)
        if ref:
            for name in MODULE.findall(text):
                out.setdefault(name, ref.group(1))
    return out


def pinned(fams, mods):
    by_function = {f: fam for fam, fns in fams.items() for f in fns}
    found = set()
    for place in PINNING_SOURCES:
        path = ROOT / place
        files = [path] if path.is_file() else [p for p in path.rglob("*") if p.is_file()] if path.is_dir() else []
        for f in files:
            if f.name == pathlib.Path(__file__).name:
                continue
            text = f.read_text(errors="replace")
            found.update(mods[m] for m in MODULE.findall(text) if m in mods)
            found.update(by_function[n] for n in FUNCTION.findall(text) if n in by_function)
            found.update(m.group(1) for m in re.finditer(r"families/([a-z0-9_]+)", text) if m.group(1) in fams)
    return found


def together():
    """Sets of families that one source needs at once (a module expanding several families' tables)."""
    groups = []
    for folder in ["zkri/src", "tests/zkr/families", "bench/zkr_kernels"]:
        for src in (ROOT / folder).glob("*.cpp"):
            fams = set(TABLE_REF.findall(src.read_text(errors="replace")))
            if len(fams) > 1:
                groups.append(fams)
    return groups


def closed(chosen, groups):
    """The chosen families with every family a source needs beside a chosen one."""
    chosen = set(chosen)
    changed = True
    while changed:
        changed = False
        for g in groups:
            if chosen & g and not g <= chosen:
                chosen |= g
                changed = True
    return chosen


def commit_day():
    try:
        t = subprocess.run(["git", "-C", str(ROOT), "log", "-1", "--format=%ct"], capture_output=True, text=True,
                           check=True).stdout.strip()
        return int(t) // 86400
    except (subprocess.CalledProcessError, FileNotFoundError, ValueError):
        return 0


def main(argv):
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--groups", type=int, default=3, help="rotating groups of the unpinned families (default 3)")
    ap.add_argument("--group", type=int, help="the group to take (default: the commit's day modulo --groups)")
    ap.add_argument("--list", action="store_true", help="one family a line, with why it is taken")
    a = ap.parse_args(argv)
    if a.groups < 1:
        ap.error("--groups must be at least 1")
    fams = families()
    groups = [g & set(fams) for g in together()]
    pins = closed(pinned(fams, modules()), groups)
    rest = sorted(set(fams) - pins)
    group = (a.group if a.group is not None else commit_day()) % a.groups
    rotating = [f for i, f in enumerate(rest) if i % a.groups == group]
    rotating = sorted(closed(rotating, groups) - pins)
    chosen = sorted(pins | set(rotating))
    if a.list:
        for f in sorted(fams):
            why = "named outside its tests" if f in pins else (f"group {group}" if f in rotating else "-")
            print(f"{f:16} {why}")
    else:
        print(";".join(chosen))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
