// TimiDct8x8A10: the inverse 8x8 DCT of blocks of 10-bit samples (results saturated to [-512, 511]),
// not in place and in place, on the block test class of p_idct8x8_ia.h.
#include "p_idct8x8_ia.h"

#define ZK_FAMILY_TABLE "dct8x8/dct8x8a10.tbl"
#define ZK_FAMILY_TEST TimiDct8x8
#define ZK_FAMILY_ARGS s_args
#define ZK_FAMILY_REGISTER(name, form, ...) \
    qmRegTest(new TimiDct8x8(&tcall_##name, &tim_##name##_loop, &tim_##name##_stat, #name, __FILE__, "TimiDct8x8A10//ZK_REG"))
#include "zkfamily.inc"
