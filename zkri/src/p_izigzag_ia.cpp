// TimiZigzag: the zigzag reorderings of an 8x8 block of 16s coefficients, forward and inverse, on
// the block test class of p_idct8x8_ia.h.
#include "p_idct8x8_ia.h"

#define ZK_FAMILY_TABLE "dct8x8/zigzag.tbl"
#define ZK_FAMILY_TEST TimiDct8x8
#define ZK_FAMILY_ARGS s_args
#define ZK_FAMILY_REGISTER(name, form, ...) \
    qmRegTest(new TimiDct8x8(&tcall_##name, &tim_##name##_loop, &tim_##name##_stat, #name, __FILE__, "TimiZigzag//ZK_REG"))
#include "zkfamily.inc"
