/* Call forms and public constants of the Copy family of libzkri (copies,
 * sets, channel swaps, the managed copy and the packed-spectrum layouts),
 * shared by the family's tables. Plain C: zkri.h includes every table.
 *
 *   copy_m        (pSrc, srcStep, pDst, dstStep, roiSize, pMask, maskStep)
 *   copy_pc       (pSrc[planes], srcStep, pDst, dstStep, roiSize)
 *   copy_cp       (pSrc, srcStep, pDst[planes], dstStep, roiSize)
 *   copy_pp       (pSrc[planes], srcStep, pDst[planes], dstStep, roiSize)
 *   copy_managed  (pSrc, srcStep, pDst, dstStep, roiSize, flags)
 *   set1          (value, pDst, dstStep, roiSize)                value: T
 *   setN          (value, pDst, dstStep, roiSize)                value: const T* (one per channel)
 *   set1_m, setN_m  the same with (pMask, maskStep) at the end
 *   swap          (pSrc, srcStep, pDst, dstStep, roiSize, dstOrder)
 *   swap_i        (pSrcDst, srcDstStep, roiSize, dstOrder)
 *   swap_val      (pSrc, srcStep, pDst, dstStep, roiSize, dstOrder, val)
 *   cvt           (pSrc, srcStep, pDst, dstStep, roiSize) with source type Ts and destination type Td
 *   median        (pSrc, srcStep, pDst, dstStep, dstRoiSize, maskSize, anchor)
 *
 * Planar images are given as arrays of plane pointers that share one row step.
 * Masks are 8u images of the ROI's size: a pixel is written where its mask
 * element is not zero and left untouched elsewhere.
 */
#ifndef ZKR_COPY_FORMS_H
#define ZKR_COPY_FORMS_H

#include "zkr_forms.h"

/* zkriCopyManaged flags: how the destination is written. 0 is the library's
 * choice (cached stores for images up to ZKR_COPY_NONTEMPORAL_MIN_BYTES,
 * streaming stores above); exactly one of the others forces a way. */
#define ZKR_COPY_TEMPORAL 1    /* through the caches: the copy is read again soon */
#define ZKR_COPY_NONTEMPORAL 2 /* streaming stores around the caches: large copies not read soon */
#define ZKR_COPY_NONTEMPORAL_MIN_BYTES (8 * 1024 * 1024)

#define ZKR_X_MASK(X, c) X(c, const Zkr8u*, pMask) X(c, int, maskStep)

#define ZKR_FORM_copy_m(X, c, T, ...) ZKR_FORM_unary(X, c, T, ~) ZKR_X_MASK(X, c)
#define ZKR_FORM_copy_pc(X, c, T, ...) \
    X(c, const T* const*, pSrc) X(c, int, srcStep) X(c, T*, pDst) X(c, int, dstStep) X(c, ZkriSize, roiSize)
#define ZKR_FORM_copy_cp(X, c, T, ...) \
    X(c, const T*, pSrc) X(c, int, srcStep) X(c, T* const*, pDst) X(c, int, dstStep) X(c, ZkriSize, roiSize)
#define ZKR_FORM_copy_pp(X, c, T, ...) \
    X(c, const T* const*, pSrc) X(c, int, srcStep) X(c, T* const*, pDst) X(c, int, dstStep) X(c, ZkriSize, roiSize)
#define ZKR_FORM_copy_managed(X, c, T, ...) ZKR_FORM_unary(X, c, T, ~) X(c, int, flags)

#define ZKR_FORM_set1(X, c, T, ...) X(c, T, value) X(c, T*, pDst) X(c, int, dstStep) X(c, ZkriSize, roiSize)
#define ZKR_FORM_setN(X, c, T, ...) X(c, const T*, value) X(c, T*, pDst) X(c, int, dstStep) X(c, ZkriSize, roiSize)
#define ZKR_FORM_set1_m(X, c, T, ...) ZKR_FORM_set1(X, c, T, ~) ZKR_X_MASK(X, c)
#define ZKR_FORM_setN_m(X, c, T, ...) ZKR_FORM_setN(X, c, T, ~) ZKR_X_MASK(X, c)

#define ZKR_FORM_swap(X, c, T, ...) ZKR_FORM_unary(X, c, T, ~) X(c, const int*, dstOrder)
#define ZKR_FORM_swap_i(X, c, T, ...) ZKR_FORM_unary_i(X, c, T, ~) X(c, const int*, dstOrder)
#define ZKR_FORM_swap_val(X, c, T, ...) ZKR_FORM_swap(X, c, T, ~) X(c, T, val)

#define ZKR_FORM_cvt(X, c, Ts, Td, ...) \
    X(c, const Ts*, pSrc) X(c, int, srcStep) X(c, Td*, pDst) X(c, int, dstStep) X(c, ZkriSize, roiSize)

#define ZKR_FORM_median(X, c, T, ...)                                                                 \
    X(c, const T*, pSrc) X(c, int, srcStep) X(c, T*, pDst) X(c, int, dstStep) X(c, ZkriSize, dstRoiSize) \
    X(c, ZkriSize, maskSize) X(c, ZkriPoint, anchor)

#endif /* ZKR_COPY_FORMS_H */
