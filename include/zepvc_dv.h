/* zepvc DV: Huffman segment decoding. Included by zepvc.h. */
#ifndef ZEPVC_DV_H
#define ZEPVC_DV_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_DV_H */
