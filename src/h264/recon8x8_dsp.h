// Kernel table of the H.264 8x8 dequantisation, inverse transform and add.
#pragma once

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// One coded 8x8 block: dequantise c with the 64 LevelScale8x8 values for qp,
// inverse-transform in 32-bit arithmetic, (x + 32) >> 6, add to the 8x8
// prediction at dst (16-bit saturating sum, then the sample clamp), and leave
// the residual (saturated to 16 bits) in c.
using Recon8x8Fn = void (*)(Zep16s* c, Zep8u* dst, Zep32s step, const Zep16s* scale, int qp);

struct Recon8x8Dsp {
    Recon8x8Fn block;
};

void recon8x8_init(Recon8x8Dsp& t, Isa level);
extern const Recon8x8Dsp g_recon8x8_active __attribute__((visibility("hidden")));
inline const Recon8x8Dsp& recon8x8_dsp() { return g_recon8x8_active; }

#if ZEPVC_HAVE_X86
void recon8x8_install_avx2(Recon8x8Dsp& t);
#endif

}  // namespace zep
