/* zepvc video enhancement: deinterlacing. Included by zepvc.h. */
#ifndef ZEPVC_ENHANCE_H
#define ZEPVC_ENHANCE_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

/* Builds the missing field of an interlaced picture from the present one, one output row per
 * source row: each interior sample is the rounded average of the pair (row above, row below)
 * that differs least among the falling diagonal, the rising diagonal and the vertical (ties to
 * the vertical, then to the rising diagonal); the first and last columns copy the source row of
 * the same index. fieldNum 0 builds the top field (output row k between source rows k-1 and
 * k), 1 the bottom field (between k and k+1); other values shift the pair to rows
 * k - 1 + fieldNum and k + fieldNum. copyBorder non-zero copies the row with no source row beyond it
 * (output row 0 for fieldNum 0, row height-1 for fieldNum 1); with 0 the caller makes source row
 * -1 (fieldNum 0) or row height (fieldNum 1) readable. Checks: pSrc or pDst null, then width or
 * height below 1 (zepStatusBadSize). Steps count bytes and may be negative. */
ZEPVC_API ZepStatus zepiDeinterlaceEdgeDetect_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep,
                                                     Zep32s width, Zep32s height, Zep32s fieldNum,
                                                     Zep32s copyBorder);

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_ENHANCE_H */
