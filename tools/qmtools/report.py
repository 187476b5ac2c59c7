"""quillmark-report: one HTML page with the scaling curves of every function and, for tables of
different instruction-set levels, library builds or thread counts, their speedups side by side."""
import argparse
import base64
import glob
import html
import io
import os
import re
import statistics
import subprocess
import sys
from collections import OrderedDict

from . import stats
from .table import TableError, bytes_per_unit, read_tables, size_of

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import matplotlib.ticker  # noqa: E402


def parse_args(argv):
    p = argparse.ArgumentParser(
        prog="quillmark-report",
        description="Draw Quillmark result tables into one self-contained HTML page. Each TABLE is a "
                    "result table or a directory of them, optionally labelled as LABEL=PATH (else the "
                    "file or directory name is the label). The first table is the reference of the "
                    "speedup matrix.")
    p.add_argument("tables", nargs="+", metavar="TABLE")
    p.add_argument("-o", "--output", required=True, metavar="PAGE.html")
    p.add_argument("--title", default="Quillmark report")
    p.add_argument("--plots-dir", metavar="DIR", help="also write every plot as a PNG file into DIR")
    return p.parse_args(argv)


# ---------------------------------------------------------------- caches

def _bytes(text):
    m = re.fullmatch(r"\s*(\d+)\s*([KMG]?)B?\s*", text, re.I)
    if not m:
        return None
    return int(m.group(1)) * {"": 1, "K": 1 << 10, "M": 1 << 20, "G": 1 << 30}[m.group(2).upper()]


def cache_sizes(sysfs="/sys/devices/system/cpu/cpu0/cache", runs=(), getconf="getconf"):
    """Data and unified cache sizes in bytes by name ("L1d", "L2", ...): from sysfs, else from the C
    library's view of the processor, else the largest cache of the tables' title."""
    caches = OrderedDict()
    for d in sorted(glob.glob(os.path.join(sysfs, "index*"))):
        try:
            level = open(os.path.join(d, "level")).read().strip()
            kind = open(os.path.join(d, "type")).read().strip()
            size = _bytes(open(os.path.join(d, "size")).read())
        except OSError:
            continue
        if kind in ("Data", "Unified") and size:
            caches[f"L{level}" + ("d" if kind == "Data" else "")] = size
    if caches:
        return caches
    for name, key in (("L1d", "LEVEL1_DCACHE_SIZE"), ("L2", "LEVEL2_CACHE_SIZE"),
                      ("L3", "LEVEL3_CACHE_SIZE")):
        try:
            text = subprocess.run([getconf, key], capture_output=True, text=True, timeout=10).stdout.strip()
        except (OSError, subprocess.SubprocessError):
            break
        if text.isdigit() and int(text) > 0:
            caches[name] = int(text)
    if caches:
        return caches
    for run in runs:
        m = re.search(r"\((\d+) bytes\)", run.title.get("Largest cache", ""))
        if m:
            caches["largest"] = int(m.group(1))
            break
    return caches


def _size_text(n):
    for unit, shift in (("GiB", 30), ("MiB", 20), ("KiB", 10)):
        if n >= 1 << shift and n % (1 << shift) == 0:
            return f"{n >> shift} {unit}"
    return f"{n} B"


# ---------------------------------------------------------------- data

class Source:
    def __init__(self, label, path, table):
        self.label, self.path, self.table = label, path, table

    def describe(self):
        run = self.table.runs[0]
        return {k: run.title.get(k, "-") for k in ("Started", "Processor", "Library", "Computer", "Threads",
                                                   "Level requested")}

    def code_path(self):
        """The library's code path in force, from its version text ("1.0.0 (ref avx2)" gives
        "ref avx2"), or None when the title does not say."""
        for run in self.table.runs:
            m = re.search(r"\(([^()]*)\)", run.title.get("Library", ""))
            if m:
                return m.group(1)
        return None


def same_code(sources):
    """label -> label of the first earlier table whose library ran the same code path: levels that
    differ only in name (a level the library has no kernels of runs the next lower one's)."""
    first = {}
    result = {}
    for src in sources:
        path = src.code_path()
        if path is None:
            continue
        if path in first:
            result[src.label] = first[path]
        else:
            first[path] = src.label
    return result


def load(args):
    sources = []
    for arg in args:
        label, path = arg.split("=", 1) if "=" in arg and not os.path.exists(arg) else (None, arg)
        if label is None:
            label = os.path.splitext(os.path.basename(os.path.normpath(path)))[0]
        sources.append(Source(label, path, read_tables(path)))
    return sources


def curves(sources):
    """function -> {(label, other parameters): [(x, clocks per unit)]}, with x the bytes of one
    image (or the units when the element size is not known) and whether x is in bytes."""
    result = OrderedDict()
    in_bytes = {}
    known_names = {}
    for src in sources:
        for line in src.table.lines.values():
            if line.names:
                known_names.setdefault(line.function, line.names)
    for src in sources:
        for line in src.table.lines.values():
            figures = line.figures()
            names = line.names or known_names.get(line.function, ())
            units, index = size_of(line.params, names)
            if not figures or units is None:
                continue
            bpu = bytes_per_unit(line)
            x = units * bpu if bpu else units
            in_bytes[line.function] = bool(bpu)
            others = tuple(v for i, v in enumerate(line.params) if i != index)
            names = tuple(n for i, n in enumerate(names) if i != index)
            other = " ".join(f"{n}={v}" for n, v in zip(names, others)) if names else " ".join(others)
            group = result.setdefault(line.function, OrderedDict()).setdefault((src.label, other), [])
            group.append((x, statistics.median(figures), min(figures), max(figures)))
    for groups in result.values():
        for pts in groups.values():
            pts.sort()
    return result, in_bytes


def speedups(sources):
    """function -> [speedup of each source against the first]: the geometric mean over the lines
    both measured of first / this (above 1: faster than the first)."""
    first = sources[0].table.lines
    functions = OrderedDict()
    for src in sources:
        for line in src.table.lines.values():
            functions.setdefault(line.function, None)
    matrix = OrderedDict()
    for func in functions:
        row = []
        for src in sources:
            ratios = []
            for key, line in src.table.lines.items():
                ref = first.get(key)
                if key[0] != func or ref is None or not line.figures() or not ref.figures():
                    continue
                ratios.append(statistics.median(ref.figures()) / statistics.median(line.figures()))
            row.append(stats.geometric_mean(ratios))
        matrix[func] = row
    return matrix


def overall_row(matrix, count):
    """Per table, the geometric mean of its functions' speedups (the functions it measured)."""
    return [stats.geometric_mean([row[i] for row in matrix.values() if row[i] is not None]) for i in range(count)]


# ---------------------------------------------------------------- drawing

def _png(fig):
    buf = io.BytesIO()
    fig.savefig(buf, format="png", dpi=90)
    plt.close(fig)
    return buf.getvalue()


MAX_LINES = 8   # lines in one plot at most: more go to further small plots of the same function


def panels(groups, limit=MAX_LINES):
    """The groups of one function split into small plots of at most `limit` lines: the lines of one
    parameter set (all tables) stay together while they fit, consecutive sets share a plot while the
    plot has room."""
    by_other = OrderedDict()
    for key in groups:
        by_other.setdefault(key[1], []).append(key)
    out, current = [], []
    for keys in by_other.values():
        for i in range(0, len(keys), limit):
            chunk = keys[i:i + limit]
            if current and len(current) + len(chunk) > limit:
                out.append(current)
                current = []
            current = current + chunk
    if current:
        out.append(current)
    return out


def plot_function(func, groups, caches, in_bytes, unit):
    parts = panels(groups)
    cols = min(3, len(parts))
    rows = (len(parts) + cols - 1) // cols
    fig, axes = plt.subplots(rows, cols, figsize=(4.2 * cols + 1.0, 3.2 * rows), squeeze=False)
    labels = list(OrderedDict.fromkeys(label for label, _ in groups))
    others = list(OrderedDict.fromkeys(other for _, other in groups))
    colours = plt.rcParams["axes.prop_cycle"].by_key()["color"]
    styles = ["-", "--", ":", "-."]
    markers = ["o", "s", "^", "v", "D"]
    for n, ax in enumerate(axes.flat):
        if n >= len(parts):
            ax.set_visible(False)
            continue
        for label, other in parts[n]:
            pts = groups[(label, other)]
            li, oi = labels.index(label), others.index(other)
            colour = colours[li % len(colours)]
            xs = [p[0] for p in pts]
            ax.plot(xs, [p[1] for p in pts], linestyle=styles[oi % len(styles)],
                    marker=markers[oi % len(markers)], color=colour, label=label + (f" {other}" if other else ""))
            # The band from the lowest to the highest run of each point: the figure's spread.
            if any(p[3] > p[2] for p in pts):
                ax.fill_between(xs, [p[2] for p in pts], [p[3] for p in pts], color=colour, alpha=0.18, linewidth=0)
        ax.set_xscale("log", base=2)
        if in_bytes:
            ax.xaxis.set_major_formatter(matplotlib.ticker.FuncFormatter(lambda v, _: _size_text(int(round(v)))))
        ax.set_xlabel("bytes of one image" if in_bytes else "units", fontsize=8)
        ax.set_ylabel(f"clocks per {unit}", fontsize=8)
        ax.tick_params(labelsize=7)
        ax.set_ylim(bottom=0)
        if in_bytes:
            lo, hi = ax.get_xlim()
            for name, size in caches.items():
                if lo <= size <= hi:
                    ax.axvline(size, color="grey", linewidth=0.8, linestyle="--")
                    ax.text(size, 0.02, f" {name}", transform=ax.get_xaxis_transform(), va="bottom",
                            ha="left", fontsize=7, color="grey")
            ax.set_xlim(lo, hi)
        ax.grid(True, which="major", alpha=0.3)
        ax.legend(fontsize=6, loc="best")
    fig.suptitle(func, fontsize=10)
    fig.tight_layout()
    return _png(fig)


def _cell_colour(s):
    if s is None:
        return "#eeeeee"
    if s >= 1:
        g = min(1.0, (s - 1) / 3)                   # up to 4x: white to green
        return "#%02x%02x%02x" % (int(255 - 120 * g), 255, int(255 - 120 * g))
    r = min(1.0, (1 / s - 1) / 1)                   # down to 0.5x: white to red
    return "#%02x%02x%02x" % (255, int(255 - 120 * r), int(255 - 120 * r))


# ---------------------------------------------------------------- the page

def _slug(text):
    return re.sub(r"[^A-Za-z0-9_]+", "-", text)


def build_page(sources, title, plots_dir=None):
    esc = html.escape
    caches = cache_sizes(runs=[r for s in sources for r in s.table.runs])
    lines_curves, in_bytes = curves(sources)
    matrix = speedups(sources)
    units = {}
    for src in sources:
        for line in src.table.lines.values():
            units.setdefault(line.function, line.unit or "unit")
    out = io.StringIO()
    w = out.write
    w(f"<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>{esc(title)}</title>\n"
      "<style>body{font-family:sans-serif;margin:1.5em;max-width:80em}table{border-collapse:collapse;"
      "margin:0.5em 0}td,th{border:1px solid #bbb;padding:0.2em 0.6em;text-align:left}"
      ".num{text-align:right}figure{display:block;margin:0.3em 0}"
      "img{border:1px solid #ddd}</style></head><body>\n")
    w(f"<h1>{esc(title)}</h1>\n")
    w("<section id=\"runs\"><h2>Tables</h2>\n<table><tr><th>label</th><th>file</th><th>runs</th>"
      "<th>lines</th><th>started</th><th>computer</th><th>processor</th><th>library</th><th>level asked</th>"
      "<th>threads</th></tr>\n")
    for src in sources:
        d = src.describe()
        w(f"<tr><td>{esc(src.label)}</td><td title=\"{esc(src.path)}\">{esc(os.path.basename(src.path))}</td>"
          f"<td class=\"num\">{len(src.table.runs)}</td><td class=\"num\">{len(src.table.lines)}</td>"
          f"<td>{esc(d['Started'])}</td><td>{esc(d['Computer'])}</td><td>{esc(d['Processor'])}</td>"
          f"<td>{esc(d['Library'])}</td><td>{esc(d['Level requested'])}</td><td>{esc(d['Threads'])}</td></tr>\n")
    w("</table></section>\n")
    w("<section id=\"caches\"><h2>Caches</h2>\n<p>")
    w(", ".join(f"{esc(n)} {esc(_size_text(s))}" for n, s in caches.items()) or "not known")
    w(". The plots mark them against the bytes of one image; a function with two sources and a "
      "destination leaves a cache at a third of the size marked.</p></section>\n")
    twins = same_code(sources)
    w("<section id=\"speedup\"><h2>Speedup against " + esc(sources[0].label) + "</h2>\n")
    w("<p>Geometric mean over the lines both tables measured of the reference's clocks divided by the "
      "table's: above 1 is faster.")
    if twins:
        w(" Columns marked \"same code as\" ran the very same library code as the table named: their "
          "difference is the machine's noise, not speed.")
    w("</p>\n<table><tr><th>function</th>")
    w("".join(f"<th>{esc(s.label)}" + (f"<br><small>same code as {esc(twins[s.label])}</small>"
                                        if s.label in twins else "") + "</th>" for s in sources) + "</tr>\n")
    def cells(row):
        known = [v for v in row if v is not None]
        best = max(known) if len(known) > 1 else None
        for v in row:
            mark = " &#9733;" if best is not None and v == best else ""   # the best table of the row
            w(f"<td class=\"num\" style=\"background:{_cell_colour(v)}\">{'-' if v is None else f'{v:.2f}'}{mark}</td>")
    for func, row in matrix.items():
        w(f"<tr><td><a href=\"#f-{_slug(func)}\">{esc(func)}</a></td>")
        cells(row)
        w("</tr>\n")
    w("<tr class=\"overall\"><th>geometric mean of all functions</th>")
    cells(overall_row(matrix, len(sources)))
    w("</tr>\n</table><p>&#9733; marks the fastest table of each row.</p></section>\n")
    w("<section id=\"functions\"><h2>Clocks against size</h2>\n")
    if plots_dir:
        os.makedirs(plots_dir, exist_ok=True)
    for func in matrix:
        groups = lines_curves.get(func)
        w(f"<figure id=\"f-{_slug(func)}\">")
        if groups:
            png = plot_function(func, groups, caches, in_bytes.get(func, False), units.get(func, "unit"))
            if plots_dir:
                with open(os.path.join(plots_dir, _slug(func) + ".png"), "wb") as f:
                    f.write(png)
            w(f"<img alt=\"{esc(func)}\" src=\"data:image/png;base64,{base64.b64encode(png).decode()}\">")
        else:
            w(f"<figcaption>{esc(func)}: no size parameter or no figure to plot</figcaption>")
        w("</figure>\n")
    w("</section>\n</body></html>\n")
    return out.getvalue()


def main(argv=None):
    args = parse_args(sys.argv[1:] if argv is None else argv)
    try:
        sources = load(args.tables)
    except TableError as e:
        print(f"quillmark-report: {e}", file=sys.stderr)
        return 2
    page = build_page(sources, args.title, args.plots_dir)
    try:
        with open(args.output, "w", encoding="utf-8") as f:
            f.write(page)
    except OSError as e:
        print(f"quillmark-report: {args.output}: {e.strerror}", file=sys.stderr)
        return 2
    print(os.path.abspath(args.output))
    return 0
