// The Add family as test cases, one per entry of p_iadd_ia_funcs.h. Each case
// knows its call form and can call its function through uniform arguments.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "zkri.h"

namespace zkrtest {

enum class Form { Bin, BinInPlace, Const, ConstInPlace, UnaryInPlace };

// Uniform arguments; each form reads the fields its call needs.
struct CallArgs {
    const void* src1 = nullptr;  // Bin: pSrc1; BinInPlace, Const: pSrc
    int src1Step = 0;
    const void* src2 = nullptr;  // Bin: pSrc2
    int src2Step = 0;
    void* dst = nullptr;         // pDst or pSrcDst
    int dstStep = 0;
    const void* values = nullptr;  // Const forms: nval elements (nval == 1: passed by value)
    ZkriSize roi{0, 0};
    int scaleFactor = 0;
};

enum class CompType { U8, U16, S16, S32, F32 };

struct FamilyCase {
    std::string name;
    Form form;
    bool add;           // Add/AddC (a + b) or Sub/SubC (src2 - src1, src - value)
    int channels;       // channels per pixel in memory
    bool alpha;         // AC4: fourth channel untouched
    int nval;           // constant elements (Const forms)
    bool hasScale;
    CompType comp;      // component type
    int comps;          // components per element (2 for complex)
    int compBytes;
    std::function<ZkrStatus(const CallArgs&)> call;

    int perPixel() const { return channels * comps; }
    int pixelBytes() const { return perPixel() * compBytes; }
};

// All 201 entries of p_iadd_ia_funcs.h, in its order.
const std::vector<FamilyCase>& familyCases();

}  // namespace zkrtest
