/* Call forms and constants of the separable resamplers of libzkri: the
 * square-pixel resize with shifts, supersampling, the filtered resize and the
 * row resamplers, shared by the family's tables. Plain C: zkri.h includes
 * every table.
 *
 *   rsq       (pSrc, srcSize, srcStep, srcRoi, pDst, dstStep, dstRoi, xFactor,
 *              yFactor, xShift, yShift, interpolation)
 *   rsq_super (pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize)
 *   rsq_filter (pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize, filter)
 *   rsq_row   (pSrc, srcStep, srcRoiSize, pDst, dstStep, dstRoiSize)
 *
 * The layout column of a row decides the pointers: C1, C3, C4, AC4 take one
 * interleaved buffer, P3 and P4 arrays of plane pointers sharing one step.
 */
#ifndef ZKR_RESIZESQR_FORMS_H
#define ZKR_RESIZESQR_FORMS_H

#include "zkr_forms.h"

/* Interpolation of the square-pixel resize (the codes of the resize modes, and Lanczos). */
#define ZKRI_RSQ_NN 1       /* the source pixel under the sample point */
#define ZKRI_RSQ_LINEAR 2   /* linear, 2 taps per axis */
#define ZKRI_RSQ_CUBIC 6    /* Catmull-Rom (a = -0.5), 4 taps per axis */
#define ZKRI_RSQ_SUPER 8    /* the area average of the source pixels a destination pixel covers */
#define ZKRI_RSQ_LANCZOS 16 /* Lanczos with three lobes, 6 taps per axis, weights summing to one */

/* Filters of zkriResizeFilter: windowed sincs, widened by the inverse factor when reducing. */
#define ZKRI_RESIZE_FILTER_HANN 0    /* sinc in a Hann window of radius 2 */
#define ZKRI_RESIZE_FILTER_LANCZOS 1 /* sinc in a sinc window of radius 3 */

#define ZKR_RSQ_CAT_(a, b) a##b
#define ZKR_RSQ_CAT(a, b) ZKR_RSQ_CAT_(a, b)
#define ZKR_RSQ_SRC_C1(T) const T*
#define ZKR_RSQ_SRC_C3(T) const T*
#define ZKR_RSQ_SRC_C4(T) const T*
#define ZKR_RSQ_SRC_AC4(T) const T*
#define ZKR_RSQ_SRC_P3(T) const T* const*
#define ZKR_RSQ_SRC_P4(T) const T* const*
#define ZKR_RSQ_DST_C1(T) T*
#define ZKR_RSQ_DST_C3(T) T*
#define ZKR_RSQ_DST_C4(T) T*
#define ZKR_RSQ_DST_AC4(T) T*
#define ZKR_RSQ_DST_P3(T) T* const*
#define ZKR_RSQ_DST_P4(T) T* const*
#define ZKR_RSQ_SRC(T, L) ZKR_RSQ_CAT(ZKR_RSQ_SRC_, L)(T)
#define ZKR_RSQ_DST(T, L) ZKR_RSQ_CAT(ZKR_RSQ_DST_, L)(T)

#define ZKR_FORM_rsq(X, c, T, L, ...)                                                                 \
    X(c, ZKR_RSQ_SRC(T, L), pSrc) X(c, ZkriSize, srcSize) X(c, int, srcStep) X(c, ZkriRect, srcRoi)   \
    X(c, ZKR_RSQ_DST(T, L), pDst) X(c, int, dstStep) X(c, ZkriRect, dstRoi) X(c, double, xFactor)     \
    X(c, double, yFactor) X(c, double, xShift) X(c, double, yShift) X(c, int, interpolation)
#define ZKR_FORM_rsq_super(X, c, T, L, ...)                                                   \
    X(c, ZKR_RSQ_SRC(T, L), pSrc) X(c, int, srcStep) X(c, ZkriSize, srcRoiSize) X(c, ZKR_RSQ_DST(T, L), pDst) \
    X(c, int, dstStep) X(c, ZkriSize, dstRoiSize)
#define ZKR_FORM_rsq_filter(X, c, T, L, ...) ZKR_FORM_rsq_super(X, c, T, L) X(c, int, filter)
#define ZKR_FORM_rsq_row(X, c, T, L, ...) ZKR_FORM_rsq_super(X, c, T, L)

#endif
