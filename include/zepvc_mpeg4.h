/* zepvc MPEG-4 Part 2, H.263 and H.261: quantisation and coefficient decoding. Included by zepvc.h. */
#ifndef ZEPVC_MPEG4_H
#define ZEPVC_MPEG4_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_MPEG4_H */
