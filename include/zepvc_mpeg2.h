/* zepvc MPEG-1 and MPEG-2: DCT block reconstruction. Included by zepvc.h. */
#ifndef ZEPVC_MPEG2_H
#define ZEPVC_MPEG2_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

/* ---- DCT block reconstruction ----
 * One call decodes one 8x8 block from a word stream (pointer to the current 32-bit word and the
 * index 31..0 of the next bit; reads may look one word ahead) and leaves 64 row-major 16s values
 * ready for the inverse DCT. The caller builds the tables with zepiHuffmanTableInitAlloc_32s
 * (DC size: value = dct_dc_size) and zepiHuffmanRunLevelTableInitAlloc_32s (coefficients: one
 * code per (run, level) with its sign bit appended, end of block as run 254, escape as run 255).
 * pScanMatrix: 64 x 32s, scan position -> row-major index (zig-zag or alternate).
 * pQPMatrix: 64 x 16s weights, row-major. *pDstSize receives the scan position of the last
 * coefficient. A DC size above 16 counts as an invalid code. On failure the block may be partly
 * written, the stream position and *pDstSize are left as they were, and an intra predictor
 * already updated stays updated. */

/* MPEG-2 intra block: DC differential added to *pDCPred (16-bit), entry 0 = *pDCPred <<
 * shiftDCVal (3 - intra_dc_precision + 8); AC: (2 * QP * level kept to 16 bits) * weight / 32
 * toward zero, stored without saturation; escape = 6-bit run + 12-bit level; mismatch control on
 * entry 63. zepStatusVLCErr on an invalid code or a position past 63. */
ZEPVC_API ZepStatus zepiReconstructDCTBlockIntra_MPEG2_32s(Zep32u** ppBitStream, Zep32s* pOffset,
                                                           const Zep32s* pDCSizeTable, const Zep32s* pACTable,
                                                           const Zep32s* pScanMatrix, Zep16s QP,
                                                           const Zep16s* pQPMatrix, Zep16s* pDCPred,
                                                           Zep32s shiftDCVal, Zep16s* pDstBlock, Zep32s* pDstSize);
/* MPEG-2 non-intra block: the first code '1s' is run 0, level +-1, any other first code is looked
 * up in pDCTable, the rest in pACTable; (2L + sign(L), in 16 bits) * weight * QP / 32 toward zero;
 * mismatch control. pQPMatrix may be null: every weight is then 16 (the default matrix). */
ZEPVC_API ZepStatus zepiReconstructDCTBlock_MPEG2_32s(Zep32u** ppBitStream, Zep32s* pOffset, const Zep32s* pDCTable,
                                                      const Zep32s* pACTable, const Zep32s* pScanMatrix, Zep16s QP,
                                                      const Zep16s* pQPMatrix, Zep16s* pDstBlock, Zep32s* pDstSize);
/* MPEG-1 intra block, the MPEG-2 function's arguments without shiftDCVal. *pDCPred holds the
 * DC in units of the differential (reset to 128 at a slice start); entry 0 = *pDCPred * 8.
 * Escape: 6-bit run, then an 8-bit level (-127..127), or 0x00 followed by 128..255, or 0x80
 * followed by level + 256. AC: 2 * level * QP * weight / 16 toward zero, even results moved one
 * toward zero, clamped to -2048..2047; no mismatch control. zepStatusBitstreamErr on an invalid
 * code or a position past 63.
 * Argument roles: pDCSizeTable the luma or chroma dct_dc_size table, pACTable the coefficient
 * table (B-14 with end of block and escape), pScanMatrix the zig-zag scan, QP the
 * quantizer_scale (1..31), pQPMatrix the intra matrix, pDCPred the component's predictor.
 * Worked example: a luma block coded 01 11 01000 10 (the word 0x74400000, offset 31): dct_dc_size
 * 2 ("01"), differential +3 ("11"), so a predictor of 128 becomes 131 and entry 0 = 1048; then
 * "0100" with sign 0, run 0 level +2 at scan position 1 (entry 1): with QP 8 and weight 16,
 * 2 * 2 * 8 * 16 / 16 = 32, made odd: 31; then end of block "10". The call returns with the
 * offset at 20 (11 bits consumed) and *pDstSize = 1. */
ZEPVC_API ZepStatus zepiReconstructDCTBlockIntra_MPEG1_32s(Zep32u** ppBitStream, Zep32s* pOffset,
                                                           const Zep32s* pDCSizeTable, const Zep32s* pACTable,
                                                           const Zep32s* pScanMatrix, Zep16s QP,
                                                           const Zep16s* pQPMatrix, Zep16s* pDCPred,
                                                           Zep16s* pDstBlock, Zep32s* pDstSize);
/* MPEG-1 non-intra block: first-code rule as MPEG-2; (2 * level + sign(level)) * QP * weight /
 * 16 toward zero, made odd toward zero, clamped to -2048..2047. */
ZEPVC_API ZepStatus zepiReconstructDCTBlock_MPEG1_32s(Zep32u** ppBitStream, Zep32s* pOffset, const Zep32s* pDCTable,
                                                      const Zep32s* pACTable, const Zep32s* pScanMatrix, Zep16s QP,
                                                      const Zep16s* pQPMatrix, Zep16s* pDstBlock, Zep32s* pDstSize);

/* ---- Encoder half: quantisation and run-level encoding ----
 * Quantisers in place, the reference encoders' rounding: intra AC (32|c| + W/2) / W, then
 * (x + (3 QP + 2) / 4) / (2 QP); non-intra (32|c| + W/2) / W / (2 QP); levels at most 2047, with the
 * sign of c; intra DC (c + 2^(shiftDCVal - 1)) >> shiftDCVal (shiftDCVal 0..3 as in the decoder).
 * pQPMatrix (row-major 16s weights) may be null: every weight 16. *pCountNonZero: the non-zero
 * levels. Checks: pSrcDst or pCountNonZero null (zepStatusNullPtr), QP 0 or a zero weight
 * (zepStatusDivByZero), QP outside 1..112 (zepStatusOutOfRange). */
ZEPVC_API ZepStatus zepiQuantIntra_MPEG2_16s_C1I(Zep16s* pSrcDst, Zep32s QP, const Zep16s* pQPMatrix,
                                                 Zep32s shiftDCVal, Zep32s* pCountNonZero);
ZEPVC_API ZepStatus zepiQuant_MPEG2_16s_C1I(Zep16s* pSrcDst, Zep32s QP, const Zep16s* pQPMatrix,
                                            Zep32s* pCountNonZero);
/* The encoder's table from the same run-level description the decoder's table is built from
 * (zepiHuffmanRunLevelTableInitAlloc_32s: codes with their sign bit, end of block run 254, escape
 * run 255); pairs with levels outside -64..63 are left to the escape. Freed with
 * zepiHuffmanTableFree_32s. zepStatusBitstreamErr when the description has no end of block or no
 * escape. */
ZEPVC_API ZepStatus zepiCreateRLEncodeTable(const Zep32s* pSrcTable, Zep32s** ppDstSpec);
/* Write one block's codes to a word stream (pointer to the current 32-bit word, index 31..0 of
 * the next bit to write; bits above it are kept, the rest of the word is rewritten as bits
 * arrive). Levels in scan order through pScanMatrix; pairs without a code as the MPEG-2 escape
 * (6-bit run, 12-bit level); end of block. Intra: the DC differential against *pDCPred (then
 * updated) with pDCSizeCodes[size] = (code << 8) | length for dct_dc_size 0..11. Non-intra: a
 * first coefficient of run 0 and level +-1 as "1s"; a block without coefficients writes nothing.
 * Levels outside -2047..2047 or a DC differential needing more than 11 bits give
 * zepStatusOutOfRange with nothing written. */
ZEPVC_API ZepStatus zepiPutIntraBlock(Zep32u** ppBitStream, Zep32s* pOffset, const Zep16s* pSrcBlock, Zep16s* pDCPred,
                                      const Zep32s* pRLTable, const Zep32u* pDCSizeCodes, const Zep32s* pScanMatrix);
ZEPVC_API ZepStatus zepiPutNonIntraBlock(Zep32u** ppBitStream, Zep32s* pOffset, const Zep16s* pSrcBlock,
                                         const Zep32s* pRLTable, const Zep32s* pScanMatrix);

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_MPEG2_H */
