#!/usr/bin/env python3
"""Compiler and linker launcher of bench/budgets/measure.sh: runs the command it is given and appends
the processor time the command used (user + system, its children included) and the file it made to the
log named by QM_CPU_LOG. Processor time, unlike wall time, hardly depends on what else the machine runs,
so the build's cost can be measured on a shared machine."""
import os
import resource
import subprocess
import sys


def output_of(args):
    for i, a in enumerate(args[:-1]):
        if a == "-o":
            return args[i + 1]
    return "?"


def main(args):
    status = subprocess.call(args)
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    log = os.environ.get("QM_CPU_LOG")
    if log:
        with open(log, "a") as f:
            f.write(f"{used.ru_utime + used.ru_stime:.3f}\t{os.path.abspath(output_of(args))}\n")
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
