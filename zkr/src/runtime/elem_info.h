// Element types of the public API seen as runs of scalar components, and the
// channel layouts of the image functions.
#pragma once

#include "zkrcore.h"

namespace zkr {

// ElemInfo<T>::S is the component type, comps the components per element.
template <class T> struct ElemInfo { using S = T; static constexpr int comps = 1; };
template <> struct ElemInfo<Zkr16sc> { using S = Zkr16s; static constexpr int comps = 2; };
template <> struct ElemInfo<Zkr32sc> { using S = Zkr32s; static constexpr int comps = 2; };
template <> struct ElemInfo<Zkr32fc> { using S = Zkr32f; static constexpr int comps = 2; };
template <> struct ElemInfo<Zkr64fc> { using S = Zkr64f; static constexpr int comps = 2; };

// The component types the kernels are compiled for, one index for every family's kernel tables
// (a family fills the entries of the types it has and leaves the others null).
enum class CompType : int { U8, S8, U16, S16, S32, F32, Count };
inline constexpr int kCompTypes = int(CompType::Count);

// CompTypeOf<S>::id names component type S; a type without an entry here has no kernels.
template <class S> struct CompTypeOf;
template <> struct CompTypeOf<Zkr8u>  { static constexpr CompType id = CompType::U8; };
template <> struct CompTypeOf<Zkr8s>  { static constexpr CompType id = CompType::S8; };
template <> struct CompTypeOf<Zkr16u> { static constexpr CompType id = CompType::U16; };
template <> struct CompTypeOf<Zkr16s> { static constexpr CompType id = CompType::S16; };
template <> struct CompTypeOf<Zkr32s> { static constexpr CompType id = CompType::S32; };
template <> struct CompTypeOf<Zkr32f> { static constexpr CompType id = CompType::F32; };
// The kernel-table index of the components of element type T (complex types: their parts').
template <class T> inline constexpr int kComp = int(CompTypeOf<typename ElemInfo<T>::S>::id);

// Components of one element, in memory order.
template <class T> inline const typename ElemInfo<T>::S* componentsOf(const T& v) {
    return reinterpret_cast<const typename ElemInfo<T>::S*>(&v);
}

// Channel layouts: C1, C3, C4 process every channel; AC4 has four channels in
// memory and leaves the fourth (alpha) untouched.
enum class Layout { C1, C3, C4, AC4 };

template <Layout L> inline constexpr int kChannels = L == Layout::C1 ? 1 : (L == Layout::C3 ? 3 : 4);
// Channels a function computes (AC4: three).
template <Layout L> inline constexpr int kActive = L == Layout::C4 ? 4 : (L == Layout::C1 ? 1 : 3);

template <class T, Layout L> struct Pixel {
    using S = typename ElemInfo<T>::S;
    static constexpr int period = kChannels<L> * ElemInfo<T>::comps;  // components per pixel
    static constexpr int bytes = int(sizeof(T)) * kChannels<L>;
};

}  // namespace zkr
