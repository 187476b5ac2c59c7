/* Call forms of the Morph family's tables (morph.tbl, morphm.tbl). */
#ifndef ZKR_MORPH_FORMS_H
#define ZKR_MORPH_FORMS_H

#include "zkr_forms.h"

#define ZKR_FORM_morph3(X, c, T, ...) \
    X(c, const T*, pSrc) X(c, int, srcStep) X(c, T*, pDst) X(c, int, dstStep) X(c, ZkriSize, roiSize)
#define ZKR_FORM_morph3_i(X, c, T, ...) X(c, T*, pSrcDst) X(c, int, srcDstStep) X(c, ZkriSize, roiSize)
#define ZKR_FORM_wmedian3(X, c, T, ...)                                                          \
    X(c, const T*, pSrc) X(c, int, srcStep) X(c, T*, pDst) X(c, int, dstStep) X(c, ZkriSize, dstRoiSize) \
    X(c, int, weight)
#define ZKR_FORM_morphm(X, c, T, ...) \
    ZKR_FORM_morph3(X, c, T, ~) X(c, const Zkr8u*, pMask) X(c, ZkriSize, maskSize) X(c, ZkriPoint, anchor)
#define ZKR_FORM_morphm_i(X, c, T, ...) \
    ZKR_FORM_morph3_i(X, c, T, ~) X(c, const Zkr8u*, pMask) X(c, ZkriSize, maskSize) X(c, ZkriPoint, anchor)

#endif
