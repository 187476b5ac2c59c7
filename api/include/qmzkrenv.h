// The library binding: the entry points of the ZKR library's control functions. A test source that
// includes zkrcore.h before zk.h registers an environment function that stores the real ones; every
// entry still unset after that gets the framework's fallback (the session does this at start-up).
#pragma once
#include "zkrcore.h"

struct qmZkrEntries {
    ZkrCpuType (*getCpuType)() = nullptr;
    int (*getNumCoresOnDie)() = nullptr;
    ZkrStatus (*getMaxCacheSizeB)(int* pSizeByte) = nullptr;
    const char* (*getStatusString)(ZkrStatus) = nullptr;
    ZkrStatus (*init)() = nullptr;
    ZkrStatus (*initCpu)(ZkrCpuType) = nullptr;
    ZkrStatus (*setNumThreads)(int) = nullptr;
};

// The process-wide entry-point table.
extern qmZkrEntries g_zkr;
// Status returned by the fallbacks of init, initCpu and setNumThreads: no library is bound.
constexpr int QM_ZKR_NOT_BOUND = -2;

// Gives every entry point still unset the framework's fallback: processor type, cores and cache size
// from the program's own identification, status texts "Error"/"OK"/"Warning", and
// QM_ZKR_NOT_BOUND from the three control calls.
void qmSetZkrFallbacks();
