/* The call forms of the Sum family, shared by its two tables (sum.tbl for
 * TimiSum, hint.tbl for TimiHint). */
#ifndef ZKR_SUM_FORMS_H
#define ZKR_SUM_FORMS_H

#include "zkr_forms.h"

#define ZKR_X_SRC1(X, c, T) X(c, const T*, pSrc) X(c, int, srcStep) X(c, ZkriSize, roiSize)
#define ZKR_FORM_sum(X, c, T, ...) ZKR_X_SRC1(X, c, T) X(c, Zkr64f*, pSum)
#define ZKR_FORM_sum_hint(X, c, T, ...) ZKR_FORM_sum(X, c, T, ~) X(c, ZkrHintAlgorithm, hint)
#define ZKR_FORM_mean(X, c, T, ...) ZKR_X_SRC1(X, c, T) X(c, Zkr64f*, pMean)
#define ZKR_FORM_mean_hint(X, c, T, ...) ZKR_FORM_mean(X, c, T, ~) X(c, ZkrHintAlgorithm, hint)
#define ZKR_FORM_min(X, c, T, ...) ZKR_X_SRC1(X, c, T) X(c, T*, pMin)
#define ZKR_FORM_max(X, c, T, ...) ZKR_X_SRC1(X, c, T) X(c, T*, pMax)
#define ZKR_FORM_minmax(X, c, T, ...) ZKR_X_SRC1(X, c, T) X(c, T*, pMin) X(c, T*, pMax)
#define ZKR_FORM_min_indx(X, c, T, ...) ZKR_FORM_min(X, c, T, ~) X(c, int*, pIndexX) X(c, int*, pIndexY)
#define ZKR_FORM_max_indx(X, c, T, ...) ZKR_FORM_max(X, c, T, ~) X(c, int*, pIndexX) X(c, int*, pIndexY)
#define ZKR_FORM_quality(X, c, T, ...)                                                     \
    X(c, const T*, pSrc1) X(c, int, src1Step) X(c, const T*, pSrc2) X(c, int, src2Step) \
    X(c, ZkriSize, roiSize) X(c, Zkr32f*, pQuality)

#endif
