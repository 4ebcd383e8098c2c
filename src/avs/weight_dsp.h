// Kernel table of the AVS weighted prediction.
#pragma once

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// `rows` rows of 8 or 16 samples: clamp(sat16(((x * scale + 16) & 0xFFFF) >> 5 + offset)).
using AvsWeightFn = void (*)(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep, Zep16u scale,
                             Zep16s offset, int rows);

struct AvsWeightDsp {
    AvsWeightFn w8, w16;
};

void avs_weight_init(AvsWeightDsp& t, Isa level);
extern const AvsWeightDsp g_avs_weight_active __attribute__((visibility("hidden")));
inline const AvsWeightDsp& avs_weight_dsp() { return g_avs_weight_active; }

#if ZEPVC_HAVE_X86
void avs_weight_install_ssse3(AvsWeightDsp& t);
void avs_weight_install_avx2(AvsWeightDsp& t);
#endif

}  // namespace zep
