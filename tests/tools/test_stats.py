"""Verdicts at their boundaries: sample counts, ties, zero spread, minimum effect, accuracy."""
import math

import pytest

from qmtools import stats
from qmtools.stats import FASTER, NOISY, SAME, SLOWER, Settings, judge


def test_smallest_p_decides_when_the_rank_test_is_used():
    assert stats.smallest_p(3, 3) == pytest.approx(0.1)       # 3 against 3 can never reach 0.05
    assert not stats.test_usable(3, 3, 0.05)
    assert not stats.test_usable(3, 4, 0.05)                  # 2/35 = 0.057
    assert stats.test_usable(3, 5, 0.05)                      # 2/56 = 0.036
    assert stats.test_usable(4, 4, 0.05)
    assert stats.smallest_p(1, 100) < 0.05
    assert not stats.test_usable(1, 100, 0.05)                # one sample has no spread to rank against
    assert stats.test_usable(2, 100, 0.05)


def test_three_against_three_uses_the_figures_not_the_test():
    base = [1.00, 1.01, 0.99]
    j = judge(base, [1.20, 1.21, 1.19])
    assert j.method == "accuracy" and j.p_value is None
    assert j.verdict == SLOWER                                 # 20% > 5% + 5%
    assert judge(base, [1.08, 1.09, 1.07]).verdict == NOISY    # 8% within 5% + 5%


def test_four_against_four_separated_is_significant():
    j = judge([1.00, 1.01, 0.99, 1.02], [1.20, 1.21, 1.19, 1.22])
    assert j.method == "U test"
    assert j.p_value == pytest.approx(2 / 70)
    assert j.verdict == SLOWER and j.ratio == pytest.approx(1.205 / 1.005)
    assert judge([1.20, 1.21, 1.19, 1.22], [1.00, 1.01, 0.99, 1.02]).verdict == FASTER


def test_significant_but_below_minimum_effect_is_same():
    j = judge([1.00, 1.001, 1.002, 1.003, 1.004], [1.01, 1.011, 1.012, 1.013, 1.014])
    assert j.p_value < 0.05
    assert j.verdict == SAME


def test_large_change_without_significance_is_too_noisy():
    j = judge([1.0, 1.5, 0.9, 1.4, 1.0], [1.3, 0.95, 1.45, 1.1, 1.2])
    assert j.p_value > 0.05
    assert abs(j.ratio - 1) >= 0.03
    assert j.verdict == NOISY


def test_identical_inputs_and_zero_spread():
    same = [0.5] * 6
    j = judge(same, list(same))
    assert j.verdict == SAME and j.p_value == 1.0 and j.ratio == 1.0
    assert j.base_spread == 0.0
    # Zero spread on both sides but different values: every ordering separates the sides.
    j = judge([0.5] * 5, [0.6] * 5)
    assert j.verdict == SLOWER and j.p_value < 0.05


def test_ties_across_sides():
    # Two values only, shared by both sides: the medians differ by 10% but the ranks barely do.
    j = judge([1.0, 1.0, 1.1, 1.1, 1.0], [1.0, 1.1, 1.1, 1.0, 1.1])
    assert 0.05 < j.p_value <= 1 and not math.isnan(j.p_value)
    assert j.ratio == pytest.approx(1.1)
    assert j.verdict == NOISY
    j = judge([1.0, 1.0, 1.1, 1.1, 1.0, 1.0], [1.0, 1.1, 1.0, 1.0, 1.1, 1.0])
    assert j.ratio == 1.0 and j.verdict == SAME


def test_one_sample_per_side_uses_reported_accuracy():
    assert judge([1.0], [1.02]).verdict == SAME                # below the minimum effect
    assert judge([1.0], [1.08]).verdict == NOISY               # within 5% + 5%
    assert judge([1.0], [1.11]).verdict == SLOWER
    assert judge([1.0], [0.89]).verdict == FASTER
    # A side that missed its accuracy widens the tolerance.
    assert judge([1.0], [1.11], base_acc=[0.08]).verdict == NOISY
    # The requested accuracy is a setting.
    assert judge([1.0], [1.08], Settings(accuracy=0.02)).verdict == SLOWER


def test_spread_of_few_samples_widens_the_tolerance():
    # 3 against 3: the baseline scatters by 20%, more than its 5% accuracy.
    assert judge([0.9, 1.0, 1.1], [1.15, 1.15, 1.15]).verdict == NOISY
    assert judge([0.99, 1.0, 1.01], [1.15, 1.15, 1.15]).verdict == SLOWER


def test_minimum_effect_boundary_and_empty_side():
    s = Settings(min_effect=0.10, accuracy=0.06)
    assert judge([1.0], [1.0999], s).verdict == SAME
    assert judge([1.0], [1.1001], s).verdict == NOISY          # tolerance 6% + 6%
    assert judge([1.0], [1.1201], s).verdict == SLOWER
    with pytest.raises(ValueError):
        judge([], [1.0])


def test_geometric_mean():
    assert stats.geometric_mean([2.0, 0.5]) == pytest.approx(1.0)
    assert stats.geometric_mean([1.2, 1.2, 1.2]) == pytest.approx(1.2)
    assert stats.geometric_mean([]) is None


def _lines(n, shift, rng):
    """n lines of five samples per side with 2 % noise, the contender shifted by `shift`."""
    out = []
    for _ in range(n):
        base = [1.0 + rng.uniform(-0.02, 0.02) for _ in range(5)]
        out.append(judge(base, [(1.0 + shift) * (1.0 + rng.uniform(-0.02, 0.02)) for _ in range(5)]))
    return out


def test_correction_for_many_lines_removes_chance_findings():
    # One line of many, completely separated by chance: p = 2/252 on its own, not after correction.
    rng = __import__("random").Random(7)
    lines = _lines(200, 0.0, rng)
    lucky = judge([1.00, 1.001, 1.002, 1.003, 1.004], [1.05, 1.051, 1.052, 1.053, 1.054])
    assert lucky.verdict == SLOWER
    tested = stats.correct(lines + [lucky], Settings())
    assert tested == 201
    assert lucky.p_adjusted > 0.05 and lucky.verdict == NOISY
    assert all(j.verdict != SLOWER and j.verdict != FASTER for j in lines)
    # Without correction the same line stays slower; Holm is stricter than the default.
    lucky2 = judge([1.00, 1.001, 1.002, 1.003, 1.004], [1.05, 1.051, 1.052, 1.053, 1.054])
    stats.correct([lucky2], Settings(correction="none"))
    assert lucky2.verdict == SLOWER and lucky2.p_adjusted == lucky2.p_value


def test_correction_keeps_a_change_shared_by_many_lines():
    rng = __import__("random").Random(11)
    lines = _lines(200, 0.10, rng) + _lines(50, 0.0, rng)
    stats.correct(lines, Settings())
    assert sum(j.verdict == SLOWER for j in lines[:200]) >= 190
    assert not any(j.verdict in (SLOWER, FASTER) for j in lines[200:])
    # Lines judged by figures alone (too few samples for the test) keep their verdicts.
    few = judge([1.0], [1.2])
    assert stats.correct([few], Settings()) == 0 and few.verdict == SLOWER and few.p_adjusted is None
