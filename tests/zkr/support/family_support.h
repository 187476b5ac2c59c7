// Helpers of the table-driven family tests: the argument bag every family
// test calls its functions through, and the walk over a family's cases.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "zkr_call.hpp"

namespace zkrtest {

// The parameters of the image call forms and the constant of the const
// forms; a row's call (ZKR_CALL) reads the members its form names. Families
// with other parameters derive from it.
struct Bag : zkr::ImageArgs {
    const void* value = nullptr;  // constants by value are read through this pointer too
};

// True when a form's name ends with `suffix` ("_sfs") or starts with `prefix`.
inline bool formEndsWith(const std::string& form, const std::string& suffix) {
    return form.size() >= suffix.size() && form.compare(form.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// The component type of a table row, for choosing the checks' instantiation at run time.
enum class CompType { U8, U16, S16, S32, F32 };

template <class S> constexpr CompType compTypeOf() {
    if constexpr (std::is_same_v<S, Zkr8u>) return CompType::U8;
    else if constexpr (std::is_same_v<S, Zkr16u>) return CompType::U16;
    else if constexpr (std::is_same_v<S, Zkr16s>) return CompType::S16;
    else if constexpr (std::is_same_v<S, Zkr32s>) return CompType::S32;
    else return CompType::F32;
}

// Calls f.template operator()<S>() with S the one of the family's types Ts
// that `t` names; fails when `t` names none of them.
template <class... Ts, class F> void withCompType(CompType t, F&& f) {
    const bool found = ((compTypeOf<Ts>() == t && (f.template operator()<Ts>(), true)) || ...);
    EXPECT_TRUE(found) << "component type outside the family's types";
}

// Runs check(c) for every case `select` accepts, naming the case in failures;
// stops after the first case that fails so one fault does not flood the log.
// Fails when `select` accepts no case: a filter that matches nothing hides a
// renamed form or a table that lost its rows.
template <class Case, class Select, class Check>
void forEachCase(const std::vector<Case>& cases, Select select, Check check) {
    int checked = 0;
    for (const Case& c : cases) {
        if (!select(c)) continue;
        SCOPED_TRACE(c.name);
        ++checked;
        check(c);
        if (::testing::Test::HasFailure()) return;
    }
    EXPECT_GT(checked, 0) << "no case of the family has this form";
}

}  // namespace zkrtest
