// Version records shared by the three libraries: one record per dispatch
// level, so the Version text always names the code path in force.
#pragma once

#include "zkrcore.h"

#define ZKR_VERSION_MAJOR 1
#define ZKR_VERSION_MINOR 0
#define ZKR_VERSION_BUILD 0
#define ZKR_VERSION_TEXT "1.0.0"

// Names of the dispatch levels (ZkrDispatchLevel order).
#define ZKR_LEVEL_NAME_BASE "x64"
#define ZKR_LEVEL_NAME_AVX2 "avx2"
#define ZKR_LEVEL_NAME_AVX512 "avx512"

#define ZKR_VERSION_RECORD(name, level) \
    {ZKR_VERSION_MAJOR, ZKR_VERSION_MINOR, ZKR_VERSION_BUILD, level, name, ZKR_VERSION_TEXT " (ref " level ")", __DATE__}

// Defines `getter`, returning the record of `name` for the level in force.
#define ZKR_DEFINE_VERSION_GETTER(getter, name)                                                     \
    const ZkrLibraryVersion* getter(void) {                                                         \
        static const ZkrLibraryVersion records[] = {ZKR_VERSION_RECORD(name, ZKR_LEVEL_NAME_BASE),  \
                                                    ZKR_VERSION_RECORD(name, ZKR_LEVEL_NAME_AVX2),  \
                                                    ZKR_VERSION_RECORD(name, ZKR_LEVEL_NAME_AVX512)}; \
        return &records[zkrGetDispatchLevel()];                                                     \
    }
