// TimiDct8x8: the 8x8 DCT family (forward and inverse transforms of one block, the inverses of
// blocks holding low frequencies only, the reduced 2x2 and 4x4 inverses, the level-shifted forward
// transform and the level-shifted clipped inverse). One test per library function of the family's
// table: the in-place forms register as "TimiDct8x8//ZK_REG_I", every other one as
// "TimiDct8x8//ZK_REG". The test class and its parameters are in p_idct8x8_ia.h.
#include <cstring>

#include "p_idct8x8_ia.h"

#define ZK_FAMILY_TABLE "dct8x8/dct8x8.tbl"
#define ZK_FAMILY_TEST TimiDct8x8
#define ZK_FAMILY_ARGS s_args
#define ZK_FAMILY_REGISTER(name, form, ...)                                                      \
    qmRegTest(new TimiDct8x8(&tcall_##name, &tim_##name##_loop, &tim_##name##_stat, #name, __FILE__, \
                             std::strcmp(#form, "blk_i") == 0 ? "TimiDct8x8//ZK_REG_I" : "TimiDct8x8//ZK_REG"))
#include "zkfamily.inc"
