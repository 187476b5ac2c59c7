"""quillmark-compare: does the contender run make the library faster or slower than the baseline?"""
import argparse
import csv
import io
import statistics
import sys
from collections import Counter, defaultdict

from . import stats
from .table import TableError, read_tables

EXIT_OK, EXIT_SLOWER, EXIT_BAD_INPUT = 0, 1, 2


def parse_args(argv):
    p = argparse.ArgumentParser(
        prog="quillmark-compare",
        description="Compare two sets of Quillmark result tables line by line. Each argument is a "
                    "result table (-r/-R csv; runs appended with -R are several samples of each line), "
                    "a JSON result document (-j), or a directory of them (shards of one selection merge).",
        epilog="Exit status: 0 no significant slowdown, 1 a line slower beyond --fail-above, 2 bad input.")
    p.add_argument("baseline")
    p.add_argument("contender")
    p.add_argument("--fail-above", type=float, default=5.0, metavar="PCT",
                   help="exit 1 when a line is judged slower by more than PCT per cent (default 5)")
    p.add_argument("--min-effect", type=float, default=3.0, metavar="PCT",
                   help="smallest change in per cent that counts as faster or slower (default 3)")
    p.add_argument("--alpha", type=float, default=0.05,
                   help="significance level of the U test over all lines together (default 0.05)")
    p.add_argument("--correction", choices=sorted(stats.CORRECTIONS), default="fdr",
                   help="correction of the p-values for the number of lines compared: fdr "
                        "(Benjamini-Hochberg, the default), holm (family-wise), none")
    p.add_argument("--accuracy", type=float, default=5.0, metavar="PCT",
                   help="accuracy of a figure whose line reports none, per cent (default 5, the Auto method's)")
    p.add_argument("--csv", metavar="FILE", help="also write the comparison as csv")
    p.add_argument("--markdown", "--md", metavar="FILE", help="also write the comparison as Markdown")
    p.add_argument("--only-changed", action="store_true", help="console table: changed and noisy lines only")
    p.add_argument("--full", action="store_true",
                   help="console table with every column (spreads, sample counts, test, p-values) instead of "
                        "the narrow one (line, change, verdict, figures)")
    p.add_argument("-q", "--quiet", action="store_true", help="console: summary only")
    return p.parse_args(argv)


class Comparison:
    """The matched lines with their judgements, the one-sided lines and the summaries."""

    def __init__(self, base, contender, settings):
        self.settings = settings
        self.rows = []              # (Line of the baseline, Judgement)
        self.only_base = []         # lines with a figure on the baseline side only
        self.only_contender = []
        self.no_figure = []         # lines that failed on both sides
        for key, bl in base.lines.items():
            cl = contender.lines.get(key)
            bf = bl.figures()
            cf = cl.figures() if cl else []
            if bf and cf:
                if not bl.names and cl.names:
                    bl.names = cl.names
                if bl.module == "-":
                    bl.module = cl.module
                j = stats.judge(bf, cf, settings,
                                [s.accuracy for s in bl.samples], [s.accuracy for s in cl.samples])
                self.rows.append((bl, j))
            elif bf:
                self.only_base.append(bl)
            elif cf:
                self.only_contender.append(cl)
            else:
                self.no_figure.append(bl)
        for key, cl in contender.lines.items():
            if key not in base.lines:
                (self.only_contender if cl.figures() else self.no_figure).append(cl)
        # Hundreds of lines are tested at once: their p-values are corrected together.
        self.tested = stats.correct([j for _, j in self.rows], settings)
        self.counts = Counter(j.verdict for _, j in self.rows)

    def correction_note(self):
        name = stats.CORRECTIONS[self.settings.correction][0]
        return (f"Rank tests of {self.tested} lines at alpha {self.settings.alpha:g}, corrected for their "
                f"number: {name}")

    def geomeans(self, attr):
        groups = defaultdict(list)
        for line, j in self.rows:
            groups[getattr(line, attr)].append(j.ratio)
        return {name: (stats.geometric_mean(r), len(r)) for name, r in groups.items()}

    def overall(self):
        return stats.geometric_mean([j.ratio for _, j in self.rows])

    def failures(self, fail_above):
        return [(line, j) for line, j in self.rows
                if j.verdict == stats.SLOWER and (j.ratio - 1.0) * 100.0 > fail_above]


def _pct(x):
    return f"{x * 100:.1f}%"


def _change(ratio):
    return "-" if ratio is None else f"{(ratio - 1) * 100:+.1f}%"


def _fig(x):
    return f"{x:.4g}"


COLUMNS = ("line", "module", "base", "contender", "ratio", "change", "base spread",
           "contender spread", "n base", "n contender", "verdict", "method", "p", "p corrected")


def row_cells(line, j, nb, nc):
    return [line.label(), line.module, _fig(j.base), _fig(j.contender), f"{j.ratio:.3f}", _change(j.ratio),
            _pct(j.base_spread), _pct(j.contender_spread), str(nb), str(nc), j.verdict, j.method,
            "-" if j.p_value is None else f"{j.p_value:.3g}",
            "-" if j.p_adjusted is None else f"{j.p_adjusted:.3g}"]


def _counts(cmp):
    return [(v, cmp.counts.get(v, 0)) for v in stats.VERDICTS]


# Changed lines first, the largest changes first among them; unchanged lines keep their order.
_VERDICT_ORDER = {stats.SLOWER: 0, stats.FASTER: 1, stats.NOISY: 2, stats.SAME: 3}


def ordered_rows(cmp):
    return sorted(cmp.rows, key=lambda r: (_VERDICT_ORDER.get(r[1].verdict, 4),
                                           0 if r[1].verdict == stats.SAME else -abs(r[1].ratio - 1.0)))


NARROW = ("line", "change", "verdict", "base", "contender")


def _table(rows, right):
    widths = [max(len(r[i]) for r in rows) for i in range(len(rows[0]))]
    return "".join("  ".join(c.rjust(w) if i in right else c.ljust(w) for i, (c, w) in enumerate(zip(r, widths))).rstrip()
                   + "\n" for r in rows)


def render_summary(cmp):
    out = io.StringIO()
    out.write("Verdicts: " + ", ".join(f"{v} {n}" for v, n in _counts(cmp)) +
              f"; baseline only {len(cmp.only_base)}, contender only {len(cmp.only_contender)}\n")
    out.write(f"Overall geometric mean: {cmp.overall() or 0:.3f} ({_change(cmp.overall())}) over "
              f"{len(cmp.rows)} lines\n")
    if cmp.tested:
        out.write(cmp.correction_note() + "\n")
    by_accuracy = sum(1 for _, j in cmp.rows if j.method == "accuracy")
    if by_accuracy:
        out.write(f"{by_accuracy} of {len(cmp.rows)} lines had too few samples for the rank test and were "
                  "judged by their figures and accuracy alone; 4 or more runs per side (-R) give a test.\n")
    for title, attr in (("Geometric mean of contender/baseline per base", "base"),
                        ("per module", "module")):
        out.write(title + ":\n")
        for name, (g, n) in sorted(cmp.geomeans(attr).items()):
            out.write(f"  {name:<24} {g:8.3f}  {_change(g):>8}  ({n} lines)\n")
    return out.getvalue()


def render_console(cmp, base_lines, cont_lines, only_changed=False, quiet=False, full=False):
    """Summary first; then, unless quiet, the lines without a partner and the table of matched lines,
    changed lines first: narrow (line, change, verdict, figures) or, with full, every column."""
    out = io.StringIO()
    out.write(render_summary(cmp))
    if quiet:
        return out.getvalue()
    out.write("\n")
    for title, lines in (("Baseline only", cmp.only_base), ("Contender only", cmp.only_contender),
                         ("No figure on either side", cmp.no_figure)):
        if lines:
            out.write(f"{title} ({len(lines)} lines):\n")
            for line in lines:
                out.write(f"  {line.label()}\n")
            out.write("\n")
    cells = [COLUMNS if full else NARROW]
    for line, j in ordered_rows(cmp):
        if only_changed and j.verdict == stats.SAME:
            continue
        if full:
            cells.append(row_cells(line, j, len(base_lines[line.key].figures()), len(cont_lines[line.key].figures())))
        else:
            cells.append([line.label(), _change(j.ratio), j.verdict, _fig(j.base), _fig(j.contender)])
    out.write(_table(cells, {2, 3, 4, 5, 6, 7, 8, 9, 12, 13} if full else {1, 3, 4}))
    return out.getvalue()


def write_csv(path, cmp, base_lines, cont_lines):
    with open(path, "w", newline="", encoding="utf-8") as f:
        w = csv.writer(f)
        w.writerow(COLUMNS)
        for line, j in cmp.rows:
            w.writerow(row_cells(line, j, len(base_lines[line.key].figures()), len(cont_lines[line.key].figures())))
        for line in cmp.only_base:
            w.writerow([line.label(), line.module, _fig(_median(line)), "-", "-", "-", "-", "-",
                        len(line.figures()), 0, "baseline only", "-", "-", "-"])
        for line in cmp.only_contender:
            w.writerow([line.label(), line.module, "-", _fig(_median(line)), "-", "-", "-", "-",
                        0, len(line.figures()), "contender only", "-", "-", "-"])


def _median(line):
    return statistics.median(line.figures())


def render_markdown(cmp, base_lines, cont_lines):
    """Summary (verdicts, overall change, per base and module) first, then the lines, changed ones first."""
    out = io.StringIO()
    out.write("| verdict | lines |\n|---|---|\n")
    for v, n in _counts(cmp):
        out.write(f"| {v} | {n} |\n")
    out.write(f"| baseline only | {len(cmp.only_base)} |\n| contender only | {len(cmp.only_contender)} |\n")
    out.write(f"\nOverall geometric mean of contender/baseline: {cmp.overall() or 0:.3f} ({_change(cmp.overall())}) "
              f"over {len(cmp.rows)} lines.\n")
    if cmp.tested:
        out.write("\n" + cmp.correction_note() + ".\n")
    for title, attr in (("base", "base"), ("module", "module")):
        out.write(f"\n| {title} | geometric mean | change | lines |\n|---|---|---|---|\n")
        for name, (g, n) in sorted(cmp.geomeans(attr).items()):
            out.write(f"| {name} | {g:.3f} | {_change(g)} | {n} |\n")
    out.write("\n| " + " | ".join(COLUMNS) + " |\n|" + "---|" * len(COLUMNS) + "\n")
    for line, j in ordered_rows(cmp):
        cells = row_cells(line, j, len(base_lines[line.key].figures()), len(cont_lines[line.key].figures()))
        if j.verdict in (stats.SLOWER, stats.FASTER):
            cells[10] = f"**{cells[10]}**"
        out.write("| " + " | ".join(c.replace("|", "\\|") for c in cells) + " |\n")
    for title, lines in (("Baseline only", cmp.only_base), ("Contender only", cmp.only_contender),
                         ("No figure on either side", cmp.no_figure)):
        if lines:
            out.write(f"\n{title}:\n\n" + "".join(f"- `{line.label()}`\n" for line in lines))
    return out.getvalue()


def main(argv=None):
    args = parse_args(sys.argv[1:] if argv is None else argv)
    settings = stats.Settings(alpha=args.alpha, min_effect=args.min_effect / 100.0,
                              accuracy=args.accuracy / 100.0, correction=args.correction)
    try:
        base = read_tables(args.baseline)
        contender = read_tables(args.contender)
    except TableError as e:
        print(f"quillmark-compare: {e}", file=sys.stderr)
        return EXIT_BAD_INPUT
    cmp = Comparison(base, contender, settings)
    sys.stdout.write(render_console(cmp, base.lines, contender.lines, args.only_changed, args.quiet, args.full))
    try:
        if args.csv:
            write_csv(args.csv, cmp, base.lines, contender.lines)
        if args.markdown:
            with open(args.markdown, "w", encoding="utf-8") as f:
                f.write(render_markdown(cmp, base.lines, contender.lines))
    except OSError as e:
        print(f"quillmark-compare: {e.filename}: {e.strerror}", file=sys.stderr)
        return EXIT_BAD_INPUT
    failures = cmp.failures(args.fail_above)
    if failures:
        print(f"{len(failures)} lines slower by more than {args.fail_above:g}%:", file=sys.stderr)
        for line, j in failures:
            print(f"  {line.label()}  {_change(j.ratio)}", file=sys.stderr)
        return EXIT_SLOWER
    return EXIT_OK
