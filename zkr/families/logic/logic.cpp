// The exported functions of the Logic family, defined from its four tables
// (and.tbl, andi.tbl, andc.tbl, andci.tbl): each row packs its parameters and
// hands them to one generic entry point, which checks the arguments,
// describes the call as a Job and runs the kernel of the level in force.
#include <algorithm>
#include <cstring>
#include <type_traits>

#include "checks.h"
#include "form_args.h"
#include "logic_kernels.h"
#include "worker_pool.h"
#include "zkr_call.hpp"

namespace zkr::logic {
namespace {

enum class Op { And, Or, Xor, Not, MaxEvery, MinEvery, AndC, OrC, XorC, LShiftC, RShiftC };

constexpr Bop bopOf(Op op) {
    switch (op) {
        case Op::And: case Op::AndC: return Bop::And;
        case Op::Or: case Op::OrC: return Bop::Or;
        default: return Bop::Xor;  // Xor, XorC and Not (xor with all ones)
    }
}

// Small images run on the calling thread without asking the pool.
void runJob(const Job& j, RowsFn fn, ZkriSize roi) {
    const std::int64_t pixels = std::int64_t(roi.width) * roi.height;
    if (pixels < kMinParallelPixels) {
        fn(j, 0, roi.height);
        return;
    }
    forRowBands(pixels, roi.height, [&](int y0, int y1) { fn(j, y0, y1); });
}

// Keep masks of AC4 rows by component size: the colour bytes of each pixel.
struct KeepMasks {
    alignas(64) std::uint8_t bytes[3][kKeepBytes];
    constexpr KeepMasks() : bytes{} {
        for (int s = 0; s < 3; ++s)
            for (int i = 0; i < kKeepBytes; ++i) bytes[s][i] = i % (4 << s) < (3 << s) ? 0xFF : 0;
    }
};
constexpr KeepMasks kKeep{};

template <class T> const std::uint8_t* keepFor() {
    return kKeep.bytes[sizeof(T) == 1 ? 0 : (sizeof(T) == 2 ? 1 : 2)];
}

// The kPatternBytes bytes of a constant repeated pixel after pixel: `pixel`
// holds one pixel's bytes (`size` of them, a divisor of kPatternBytes).
void repeatPixel(std::uint8_t* pattern, int size) {
    for (int have = size; have < kPatternBytes; have *= 2)
        std::memcpy(pattern + have, pattern, std::size_t(std::min(have, kPatternBytes - have)));
}

// Operands of a shift: (source, its step), the destination (and its step); the shift's constant is
// a count per channel, not an element, so readOperands does not fit it.
struct ShiftOperands {
    const void* src;
    int srcStep;
    void* dst;
    int dstStep;
    bool inPlace;
};

template <class A> ShiftOperands shiftOperandsOf(const A& a) {
    if constexpr (requires { a.pDst; }) return {a.pSrc, a.srcStep, a.pDst, a.dstStep, false};
    else return {a.pSrcDst, a.srcDstStep, a.pSrcDst, a.srcDstStep, true};
}

// Bitwise with a constant (AndC, OrC, XorC) or with all ones (Not).
template <Op op, Layout L, class T, class A> ZkrStatus runConstBits(const A& a) {
    constexpr int px = int(sizeof(T)) * kChannels<L>;
    Operands<T> o;
    if (const ZkrStatus s = readOperands<L>(a, o); s != zkrStsNoErr) return s;
    alignas(64) std::uint8_t pattern[kPatternBytes];
    if constexpr (op == Op::Not) {
        std::memset(pattern, 0xFF, sizeof pattern);
    } else {
        for (int c = 0; c < kChannels<L>; ++c) {
            const T v = c < kActive<L> ? o.values[c] : T(0);
            std::memcpy(pattern + c * sizeof(T), &v, sizeof(T));
        }
        repeatPixel(pattern, px);
    }
    Job j;
    j.a = o.rhs(), j.aStep = o.rhsStep();
    j.d = o.d, j.dStep = o.dStep;
    j.rowBytes = std::ptrdiff_t(a.roiSize.width) * px;
    j.pattern = pattern;
    constexpr bool masked = L == Layout::AC4;
    if constexpr (masked) j.keep = keepFor<T>();
    runJob(j, kernels().bits[int(bopOf(op))][int(BShape::Pattern)][masked], a.roiSize);
    return zkrStsNoErr;
}

// Bitwise of two images: pSrc1 op pSrc2, or in place pSrc op pSrcDst.
template <Op op, Layout L, class T, class A> ZkrStatus runBits(const A& a) {
    constexpr int px = int(sizeof(T)) * kChannels<L>;
    Operands<T> o;
    if (const ZkrStatus s = readOperands<L>(a, o); s != zkrStsNoErr) return s;
    Job j;
    j.a = o.a, j.aStep = o.aStep;
    j.b = o.rhs(), j.bStep = o.rhsStep();
    j.d = o.d, j.dStep = o.dStep;
    j.rowBytes = std::ptrdiff_t(a.roiSize.width) * px;
    constexpr bool masked = L == Layout::AC4;
    if constexpr (masked) j.keep = keepFor<T>();
    runJob(j, kernels().bits[int(bopOf(op))][int(BShape::Row)][masked], a.roiSize);
    return zkrStsNoErr;
}

// pSrcDst = max or min of pSrc and pSrcDst.
template <Op op, Layout L, class T, class A> ZkrStatus runPick(const A& a) {
    Operands<T> o;
    if (const ZkrStatus s = readOperands<L>(a, o); s != zkrStsNoErr) return s;
    Job j;
    j.a = o.a, j.aStep = o.aStep;
    j.d = o.d, j.dStep = o.dStep;
    j.rowLen = a.roiSize.width * kChannels<L>;
    constexpr bool ac4 = L == Layout::AC4;
    constexpr int t = kComp<T>;
    runJob(j, op == Op::MaxEvery ? kernels().maxEvery[t][ac4] : kernels().minEvery[t][ac4], a.roiSize);
    return zkrStsNoErr;
}

// Shifts by one count per computed channel.
template <Op op, Layout L, class T, class A> ZkrStatus runShift(const A& a) {
    constexpr int px = int(sizeof(T)) * kChannels<L>;
    constexpr unsigned bits = 8 * sizeof(T);
    constexpr bool arithmetic = op == Op::RShiftC && std::is_signed_v<T>;
    using Lane = std::conditional_t<sizeof(T) == 1, std::uint8_t, std::conditional_t<sizeof(T) == 2, std::uint16_t, std::uint32_t>>;
    const ShiftOperands o = shiftOperandsOf(a);
    const Zkr32u* counts = elementsOf(a.value);
    if (const ZkrStatus s = checkArgs({o.src, counts, o.dst}, a.roiSize, {o.srcStep, o.dstStep}, px, int(sizeof(T)));
        s != zkrStsNoErr)
        return s;
    // Every bit shifted out: a count beyond the width acts as the width (the
    // width minus one for arithmetic shifts, which fill with the sign).
    const auto limit = [](Zkr32u c) { return unsigned(std::min<Zkr32u>(c, arithmetic ? bits - 1 : bits)); };
    Job j;
    j.a = o.src, j.aStep = o.srcStep;
    j.d = o.dst, j.dStep = o.dstStep;
    j.rowLen = a.roiSize.width * kChannels<L>;
    alignas(64) Lane lanes[kChunk];
    CShape shape = CShape::Uniform;
    j.count = limit(counts[0]);
    bool equal = true;
    for (int c = 1; c < kActive<L>; ++c) equal = equal && limit(counts[c]) == j.count;
    if (L == Layout::AC4 && !o.inPlace) {
        shape = CShape::PatternKeep;
    } else if (L == Layout::AC4 || !equal) {
        shape = CShape::Pattern;  // in place, the alpha channel is shifted by 0
    }
    if (shape != CShape::Uniform) {
        for (int i = 0; i < kChunk; ++i) {
            const int c = i % kChannels<L>;
            lanes[i] = Lane(c < kActive<L> ? limit(counts[c]) : 0);
        }
        j.pattern = lanes;
    }
    const Dir dir = op == Op::LShiftC ? Dir::Left : Dir::Right;
    runJob(j, kernels().shift[kComp<T>][int(dir)][int(shape)][o.inPlace], a.roiSize);
    return zkrStsNoErr;
}

// One entry point for every form of the tables; the form is told by the
// parameters it has, the operation by the table.
template <Op op, Layout L, class A> ZkrStatus run(const A& a) {
    using T = FormElem<A>;
    if constexpr (op == Op::And || op == Op::Or || op == Op::Xor) return runBits<op, L, T>(a);
    else if constexpr (op == Op::MaxEvery || op == Op::MinEvery) return runPick<op, L, T>(a);
    else if constexpr (op == Op::LShiftC || op == Op::RShiftC) return runShift<op, L, T>(a);
    else return runConstBits<op, L, T>(a);
}

}  // namespace
}  // namespace zkr::logic

#define ZKR_FN(name, form, T, L, op)                                     \
    ZKR_DEFINE(name, form, T) {                                          \
        ZKR_PACK(args, form, T);                                         \
        return zkr::logic::run<zkr::logic::Op::op, zkr::Layout::L>(args); \
    }
#include "logic/and.tbl"
#include "logic/andi.tbl"
#include "logic/andc.tbl"
#include "logic/andci.tbl"
#undef ZKR_FN
