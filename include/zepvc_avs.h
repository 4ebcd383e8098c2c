/* zepvc AVS: block decoding and weighted prediction. Included by zepvc.h. */
#ifndef ZEPVC_AVS_H
#define ZEPVC_AVS_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_AVS_H */
