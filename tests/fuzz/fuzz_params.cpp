// libFuzzer target of the parameter value syntax: the first byte picks a parameter kind (int, long
// long, double, image size, pair, map, yes/no, single value, scale factor), the rest is a definition
// with lists ("a; b") and ranges ("first; last; +step", "-step", "*factor"). A definition is accepted
// or refused with a qmException; an accepted one is swept for a bounded number of values, each of
// which must print and parse back to itself.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "qmmapiterator.h"
#include "qmpairiterator.h"
#include "qmstepiterator.h"
#include "qmstream.h"
#include "zkscaleiterator.h"

namespace {

std::unique_ptr<qmParameter> makeParameter(unsigned kind) {
    switch (kind % 9) {
        case 0: return std::make_unique<qmStepIterator<int>>(64, "Len", "Vector length");
        case 1: return std::make_unique<qmStepIterator<long long>>(100000LL, "TotalCpuClocks", "Clocks");
        case 2: return std::make_unique<qmStepIterator<double>>(0.5, "Sigma", "Sigma");
        case 3: return std::make_unique<zkSizeIterator>(ZkriSize{64, 64}, "Size", "Image size");
        case 4: return std::make_unique<qmPairIterator<int>>(3, 3, "Kernel", "Kernel width,height");
        case 5:
            return std::unique_ptr<qmParameter>(new qmMapIterator<int>(
                0, "Method", "Timing method", {{"Auto", 0}, {"Manual", 1}, {"Statistic", 2}}));
        case 6: return std::make_unique<qmYesNoIterator>(false, "MisalignFirstVectorOnly", "First only");
        case 7: return std::make_unique<qmDefault_NSC<int>>(10, "NumLoops", "Number of loops");
        default: return std::make_unique<zkScaleIterator>();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    g_ostrm.setOutLevel(0);
    std::unique_ptr<qmParameter> p = makeParameter(data[0]);
    const qmString definition(std::string(reinterpret_cast<const char*>(data + 1), size - 1));
    try {
        p->translate(definition);
    } catch (const qmException&) {
        return 0;  // refused with a message: fine
    }
    // Sweep a bounded number of values: every value prints, and its text is accepted again.
    int n = 0;
    for (bool more = p->firstValue(); more && n < 256; more = p->nextValue(), ++n) {
        const qmString text = p->valueString();
        if (text.empty()) std::abort();
        std::unique_ptr<qmParameter> again = makeParameter(data[0]);
        try {
            again->translate(text);
        } catch (const qmException&) {
            std::abort();  // a value the parameter produced must be a valid definition of it
        }
    }
    (void)p->defaultString();
    return 0;
}
