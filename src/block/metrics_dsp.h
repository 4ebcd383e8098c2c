// Kernel table of the block distortion metrics.
#pragma once

#include <cstdint>

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// One fixed-size metric (SAD, SSD, SATD) of an 8-bit block against its reference.
using SadFn = void (*)(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep, Zep32s* pOut);
using Sad16uFn = void (*)(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pRef, Zep32s refStep, Zep32s* pOut);
using SadC2Fn = void (*)(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep, Zep32s* pSAD0,
                         Zep32s* pSAD1);
using Blocks8uFn = void (*)(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep, Zep16u* pDst);
using Blocks16uFn = void (*)(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pRef, Zep32s refStep, Zep32u* pDst);
// Candidate run of `count` (a positive multiple of 8) positions pRef + k.
using RunFn = void (*)(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep, Zep16u* pSAD,
                       Zep32s count);
using RunMinFn = void (*)(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep, Zep16u* pSAD,
                          Zep32s count, Zep32s* pMin);
using SqrDiffBFn = void (*)(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRefF, Zep32s refFStep, const Zep8u* pRefB,
                            Zep32s refBStep, Zep32s* pOut);
using SubSadFn = void (*)(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep, Zep16s* pDst,
                          Zep32s dstStep, Zep32s* pSAD);
using FrameField8uFn = void (*)(const Zep8u* pSrc, Zep32s srcStep, Zep32s* pFrame, Zep32s* pField);
using FrameField16sFn = void (*)(const Zep16s* pSrc, Zep32s srcStep, Zep32s* pFrame, Zep32s* pField);

// Candidate runs: one entry per misalignment of pRef (its low four bits), used
// when refStep and pSAD are multiples of 16 so every row shares that
// misalignment; `general` for everything else.
template <class Fn>
struct RunTable {
    Fn aligned[16];
    Fn general;
    Fn pick(const void* pRef, Zep32s refStep, const void* pSAD) const {
        const auto r = reinterpret_cast<uintptr_t>(pRef), s = reinterpret_cast<uintptr_t>(pSAD);
        if (((static_cast<uintptr_t>(refStep) | s) & 15u) != 0) return general;
        return aligned[r & 15u];
    }
};

// Tables of four are indexed by hp_index(mcType): integer, below, right, both.
struct MetricsDsp {
    SadFn sad16x16[4], sad16x8[4], sad8x8[4];
    SadFn sad8x16, sad8x4, sad4x8, sad4x4;
    Sad16uFn sad16x16_16u[4], sad8x8_16u[4], sad4x4_16u[4];
    SadC2Fn sad8x8_c2[4];
    Blocks8uFn blocks8x8_8u, blocks4x4_8u;
    Blocks16uFn blocks8x8_16u, blocks4x4_16u;
    RunTable<RunFn> run16x16, run8x8, run4x4, run2x2;
    RunTable<RunMinFn> runmin16x16, runmin8x8, runmin4x4;
    SadFn satd16x16, satd16x8, satd8x16, satd8x8, satd8x4, satd4x8, satd4x4;
    SadFn sat8x8d;
    Sad16uFn sat8x8d_16u;
    SadFn ssd8x8[4], ssd4x4[4], sqrdiff16x16[4];
    SqrDiffBFn sqrdiff16x16b[4][4];  // [forward mode][backward mode]
    SubSadFn subsad8x8;
    FrameField8uFn framefield_8u;
    FrameField16sFn framefield_16s;
};

// Fills the table for one ISA level: references first, then each SIMD level up
// to `level` overrides what it implements.
void metrics_init(MetricsDsp& t, Isa level);

// The table the entry points use, built once at load time. Read directly so an
// entry point costs one load and one indirect call.
// Hidden, so position-independent code reaches it without a GOT load.
extern const MetricsDsp g_metrics_active __attribute__((visibility("hidden")));
inline const MetricsDsp& metrics_dsp() { return g_metrics_active; }

// Fills the four half-sample modes of one kernel template:
// `of.operator()<M>()` returns the instantiation for mode M.
template <class Fn, class Of>
void fill_modes(Fn (&t)[4], Of of) {
    t[0] = of.template operator()<0>();
    t[1] = of.template operator()<1>();
    t[2] = of.template operator()<2>();
    t[3] = of.template operator()<3>();
}

#if ZEPVC_HAVE_X86
void metrics_install_ssse3(MetricsDsp& t);
void metrics_install_sse41(MetricsDsp& t);
void metrics_install_avx2(MetricsDsp& t);
#endif

}  // namespace zep
