/* zepvc H.264 CAVLC decoding, inverse transforms and macroblock reconstruction. Included by zepvc.h.
 *
 * Bit-stream decoders take a pointer to the pointer to the current 32-bit word
 * and a pointer to the index 31..0 of the next bit in it (31 = most
 * significant); both are updated to the first bit not consumed. Reads may look
 * one word ahead. Decoding tables are built by zepiHuffmanTableInitAlloc_32s
 * from the standard's code tables (coeff_token values TrailingOnes + 256 *
 * TotalCoeff). */
#ifndef ZEPVC_H264DEC_H
#define ZEPVC_H264DEC_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

/* ---- CAVLC coefficient decoding ----
 * On zepStatusBitstreamErr the stream position is left as at entry (the count
 * and coefficients already written stay); a missing total_zeros or run_before
 * table gives zepStatusNullPtr with the position where decoding stopped. A
 * block with TotalCoeff 0 stores 0 and neither clears nor advances the buffer.
 * Corrupt values that would place coefficients outside the block (TotalCoeff
 * above the block size, more than 3 or than TotalCoeff trailing ones,
 * total_zeros above the free positions, a chroma DC run_before above
 * zerosLeft) are zepStatusBitstreamErr; only the low 5 bits of *pBitOffset are
 * used; scan entries are taken modulo 16. */

/* One 4x4 block (maxCoeffs 16, or 15 for AC blocks) into 16 raster-order values; advances by 16.
 * vlcSelect is nC: 0-1, 2-3, 4-7 pick ppCoeffTokenTables[0..2], 8+ the 6-bit fixed-length code. */
ZEPVC_API ZepStatus zepiDecodeCAVLCCoeffs_H264_1u16s(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep16s* pNumCoeff,
                                                     Zep16s** ppCoeffBuf, Zep32s vlcSelect, Zep16s maxCoeffs,
                                                     const Zep32s* const* ppCoeffTokenTables,
                                                     const Zep32s* const* ppTotalZerosTables,
                                                     const Zep32s* const* ppRunBeforeTables, const Zep32s* pScan);
/* Same with 32-bit coefficients (levels from escapes are still 16-bit levelCodes). */
ZEPVC_API ZepStatus zepiDecodeCAVLCCoeffs_H264_1u32s(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep16s* pNumCoeff,
                                                     Zep32s** ppCoeffBuf, Zep32s vlcSelect, Zep16s maxCoeffs,
                                                     const Zep32s* const* ppCoeffTokenTables,
                                                     const Zep32s* const* ppTotalZerosTables,
                                                     const Zep32s* const* ppRunBeforeTables, const Zep32s* pScan);
/* 2x2 chroma DC (4:2:0) into 4 values; advances by 4. Decodes the two shortest coeff_tokens itself,
 * so pCoeffTokenTable must be the standard's. */
ZEPVC_API ZepStatus zepiDecodeCAVLCChromaDcCoeffs_H264_1u16s(Zep32u** ppBitStream, Zep32s* pBitOffset,
                                                             Zep16s* pNumCoeff, Zep16s** ppCoeffBuf,
                                                             const Zep32s* pCoeffTokenTable,
                                                             const Zep32s* const* ppTotalZerosTables,
                                                             const Zep32s* const* ppRunBeforeTables);
/* 2x2 chroma DC (4:2:0), 32-bit output; advances by 4. */
ZEPVC_API ZepStatus zepiDecodeCAVLCChromaDcCoeffs_H264_1u32s(Zep32u** ppBitStream, Zep32s* pBitOffset,
                                                             Zep16s* pNumCoeff, Zep32s** ppCoeffBuf,
                                                             const Zep32s* pCoeffTokenTable,
                                                             const Zep32s* const* ppTotalZerosTables,
                                                             const Zep32s* const* ppRunBeforeTables);
/* 2x4 chroma DC (4:2:2) into 8 values (2 wide, 4 high); advances by 8. */
ZEPVC_API ZepStatus zepiDecodeCAVLCChroma422DcCoeffs_H264_1u16s(Zep32u** ppBitStream, Zep32s* pBitOffset,
                                                                Zep16s* pNumCoeff, Zep16s** ppCoeffBuf,
                                                                const Zep32s* pCoeffTokenTable,
                                                                const Zep32s* const* ppTotalZerosTables,
                                                                const Zep32s* const* ppRunBeforeTables);
/* 2x4 chroma DC (4:2:2), 32-bit output; advances by 8. */
ZEPVC_API ZepStatus zepiDecodeCAVLCChroma422DcCoeffs_H264_1u32s(Zep32u** ppBitStream, Zep32s* pBitOffset,
                                                                Zep16s* pNumCoeff, Zep32s** ppCoeffBuf,
                                                                const Zep32s* pCoeffTokenTable,
                                                                const Zep32s* const* ppTotalZerosTables,
                                                                const Zep32s* const* ppRunBeforeTables);

/* ---- Exp-Golomb ----
 * ue(v) (isSigned 0) or se(v); zepStatusBadArg for *pBitOffset outside 0..31; more than 32
 * leading zeros gives zepStatusBitstreamErr with the position just after the first bit.
 * codeNum is computed modulo 2^32; the 16s variant stores the low 16 bits. */
ZEPVC_API ZepStatus zepiDecodeExpGolombOne_H264_1u16s(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep16s* pDst,
                                                      Zep8u isSigned);
ZEPVC_API ZepStatus zepiDecodeExpGolombOne_H264_1u32s(Zep32u** ppBitStream, Zep32s* pBitOffset, Zep32s* pDst,
                                                      Zep32s isSigned);

/* ---- Reconstruction ----
 * Coefficients: coded 4x4 blocks of 16 raster-order values in block order
 * (luma4x4BlkIdx), cbp bit k+1 marking block k coded; each coded block is
 * consumed (overwritten with its residual) and *ppCoeffBuf advances past it.
 * pLevelScale: LevelScale4x4 for qp % 6, raster order. bypass with qp 0 adds
 * the raw coefficients. The prediction is in the plane; results are clipped
 * to 0..255 in place. */

/* Inter macroblock: dequantise, transform and add every coded block; zepStatusOutOfRange for qp
 * outside 0..51. */
ZEPVC_API ZepStatus zepiReconstructLumaInter4x4MB_H264_16s8u_C1R(Zep16s** ppCoeffBuf, Zep8u* pSrcDstY,
                                                                 Zep32u srcDstStep, Zep32u cbp, Zep32s qp,
                                                                 const Zep16s* pLevelScale, Zep8u bypass);
/* Intra_4x4 macroblock: predicts each block (modes 0..8; 9..11 repeat 0..2, higher values are
 * taken modulo 12) from the neighbours edgeFlags leaves available (1 left, 4 above, 16 above-left,
 * 32 above-right macroblock missing), then adds its residual. zepStatusMissingNeighbours when a
 * prediction needed missing samples (128 used; for modes 3..7 each missing neighbour group reads
 * as 128); the macroblock is still reconstructed. */
ZEPVC_API ZepStatus zepiReconstructLumaIntra4x4MB_H264_16s8u_C1R(Zep16s** ppCoeffBuf, Zep8u* pSrcDstY,
                                                                 Zep32u srcDstStep, const Zep32u* pIntraModes,
                                                                 Zep32s cbp, Zep32u qp, Zep8u edgeFlags,
                                                                 const Zep16s* pLevelScale, Zep8u bypass);

/* ---- Inverse transforms ---- */
/* 4x4 inverse transform of dequantised values, every sum saturated to 16 bits, (x + 32) >> 6. */
ZEPVC_API ZepStatus zepiTransformResidual4x4Inv_H264_16s_C1(const Zep16s* pSrc, Zep16s* pDst);
/* Same in plain 32-bit arithmetic (no saturation). */
ZEPVC_API ZepStatus zepiTransformResidual4x4Inv_H264_32s_C1(const Zep32s* pSrc, Zep32s* pDst);

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_H264DEC_H */
