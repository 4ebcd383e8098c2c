// Kernel table of the DV inverse quantisation with weighting.
#pragma once

#include <cstdint>

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// One block's factors: per raster position the inverse weight (Q14), and the
// step folded into the shift: out = (clamp(q, +-16384) * iw + round) >> shift,
// saturated to 16 bits. (Any |q| of 16384 or more saturates either way.)
struct DvFactors {
    alignas(32) int32_t iw[64];
    alignas(32) int32_t round[64];
    alignas(32) int32_t shift[64];
};
using DvDequantFn = void (*)(Zep16s* blk, const DvFactors& f);

struct DvDequantDsp {
    DvDequantFn block;  // positions 1..63; the caller sets the DC
};

void dv_dequant_init(DvDequantDsp& t, Isa level);
extern const DvDequantDsp g_dv_dequant_active __attribute__((visibility("hidden")));
inline const DvDequantDsp& dv_dequant_dsp() { return g_dv_dequant_active; }

#if ZEPVC_HAVE_X86
void dv_dequant_install_avx2(DvDequantDsp& t);
#endif

}  // namespace zep
