// libzkrs: vector forms of the Add family, run by the image kernels as a
// single row (on the calling thread).
#include "add_kernels.h"
#include "elem_info.h"
#include "version_record.h"
#include "zkrs.h"

namespace {

using zkr::add::Kop;

// The kernel operation of each base: Sub and SubC subtract their first operand.
constexpr Kop kOp_Add = Kop::Add, kOp_AddC = Kop::Add, kOp_Sub = Kop::RevSub, kOp_SubC = Kop::RevSub;

// a, b: kernel operands (Sub: b - a). ScalarA: a is one real element.
template <bool ScalarA, class T>
ZkrStatus runVector(Kop op, const T* a, const T* b, T* d, int len, int scaleFactor) {
    static_assert(!ScalarA || zkr::ElemInfo<T>::comps == 1, "constants of complex vectors need a pattern");
    if (!a || !b || !d) return zkrStsNullPtrErr;
    if (len <= 0) return zkrStsSizeErr;
    zkr::EltJob j;
    j.a = a;
    j.b = b;
    j.d = d;
    j.rowLen = len * zkr::ElemInfo<T>::comps;
    j.scale = scaleFactor;
    constexpr zkr::Shape shape = ScalarA ? zkr::Shape::Scalar : zkr::Shape::Binary;
    zkr::add::kernels().elt[zkr::kComp<T>][int(op)][int(shape)](j, 0, 1);
    return zkrStsNoErr;
}

}  // namespace

#define ZKRS_SCALE_ARG_Sfs scaleFactor
#define ZKRS_SCALE_ARG 0

#define ZKRS_DEFINE_BINARY(base, t, s) \
    ZKRS_BINARY(base, t, s) { return runVector<false>(kOp_##base, pSrc1, pSrc2, pDst, len, ZKRS_SCALE_ARG##s); }
#define ZKRS_DEFINE_CONST(base, t, s) \
    ZKRS_CONST(base, t, s) { return runVector<true>(kOp_##base, &val, pSrc, pDst, len, ZKRS_SCALE_ARG##s); }

extern "C" {

ZKR_DEFINE_VERSION_GETTER(zkrsGetLibVersion, "zkrs")

ZKRS_BINARY_FUNCS(ZKRS_DEFINE_BINARY)
ZKRS_CONST_FUNCS(ZKRS_DEFINE_CONST)

}  // extern "C"
