/* zepvc H.264 luma interpolation, deblocking and weighted prediction. Included by zepvc.h. */
#ifndef ZEPVC_H264INTER_H
#define ZEPVC_H264INTER_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_H264INTER_H */
