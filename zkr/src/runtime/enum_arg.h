// An enumeration argument's integer bits. A C caller may pass any int where the header declares an
// enumeration (a hint, a rounding mode); in C++ loading a value outside the enumeration's range as
// the enumeration is undefined, so entry points read such arguments through this, compare the int
// with the values they know, and refuse the others with a status code.
#pragma once

#include <cstring>

namespace zkr {

template <class E> [[gnu::always_inline]] inline int enumArg(const E& e) {
    static_assert(sizeof(E) == sizeof(int), "an enumeration argument is passed as an int");
    int v = 0;
    std::memcpy(&v, &e, sizeof v);
    return v;
}

}  // namespace zkr
