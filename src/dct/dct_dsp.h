// Kernel table of the 8x8 DCTs.
#pragma once

#include <cstdint>

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// Basis of the 1-D inverse transform: kIdctBasis[n][k] multiplies coefficient
// k for sample n; round(2^15 * c(k)/2 * cos((2n + 1) k pi / 16)). The forward
// transform uses its transpose.
inline constexpr int16_t kIdctBasis[8][8] = {
    {11585, 16069, 15137, 13623, 11585, 9102, 6270, 3196},
    {11585, 13623, 6270, -3196, -11585, -16069, -15137, -9102},
    {11585, 9102, -6270, -16069, -11585, 3196, 15137, 13623},
    {11585, 3196, -15137, -9102, 11585, 13623, -6270, -16069},
    {11585, -3196, -15137, 9102, 11585, -13623, -6270, 16069},
    {11585, -9102, -6270, 16069, -11585, -3196, 15137, -13623},
    {11585, -13623, 6270, 3196, -11585, 16069, -15137, 9102},
    {11585, -16069, 15137, -13623, 11585, -9102, 6270, -3196},
};
// Fractional bits kept between the passes, and the passes' shifts.
inline constexpr int kDctFracBits = 5;
inline constexpr int kDctShift1 = 15 - kDctFracBits;
inline constexpr int kDctShift2 = 15 + kDctFracBits;

// How a kernel delivers its 8x8 result.
enum class DctOut { Coeff16s, Clamp8u, Add8u };

// src: 64 values, row-major, or column-major when `transposed`. dst: 64
// values (Coeff16s) or an 8x8 picture block with dstStep (8u forms).
using IdctFn = void (*)(const Zep16s* src, void* dst, Zep32s dstStep);
using FdctFn = void (*)(const Zep16s* src, Zep16s* dst);
using Fdct8uFn = void (*)(const Zep8u* src, Zep32s srcStep, Zep16s* dst);

struct DctDsp {
    IdctFn inv[2][3];  // [transposed][DctOut]
    FdctFn fwd;
    Fdct8uFn fwd8u;
};

void dct_init(DctDsp& t, Isa level);
extern const DctDsp g_dct_active __attribute__((visibility("hidden")));
inline const DctDsp& dct_dsp() { return g_dct_active; }

#if ZEPVC_HAVE_X86
void dct_install_ssse3(DctDsp& t);
void dct_install_avx2(DctDsp& t);
#endif

}  // namespace zep
