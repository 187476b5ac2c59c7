/* Call forms only the multiplication family uses (its tables include this
 * header; plain C, since zkri.h expands every table in C as well):
 *   alphac     (pSrc, srcStep, alpha, pDst, dstStep, roiSize)     alpha: T
 *   alphac_i   (alpha, pSrcDst, srcDstStep, roiSize)
 *   colorkey1  (pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize, colorKey)
 *              colorKey: T
 *   colorkeyN  the same with colorKey: const T* (one per colour channel)
 */
#ifndef ZKR_MUL_FORMS_H
#define ZKR_MUL_FORMS_H

#include "zkr_forms.h"

#define ZKR_FORM_alphac(X, c, T, ...)                                                          \
    X(c, const T*, pSrc) X(c, int, srcStep) X(c, T, alpha) X(c, T*, pDst) X(c, int, dstStep) \
    X(c, ZkriSize, roiSize)
#define ZKR_FORM_alphac_i(X, c, T, ...) X(c, T, alpha) X(c, T*, pSrcDst) X(c, int, srcDstStep) X(c, ZkriSize, roiSize)
#define ZKR_FORM_colorkey1(X, c, T, ...) ZKR_FORM_binary(X, c, T, ~) X(c, T, colorKey)
#define ZKR_FORM_colorkeyN(X, c, T, ...) ZKR_FORM_binary(X, c, T, ~) X(c, const T*, colorKey)

#endif /* ZKR_MUL_FORMS_H */
