/* Call forms of the 8x8 block family's tables (dct8x8.tbl, dct8x8a10.tbl,
 * zigzag.tbl); plain C, since zkri.h expands every table in C as well:
 *   blk         (pSrc, pDst): 64 contiguous values each
 *   blk_i       (pSrcDst)
 *   blk_rs      (pSrc, srcStep, pDst): the source block in image rows
 *   blk_rd      (pSrc, pDst, dstStep): the destination block in image rows
 *   blk_ls      blk_rs with addVal added to every source value first
 *   blk_lsclip  blk_rd with addVal added to every result, then clipped to
 *               [clipMin, clipMax]
 */
#ifndef ZKR_DCT8X8_FORMS_H
#define ZKR_DCT8X8_FORMS_H

#include "zkr_forms.h"

#define ZKR_FORM_blk(X, c, Ts, Td, ...) X(c, const Ts*, pSrc) X(c, Td*, pDst)
#define ZKR_FORM_blk_i(X, c, Ts, Td, ...) X(c, Ts*, pSrcDst)
#define ZKR_FORM_blk_rs(X, c, Ts, Td, ...) X(c, const Ts*, pSrc) X(c, int, srcStep) X(c, Td*, pDst)
#define ZKR_FORM_blk_rd(X, c, Ts, Td, ...) X(c, const Ts*, pSrc) X(c, Td*, pDst) X(c, int, dstStep)
#define ZKR_FORM_blk_ls(X, c, Ts, Td, ...) ZKR_FORM_blk_rs(X, c, Ts, Td, ~) X(c, Zkr16s, addVal)
#define ZKR_FORM_blk_lsclip(X, c, Ts, Td, ...) \
    ZKR_FORM_blk_rd(X, c, Ts, Td, ~) X(c, Zkr16s, addVal) X(c, Zkr8u, clipMin) X(c, Zkr8u, clipMax)

#endif /* ZKR_DCT8X8_FORMS_H */
