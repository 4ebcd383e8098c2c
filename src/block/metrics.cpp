// Entry points of the block distortion metrics: checks, then one table call.
#include "block/metrics_dsp.h"
#include "block/metrics_entry.h"
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

// The table path of the load-time chosen entries: a CPU below every SIMD level.
template <SadFn MetricsDsp::*Member>
ZepStatus table_fixed(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep, Zep32s* pOut) {
    return metric_fixed(metrics_dsp().*Member, pSrc, srcStep, pRef, refStep, pOut);
}
template <SadFn (MetricsDsp::*Member)[4]>
ZepStatus table_modes(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep, Zep32s* pOut,
                      Zep32s mcType) {
    return metric_modes(metrics_dsp().*Member, pSrc, srcStep, pRef, refStep, pOut, mcType);
}
ZepStatus table_sad4x4(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep, Zep32s* pOut, Zep32s) {
    return metric_fixed(metrics_dsp().sad4x4, pSrc, srcStep, pRef, refStep, pOut);
}

// The entries of the highest level this CPU runs (the same test as the tables' level detection).
ZEP_LOAD_TIME MetricEntries entries_for_cpu() {
    MetricEntries e{};
#if ZEPVC_HAVE_X86
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("ssse3")) return e;
    metric_entries_ssse3(e);
    if (__builtin_cpu_supports("sse4.1") && __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2") &&
        __builtin_cpu_supports("popcnt"))
        metric_entries_avx2(e);
#endif
    return e;
}

}  // namespace

// One resolver per exported name (the loader calls it once), and the name bound to what it returns.
#define ZEP_METRIC_IFUNC_MODES(name, member)                                                                      \
    extern "C" ZEP_LOAD_TIME ModesEntry zep_resolve_##name() {                                                   \
        const ModesEntry f = entries_for_cpu().member;                                                           \
        return f ? f : table_modes<&MetricsDsp::member>;                                                         \
    }                                                                                                            \
    extern "C" ZEPVC_API ZepStatus name(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,    \
                                        Zep32s* pOut, Zep32s mcType) __attribute__((ifunc("zep_resolve_" #name)));
#define ZEP_METRIC_IFUNC_FIXED(name, member)                                                                      \
    extern "C" ZEP_LOAD_TIME FixedEntry zep_resolve_##name() {                                                   \
        const FixedEntry f = entries_for_cpu().member;                                                           \
        return f ? f : table_fixed<&MetricsDsp::member>;                                                         \
    }                                                                                                            \
    extern "C" ZEPVC_API ZepStatus name(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,    \
                                        Zep32s* pOut) __attribute__((ifunc("zep_resolve_" #name)));

extern "C" {

// ---- SAD, 8-bit, with half-sample modes
ZEP_METRIC_IFUNC_MODES(zepiSAD16x16_8u32s, sad16x16)
ZEP_METRIC_IFUNC_MODES(zepiSAD16x8_8u32s_C1R, sad16x8)
ZEP_METRIC_IFUNC_MODES(zepiSAD8x8_8u32s_C1R, sad8x8)

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
extern "C" ZEP_LOAD_TIME ModesEntry zep_resolve_zepiSAD4x4_8u32s() {
    const ModesEntry f = entries_for_cpu().sad4x4;
    return f ? f : table_sad4x4;
}
ZEPVC_API ZepStatus zepiSAD4x4_8u32s(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                     Zep32s* pSAD, Zep32s mcType) __attribute__((ifunc("zep_resolve_zepiSAD4x4_8u32s")));

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
ZEP_METRIC_IFUNC_FIXED(zepiSATD16x16_8u32s_C1R, satd16x16)
ZEP_METRIC_IFUNC_FIXED(zepiSATD16x8_8u32s_C1R, satd16x8)
ZEP_METRIC_IFUNC_FIXED(zepiSATD8x16_8u32s_C1R, satd8x16)
ZEP_METRIC_IFUNC_FIXED(zepiSATD8x8_8u32s_C1R, satd8x8)
ZEP_METRIC_IFUNC_FIXED(zepiSATD8x4_8u32s_C1R, satd8x4)
ZEP_METRIC_IFUNC_FIXED(zepiSATD4x8_8u32s_C1R, satd4x8)
ZEP_METRIC_IFUNC_FIXED(zepiSATD4x4_8u32s_C1R, satd4x4)
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
