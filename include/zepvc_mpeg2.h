/* zepvc MPEG-1 and MPEG-2: DCT block reconstruction. Included by zepvc.h. */
#ifndef ZEPVC_MPEG2_H
#define ZEPVC_MPEG2_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_MPEG2_H */
