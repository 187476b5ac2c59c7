// libzkrcore: dispatch level and thread count in force, processor queries,
// status texts.
#include <unistd.h>

#include <atomic>
#include <climits>
#include <thread>

#include "cache_info.h"
#include "cpu_features.h"
#include "cpuid_access.h"
#include "version_record.h"
#include "zkrcore.h"

namespace {

const zkr::cpu::Features& machine() {
    static const zkr::cpu::Features features = zkr::cpu::readProcessor();
    return features;
}

// Read by every exported function of libzkri/libzkrs; set at load time to the
// best level, changed only by zkrInit/zkrInitCpu.
std::atomic<int> g_level{zkr::cpu::bestLevel(machine())};
std::atomic<int> g_threads{1};

std::int64_t sysconfCacheBytes() {
    for (int name : {_SC_LEVEL3_CACHE_SIZE, _SC_LEVEL2_CACHE_SIZE, _SC_LEVEL1_DCACHE_SIZE}) {
        const long bytes = sysconf(name);
        if (bytes > 0) return bytes;
    }
    return 0;
}

}  // namespace

extern "C" {

ZKR_DEFINE_VERSION_GETTER(zkrcoreGetLibVersion, "zkrcore")

ZkrStatus zkrInit(void) {
    g_level.store(zkr::cpu::bestLevel(machine()), std::memory_order_relaxed);
    return zkrStsNoErr;
}

ZkrStatus zkrInitCpu(ZkrCpuType cpu) {
    const int type = cpu;
    if (!zkr::cpu::isKnownType(type)) return zkrStsBadArgErr;
    if (!zkr::cpu::supportsType(type, machine())) return zkrStsCpuNotSupportedErr;
    g_level.store(zkr::cpu::levelForType(type), std::memory_order_relaxed);
    return zkrStsNoErr;
}

ZkrCpuType zkrGetCpuType(void) { return ZkrCpuType(zkr::cpu::bestType(machine())); }

int zkrGetDispatchLevel(void) { return g_level.load(std::memory_order_relaxed); }

const char* zkrGetDispatchLevelName(int level) {
    switch (level) {
        case zkrLevelBase:   return ZKR_LEVEL_NAME_BASE;
        case zkrLevelAVX2:   return ZKR_LEVEL_NAME_AVX2;
        case zkrLevelAVX512: return ZKR_LEVEL_NAME_AVX512;
        default:             return nullptr;
    }
}

ZkrStatus zkrSetNumThreads(int numThr) {
    if (numThr < 1) return zkrStsNumThreadsErr;
    g_threads.store(numThr, std::memory_order_relaxed);
    return numThr > zkrGetNumCoresOnDie() ? zkrStsThreadsOversubscribed : zkrStsNoErr;
}

ZkrStatus zkrGetNumThreads(int* pNumThr) {
    if (!pNumThr) return zkrStsNullPtrErr;
    *pNumThr = g_threads.load(std::memory_order_relaxed);
    return zkrStsNoErr;
}

const char* zkrGetStatusString(ZkrStatus sts) {
    switch (sts) {
        case zkrStsLnNegArg:              return "Warning: logarithm of a negative value";
        case zkrStsLnZeroArg:             return "Warning: logarithm of zero";
        case zkrStsDivByZero:             return "Warning: division by zero";
        case zkrStsSqrtNegArg:            return "Warning: square root of a negative value";
        case zkrStsDoubleSize:            return "Warning: size not even where the function needs it";
        case zkrStsThreadsOversubscribed: return "Warning: more threads requested than the processor has cores";
        case zkrStsNoErr:                 return "No errors";
        case zkrStsBadArgErr:             return "Argument out of its range";
        case zkrStsNullPtrErr:            return "Null pointer";
        case zkrStsSizeErr:               return "Size (ROI width/height or length) not positive";
        case zkrStsStepErr:               return "Step not positive, shorter than a row, or not a multiple of the element size";
        case zkrStsCpuNotSupportedErr:    return "Processor does not support the requested instruction set";
        case zkrStsNumThreadsErr:         return "Number of threads less than one";
        case zkrStsMaskSizeErr:           return "Mask size not positive or too large";
        case zkrStsAnchorErr:             return "Anchor outside the mask";
        case zkrStsFftOrderErr:           return "Transform order out of range";
        case zkrStsFftFlagErr:            return "Unknown normalisation flag";
        case zkrStsInterpolationErr:      return "Unknown interpolation mode";
        case zkrStsResizeFactorErr:       return "Scaling factor not positive or out of range";
        case zkrStsContextMatchErr:       return "Setup structure of another kind or not initialised";
        case zkrStsMemAllocErr:           return "Not enough memory";
        case zkrStsHintErr:               return "Unknown algorithm hint";
        case zkrStsRangeErr:              return "Range empty or reversed";
    }
    return "Unknown status";
}

int zkrGetNumCoresOnDie(void) {
    const unsigned n = std::thread::hardware_concurrency();
    if (n > 0) return int(n);
    const long online = sysconf(_SC_NPROCESSORS_ONLN);
    return online > 0 ? int(online) : 1;
}

ZkrStatus zkrGetMaxCacheSizeB(int* pSizeByte) {
    if (!pSizeByte) return zkrStsNullPtrErr;
    std::int64_t bytes = zkr::cpu::maxCacheBytes(zkr::cpu::cpuid);
    if (bytes <= 0) bytes = sysconfCacheBytes();
    *pSizeByte = bytes > INT_MAX ? INT_MAX : int(bytes);
    return zkrStsNoErr;
}

}  // extern "C"
