/* zepvc H.264 CAVLC decoding, inverse transforms and macroblock reconstruction. Included by zepvc.h. */
#ifndef ZEPVC_H264DEC_H
#define ZEPVC_H264DEC_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_H264DEC_H */
