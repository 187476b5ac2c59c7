"""Picks a representative selection of the registered tests from the -e listing: a few functions of
every test class, of different element types and single-channel layouts first, so that a new test
class is measured as soon as it is registered.

    python3 -m qmtools.select LISTING.csv [--per-class N] [--total M]  ->  ini-file sections, one per function

With --total the selection stays within M functions as the catalogue grows: every class keeps at least
one function, and the classes share what is left evenly, the earlier classes in the listing taking the
remainder. --all selects every function of the listing.

--shard I/N prints only the I-th of N shards of the selection (I from 1): the functions are dealt out
in turn, so every function of the selection is in exactly one shard and the shards differ in length by
one function at most. N machines measure one selection by running one shard each (-i SHARD.ini -P);
quillmark-report and quillmark-compare merge their tables or JSON documents.
"""
import argparse
import csv
import sys
from collections import OrderedDict

PREFERRED_TYPES = ("8u", "16s", "32f", "16u", "32s", "32fc", "64f")


def classes_of(listing_rows):
    """Test class -> its functions, in listing order, from the rows of an -e table (function, test):
    the library's functions (names starting with "zkr") under whatever their class is called
    ("TimiAdd", "iAlphaComp__YS"); the framework's own tests and the table's header rows are left out."""
    classes = OrderedDict()
    for row in listing_rows:
        if len(row) != 2 or not row[0].startswith("zkr"):
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


def counts(n_classes, per_class, total=None):
    """How many functions each of n_classes classes contributes: per_class each, or, with a total,
    an even share of it (at least one, at most per_class), the first classes taking the remainder."""
    if total is None or n_classes * per_class <= total:
        return [per_class] * n_classes
    share = max(1, total // n_classes)
    extra = max(0, total - share * n_classes)
    return [min(per_class, share + (1 if i < extra else 0)) for i in range(n_classes)]


def shard_of(functions, index, count):
    """The functions of shard index (1..count): every count-th function from the index-th on."""
    return functions[index - 1::count]


def parse_shard(text):
    """"I/N" -> (I, N) with 1 <= I <= N; raises ValueError otherwise."""
    i, n = (int(x) for x in text.split("/"))
    if not 1 <= i <= n:
        raise ValueError(text)
    return i, n


def main(argv=None):
    p = argparse.ArgumentParser(prog="qmtools.select", description=__doc__.split("\n\n")[0])
    p.add_argument("listing")
    p.add_argument("--per-class", type=int, default=3)
    p.add_argument("--total", type=int, default=None, help="at most this many functions (one per class at least)")
    p.add_argument("--all", action="store_true", help="every function of the listing")
    p.add_argument("--shard", metavar="I/N", help="only the I-th of N shards of the selection")
    args = p.parse_args(argv)
    shard = (1, 1)
    if args.shard:
        try:
            shard = parse_shard(args.shard)
        except ValueError:
            print(f"--shard wants I/N with 1 <= I <= N, not {args.shard!r}", file=sys.stderr)
            return 2
    if args.per_class < 1 or (args.total is not None and args.total < 1):
        print("--per-class and --total must be at least 1", file=sys.stderr)
        return 2
    with open(args.listing, newline="") as f:
        classes = classes_of(csv.reader(f))
    if not classes:
        print(f"{args.listing}: no test classes in the listing", file=sys.stderr)
        return 2
    if args.all:
        chosen = [f for functions in classes.values() for f in functions]
    else:
        chosen = [f for functions, count in zip(classes.values(), counts(len(classes), args.per_class, args.total))
                  for f in pick(functions, count)]
    chosen = list(dict.fromkeys(chosen))  # a function listed under two classes is measured once
    for func in shard_of(chosen, *shard):
        print(f"[{func}]")
    return 0


if __name__ == "__main__":
    sys.exit(main())
