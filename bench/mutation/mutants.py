"""The faults the mutation run seeds, one at a time: where (a file and a text that occurs in it exactly
once), what replaces it, which kind of fault it is, and which tests are expected to notice (a test
program and its gtest filter). The texts are the code's own, so a mutant that no longer applies
after an edit of the code is reported as such instead of being silently skipped."""

from dataclasses import dataclass


@dataclass(frozen=True)
class Mutant:
    name: str
    kind: str
    path: str
    old: str
    new: str
    program: str  # the test program that runs the tests
    filter: str  # its gtest filter


LIB = "zkr_tests"
UNIT = "qm_unit_tests"
LIFECYCLE = "qm_lifecycle_tests"

MUTANTS = [
    # ---- rounding
    Mutant("scale-down rounds half up", "rounding", "zkr/src/runtime/saturate.inc",
           "const W r = W((x + p.bias + ((x >> p.sf) & 1)) >> p.sf);",
           "const W r = W((x + p.bias + 1) >> p.sf);", LIB, "*AddFamily.MatchesReference*:*ArithmeticEdges*"),
    Mutant("square scaled down rounds half up", "rounding", "zkr/families/sqr/sqr_kernels.cpp",
           "w = W((w + bias + ((w >> shift) & 1)) >> shift);", "w = W((w + bias + 1) >> shift);", LIB, "*SqrFamily.MatchesReference*:*SqrFamily.EveryIntegerValue*:*SqrtNegative*"),
    Mutant("float to integer rounds ties away from even", "rounding", "zkr/families/convert/convert_kernels.cpp",
           "(std::int32_t(f == 0.5f) & odd) -", "std::int32_t(f == 0.5f) -", LIB, "*Convert*"),
    Mutant("product by max truncates", "rounding", "zkr/families/mul/mul_kernels.cpp",
           "const std::uint16_t x = std::uint16_t(std::uint16_t(a) * std::uint16_t(b) + 128u);",
           "const std::uint16_t x = std::uint16_t(std::uint16_t(a) * std::uint16_t(b));", LIB, "*MulFamily.MatchesReference*:*MulEdges*"),
    # ---- saturation
    Mutant("sums wrap instead of saturating", "saturation", "zkr/src/runtime/saturate.inc",
           "return S(clampTo<W>(x, A::lo, A::hi));", "return S(x);", LIB, "*AddFamily.MatchesReference*:*ArithmeticEdges*"),
    Mutant("abs(-32768) wraps", "saturation", "zkr/families/sqr/sqr_kernels.cpp",
           "return Zkr16s(a > 32767 ? 32767 : a);", "return Zkr16s(a);", LIB, "*SqrFamily.MatchesReference*:*SqrFamily.EveryIntegerValue*:*SqrtNegative*"),
    Mutant("scaled-up results saturate low only", "saturation", "zkr/src/runtime/saturate.inc",
           "return S(x > p.hiT ? A::hi : (x < p.loT ? A::lo : W(x * p.mul)));",
           "return S(x < p.loT ? A::lo : W(x * p.mul));", LIB, "*AddFamily.MatchesReference*:*ArithmeticEdges*"),
    # ---- a channel or the alpha written
    Mutant("unary AC4 writes alpha", "alpha written", "zkr/src/runtime/unary_rows.inc",
           "d[i] = skip ? d[i] : f(s[i]);", "d[i] = f(s[i]);", LIB, "*SqrFamily.MatchesReference*:*SqrFamily.EveryIntegerValue*:*SqrtNegative*"),
    Mutant("AC4 keep mask covers alpha", "alpha written", "zkr/src/runtime/eltwise.h",
           "(i % period) < 3 * comps ?", "(i % period) <= 3 * comps ?", LIB, "*AddFamily.MatchesReference*:*MulFamily.MatchesReference*"),
    Mutant("per-channel constant uses channel 0 everywhere", "channel", "zkr/src/runtime/eltwise.h",
           "componentsOf(values[channel])[i % comps]", "componentsOf(values[0])[i % comps]", LIB, "*AddFamily.MatchesReference*"),
    Mutant("copy leaves the last channel", "channel", "zkr/families/copy/copy_kernels.cpp",
           "for (int c = 0; c < N; ++c) d[x * DP + c] = s[x * SP + c];",
           "for (int c = 0; c + 1 < N; ++c) d[x * DP + c] = s[x * SP + c];", LIB, "*Copy*"),
    # ---- row padding ignored
    Mutant("padded rows taken as gapless", "row padding", "zkr/src/runtime/rows.h",
           "return ((std::ptrdiff_t(steps) == rowBytes) && ...);",
           "return ((std::ptrdiff_t(steps) >= rowBytes) && ...);", LIB, "*SqrFamily.*:*AddFamily.MatchesReference*:*AddFamily.StatusCodes*"),
    Mutant("square root reads the source with the destination's step", "row padding",
           "zkr/families/sqr/sqr_kernels.cpp", "const S* s = inPlace ? d : rowOf<S>(j.s, j.sStep, y);",
           "const S* s = inPlace ? d : rowOf<S>(j.s, j.dStep, y);", LIB, "*SqrFamily.MatchesReference*:*SqrFamily.EveryIntegerValue*:*SqrtNegative*"),
    Mutant("threshold ignores the source step", "row padding", "zkr/families/thresh/thresh_kernels.cpp",
           "rowRuns(stepsAre(rowBytes, j.dStep, inPlace ? j.dStep : j.sStep)",
           "rowRuns(stepsAre(rowBytes, j.dStep)", LIB, "*ThreshFamily.*"),
    # ---- last row or column dropped
    Mutant("row runs stop a row early", "last row", "zkr/src/runtime/rows.h",
           "RowRuns{y1, std::ptrdiff_t(rowLen)}", "RowRuns{y1 - 1, std::ptrdiff_t(rowLen)}", LIB,
           "*SqrFamily.*:*AddFamily.MatchesReference*:*ThreshFamily.*"),
    Mutant("last thread band loses its last row", "last row", "zkr/src/runtime/worker_pool.h",
           "const int y1 = int(std::int64_t(c.rows) * (part + 1) / n);",
           "const int y1 = int(std::int64_t(c.rows) * (part + 1) / n) - (part + 1 == n);", LIB,
           "*SqrFamily.ThreadSplits*"),
    Mutant("in-place unary loop stops a column early", "last column", "zkr/src/runtime/unary_rows.inc",
           "for (std::ptrdiff_t i = 0; i < n; ++i) {\n        const S x = d[i];",
           "for (std::ptrdiff_t i = 0; i + 1 < n; ++i) {\n        const S x = d[i];", LIB, "*SqrFamily.MatchesReference*:*SqrFamily.EveryIntegerValue*:*SqrtNegative*"),
    Mutant("histogram tail loop skips the last column", "last column", "zkr/families/histo/histo_kernels.cpp",
           "for (; x < j.width; ++x) ++counts[0][s[x * p]];",
           "for (; x + 1 < j.width; ++x) ++counts[0][s[x * p]];", LIB, "*Histo*"),
    Mutant("min/max rows skip the last component", "last column", "zkr/families/sum/sum_kernels.cpp",
           "laneMinMax<S, wantMin, wantMax>(rowOf<S>(j.s, j.sStep, y), j.rowLen, mn, mx);",
           "laneMinMax<S, wantMin, wantMax>(rowOf<S>(j.s, j.sStep, y), j.rowLen - 1, mn, mx);", LIB, "*Sum*"),
    # ---- anchor and border
    Mutant("box filter anchor off by one", "anchor", "zkr/families/filterbox/filterbox_kernels.cpp",
           "return reinterpret_cast<const T*>(static_cast<const char*>(j.src) + j.srcStep * y) - j.anchorX * j.channels;",
           "return reinterpret_cast<const T*>(static_cast<const char*>(j.src) + j.srcStep * y) - (j.anchorX + 1) * j.channels;",
           LIB, "*FilterBox*"),
    Mutant("anchor on the mask's right edge refused", "anchor", "zkr/families/filterbox/filterbox.cpp",
           "anchor.x >= mask.width", "anchor.x + 1 >= mask.width", LIB, "*FilterBox*"),
    Mutant("replicated border repeats the row before the last", "border", "zkr/families/border/border_kernels.cpp",
           "sy = inner < 0 ? 0 : (inner >= h ? h - 1 : inner);", "sy = inner < 0 ? 0 : (inner >= h ? h - 2 : inner);",
           LIB, "*Border*"),
    Mutant("replicated right border repeats the column before the last", "border",
           "zkr/families/border/border_kernels.cpp", "s + std::ptrdiff_t(w - 1) * B, right);",
           "s + std::ptrdiff_t(w - 2) * B, right);", LIB, "*Border*"),
    # ---- wrong level chosen
    Mutant("AVX2 processor types run the base level", "level", "zkr/src/core/cpu_features.cpp",
           "case zkrCpuAVX2: case zkrCpuX64v3:\n            return zkrLevelAVX2;",
           "case zkrCpuAVX2: case zkrCpuX64v3:\n            return zkrLevelBase;", LIB, "*CpuFeatures*:*CoreApi*:*SqrFamily.*"),
    # ---- comparisons and status codes of the library
    Mutant("threshold GT compares with >=", "comparison", "zkr/families/thresh/thresh_kernels.cpp",
           "return x > tHi ? vHi : x;", "return x >= tHi ? vHi : x;", LIB, "*ThreshFamily.*"),
    Mutant("compare LessEq compares with <", "comparison", "zkr/families/cmp/cmp_kernels.cpp",
           "else if constexpr (op == Kop::LessEq) return x <= y;",
           "else if constexpr (op == Kop::LessEq) return x < y;", LIB, "*Cmp*"),
    Mutant("steps not a multiple of the component accepted", "parameter check", "zkr/src/runtime/checks.h",
           "if (step <= 0 || step < rowBytes || step % componentBytes != 0) return zkrStsStepErr;",
           "if (step <= 0 || step < rowBytes) return zkrStsStepErr;", LIB, "*SqrFamily.*:*AddFamily.MatchesReference*:*AddFamily.StatusCodes*"),
    Mutant("a bad step reported as a size error", "status code", "zkr/src/runtime/checks.h",
           "step % componentBytes != 0) return zkrStsStepErr;", "step % componentBytes != 0) return zkrStsSizeErr;",
           LIB, "*SqrFamily.*:*AddFamily.MatchesReference*:*AddFamily.StatusCodes*"),
    Mutant("zero width accepted", "parameter check", "zkr/src/runtime/checks.h",
           "return roi.width <= 0 || roi.height <= 0 ? zkrStsSizeErr : zkrStsNoErr;",
           "return roi.width < 0 || roi.height <= 0 ? zkrStsSizeErr : zkrStsNoErr;", LIB, "*SqrFamily.*:*AddFamily.MatchesReference*:*AddFamily.StatusCodes*"),
    Mutant("a zero divisor not reported", "status code", "zkr/families/div/div.cpp",
           "return zero ? zkrStsDivByZero : zkrStsNoErr;", "return zero ? zkrStsNoErr : zkrStsNoErr;", LIB, "*DivFamily.MatchesReference*:*DivEdges*"),
    Mutant("Ln reports a zero before a negative argument", "status code", "zkr/families/exp/exp.cpp",
           "if (m & kMetNegative) return zkrStsLnNegArg;\n    if (m & kMetZero) return zkrStsLnZeroArg;",
           "if (m & kMetZero) return zkrStsLnZeroArg;\n    if (m & kMetNegative) return zkrStsLnNegArg;", LIB, "*ExpFamily.*:*ExpEdges*"),
    Mutant("resize samples the row above", "interpolation", "zkr/families/resize/resize_kernels.cpp",
           "if constexpr (Taps == 1) {\n        for (int i = 0; i < n; ++i) out[i] = float(r0[i]);",
           "if constexpr (Taps == 1) {\n        for (int i = 0; i < n; ++i) out[i] = float(rowOf<T>(j.src, j.srcStep, idx[0] > 0 ? idx[0] - 1 : 0)[i]);",
           LIB, "*Resize*"),
    # ---- the framework: parameters parsed, results mapped
    Mutant("a range's last value dropped", "parameter parsing", "api/include/qmstepiterator.h",
           "if (m_descending ? c < l : c > l) return false;", "if (m_descending ? c <= l : c >= l) return false;",
           UNIT, "*Step*:*Param*"),
    Mutant("'-' steps of float ranges add", "parameter parsing", "api/include/qmstepiterator.h",
           "r = m_op == '+' ? c + s : m_op == '-' ? c - s : c * s;",
           "r = m_op == '+' ? c + s : m_op == '-' ? c + s : c * s;", UNIT, "*Step*:*Param*"),
    Mutant("function name split one token late", "parameter parsing", "api/src/registry/zkfunc.cpp",
           "base = substr(start, u - start);", "base = substr(start, u - start + 1);", UNIT, "*ZkFunc*:*Func*"),
    Mutant("a library error counted as a warning", "result code", "api/src/registry/qmtest.cpp",
           "raiseResult(QM_FUNCFAIL);\n    return QM_FUNCFAIL;", "raiseResult(QM_FUNCWRN);\n    return QM_FUNCWRN;",
           LIFECYCLE, "Lifecycle.*"),
    Mutant("result name BADSTSWRN misspelt", "result code", "api/src/streams/qmresult.cpp",
           '"BADSTSWRN"', '"BADSTSWARN"', UNIT, "*Report*:*Result*"),
]

# Faults in headers that every family's objects include rebuild most of the library: they run last, so
# that a run cut short still has scored the others.
_SHARED = ("zkr/src/runtime/rows.h", "zkr/src/runtime/checks.h", "zkr/src/runtime/worker_pool.h",
           "zkr/src/runtime/eltwise.h", "zkr/src/runtime/saturate.inc")
MUTANTS.sort(key=lambda m: m.path in _SHARED)
