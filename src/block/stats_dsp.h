// Kernel table of the block statistics.
#pragma once

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

using Variance256Fn = void (*)(const Zep8u* src, Zep32s step, Zep32s* var);
using VarSum8uFn = void (*)(const Zep8u* src, Zep32s step, Zep32s* var, Zep32s* sum);
using VarSum16sFn = void (*)(const Zep16s* src, Zep32s step, Zep32s* var, Zep32s* sum);
using CountZerosFn = void (*)(const Zep16s* src, Zep32u* count);
// Variance and mean of each 8x8 sub-block of current - reference at a half-sample mode.
using VarMeanDiffFn = void (*)(const Zep8u* src, Zep32s srcStep, const Zep8u* ref, Zep32s refStep, Zep32s* var,
                               Zep32s* mean);
using MadFn = void (*)(const Zep8u* src, Zep32s step, Zep32s* out);
using SumsDiff8uFn = void (*)(const Zep8u* src, Zep32s srcStep, const Zep8u* pred, Zep32s predStep, Zep16s* sums,
                              Zep16s* diff);
using SumsDiffC2P2Fn = void (*)(const Zep8u* src, Zep32s srcStep, const Zep8u* pred, Zep32s predStep,
                                Zep16s* sumsU, Zep16s* sumsV, Zep16s* diffU, Zep16s* diffV);
using SumsDiff16uFn = void (*)(const Zep16u* src, Zep32s srcStep, const Zep16u* pred, Zep32s predStep,
                               Zep32s* sums, Zep32s* diff);
using EdgesDetect8uFn = void (*)(const Zep8u* src, Zep32s step, Zep32u diffThr, Zep32u countThr, Zep8u* res);
using EdgesDetect16uFn = void (*)(const Zep16u* src, Zep32s step, Zep32u diffThr, Zep32u countThr, Zep8u* res);

struct StatsDsp {
    Variance256Fn variance16x16;
    VarSum8uFn varSum8x8_8u;
    VarSum16sFn varSum8x8_16s;
    CountZerosFn countZeros8x8;
    VarMeanDiffFn varMeanDiff16x16[4], varMeanDiff16x8[4];  // by hp_index(mcType)
    MadFn mad16x16, mad8x8;
    SumsDiff8uFn sumsDiff16x16, sumsDiff8x8;
    SumsDiffC2P2Fn sumsDiff8x8C2P2;
    SumsDiff16uFn sumsDiff16x16_16u, sumsDiff8x8_16u;
    EdgesDetect8uFn edges16x16_8u;
    EdgesDetect16uFn edges16x16_16u;
};

void stats_init(StatsDsp& t, Isa level);
extern const StatsDsp g_stats_active __attribute__((visibility("hidden")));
inline const StatsDsp& stats_dsp() { return g_stats_active; }

#if ZEPVC_HAVE_X86
void stats_install_ssse3(StatsDsp& t);
void stats_install_avx2(StatsDsp& t);
#endif

}  // namespace zep
