/* zepvc VC-1 transforms, quantisation, overlap smoothing and range mapping. Included by zepvc.h.
 *
 * Blocks are 16-bit, stored row by row with a step in bytes; block names are
 * width x height (8x4 is 8 columns, 4 rows). In-place (C1IR) and two-buffer
 * (C1R) forms of one operation give identical results. Steps are not checked. */
#ifndef ZEPVC_VC1_H
#define ZEPVC_VC1_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

/* ---- Inverse transforms ----
 * Rows: 1-D inverse (T8 or T4), (sum + 4) >> 3, saturated to 16 bits.
 * Columns: (sum + 64) >> 7, except 8-tall blocks add 65 in rows 4-7;
 * saturated to 16 bits. No clamping to a pixel range.
 * coefWidth x coefHeight is the top-left rectangle outside which every
 * coefficient is zero; it selects a shortened computation that reads only
 * that rectangle (DC only when both are below 2; then 2x2 or 4x4 for 8x8,
 * 2x2 for 4x4, the top 4x4 for 4x8, the left 4x4 for 8x4 when every pointer
 * and step is a multiple of 16 bytes). Coefficients outside the rectangle
 * read are ignored. The result always equals the full transform of the block
 * with those coefficients zeroed, including the 16-bit saturation after the
 * row pass (which the DC-only path applies too). Only null pointers fail. */
ZEPVC_API ZepStatus zepiTransform8x8Inv_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s coefWidth,
                                                     Zep32s coefHeight);
ZEPVC_API ZepStatus zepiTransform8x4Inv_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s coefWidth,
                                                     Zep32s coefHeight);
ZEPVC_API ZepStatus zepiTransform4x8Inv_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s coefWidth,
                                                     Zep32s coefHeight);
ZEPVC_API ZepStatus zepiTransform4x4Inv_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s coefWidth,
                                                     Zep32s coefHeight);
ZEPVC_API ZepStatus zepiTransform8x8Inv_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s dstStep,
                                                    Zep32s coefWidth, Zep32s coefHeight);
ZEPVC_API ZepStatus zepiTransform8x4Inv_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s dstStep,
                                                    Zep32s coefWidth, Zep32s coefHeight);
ZEPVC_API ZepStatus zepiTransform4x8Inv_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s dstStep,
                                                    Zep32s coefWidth, Zep32s coefHeight);
ZEPVC_API ZepStatus zepiTransform4x4Inv_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s dstStep,
                                                    Zep32s coefWidth, Zep32s coefHeight);

/* ---- Forward transforms ----
 * Rows: scaled forward matrix (F8: 21845.., F4: 15420..), then
 * (y + 2048) >> 12 for 8-point and (y + 1024) >> 11 for 4-point rows,
 * saturated to 16 bits; columns: (y + 524288) >> 20 (8-point) or
 * (y + 262144) >> 19 (4-point), saturated. Sums are kept in 32 bits with
 * wrap-around: 4-point passes never wrap; 8-point passes are exact while
 * their inputs stay within +-12285, which holds for residuals within
 * +-287 (8x8) or +-407 (4x8), well beyond the 9-bit residuals of VC-1. */
ZEPVC_API ZepStatus zepiTransform8x8Fwd_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep);
ZEPVC_API ZepStatus zepiTransform8x4Fwd_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep);
ZEPVC_API ZepStatus zepiTransform4x8Fwd_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep);
ZEPVC_API ZepStatus zepiTransform4x4Fwd_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep);
ZEPVC_API ZepStatus zepiTransform8x8Fwd_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s dstStep);
ZEPVC_API ZepStatus zepiTransform8x4Fwd_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s dstStep);
ZEPVC_API ZepStatus zepiTransform4x8Fwd_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s dstStep);
ZEPVC_API ZepStatus zepiTransform4x4Fwd_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s dstStep);

/* ---- Hadamard cost ----
 * pDst receives the 64 coefficients (row order, no step) of H * X * H, where
 * X is the 8x8 source block and H the unnormalised 8x8 Hadamard matrix in
 * natural (Sylvester) order, H[i][j] = (-1)^popcount(i & j); *pSum receives
 * the sum of the absolute values of all 64 coefficients, DC included.
 * For 8u sources every coefficient fits 16 bits. For 16s sources the
 * transform is computed in 32 bits, the coefficients stored in pDst are
 * saturated to 16 bits (exact for inputs within +-511) and *pSum is the sum
 * of the exact absolute values. Null pSrc, pDst or pSum: zepStatusNullPtr. */
ZEPVC_API ZepStatus zepiHadamard8x8Sum_VC1_8u16s(const Zep8u* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s* pSum);
ZEPVC_API ZepStatus zepiHadamard8x8Sum_VC1_16s(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s* pSum);

/* ---- Forward quantisation ----
 * doubleQuant is 2 * PQUANT + HALFQP, 2..62 (else zepStatusOutOfRange).
 * Division by doubleQuant uses the library's fixed-point reciprocal table;
 * it truncates toward zero except for doubleQuant 19, 21, 27, 41 and 55,
 * whose exact multiples come out one step nearer zero (kept for
 * compatibility). Non-uniform first moves x toward zero by doubleQuant >> 1.
 * Intra: 8x8, DC untouched. Inter: roiSize each side 4 or 8; after the
 * pointer and range checks, a bad height then a bad width give
 * zepStatusBadSize. */
ZEPVC_API ZepStatus zepiQuantIntraUniform_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s doubleQuant);
ZEPVC_API ZepStatus zepiQuantIntraNonuniform_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s doubleQuant);
ZEPVC_API ZepStatus zepiQuantInterUniform_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s doubleQuant,
                                                       ZepSize roiSize);
ZEPVC_API ZepStatus zepiQuantInterNonuniform_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s doubleQuant,
                                                          ZepSize roiSize);

/* ---- Inverse quantisation ----
 * Uniform c * doubleQuant; non-uniform adds sign(c) * (doubleQuant >> 1);
 * both wrap to 16 bits. doubleQuant is not checked. *pDstSizeNZ receives the
 * extent of the non-zero outputs: width = 1 + last non-zero column, height =
 * 1 + last non-zero row (0 when none). Intra (8x8): the DC is kept (in place)
 * or copied (two buffers); row 0 always counts as non-zero, and column 0
 * counts the dequantised value of the DC, not the kept one. Inter: roiSize
 * each side 4 or 8 (height checked before width: zepStatusBadSize). */
ZEPVC_API ZepStatus zepiQuantInvIntraUniform_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s doubleQuant,
                                                          ZepSize* pDstSizeNZ);
ZEPVC_API ZepStatus zepiQuantInvIntraUniform_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst,
                                                         Zep32s dstStep, Zep32s doubleQuant, ZepSize* pDstSizeNZ);
ZEPVC_API ZepStatus zepiQuantInvIntraNonuniform_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s doubleQuant,
                                                             ZepSize* pDstSizeNZ);
ZEPVC_API ZepStatus zepiQuantInvIntraNonuniform_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst,
                                                            Zep32s dstStep, Zep32s doubleQuant, ZepSize* pDstSizeNZ);
ZEPVC_API ZepStatus zepiQuantInvInterUniform_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s doubleQuant,
                                                          ZepSize roiSize, ZepSize* pDstSizeNZ);
ZEPVC_API ZepStatus zepiQuantInvInterUniform_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst,
                                                         Zep32s dstStep, Zep32s doubleQuant, ZepSize roiSize,
                                                         ZepSize* pDstSizeNZ);
ZEPVC_API ZepStatus zepiQuantInvInterNonuniform_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s doubleQuant,
                                                             ZepSize roiSize, ZepSize* pDstSizeNZ);
ZEPVC_API ZepStatus zepiQuantInvInterNonuniform_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst,
                                                            Zep32s dstStep, Zep32s doubleQuant, ZepSize roiSize,
                                                            ZepSize* pDstSizeNZ);

/* ---- Overlap smoothing ----
 * Filters the samples x0 x1 | x2 x3 across an 8x8 block edge on 16-bit
 * values (each add and subtract saturating, evaluated left to right):
 *   y0 = x0 + ((x3 - x0 + r0) >> 3)       y1 = x1 + ((x2 + x3 - x0 - x1 + r1) >> 3)
 *   y2 = x2 + ((x0 + x1 - x2 - x3 + r0) >> 3)   y3 = x3 + ((x0 - x3 + r1) >> 3)
 * with r1 = 7 - r0, and writes y0..y3 clamped to 0..255 to the picture.
 * Horizontal edges: pSrcUpper addresses the upper block's second-to-last row,
 * pSrcBottom the lower block's first row, pDst the lower block's first picture
 * row (outputs in rows -2..1); r0 = 4 in even columns, 3 in odd ones.
 * Vertical edges: pSrcLeft addresses the left block's second-to-last column,
 * pSrcRight the right block's first, pDst the right block's first picture
 * column (outputs in columns -2..1); r0 = 4 on even picture lines, 3 on odd
 * ones; y0 y1 are also written back to the left source and y2 y3 to the right
 * one (unclamped), for the horizontal pass that follows.
 * Luma: edgeEnableFlags & 3 enables the first 8 columns/rows, & 12 the second.
 * fieldMode (luma vertical): 0 frame, 1 left field-coded, 2 right, 3 both.
 * A source read in field order holds the even picture lines in rows 0-7 and
 * the odd ones in rows 8-15: mode 1 reads the right source so (and the left
 * one line by line), mode 2 the left source, mode 3 both; each picture line
 * gets the frame rounding. In the field modes any non-zero flag filters the
 * whole edge; other fieldMode values do nothing. P2C2R: separate U and V sources, interleaved UV destination
 * (pDst addresses the U byte of the edge pixel); the vertical form writes back
 * into both planes. Null pointers give zepStatusNullPtr; nothing else is checked. */
ZEPVC_API ZepStatus zepiSmoothingLuma_HorEdge_VC1_16s8u_C1R(const Zep16s* pSrcUpper, Zep32s srcUpperStep,
                                                            const Zep16s* pSrcBottom, Zep32s srcBottomStep, Zep8u* pDst,
                                                            Zep32s dstStep, Zep32s edgeEnableFlags);
ZEPVC_API ZepStatus zepiSmoothingLuma_VerEdge_VC1_16s8u_C1R(Zep16s* pSrcLeft, Zep32s srcLeftStep, Zep16s* pSrcRight,
                                                            Zep32s srcRightStep, Zep8u* pDst, Zep32s dstStep,
                                                            Zep32s fieldMode, Zep32s edgeEnableFlags);
ZEPVC_API ZepStatus zepiSmoothingChroma_HorEdge_VC1_16s8u_C1R(const Zep16s* pSrcUpper, Zep32s srcUpperStep,
                                                              const Zep16s* pSrcBottom, Zep32s srcBottomStep, Zep8u* pDst,
                                                              Zep32s dstStep);
ZEPVC_API ZepStatus zepiSmoothingChroma_VerEdge_VC1_16s8u_C1R(Zep16s* pSrcLeft, Zep32s srcLeftStep,
                                                              Zep16s* pSrcRight, Zep32s srcRightStep, Zep8u* pDst,
                                                              Zep32s dstStep);
ZEPVC_API ZepStatus zepiSmoothingChroma_HorEdge_VC1_16s8u_P2C2R(const Zep16s* pSrcUpperU, Zep32s srcUpperStepU,
                                                                const Zep16s* pSrcBottomU, Zep32s srcBottomStepU,
                                                                const Zep16s* pSrcUpperV, Zep32s srcUpperStepV,
                                                                const Zep16s* pSrcBottomV, Zep32s srcBottomStepV,
                                                                Zep8u* pDst, Zep32s dstStep);
ZEPVC_API ZepStatus zepiSmoothingChroma_VerEdge_VC1_16s8u_P2C2R(Zep16s* pSrcLeftU, Zep32s srcLeftStepU,
                                                                Zep16s* pSrcRightU, Zep32s srcRightStepU,
                                                                Zep16s* pSrcLeftV, Zep32s srcLeftStepV,
                                                                Zep16s* pSrcRightV, Zep32s srcRightStepV,
                                                                Zep8u* pDst, Zep32s dstStep);

/* ---- Range mapping ----
 * y = (((x - 128) * (rangeMap + 9) + 4) >> 3) + 128 clamped to 0..255, over
 * roiSize (in place allowed with equal steps). Null pointers: zepStatusNullPtr;
 * rangeMap outside 0..7: zepStatusOutOfRange; an empty roiSize does nothing. */
ZEPVC_API ZepStatus zepiRangeMapping_VC1_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep,
                                                ZepSize roiSize, Zep32s rangeMap);

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_VC1_H */
