// Prints every function of the family tables, one line each:
//   <name> <form> <type and family columns...>
// Run by the build into zkr_functions.txt.
#include <cstdio>

// zkri.h first: tables may declare their families' types (under a guard), which must not
// land inside the list below.
#include "zkri.h"

#define ZKR_STR_(...) #__VA_ARGS__
#define ZKR_STR(...) ZKR_STR_(__VA_ARGS__)

int main() {
    static const char* const rows[][3] = {
#define ZKR_FN(name, form, ...) {#name, #form, ZKR_STR(__VA_ARGS__)},
#define ZKR_FN_AUX(name, form, ...) {#name, #form, ZKR_STR(__VA_ARGS__) " (helper)"},
#include "zkri_tables.h"
#undef ZKR_FN
#undef ZKR_FN_AUX
    };
    for (const auto& r : rows) std::printf("%s %s %s\n", r[0], r[1], r[2]);
    return 0;
}
