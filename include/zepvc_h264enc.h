/* zepvc H.264 forward transform, quantisation and CAVLC syntax analysis. Included by zepvc.h. */
#ifndef ZEPVC_H264ENC_H
#define ZEPVC_H264ENC_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_H264ENC_H */
