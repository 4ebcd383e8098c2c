// Entry points of the block distortion metrics: checks, then one table call.
#include "block/metrics_dsp.h"
#include "frame/check.h"
#include "zepvc.h"

using namespace zep;

namespace {

// Shared bodies of the fixed-size metrics (SAD, SSD, SATD): pointer checks,
// then one kernel, picked by half-sample mode where there is one.
[[gnu::always_inline]] inline ZepStatus metric_modes(const SadFn (&t)[4], const Zep8u* pSrc, Zep32s srcStep,
                                                     const Zep8u* pRef, Zep32s refStep, Zep32s* pOut, Zep32s mcType) {
    ZEP_CHECK_PTRS(pSrc, pRef, pOut);
    t[hp_index(mcType)](pSrc, srcStep, pRef, refStep, pOut);
    return zepStatusOk;
}

[[gnu::always_inline]] inline ZepStatus metric_fixed(SadFn f, const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef,
                                                     Zep32s refStep, Zep32s* pOut) {
    ZEP_CHECK_PTRS(pSrc, pRef, pOut);
    f(pSrc, srcStep, pRef, refStep, pOut);
    return zepStatusOk;
}

[[gnu::always_inline]] inline ZepStatus metric_modes_16u(const Sad16uFn (&t)[4], const Zep16u* pSrc, Zep32s srcStep,
                                                         const Zep16u* pRef, Zep32s refStep, Zep32s* pSAD,
                                                         Zep32s mcType) {
    ZEP_CHECK_PTRS(pSrc, pRef, pSAD);
    t[hp_index(mcType)](pSrc, srcStep, pRef, refStep, pSAD);
    return zepStatusOk;
}

[[gnu::always_inline]] inline ZepStatus run(const RunTable<RunFn>& t, const Zep8u* pSrc, Zep32s srcStep,
                                            const Zep8u* pRef, Zep32s refStep, Zep16u* pSAD, Zep32s numCand) {
    ZEP_CHECK_PTRS(pSrc, pRef, pSAD);
    if (numCand < 8) return zepStatusBadSize;
    t.pick(pRef, refStep, pSAD)(pSrc, srcStep, pRef, refStep, pSAD, numCand & ~7);
    return zepStatusOk;
}

[[gnu::always_inline]] inline ZepStatus run_min(const RunTable<RunMinFn>& t, const Zep8u* pSrc, Zep32s srcStep,
                                                const Zep8u* pRef, Zep32s refStep, Zep16u* pSAD, Zep32s numCand,
                                                Zep32s* pMin) {
    ZEP_CHECK_PTRS(pSrc, pRef, pSAD, pMin);
    if (numCand < 8) return zepStatusBadSize;
    t.pick(pRef, refStep, pSAD)(pSrc, srcStep, pRef, refStep, pSAD, numCand & ~7, pMin);
    return zepStatusOk;
}

}  // namespace

extern "C" {

// ---- SAD, 8-bit, with half-sample modes
ZEPVC_API ZepStatus zepiSAD16x16_8u32s(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                       Zep32s* pSAD, Zep32s mcType) {
    return metric_modes(metrics_dsp().sad16x16, pSrc, srcStep, pRef, refStep, pSAD, mcType);
}
ZEPVC_API ZepStatus zepiSAD16x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                          Zep32s* pSAD, Zep32s mcType) {
    return metric_modes(metrics_dsp().sad16x8, pSrc, srcStep, pRef, refStep, pSAD, mcType);
}
ZEPVC_API ZepStatus zepiSAD8x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                         Zep32s* pSAD, Zep32s mcType) {
    return metric_modes(metrics_dsp().sad8x8, pSrc, srcStep, pRef, refStep, pSAD, mcType);
}

// ---- SAD, 8-bit, integer position only (mcType accepted and ignored)
ZEPVC_API ZepStatus zepiSAD8x16_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                          Zep32s* pSAD, Zep32s) {
    return metric_fixed(metrics_dsp().sad8x16, pSrc, srcStep, pRef, refStep, pSAD);
}
ZEPVC_API ZepStatus zepiSAD8x4_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                         Zep32s* pSAD, Zep32s) {
    return metric_fixed(metrics_dsp().sad8x4, pSrc, srcStep, pRef, refStep, pSAD);
}
ZEPVC_API ZepStatus zepiSAD4x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                         Zep32s* pSAD, Zep32s) {
    return metric_fixed(metrics_dsp().sad4x8, pSrc, srcStep, pRef, refStep, pSAD);
}
ZEPVC_API ZepStatus zepiSAD4x4_8u32s(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep, Zep32s* pSAD,
                                     Zep32s) {
    return metric_fixed(metrics_dsp().sad4x4, pSrc, srcStep, pRef, refStep, pSAD);
}

// ---- SAD, 16-bit samples
ZEPVC_API ZepStatus zepiSAD16x16_16u32s_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pRef, Zep32s refStep,
                                            Zep32s* pSAD, Zep32s mcType) {
    return metric_modes_16u(metrics_dsp().sad16x16_16u, pSrc, srcStep, pRef, refStep, pSAD, mcType);
}
ZEPVC_API ZepStatus zepiSAD8x8_16u32s_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pRef, Zep32s refStep,
                                          Zep32s* pSAD, Zep32s mcType) {
    return metric_modes_16u(metrics_dsp().sad8x8_16u, pSrc, srcStep, pRef, refStep, pSAD, mcType);
}
ZEPVC_API ZepStatus zepiSAD4x4_16u32s_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pRef, Zep32s refStep,
                                          Zep32s* pSAD, Zep32s mcType) {
    return metric_modes_16u(metrics_dsp().sad4x4_16u, pSrc, srcStep, pRef, refStep, pSAD, mcType);
}

// ---- SAD, two interleaved channels
ZEPVC_API ZepStatus zepiSAD8x8_8u32s_C2R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                         Zep32s* pSAD0, Zep32s* pSAD1, Zep32s mcType) {
    ZEP_CHECK_PTRS(pSrc, pRef, pSAD0, pSAD1);
    if (srcStep < 1 || refStep < 1) return zepStatusBadStep;
    metrics_dsp().sad8x8_c2[hp_index(mcType)](pSrc, srcStep, pRef, refStep, pSAD0, pSAD1);
    return zepStatusOk;
}

// ---- SADs of the sub-blocks of a 16x16 block
ZEPVC_API ZepStatus zepiSAD16x16Blocks8x8_8u16u(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                                Zep16u* pDstSAD, Zep32s) {
    ZEP_CHECK_PTRS(pSrc, pRef, pDstSAD);
    metrics_dsp().blocks8x8_8u(pSrc, srcStep, pRef, refStep, pDstSAD);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiSAD16x16Blocks4x4_8u16u(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                                Zep16u* pDstSAD, Zep32s) {
    ZEP_CHECK_PTRS(pSrc, pRef, pDstSAD);
    metrics_dsp().blocks4x4_8u(pSrc, srcStep, pRef, refStep, pDstSAD);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiSAD16x16Blocks8x8_16u32u_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pRef,
                                                     Zep32s refStep, Zep32u* pDstSAD, Zep32s) {
    ZEP_CHECK_PTRS(pSrc, pRef, pDstSAD);
    metrics_dsp().blocks8x8_16u(pSrc, srcStep, pRef, refStep, pDstSAD);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiSAD16x16Blocks4x4_16u32u_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pRef,
                                                     Zep32s refStep, Zep32u* pDstSAD, Zep32s) {
    ZEP_CHECK_PTRS(pSrc, pRef, pDstSAD);
    metrics_dsp().blocks4x4_16u(pSrc, srcStep, pRef, refStep, pDstSAD);
    return zepStatusOk;
}

// ---- Candidate runs
ZEPVC_API ZepStatus zepiSAD16x16xN_8u16u_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                             Zep16u* pSAD, Zep32s numCand) {
    return run(metrics_dsp().run16x16, pSrc, srcStep, pRef, refStep, pSAD, numCand);
}
ZEPVC_API ZepStatus zepiSAD8x8xN_8u16u_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                           Zep16u* pSAD, Zep32s numCand) {
    return run(metrics_dsp().run8x8, pSrc, srcStep, pRef, refStep, pSAD, numCand);
}
ZEPVC_API ZepStatus zepiSAD4x4xN_8u16u_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                           Zep16u* pSAD, Zep32s numCand) {
    return run(metrics_dsp().run4x4, pSrc, srcStep, pRef, refStep, pSAD, numCand);
}
ZEPVC_API ZepStatus zepiSAD2x2xN_8u16u_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                           Zep16u* pSAD, Zep32s numCand) {
    return run(metrics_dsp().run2x2, pSrc, srcStep, pRef, refStep, pSAD, numCand);
}
ZEPVC_API ZepStatus zepiSAD16x16xNI_8u16u_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                              Zep16u* pSAD, Zep32s numCand, Zep32s* pMin) {
    return run_min(metrics_dsp().runmin16x16, pSrc, srcStep, pRef, refStep, pSAD, numCand, pMin);
}
ZEPVC_API ZepStatus zepiSAD8x8xNI_8u16u_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                            Zep16u* pSAD, Zep32s numCand, Zep32s* pMin) {
    return run_min(metrics_dsp().runmin8x8, pSrc, srcStep, pRef, refStep, pSAD, numCand, pMin);
}
ZEPVC_API ZepStatus zepiSAD4x4xNI_8u16u_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                            Zep16u* pSAD, Zep32s numCand, Zep32s* pMin) {
    return run_min(metrics_dsp().runmin4x4, pSrc, srcStep, pRef, refStep, pSAD, numCand, pMin);
}

// ---- SATD
ZEPVC_API ZepStatus zepiSATD16x16_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                            Zep32s* pSATD) {
    return metric_fixed(metrics_dsp().satd16x16, pSrc, srcStep, pRef, refStep, pSATD);
}
ZEPVC_API ZepStatus zepiSATD16x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                           Zep32s* pSATD) {
    return metric_fixed(metrics_dsp().satd16x8, pSrc, srcStep, pRef, refStep, pSATD);
}
ZEPVC_API ZepStatus zepiSATD8x16_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                           Zep32s* pSATD) {
    return metric_fixed(metrics_dsp().satd8x16, pSrc, srcStep, pRef, refStep, pSATD);
}
ZEPVC_API ZepStatus zepiSATD8x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                          Zep32s* pSATD) {
    return metric_fixed(metrics_dsp().satd8x8, pSrc, srcStep, pRef, refStep, pSATD);
}
ZEPVC_API ZepStatus zepiSATD8x4_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                          Zep32s* pSATD) {
    return metric_fixed(metrics_dsp().satd8x4, pSrc, srcStep, pRef, refStep, pSATD);
}
ZEPVC_API ZepStatus zepiSATD4x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                          Zep32s* pSATD) {
    return metric_fixed(metrics_dsp().satd4x8, pSrc, srcStep, pRef, refStep, pSATD);
}
ZEPVC_API ZepStatus zepiSATD4x4_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                          Zep32s* pSATD) {
    return metric_fixed(metrics_dsp().satd4x4, pSrc, srcStep, pRef, refStep, pSATD);
}
ZEPVC_API ZepStatus zepiSAT8x8D_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                          Zep32s* pSATD) {
    return metric_fixed(metrics_dsp().sat8x8d, pSrc, srcStep, pRef, refStep, pSATD);
}

ZEPVC_API ZepStatus zepiSAT8x8D_16u32s_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pRef, Zep32s refStep,
                                           Zep32s* pSATD) {
    ZEP_CHECK_PTRS(pSrc, pRef, pSATD);
    metrics_dsp().sat8x8d_16u(pSrc, srcStep, pRef, refStep, pSATD);
    return zepStatusOk;
}

// ---- Squared differences
ZEPVC_API ZepStatus zepiSSD8x8_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                         Zep32s* pSSD, Zep32s mcType) {
    return metric_modes(metrics_dsp().ssd8x8, pSrc, srcStep, pRef, refStep, pSSD, mcType);
}
ZEPVC_API ZepStatus zepiSSD4x4_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                         Zep32s* pSSD, Zep32s mcType) {
    return metric_modes(metrics_dsp().ssd4x4, pSrc, srcStep, pRef, refStep, pSSD, mcType);
}
ZEPVC_API ZepStatus zepiSqrDiff16x16_8u32s(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                           Zep32s mcType, Zep32s* pSqrDiff) {
    ZEP_CHECK_PTRS(pSrc, pRef, pSqrDiff);
    // Any other code is a no-op that still succeeds.
    if ((mcType & ~12) != 0) return zepStatusOk;
    metrics_dsp().sqrdiff16x16[hp_index(mcType)](pSrc, srcStep, pRef, refStep, pSqrDiff);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiSqrDiff16x16B_8u32s(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRefF, Zep32s refFStep,
                                            Zep32s mcTypeF, const Zep8u* pRefB, Zep32s refBStep, Zep32s mcTypeB,
                                            Zep32s* pSqrDiff) {
    ZEP_CHECK_PTRS(pSrc, pRefF, pRefB, pSqrDiff);
    metrics_dsp().sqrdiff16x16b[hp_index(mcTypeF)][hp_index(mcTypeB)](pSrc, srcStep, pRefF, refFStep, pRefB, refBStep,
                                                                      pSqrDiff);
    return zepStatusOk;
}

// ---- Difference with SAD
ZEPVC_API ZepStatus zepiSubSAD8x8_8u16s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                            Zep16s* pDst, Zep32s dstStep, Zep32s* pSAD) {
    ZEP_CHECK_PTRS(pSrc, pRef, pDst);
    // pSAD is not among the checked pointers: a null one means "difference only".
    Zep32s unused;
    metrics_dsp().subsad8x8(pSrc, srcStep, pRef, refStep, pDst, dstStep, pSAD ? pSAD : &unused);
    return zepStatusOk;
}

// ---- Frame and field activity
ZEPVC_API ZepStatus zepiFrameFieldSAD16x16_8u32s_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep32s* pFrameSAD,
                                                     Zep32s* pFieldSAD) {
    ZEP_CHECK_PTRS(pSrc, pFrameSAD, pFieldSAD);
    metrics_dsp().framefield_8u(pSrc, srcStep, pFrameSAD, pFieldSAD);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiFrameFieldSAD16x16_16s32s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep32s* pFrameSAD,
                                                      Zep32s* pFieldSAD) {
    ZEP_CHECK_PTRS(pSrc, pFrameSAD, pFieldSAD);
    metrics_dsp().framefield_16s(pSrc, srcStep, pFrameSAD, pFieldSAD);
    return zepStatusOk;
}

}  // extern "C"
