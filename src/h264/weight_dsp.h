// Kernel table of the H.264 weighted prediction (8-bit).
#pragma once

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// Every weighting form is clip(((a * w1 + b * w2 + round) >> shift) + offset):
// one-directional with w2 = 0, explicit and implicit bi-directional, and the
// weighted average. The entry points bring the arguments into these ranges:
// w1, w2 signed 16-bit; shift 0..31 and round < 2^30 so the sum fits 32 bits;
// |offset| <= 2^25 (beyond, the clamp decides alone).
struct WeightParams {
    int w1, w2, round, shift, offset;
};

// A block of the kernel's built-in size; a and b may be the destination.
using WeightFn = void (*)(const Zep8u* a, Zep32s aStep, const Zep8u* b, Zep32s bStep, Zep8u* dst, Zep32s dstStep,
                          const WeightParams& w);
// Any size (width or height below 1: nothing).
using WeightAnyFn = void (*)(const Zep8u* a, Zep32s aStep, const Zep8u* b, Zep32s bStep, Zep8u* dst, Zep32s dstStep,
                             const WeightParams& w, int width, int height);

// Size class of a width or height of 2, 4, 8 or 16.
constexpr int weight_class(int v) { return v == 2 ? 0 : (v == 4 ? 1 : (v == 8 ? 2 : 3)); }

struct WeightDsp {
    WeightFn block[16];  // [weight_class(width) * 4 + weight_class(height)]
    WeightAnyFn any;
};

void weight_init(WeightDsp& t, Isa level);
extern const WeightDsp g_weight_active __attribute__((visibility("hidden")));
inline const WeightDsp& weight_dsp() { return g_weight_active; }

#if ZEPVC_HAVE_X86
void weight_install_ssse3(WeightDsp& t);
void weight_install_avx2(WeightDsp& t);
#endif

}  // namespace zep
