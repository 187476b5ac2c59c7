"""Checks Quillmark JSON result documents (-j) against their schema.

    python3 -m qmtools.validate [--schema FILE] DOCUMENT...

Prints one line per fault ("file: path.to.member: what") and exits 1 when any document fails, 2 when
a document or the schema cannot be read.
"""
import argparse
import json
import os
import sys

import jsonschema


def default_schema():
    """The schema beside the installed package, else the source tree's docs/results.schema.json."""
    here = os.path.dirname(os.path.abspath(__file__))
    for p in (os.path.join(here, "results.schema.json"), os.path.join(here, "..", "..", "docs", "results.schema.json")):
        if os.path.exists(p):
            return p
    return None


def faults(doc, schema):
    """Every fault of one document, as "path: message", in the order of the document."""
    validator = jsonschema.Draft202012Validator(schema)
    out = []
    for e in sorted(validator.iter_errors(doc), key=lambda e: [str(p) for p in e.absolute_path]):
        where = ".".join(str(p) for p in e.absolute_path) or "(document)"
        out.append(f"{where}: {e.message}")
    return out


def main(argv=None):
    p = argparse.ArgumentParser(prog="qmtools.validate", description=__doc__.split("\n\n")[0])
    p.add_argument("--schema", default=default_schema())
    p.add_argument("documents", nargs="+")
    args = p.parse_args(argv)
    try:
        with open(args.schema, encoding="utf-8") as f:
            schema = json.load(f)
    except (OSError, TypeError, ValueError) as e:
        print(f"{args.schema}: schema cannot be read: {e}", file=sys.stderr)
        return 2
    status = 0
    for name in args.documents:
        try:
            with open(name, encoding="utf-8") as f:
                doc = json.load(f)
        except (OSError, ValueError) as e:
            print(f"{name}: {e}", file=sys.stderr)
            return 2
        for fault in faults(doc, schema):
            print(f"{name}: {fault}")
            status = 1
    return status


if __name__ == "__main__":
    sys.exit(main())
