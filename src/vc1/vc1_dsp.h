// Kernel table of the VC-1 family: transforms, quantisers, overlap smoothing,
// range mapping and the Hadamard cost.
#pragma once

#include <cstdint>

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// Block transform from src to dst (which may be the same block).
using Vc1XformFn = void (*)(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s dstStep);
// Forward quantiser of one block in place; the class of the divisor is fixed
// by the kernel, the multiplier and shift come from vc1_div_table.
using Vc1QuantFn = void (*)(Zep16s* pSrcDst, Zep32s step, Zep32s doubleQuant);
// Inverse quantiser: writes the block and the extent of its non-zero outputs.
using Vc1QuantInvFn = void (*)(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s dstStep,
                               Zep32s doubleQuant, ZepSize* pSizeNZ);
// Overlap smoothing of 8 columns of a horizontal edge (no write-back).
using Vc1SmoothHorFn = void (*)(const Zep16s* pUp, Zep32s upStep, const Zep16s* pLo, Zep32s loStep, Zep8u* pDst,
                                Zep32s dstStep);
// Overlap smoothing of 8 rows of a vertical edge, with write-back; mode 0
// alternates r0 4/3 from the first row, 1 uses 3 everywhere, 2 uses 4.
using Vc1SmoothVerFn = void (*)(Zep16s* pLeft, Zep32s leftStep, Zep16s* pRight, Zep32s rightStep, Zep8u* pDst,
                                Zep32s dstStep, int mode);
// The same for U and V at once, interleaved into one destination.
using Vc1SmoothHorUVFn = void (*)(const Zep16s* pUpU, Zep32s upStepU, const Zep16s* pLoU, Zep32s loStepU,
                                  const Zep16s* pUpV, Zep32s upStepV, const Zep16s* pLoV, Zep32s loStepV, Zep8u* pDst,
                                  Zep32s dstStep);
using Vc1SmoothVerUVFn = void (*)(Zep16s* pLeftU, Zep32s leftStepU, Zep16s* pRightU, Zep32s rightStepU,
                                  Zep16s* pLeftV, Zep32s leftStepV, Zep16s* pRightV, Zep32s rightStepV, Zep8u* pDst,
                                  Zep32s dstStep);
using Vc1RangeMapFn = void (*)(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep, int width, int height,
                               int factor);
using Vc1Hadamard8uFn = void (*)(const Zep8u* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s* pSum);
using Vc1Hadamard16sFn = void (*)(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s* pSum);

// Division of the forward quantisers: class 0 16-bit reciprocal, class 1
// 17-bit reciprocal with the top bit implicit (mul stored negative), class 2
// power of two (mul unused).
struct Vc1Divisor {
    int8_t cls;
    int8_t shift;
    int16_t mul;
};
// Indexed by doubleQuant 0..62 (entries below 2 are unused).
extern const Vc1Divisor vc1_div_table[63];

// Shortened inverse computations, by the rectangle of coefficients read.
enum Vc1InvVariant : int { kVc1InvDC = 0, kVc1Inv2x2 = 1, kVc1Inv4x4 = 2, kVc1InvFull = 3 };

// Inter block index of the quantisers: 4x4, 4x8, 8x4, 8x8 (width x height).
[[gnu::always_inline]] inline int vc1_size_index(int width, int height) { return ((width >> 3) << 1) | (height >> 3); }

struct Vc1Dsp {
    // Inverse transforms by variant; slots a size does not have stay null
    // (8x4 and 4x8 have no 2x2 path, 4x4 no 4x4 path).
    Vc1XformFn inv8x8[4];
    Vc1XformFn inv8x4[4];
    Vc1XformFn inv4x8[4];
    Vc1XformFn inv4x4[4];
    // Forward transforms, by vc1_size_index.
    Vc1XformFn fwd[4];
    // Forward quantisers: [non-uniform][class], inter also by vc1_size_index.
    Vc1QuantFn quant_intra[2][3];
    Vc1QuantFn quant_inter[2][4][3];
    // Inverse quantisers: [non-uniform], inter by (height >> 1) + (width >> 2) - 3,
    // that is 4x4, 8x4, 4x8, 8x8.
    Vc1QuantInvFn quant_inv_intra[2];
    Vc1QuantInvFn quant_inv_inter[2][4];
    Vc1SmoothHorFn smooth_hor;
    Vc1SmoothVerFn smooth_ver;
    Vc1SmoothHorUVFn smooth_hor_uv;
    Vc1SmoothVerUVFn smooth_ver_uv;
    Vc1RangeMapFn range_map;
    Vc1Hadamard8uFn hadamard_8u;
    Vc1Hadamard16sFn hadamard_16s;
};

// Fills the table for one ISA level: references first, then each SIMD level up
// to `level` overrides what it implements.
void vc1_init(Vc1Dsp& t, Isa level);

// The table the entry points use.
extern const Vc1Dsp g_vc1_active __attribute__((visibility("hidden")));
inline const Vc1Dsp& vc1_dsp() { return g_vc1_active; }

#if ZEPVC_HAVE_X86
void vc1_install_ssse3(Vc1Dsp& t);
void vc1_install_avx2(Vc1Dsp& t);
#endif

}  // namespace zep
