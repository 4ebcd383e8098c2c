/* zepvc VC-1 transforms, quantisation, overlap smoothing and range mapping. Included by zepvc.h. */
#ifndef ZEPVC_VC1_H
#define ZEPVC_VC1_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_VC1_H */
