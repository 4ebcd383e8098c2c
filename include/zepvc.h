/* zepvc: video-coding block primitives with a flat C interface.
 *
 * Every function but zepvcGetLibVersion returns a ZepStatus: it checks its
 * arguments first (pointers in argument order, then steps, sizes, modes and
 * ranges), writes nothing when a check fails, and otherwise runs one kernel
 * picked once for this CPU. Steps are in bytes unless a family says otherwise.
 * Compiles as C99 and C++. */
#ifndef ZEPVC_H
#define ZEPVC_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

/* The library's constant version record. */
typedef struct ZepLibVersion {
    Zep32s major;
    Zep32s minor;
    Zep32s buildMajor;
    Zep32s build;
    char cpuCode[4];
    const char* libName;
    const char* versionText;
    const char* buildDate;
} ZepLibVersion;

/* ---- Library frame ---- */
/* The constant version record (same pointer on every call; never fails). */
ZEPVC_API const ZepLibVersion* zepvcGetLibVersion(void);

ZEPVC_EXTERN_C_END

/* Families: each header declares only what is implemented. */
#include "zepvc_metrics.h"
#include "zepvc_mc.h"
#include "zepvc_vlc.h"
#include "zepvc_h264dec.h"
#include "zepvc_h264inter.h"
#include "zepvc_h264enc.h"
#include "zepvc_vc1.h"
#include "zepvc_dct.h"
#include "zepvc_mpeg4.h"
#include "zepvc_mpeg2.h"
#include "zepvc_avs.h"
#include "zepvc_dv.h"
#include "zepvc_enhance.h"

#endif /* ZEPVC_H */
