"""Building test tables from the recorded ones: the same layout, chosen figures."""
import csv
import os

DATA = os.path.join(os.path.dirname(os.path.abspath(__file__)), "data")
TOOLS = os.path.abspath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tools"))


def data(name):
    return os.path.join(DATA, name)


def scaled_copy(src, dst, factor):
    """A copy of a recorded table with every Clocks cell multiplied by factor."""
    with open(src, newline="") as f:
        rows = list(csv.reader(f))
    clocks = None
    for row in rows:
        if row and row[0] == "Function":
            clocks = row.index("Clocks")
        elif clocks is not None and len(row) > clocks and row[clocks] not in ("-", ""):
            row[clocks] = f"{float(row[clocks]) * factor:.6g}"
    with open(dst, "w", newline="") as f:
        csv.writer(f, lineterminator="\n").writerows(rows)
    return dst


HEADING = ("Function,funcBase,funcDataType,funcDescriptor,Parm1,Parm2,Clocks,Unit,Time (usec),MFlops,"
           "Result,Comment\n")


def table_text(lines, title=True):
    """A table of one run: lines are (function, size, clocks[, result[, comment]])."""
    text = "Program,Quillmark 2.0\nStarted,2026-11-22 10:00:00\n" if title else ""
    text += HEADING
    for entry in lines:
        func, size, clocks = entry[:3]
        result = entry[3] if len(entry) > 3 else "OK"
        comment = entry[4] if len(entry) > 4 else "nLps=8"
        base, typ, descr = func[4:].split("_", 2)
        text += f"{func},{base},{typ},{descr},{size},-,{clocks},pxch,1.0,-,{result},{comment}\n"
    return text


def write_runs(path, runs):
    """A table of several appended runs, each a list of lines as for table_text."""
    with open(path, "w") as f:
        for lines in runs:
            f.write(table_text(lines))
    return str(path)
