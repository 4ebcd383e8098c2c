// Kernel table of the H.264 luma deblocking filter.
#pragma once

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// The four edges of one direction of a macroblock, 8-bit samples, step in bytes.
using Deblock8Fn = void (*)(Zep8u* p, Zep32s step, const Zep8u* alpha, const Zep8u* beta, const Zep8u* tc0,
                            const Zep8u* bs);
// Same for 16-bit samples, step in samples, results clamped to 0..maxVal.
using Deblock16Fn = void (*)(Zep16u* p, Zep32s step, const Zep16u* alpha, const Zep16u* beta, const Zep16u* tc0,
                             const Zep8u* bs, int maxVal);

// Chroma kernels: [0] vertical 4:2:0, [1] horizontal 4:2:0, [2] vertical
// 4:2:2, [3] horizontal 4:2:2.
enum ChromaEdges { kChromaVer420, kChromaHor420, kChromaVer422, kChromaHor422 };

struct DeblockDsp {
    Deblock8Fn luma8[2];          // [0] vertical edges, [1] horizontal edges
    Deblock16Fn luma16[2];        // samples of up to 12 bits
    Deblock16Fn luma16_wide[2];   // any sample range: the reference at every level
    Deblock8Fn chroma8[4];        // [ChromaEdges]
    Deblock16Fn chroma16[4];      // samples of up to 12 bits
    Deblock16Fn chroma16_wide[4]; // any sample range
    Deblock8Fn mbaff8[2];         // MBAFF left edge: [0] 8 luma lines, [1] 4 chroma lines
};

void deblock_init(DeblockDsp& t, Isa level);
extern const DeblockDsp g_deblock_active __attribute__((visibility("hidden")));
inline const DeblockDsp& deblock_dsp() { return g_deblock_active; }

#if ZEPVC_HAVE_X86
void deblock_install_ssse3(DeblockDsp& t);
void deblock_install_avx2(DeblockDsp& t);
#endif

}  // namespace zep
