// The exported Add, Sub, AddC and SubC functions, generated from the table
// in zkri.h; each forwards to the generic entry point of its call form.
#include "image_ops.h"
#include "zkri.h"

using zkr::img::Base;
using zkr::img::Layout;

#define ZKRI_SCALE_ARG_Sfs scaleFactor
#define ZKRI_SCALE_ARG_ 0
#define ZKRI_VALUE_PTR_C1 &value
#define ZKRI_VALUE_PTR_C3 value
#define ZKRI_VALUE_PTR_C4 value
#define ZKRI_VALUE_PTR_AC4 value

#define ZKRI_DEFINE_BINARY(base, t, L, s)                                                          \
    ZKRI_BINARY_R(base, t, L, s) {                                                                 \
        return zkr::img::binary<Base::base, Layout::L>(pSrc1, src1Step, pSrc2, src2Step, pDst,     \
                                                       dstStep, roiSize, ZKRI_SCALE_ARG_##s);      \
    }                                                                                              \
    ZKRI_BINARY_IR(base, t, L, s) {                                                                \
        return zkr::img::binaryInPlace<Base::base, Layout::L>(pSrc, srcStep, pSrcDst, srcDstStep,  \
                                                              roiSize, ZKRI_SCALE_ARG_##s);        \
    }

#define ZKRI_DEFINE_CONST(base, t, L, s)                                                             \
    ZKRI_CONST_R(base, t, L, s) {                                                                    \
        return zkr::img::constant<Base::base, Layout::L>(pSrc, srcStep, ZKRI_VALUE_PTR_##L, pDst,   \
                                                         dstStep, roiSize, ZKRI_SCALE_ARG_##s);     \
    }                                                                                                \
    ZKRI_CONST_IR(base, t, L, s) {                                                                   \
        return zkr::img::constantInPlace<Base::base, Layout::L>(ZKRI_VALUE_PTR_##L, pSrcDst,        \
                                                                srcDstStep, roiSize,                \
                                                                ZKRI_SCALE_ARG_##s);                \
    }

extern "C" {
ZKRI_ADD_FAMILY_TYPES(ZKRI_DEFINE_BINARY, Add)
ZKRI_ADD_FAMILY_TYPES(ZKRI_DEFINE_BINARY, Sub)
ZKRI_ADD_FAMILY_TYPES(ZKRI_DEFINE_CONST, AddC)
ZKRI_ADD_FAMILY_TYPES(ZKRI_DEFINE_CONST, SubC)
}
