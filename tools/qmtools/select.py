"""Picks a representative selection of the registered tests from the -e listing: a few functions of
every test class, of different element types and single-channel layouts first, so that a new test
class is measured as soon as it is registered.

    python3 -m qmtools.select LISTING.csv [--per-class N]  ->  ini-file sections, one per function
"""
import argparse
import csv
import sys
from collections import OrderedDict

PREFERRED_TYPES = ("8u", "16s", "32f", "16u", "32s", "32fc", "64f")


def classes_of(listing_rows):
    """Test class -> its functions, in listing order, from the rows of an -e table (function, test);
    the framework's own tests (names starting with "__") are left out."""
    classes = OrderedDict()
    for row in listing_rows:
        if len(row) != 2 or not row[1].startswith("Tim") or row[0].startswith("__"):
            continue
        classes.setdefault(row[1], []).append(row[0])
    return classes


def _parts(func):
    pieces = func.split("_")
    return (pieces[1] if len(pieces) > 1 else "", pieces[2] if len(pieces) > 2 else "")


def pick(functions, count):
    """Up to count functions: one per element type in order of preference, single-channel layouts
    before others, then whatever is left in listing order."""
    ordered = sorted(functions, key=lambda f: (not _parts(f)[1].startswith("C1"),))
    chosen, types = [], set()
    for wanted in PREFERRED_TYPES + (None,):
        for f in ordered:
            t = _parts(f)[0]
            if len(chosen) >= count:
                return chosen
            if f in chosen or t in types or (wanted is not None and t != wanted):
                continue
            chosen.append(f)
            types.add(t)
            break
    for f in ordered:
        if len(chosen) >= count:
            break
        if f not in chosen:
            chosen.append(f)
    return chosen


def main(argv=None):
    p = argparse.ArgumentParser(prog="qmtools.select", description=__doc__.split("\n\n")[0])
    p.add_argument("listing")
    p.add_argument("--per-class", type=int, default=3)
    args = p.parse_args(argv)
    with open(args.listing, newline="") as f:
        classes = classes_of(csv.reader(f))
    if not classes:
        print(f"{args.listing}: no test classes in the listing", file=sys.stderr)
        return 2
    for functions in classes.values():
        for func in pick(functions, args.per_class):
            print(f"[{func}]")
    return 0


if __name__ == "__main__":
    sys.exit(main())
