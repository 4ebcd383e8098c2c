// Kernel table of the DV macroblock-to-picture conversions (full size).
#pragma once

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// One macroblock's six blocks (Y0..Y3, Cr, Cb; 64 16s samples each) into a
// packed 4:2:2 picture (Y0 Cb Y1 Cr), saturated to 0..255.
using DvMbFn = void (*)(const Zep16s* blocks, Zep8u* dst, Zep32s dstStep);

struct DvConvertDsp {
    DvMbFn mb411;  // 32x8: luma blocks side by side, each chroma sample covering 4x1
    DvMbFn mb420;  // 16x16: luma 2x2, each chroma sample covering 2x2
};

void dv_convert_init(DvConvertDsp& t, Isa level);
extern const DvConvertDsp g_dv_convert_active __attribute__((visibility("hidden")));
inline const DvConvertDsp& dv_convert_dsp() { return g_dv_convert_active; }

#if ZEPVC_HAVE_X86
void dv_convert_install_ssse3(DvConvertDsp& t);
#endif

}  // namespace zep
