// Entry points of the block statistics: pointer checks in argument order
// (CountZeros checks its result pointer first), then one call through the table.
#include "zepvc.h"

#include "block/stats_dsp.h"
#include "block/stats_ref.h"
#include "block/stats_scan.h"
#include "frame/check.h"

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiVariance16x16_8u32s(const Zep8u* pSrc, Zep32s srcStep, Zep32s* pVar) {
    ZEP_CHECK_PTRS(pSrc, pVar);
    stats_dsp().variance16x16(pSrc, srcStep, pVar);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiVarSum8x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep32s* pVar, Zep32s* pSum) {
    ZEP_CHECK_PTRS(pSrc, pVar, pSum);
    stats_dsp().varSum8x8_8u(pSrc, srcStep, pVar, pSum);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiVarSum8x8_16s32s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep32s* pVar, Zep32s* pSum) {
    ZEP_CHECK_PTRS(pSrc, pVar, pSum);
    stats_dsp().varSum8x8_16s(pSrc, srcStep, pVar, pSum);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiCountZeros8x8_16s_C1(const Zep16s* pSrc, Zep32u* pCount) {
    ZEP_CHECK_PTRS(pCount, pSrc);
    stats_dsp().countZeros8x8(pSrc, pCount);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiVarMean8x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep32s* pVar, Zep32s* pMean) {
    ZEP_CHECK_PTRS(pSrc, pVar, pMean);
    Zep32s sum;
    stats_dsp().varSum8x8_8u(pSrc, srcStep, pVar, &sum);
    *pMean = mean64_from_sum(sum);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiVarMean8x8_16s32s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep32s* pVar, Zep32s* pMean) {
    ZEP_CHECK_PTRS(pSrc, pVar, pMean);
    Zep32s sum;
    stats_dsp().varSum8x8_16s(pSrc, srcStep, pVar, &sum);
    *pMean = mean64_from_sum(sum);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiVarMeanDiff16x16_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef,
                                                   Zep32s refStep, Zep32s* pVar, Zep32s* pMean, Zep32s mcType) {
    ZEP_CHECK_PTRS(pSrc, pRef, pVar, pMean);
    stats_dsp().varMeanDiff16x16[hp_index(mcType)](pSrc, srcStep, pRef, refStep, pVar, pMean);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiVarMeanDiff16x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef,
                                                  Zep32s refStep, Zep32s* pVar, Zep32s* pMean, Zep32s mcType) {
    ZEP_CHECK_PTRS(pSrc, pRef, pVar, pMean);
    stats_dsp().varMeanDiff16x8[hp_index(mcType)](pSrc, srcStep, pRef, refStep, pVar, pMean);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiMeanAbsDev16x16_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep32s* pDst) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    stats_dsp().mad16x16(pSrc, srcStep, pDst);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiMeanAbsDev8x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep32s* pDst) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    stats_dsp().mad8x8(pSrc, srcStep, pDst);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiSumsDiff16x16Blocks4x4_8u16s_C1(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pPred,
                                                        Zep32s predStep, Zep16s* pSums, Zep16s* pDiff) {
    ZEP_CHECK_PTRS(pSrc, pPred, pSums, pDiff);
    stats_dsp().sumsDiff16x16(pSrc, srcStep, pPred, predStep, pSums, pDiff);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiSumsDiff8x8Blocks4x4_8u16s_C1(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pPred,
                                                      Zep32s predStep, Zep16s* pSums, Zep16s* pDiff) {
    ZEP_CHECK_PTRS(pSrc, pPred, pSums, pDiff);
    stats_dsp().sumsDiff8x8(pSrc, srcStep, pPred, predStep, pSums, pDiff);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiSumsDiff8x8Blocks4x4_8u16s_C2P2(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pPred,
                                                        Zep32s predStep, Zep16s* pSumsU, Zep16s* pSumsV,
                                                        Zep16s* pDiffU, Zep16s* pDiffV) {
    ZEP_CHECK_PTRS(pSrc, pPred, pSumsU, pSumsV, pDiffU, pDiffV);
    stats_dsp().sumsDiff8x8C2P2(pSrc, srcStep, pPred, predStep, pSumsU, pSumsV, pDiffU, pDiffV);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiSumsDiff16x16Blocks4x4_16u32s_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pPred,
                                                          Zep32s predStep, Zep32s* pSums, Zep32s* pDiff) {
    ZEP_CHECK_PTRS(pSrc, pPred, pSums, pDiff);
    stats_dsp().sumsDiff16x16_16u(pSrc, srcStep, pPred, predStep, pSums, pDiff);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiSumsDiff8x8Blocks4x4_16u32s_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pPred,
                                                        Zep32s predStep, Zep32s* pSums, Zep32s* pDiff) {
    ZEP_CHECK_PTRS(pSrc, pPred, pSums, pDiff);
    stats_dsp().sumsDiff8x8_16u(pSrc, srcStep, pPred, predStep, pSums, pDiff);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiEdgesDetect16x16_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep32u edgePelDifference,
                                                Zep32u edgePelCount, Zep8u* pRes) {
    ZEP_CHECK_PTRS(pSrc, pRes);
    stats_dsp().edges16x16_8u(pSrc, srcStep, edgePelDifference, edgePelCount, pRes);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiEdgesDetect16x16_16u_C1R(const Zep16u* pSrc, Zep32s srcStep, Zep32u edgePelDifference,
                                                 Zep32u edgePelCount, Zep8u* pRes) {
    ZEP_CHECK_PTRS(pSrc, pRes);
    stats_dsp().edges16x16_16u(pSrc, srcStep, edgePelDifference, edgePelCount, pRes);
    return zepStatusOk;
}

// Scans are table lookups: no kernel table, the order table is the kernel.
ZEPVC_API ZepStatus zepiScanFwd_16s_C1(const Zep16s* pSrc, Zep16s* pDst, Zep32s scan) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    if (scan < 0 || scan >= kScanCount) return zepStatusOutOfRange;
    const uint8_t* order = kScan8x8[scan];
    for (int i = 0; i < 64; ++i) pDst[i] = pSrc[order[i]];
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiScanInv_16s_C1(const Zep16s* pSrc, Zep16s* pDst, Zep32s indxLastNonZero, Zep32s scan) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    if (scan < 0 || scan >= kScanCount) return zepStatusOutOfRange;
    if (indxLastNonZero < -1 || indxLastNonZero > 63) return zepStatusOutOfRange;
    const uint8_t* order = kScan8x8[scan];
    // pSrc and pDst may not overlap; only the coded part of pSrc is read.
    for (int i = 0; i < 64; ++i) pDst[i] = 0;
    for (int i = 0; i <= indxLastNonZero; ++i) pDst[order[i]] = pSrc[i];
    return zepStatusOk;
}

}  // extern "C"
