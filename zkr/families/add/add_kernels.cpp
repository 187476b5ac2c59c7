// Compiled once per instruction-set level: the build defines ZKR_LEVEL_NS
// (base, avx2, avx512) and passes that level's code generation flags.
#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "add_kernels.h"
#include "rows.h"
#include "zkrcore.h"

#ifndef ZKR_LEVEL_NS
#error "ZKR_LEVEL_NS must name the instruction-set level of this translation unit"
#endif

namespace zkr::add::ZKR_LEVEL_NS {

#include "add_loops.inc"

constinit const Kernels kernels = makeKernels();

}  // namespace zkr::add::ZKR_LEVEL_NS
