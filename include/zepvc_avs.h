/* zepvc AVS: block decoding and weighted prediction. Included by zepvc.h. */
#ifndef ZEPVC_AVS_H
#define ZEPVC_AVS_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

/* ---- Block coefficient decoding (2-D VLC) ----
 * One 8x8 block from a word stream (pointer to the current 32-bit word, bit index 31..0; both
 * advanced past the block): Exp-Golomb code numbers through the current table to (run, level),
 * escapes (code numbers from 59: run (n - 59) >> 1, negative for odd n, magnitude = an escape
 * Exp-Golomb number plus the table's reference level for the run, or 1 past the run limit),
 * table switching as the largest magnitude grows. Decoding stops at a code whose run would pass
 * position 63 (the end-of-block entry has run 64). Coefficients are placed from the highest
 * frequency down into 64 raster-order levels (zero elsewhere); escaped levels keep their low 16
 * bits. Exp-Golomb prefixes of any length are read in full (code numbers past 2^62 saturate and
 * can only end the block), so a caller's buffer must end in a non-zero word.
 * *pNumCoeff: the scan positions covered, or 63 whenever scanType is non-zero. Scan: zig-zag,
 * or the field scan (luma: scanType & 1; chroma: any non-zero scanType). Checks: ppBitStream,
 * then *ppBitStream, pBitOffset, pNumCoeff, pDstCoeffs null (zepStatusNullPtr); the stream
 * content is not checked. */
ZEPVC_API ZepStatus zepiDecodeLumaBlockIntra_AVS_1u16s(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep32s* pNumCoeff,
                                                       Zep16s* pDstCoeffs, Zep32s scanType);
ZEPVC_API ZepStatus zepiDecodeLumaBlockInter_AVS_1u16s(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep32s* pNumCoeff,
                                                       Zep16s* pDstCoeffs, Zep32s scanType);
ZEPVC_API ZepStatus zepiDecodeChromaBlock_AVS_1u16s(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep32s* pNumCoeff,
                                                    Zep16s* pDstCoeffs, Zep32s scanType);

/* ---- Weighted prediction ----
 * y = clamp0..255(sat16(((x * scale + 16) mod 65536) >> 5 + offset)), scale as an unsigned 16-bit
 * factor, offset as a signed 16-bit value. Widths are coarse: 8 columns are written for widths 0,
 * 4, 8 and 12, 16 for widths 16 to 28; rows go four (8 wide) or two (16 wide) at a time from the
 * top, and a height of 0 still processes one such group. pDst may equal pSrc with the same
 * step. Checks: null pointers; then a width outside 0, 4, ..., 28 or a height not a multiple of 4
 * (zepStatusBadSize). */
ZEPVC_API ZepStatus zepiWeightPrediction_AVS_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep,
                                                    Zep32u scale, Zep32s offset, ZepSize roiSize);

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_AVS_H */
