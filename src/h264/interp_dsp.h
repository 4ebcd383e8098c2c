// Kernel table of the H.264 luma interpolation.
#pragma once

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// One block of the kernel's built-in width, `height` rows (a multiple of 4
// for 8-bit, which the 16-wide kernels use two rows at a time). Steps in samples.
using Interp8Fn = void (*)(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep, int height);
// Same for 16-bit samples; results clamped to 0..maxVal.
using Interp16Fn = void (*)(const Zep16u* src, Zep32s srcStep, Zep16u* dst, Zep32s dstStep, int height, int maxVal);
// Chroma: one block of the kernel's built-in width, `height` rows (2..16, even),
// at eighth-sample fractions dx, dy (0..7). Steps in samples.
using Chroma8Fn = void (*)(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep, int dx, int dy, int height);
using Chroma16Fn = void (*)(const Zep16u* src, Zep32s srcStep, Zep16u* dst, Zep32s dstStep, int dx, int dy,
                            int height);

struct InterpDsp {
    // [(width >> 3) & 3][dy * 4 + dx]: classes 4, 8, 16, 16 wide.
    Interp8Fn luma8[4][16];
    // [width >> 3][dy * 4 + dx] for widths 4, 8, 16; valid for samples up to 14 bits.
    Interp16Fn luma16[3][16];
    // Same, any sample range (16 bits): the reference at every level.
    Interp16Fn luma16_wide[3][16];
    // [chroma_class(width)] for widths 2, 4, 8; any 16-bit sample range.
    Chroma8Fn chroma8[3];
    Chroma16Fn chroma16[3];
};

// Width class of a chroma block 2, 4 or 8 samples wide.
constexpr int chroma_class(int width) { return width >> 2; }

void interp_init(InterpDsp& t, Isa level);
extern const InterpDsp g_interp_active __attribute__((visibility("hidden")));
inline const InterpDsp& interp_dsp() { return g_interp_active; }

#if ZEPVC_HAVE_X86
void interp_install_ssse3(InterpDsp& t);
void interp_install_avx2(InterpDsp& t);
void chroma_interp_install_ssse3(InterpDsp& t);
void chroma_interp_install_avx2(InterpDsp& t);
#endif

}  // namespace zep
