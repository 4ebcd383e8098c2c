// Whole entry points of the most called metrics, per ISA level: the argument
// checks and the kernel compiled together in the level's own file, and one
// of them bound to each exported name when the library is loaded (GNU ifunc),
// so that a call costs what the kernel costs. The kernel tables stay the seam
// for tests and benchmarks (and the entry of a CPU below every SIMD level).
#pragma once

#include "block/metrics_dsp.h"
#include "frame/check.h"

namespace zep {

using ModesEntry = ZepStatus (*)(const Zep8u*, Zep32s, const Zep8u*, Zep32s, Zep32s*, Zep32s);
using FixedEntry = ZepStatus (*)(const Zep8u*, Zep32s, const Zep8u*, Zep32s, Zep32s*);

template <SadFn K>
ZepStatus fixed_entry(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep, Zep32s* pOut) {
    ZEP_CHECK_PTRS(pSrc, pRef, pOut);
    K(pSrc, srcStep, pRef, refStep, pOut);
    return zepStatusOk;
}

// A metric whose mode argument is not used.
template <SadFn K>
ZepStatus ignored_mode_entry(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep, Zep32s* pOut,
                             Zep32s) {
    ZEP_CHECK_PTRS(pSrc, pRef, pOut);
    K(pSrc, srcStep, pRef, refStep, pOut);
    return zepStatusOk;
}

// The four half-sample modes of a metric, picked as hp_index does.
template <SadFn K0, SadFn K1, SadFn K2, SadFn K3>
ZepStatus modes_entry(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep, Zep32s* pOut,
                      Zep32s mcType) {
    ZEP_CHECK_PTRS(pSrc, pRef, pOut);
    switch (hp_index(mcType)) {
        case 0: K0(pSrc, srcStep, pRef, refStep, pOut); break;
        case 1: K1(pSrc, srcStep, pRef, refStep, pOut); break;
        case 2: K2(pSrc, srcStep, pRef, refStep, pOut); break;
        default: K3(pSrc, srcStep, pRef, refStep, pOut); break;
    }
    return zepStatusOk;
}

// The entries a level provides; those it leaves null fall to the level below.
struct MetricEntries {
    ModesEntry sad16x16, sad16x8, sad8x8, sad4x4;
    FixedEntry satd16x16, satd16x8, satd8x16, satd8x8, satd8x4, satd4x8, satd4x4;
};

// Load-time code runs while the library is still being relocated: before any
// sanitizer runtime is ready, so it must not be instrumented.
#if defined(__clang__)
#define ZEP_LOAD_TIME __attribute__((no_sanitize("address", "undefined", "coverage")))
#else
#define ZEP_LOAD_TIME __attribute__((no_sanitize("address", "undefined")))
#endif

#if ZEPVC_HAVE_X86
ZEP_LOAD_TIME void metric_entries_ssse3(MetricEntries& e);
ZEP_LOAD_TIME void metric_entries_avx2(MetricEntries& e);
#endif

}  // namespace zep
