/* zepvc block difference, motion compensation and block statistics. Included by zepvc.h.
 *
 * Conventions of the whole family:
 * - Every function checks only its pointers (zepStatusNullPtr, in argument
 *   order, nothing written) and otherwise returns zepStatusOk, except
 *   zepiScanFwd/zepiScanInv (zepStatusOutOfRange). Steps are in bytes and are
 *   not checked.
 * - mcType: 0 integer position, 4 average with the sample below, 8 with the
 *   sample to the right, 12 of the four; only bits 2 and 3 are used. The
 *   half-sample modes read one row and/or one column beyond the block.
 * - acc (Copy*HP, InterpolateAverage*, Add8x8HP): bit 0 = horizontal half
 *   sample, bit 1 = vertical half sample (0 integer, 1 horizontal, 2 vertical,
 *   3 both); only bits 0 and 1 are used.
 * - roundControl: only bit 0 is used. 0 rounds up, (a+b+1)>>1 and
 *   (a+b+c+d+2)>>2; 1 rounds down, (a+b)>>1 and (a+b+c+d+1)>>2. It applies to
 *   every half-sample average, the small 4x and 2x blocks included.
 * - Bidirectional (B) members form the forward and the backward prediction,
 *   each at its own mcType with the same roundControl, and use their rounded
 *   mean (F + B + 1) >> 1.
 * - Compensation reads the reference first, then the residual, then writes the
 *   destination: prediction widened to 16 bits, residual added with 16-bit
 *   saturation, result saturated to 0..255.
 * - Interleaved chroma (UV, P2C2R, C2P2): rows of Cb,Cr,Cb,Cr... samples; the
 *   horizontal half-sample neighbour is the next sample of the same channel
 *   (two bytes on). zepiMC16x4_8u_C1 and zepiMC16x8UV_8u_C1 work on such rows
 *   (8 pairs, 16 bytes a row; 16x4 is the chroma of a 16x8 luma block) and take
 *   an interleaved 16-value residual. */
#ifndef ZEPVC_MC_H
#define ZEPVC_MC_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

/* ---- Motion compensation: pDst = saturate(prediction(pSrcRef, mcType, roundControl) + pSrcYData) ---- */
/* 16x16 block. */
ZEPVC_API ZepStatus zepiMC16x16_8u_C1(const Zep8u* pSrcRef, Zep32s srcStep, const Zep16s* pSrcYData,
                                      Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep, Zep32s mcType,
                                      Zep32s roundControl);
/* 16 wide, 8 high. */
ZEPVC_API ZepStatus zepiMC16x8_8u_C1(const Zep8u* pSrcRef, Zep32s srcStep, const Zep16s* pSrcYData,
                                     Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep, Zep32s mcType,
                                     Zep32s roundControl);
/* 8 wide, 16 high. */
ZEPVC_API ZepStatus zepiMC8x16_8u_C1(const Zep8u* pSrcRef, Zep32s srcStep, const Zep16s* pSrcYData,
                                     Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep, Zep32s mcType,
                                     Zep32s roundControl);
/* 8x8 block. */
ZEPVC_API ZepStatus zepiMC8x8_8u_C1(const Zep8u* pSrcRef, Zep32s srcStep, const Zep16s* pSrcYData,
                                    Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep, Zep32s mcType,
                                    Zep32s roundControl);
/* 8 wide, 4 high. */
ZEPVC_API ZepStatus zepiMC8x4_8u_C1(const Zep8u* pSrcRef, Zep32s srcStep, const Zep16s* pSrcYData,
                                    Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep, Zep32s mcType,
                                    Zep32s roundControl);
/* Interleaved Cb/Cr, 8 pairs wide, 4 high (horizontal neighbour two bytes on). */
ZEPVC_API ZepStatus zepiMC16x4_8u_C1(const Zep8u* pSrcRef, Zep32s srcStep, const Zep16s* pSrcYData,
                                     Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep, Zep32s mcType,
                                     Zep32s roundControl);
/* Interleaved Cb/Cr, 8 pairs wide, 8 high (horizontal neighbour two bytes on). */
ZEPVC_API ZepStatus zepiMC16x8UV_8u_C1(const Zep8u* pSrcRef, Zep32s srcStep, const Zep16s* pSrcYData,
                                       Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep, Zep32s mcType,
                                       Zep32s roundControl);
/* 4 wide, 8 high. */
ZEPVC_API ZepStatus zepiMC4x8_8u_C1(const Zep8u* pSrcRef, Zep32s srcStep, const Zep16s* pSrcYData,
                                    Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep, Zep32s mcType,
                                    Zep32s roundControl);
/* 4x4 block. */
ZEPVC_API ZepStatus zepiMC4x4_8u_C1(const Zep8u* pSrcRef, Zep32s srcStep, const Zep16s* pSrcYData,
                                    Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep, Zep32s mcType,
                                    Zep32s roundControl);
/* 4 wide, 2 high. */
ZEPVC_API ZepStatus zepiMC4x2_8u_C1(const Zep8u* pSrcRef, Zep32s srcStep, const Zep16s* pSrcYData,
                                    Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep, Zep32s mcType,
                                    Zep32s roundControl);
/* 2 wide, 4 high. */
ZEPVC_API ZepStatus zepiMC2x4_8u_C1(const Zep8u* pSrcRef, Zep32s srcStep, const Zep16s* pSrcYData,
                                    Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep, Zep32s mcType,
                                    Zep32s roundControl);
/* 2x2 block. */
ZEPVC_API ZepStatus zepiMC2x2_8u_C1(const Zep8u* pSrcRef, Zep32s srcStep, const Zep16s* pSrcYData,
                                    Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep, Zep32s mcType,
                                    Zep32s roundControl);

/* ---- Bidirectional compensation: pDst = saturate(((F + B + 1) >> 1) + pSrcYData) ---- */
/* 16x16 block. */
ZEPVC_API ZepStatus zepiMC16x16B_8u_C1(const Zep8u* pSrcRefF, Zep32s srcStepF, Zep32s mcTypeF,
                                       const Zep8u* pSrcRefB, Zep32s srcStepB, Zep32s mcTypeB,
                                       const Zep16s* pSrcYData, Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep,
                                       Zep32s roundControl);
/* 16 wide, 8 high. */
ZEPVC_API ZepStatus zepiMC16x8B_8u_C1(const Zep8u* pSrcRefF, Zep32s srcStepF, Zep32s mcTypeF,
                                      const Zep8u* pSrcRefB, Zep32s srcStepB, Zep32s mcTypeB,
                                      const Zep16s* pSrcYData, Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep,
                                      Zep32s roundControl);
/* 8 wide, 16 high. */
ZEPVC_API ZepStatus zepiMC8x16B_8u_C1(const Zep8u* pSrcRefF, Zep32s srcStepF, Zep32s mcTypeF,
                                      const Zep8u* pSrcRefB, Zep32s srcStepB, Zep32s mcTypeB,
                                      const Zep16s* pSrcYData, Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep,
                                      Zep32s roundControl);
/* 8x8 block. */
ZEPVC_API ZepStatus zepiMC8x8B_8u_C1(const Zep8u* pSrcRefF, Zep32s srcStepF, Zep32s mcTypeF,
                                     const Zep8u* pSrcRefB, Zep32s srcStepB, Zep32s mcTypeB,
                                     const Zep16s* pSrcYData, Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep,
                                     Zep32s roundControl);
/* 8 wide, 4 high. */
ZEPVC_API ZepStatus zepiMC8x4B_8u_C1(const Zep8u* pSrcRefF, Zep32s srcStepF, Zep32s mcTypeF,
                                     const Zep8u* pSrcRefB, Zep32s srcStepB, Zep32s mcTypeB,
                                     const Zep16s* pSrcYData, Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep,
                                     Zep32s roundControl);
/* Interleaved Cb/Cr, 8 pairs wide, 4 high. */
ZEPVC_API ZepStatus zepiMC16x4B_8u_C1(const Zep8u* pSrcRefF, Zep32s srcStepF, Zep32s mcTypeF,
                                      const Zep8u* pSrcRefB, Zep32s srcStepB, Zep32s mcTypeB,
                                      const Zep16s* pSrcYData, Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep,
                                      Zep32s roundControl);
/* Interleaved Cb/Cr, 8 pairs wide, 8 high. */
ZEPVC_API ZepStatus zepiMC16x8BUV_8u_C1(const Zep8u* pSrcRefF, Zep32s srcStepF, Zep32s mcTypeF,
                                        const Zep8u* pSrcRefB, Zep32s srcStepB, Zep32s mcTypeB,
                                        const Zep16s* pSrcYData, Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep,
                                        Zep32s roundControl);
/* 4 wide, 8 high. */
ZEPVC_API ZepStatus zepiMC4x8B_8u_C1(const Zep8u* pSrcRefF, Zep32s srcStepF, Zep32s mcTypeF,
                                     const Zep8u* pSrcRefB, Zep32s srcStepB, Zep32s mcTypeB,
                                     const Zep16s* pSrcYData, Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep,
                                     Zep32s roundControl);
/* 4x4 block. */
ZEPVC_API ZepStatus zepiMC4x4B_8u_C1(const Zep8u* pSrcRefF, Zep32s srcStepF, Zep32s mcTypeF,
                                     const Zep8u* pSrcRefB, Zep32s srcStepB, Zep32s mcTypeB,
                                     const Zep16s* pSrcYData, Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep,
                                     Zep32s roundControl);
/* 4 wide, 2 high. */
ZEPVC_API ZepStatus zepiMC4x2B_8u_C1(const Zep8u* pSrcRefF, Zep32s srcStepF, Zep32s mcTypeF,
                                     const Zep8u* pSrcRefB, Zep32s srcStepB, Zep32s mcTypeB,
                                     const Zep16s* pSrcYData, Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep,
                                     Zep32s roundControl);
/* 2 wide, 4 high. */
ZEPVC_API ZepStatus zepiMC2x4B_8u_C1(const Zep8u* pSrcRefF, Zep32s srcStepF, Zep32s mcTypeF,
                                     const Zep8u* pSrcRefB, Zep32s srcStepB, Zep32s mcTypeB,
                                     const Zep16s* pSrcYData, Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep,
                                     Zep32s roundControl);
/* 2x2 block. */
ZEPVC_API ZepStatus zepiMC2x2B_8u_C1(const Zep8u* pSrcRefF, Zep32s srcStepF, Zep32s mcTypeF,
                                     const Zep8u* pSrcRefB, Zep32s srcStepB, Zep32s mcTypeB,
                                     const Zep16s* pSrcYData, Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep,
                                     Zep32s roundControl);

/* ---- Chroma compensation: interleaved Cb/Cr reference and destination (8 pairs a row), planar residuals
 * pSrcU (added to Cb) and pSrcV (added to Cr) sharing srcUVStep ---- */
/* 8x8 per channel. */
ZEPVC_API ZepStatus zepiMC8x8_16s8u_P2C2R(const Zep8u* pSrcRef, Zep32s srcStep, const Zep16s* pSrcU,
                                          const Zep16s* pSrcV, Zep32s srcUVStep, Zep8u* pDst, Zep32s dstStep,
                                          Zep32s mcType, Zep32s roundControl);
/* 8x4 per channel. */
ZEPVC_API ZepStatus zepiMC8x4_16s8u_P2C2R(const Zep8u* pSrcRef, Zep32s srcStep, const Zep16s* pSrcU,
                                          const Zep16s* pSrcV, Zep32s srcUVStep, Zep8u* pDst, Zep32s dstStep,
                                          Zep32s mcType, Zep32s roundControl);
/* 8x8 per channel, bidirectional. */
ZEPVC_API ZepStatus zepiMC8x8B_16s8u_P2C2R(const Zep8u* pSrcRefF, Zep32s srcStepF, Zep32s mcTypeF,
                                           const Zep8u* pSrcRefB, Zep32s srcStepB, Zep32s mcTypeB,
                                           const Zep16s* pSrcU, const Zep16s* pSrcV, Zep32s srcUVStep, Zep8u* pDst,
                                           Zep32s dstStep, Zep32s roundControl);
/* 8x4 per channel, bidirectional. */
ZEPVC_API ZepStatus zepiMC8x4B_16s8u_P2C2R(const Zep8u* pSrcRefF, Zep32s srcStepF, Zep32s mcTypeF,
                                           const Zep8u* pSrcRefB, Zep32s srcStepB, Zep32s mcTypeB,
                                           const Zep16s* pSrcU, const Zep16s* pSrcV, Zep32s srcUVStep, Zep8u* pDst,
                                           Zep32s dstStep, Zep32s roundControl);

/* ---- Copies and averages of predictions ---- */
/* pDst = prediction of pSrc at half-sample position acc (roundControl applies). */
ZEPVC_API ZepStatus zepiCopy16x16HP_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep,
                                           Zep32s acc, Zep32s roundControl);
/* 16x8: prediction copied to pDst. */
ZEPVC_API ZepStatus zepiCopy16x8HP_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep,
                                          Zep32s acc, Zep32s roundControl);
/* 8x8: prediction copied to pDst. */
ZEPVC_API ZepStatus zepiCopy8x8HP_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep, Zep32s acc,
                                         Zep32s roundControl);
/* 8x4: prediction copied to pDst. */
ZEPVC_API ZepStatus zepiCopy8x4HP_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep, Zep32s acc,
                                         Zep32s roundControl);
/* pSrcDst = (pSrcDst + prediction(pSrc, acc, roundControl) + 1) >> 1: the final mean always rounds up. */
ZEPVC_API ZepStatus zepiInterpolateAverage16x16_8u_C1IR(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pSrcDst,
                                                        Zep32s srcDstStep, Zep32s acc, Zep32s roundControl);
/* 16x8: prediction averaged into pSrcDst. */
ZEPVC_API ZepStatus zepiInterpolateAverage16x8_8u_C1IR(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pSrcDst,
                                                       Zep32s srcDstStep, Zep32s acc, Zep32s roundControl);
/* 8x8: prediction averaged into pSrcDst. */
ZEPVC_API ZepStatus zepiInterpolateAverage8x8_8u_C1IR(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pSrcDst,
                                                      Zep32s srcDstStep, Zep32s acc, Zep32s roundControl);
/* 8x4: prediction averaged into pSrcDst. */
ZEPVC_API ZepStatus zepiInterpolateAverage8x4_8u_C1IR(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pSrcDst,
                                                      Zep32s srcDstStep, Zep32s acc, Zep32s roundControl);
/* Plain 16x16 block copy. */
ZEPVC_API ZepStatus zepiCopy16x16_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep);
/* Plain 8x8 block copy. */
ZEPVC_API ZepStatus zepiCopy8x8_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep);
/* pDst = (pSrc1 + pSrc2 + 1) >> 1 over 16x16. */
ZEPVC_API ZepStatus zepiAverage16x16_8u_C1R(const Zep8u* pSrc1, Zep32s src1Step, const Zep8u* pSrc2,
                                            Zep32s src2Step, Zep8u* pDst, Zep32s dstStep);
/* pDst = (pSrc1 + pSrc2 + 1) >> 1 over 8x8. */
ZEPVC_API ZepStatus zepiAverage8x8_8u_C1R(const Zep8u* pSrc1, Zep32s src1Step, const Zep8u* pSrc2, Zep32s src2Step,
                                          Zep8u* pDst, Zep32s dstStep);
/* pSrcDst = (pSrcDst + pSrc + 1) >> 1 over 16x16. */
ZEPVC_API ZepStatus zepiAverage16x16_8u_C1IR(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pSrcDst, Zep32s srcDstStep);
/* pSrcDst = (pSrcDst + pSrc + 1) >> 1 over 8x8. */
ZEPVC_API ZepStatus zepiAverage8x8_8u_C1IR(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pSrcDst, Zep32s srcDstStep);

/* ---- Residual and constant additions ---- */
/* pDst = saturate(prediction(pSrcRef, acc, roundControl) + pSrcDiff) over 8x8. */
ZEPVC_API ZepStatus zepiAdd8x8HP_16s8u_C1RS(const Zep8u* pSrcRef, Zep32s srcRefStep, const Zep16s* pSrcDiff,
                                            Zep32s srcDiffStep, Zep8u* pDst, Zep32s dstStep, Zep32s acc,
                                            Zep32s roundControl);
/* pSrcDst = saturate(pSrcDst + pSrc) over 8x8. */
ZEPVC_API ZepStatus zepiAdd8x8_16s8u_C1IRS(const Zep16s* pSrc, Zep32s srcStep, Zep8u* pSrcDst, Zep32s srcDstStep);
/* pSrcDst = saturate(pSrcDst + value) over 8x8. */
ZEPVC_API ZepStatus zepiAddC8x8_16s8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep, Zep16s value);

/* ---- Differences (encoder residuals) ----
 * GetDiff: pDstDiff = pSrcCur - prediction(pSrcRef, mcType, roundControl) as 16s, and the prediction itself to
 * pDstPredictor, which is optional (null: not stored; all other pointers are required). */
ZEPVC_API ZepStatus zepiGetDiff16x16_8u16s_C1(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRef,
                                              Zep32s srcRefStep, Zep16s* pDstDiff, Zep32s dstDiffStep,
                                              Zep8u* pDstPredictor, Zep32s dstPredictorStep, Zep32s mcType,
                                              Zep32s roundControl);
/* 16x8 block. */
ZEPVC_API ZepStatus zepiGetDiff16x8_8u16s_C1(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRef,
                                             Zep32s srcRefStep, Zep16s* pDstDiff, Zep32s dstDiffStep,
                                             Zep8u* pDstPredictor, Zep32s dstPredictorStep, Zep32s mcType,
                                             Zep32s roundControl);
/* 8x16 block. */
ZEPVC_API ZepStatus zepiGetDiff8x16_8u16s_C1(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRef,
                                             Zep32s srcRefStep, Zep16s* pDstDiff, Zep32s dstDiffStep,
                                             Zep8u* pDstPredictor, Zep32s dstPredictorStep, Zep32s mcType,
                                             Zep32s roundControl);
/* 8x8 block. */
ZEPVC_API ZepStatus zepiGetDiff8x8_8u16s_C1(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRef,
                                            Zep32s srcRefStep, Zep16s* pDstDiff, Zep32s dstDiffStep,
                                            Zep8u* pDstPredictor, Zep32s dstPredictorStep, Zep32s mcType,
                                            Zep32s roundControl);
/* 8x4 block. */
ZEPVC_API ZepStatus zepiGetDiff8x4_8u16s_C1(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRef,
                                            Zep32s srcRefStep, Zep16s* pDstDiff, Zep32s dstDiffStep,
                                            Zep8u* pDstPredictor, Zep32s dstPredictorStep, Zep32s mcType,
                                            Zep32s roundControl);
/* 4x4 block. */
ZEPVC_API ZepStatus zepiGetDiff4x4_8u16s_C1(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRef,
                                            Zep32s srcRefStep, Zep16s* pDstDiff, Zep32s dstDiffStep,
                                            Zep8u* pDstPredictor, Zep32s dstPredictorStep, Zep32s mcType,
                                            Zep32s roundControl);
/* GetDiff...B: pDstDiff = pSrcCur - ((F + B + 1) >> 1). */
ZEPVC_API ZepStatus zepiGetDiff16x16B_8u16s_C1(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRefF,
                                               Zep32s srcRefFStep, Zep32s mcTypeF, const Zep8u* pSrcRefB,
                                               Zep32s srcRefBStep, Zep32s mcTypeB, Zep16s* pDstDiff,
                                               Zep32s dstDiffStep, Zep32s roundControl);
/* 16x8 block, bidirectional. */
ZEPVC_API ZepStatus zepiGetDiff16x8B_8u16s_C1(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRefF,
                                              Zep32s srcRefFStep, Zep32s mcTypeF, const Zep8u* pSrcRefB,
                                              Zep32s srcRefBStep, Zep32s mcTypeB, Zep16s* pDstDiff,
                                              Zep32s dstDiffStep, Zep32s roundControl);
/* 8x16 block, bidirectional. */
ZEPVC_API ZepStatus zepiGetDiff8x16B_8u16s_C1(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRefF,
                                              Zep32s srcRefFStep, Zep32s mcTypeF, const Zep8u* pSrcRefB,
                                              Zep32s srcRefBStep, Zep32s mcTypeB, Zep16s* pDstDiff,
                                              Zep32s dstDiffStep, Zep32s roundControl);
/* 8x8 block, bidirectional. */
ZEPVC_API ZepStatus zepiGetDiff8x8B_8u16s_C1(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRefF,
                                             Zep32s srcRefFStep, Zep32s mcTypeF, const Zep8u* pSrcRefB,
                                             Zep32s srcRefBStep, Zep32s mcTypeB, Zep16s* pDstDiff,
                                             Zep32s dstDiffStep, Zep32s roundControl);
/* 8x4 block, bidirectional. */
ZEPVC_API ZepStatus zepiGetDiff8x4B_8u16s_C1(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRefF,
                                             Zep32s srcRefFStep, Zep32s mcTypeF, const Zep8u* pSrcRefB,
                                             Zep32s srcRefBStep, Zep32s mcTypeB, Zep16s* pDstDiff,
                                             Zep32s dstDiffStep, Zep32s roundControl);
/* C2P2: interleaved Cb/Cr current and reference (8 pairs a row); Cb residual to pDstDiffU, Cr to pDstDiffV. */
ZEPVC_API ZepStatus zepiGetDiff8x8_8u16s_C2P2(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRef,
                                              Zep32s srcRefStep, Zep16s* pDstDiffU, Zep32s dstDiffUStep,
                                              Zep16s* pDstDiffV, Zep32s dstDiffVStep, Zep32s mcType,
                                              Zep32s roundControl);
/* 8x4 per channel. */
ZEPVC_API ZepStatus zepiGetDiff8x4_8u16s_C2P2(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRef,
                                              Zep32s srcRefStep, Zep16s* pDstDiffU, Zep32s dstDiffUStep,
                                              Zep16s* pDstDiffV, Zep32s dstDiffVStep, Zep32s mcType,
                                              Zep32s roundControl);
/* 8x8 per channel, bidirectional. */
ZEPVC_API ZepStatus zepiGetDiff8x8B_8u16s_C2P2(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRefF,
                                               Zep32s srcRefFStep, Zep32s mcTypeF, const Zep8u* pSrcRefB,
                                               Zep32s srcRefBStep, Zep32s mcTypeB, Zep16s* pDstDiffU,
                                               Zep32s dstDiffUStep, Zep16s* pDstDiffV, Zep32s dstDiffVStep,
                                               Zep32s roundControl);
/* 8x4 per channel, bidirectional. */
ZEPVC_API ZepStatus zepiGetDiff8x4B_8u16s_C2P2(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRefF,
                                               Zep32s srcRefFStep, Zep32s mcTypeF, const Zep8u* pSrcRefB,
                                               Zep32s srcRefBStep, Zep32s mcTypeB, Zep16s* pDstDiffU,
                                               Zep32s dstDiffUStep, Zep16s* pDstDiffV, Zep32s dstDiffVStep,
                                               Zep32s roundControl);
/* Sub: pDst = pSrc - pRef at the integer position, saturated to 16s (only 16u input can reach the limits). */
ZEPVC_API ZepStatus zepiSub16x16_8u16s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                           Zep16s* pDst, Zep32s dstStep);
/* 8x8 block of 8u samples. */
ZEPVC_API ZepStatus zepiSub8x8_8u16s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                         Zep16s* pDst, Zep32s dstStep);
/* 4x4 block of 8u samples. */
ZEPVC_API ZepStatus zepiSub4x4_8u16s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                         Zep16s* pDst, Zep32s dstStep);
/* 8x8 block of 16u samples. */
ZEPVC_API ZepStatus zepiSub8x8_16u16s_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pRef, Zep32s refStep,
                                          Zep16s* pDst, Zep32s dstStep);
/* 4x4 block of 16u samples. */
ZEPVC_API ZepStatus zepiSub4x4_16u16s_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pRef, Zep32s refStep,
                                          Zep16s* pDst, Zep32s dstStep);

/* ---- Block statistics ---- */
/* *pVar = Q - ((S * S) >> 8) over 16x16 (S sum, Q sum of squares; 256 times the variance, mean term truncated). */
ZEPVC_API ZepStatus zepiVariance16x16_8u32s(const Zep8u* pSrc, Zep32s srcStep, Zep32s* pVar);
/* 8x8: *pSum = S; *pVar = trunc(Q/64 - (S/64)^2) computed in single-precision float. */
ZEPVC_API ZepStatus zepiVarSum8x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep32s* pVar, Zep32s* pSum);
/* As the 8u form on 16s samples: column sums saturate at 16 bits, squares wrap at 32 bits. */
ZEPVC_API ZepStatus zepiVarSum8x8_16s32s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep32s* pVar, Zep32s* pSum);
/* *pCount = number of the 64 coefficients equal to 0 (checks pCount, then pSrc). */
ZEPVC_API ZepStatus zepiCountZeros8x8_16s_C1(const Zep16s* pSrc, Zep32u* pCount);
/* The VarSum8x8 variance, and *pMean = (S + 32) >> 6 (rounded mean, arithmetic shift). */
ZEPVC_API ZepStatus zepiVarMean8x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep32s* pVar, Zep32s* pMean);
/* The VarSum8x8 (16s) variance, and *pMean = (S + 32) >> 6 with S the saturating-column sum. */
ZEPVC_API ZepStatus zepiVarMean8x8_16s32s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep32s* pVar, Zep32s* pMean);
/* Of d = pSrc - prediction(pRef, mcType, rounded up) per 8x8 sub-block in raster order (4 for 16x16):
 * pVar[k] = VarSum8x8 variance of d, pMean[k] = (sum of d + 32) >> 6. */
ZEPVC_API ZepStatus zepiVarMeanDiff16x16_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef,
                                                   Zep32s refStep, Zep32s* pVar, Zep32s* pMean, Zep32s mcType);
/* As zepiVarMeanDiff16x16_8u32s_C1R for a 16 wide, 8 high block: 2 sub-blocks (left, right). */
ZEPVC_API ZepStatus zepiVarMeanDiff16x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef,
                                                  Zep32s refStep, Zep32s* pVar, Zep32s* pMean, Zep32s mcType);
/* *pDst = sum of |x - m| over 16x16, m = (S + 128) >> 8: 256 times the mean absolute deviation, on the scale
 * of a SAD (intra/inter decision). */
ZEPVC_API ZepStatus zepiMeanAbsDev16x16_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep32s* pDst);
/* *pDst = sum of |x - m| over 8x8, m = (S + 32) >> 6. */
ZEPVC_API ZepStatus zepiMeanAbsDev8x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep32s* pDst);
/* d = pSrc - pPred; pDiff: the 4x4 sub-blocks of d one after another (16 values each, row order inside, blocks
 * in raster order: 256 values, no step); pSums[k] = sum of the 16 values of block k. */
ZEPVC_API ZepStatus zepiSumsDiff16x16Blocks4x4_8u16s_C1(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pPred,
                                                        Zep32s predStep, Zep16s* pSums, Zep16s* pDiff);
/* As above on 8x8: 4 sums, 64 difference values. */
ZEPVC_API ZepStatus zepiSumsDiff8x8Blocks4x4_8u16s_C1(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pPred,
                                                      Zep32s predStep, Zep16s* pSums, Zep16s* pDiff);
/* As above on interleaved Cb/Cr (8 pairs a row, 8 rows): Cb results to pSumsU/pDiffU, Cr to pSumsV/pDiffV. */
ZEPVC_API ZepStatus zepiSumsDiff8x8Blocks4x4_8u16s_C2P2(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pPred,
                                                        Zep32s predStep, Zep16s* pSumsU, Zep16s* pSumsV,
                                                        Zep16s* pDiffU, Zep16s* pDiffV);
/* As the 8u16s form on 16u samples with 32s sums and differences (256 values, block order, no step). */
ZEPVC_API ZepStatus zepiSumsDiff16x16Blocks4x4_16u32s_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pPred,
                                                          Zep32s predStep, Zep32s* pSums, Zep32s* pDiff);
/* As above on 8x8: 4 sums, 64 difference values. */
ZEPVC_API ZepStatus zepiSumsDiff8x8Blocks4x4_16u32s_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pPred,
                                                        Zep32s predStep, Zep32s* pSums, Zep32s* pDiff);
/* Counts the samples of the 16x16 block whose absolute difference to the right or the lower neighbour (inside
 * the block) exceeds edgePelDifference; *pRes = 1 if that count exceeds edgePelCount, else 0. */
ZEPVC_API ZepStatus zepiEdgesDetect16x16_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep32u edgePelDifference,
                                                Zep32u edgePelCount, Zep8u* pRes);
/* As above on 16u samples. */
ZEPVC_API ZepStatus zepiEdgesDetect16x16_16u_C1R(const Zep16u* pSrc, Zep32s srcStep, Zep32u edgePelDifference,
                                                 Zep32u edgePelCount, Zep8u* pRes);
/* pDst[i] = pSrc[order[i]]: raster 8x8 coefficients to scan order. scan: 0 zigzag, 1 alternate vertical,
 * 2 alternate horizontal, else zepStatusOutOfRange. pSrc and pDst must not overlap. */
ZEPVC_API ZepStatus zepiScanFwd_16s_C1(const Zep16s* pSrc, Zep16s* pDst, Zep32s scan);
/* pDst[order[i]] = pSrc[i] for i <= indxLastNonZero, every other pDst value 0: scan order back to raster.
 * Only pSrc[0..indxLastNonZero] is read; pSrc and pDst must not overlap. indxLastNonZero outside -1..63 or a
 * bad scan: zepStatusOutOfRange. */
ZEPVC_API ZepStatus zepiScanInv_16s_C1(const Zep16s* pSrc, Zep16s* pDst, Zep32s indxLastNonZero, Zep32s scan);

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_MC_H */
