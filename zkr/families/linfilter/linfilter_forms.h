/* Call forms of the linear filter family (fixed kernels, user kernels, row and column
 * kernels, mask filters, decimation), shared by its tables.
 *
 * Every row of the family's tables reads
 *   ZKR_FN(name, form, Ts, Td, K, layout, op)
 *     Ts, Td  source and destination element types
 *     K       element type of the user kernel (forms without a kernel ignore it)
 *     layout  C1, C3, C4 or AC4 (alpha channel neither read nor written)
 *     op      the filter (its kernel, or the rank operation of the median rows)
 *
 * The source pointer is the first pixel of the ROI; the ROI lies inside a larger image that
 * supplies the border: destination pixel (x, y) reads the source pixels (x - anchor.x + i,
 * y - anchor.y + j) for every element (i, j) of the kernel or mask. Fixed kernels and masks
 * are centred (anchor = size / 2), so a 3x3 mask needs one pixel around the ROI, a 5x5 two.
 *
 * The forms (all of them with pSrc, srcStep, pDst, dstStep, dstRoiSize first):
 *   lf_fixed         nothing more: a fixed 3x3 kernel
 *   lf_mask          ZkriSize maskSize: the fixed kernel or median mask of that size
 *   lf_filter        const K* pKernel, ZkriSize kernelSize, ZkriPoint anchor
 *   lf_filter_div    the same and int divisor
 *   lf_filter_r      lf_filter and ZkrRoundMode roundMode
 *   lf_filter_div_r  lf_filter_div and ZkrRoundMode roundMode
 *   lf_column        const K* pKernel, int kernelLen, int yAnchor   (a kernelLen x 1 column)
 *   lf_column_div    the same and int divisor
 *   lf_row           const K* pKernel, int kernelLen, int xAnchor   (a 1 x kernelLen row)
 *   lf_row_div       the same and int divisor
 *   lf_decimate      (pSrc, srcStep, ZkriSize srcRoiSize, pDst, dstStep, int factor)
 */
#ifndef ZKR_LINFILTER_FORMS_H
#define ZKR_LINFILTER_FORMS_H

#include "zkr_forms.h"

#define ZKR_LF_IMAGES(X, c, Ts, Td) \
    X(c, const Ts*, pSrc) X(c, int, srcStep) X(c, Td*, pDst) X(c, int, dstStep) X(c, ZkriSize, dstRoiSize)
#define ZKR_FORM_lf_fixed(X, c, Ts, Td, K, ...) ZKR_LF_IMAGES(X, c, Ts, Td)
#define ZKR_FORM_lf_mask(X, c, Ts, Td, K, ...) ZKR_LF_IMAGES(X, c, Ts, Td) X(c, ZkriSize, maskSize)
#define ZKR_FORM_lf_filter(X, c, Ts, Td, K, ...) \
    ZKR_LF_IMAGES(X, c, Ts, Td) X(c, const K*, pKernel) X(c, ZkriSize, kernelSize) X(c, ZkriPoint, anchor)
#define ZKR_FORM_lf_filter_div(X, c, Ts, Td, K, ...) ZKR_FORM_lf_filter(X, c, Ts, Td, K) X(c, int, divisor)
#define ZKR_FORM_lf_filter_r(X, c, Ts, Td, K, ...) ZKR_FORM_lf_filter(X, c, Ts, Td, K) X(c, ZkrRoundMode, roundMode)
#define ZKR_FORM_lf_filter_div_r(X, c, Ts, Td, K, ...) \
    ZKR_FORM_lf_filter_div(X, c, Ts, Td, K) X(c, ZkrRoundMode, roundMode)
#define ZKR_FORM_lf_column(X, c, Ts, Td, K, ...) \
    ZKR_LF_IMAGES(X, c, Ts, Td) X(c, const K*, pKernel) X(c, int, kernelLen) X(c, int, yAnchor)
#define ZKR_FORM_lf_column_div(X, c, Ts, Td, K, ...) ZKR_FORM_lf_column(X, c, Ts, Td, K) X(c, int, divisor)
#define ZKR_FORM_lf_row(X, c, Ts, Td, K, ...) \
    ZKR_LF_IMAGES(X, c, Ts, Td) X(c, const K*, pKernel) X(c, int, kernelLen) X(c, int, xAnchor)
#define ZKR_FORM_lf_row_div(X, c, Ts, Td, K, ...) ZKR_FORM_lf_row(X, c, Ts, Td, K) X(c, int, divisor)
#define ZKR_FORM_lf_decimate(X, c, Ts, Td, K, ...)                                                 \
    X(c, const Ts*, pSrc) X(c, int, srcStep) X(c, ZkriSize, srcRoiSize) X(c, Td*, pDst) X(c, int, dstStep) \
    X(c, int, factor)

#endif
