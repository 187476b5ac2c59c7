/* ZKR image functions.
 *
 * Conventions
 *   - Images are given by a pointer to the first pixel of the ROI and a row
 *     step in bytes; roiSize is in pixels.
 *   - Layouts: C1, C3, C4 (all channels processed) and AC4 (four channels in
 *     memory, the fourth is alpha: it is not processed and the destination's
 *     alpha is left untouched).
 *   - R: result to a separate destination; IR: result in place (pSrcDst).
 *   - Sfs: integer result multiplied by 2^-scaleFactor, rounded to nearest
 *     (ties to even), then saturated to the element range. Any int scale
 *     factor is accepted. Complex types apply this to each component.
 *   - Arguments are checked in this order: NULL pointers (zkrStsNullPtrErr),
 *     ROI width or height <= 0 (zkrStsSizeErr), steps (zkrStsStepErr: <= 0,
 *     smaller than width * pixel size, or not a multiple of the element size).
 *   - Destination buffers must not overlap sources except through the IR forms.
 */
#ifndef ZKRI_H
#define ZKRI_H

#include "zkrcore.h"
#include "zkr_forms.h"

#ifdef __cplusplus
extern "C" {
#endif

ZKR_API const ZkrLibraryVersion* zkriGetLibVersion(void);

/* ---- the families ---------------------------------------------------------
 * Every family lists its functions in a table (zkr/families/<family>/<family>.tbl,
 * documented there); zkri_tables.h, made by the build, includes every table,
 * and each row is declared here from its call form (zkr_forms.h), e.g.
 *   ZKR_FN(name, binary_sfs, Zkr8u, C1, ...) declares
 *   ZkrStatus name(const Zkr8u* pSrc1, int src1Step, const Zkr8u* pSrc2, int src2Step,
 *                  Zkr8u* pDst, int dstStep, ZkriSize roiSize, int scaleFactor);
 */
#define ZKR_TABLE "zkri_tables.h"
#include "zkr_declare.h"
#undef ZKR_TABLE

#ifdef __cplusplus
}
#endif

#endif /* ZKRI_H */
