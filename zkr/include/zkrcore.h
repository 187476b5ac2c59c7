/* ZKR core: element types, geometry records, status codes, processor
 * dispatch control and library version records shared by libzkri and libzkrs. */
#ifndef ZKRCORE_H
#define ZKRCORE_H

#include <stdint.h>

#if defined(__GNUC__)
#define ZKR_API __attribute__((visibility("default")))
#else
#define ZKR_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- element types ---------------------------------------------------- */
typedef uint8_t  Zkr8u;
typedef int8_t   Zkr8s;
typedef uint16_t Zkr16u;
typedef int16_t  Zkr16s;
typedef uint32_t Zkr32u;
typedef int32_t  Zkr32s;
typedef uint64_t Zkr64u;
typedef int64_t  Zkr64s;
typedef float    Zkr32f;
typedef double   Zkr64f;

typedef struct { Zkr8s  re; Zkr8s  im; } Zkr8sc;
typedef struct { Zkr16s re; Zkr16s im; } Zkr16sc;
typedef struct { Zkr16u re; Zkr16u im; } Zkr16uc;
typedef struct { Zkr32s re; Zkr32s im; } Zkr32sc;
typedef struct { Zkr64s re; Zkr64s im; } Zkr64sc;
typedef struct { Zkr32f re; Zkr32f im; } Zkr32fc;
typedef struct { Zkr64f re; Zkr64f im; } Zkr64fc;

/* ---- geometry --------------------------------------------------------- */
/* Element type and channel layout codes, for callers that describe data generically. */
typedef enum {
    zkrUndef = -1,
    zkr8u, zkr8s, zkr16u, zkr16s, zkr32u, zkr32s, zkr64u, zkr64s, zkr32f, zkr64f,
    zkr16uc, zkr8sc, zkr16sc, zkr32sc, zkr64sc, zkr32fc, zkr64fc
} ZkrDataType;

typedef enum { zkrC0 = 0, zkrC1 = 1, zkrC2 = 2, zkrC3 = 3, zkrC4 = 4 } ZkrChannels;

typedef struct { int width; int height; } ZkriSize;
typedef struct { int x; int y; } ZkriPoint;
typedef struct { int x; int y; int width; int height; } ZkriRect;

/* ---- status codes: 0 success, > 0 warning (the call did its work), < 0 error */
typedef enum {
    zkrStsLnNegArg              = 6,  /* Ln of a negative value: the result is set as documented by the function */
    zkrStsLnZeroArg             = 5,  /* Ln of zero: the result is set as documented by the function */
    zkrStsDivByZero             = 4,  /* division by zero: the result is set as documented by the function */
    zkrStsSqrtNegArg            = 3,  /* Sqrt of a negative value: the result is set as documented by the function */
    zkrStsDoubleSize            = 2,  /* a size was not even where the function needs it: the last row/column is left out */
    zkrStsThreadsOversubscribed = 1,  /* zkrSetNumThreads: more threads than cores (accepted) */
    zkrStsNoErr                 = 0,
    zkrStsBadArgErr             = -1, /* argument outside its domain (e.g. unknown processor code) */
    zkrStsNullPtrErr            = -2, /* a required pointer is NULL */
    zkrStsSizeErr               = -3, /* ROI width/height or vector length <= 0 */
    zkrStsStepErr               = -4, /* row step <= 0, shorter than a row, or not a multiple of the element size */
    zkrStsCpuNotSupportedErr    = -5, /* processor lacks the instructions the requested type needs */
    zkrStsNumThreadsErr         = -6, /* thread count < 1 */
    zkrStsMaskSizeErr           = -7, /* mask size not positive or larger than the function allows */
    zkrStsAnchorErr             = -8, /* anchor outside the mask */
    zkrStsFftOrderErr           = -9, /* transform order out of range */
    zkrStsFftFlagErr            = -10,/* unknown normalisation flag */
    zkrStsInterpolationErr      = -11,/* unknown interpolation mode */
    zkrStsResizeFactorErr       = -12,/* scaling factor not positive or out of range */
    zkrStsContextMatchErr       = -13,/* a setup structure of another kind or not initialised */
    zkrStsMemAllocErr           = -14,/* not enough memory */
    zkrStsHintErr               = -15,/* unknown algorithm hint */
    zkrStsRangeErr              = -16 /* an argument's range is empty or reversed (lower bound above upper) */
} ZkrStatus;

/* ---- algorithm hints: functions that offer a faster and a more accurate way take one */
typedef enum {
    zkrAlgHintNone     = 0, /* the library's choice */
    zkrAlgHintFast     = 1, /* fastest, may lose precision */
    zkrAlgHintAccurate = 2  /* most accurate */
} ZkrHintAlgorithm;

/* ---- comparison operations: functions that compare values (compare, threshold) take one */
typedef enum {
    zkrCmpLess = 0,      /* <  */
    zkrCmpLessEq = 1,    /* <= */
    zkrCmpEq = 2,        /* == */
    zkrCmpGreaterEq = 3, /* >= */
    zkrCmpGreater = 4    /* >  */
} ZkrCmpOp;

/* ---- rounding modes: functions that round exact results to integers (conversions, division) take one */
typedef enum {
    zkrRndZero = 0,     /* toward zero (truncation) */
    zkrRndNear = 1,     /* to nearest, ties to even */
    zkrRndFinancial = 2 /* to nearest, ties away from zero */
} ZkrRoundMode;

/* ---- processor types -------------------------------------------------- */
typedef enum {
    zkrCpuUnknown    = 0x00,
    zkrCpuX86        = 0x01,
    zkrCpuMMX        = 0x02,
    zkrCpuSSE        = 0x03,
    zkrCpuSSE2       = 0x04,
    zkrCpuSSE3       = 0x05,
    zkrCpuSSSE3      = 0x06,
    zkrCpuSSE41      = 0x07,
    zkrCpuSSE42      = 0x08,
    zkrCpuAVX        = 0x09,
    zkrCpuAVX2       = 0x0A,
    zkrCpuAVX512F    = 0x0B,
    zkrCpuAVX512BW   = 0x0C,
    zkrCpuAVX512VNNI = 0x0D,
    zkrCpuX64        = 0x10,
    zkrCpuX64v2      = 0x11,
    zkrCpuX64v3      = 0x12,
    zkrCpuX64v4      = 0x13
} ZkrCpuType;

/* Code paths every kernel is compiled for. */
typedef enum {
    zkrLevelBase   = 0, /* x86-64 baseline (SSE2) */
    zkrLevelAVX2   = 1, /* AVX2 + FMA */
    zkrLevelAVX512 = 2  /* AVX-512 F/BW/VL/DQ */
} ZkrDispatchLevel;

/* ---- version record --------------------------------------------------- */
typedef struct {
    int major;
    int minor;
    int build;
    const char* targetCpu; /* code path in force: "x64", "avx2" or "avx512" */
    const char* Name;
    const char* Version;
    const char* BuildDate;
} ZkrLibraryVersion;

ZKR_API const ZkrLibraryVersion* zkrcoreGetLibVersion(void);

/* ---- dispatch and threading control ----------------------------------- */
ZKR_API ZkrStatus   zkrInit(void);
ZKR_API ZkrStatus   zkrInitCpu(ZkrCpuType cpu);
ZKR_API ZkrCpuType  zkrGetCpuType(void);
ZKR_API int         zkrGetDispatchLevel(void);        /* a ZkrDispatchLevel value */
ZKR_API const char* zkrGetDispatchLevelName(int level); /* "x64", "avx2", "avx512", NULL otherwise */
ZKR_API ZkrStatus   zkrSetNumThreads(int numThr);
ZKR_API ZkrStatus   zkrGetNumThreads(int* pNumThr);
ZKR_API const char* zkrGetStatusString(ZkrStatus sts);
ZKR_API int         zkrGetNumCoresOnDie(void);
ZKR_API ZkrStatus   zkrGetMaxCacheSizeB(int* pSizeByte);

#ifdef __cplusplus
}
#endif

#endif /* ZKRCORE_H */
