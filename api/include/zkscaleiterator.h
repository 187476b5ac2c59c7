// zkScaleIterator: the scale factors an "Sfs" function is measured with, parameter "scaleFactor".
// Its definition is a list or a range as for any int parameter ("0; 1; 4", "0; 8; +2").
// init() sets the default for the function about to be measured:
//   - a function with "Sfs" in its name: "0; 1; 4" (no scaling, the rounding shift by one, and a
//     shift that drops most of an 8-bit result), named "scaleFactor";
//   - any other function: the single value 0 with an empty name, so the parameter is neither read
//     nor printed (its result-table column stays empty, keeping the columns of a module aligned).
#pragma once
#include "qmstepiterator.h"
#include "zkfunc.h"

class zkScaleIterator final : public qmStepIterator<int> {
public:
    static constexpr const char* s_name = "scaleFactor";

    zkScaleIterator();
    void init(const zkFunc& func);
};
