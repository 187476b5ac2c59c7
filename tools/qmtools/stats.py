"""Verdicts on one line measured by two runs, and their summaries.

A line with enough samples on each side for the rank test to reach the significance level is judged by
the Mann-Whitney U test together with a minimum effect: a difference must be both significant and at
least the minimum effect to count. With fewer samples the verdict comes from the two medians and the
uncertainty each side carries: the accuracy the engine reported (the requested accuracy unless the
line says it missed it) or the spread of the side's samples, whichever is larger.

A comparison judges hundreds of lines at once, so the rank tests' p-values are corrected for the
number of lines tested together (`correct`): by default the Benjamini-Hochberg procedure keeps the
expected share of false discoveries among the lines called changed at the significance level, so an
A/A pair of a thousand lines calls none changed by chance in about 19 pairs of 20.
"""
import math
import statistics
from dataclasses import dataclass

from scipy.stats import gmean, mannwhitneyu
from statsmodels.stats.multitest import multipletests

FASTER, SLOWER, SAME, NOISY = "faster", "slower", "same", "too noisy"
VERDICTS = (FASTER, SLOWER, SAME, NOISY)

# Corrections for testing many lines at once: the name shown, and statsmodels' method.
CORRECTIONS = {
    "fdr": ("Benjamini-Hochberg false discovery rate", "fdr_bh"),
    "holm": ("Holm family-wise error rate", "holm"),
    "none": ("no correction for multiple lines", None),
}


@dataclass
class Settings:
    alpha: float = 0.05          # significance level of the rank test (two-sided)
    min_effect: float = 0.03     # smallest relative change that counts as a change
    accuracy: float = 0.05       # accuracy of a figure whose line does not report its own
    correction: str = "fdr"      # key of CORRECTIONS: how the p-values of many lines are corrected


@dataclass
class Judgement:
    base: float                  # median of the baseline samples
    contender: float             # median of the contender samples
    ratio: float                 # contender / base: above 1 is slower
    base_spread: float           # (max - min) / median of each side; 0 for one sample
    contender_spread: float
    verdict: str
    method: str                  # "U test" or "accuracy"
    p_value: float = None        # of the U test, when it was used
    p_adjusted: float = None     # the same, corrected for the lines tested together


def spread(values):
    """Relative range of the samples: (max - min) / median."""
    m = statistics.median(values)
    return (max(values) - min(values)) / m if m > 0 else 0.0


def smallest_p(n1, n2):
    """Smallest two-sided p-value that the exact U test can give for these sample counts: both
    extreme orderings out of all C(n1 + n2, n1) equally likely ones."""
    return 2.0 / math.comb(n1 + n2, n1)


def test_usable(n1, n2, alpha):
    """The rank test needs a spread on each side (two samples at least) and sample counts that can
    reach the significance level at all."""
    return n1 >= 2 and n2 >= 2 and smallest_p(n1, n2) <= alpha


def uncertainty(values, reported, settings):
    """Relative uncertainty of one side's median: the worst accuracy any of its samples reported
    (or the requested accuracy), or its spread when that is larger."""
    acc = max([a for a in reported if a is not None] or [settings.accuracy])
    return max(acc, spread(values) if len(values) > 1 else 0.0)


def judge(base, contender, settings=Settings(), base_acc=(), contender_acc=()):
    """Verdict on one line from its baseline and contender figures (clocks, lower is better)."""
    if not base or not contender:
        raise ValueError("each side needs at least one figure")
    mb, mc = statistics.median(base), statistics.median(contender)
    if mb <= 0:
        ratio = 1.0 if mc <= 0 else math.inf
    else:
        ratio = mc / mb
    change = ratio - 1.0
    direction = SLOWER if change > 0 else FASTER
    j = Judgement(mb, mc, ratio, spread(base), spread(contender), SAME, "accuracy")
    if test_usable(len(base), len(contender), settings.alpha):
        j.method = "U test"
        if min(base) == max(base) == min(contender) == max(contender):
            p = 1.0          # every figure the same: nothing to rank
        else:
            p = float(mannwhitneyu(base, contender, alternative="two-sided").pvalue)
        j.p_value = j.p_adjusted = p
        _test_verdict(j, settings)
        return j
    if abs(change) < settings.min_effect:
        return j
    tolerance = uncertainty(base, base_acc, settings) + uncertainty(contender, contender_acc, settings)
    j.verdict = direction if abs(change) > tolerance else NOISY
    return j


def _test_verdict(j, settings):
    """Verdict of a line judged by the rank test, from its (corrected) p-value."""
    change = j.ratio - 1.0
    if j.p_adjusted <= settings.alpha:
        j.verdict = (SLOWER if change > 0 else FASTER) if abs(change) >= settings.min_effect else SAME
    else:
        # Not significant: a small change is "same"; a large one that the samples cannot confirm
        # is noise.
        j.verdict = SAME if abs(change) < settings.min_effect else NOISY


def correct(judgements, settings):
    """Corrects the rank tests of lines judged together for their number and judges them again.
    Lines judged by their figures alone keep their verdicts. Returns the number of tested lines."""
    tested = [j for j in judgements if j.p_value is not None]
    method = CORRECTIONS[settings.correction][1]
    if tested and method:
        adjusted = multipletests([j.p_value for j in tested], alpha=settings.alpha, method=method)[1]
        for j, p in zip(tested, adjusted):
            j.p_adjusted = float(p)
            _test_verdict(j, settings)
    return len(tested)


def geometric_mean(ratios):
    values = [r for r in ratios if r > 0 and math.isfinite(r)]
    return float(gmean(values)) if values else None
