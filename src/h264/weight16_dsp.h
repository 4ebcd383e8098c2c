// Kernel table of the H.264 weighted prediction for 9- to 16-bit samples.
#pragma once

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// Every form is clip(((a * w1 + b * w2 + round) >> shift) + offset, 0, maxVal):
// the default average (1, 1, 1, 1, 0), explicit and implicit bi-directional,
// and one-directional with w2 = 0. The entry points keep the weights within
// -128..128, shift within 0..8 and |offset| <= 65535, so every sum fits 32 bits
// even for 16-bit samples.
struct Weight16Params {
    int w1, w2, round, shift, offset, maxVal;
};

// A block of the kernel's width and any height >= 1; steps count samples;
// a and b may be the destination.
using Weight16Fn = void (*)(const Zep16u* a, Zep32s aStep, const Zep16u* b, Zep32s bStep, Zep16u* dst,
                            Zep32s dstStep, const Weight16Params& w, int height);

// Width class of 2, 4, 8 or 16.
constexpr int weight16_class(int v) { return v == 2 ? 0 : (v == 4 ? 1 : (v == 8 ? 2 : 3)); }

struct Weight16Dsp {
    Weight16Fn block[4];  // [weight16_class(width)]
};

void weight16_init(Weight16Dsp& t, Isa level);
extern const Weight16Dsp g_weight16_active __attribute__((visibility("hidden")));
inline const Weight16Dsp& weight16_dsp() { return g_weight16_active; }

#if ZEPVC_HAVE_X86
void weight16_install_sse41(Weight16Dsp& t);
void weight16_install_avx2(Weight16Dsp& t);
#endif

}  // namespace zep
