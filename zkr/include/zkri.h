/* ZKR image functions.
 *
 * Conventions
 *   - Images are given by a pointer to the first pixel of the ROI and a row
 *     step in bytes; roiSize is in pixels.
 *   - Layouts: C1, C3, C4 (all channels processed) and AC4 (four channels in
 *     memory, the fourth is alpha: it is not processed and the destination's
 *     alpha is left untouched).
 *   - R: result to a separate destination; IR: result in place (pSrcDst).
 *   - Sfs: integer result multiplied by 2^-scaleFactor, rounded to nearest
 *     (ties to even), then saturated to the element range. Any int scale
 *     factor is accepted. Complex types apply this to each component.
 *   - Sub computes pSrc2 - pSrc1 (in place: pSrcDst - pSrc);
 *     SubC computes pSrc - value (in place: pSrcDst - value).
 *   - Arguments are checked in this order: NULL pointers (zkrStsNullPtrErr),
 *     ROI width or height <= 0 (zkrStsSizeErr), steps (zkrStsStepErr: <= 0,
 *     smaller than width * pixel size, or not a multiple of the element size).
 *   - Destination buffers must not overlap sources except through the IR forms.
 */
#ifndef ZKRI_H
#define ZKRI_H

#include "zkrcore.h"

#ifdef __cplusplus
extern "C" {
#endif

ZKR_API const ZkrLibraryVersion* zkriGetLibVersion(void);

/* ---- Add family ------------------------------------------------------------
 * The declarations are generated from one table of element types and
 * layouts:  ZKRI_ADD_FAMILY_TYPES(X, Base) calls X(Base, type, layout, Sfs-or-empty)
 * once per (type, layout); each call declares the R and the IR form.
 *   Real types 8u, 16u, 16s (Sfs) and 32f: layouts C1, C3, C4, AC4.
 *   Complex types 16sc, 32sc (Sfs) and 32fc: layouts C1, C3, AC4.
 * With the bases Add, Sub, AddC and SubC this gives 4 x 50 functions, e.g.
 *   ZkrStatus zkriAdd_8u_C1RSfs(const Zkr8u* pSrc1, int src1Step, const Zkr8u* pSrc2,
 *                               int src2Step, Zkr8u* pDst, int dstStep,
 *                               ZkriSize roiSize, int scaleFactor);
 *   ZkrStatus zkriSub_32f_C3IR(const Zkr32f* pSrc, int srcStep, Zkr32f* pSrcDst,
 *                              int srcDstStep, ZkriSize roiSize);
 *   ZkrStatus zkriAddC_16s_C4RSfs(const Zkr16s* pSrc, int srcStep, const Zkr16s value[4],
 *                                 Zkr16s* pDst, int dstStep, ZkriSize roiSize,
 *                                 int scaleFactor);
 *   ZkrStatus zkriSubC_32fc_C1IR(Zkr32fc value, Zkr32fc* pSrcDst, int srcDstStep,
 *                                ZkriSize roiSize);
 * Constants: one value for C1, three for C3 and AC4, four for C4.
 */
#define ZKRI_LAYOUTS_REAL(X, base, t, s) X(base, t, C1, s) X(base, t, C3, s) X(base, t, C4, s) X(base, t, AC4, s)
#define ZKRI_LAYOUTS_CPLX(X, base, t, s) X(base, t, C1, s) X(base, t, C3, s) X(base, t, AC4, s)
#define ZKRI_ADD_FAMILY_TYPES(X, base)                                                    \
    ZKRI_LAYOUTS_REAL(X, base, 8u, Sfs) ZKRI_LAYOUTS_REAL(X, base, 16u, Sfs)              \
    ZKRI_LAYOUTS_REAL(X, base, 16s, Sfs) ZKRI_LAYOUTS_REAL(X, base, 32f, )                \
    ZKRI_LAYOUTS_CPLX(X, base, 16sc, Sfs) ZKRI_LAYOUTS_CPLX(X, base, 32sc, Sfs)           \
    ZKRI_LAYOUTS_CPLX(X, base, 32fc, )

#define ZKRI_SCALE_PARAM_Sfs , int scaleFactor
#define ZKRI_SCALE_PARAM_
#define ZKRI_VALUE_PARAM_C1(t) Zkr##t value
#define ZKRI_VALUE_PARAM_C3(t) const Zkr##t value[3]
#define ZKRI_VALUE_PARAM_C4(t) const Zkr##t value[4]
#define ZKRI_VALUE_PARAM_AC4(t) const Zkr##t value[3]

#define ZKRI_BINARY_R(base, t, L, s)                                                               \
    ZkrStatus zkri##base##_##t##_##L##R##s(const Zkr##t* pSrc1, int src1Step, const Zkr##t* pSrc2, \
                                           int src2Step, Zkr##t* pDst, int dstStep,                \
                                           ZkriSize roiSize ZKRI_SCALE_PARAM_##s)
#define ZKRI_BINARY_IR(base, t, L, s)                                                      \
    ZkrStatus zkri##base##_##t##_##L##IR##s(const Zkr##t* pSrc, int srcStep, Zkr##t* pSrcDst, \
                                            int srcDstStep, ZkriSize roiSize ZKRI_SCALE_PARAM_##s)
#define ZKRI_CONST_R(base, t, L, s)                                                          \
    ZkrStatus zkri##base##_##t##_##L##R##s(const Zkr##t* pSrc, int srcStep,                  \
                                           ZKRI_VALUE_PARAM_##L(t), Zkr##t* pDst, int dstStep, \
                                           ZkriSize roiSize ZKRI_SCALE_PARAM_##s)
#define ZKRI_CONST_IR(base, t, L, s)                                                         \
    ZkrStatus zkri##base##_##t##_##L##IR##s(ZKRI_VALUE_PARAM_##L(t), Zkr##t* pSrcDst,        \
                                            int srcDstStep, ZkriSize roiSize ZKRI_SCALE_PARAM_##s)

#define ZKRI_DECLARE_BINARY(base, t, L, s) ZKR_API ZKRI_BINARY_R(base, t, L, s); ZKR_API ZKRI_BINARY_IR(base, t, L, s);
#define ZKRI_DECLARE_CONST(base, t, L, s) ZKR_API ZKRI_CONST_R(base, t, L, s); ZKR_API ZKRI_CONST_IR(base, t, L, s);

ZKRI_ADD_FAMILY_TYPES(ZKRI_DECLARE_BINARY, Add)
ZKRI_ADD_FAMILY_TYPES(ZKRI_DECLARE_BINARY, Sub)
ZKRI_ADD_FAMILY_TYPES(ZKRI_DECLARE_CONST, AddC)
ZKRI_ADD_FAMILY_TYPES(ZKRI_DECLARE_CONST, SubC)

/* Converts one's complement coded values to two's complement in place:
 * negative codes become one larger (0xFFFFFFFF, negative zero, becomes 0);
 * non-negative codes are unchanged. */
ZKR_API ZkrStatus zkriComplement_32s_C1IR(Zkr32s* pSrcDst, int srcDstStep, ZkriSize roiSize);

#ifdef __cplusplus
}
#endif

#endif /* ZKRI_H */
