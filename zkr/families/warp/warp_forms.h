/* Call forms and constants of the geometric warps of libzkri (rotation,
 * shear, the affine, perspective and bilinear warps, remapping), shared by
 * the family's tables. Plain C: zkri.h includes every table.
 *
 * Every form begins (pSrc, srcSize, srcStep, srcRoi): pSrc is the origin of a
 * srcSize image, srcRoi the part of it that is sampled (clipped to the image).
 * The destination is (pDst, dstStep, dstRoi): pDst is the origin of the
 * destination image and dstRoi the rectangle of it that is written.
 *
 *   warp_rotate  (..., dstRoi, angle, xShift, yShift, interpolation)
 *   warp_shear   (..., dstRoi, xShear, yShear, xShift, yShift, interpolation)
 *   warp_coeffs  (..., dstRoi, coeffs, interpolation)        coeffs: const double*
 *                (6 affine, 9 perspective, 8 bilinear, row by row)
 *   warp_quad    (pSrc, srcSize, srcStep, srcRoi, srcQuad, pDst, dstStep,
 *                 dstRoi, dstQuad, interpolation)            quads: const double[8]
 *   warp_remap   (pSrc, srcSize, srcStep, srcRoi, pxMap, xMapStep, pyMap,
 *                 yMapStep, pDst, dstStep, dstRoiSize, interpolation)
 *
 * The layout column of a row decides the pointers: C1, C3, C4, AC4 take one
 * interleaved buffer, P3 arrays of three plane pointers sharing one step.
 */
#ifndef ZKR_WARP_FORMS_H
#define ZKR_WARP_FORMS_H

#include "zkr_forms.h"

/* Interpolation of the warps: the codes of the resize modes, one name each. */
#define ZKRI_WARP_NN 1     /* the source pixel nearest to the sample point */
#define ZKRI_WARP_LINEAR 2 /* bilinear, 2 x 2 taps */
#define ZKRI_WARP_CUBIC 6  /* bicubic Catmull-Rom (a = -0.5), 4 x 4 taps */

#define ZKR_WARP_CAT_(a, b) a##b
#define ZKR_WARP_CAT(a, b) ZKR_WARP_CAT_(a, b)
#define ZKR_WARP_SRC_C1(T) const T*
#define ZKR_WARP_SRC_C3(T) const T*
#define ZKR_WARP_SRC_C4(T) const T*
#define ZKR_WARP_SRC_AC4(T) const T*
#define ZKR_WARP_SRC_P3(T) const T* const*
#define ZKR_WARP_DST_C1(T) T*
#define ZKR_WARP_DST_C3(T) T*
#define ZKR_WARP_DST_C4(T) T*
#define ZKR_WARP_DST_AC4(T) T*
#define ZKR_WARP_DST_P3(T) T* const*
#define ZKR_WARP_SRC(T, L) ZKR_WARP_CAT(ZKR_WARP_SRC_, L)(T)
#define ZKR_WARP_DST(T, L) ZKR_WARP_CAT(ZKR_WARP_DST_, L)(T)

#define ZKR_X_WARP_SRC(X, c, T, L) \
    X(c, ZKR_WARP_SRC(T, L), pSrc) X(c, ZkriSize, srcSize) X(c, int, srcStep) X(c, ZkriRect, srcRoi)
#define ZKR_X_WARP_DST(X, c, T, L) X(c, ZKR_WARP_DST(T, L), pDst) X(c, int, dstStep) X(c, ZkriRect, dstRoi)

#define ZKR_FORM_warp_rotate(X, c, T, L, ...)                                                      \
    ZKR_X_WARP_SRC(X, c, T, L) ZKR_X_WARP_DST(X, c, T, L) X(c, double, angle) X(c, double, xShift) \
    X(c, double, yShift) X(c, int, interpolation)
#define ZKR_FORM_warp_shear(X, c, T, L, ...)                                                        \
    ZKR_X_WARP_SRC(X, c, T, L) ZKR_X_WARP_DST(X, c, T, L) X(c, double, xShear) X(c, double, yShear) \
    X(c, double, xShift) X(c, double, yShift) X(c, int, interpolation)
#define ZKR_FORM_warp_coeffs(X, c, T, L, ...) \
    ZKR_X_WARP_SRC(X, c, T, L) ZKR_X_WARP_DST(X, c, T, L) X(c, const double*, coeffs) X(c, int, interpolation)
#define ZKR_FORM_warp_quad(X, c, T, L, ...)                                                       \
    ZKR_X_WARP_SRC(X, c, T, L) X(c, const double*, srcQuad) ZKR_X_WARP_DST(X, c, T, L)      \
    X(c, const double*, dstQuad) X(c, int, interpolation)
#define ZKR_FORM_warp_remap(X, c, T, L, ...)                                                             \
    ZKR_X_WARP_SRC(X, c, T, L) X(c, const Zkr32f*, pxMap) X(c, int, xMapStep) X(c, const Zkr32f*, pyMap) \
    X(c, int, yMapStep) X(c, ZKR_WARP_DST(T, L), pDst) X(c, int, dstStep) X(c, ZkriSize, dstRoiSize)     \
    X(c, int, interpolation)

#endif
