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

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_MPEG2_H */
