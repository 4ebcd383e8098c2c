/* zepcore: the services zepvc builds on (aligned allocation, worker-thread
 * count, cache size). Compiles as C99 and C++. */
#ifndef ZEPCORE_H
#define ZEPCORE_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

/* Allocates at least `length` bytes aligned to 64; null when length < 1 or on failure. */
ZEPVC_API void* zepMalloc(Zep32s length);
/* Releases a block from zepMalloc; null is ignored. */
ZEPVC_API void zepFree(void* ptr);
/* Number of worker threads the library may use (>= 1). */
ZEPVC_API Zep32s ownGetNumThreads(void);
/* Sets the worker-thread count; n < 1 restores the default (the OpenMP maximum). */
ZEPVC_API ZepStatus zepSetNumThreads(Zep32s n);
/* Size in bytes of the largest data cache of this CPU; zepStatusNullPtr for a null
 * pointer, zepStatusNotSupported when neither the CPU nor the system tells. */
ZEPVC_API ZepStatus zepGetMaxCacheSizeB(Zep32s* pSizeByte);

ZEPVC_EXTERN_C_END

#endif /* ZEPCORE_H */
