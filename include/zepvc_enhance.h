/* zepvc video enhancement: deinterlacing. Included by zepvc.h. */
#ifndef ZEPVC_ENHANCE_H
#define ZEPVC_ENHANCE_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_ENHANCE_H */
