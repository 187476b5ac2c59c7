/* ZKR signal (vector) functions.
 *
 * Same arithmetic as the image functions: Sfs forms multiply the exact
 * integer result by 2^-scaleFactor, round to nearest (ties to even) and
 * saturate; Sub computes pSrc2 - pSrc1, SubC computes pSrc - val.
 * Checks: NULL pointers (zkrStsNullPtrErr), then len <= 0 (zkrStsSizeErr).
 */
#ifndef ZKRS_H
#define ZKRS_H

#include "zkrcore.h"

#ifdef __cplusplus
extern "C" {
#endif

ZKR_API const ZkrLibraryVersion* zkrsGetLibVersion(void);

/* X(base, type, suffix): suffix is _Sfs for scaled integer forms, empty for float. */
#define ZKRS_BINARY_FUNCS(X)                                                                \
    X(Add, 8u, _Sfs) X(Add, 16s, _Sfs) X(Add, 32f, ) X(Add, 32fc, )                         \
    X(Sub, 8u, _Sfs) X(Sub, 16s, _Sfs) X(Sub, 32f, ) X(Sub, 32fc, )
#define ZKRS_CONST_FUNCS(X) X(AddC, 16s, _Sfs) X(AddC, 32f, ) X(SubC, 16s, _Sfs) X(SubC, 32f, )

#define ZKRS_SCALE_PARAM_Sfs , int scaleFactor
#define ZKRS_SCALE_PARAM

#define ZKRS_BINARY(base, t, s)                                                               \
    ZkrStatus zkrs##base##_##t##s(const Zkr##t* pSrc1, const Zkr##t* pSrc2, Zkr##t* pDst, int len \
                                  ZKRS_SCALE_PARAM##s)
#define ZKRS_CONST(base, t, s) \
    ZkrStatus zkrs##base##_##t##s(const Zkr##t* pSrc, Zkr##t val, Zkr##t* pDst, int len ZKRS_SCALE_PARAM##s)

#define ZKRS_DECLARE_BINARY(base, t, s) ZKR_API ZKRS_BINARY(base, t, s);
#define ZKRS_DECLARE_CONST(base, t, s) ZKR_API ZKRS_CONST(base, t, s);

ZKRS_BINARY_FUNCS(ZKRS_DECLARE_BINARY)
ZKRS_CONST_FUNCS(ZKRS_DECLARE_CONST)

#ifdef __cplusplus
}
#endif

#endif /* ZKRS_H */
