#include "kernels.h"

namespace zkr {

const KernelSet& kernelsFor(int level) {
    static const KernelSet* const sets[] = {&base::kernels, &avx2::kernels, &avx512::kernels};
    return *sets[level >= 0 && level <= 2 ? level : 0];
}

}  // namespace zkr
