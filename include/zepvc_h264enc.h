/* zepvc H.264 forward transform, quantisation and CAVLC syntax analysis. Included by zepvc.h.
 *
 * Encoder side of the 4x4 residual path: forward core transform, dead-zone
 * quantisation, and the analysis of a quantised block into the CAVLC syntax
 * values (the caller writes the bits with its own code tables). */
#ifndef ZEPVC_H264ENC_H
#define ZEPVC_H264ENC_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

/* ---- Forward core transform (rows, then columns; no scaling) ---- */
/* 16-bit: every addition and subtraction saturates on its own. */
ZEPVC_API ZepStatus zepiTransformResidual4x4Fwd_H264_16s_C1(const Zep16s* pSrc, Zep16s* pDst);
/* 32-bit: plain two's-complement arithmetic. */
ZEPVC_API ZepStatus zepiTransformResidual4x4Fwd_H264_32s_C1(const Zep32s* pSrc, Zep32s* pDst);

/* ---- Quantisation of a transformed 4x4 block ----
 * level = (|c| * m + rounding) >> shift in wrapping 32-bit arithmetic with an
 * arithmetic shift, sign of c restored (16s outputs saturate). Without a scale
 * table: built-in flat multipliers, shift 15 + qp/6; with one: shift 11 + qp/6.
 * Rounding is a third of the step for intra (isIntra non-zero), a sixth for
 * inter; products beyond 32 bits (large 32s inputs) wrap. *pNumLevels
 * gets the count of non-zero levels, *pLastScanPos the largest pScanPos[i] over
 * non-zero levels, never below 0 (0 when there are none). */
/* 32s; qp 0..87; pScaleTable may be null. */
ZEPVC_API ZepStatus zepiQuantizeResidual4x4Fwd_H264_32s_C1(const Zep32s* pSrc, Zep32s* pDst, Zep32s* pNumLevels,
                                                           Zep32s* pLastScanPos, const Zep32s* pScaleTable,
                                                           const Zep16s* pScanPos, Zep32u qp, Zep32s isIntra);
/* 16s; qp 0..51; pScaleTable may be null. */
ZEPVC_API ZepStatus zepiQuantizeResidual4x4Fwd_H264_16s_C1(const Zep16s* pSrc, Zep16s* pDst, Zep32s* pNumLevels,
                                                           Zep32s* pLastScanPos, const Zep32s* pScaleTable,
                                                           const Zep16s* pScanPos, Zep32u qp, Zep32s isIntra);
/* 16s with a required 32-bit scale table; qp 0..51. */
ZEPVC_API ZepStatus zepiQuantizeResidual4x4Fwd_H264_16s32s_C1(const Zep16s* pSrc, Zep16s* pDst, Zep32s* pNumLevels,
                                                              Zep32s* pLastScanPos, const Zep32s* pScaleTable,
                                                              const Zep16s* pScanPos, Zep32u qp, Zep32s isIntra);

/* ---- DC transforms with quantisation, and the 8x8 forward transform ----
 * The DC forms take the DC coefficients of the core-transformed blocks in place (raster order of
 * the DC matrix) and leave levels: level = sign(f) * ((|f| * MF + 2 * rounding) >> (16 + qp / 6))
 * with MF the flat multiplier of position 0 for qp % 6 and the 4x4 quantiser's rounding (a third
 * of the step for intra, a sixth for inter); levels saturate to 16 bits; *pNumLevels gets the
 * count of non-zero levels. Luma: f = (H c H) halved with rounding away from zero; chroma:
 * f = H c H. A decoder's inverse DC transform at the same qp gives the DC back.
 * Checks: null pointers, then qp. */
/* 4x4 luma DC of an Intra_16x16 macroblock; qp 0..51. */
ZEPVC_API ZepStatus zepiTransformQuantLumaDC_H264_16s_C1I(Zep16s* pSrcDst, Zep32s* pNumLevels, Zep32u qp,
                                                          Zep32s isIntra);
/* 2x2 chroma DC (4:2:0); qp = QP'c, 0..51. */
ZEPVC_API ZepStatus zepiTransformQuantChromaDC_H264_16s_C1I(Zep16s* pSrcDst, Zep32s* pNumLevels, Zep32u qp,
                                                            Zep32s isIntra);
/* 2x4 chroma DC (4:2:2); qp = QP'c + 3, 0..54. */
ZEPVC_API ZepStatus zepiTransformQuantChroma422DC_H264_16s_C1I(Zep16s* pSrcDst, Zep32s* pNumLevels, Zep32u qp,
                                                               Zep32s isIntra);
/* 8x8 forward core transform (rows, then columns; no scaling) in 32-bit arithmetic, results
 * saturated to 16 bits. */
ZEPVC_API ZepStatus zepiTransformResidual8x8Fwd_H264_16s_C1(const Zep16s* pSrc, Zep16s* pDst);

/* ---- CAVLC syntax analysis ----
 * Outputs: TrailingOnes, their signs (highest-frequency one in the most
 * significant of the TrailingOnes bits, 1 = negative), TotalCoeff, total_zeros,
 * the other levels highest frequency first (pLevels[0 .. TotalCoeff-TrailingOnes-1])
 * and run_before of every coefficient but the lowest-frequency one
 * (pRuns[0 .. TotalCoeff-2]); entries past those are left untouched. */
/* 4x4 block, scan indexes startIdx..lastIdx of pScan (scan index -> raster
 * position); lastIdx <= 15 and startIdx <= lastIdx. */
ZEPVC_API ZepStatus zepiEncodeCoeffsCAVLC_H264_16s(const Zep16s* pSrc, Zep8u startIdx, const Zep32s* pScan,
                                                   Zep8u lastIdx, Zep8u* pTrailingOnes, Zep8u* pTrailingOneSigns,
                                                   Zep8u* pNumCoeff, Zep8u* pTotalZeros, Zep16s* pLevels,
                                                   Zep8u* pRuns);
/* 32s variant; a negative startIdx is refused as out of range. */
ZEPVC_API ZepStatus zepiEncodeCoeffsCAVLC_H264_32s(const Zep32s* pSrc, Zep32s startIdx, const Zep32s* pScan,
                                                   Zep32s lastIdx, Zep8u* pTrailingOnes, Zep8u* pTrailingOneSigns,
                                                   Zep8u* pNumCoeff, Zep8u* pTotalZeros, Zep32s* pLevels,
                                                   Zep8u* pRuns);
/* 2x2 chroma DC (4 coefficients, walked 3, 2, 1, 0). */
ZEPVC_API ZepStatus zepiEncodeChromaDcCoeffsCAVLC_H264_16s(const Zep16s* pSrc, Zep8u* pTrailingOnes,
                                                           Zep8u* pTrailingOneSigns, Zep8u* pNumCoeff,
                                                           Zep8u* pTotalZeros, Zep16s* pLevels, Zep8u* pRuns);
ZEPVC_API ZepStatus zepiEncodeCoeffsCAVLCChromaDC2x2_H264_32s(const Zep32s* pSrc, Zep8u* pTrailingOnes,
                                                              Zep8u* pTrailingOneSigns, Zep8u* pNumCoeff,
                                                              Zep8u* pTotalZeros, Zep32s* pLevels, Zep8u* pRuns);
/* 2x4 chroma DC of 4:2:2 (8 coefficients, walked 7, 5, 3, 6, 4, 1, 2, 0). */
ZEPVC_API ZepStatus zepiEncodeCoeffsCAVLCChromaDC2x4_H264_16s(const Zep16s* pSrc, Zep8u* pTrailingOnes,
                                                              Zep8u* pTrailingOneSigns, Zep8u* pNumCoeff,
                                                              Zep8u* pTotalZeros, Zep16s* pLevels, Zep8u* pRuns);
ZEPVC_API ZepStatus zepiEncodeCoeffsCAVLCChromaDC2x4_H264_32s(const Zep32s* pSrc, Zep8u* pTrailingOnes,
                                                              Zep8u* pTrailingOneSigns, Zep8u* pNumCoeff,
                                                              Zep8u* pTotalZeros, Zep32s* pLevels, Zep8u* pRuns);

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_H264ENC_H */
