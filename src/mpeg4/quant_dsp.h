// Kernel table of the MPEG-4 / H.263 inverse quantisation of an 8x8 block,
// and the spec records of the MPEG-4 quantisers.
#pragma once

#include <cstdint>

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// The records behind the callers' spec buffers (at the buffer address rounded
// up to 16).
struct QuantSpecMpeg4 {
    Zep16u first[64];  // W >> 1, or W itself from 9 bits
    union {
        Zep16u recip[64];   // (65536 / W + 1) truncated to 16 bits (65535 for W = 1)
        float recipF[64];   // 1 / W, from 9 bits
    };
    Zep32s bitsPerPixel;
    Zep32s matrixPresent;
    Zep32u mark;
};
struct QuantInvSpecMpeg4 {
    Zep16u w[64];
    Zep32s bitsPerPixel;
    Zep32s matrixPresent;
    Zep32u mark;
};
static_assert(sizeof(QuantSpecMpeg4) == 396 && sizeof(QuantInvSpecMpeg4) == 140);

inline constexpr Zep32u kMarkQuantIntra = 0x434D4154, kMarkQuantInter = 0x434D4155;
inline constexpr Zep32u kMarkQuantInvIntra = 0x434D4152, kMarkQuantInvInter = 0x434D4153;

// H.263 reconstruction of positions 0..last (first = 1 skips the DC):
// sign(L) (2 QP |L| + QP'), clamped to [-2048, 2047]; zero stays zero.
using InvH263Fn = void (*)(Zep16s* c, int first, int last, int qp);
// MPEG-4 second method at 8 bits or less, positions first..last, with the
// weights w: inter (2L + sign) W QP / 16, intra 2L W QP / 16 toward zero,
// clamped to [lo, hi]; returns the sum of the results.
using InvMatrixFn = int32_t (*)(Zep16s* c, const Zep16u* w, int first, int last, int qp, int lo, int hi);

struct QuantInvDsp {
    InvH263Fn h263;
    InvMatrixFn matrixInter, matrixIntra;
};

void quantinv_init(QuantInvDsp& t, Isa level);
extern const QuantInvDsp g_quantinv_active __attribute__((visibility("hidden")));
inline const QuantInvDsp& quantinv_dsp() { return g_quantinv_active; }

#if ZEPVC_HAVE_X86
void quantinv_install_sse41(QuantInvDsp& t);
void quantinv_install_avx2(QuantInvDsp& t);
#endif

}  // namespace zep
