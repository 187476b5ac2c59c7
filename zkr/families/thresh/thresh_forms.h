/* Call forms and the comparison operation of the Threshold family, shared by
 * its tables (thresh.tbl, threshi.tbl, thresh_otsu.tbl). Plain C: zkri.h
 * includes every table.
 *
 * A form's name tells its constants:
 *   thr       threshold                              (GT, LT)
 *   thr_cmp   threshold, cmpOp                        (Threshold)
 *   thrv      threshold, value                        (GTVal, LTVal)
 *   thrv_cmp  threshold, value, cmpOp                 (Threshold_Val)
 *   thr2v     thresholdLT, valueLT, thresholdGT, valueGT   (LTValGTVal)
 * then 1 (one channel: constants by value) or N (C3, C4, AC4: one constant
 * per processed channel, passed as an array), then _i for the in-place form,
 * which takes (pSrcDst, srcDstStep, roiSize) in place of
 * (pSrc, srcStep, pDst, dstStep, roiSize).
 *   otsu      (pSrc, srcStep, roiSize, pThreshold)    (ComputeThreshold_Otsu)
 */
#ifndef ZKR_THRESH_FORMS_H
#define ZKR_THRESH_FORMS_H

#include "zkr_forms.h"

/* The comparison of a source value with a constant (ZkrCmpOp, zkrcore.h). The threshold functions
 * that take one accept zkrCmpLess and zkrCmpGreater. */

/* ---- images: not in place, in place */
#define ZKR_THR_IO(X, c, T) \
    X(c, const T*, pSrc) X(c, int, srcStep) X(c, T*, pDst) X(c, int, dstStep) X(c, ZkriSize, roiSize)
#define ZKR_THR_IO_i(X, c, T) X(c, T*, pSrcDst) X(c, int, srcDstStep) X(c, ZkriSize, roiSize)

/* ---- constants: K is T (one channel) or const T* (one per channel) */
#define ZKR_THR_K_thr(X, c, K) X(c, K, threshold)
#define ZKR_THR_K_thr_cmp(X, c, K) X(c, K, threshold) X(c, ZkrCmpOp, cmpOp)
#define ZKR_THR_K_thrv(X, c, K) X(c, K, threshold) X(c, K, value)
#define ZKR_THR_K_thrv_cmp(X, c, K) X(c, K, threshold) X(c, K, value) X(c, ZkrCmpOp, cmpOp)
#define ZKR_THR_K_thr2v(X, c, K) X(c, K, thresholdLT) X(c, K, valueLT) X(c, K, thresholdGT) X(c, K, valueGT)

#define ZKR_FORM_thr1(X, c, T, ...) ZKR_THR_IO(X, c, T) ZKR_THR_K_thr(X, c, T)
#define ZKR_FORM_thrN(X, c, T, ...) ZKR_THR_IO(X, c, T) ZKR_THR_K_thr(X, c, const T*)
#define ZKR_FORM_thr1_i(X, c, T, ...) ZKR_THR_IO_i(X, c, T) ZKR_THR_K_thr(X, c, T)
#define ZKR_FORM_thrN_i(X, c, T, ...) ZKR_THR_IO_i(X, c, T) ZKR_THR_K_thr(X, c, const T*)

#define ZKR_FORM_thr1_cmp(X, c, T, ...) ZKR_THR_IO(X, c, T) ZKR_THR_K_thr_cmp(X, c, T)
#define ZKR_FORM_thrN_cmp(X, c, T, ...) ZKR_THR_IO(X, c, T) ZKR_THR_K_thr_cmp(X, c, const T*)
#define ZKR_FORM_thr1_cmp_i(X, c, T, ...) ZKR_THR_IO_i(X, c, T) ZKR_THR_K_thr_cmp(X, c, T)
#define ZKR_FORM_thrN_cmp_i(X, c, T, ...) ZKR_THR_IO_i(X, c, T) ZKR_THR_K_thr_cmp(X, c, const T*)

#define ZKR_FORM_thrv1(X, c, T, ...) ZKR_THR_IO(X, c, T) ZKR_THR_K_thrv(X, c, T)
#define ZKR_FORM_thrvN(X, c, T, ...) ZKR_THR_IO(X, c, T) ZKR_THR_K_thrv(X, c, const T*)
#define ZKR_FORM_thrv1_i(X, c, T, ...) ZKR_THR_IO_i(X, c, T) ZKR_THR_K_thrv(X, c, T)
#define ZKR_FORM_thrvN_i(X, c, T, ...) ZKR_THR_IO_i(X, c, T) ZKR_THR_K_thrv(X, c, const T*)

#define ZKR_FORM_thrv1_cmp(X, c, T, ...) ZKR_THR_IO(X, c, T) ZKR_THR_K_thrv_cmp(X, c, T)
#define ZKR_FORM_thrvN_cmp(X, c, T, ...) ZKR_THR_IO(X, c, T) ZKR_THR_K_thrv_cmp(X, c, const T*)
#define ZKR_FORM_thrv1_cmp_i(X, c, T, ...) ZKR_THR_IO_i(X, c, T) ZKR_THR_K_thrv_cmp(X, c, T)
#define ZKR_FORM_thrvN_cmp_i(X, c, T, ...) ZKR_THR_IO_i(X, c, T) ZKR_THR_K_thrv_cmp(X, c, const T*)

#define ZKR_FORM_thr2v1(X, c, T, ...) ZKR_THR_IO(X, c, T) ZKR_THR_K_thr2v(X, c, T)
#define ZKR_FORM_thr2vN(X, c, T, ...) ZKR_THR_IO(X, c, T) ZKR_THR_K_thr2v(X, c, const T*)
#define ZKR_FORM_thr2v1_i(X, c, T, ...) ZKR_THR_IO_i(X, c, T) ZKR_THR_K_thr2v(X, c, T)
#define ZKR_FORM_thr2vN_i(X, c, T, ...) ZKR_THR_IO_i(X, c, T) ZKR_THR_K_thr2v(X, c, const T*)

/* ---- Otsu's threshold of an 8u image */
#define ZKR_FORM_otsu(X, c, T, ...) \
    X(c, const T*, pSrc) X(c, int, srcStep) X(c, ZkriSize, roiSize) X(c, T*, pThreshold)

#endif /* ZKR_THRESH_FORMS_H */
