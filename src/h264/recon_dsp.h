// Kernel table of the H.264 4x4 dequantisation, inverse transform and luma
// reconstruction.
#pragma once

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// Dequantisation shifts derived from qp: qp < 24 rounds and shifts right,
// qp >= 24 shifts left.
struct QpShift {
    int right, round, left;
};
inline QpShift qp_shift(int qp) {
    const int q6 = qp / 6;
    if (qp < 24) return {4 - q6, 1 << (3 - q6), 0};
    return {0, 0, q6 - 4};
}

// One coded block: dequantise c, inverse-transform, store the residual back
// into c and add it to the 4x4 prediction at dst.
using ReconBlockFn = void (*)(Zep16s* c, Zep8u* dst, Zep32s step, const Zep16s* scale, QpShift q);
// The 16 luma blocks of an inter macroblock in block order, coded ones as
// cbp bits 1..16 say; *ppCoeff advances past the blocks consumed.
using ReconInterMbFn = void (*)(Zep16s** ppCoeff, Zep8u* dst, Zep32s step, Zep32u cbp, const Zep16s* scale,
                                QpShift q);
using ITrans16Fn = void (*)(const Zep16s* src, Zep16s* dst);
using ITrans32Fn = void (*)(const Zep32s* src, Zep32s* dst);

struct ReconDsp {
    ReconBlockFn block;
    ReconInterMbFn inter_mb;
    ITrans16Fn itrans16;
    ITrans32Fn itrans32;
};

void recon_init(ReconDsp& t, Isa level);
extern const ReconDsp g_recon_active __attribute__((visibility("hidden")));
inline const ReconDsp& recon_dsp() { return g_recon_active; }

// Top-left sample of luma block k (block order: 8x8 quadrants, then 4x4 inside).
inline constexpr int kBlockX[16] = {0, 4, 0, 4, 8, 12, 8, 12, 0, 4, 0, 4, 8, 12, 8, 12};
inline constexpr int kBlockY[16] = {0, 0, 4, 4, 0, 0, 4, 4, 8, 8, 12, 12, 8, 8, 12, 12};

#if ZEPVC_HAVE_X86
void recon_install_ssse3(ReconDsp& t);
#endif

}  // namespace zep
