// Kernel table of the H.264 4x4 forward core transform and quantisers.
#pragma once

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

using FwdXform16Fn = void (*)(const Zep16s* pSrc, Zep16s* pDst);
using FwdXform32Fn = void (*)(const Zep32s* pSrc, Zep32s* pDst);

// One 4x4 quantisation with everything qp-dependent already resolved by the
// entry point: multipliers (raster order), rounding constant and shift.
using Quant16Fn = void (*)(const Zep16s* pSrc, Zep16s* pDst, Zep32s* pNumLevels, Zep32s* pLastScanPos,
                           const Zep32s* pMult, const Zep16s* pScanPos, Zep32s rounding, int shift);
using Quant32Fn = void (*)(const Zep32s* pSrc, Zep32s* pDst, Zep32s* pNumLevels, Zep32s* pLastScanPos,
                           const Zep32s* pMult, const Zep16s* pScanPos, Zep32s rounding, int shift);

struct FwdQuantDsp {
    FwdXform16Fn fwd16;
    FwdXform32Fn fwd32;
    // 16-bit coefficients with the built-in multipliers (all below 2^15, so
    // the products fit 16x16->32 multiplies).
    Quant16Fn quant16Flat;
    // 16-bit coefficients with any 32-bit multipliers (caller's scale table).
    Quant16Fn quant16;
    Quant32Fn quant32;
};

void fwdquant_init(FwdQuantDsp& t, Isa level);
extern const FwdQuantDsp g_fwdquant_active __attribute__((visibility("hidden")));
inline const FwdQuantDsp& fwdquant_dsp() { return g_fwdquant_active; }

#if ZEPVC_HAVE_X86
void fwdquant_install_ssse3(FwdQuantDsp& t);
void fwdquant_install_sse41(FwdQuantDsp& t);
void fwdquant_install_avx2(FwdQuantDsp& t);
void fwdquant_install_avx512(FwdQuantDsp& t);
#endif

}  // namespace zep
