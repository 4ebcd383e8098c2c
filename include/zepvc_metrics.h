/* zepvc block distortion metrics (SAD, SATD, SSD) for motion search and mode
 * decision. Included by zepvc.h.
 *
 * mcType selects the reference samples: 0 integer position, 4 average with
 * the sample below, 8 with the sample to the right, 12 of the four samples
 * (rounded up). Only bits 2 and 3 are used; the half-sample modes read one
 * row and/or column beyond the block. */
#ifndef ZEPVC_METRICS_H
#define ZEPVC_METRICS_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

/* ---- SAD, 8-bit samples: pointers checked (pSrc, pRef, pSAD), nothing else. */
/* 16x16, half-sample modes. */
ZEPVC_API ZepStatus zepiSAD16x16_8u32s(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                       Zep32s* pSAD, Zep32s mcType);
/* 16 wide, 8 high, half-sample modes. */
ZEPVC_API ZepStatus zepiSAD16x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                          Zep32s* pSAD, Zep32s mcType);
/* 8x8, half-sample modes. */
ZEPVC_API ZepStatus zepiSAD8x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                         Zep32s* pSAD, Zep32s mcType);
/* 8 wide, 16 high, integer position (mcType ignored). */
ZEPVC_API ZepStatus zepiSAD8x16_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                          Zep32s* pSAD, Zep32s mcType);
/* 8 wide, 4 high, integer position (mcType ignored). */
ZEPVC_API ZepStatus zepiSAD8x4_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                         Zep32s* pSAD, Zep32s mcType);
/* 4 wide, 8 high, integer position (mcType ignored). */
ZEPVC_API ZepStatus zepiSAD4x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                         Zep32s* pSAD, Zep32s mcType);
/* 4x4, integer position (mcType ignored). */
ZEPVC_API ZepStatus zepiSAD4x4_8u32s(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep, Zep32s* pSAD,
                                     Zep32s mcType);

/* ---- SAD, 16-bit samples (steps in bytes). The half-sample modes round as
 * for 8-bit samples: (a+b+1)>>1 and (a+b+c+d+2)>>2, in 32-bit arithmetic. */
/* 16x16, half-sample modes. */
ZEPVC_API ZepStatus zepiSAD16x16_16u32s_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pRef, Zep32s refStep,
                                            Zep32s* pSAD, Zep32s mcType);
/* 8x8, half-sample modes. */
ZEPVC_API ZepStatus zepiSAD8x8_16u32s_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pRef, Zep32s refStep,
                                          Zep32s* pSAD, Zep32s mcType);
/* 4x4, half-sample modes. */
ZEPVC_API ZepStatus zepiSAD4x4_16u32s_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pRef, Zep32s refStep,
                                          Zep32s* pSAD, Zep32s mcType);

/* ---- SAD of two interleaved channels (e.g. Cb/Cr), 8x8 each: channel 0 to
 * pSAD0, channel 1 to pSAD1. The right-hand half-sample neighbour is the next
 * sample of the same channel (two bytes on). Checks pointers, then
 * zepStatusBadStep for srcStep or refStep below 1. */
/* Two 8x8 SADs, half-sample modes. */
ZEPVC_API ZepStatus zepiSAD8x8_8u32s_C2R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                         Zep32s* pSAD0, Zep32s* pSAD1, Zep32s mcType);

/* ---- Sub-block SADs of a 16x16 block at the integer position, in raster
 * order of the sub-blocks (4 or 16 results). The last argument is ignored.
 * 8-bit results saturate at 32767, which 8-bit input never reaches. */
/* Four 8x8 SADs. */
ZEPVC_API ZepStatus zepiSAD16x16Blocks8x8_8u16u(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                                Zep16u* pDstSAD, Zep32s unused);
/* Sixteen 4x4 SADs. */
ZEPVC_API ZepStatus zepiSAD16x16Blocks4x4_8u16u(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                                Zep16u* pDstSAD, Zep32s unused);
/* Four 8x8 SADs of 16-bit samples. */
ZEPVC_API ZepStatus zepiSAD16x16Blocks8x8_16u32u_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pRef,
                                                     Zep32s refStep, Zep32u* pDstSAD, Zep32s unused);
/* Sixteen 4x4 SADs of 16-bit samples. */
ZEPVC_API ZepStatus zepiSAD16x16Blocks4x4_16u32u_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pRef,
                                                     Zep32s refStep, Zep32u* pDstSAD, Zep32s unused);

/* ---- Candidate runs: SADs against pRef + k, k = 0 .. (numCand & ~7) - 1,
 * written to pSAD[k]. Checks pointers, then zepStatusBadSize for numCand below
 * 8. The xNI forms also store through pMin the index k of the smallest SAD
 * (compared as unsigned 16-bit values), the lowest such k on ties; pMin
 * receives the index only, not the SAD. */
/* 16x16 candidate run. */
ZEPVC_API ZepStatus zepiSAD16x16xN_8u16u_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                             Zep16u* pSAD, Zep32s numCand);
/* 8x8 candidate run. */
ZEPVC_API ZepStatus zepiSAD8x8xN_8u16u_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                           Zep16u* pSAD, Zep32s numCand);
/* 4x4 candidate run. */
ZEPVC_API ZepStatus zepiSAD4x4xN_8u16u_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                           Zep16u* pSAD, Zep32s numCand);
/* 2x2 candidate run. */
ZEPVC_API ZepStatus zepiSAD2x2xN_8u16u_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                           Zep16u* pSAD, Zep32s numCand);
/* 16x16 candidate run and the index of its smallest SAD. */
ZEPVC_API ZepStatus zepiSAD16x16xNI_8u16u_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                              Zep16u* pSAD, Zep32s numCand, Zep32s* pMin);
/* 8x8 candidate run and the index of its smallest SAD. */
ZEPVC_API ZepStatus zepiSAD8x8xNI_8u16u_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                            Zep16u* pSAD, Zep32s numCand, Zep32s* pMin);
/* 4x4 candidate run and the index of its smallest SAD. */
ZEPVC_API ZepStatus zepiSAD4x4xNI_8u16u_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                            Zep16u* pSAD, Zep32s numCand, Zep32s* pMin);

/* ---- SATD: sum of the absolute 4x4 Hadamard coefficients of S - R over the
 * 4x4 sub-blocks, unnormalised (a constant difference of 1 on 4x4 gives 16). */
/* SATD of a 16x16 block. */
ZEPVC_API ZepStatus zepiSATD16x16_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                            Zep32s* pSATD);
/* SATD of a 16x8 block. */
ZEPVC_API ZepStatus zepiSATD16x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                           Zep32s* pSATD);
/* SATD of an 8x16 block. */
ZEPVC_API ZepStatus zepiSATD8x16_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                           Zep32s* pSATD);
/* SATD of an 8x8 block. */
ZEPVC_API ZepStatus zepiSATD8x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                          Zep32s* pSATD);
/* SATD of an 8x4 block. */
ZEPVC_API ZepStatus zepiSATD8x4_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                          Zep32s* pSATD);
/* SATD of a 4x8 block. */
ZEPVC_API ZepStatus zepiSATD4x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                          Zep32s* pSATD);
/* SATD of a 4x4 block. */
ZEPVC_API ZepStatus zepiSATD4x4_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                          Zep32s* pSATD);

/* ---- SATD with one 8x8 Hadamard transform (64 coefficients), unnormalised.
 * The 16-bit form works in 32-bit arithmetic, which holds any 16-bit sample
 * difference without saturation. */
/* 8x8 Hadamard SATD of 8-bit samples. */
ZEPVC_API ZepStatus zepiSAT8x8D_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                          Zep32s* pSATD);
/* 8x8 Hadamard SATD of 16-bit samples. */
ZEPVC_API ZepStatus zepiSAT8x8D_16u32s_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pRef, Zep32s refStep,
                                           Zep32s* pSATD);

/* ---- Sums of squared differences against the mode's reference samples. */
/* 8x8 SSD, half-sample modes. */
ZEPVC_API ZepStatus zepiSSD8x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                         Zep32s* pSSD, Zep32s mcType);
/* 4x4 SSD, half-sample modes. */
ZEPVC_API ZepStatus zepiSSD4x4_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                         Zep32s* pSSD, Zep32s mcType);
/* 16x16 SSD (note: mcType before the result); an mcType other than 0, 4, 8
 * or 12 returns zepStatusOk without writing *pSqrDiff. */
ZEPVC_API ZepStatus zepiSqrDiff16x16_8u32s(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                           Zep32s mcType, Zep32s* pSqrDiff);
/* 16x16 SSD against ((F + B + 1) >> 1), F and B the forward and backward
 * half-sample predictions of their modes. */
ZEPVC_API ZepStatus zepiSqrDiff16x16B_8u32s(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRefF, Zep32s refFStep,
                                            Zep32s mcTypeF, const Zep8u* pRefB, Zep32s refBStep, Zep32s mcTypeB,
                                            Zep32s* pSqrDiff);

/* ---- Difference and activity. */
/* Writes the 8x8 difference S - R (dstStep in bytes) and stores its SAD;
 * checks pSrc, pRef, pDst only: a null pSAD skips the SAD. */
ZEPVC_API ZepStatus zepiSubSAD8x8_8u16s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                            Zep16s* pDst, Zep32s dstStep, Zep32s* pSAD);
/* Frame activity (SAD of rows i, i+1, i = 0..14) and field activity (rows i,
 * i+2, i = 0..13) of one 16x16 block. */
ZEPVC_API ZepStatus zepiFrameFieldSAD16x16_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep32s* pFrameSAD,
                                                     Zep32s* pFieldSAD);
/* As above for signed 16-bit samples. */
ZEPVC_API ZepStatus zepiFrameFieldSAD16x16_16s32s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep32s* pFrameSAD,
                                                      Zep32s* pFieldSAD);

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_METRICS_H */
