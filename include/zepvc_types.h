/* zepvc: shared types, status codes and the export macro.
 * Included by zepvc.h and by every family header; compiles as C99 and C++. */
#ifndef ZEPVC_TYPES_H
#define ZEPVC_TYPES_H

#include <stdint.h>

#if defined(ZEPVC_BUILDING) || defined(ZEPCORE_BUILDING)
#define ZEPVC_API __attribute__((visibility("default")))
#else
#define ZEPVC_API
#endif

#ifdef __cplusplus
#define ZEPVC_EXTERN_C_BEGIN extern "C" {
#define ZEPVC_EXTERN_C_END }
#else
#define ZEPVC_EXTERN_C_BEGIN
#define ZEPVC_EXTERN_C_END
#endif

typedef uint8_t Zep8u;
typedef int8_t Zep8s;
typedef uint16_t Zep16u;
typedef int16_t Zep16s;
typedef uint32_t Zep32u;
typedef int32_t Zep32s;
typedef int64_t Zep64s;
typedef uint64_t Zep64u;
typedef float Zep32f;

/* Width then height. */
typedef struct ZepSize {
    Zep32s width;
    Zep32s height;
} ZepSize;

/* x then y. */
typedef struct ZepPoint {
    Zep32s x;
    Zep32s y;
} ZepPoint;

/* 0 success, negative error (nothing written), positive warning. */
typedef Zep32s ZepStatus;

enum {
    zepStatusOk = 0,
    zepStatusWarnNoAction = 1,
    zepStatusMissingNeighbours = 11,
    zepStatusWarnOddSize = 35,
    zepStatusNotSupported = -2,
    zepStatusBadArg = -5,
    zepStatusBadSize = -6,
    zepStatusNullPtr = -8,
    zepStatusNoMemory = -9,
    zepStatusDivByZero = -10,
    zepStatusOutOfRange = -11,
    zepStatusBadStep = -14,
    zepStatusContextMismatch = -17,
    zepStatusBadInterpolation = -22,
    zepStatusBadResizeFactor = -23,
    zepStatusBitstreamErr = -74,
    zepStatusNeighborUnavailable = -117,
    zepStatusVLCErr = -191,
    zepStatusQPErr = -192,
    zepStatusBitOffsetErr = -193
};

#endif /* ZEPVC_TYPES_H */
