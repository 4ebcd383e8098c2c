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

/* ---- Intra prediction (stand-alone) ----
 * Each call predicts one block of one plane in place from the samples around it
 * in the same plane. edgeFlags marks the block's missing neighbours with the
 * bits of the macroblock reconstruction: 1 left, 4 above, 16 above-left,
 * 32 above-right. A mode that needs a missing neighbour returns
 * zepStatusNeighborUnavailable and writes nothing; a missing above-right for
 * 4x4/8x8 is replaced by the last sample above, as H.264 does. Steps count
 * bytes. Modes: 4x4 and 8x8 0..8 (H.264 numbering), 16x16 0 vertical,
 * 1 horizontal, 2 DC, 3 plane; chroma 0 DC, 1 horizontal, 2 vertical, 3 plane. */
ZEPVC_API ZepStatus zepiPredictIntra4x4_H264_8u_C1IR(Zep8u* pSrcDst, Zep32u srcDstStep, Zep32u predMode,
                                                      Zep8u edgeFlags);
/* 8x8 with the reference-sample filtering of the 8x8 transform. */
ZEPVC_API ZepStatus zepiPredictIntra8x8_H264_8u_C1IR(Zep8u* pSrcDst, Zep32u srcDstStep, Zep32u predMode,
                                                      Zep8u edgeFlags);
ZEPVC_API ZepStatus zepiPredictIntra16x16_H264_8u_C1IR(Zep8u* pSrcDst, Zep32u srcDstStep, Zep32u predMode,
                                                        Zep8u edgeFlags);
/* One chroma plane of a 4:2:0 macroblock (8x8). */
ZEPVC_API ZepStatus zepiPredictIntraChroma8x8_H264_8u_C1IR(Zep8u* pSrcDst, Zep32u srcDstStep, Zep32u predMode,
                                                            Zep8u edgeFlags);
/* One chroma plane of a 4:2:2 macroblock (8 wide, 16 high). */
ZEPVC_API ZepStatus zepiPredictIntraChroma8x16_H264_8u_C1IR(Zep8u* pSrcDst, Zep32u srcDstStep, Zep32u predMode,
                                                             Zep8u edgeFlags);

/* ---- Intra_16x16, chroma and 8x8 reconstruction ----
 * Same coefficient-stream convention as above: only the blocks cbp marks are
 * present, in this order, and each is consumed. */

/* Intra_16x16 macroblock: predicts with intraPredMode (0..3), then cbp bit 0 = the 16-value luma
 * DC block (raster order of the 4x4 DC matrix, as the CAVLC decoder writes it with the zig-zag
 * scan), bits 1..16 = the AC blocks in block order (element 0 of each is ignored). The DC matrix
 * is inverse-Hadamard transformed and dequantised, and every block is reconstructed, even with
 * no AC. -117 (nothing written) when the mode needs a missing neighbour. */
ZEPVC_API ZepStatus zepiReconstructLumaIntra16x16MB_H264_16s8u_C1R(Zep16s** ppCoeffBuf, Zep8u* pSrcDstY,
                                                                   Zep32u srcDstStep, Zep32u intraPredMode,
                                                                   Zep32u cbp, Zep32s qp, Zep8u edgeFlags,
                                                                   const Zep16s* pLevelScale, Zep8u bypass);
/* Chroma of a 4:2:0 macroblock whose prediction is in the planes. Coefficients: cbp bit 0 the Cb DC
 * (4 values), bit 1 the Cr DC, bits 2..5 the Cb AC blocks, bits 6..9 the Cr AC blocks (element 0
 * ignored). qpCb and qpCr are the chroma QP'c already mapped by the caller (the mapping table
 * and the picture's offsets are the caller's). pLevelScaleCb/Cr: LevelScale4x4 for every qp % 6,
 * 6 x 16 values. */
ZEPVC_API ZepStatus zepiReconstructChromaInterMB_H264_16s8u_P2R(Zep16s** ppCoeffBuf, Zep8u* pSrcDstCb,
                                                                Zep8u* pSrcDstCr, Zep32u srcDstStep, Zep32u cbp,
                                                                Zep32s qpCb, Zep32s qpCr,
                                                                const Zep16s* pLevelScaleCb,
                                                                const Zep16s* pLevelScaleCr, Zep8u bypass);
/* Same after predicting both planes with intraChromaPredMode (0..3); -117 (nothing written) when
 * the mode needs a missing neighbour. */
ZEPVC_API ZepStatus zepiReconstructChromaIntraMB_H264_16s8u_P2R(Zep16s** ppCoeffBuf, Zep8u* pSrcDstCb,
                                                                Zep8u* pSrcDstCr, Zep32u srcDstStep,
                                                                Zep32u intraChromaPredMode, Zep32u cbp,
                                                                Zep32s qpCb, Zep32s qpCr, Zep8u edgeFlags,
                                                                const Zep16s* pLevelScaleCb,
                                                                const Zep16s* pLevelScaleCr, Zep8u bypass);
/* 4:2:2 chroma (8x16 per plane): cbp bit 0 the Cb DC (8 values, 2 wide and 4 high), bit 1 the Cr
 * DC, bits 2..9 the Cb AC blocks, bits 10..17 the Cr AC blocks; the DC uses QP'c + 3 as H.264
 * says. */
ZEPVC_API ZepStatus zepiReconstructChroma422InterMB_H264_16s8u_P2R(Zep16s** ppCoeffBuf, Zep8u* pSrcDstCb,
                                                                   Zep8u* pSrcDstCr, Zep32u srcDstStep,
                                                                   Zep32u cbp, Zep32s qpCb, Zep32s qpCr,
                                                                   const Zep16s* pLevelScaleCb,
                                                                   const Zep16s* pLevelScaleCr, Zep8u bypass);
ZEPVC_API ZepStatus zepiReconstructChroma422IntraMB_H264_16s8u_P2R(Zep16s** ppCoeffBuf, Zep8u* pSrcDstCb,
                                                                   Zep8u* pSrcDstCr, Zep32u srcDstStep,
                                                                   Zep32u intraChromaPredMode, Zep32u cbp,
                                                                   Zep32s qpCb, Zep32s qpCr, Zep8u edgeFlags,
                                                                   const Zep16s* pLevelScaleCb,
                                                                   const Zep16s* pLevelScaleCr, Zep8u bypass);
/* Luma macroblock with the 8x8 transform, prediction in the plane: cbp bit k+1 (k = 0..3) marks
 * 8x8 block k coded (64 raster-order values). pLevelScale8x8: LevelScale8x8 for qp % 6, raster. */
ZEPVC_API ZepStatus zepiReconstructLumaInter8x8MB_H264_16s8u_C1R(Zep16s** ppCoeffBuf, Zep8u* pSrcDstY,
                                                                 Zep32u srcDstStep, Zep32u cbp, Zep32s qp,
                                                                 const Zep16s* pLevelScale8x8, Zep8u bypass);
/* Intra_8x8 macroblock: predicts each 8x8 block (pIntraModes[0..3], modes 0..8) with the filtered
 * references, then adds its residual; -117 when a block's mode needs a missing neighbour, found
 * before anything is written. */
ZEPVC_API ZepStatus zepiReconstructLumaIntra8x8MB_H264_16s8u_C1R(Zep16s** ppCoeffBuf, Zep8u* pSrcDstY,
                                                                 Zep32u srcDstStep, const Zep32u* pIntraModes,
                                                                 Zep32u cbp, Zep32s qp, Zep8u edgeFlags,
                                                                 const Zep16s* pLevelScale8x8, Zep8u bypass);

/* ---- Stand-alone DC transforms (decoder side) ----
 * In place; results keep their low 16 bits. pLevelScale: LevelScale4x4 for qp % 6 (element 0 is
 * used). Checks: null pointers, then qp. */
/* 4x4 luma DC of an Intra_16x16 macroblock (raster order of the DC matrix): Hadamard, then
 * (f * scale) << (qp / 6 - 6) from qp 36, else (f * scale + 2^(5 - qp / 6)) >> (6 - qp / 6). */
ZEPVC_API ZepStatus zepiTransformDequantLumaDC_H264_16s_C1I(Zep16s* pSrcDst, Zep32s qp, const Zep16s* pLevelScale);
/* 2x2 chroma DC (4:2:0) with qp = QP'c: ((f * scale) << (qp / 6)) >> 5. */
ZEPVC_API ZepStatus zepiTransformDequantChromaDC_H264_16s_C1I(Zep16s* pSrcDst, Zep32s qp, const Zep16s* pLevelScale);
/* 2x4 chroma DC (4:2:2; 2 wide, 4 high) with qp = QP'c + 3 (0..54), scaled as the luma DC. */
ZEPVC_API ZepStatus zepiTransformDequantChroma422DC_H264_16s_C1I(Zep16s* pSrcDst, Zep32s qp,
                                                                 const Zep16s* pLevelScale);

/* ---- Inverse transforms ---- */
/* 4x4 inverse transform of dequantised values, every sum saturated to 16 bits, (x + 32) >> 6. */
ZEPVC_API ZepStatus zepiTransformResidual4x4Inv_H264_16s_C1(const Zep16s* pSrc, Zep16s* pDst);
/* Same in plain 32-bit arithmetic (no saturation). */
ZEPVC_API ZepStatus zepiTransformResidual4x4Inv_H264_32s_C1(const Zep32s* pSrc, Zep32s* pDst);

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_H264DEC_H */
