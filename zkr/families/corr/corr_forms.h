/* Call forms of the Corr family's two tables (corr.tbl: template matching,
 * conv.tbl: two-image convolution). Included by both tables. */
#ifndef ZKR_CORR_FORMS_H
#define ZKR_CORR_FORMS_H

#include "zkr_forms.h"

/* An image ROI and a template, each with its own size, into a 32f destination
 * whose size follows from the two and the shape (Full, Valid, Same). */
#define ZKR_FORM_corr(X, c, Ts, Td, ...)                                                           \
    X(c, const Ts*, pSrc) X(c, int, srcStep) X(c, ZkriSize, srcRoiSize) X(c, const Ts*, pTpl)      \
    X(c, int, tplStep) X(c, ZkriSize, tplRoiSize) X(c, Td*, pDst) X(c, int, dstStep)

/* Two images, each with its own size, into a destination of their type. */
#define ZKR_FORM_conv(X, c, T, ...)                                                                \
    X(c, const T*, pSrc1) X(c, int, src1Step) X(c, ZkriSize, src1Size) X(c, const T*, pSrc2)      \
    X(c, int, src2Step) X(c, ZkriSize, src2Size) X(c, T*, pDst) X(c, int, dstStep)
#define ZKR_FORM_conv_sfs(X, c, T, ...) ZKR_FORM_conv(X, c, T, ~) ZKR_X_SCALE(X, c)

#endif
