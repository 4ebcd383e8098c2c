/* zepvc H.264 interpolation, deblocking and weighted prediction. Included by zepvc.h.
 *
 * Interpolation: pSrc points at the integer sample of the block's top-left
 * corner; dx, dy are the quarter-sample fractions (0..3). The source must be
 * readable from 2 samples left of / above the block to 3 right of / below it.
 *
 * Chroma interpolation: pSrc points at the integer sample of the block's
 * top-left corner; dx, dy are the eighth-sample fractions (0..7). The source
 * must be readable one sample right of and below the block, whatever the
 * fractions. Blocks are 2, 4 or 8 wide and 2, 4, 8 or 16 high (every chroma
 * partition of 4:2:0 and 4:2:2; 2x16 and 8x2 are accepted too). Checks:
 * pointers, then steps (16-bit only), sizes, fractions.
 *
 * Deblocking: one call filters the four luma edges of one direction of a
 * 16x16 macroblock in place (x or y = 0, 4, 8, 12). pBs holds 16 boundary
 * strengths, entry 4 * edge + segment; pThresholds the matching tC0 values;
 * pAlpha[0] and pBeta[0] apply to edge 0, [1] to edges 1..3. A bS above 4
 * leaves its segment unfiltered (only 0..4 are meaningful).
 *
 * Chroma deblocking: one call filters the chroma edges of one direction of
 * one chroma plane of a macroblock in place: x = 0, 4 (vertical) or y = 0, 4
 * (horizontal) of an 8x8 block for 4:2:0; x = 0, 4 or y = 0, 4, 8, 12 of an
 * 8-wide, 16-high block for 4:2:2. Arguments mirror the luma functions, so a
 * decoder passes the very bS array it gave the luma call: pBs in the luma
 * layout (entry 4 * lumaEdge + segment), pThresholds the chroma tC0 values laid
 * out the same way, pAlpha[0] / pBeta[0] for chroma edge 0 and [1] for the
 * inner ones. Chroma edge k takes luma edge 2k, except the horizontal 4:2:2
 * edges, which take luma edges 0..3 (y = 4k). A line takes the segment of the
 * luma line it lies on: line i of a 4:2:0 edge or of a horizontal 4:2:2 edge
 * segment i / 2, line i of a vertical 4:2:2 edge segment i / 4. bS 1..3 use
 * the normal filter with tC = tC0 + 1, bS 4 the strong chroma filter; only p0
 * and q0 change. Samples two lines before the edge are read.
 *
 * MBAFF left edges (8-bit): the vertical edge x = 0 of 8 luma lines or 4
 * chroma (4:2:0) lines, the rows srcDstStep apart; a decoder filters a
 * field/frame mixed left edge by calls on the lines that share one left
 * neighbour (for example every other row, with twice the picture step).
 * pAlpha[0], pBeta[0] apply; pBs[k] and pThresholds[k] (k = 0..3) cover luma
 * lines 2k and 2k + 1, or chroma line k.
 *
 * Weighted prediction (8-bit): results are clamped to 0..255. Weights enter
 * the products as signed 16-bit values (the standard's weights need 9 bits);
 * logWD values outside 0..30 are clamped into that range. Offsets are used
 * at full 32-bit range. */
#ifndef ZEPVC_H264INTER_H
#define ZEPVC_H264INTER_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

/* Parameters of the high-bit-depth luma interpolation. Steps count samples.
 * Samples must lie within bitDepth; bitDepth above 16 acts as 16. */
typedef struct ZepInterpolationParams16u {
    const Zep16u* pSrc; /* integer sample at the block's top-left corner */
    Zep32s srcStep;     /* in samples */
    Zep16u* pDst;
    Zep32s dstStep; /* in samples */
    Zep32s dx;      /* 0..3 */
    Zep32s dy;      /* 0..3 */
    Zep32s width;   /* 4, 8 or 16 */
    Zep32s height;  /* 4, 8 or 16; not 4x16 or 16x4 */
    Zep32s bitDepth;
} ZepInterpolationParams16u;

/* Parameters of the high-bit-depth luma deblocking. The step counts samples.
 * bitDepth below 0 acts as 0, above 16 as 16. */
typedef struct ZepDeblockParams16u {
    Zep16u* pSrcDst; /* macroblock's top-left sample */
    Zep32s srcDstStep; /* in samples */
    const Zep16u* pAlpha;      /* 2 values: edge 0, edges 1..3 */
    const Zep16u* pBeta;       /* 2 values: edge 0, edges 1..3 */
    const Zep16u* pThresholds; /* 16 tC0 values, laid out as pBs */
    const Zep8u* pBs;          /* 16 boundary strengths */
    Zep32s bitDepth;
} ZepDeblockParams16u;

/* Geometry of the high-bit-depth weighted prediction. Steps count samples.
 * Results are clamped to 0..(1 << bitDepth) - 1; samples may use all 16 bits. */
typedef struct ZepBidirParams16u {
    const Zep16u* pSrc1; /* first prediction (the only one of the one-directional form) */
    Zep32s src1Step;
    const Zep16u* pSrc2; /* second prediction */
    Zep32s src2Step;
    Zep16u* pDst; /* may be either source */
    Zep32s dstStep;
    Zep32s width;    /* 2, 4, 8 or 16 */
    Zep32s height;   /* 2, 4, 8 or 16 */
    Zep32s bitDepth; /* 1..16 */
} ZepBidirParams16u;

/* ---- Luma interpolation ---- */
/* Quarter-sample luma block. Width 0 or 4 writes 4 columns, 8 or 12 writes 8,
 * 16..28 writes 16 (widths 12, 20, 24 and 28 are accepted but produce the
 * narrower block); height a multiple of 4. Fractions are checked before sizes. */
ZEPVC_API ZepStatus zepiInterpolateLuma_H264_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep,
                                                    Zep32s dx, Zep32s dy, ZepSize roiSize);
/* Quarter-sample luma block of 16-bit samples clamped to the record's bit depth. */
ZEPVC_API ZepStatus zepiInterpolateLuma_H264_16u_C1R(const ZepInterpolationParams16u* pParams);

/* ---- Chroma interpolation ---- */
/* Eighth-sample chroma block, one plane: ((8-dx)(8-dy)A + dx(8-dy)B + (8-dx)dyC + dx dy D + 32) >> 6. */
ZEPVC_API ZepStatus zepiInterpolateChroma_H264_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep,
                                                      Zep32s dx, Zep32s dy, ZepSize roiSize);
/* The same for 16-bit samples; dx, dy in eighths, width and height as above,
 * steps of at least the width. bitDepth is not used (a blend never leaves
 * the range of its inputs), so any 16-bit samples work. */
ZEPVC_API ZepStatus zepiInterpolateChroma_H264_16u_C1R(const ZepInterpolationParams16u* pParams);

/* ---- Luma deblocking ---- */
/* The four vertical luma edges of a macroblock, 8-bit samples, step in bytes. */
ZEPVC_API ZepStatus zepiFilterDeblockingLuma_VerEdge_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep,
                                                                  const Zep8u* pAlpha, const Zep8u* pBeta,
                                                                  const Zep8u* pThresholds, const Zep8u* pBs);
/* The four horizontal luma edges of a macroblock, 8-bit samples, step in bytes. */
ZEPVC_API ZepStatus zepiFilterDeblockingLuma_HorEdge_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep,
                                                                  const Zep8u* pAlpha, const Zep8u* pBeta,
                                                                  const Zep8u* pThresholds, const Zep8u* pBs);
/* The four vertical luma edges of a macroblock, 16-bit samples. */
ZEPVC_API ZepStatus zepiFilterDeblockingLumaVerEdge_H264_16u_C1IR(const ZepDeblockParams16u* pDeblockInfo);
/* The four horizontal luma edges of a macroblock, 16-bit samples. */
ZEPVC_API ZepStatus zepiFilterDeblockingLumaHorEdge_H264_16u_C1IR(const ZepDeblockParams16u* pDeblockInfo);

/* ---- Chroma deblocking ---- */
/* The two vertical chroma edges of a 4:2:0 macroblock, 8-bit samples. */
ZEPVC_API ZepStatus zepiFilterDeblockingChroma_VerEdge_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep,
                                                                    const Zep8u* pAlpha, const Zep8u* pBeta,
                                                                    const Zep8u* pThresholds, const Zep8u* pBs);
/* The two horizontal chroma edges of a 4:2:0 macroblock, 8-bit samples. */
ZEPVC_API ZepStatus zepiFilterDeblockingChroma_HorEdge_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep,
                                                                    const Zep8u* pAlpha, const Zep8u* pBeta,
                                                                    const Zep8u* pThresholds, const Zep8u* pBs);
/* The two vertical chroma edges (16 lines each) of a 4:2:2 macroblock, 8-bit samples. */
ZEPVC_API ZepStatus zepiFilterDeblockingChroma422VerEdge_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep,
                                                                      const Zep8u* pAlpha, const Zep8u* pBeta,
                                                                      const Zep8u* pThresholds, const Zep8u* pBs);
/* The four horizontal chroma edges of a 4:2:2 macroblock, 8-bit samples. */
ZEPVC_API ZepStatus zepiFilterDeblockingChroma422HorEdge_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep,
                                                                      const Zep8u* pAlpha, const Zep8u* pBeta,
                                                                      const Zep8u* pThresholds, const Zep8u* pBs);
/* The vertical chroma edges of a 4:2:0 macroblock, 16-bit samples (record as for luma). */
ZEPVC_API ZepStatus zepiFilterDeblockingChromaVerEdge_H264_16u_C1IR(const ZepDeblockParams16u* pDeblockInfo);
/* The horizontal chroma edges of a 4:2:0 macroblock, 16-bit samples. */
ZEPVC_API ZepStatus zepiFilterDeblockingChromaHorEdge_H264_16u_C1IR(const ZepDeblockParams16u* pDeblockInfo);
/* The vertical chroma edges of a 4:2:2 macroblock, 16-bit samples. */
ZEPVC_API ZepStatus zepiFilterDeblockingChroma422VerEdge_H264_16u_C1IR(const ZepDeblockParams16u* pDeblockInfo);
/* The horizontal chroma edges of a 4:2:2 macroblock, 16-bit samples. */
ZEPVC_API ZepStatus zepiFilterDeblockingChroma422HorEdge_H264_16u_C1IR(const ZepDeblockParams16u* pDeblockInfo);

/* ---- MBAFF left edges ---- */
/* Left edge of 8 luma lines (see above), 8-bit samples. */
ZEPVC_API ZepStatus zepiFilterDeblockingLumaVerEdgeMBAFF_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep,
                                                                      const Zep8u* pAlpha, const Zep8u* pBeta,
                                                                      const Zep8u* pThresholds, const Zep8u* pBs);
/* Left edge of 4 chroma lines of a 4:2:0 macroblock, 8-bit samples. */
ZEPVC_API ZepStatus zepiFilterDeblockingChromaVerEdgeMBAFF_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep,
                                                                        const Zep8u* pAlpha, const Zep8u* pBeta,
                                                                        const Zep8u* pThresholds, const Zep8u* pBs);
/* Not supported: returns zepStatusNotSupported always, without looking at its arguments. */
ZEPVC_API ZepStatus zepiFilterDeblockingChroma422VerEdgeMBAFF_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep,
                                                                           const Zep8u* pAlpha, const Zep8u* pBeta,
                                                                           const Zep8u* pThresholds, const Zep8u* pBs);

/* ---- Weighted prediction ---- */
/* In place: ((x * weight + round) >> logWD) + offset; sizes 2, 4, 8 or 16. */
ZEPVC_API ZepStatus zepiUniDirWeightBlock_H264_8u_C1R(Zep8u* pSrcDst, Zep32s srcDstStep, Zep32s logWD, Zep32s weight,
                                                      Zep32s offset, Zep32s width, Zep32s height);
/* Same as zepiUniDirWeightBlock_H264_8u_C1R. */
ZEPVC_API ZepStatus zepiUniDirWeightBlock_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep, Zep32s logWD,
                                                       Zep32s weight, Zep32s offset, Zep32s width, Zep32s height);
/* Explicit bi-directional weighting of two blocks sharing one step. */
ZEPVC_API ZepStatus zepiBiDirWeightBlock_H264_8u_P2P1R(const Zep8u* pSrc1, const Zep8u* pSrc2, Zep8u* pDst,
                                                       Zep32s srcStep, Zep32s dstStep, Zep32s logWD, Zep32s w1,
                                                       Zep32s o1, Zep32s w2, Zep32s o2, Zep32s width, Zep32s height);
/* Explicit bi-directional weighting of two blocks with their own steps. */
ZEPVC_API ZepStatus zepiBiDirWeightBlock_H264_8u_P3P1R(const Zep8u* pSrc1, const Zep8u* pSrc2, Zep8u* pDst,
                                                       Zep32s src1Step, Zep32s src2Step, Zep32s dstStep, Zep32s logWD,
                                                       Zep32s w1, Zep32s o1, Zep32s w2, Zep32s o2, Zep32s width,
                                                       Zep32s height);
/* Implicit bi-directional weighting: (a * w1 + b * w2 + 32) >> 6. */
ZEPVC_API ZepStatus zepiBiDirWeightBlockImplicit_H264_8u_P2P1R(const Zep8u* pSrc1, const Zep8u* pSrc2, Zep8u* pDst,
                                                               Zep32s srcStep, Zep32s dstStep, Zep32s w1, Zep32s w2,
                                                               Zep32s width, Zep32s height);
/* Implicit bi-directional weighting of any block size (only pointers are checked;
 * a width or height below 1 writes nothing). */
ZEPVC_API ZepStatus zepiBiDirWeightBlockImplicit_H264_8u_P3P1R(const Zep8u* pSrc1, const Zep8u* pSrc2, Zep8u* pDst,
                                                               Zep32s src1Step, Zep32s src2Step, Zep32s dstStep,
                                                               Zep32s w1, Zep32s w2, Zep32s width, Zep32s height);
/* ((a * w1 + b * w2 + round) >> logWD) + offset, written over the second block. */
ZEPVC_API ZepStatus zepiWeightedAverage_H264_8u_C1IR(const Zep8u* pSrc1, Zep8u* pSrcDst, Zep32s srcDstStep,
                                                     Zep32s w1, Zep32s w2, Zep32s logWD, Zep32s offset,
                                                     Zep32s width, Zep32s height);

/* High bit depth. Offsets are in units of the bit depth (the slice header's offset times
 * 1 << (bitDepth - 8)). Checks: the record, its pointers, steps below the width, height then
 * width, bitDepth outside 1..16 (zepStatusBadArg), then logWD outside 0..7, weights outside
 * -128..128 or offsets outside -65535..65535 (zepStatusOutOfRange). */
/* Default bi-prediction: (a + b + 1) >> 1. */
ZEPVC_API ZepStatus zepiBidir_H264_16u_P2P1R(const ZepBidirParams16u* pParams);
/* Explicit: ((a * w1 + b * w2 + (1 << logWD)) >> (logWD + 1)) + ((o1 + o2 + 1) >> 1). */
ZEPVC_API ZepStatus zepiBidirWeight_H264_16u_P2P1R(const ZepBidirParams16u* pParams, Zep32s logWD, Zep32s w1,
                                                   Zep32s o1, Zep32s w2, Zep32s o2);
/* Implicit: (a * w1 + b * w2 + 32) >> 6. */
ZEPVC_API ZepStatus zepiBidirWeightImplicit_H264_16u_P2P1R(const ZepBidirParams16u* pParams, Zep32s w1, Zep32s w2);
/* One-directional from pSrc1 to pDst (in place when they are the same; pSrc2 is not used and may
 * be null): ((a * weight + round) >> logWD) + offset, round = 1 << (logWD - 1) or 0 for logWD 0. */
ZEPVC_API ZepStatus zepiUnidirWeight_H264_16u_IP2P1R(const ZepBidirParams16u* pParams, Zep32s logWD, Zep32s weight,
                                                     Zep32s offset);

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_H264INTER_H */
