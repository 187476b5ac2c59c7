/* The call forms of the Norm family, shared by its two tables (norm.tbl,
 * hint.tbl). Every form writes one Zkr64f per computed channel to pValue
 * (C1: 1, C3 and AC4: 3, C4: 4).
 *   nrm             (pSrc, srcStep, roiSize, pValue): Norm
 *   nrm_hint        the same and a ZkrHintAlgorithm hint
 *   nrm_diff        (pSrc1, src1Step, pSrc2, src2Step, roiSize, pValue):
 *                   NormDiff and NormRel
 *   nrm_diff_hint   the same and a ZkrHintAlgorithm hint
 */
#ifndef ZKR_NORM_FORMS_H
#define ZKR_NORM_FORMS_H

#include "zkr_forms.h"

#define ZKR_FORM_nrm(X, c, T, ...) \
    X(c, const T*, pSrc) X(c, int, srcStep) X(c, ZkriSize, roiSize) X(c, Zkr64f*, pValue)
#define ZKR_FORM_nrm_hint(X, c, T, ...) ZKR_FORM_nrm(X, c, T, ~) X(c, ZkrHintAlgorithm, hint)
#define ZKR_FORM_nrm_diff(X, c, T, ...)                                                    \
    X(c, const T*, pSrc1) X(c, int, src1Step) X(c, const T*, pSrc2) X(c, int, src2Step) \
    X(c, ZkriSize, roiSize) X(c, Zkr64f*, pValue)
#define ZKR_FORM_nrm_diff_hint(X, c, T, ...) ZKR_FORM_nrm_diff(X, c, T, ~) X(c, ZkrHintAlgorithm, hint)

#endif
