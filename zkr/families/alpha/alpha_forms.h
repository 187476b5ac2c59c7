/* Compositing operations and call forms of the Alpha family, shared by its
 * two tables (TimiAlpha.tbl, iAlphaComp__YS.tbl). Plain C: zkri.h includes it
 * through the tables.
 *
 * Compositing of a source A (pSrc1) over, in, ... a source B (pSrc2), with
 * alphas aA, aB as fractions of the type's maximum (255 for 8u, 65535 for
 * 16u, 1.0 for 32f):
 *
 *   operation   Fa        Fb
 *   OVER        1         1 - aA
 *   IN          aB        0
 *   OUT         1 - aB    0
 *   ATOP        aB        1 - aA
 *   XOR         1 - aB    1 - aA
 *   PLUS        1         1
 *
 * result alpha   = aA * Fa + aB * Fb
 * result colour  = aA * cA * Fa + aB * cB * Fb    plain operations: straight
 *                                                 colours in, premultiplied out
 *                = cA * Fa + cB * Fb               *_PREMUL: premultiplied colours
 *
 * Integer results are the exact value rounded to nearest (no ties occur: the
 * denominators are odd) and saturated to the type's maximum (PLUS can exceed
 * it); 32f results are computed in single precision and not clamped.
 */
#ifndef ZKR_ALPHA_FORMS_H
#define ZKR_ALPHA_FORMS_H

#include "zkr_forms.h"

typedef enum {
    ZKRI_ALPHA_OVER = 0,
    ZKRI_ALPHA_IN = 1,
    ZKRI_ALPHA_OUT = 2,
    ZKRI_ALPHA_ATOP = 3,
    ZKRI_ALPHA_XOR = 4,
    ZKRI_ALPHA_PLUS = 5,
    ZKRI_ALPHA_OVER_PREMUL = 6,
    ZKRI_ALPHA_IN_PREMUL = 7,
    ZKRI_ALPHA_OUT_PREMUL = 8,
    ZKRI_ALPHA_ATOP_PREMUL = 9,
    ZKRI_ALPHA_XOR_PREMUL = 10,
    ZKRI_ALPHA_PLUS_PREMUL = 11
} ZkriAlphaType;

/* Per-pixel alpha, interleaved (AC4: the fourth channel is alpha; the
 * composed alpha is written to the destination's fourth channel). */
#define ZKR_FORM_alphacomp(X, c, T, ...)                                                    \
    X(c, const T*, pSrc1) X(c, int, src1Step) X(c, const T*, pSrc2) X(c, int, src2Step) \
    X(c, T*, pDst) X(c, int, dstStep) X(c, ZkriSize, roiSize) X(c, ZkriAlphaType, alphaType)
/* Per-pixel alpha, planar (AP4: four planes, the fourth is alpha; one step
 * per image for all its planes). */
#define ZKR_FORM_alphacomp_p(X, c, T, ...)                                                              \
    X(c, const T* const*, pSrc1) X(c, int, src1Step) X(c, const T* const*, pSrc2) X(c, int, src2Step) \
    X(c, T* const*, pDst) X(c, int, dstStep) X(c, ZkriSize, roiSize) X(c, ZkriAlphaType, alphaType)
/* Constant alphas, one per source; every channel is a colour (AC4: the
 * destination's fourth channel is left untouched). */
#define ZKR_FORM_alphacompc(X, c, T, ...)                                                                   \
    X(c, const T*, pSrc1) X(c, int, src1Step) X(c, T, alpha1) X(c, const T*, pSrc2) X(c, int, src2Step) \
    X(c, T, alpha2) X(c, T*, pDst) X(c, int, dstStep) X(c, ZkriSize, roiSize) X(c, ZkriAlphaType, alphaType)
/* Constant alphas and a colour key of source 1 (three values): pixels of
 * source 1 of that colour are fully transparent (alpha 0, no colour). */
#define ZKR_FORM_alphacompck(X, c, T, ...)                                                                 \
    X(c, const T*, pSrc1) X(c, int, src1Step) X(c, T, alpha1) X(c, const T*, colorKey) X(c, const T*, pSrc2) \
    X(c, int, src2Step) X(c, T, alpha2) X(c, T*, pDst) X(c, int, dstStep) X(c, ZkriSize, roiSize)            \
    X(c, ZkriAlphaType, alphaType)

#endif /* ZKR_ALPHA_FORMS_H */
