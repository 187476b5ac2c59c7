/* Call forms of the ZKR image functions.
 *
 * A call form is the parameter list shared by every function of one shape,
 * written once as a list of X(ctx, type, name) items for the element type(s)
 * it is given. Everything that needs a function's parameters is derived from
 * its form: the library's prototypes (ZKR_PARAMS), the exported definitions
 * (zkr_call.hpp: ZKR_DEFINE), and the calls made by test modules and tests
 * (zkr_call.hpp: ZKR_CALL).
 *
 * Families list their functions in a table of rows
 *     ZKR_FN(name, form, T..., family columns...)
 * where T... are the form's type arguments (most forms take one element
 * type). A table includes this header, may define forms of its own, and is
 * expanded by whoever includes it with ZKR_FN defined. Functions a family
 * offers beside the measured ones (creating and freeing a setup,
 * buffer sizes) are rows of ZKR_FN_AUX(name, form, T...): declared, defined
 * and exported like the others, never registered as tests. Whoever expands a
 * table that has such rows defines ZKR_FN_AUX too.
 *
 * The forms shared by many families:
 *   unary        (pSrc, srcStep, pDst, dstStep, roiSize)
 *   unary_i      (pSrcDst, srcDstStep, roiSize)
 *   binary       (pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize)
 *   binary_i     (pSrc, srcStep, pSrcDst, srcDstStep, roiSize)
 *   const1       (pSrc, srcStep, value, pDst, dstStep, roiSize)      value: T
 *   constN       (pSrc, srcStep, value, pDst, dstStep, roiSize)      value: const T* (one per channel)
 *   const1_i     (value, pSrcDst, srcDstStep, roiSize)
 *   constN_i     (value, pSrcDst, srcDstStep, roiSize)
 * and each of them with a trailing int scaleFactor: the same name with _sfs.
 */
#ifndef ZKR_FORMS_H
#define ZKR_FORMS_H

#include "zkrcore.h"

/* ---- machinery --------------------------------------------------------- */
#define ZKR_DROP_FIRST_(first, ...) __VA_ARGS__
#define ZKR_DROP_FIRST(...) ZKR_DROP_FIRST_(__VA_ARGS__)

#define ZKR_X_PARAM(ctx, type, name) , type name
#define ZKR_X_NAME(ctx, type, name) , name

/* The parameter list of `form` for the type arguments that follow it. */
#define ZKR_PARAMS(form, ...) ZKR_DROP_FIRST(ZKR_FORM_##form(ZKR_X_PARAM, ~, __VA_ARGS__))
/* The parameter names of `form`, as an argument list. */
#define ZKR_ARGNAMES(form, ...) ZKR_DROP_FIRST(ZKR_FORM_##form(ZKR_X_NAME, ~, __VA_ARGS__))

/* The public declaration of one table row. */
#define ZKR_DECLARE(name, form, ...) ZKR_API ZkrStatus name(ZKR_PARAMS(form, __VA_ARGS__));

/* ---- shared forms ------------------------------------------------------ */
#define ZKR_FORM_unary(X, c, T, ...) \
    X(c, const T*, pSrc) X(c, int, srcStep) X(c, T*, pDst) X(c, int, dstStep) X(c, ZkriSize, roiSize)
#define ZKR_FORM_unary_i(X, c, T, ...) X(c, T*, pSrcDst) X(c, int, srcDstStep) X(c, ZkriSize, roiSize)
#define ZKR_FORM_binary(X, c, T, ...)                                                        \
    X(c, const T*, pSrc1) X(c, int, src1Step) X(c, const T*, pSrc2) X(c, int, src2Step) \
    X(c, T*, pDst) X(c, int, dstStep) X(c, ZkriSize, roiSize)
#define ZKR_FORM_binary_i(X, c, T, ...) \
    X(c, const T*, pSrc) X(c, int, srcStep) X(c, T*, pSrcDst) X(c, int, srcDstStep) X(c, ZkriSize, roiSize)
#define ZKR_FORM_const1(X, c, T, ...)                                                  \
    X(c, const T*, pSrc) X(c, int, srcStep) X(c, T, value) X(c, T*, pDst) X(c, int, dstStep) \
    X(c, ZkriSize, roiSize)
#define ZKR_FORM_constN(X, c, T, ...)                                                          \
    X(c, const T*, pSrc) X(c, int, srcStep) X(c, const T*, value) X(c, T*, pDst) X(c, int, dstStep) \
    X(c, ZkriSize, roiSize)
#define ZKR_FORM_const1_i(X, c, T, ...) X(c, T, value) X(c, T*, pSrcDst) X(c, int, srcDstStep) X(c, ZkriSize, roiSize)
#define ZKR_FORM_constN_i(X, c, T, ...) \
    X(c, const T*, value) X(c, T*, pSrcDst) X(c, int, srcDstStep) X(c, ZkriSize, roiSize)

#define ZKR_X_SCALE(X, c) X(c, int, scaleFactor)
#define ZKR_FORM_unary_sfs(X, c, T, ...) ZKR_FORM_unary(X, c, T, ~) ZKR_X_SCALE(X, c)
#define ZKR_FORM_unary_i_sfs(X, c, T, ...) ZKR_FORM_unary_i(X, c, T, ~) ZKR_X_SCALE(X, c)
#define ZKR_FORM_binary_sfs(X, c, T, ...) ZKR_FORM_binary(X, c, T, ~) ZKR_X_SCALE(X, c)
#define ZKR_FORM_binary_i_sfs(X, c, T, ...) ZKR_FORM_binary_i(X, c, T, ~) ZKR_X_SCALE(X, c)
#define ZKR_FORM_const1_sfs(X, c, T, ...) ZKR_FORM_const1(X, c, T, ~) ZKR_X_SCALE(X, c)
#define ZKR_FORM_constN_sfs(X, c, T, ...) ZKR_FORM_constN(X, c, T, ~) ZKR_X_SCALE(X, c)
#define ZKR_FORM_const1_i_sfs(X, c, T, ...) ZKR_FORM_const1_i(X, c, T, ~) ZKR_X_SCALE(X, c)
#define ZKR_FORM_constN_i_sfs(X, c, T, ...) ZKR_FORM_constN_i(X, c, T, ~) ZKR_X_SCALE(X, c)

#endif /* ZKR_FORMS_H */
