/* zepvc Huffman table construction and generic VLC decoding. Included by zepvc.h. */
#ifndef ZEPVC_VLC_H
#define ZEPVC_VLC_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_VLC_H */
