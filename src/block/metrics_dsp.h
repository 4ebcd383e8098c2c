// Kernel table of the block distortion metrics.
#pragma once

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// SAD of a fixed-size block against the reference at one half-sample mode.
using SadFn = void (*)(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep, Zep32s* pSAD);

struct MetricsDsp {
    // Indexed by hp_index(mcType): integer, vertical half, horizontal half, both.
    SadFn sad16x16[4];
};

// Fills the table for one ISA level: references first, then each SIMD level up
// to `level` overrides what it implements.
void metrics_init(MetricsDsp& t, Isa level);

// The table the entry points use.
const MetricsDsp& metrics_dsp();

#if ZEPVC_HAVE_X86
void metrics_install_ssse3(MetricsDsp& t);
void metrics_install_avx2(MetricsDsp& t);
#endif

}  // namespace zep
