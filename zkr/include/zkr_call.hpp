// C++ side of the call forms (zkr_forms.h): defining a table row's function,
// and calling it with arguments taken from a caller's argument bag.
//
// An argument bag is any object with members named like the form's
// parameters. Callers that describe data generically (test modules, library
// tests) keep pointers as void* and constants as pointers to their value;
// bindArg converts each member to the parameter's type at compile time, so a
// call through ZKR_CALL is a direct call with no indirection left.
#pragma once

#include <type_traits>

#include "zkr_forms.h"

namespace zkr {

// One bag member as a parameter of type To.
template <class To, class From> constexpr To bindArg(const From& v) {
    if constexpr (std::is_pointer_v<To> && std::is_pointer_v<From>) {
        // Erased or typed pointer to the parameter's pointer type.
        return static_cast<To>(const_cast<void*>(static_cast<const void*>(v)));
    } else if constexpr (!std::is_pointer_v<To> && std::is_pointer_v<From>) {
        // A value parameter (a constant by value) held by pointer.
        return *static_cast<const To*>(static_cast<const void*>(v));
    } else {
        return static_cast<To>(v);
    }
}

// The parameters of the image call forms of zkr_forms.h, untyped: a bag that
// callers describing images generically fill and hand to ZKR_CALL. Families
// whose forms have other parameters derive a bag with members of those names.
struct ImageArgs {
    const void* pSrc = nullptr;
    int srcStep = 0;
    const void* pSrc1 = nullptr;
    int src1Step = 0;
    const void* pSrc2 = nullptr;
    int src2Step = 0;
    void* pDst = nullptr;
    int dstStep = 0;
    void* pSrcDst = nullptr;
    int srcDstStep = 0;
    ZkriSize roiSize{0, 0};
    int scaleFactor = 0;
};

}  // namespace zkr

#define ZKR_X_BIND(bag, type, name) , ::zkr::bindArg<type>((bag).name)
#define ZKR_X_MEMBER(ctx, type, name) type name;

// Calls `name` (a row of form `form`) with the members of `bag`.
#define ZKR_CALL(bag, name, form, ...) name(ZKR_DROP_FIRST(ZKR_FORM_##form(ZKR_X_BIND, bag, __VA_ARGS__)))

// The exported definition of a row: its signature, then the body the family
// writes. Inside the body ZKR_PACK(a, form, T...) gathers the parameters into
// a local struct `a` whose members carry the parameters' names, so that a
// family's generic code can take every form as one argument.
#define ZKR_DEFINE(name, form, ...) extern "C" ZKR_API ZkrStatus name(ZKR_PARAMS(form, __VA_ARGS__))
#define ZKR_PACK(a, form, ...)                                 \
    const struct {                                             \
        ZKR_FORM_##form(ZKR_X_MEMBER, ~, __VA_ARGS__)          \
    } a { ZKR_ARGNAMES(form, __VA_ARGS__) }
