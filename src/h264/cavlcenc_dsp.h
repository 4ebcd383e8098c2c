// Kernel table of the H.264 CAVLC syntax analysis (encoder side).
#pragma once

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// 4x4 block, scan indexes startIdx..lastIdx (0 <= startIdx <= lastIdx <= 15).
template <class T>
using CavlcEnc4x4Fn = void (*)(const T* pSrc, int startIdx, const Zep32s* pScan, int lastIdx, Zep8u* pTrailingOnes,
                               Zep8u* pTrailingOneSigns, Zep8u* pNumCoeff, Zep8u* pTotalZeros, T* pLevels,
                               Zep8u* pRuns);
// Chroma DC blocks with their fixed walk orders.
template <class T>
using CavlcEncDcFn = void (*)(const T* pSrc, Zep8u* pTrailingOnes, Zep8u* pTrailingOneSigns, Zep8u* pNumCoeff,
                              Zep8u* pTotalZeros, T* pLevels, Zep8u* pRuns);

struct CavlcEncDsp {
    CavlcEnc4x4Fn<Zep16s> block16;
    CavlcEnc4x4Fn<Zep32s> block32;
    CavlcEncDcFn<Zep16s> dc2x2_16;
    CavlcEncDcFn<Zep32s> dc2x2_32;
    CavlcEncDcFn<Zep16s> dc2x4_16;
    CavlcEncDcFn<Zep32s> dc2x4_32;
};

void cavlcenc_init(CavlcEncDsp& t, Isa level);
extern const CavlcEncDsp g_cavlcenc_active __attribute__((visibility("hidden")));
inline const CavlcEncDsp& cavlcenc_dsp() { return g_cavlcenc_active; }

#if ZEPVC_HAVE_X86
void cavlcenc_install_avx512(CavlcEncDsp& t);
#endif

}  // namespace zep
