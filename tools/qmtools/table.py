"""Reading Quillmark result tables (-r / -R csv files) and JSON results (-j).

A table file holds one or more runs. Each run starts with the title rows (two cells: name and value,
the value may itself contain commas), then the heading row that starts with "Function", then one row
per measured parameter set. Runs appended with -R repeat the title and the heading, so every run of
a line adds one sample of it. With -q+ a row of parameter names precedes a function's rows: it has
the function and parameter cells only.
"""
import csv
import json
import os
import re
from dataclasses import dataclass, field

FUNC_COLUMNS = ("Function", "funcBase", "funcDataType", "funcDescriptor")
# Results whose clocks are a figure; failures carry no figure.
FIGURE_RESULTS = {"OK", "ACCURWRN", "BADSTSWRN", "DATAWRN", "FUNCWRN", "WARNING"}
FAIL_RESULTS = {"UNDEFINED", "ACCURFAIL", "DATAFAIL", "FUNCFAIL", "EXCPTFAIL", "FAIL"}
_ACC = re.compile(r"\bacc=([0-9.]+)%")


class TableError(Exception):
    """Bad input, told as "file:line: what"."""

    def __init__(self, path, line, message):
        super().__init__(f"{path}:{line}: {message}" if line else f"{path}: {message}")
        self.path = path
        self.line = line


@dataclass
class Sample:
    clocks: float          # clocks per unit, None for a failed measurement
    result: str
    accuracy: float        # accuracy the engine reported as missed ("acc=7.3%" -> 0.073), else None
    comment: str
    where: str             # "file:line"


@dataclass
class Line:
    function: str
    base: str
    data_type: str
    descriptor: str
    params: tuple          # parameter values, trailing empty cells dropped
    unit: str = ""
    names: tuple = ()      # parameter names when the table carries name rows (-q+)
    samples: list = field(default_factory=list)
    module: str = "-"      # test class, from a summary table beside the result table

    @property
    def key(self):
        return (self.function, self.params)

    def figures(self):
        return [s.clocks for s in self.samples if s.clocks is not None]

    def label(self):
        if self.names and len(self.names) >= len(self.params):
            parts = [f"{n}={v}" for n, v in zip(self.names, self.params)]
        else:
            parts = list(self.params)
        return " ".join([self.function] + parts)


@dataclass
class Run:
    path: str
    title: dict            # title name -> value (Library may repeat: values joined by "; ")
    first_line: int


@dataclass
class Table:
    """Every line of one or more table files, samples of the same line gathered."""
    lines: dict = field(default_factory=dict)     # key -> Line, in order of first appearance
    runs: list = field(default_factory=list)
    sources: list = field(default_factory=list)

    def add(self, other):
        for key, line in other.lines.items():
            mine = self.lines.get(key)
            if mine is None:
                self.lines[key] = line
            else:
                mine.samples.extend(line.samples)
                if not mine.names:
                    mine.names = line.names
                if mine.module == "-":
                    mine.module = line.module
        self.runs.extend(other.runs)
        self.sources.extend(other.sources)


def _params(cells):
    cells = list(cells)
    while cells and cells[-1] in ("", "-"):
        cells.pop()
    return tuple(c.strip() for c in cells)


def _number(text, path, lineno, what):
    if text in ("", "-"):
        return None
    try:
        value = float(text)
    except ValueError:
        raise TableError(path, lineno, f"{what} is not a number: {text!r}") from None
    if value != value or value < 0:
        raise TableError(path, lineno, f"{what} is not a figure: {text!r}")
    return value


def read_modules(path):
    """Function -> test class from a summary table (<name>_sum.csv); empty when there is none."""
    modules = {}
    try:
        with open(path, newline="", encoding="utf-8", errors="replace") as f:
            heading = None
            for row in csv.reader(f):
                if row[:2] == ["Function", "Class"]:
                    heading = row
                elif heading and len(row) >= 2 and row[0] != "END_DATA" and not row[0].startswith("."):
                    modules[row[0]] = row[1]
    except OSError:
        pass
    return modules


def read_table_file(path):
    """Reads one result table; raises TableError naming the file and line on anything malformed."""
    table = Table(sources=[path])
    try:
        f = open(path, newline="", encoding="utf-8")
    except OSError as e:
        raise TableError(path, 0, f"cannot be read: {e.strerror}") from None
    with f:
        heading = None
        title = {}
        run = None
        names = {}
        try:
            rows = list(csv.reader(f))
        except (csv.Error, UnicodeDecodeError) as e:
            raise TableError(path, 0, f"not a csv table: {e}") from None
    for lineno, row in enumerate(rows, 1):
        if not row or all(not c.strip() for c in row):
            continue
        if row[0] == "Program":                          # the title of a run appended with -R
            heading = None
            title = {}
        if row[0] == "Function":
            missing = [c for c in FUNC_COLUMNS + ("Clocks", "Unit", "Result") if c not in row]
            if missing:
                raise TableError(path, lineno, "heading lacks column " + ", ".join(missing))
            heading = row
            col = {name: i for i, name in enumerate(row)}
            nparm = col["Clocks"] - len(FUNC_COLUMNS)
            run = Run(path, dict(title), lineno)
            table.runs.append(run)
            title = {}
            continue
        if heading is None:
            if len(row) >= 2:
                name, value = row[0], ",".join(row[1:]).strip()
                title[name] = f"{title[name]}; {value}" if name in title else value
                continue
            raise TableError(path, lineno, "row before the table heading (no \"Function,...\" line)")
        if len(row) == len(FUNC_COLUMNS) + nparm:          # parameter names (-q+)
            names[row[0]] = _params(row[len(FUNC_COLUMNS):])
            continue
        if len(row) < len(heading):
            raise TableError(path, lineno, f"{len(row)} cells where the heading has {len(heading)}")
        extra = len(row) - len(heading)
        if extra:                                        # commas inside the comment
            ci = col.get("Comment", len(heading) - 1)
            row = row[:ci] + [",".join(row[ci:ci + extra + 1])] + row[ci + extra + 1:]
        result = row[col["Result"]].strip()
        if result not in FIGURE_RESULTS and result not in FAIL_RESULTS:
            raise TableError(path, lineno, f"unknown result {result!r}")
        clocks = _number(row[col["Clocks"]].strip(), path, lineno, "Clocks")
        if result in FIGURE_RESULTS and clocks is None:
            raise TableError(path, lineno, f"result {result} without clocks")
        if result in FAIL_RESULTS:
            clocks = None
        comment = row[col["Comment"]] if "Comment" in col else ""
        m = _ACC.search(comment)
        sample = Sample(clocks, result, float(m.group(1)) / 100 if m else None, comment, f"{path}:{lineno}")
        func = row[0].strip()
        if not func:
            raise TableError(path, lineno, "empty function name")
        params = _params(row[len(FUNC_COLUMNS):col["Clocks"]])
        key = (func, params)
        line = table.lines.get(key)
        unit = row[col["Unit"]].strip()
        if line is None:
            line = Line(func, row[1], row[2], row[3], params, unit, names.get(func, ()))
            table.lines[key] = line
        elif line.unit != unit and unit != "-" and line.unit not in ("", "-"):
            raise TableError(path, lineno, f"unit {unit!r} where earlier rows of the line have {line.unit!r}")
        line.samples.append(sample)
    if not table.runs:
        raise TableError(path, 0, "no result table heading (\"Function,...\") found")
    base, _ = os.path.splitext(path)
    modules = read_modules(base + "_sum.csv")
    for line in table.lines.values():
        line.module = modules.get(line.function, "-")
    return table


JSON_FORMAT = ("quillmark-results", 1)


def json_title(meta):
    """The title pairs of a csv table, made from a JSON document's metadata, plus what only JSON carries
    (host, requested level, thread count), so that runs from both forms are described alike."""
    proc = meta.get("processor", {})
    libs = meta.get("libraries", [])
    caches = [c.get("bytes", 0) for c in proc.get("caches", [])]
    threads = meta.get("threads", {})
    level = meta.get("level", {})
    title = {
        "Program": "Quillmark " + str(meta.get("program", {}).get("version", "")),
        "Started": str(meta.get("start_time", "")),
        "Computer": str(meta.get("host", {}).get("name", "")),
        "Processor": str(proc.get("model") or proc.get("type", "")),
        "Library": "; ".join(f"{l.get('name')}, {l.get('version')}, {l.get('build_date')}" for l in libs),
        "Largest cache": f"({max(caches)} bytes)" if caches else "",
        "Threads": str(threads.get("requested") or "default"),
        "Level requested": str(level.get("requested") or "default"),
        "Level": str(level.get("active") or "-"),
    }
    return title


def read_json_file(path):
    """Reads one JSON result document (-j) into a Table; raises TableError on anything malformed."""
    try:
        with open(path, encoding="utf-8") as f:
            doc = json.load(f)
    except OSError as e:
        raise TableError(path, 0, f"cannot be read: {e.strerror}") from None
    except (ValueError, UnicodeDecodeError) as e:
        raise TableError(path, getattr(e, "lineno", 0), f"not a JSON document: {e}") from None
    if not isinstance(doc, dict) or (doc.get("format"), doc.get("version")) != JSON_FORMAT:
        raise TableError(path, 0, "not a Quillmark JSON result document (format/version)")
    meta, records = doc.get("metadata"), doc.get("records")
    if not isinstance(meta, dict) or not isinstance(records, list):
        raise TableError(path, 0, "document lacks metadata or records")
    table = Table(sources=[path])
    table.runs.append(Run(path, json_title(meta), 0))
    for i, rec in enumerate(records, 1):
        where = f"{path}:record {i}"
        try:
            func, result = rec["function"], rec["result"]
            params = tuple(p["value"] for p in rec["params"])
            names = tuple(p["name"] for p in rec["params"])
            clocks = rec["clocks"]
        except (KeyError, TypeError):
            raise TableError(path, 0, f"record {i} lacks function, result, params or clocks") from None
        if result not in FIGURE_RESULTS and result not in FAIL_RESULTS:
            raise TableError(path, 0, f"record {i}: unknown result {result!r}")
        if result in FIGURE_RESULTS and not (isinstance(clocks, (int, float)) and clocks >= 0):
            raise TableError(path, 0, f"record {i}: result {result} without clocks")
        if result in FAIL_RESULTS:
            clocks = None
        comment = " ".join(c for c in (rec.get("method_params") or "", rec.get("comment") or "") if c)
        m = _ACC.search(comment)
        sample = Sample(clocks, result, float(m.group(1)) / 100 if m else None, comment, where)
        params = _params(params)
        key = (func, params)
        line = table.lines.get(key)
        if line is None:
            line = Line(func, rec.get("base") or "-", rec.get("type") or "-", rec.get("descriptor") or "-",
                        params, rec.get("unit", ""), names[:len(params)], module=rec.get("class") or "-")
            table.lines[key] = line
        line.samples.append(sample)
    return table


_SIDE_TABLES = ("_sum.csv", "_name.csv", "_mem.csv")


def table_files(path):
    """The result tables a command-line argument names: the file itself, or a directory's csv files."""
    if os.path.isdir(path):
        files = sorted(os.path.join(path, n) for n in os.listdir(path)
                       if (n.endswith(".csv") and not n.endswith(_SIDE_TABLES)) or n.endswith(".json"))
        if not files:
            raise TableError(path, 0, "directory holds no result table (*.csv, *.json)")
        return files
    if not os.path.exists(path):
        raise TableError(path, 0, "no such file or directory")
    return [path]


def read_tables(path):
    """Every sample of the tables that a file or directory argument names, gathered into one Table."""
    table = Table()
    for name in table_files(path):
        table.add(read_json_file(name) if name.endswith(".json") else read_table_file(name))
    return table


def size_of(params, names=()):
    """Pixels (or elements) of the first size-like parameter ("WxH", or a plain number named like a
    length), with the parameter's index; (None, None) when the line has no size."""
    for i, value in enumerate(params):
        m = re.fullmatch(r"(\d+)\s*x\s*(\d+)", value)
        if m:
            return int(m.group(1)) * int(m.group(2)), i
    for i, value in enumerate(params):
        name = names[i].lower() if i < len(names) else ""
        if value.isdigit() and name in ("len", "length", "size", "n"):
            return int(value), i
    return None, None


_TYPE_BYTES = {"8u": 1, "8s": 1, "16u": 2, "16s": 2, "16f": 2, "32u": 4, "32s": 4, "32f": 4,
               "64u": 8, "64s": 8, "64f": 8, "16sc": 4, "32sc": 8, "32fc": 8, "64fc": 16}


def bytes_per_unit(line):
    """Bytes of one pixel of the line's first image: element size times channels (C1, C3, C4, AC4,
    P3...); 0 when the type is not known."""
    size = _TYPE_BYTES.get(line.data_type)
    if size is None:
        return 0
    m = re.match(r"A?[CP](\d)", line.descriptor)
    channels = int(m.group(1)) if m else 1
    return size * channels
