/* Declares the functions of one family table, for code that uses a single
 * family and should not depend on every other table (as zkri.h does):
 *     #define ZKR_TABLE "fam/fam.tbl"
 *     #include "zkr_declare.h"
 * No include guard: each inclusion declares the table named at that point. */
#include "zkr_forms.h"

#ifdef __cplusplus
extern "C" {
#endif
#define ZKR_FN(name, form, ...) ZKR_DECLARE(name, form, __VA_ARGS__)
#define ZKR_FN_AUX(name, form, ...) ZKR_DECLARE(name, form, __VA_ARGS__)
#include ZKR_TABLE
#undef ZKR_FN
#undef ZKR_FN_AUX
#ifdef __cplusplus
}
#endif
