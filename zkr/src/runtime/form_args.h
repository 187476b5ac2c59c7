// What an entry point reads from its packed form (ZKR_PACK) whatever the form: the forms of one
// family differ in the parameters they have, and these helpers give the usual answer for a form
// without them, and read the image operands of the element-wise forms once for every family.
#pragma once

#include <type_traits>
#include <utility>

#include "checks.h"
#include "elem_info.h"

namespace zkr {

// The integer scale factor of a form with `scaleFactor`, else 0.
template <class A> int scaleOf(const A& a) {
    if constexpr (requires { a.scaleFactor; }) return a.scaleFactor;
    else return 0;
}

// A constant parameter, passed by value (one channel) or as one element per channel, as a pointer
// to its elements.
template <class V> auto elementsOf(const V& v) {
    if constexpr (std::is_pointer_v<V>) return v;
    else return &v;
}

// The destination of an image form: pSrcDst in place, else pDst.
template <class A> auto destinationOf(const A& a) {
    if constexpr (requires { a.pSrcDst; }) return a.pSrcDst;
    else return a.pDst;
}

// The element type of an image form (its destination's).
template <class A> using FormElem = std::remove_pointer_t<decltype(destinationOf(std::declval<const A&>()))>;

// The image operands of an element-wise form, told by the parameters the form has:
//   binary              pSrc1, pSrc2 -> pDst   a = pSrc1, b = pSrc2
//   binary in place     pSrc, pSrcDst          a = pSrc, d = pSrcDst (read and written)
//   constant            pSrc, value -> pDst    b = pSrc, values
//   constant in place   value, pSrcDst         values, d = pSrcDst (read and written)
//   unary               pSrc -> pDst           b = pSrc
//   unary in place      pSrcDst                d = pSrcDst (read and written)
// A form's constant is `value`: one element by value for one channel, else a pointer to one per
// channel. Other constants (an alpha, a colour key) are the family's to read.
template <class T> struct Operands {
    const T* a = nullptr;
    int aStep = 0;
    const T* b = nullptr;
    int bStep = 0;
    T* d = nullptr;
    int dStep = 0;
    const T* values = nullptr;
    bool inPlace = false;

    // The right-hand operand: b, or in place the destination, which is read too (the one source
    // of the unary and constant forms).
    const T* rhs() const { return inPlace ? d : b; }
    int rhsStep() const { return inPlace ? dStep : bStep; }
};

// Reads the operands of `f` into `o` and checks them in the library's order (pointers, then size,
// then steps) for layout L: steps must hold a row of pixels and be whole components.
template <Layout L, class A> ZkrStatus readOperands(const A& f, Operands<FormElem<A>>& o) {
    using T = FormElem<A>;
    constexpr int px = Pixel<T, L>::bytes, cb = int(sizeof(typename ElemInfo<T>::S));
    if constexpr (requires { f.pSrc1; }) {
        o.a = f.pSrc1, o.aStep = f.src1Step;
        o.b = f.pSrc2, o.bStep = f.src2Step;
        o.d = f.pDst, o.dStep = f.dstStep;
        return checkArgs({o.a, o.b, o.d}, f.roiSize, {o.aStep, o.bStep, o.dStep}, px, cb);
    } else if constexpr (requires { f.value; f.pDst; }) {
        o.values = elementsOf(f.value);
        o.b = f.pSrc, o.bStep = f.srcStep;
        o.d = f.pDst, o.dStep = f.dstStep;
        return checkArgs({o.b, o.values, o.d}, f.roiSize, {o.bStep, o.dStep}, px, cb);
    } else if constexpr (requires { f.value; }) {
        o.values = elementsOf(f.value);
        o.d = f.pSrcDst, o.dStep = f.srcDstStep;
        o.inPlace = true;
        return checkArgs({o.values, o.d}, f.roiSize, {o.dStep}, px, cb);
    } else if constexpr (requires { f.pSrc; f.pSrcDst; }) {
        o.a = f.pSrc, o.aStep = f.srcStep;
        o.d = f.pSrcDst, o.dStep = f.srcDstStep;
        o.inPlace = true;
        return checkArgs({o.a, o.d}, f.roiSize, {o.aStep, o.dStep}, px, cb);
    } else if constexpr (requires { f.pSrc; }) {
        o.b = f.pSrc, o.bStep = f.srcStep;
        o.d = f.pDst, o.dStep = f.dstStep;
        return checkArgs({o.b, o.d}, f.roiSize, {o.bStep, o.dStep}, px, cb);
    } else {
        o.d = f.pSrcDst, o.dStep = f.srcDstStep;
        o.inPlace = true;
        return checkArgs({o.d}, f.roiSize, {o.dStep}, px, cb);
    }
}

}  // namespace zkr
