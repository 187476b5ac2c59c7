// Element types of the public API seen as runs of kernel components.
#pragma once

#include "kernels.h"
#include "zkrcore.h"

namespace zkr {

template <class S> struct ComponentType;
template <> struct ComponentType<Zkr8u>  { static constexpr SType id = SType::U8; };
template <> struct ComponentType<Zkr16u> { static constexpr SType id = SType::U16; };
template <> struct ComponentType<Zkr16s> { static constexpr SType id = SType::S16; };
template <> struct ComponentType<Zkr32s> { static constexpr SType id = SType::S32; };
template <> struct ComponentType<Zkr32f> { static constexpr SType id = SType::F32; };

// ElemInfo<T>::S is the component type, comps the components per element.
template <class T> struct ElemInfo { using S = T; static constexpr int comps = 1; };
template <> struct ElemInfo<Zkr16sc> { using S = Zkr16s; static constexpr int comps = 2; };
template <> struct ElemInfo<Zkr32sc> { using S = Zkr32s; static constexpr int comps = 2; };
template <> struct ElemInfo<Zkr32fc> { using S = Zkr32f; static constexpr int comps = 2; };

template <class T> inline constexpr SType kSType = ComponentType<typename ElemInfo<T>::S>::id;

// Components of one element, in memory order.
template <class T> inline const typename ElemInfo<T>::S* componentsOf(const T& v) {
    return reinterpret_cast<const typename ElemInfo<T>::S*>(&v);
}

}  // namespace zkr
