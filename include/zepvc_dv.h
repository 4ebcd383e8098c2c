/* zepvc DV: Huffman segment decoding. Included by zepvc.h. */
#ifndef ZEPVC_DV_H
#define ZEPVC_DV_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

/* ---- DV variable-length code: the lookup table ----
 * Built from two source tables (arrays of 32u): word 0's low byte is the table's lookup width b,
 * words 1 and 2 are not read, then for each code length L = 1..b: the number of codes of that
 * length, followed by that many (code right-aligned in L bits, run, level) triples. The result
 * is one block of (2^b1 + 2^b2) 4-byte entries (length, 255 where no code starts; run; level x 64
 * as 16s); second-table entries store their length plus 4. Failure leaves null in *ppHuffTable.
 *
 * How a DV decoder fills the two source tables from the DV code table (IEC 61834-2 / SMPTE
 * 314M): every code is listed without its sign bit (the decoder reads the sign after any code of
 * non-zero amplitude), with its run and its amplitude as the level (0 for the run-only codes).
 * Table 1, width 8: all codes of 8 bits or fewer. Table 2, width 11: all codes of 9 bits or more,
 * which all begin with 1111, listed without those four bits (so a 15-bit code is an 11-bit code
 * of table 2); the fixed-format forms are listed code by code: run-only 1111110 + 6-bit run (runs
 * 6..61, level 0) and amplitude 1111111 + 8-bit amplitude (amplitudes 23..255, run 0). End of
 * block (0110) is listed with run 255, level 0.
 * Worked example: table 1 begins {8, 0, 0, 0, 1, 0x0, 0, 1, 1, 0x2, 0, 2, ...}: width 8, two
 * unread words, no code of length 1, one of length 2 ("00": run 0, amplitude 1), one of length 3
 * ("010": run 0, amplitude 2), and so on; table 2 lists "1111100111 0" (run 0, amplitude 0 is
 * not a code; e.g. the 11-bit run-only code 11111001110, run 0) as the 7-bit code 1001110. */
ZEPVC_API ZepStatus zepiInitAllocHuffmanTable_DV_32u(const Zep32u* pSrcTable1, const Zep32u* pSrcTable2,
                                                     Zep32u** ppHuffTable);
/* Releases a table from zepiInitAllocHuffmanTable_DV_32u; null: zepStatusNullPtr. */
ZEPVC_API ZepStatus zepiFreeHuffmanTable_DV_32u(Zep32u* pHuffTable);

/* ---- Segment decoding ----
 * One video segment: five compressed macroblocks of 80 bytes. Each macroblock: byte 3's low four
 * bits the quantisation number; DV blocks at bytes 4, 18, 32, 46 (luma, 14 bytes) and 60, 70
 * (chroma, 10 bytes); DV100 blocks at 4, 14, 24, 34 (luma, 10 bytes) and 44, 52, 60, 68 (chroma,
 * 8 bytes). A block area starts with the 9-bit DC (two's complement), the mode bit (2-4-8 DCT) and
 * the 2-bit class, then the AC codes, most significant bit first.
 * pScanTables: 128 x 32s, scan position -> row-major index: [0..63] for 8x8 blocks, [64..127] for
 * 2-4-8 blocks (mode bit set). pHuffTable: a table built as above with widths 8 and 11 (not
 * checked; the decoders index it that way).
 * Outputs: pBlock, 64 16s per block (30 blocks DV, 40 DV100) in macroblock then block order: the
 * DC as read (-256..255) at index 0, each AC coefficient as its signed amplitude at
 * scan[position]; pBlockParam, one word per block: (quantisation number << 16) | (byte 1 of the
 * block & 0x70) (mode in bit 6, class in bits 4-5).
 * The AC bits of a block that overflow its area are followed as DV places them: first into the
 * space the other blocks of its macroblock leave after their end of block (in block order), then
 * into the space the other macroblocks of the segment leave (in macroblock order). A block whose
 * bits run out, hold a code that is not in the table, or pass position 63 ends there with what it
 * decoded; bits no block claims are ignored. The decoders read only the 400 segment bytes.
 * Checks: pStream, pBlock, pBlockParam null (zepStatusNullPtr). */
ZEPVC_API ZepStatus zepiHuffmanDecodeSegment_DV_8u16s(const Zep8u* pStream, const Zep32s* pScanTables,
                                                      const Zep32u* pHuffTable, Zep16s* pBlock, Zep32u* pBlockParam);
ZEPVC_API ZepStatus zepiHuffmanDecodeSegment_DV100_8u16s(const Zep8u* pStream, const Zep32s* pScanTables,
                                                         const Zep32u* pHuffTable, Zep16s* pBlock,
                                                         Zep32u* pBlockParam);
/* A single pass for previews: every block decoded from its own area only (no overflow followed);
 * with dcOnly non-zero, only the DC coefficients and the parameters. */
ZEPVC_API ZepStatus zepiHuffmanDecodeSegmentOnePass_DV_8u16s(const Zep8u* pStream, const Zep32s* pScanTables,
                                                             const Zep32u* pHuffTable, Zep16s* pBlock,
                                                             Zep32u* pBlockParam, Zep32s dcOnly);

/* ---- Inverse quantisation and weighting, 2-4-8 inverse DCT ----
 * A block as the segment decoder leaves it (DC as read, AC amplitudes at their row-major
 * positions) becomes, in place, the coefficients the inverse DCT of its mode takes:
 * - DC: 4 x DC + 1024 (the DC is sent as a quarter of the coefficient of the samples less 128;
 *   1024 puts the 128 back).
 * - AC at scan position i of DV's scan for the block's mode (areas 0..3 begin at scan positions
 *   0, 6, 21, 43; the 8x8 scan is the zig-zag, the 2-4-8 scan in the row layout below visits
 *   0, 32, 1, 33, 8, 40, 2, 34, 9, 41, 16, 48, 24, 56, 17, 49, ...: each field-sum coefficient
 *   followed by its field-difference twin): the amplitude times the
 *   quantisation step 2^s, s from the quantisation number (blockParam bits 16..19) and class
 *   (bits 4..5) as DV tabulates them (class 3 one step coarser), divided by the DCT weight
 *   W = w(v) w(h) / 2 (8x8 mode) or w(2k) w(h) / 2 (2-4-8 mode, vertical frequency k = row & 3),
 *   with w(0) = 1, w(1) = CS4 / (4 CS7 CS2), w(2) = CS4 / (2 CS6), w(3) = 1 / (2 CS5),
 *   w(4) = 7/8, w(5) = CS4 / CS3, w(6) = CS4 / CS2, w(7) = CS4 / CS1, CSm = cos(m pi / 16).
 *   The inverse weights are 14-bit fixed point; each product rounds half up and saturates to
 *   16 bits.
 * 8x8 blocks then go through zepiDCT8x8Inv_*; 2-4-8 blocks (mode bit 6 of blockParam) through
 * zepiDCT2x4x8Inv_*, whose input rows 0..3 hold the field-sum and rows 4..7 the field-difference
 * coefficients (vertical frequencies 0..3 each), columns the horizontal frequencies; output line
 * 2z is (sum + difference) / 2 and line 2z + 1 (sum - difference) / 2 of field line z. The 2-4-8
 * transform: rows through c(h)/2 cos((2x+1) h pi/16) in Q15 kept to 6 fractional bits, columns
 * through c(k)/2 cos((2z+1) k pi/8) in Q15, results rounded half up; the 16s form saturates to
 * 16 bits, the 8u form clamps to 0..255.
 * Checks: null pointers (zepStatusNullPtr). */
ZEPVC_API ZepStatus zepiQuantWeightBlockInv_DV_16s_C1I(Zep16s* pSrcDst, Zep32u blockParam);
ZEPVC_API ZepStatus zepiDCT2x4x8Inv_16s_C1I(Zep16s* pSrcDst);
ZEPVC_API ZepStatus zepiDCT2x4x8Inv_16s8u_C1R(const Zep16s* pSrc, Zep8u* pDst, Zep32s dstStep);

/* ---- Macroblocks into a packed 4:2:2 picture ----
 * pSrc: the blocks of decoded macroblocks as samples (the inverse DCT's 16s output, saturated
 * here to 0..255), 64 row-major values a block, in the segment decoder's order: per macroblock
 * Y0, Y1, Y2, Y3, Cr, Cb; the 5MBDV forms take a whole segment (30 blocks), the EdgeDV forms
 * one macroblock (6 blocks). The picture is packed 4:2:2, each pixel pair written as
 * Y0 Cb Y1 Cr; pDst[k] (EdgeDV: pDst) is the first byte of macroblock k's place in it and
 * dstStep its row step in bytes.
 * Shapes: 4:1:1 (525/60) macroblocks are 32x8, the four luma blocks side by side, each chroma
 * sample serving two pixel pairs; the right-edge 525/60 macroblocks (EdgeDV) are 16x16, luma
 * 2x2, each chroma block's left four columns serving the top eight lines and its right four the
 * bottom eight; 4:2:0 (625/50) macroblocks are 16x16, luma 2x2, each chroma line serving two
 * lines.
 * ZoomOut2/4/8 write the macroblock reduced 2, 4 or 8 times in each direction (a 32x8
 * macroblock at 1/8 is 4x1 pixels): every output luma sample and every output Cb or Cr sample
 * is the rounded mean ((sum + n/2) / n) of the n = z x z full-size 4:2:2 samples it covers; at
 * 1/8 each luma sample is its block's mean, which suits previews from DC-only decoding.
 * Checks: pSrc, pDst or any pDst[k] null (zepStatusNullPtr); dstStep below the bytes of one
 * output row of the macroblock (zepStatusBadStep). */
ZEPVC_API ZepStatus zepiYCrCb411ToYCbCr422_5MBDV_16s8u_P3C2R(const Zep16s* pSrc, Zep8u* pDst[5], Zep32s dstStep);
ZEPVC_API ZepStatus zepiYCrCb411ToYCbCr422_ZoomOut2_5MBDV_16s8u_P3C2R(const Zep16s* pSrc, Zep8u* pDst[5],
                                                                    Zep32s dstStep);
ZEPVC_API ZepStatus zepiYCrCb411ToYCbCr422_ZoomOut4_5MBDV_16s8u_P3C2R(const Zep16s* pSrc, Zep8u* pDst[5],
                                                                    Zep32s dstStep);
ZEPVC_API ZepStatus zepiYCrCb411ToYCbCr422_ZoomOut8_5MBDV_16s8u_P3C2R(const Zep16s* pSrc, Zep8u* pDst[5],
                                                                    Zep32s dstStep);
ZEPVC_API ZepStatus zepiYCrCb420ToYCbCr422_5MBDV_16s8u_P3C2R(const Zep16s* pSrc, Zep8u* pDst[5], Zep32s dstStep);
ZEPVC_API ZepStatus zepiYCrCb420ToYCbCr422_ZoomOut2_5MBDV_16s8u_P3C2R(const Zep16s* pSrc, Zep8u* pDst[5],
                                                                    Zep32s dstStep);
ZEPVC_API ZepStatus zepiYCrCb420ToYCbCr422_ZoomOut4_5MBDV_16s8u_P3C2R(const Zep16s* pSrc, Zep8u* pDst[5],
                                                                    Zep32s dstStep);
ZEPVC_API ZepStatus zepiYCrCb420ToYCbCr422_ZoomOut8_5MBDV_16s8u_P3C2R(const Zep16s* pSrc, Zep8u* pDst[5],
                                                                    Zep32s dstStep);
ZEPVC_API ZepStatus zepiYCrCb411ToYCbCr422_EdgeDV_16s8u_P3C2R(const Zep16s* pSrc, Zep8u* pDst, Zep32s dstStep);
ZEPVC_API ZepStatus zepiYCrCb411ToYCbCr422_ZoomOut2_EdgeDV_16s8u_P3C2R(const Zep16s* pSrc, Zep8u* pDst,
                                                                     Zep32s dstStep);
ZEPVC_API ZepStatus zepiYCrCb411ToYCbCr422_ZoomOut4_EdgeDV_16s8u_P3C2R(const Zep16s* pSrc, Zep8u* pDst,
                                                                     Zep32s dstStep);
ZEPVC_API ZepStatus zepiYCrCb411ToYCbCr422_ZoomOut8_EdgeDV_16s8u_P3C2R(const Zep16s* pSrc, Zep8u* pDst,
                                                                     Zep32s dstStep);

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_DV_H */
