// What an entry point reads from its packed form (ZKR_PACK) whatever the form: the forms of one
// family differ in the parameters they have, and these helpers give the usual answer for a form
// without them.
#pragma once

#include <type_traits>

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

}  // namespace zkr
