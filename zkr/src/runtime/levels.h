// Per-level kernel tables of a family. A family's kernel source is compiled
// once per instruction-set level inside namespace zkr::<family>::ZKR_LEVEL_NS
// and defines `kernels` there; its entry points pick the table of the level
// in force. Nothing compiled for a higher level may be reached from
// baseline code except through such a table.
#pragma once

#include "zkrcore.h"

// Declares the three per-level tables of type K inside a family's namespace.
#define ZKR_DECLARE_LEVEL_KERNELS(K)            \
    namespace base { extern const K kernels; }   \
    namespace avx2 { extern const K kernels; }   \
    namespace avx512 { extern const K kernels; }

namespace zkr {

// The table of the dispatch level in force.
template <class K> const K& forLevel(const K& base, const K& avx2, const K& avx512) {
    switch (zkrGetDispatchLevel()) {
        case zkrLevelAVX512: return avx512;
        case zkrLevelAVX2: return avx2;
        default: return base;
    }
}

}  // namespace zkr

// Inside a family's namespace: the table of the level in force.
#define ZKR_LEVEL_KERNELS() ::zkr::forLevel(base::kernels, avx2::kernels, avx512::kernels)
