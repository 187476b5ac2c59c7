/* Provisional core types of the ZKR library (replaced by the reference library's full header). */
#ifndef ZKRCORE_H
#define ZKRCORE_H
#include <stdint.h>
typedef uint8_t Zkr8u;  typedef int8_t Zkr8s;  typedef uint16_t Zkr16u; typedef int16_t Zkr16s;
typedef uint32_t Zkr32u; typedef int32_t Zkr32s; typedef uint64_t Zkr64u; typedef int64_t Zkr64s;
typedef float Zkr32f; typedef double Zkr64f;
typedef struct { Zkr8s re; Zkr8s im; } Zkr8sc;
typedef struct { Zkr16s re; Zkr16s im; } Zkr16sc;
typedef struct { Zkr16u re; Zkr16u im; } Zkr16uc;
typedef struct { Zkr32s re; Zkr32s im; } Zkr32sc;
typedef struct { Zkr64s re; Zkr64s im; } Zkr64sc;
typedef struct { Zkr32f re; Zkr32f im; } Zkr32fc;
typedef struct { Zkr64f re; Zkr64f im; } Zkr64fc;
typedef struct { int width; int height; } ZkriSize;
typedef struct { int x; int y; } ZkriPoint;
typedef struct { int x; int y; int width; int height; } ZkriRect;
typedef enum { zkrStsNullPtrErr = -8, zkrStsNoErr = 0 } ZkrStatus;
typedef enum {
    zkrCpuUnknown = 0x00, zkrCpuX86 = 0x01, zkrCpuMMX = 0x02, zkrCpuSSE = 0x03, zkrCpuSSE2 = 0x04,
    zkrCpuSSE3 = 0x05, zkrCpuSSSE3 = 0x06, zkrCpuSSE41 = 0x07, zkrCpuSSE42 = 0x08, zkrCpuAVX = 0x09,
    zkrCpuAVX2 = 0x0A, zkrCpuAVX512F = 0x0B, zkrCpuAVX512BW = 0x0C, zkrCpuAVX512VNNI = 0x0D,
    zkrCpuX64 = 0x10, zkrCpuX64v2 = 0x11, zkrCpuX64v3 = 0x12, zkrCpuX64v4 = 0x13
} ZkrCpuType;
typedef struct {
    int major; int minor; int build;
    const char* targetCpu; const char* Name; const char* Version; const char* BuildDate;
} ZkrLibraryVersion;
#endif
