"""Verdicts on one line measured by two runs, and their summaries.

A line with enough samples on each side for the rank test to reach the significance level is judged by
the Mann-Whitney U test together with a minimum effect: a difference must be both significant and at
least the minimum effect to count. With fewer samples the verdict comes from the two medians and the
uncertainty each side carries: the accuracy the engine reported (the requested accuracy unless the
line says it missed it) or the spread of the side's samples, whichever is larger.
"""
import math
import statistics
from dataclasses import dataclass

from scipy.stats import gmean, mannwhitneyu

FASTER, SLOWER, SAME, NOISY = "faster", "slower", "same", "too noisy"
VERDICTS = (FASTER, SLOWER, SAME, NOISY)


@dataclass
class Settings:
    alpha: float = 0.05          # significance level of the rank test (two-sided)
    min_effect: float = 0.03     # smallest relative change that counts as a change
    accuracy: float = 0.05       # accuracy of a figure whose line does not report its own


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
        j.p_value = p
        if p <= settings.alpha:
            j.verdict = direction if abs(change) >= settings.min_effect else SAME
        else:
            # Not significant: a small change is "same"; a large one that the samples cannot
            # confirm is noise.
            j.verdict = SAME if abs(change) < settings.min_effect else NOISY
        return j
    if abs(change) < settings.min_effect:
        return j
    tolerance = uncertainty(base, base_acc, settings) + uncertainty(contender, contender_acc, settings)
    j.verdict = direction if abs(change) > tolerance else NOISY
    return j


def geometric_mean(ratios):
    values = [r for r in ratios if r > 0 and math.isfinite(r)]
    return float(gmean(values)) if values else None
