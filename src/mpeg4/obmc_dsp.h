// Kernel table of the H.263 Annex F overlapped block motion compensation.
#pragma once

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// The five 8x8 predictions of a luma block (its own vector, the vectors of
// the blocks above, below, left and right), combined with the Annex F weights.
struct ObmcSources {
    const Zep8u* p[5];  // own, above, below, left, right
    Zep32s step[5];
};
using ObmcFn = void (*)(const ObmcSources& s, Zep8u* dst, Zep32s dstStep);

struct ObmcDsp {
    ObmcFn block;
};

// Weights of the own prediction (H0), of the above/below one (H1) and of the
// left/right one (H2); they sum to 8 at every position.
inline constexpr Zep8u kObmcH0[64] = {4, 5, 5, 5, 5, 5, 5, 4, 5, 5, 5, 5, 5, 5, 5, 5, 5, 5, 6, 6, 6, 6, 5, 5, 5, 5, 6, 6,
                                      6, 6, 5, 5, 5, 5, 6, 6, 6, 6, 5, 5, 5, 5, 6, 6, 6, 6, 5, 5, 5, 5, 5, 5, 5, 5, 5, 5,
                                      4, 5, 5, 5, 5, 5, 5, 4};
inline constexpr Zep8u kObmcH1[64] = {2, 2, 2, 2, 2, 2, 2, 2, 1, 1, 2, 2, 2, 2, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
                                      1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 1, 1,
                                      2, 2, 2, 2, 2, 2, 2, 2};
inline constexpr Zep8u kObmcH2[64] = {2, 1, 1, 1, 1, 1, 1, 2, 2, 2, 1, 1, 1, 1, 2, 2, 2, 2, 1, 1, 1, 1, 2, 2, 2, 2, 1, 1,
                                      1, 1, 2, 2, 2, 2, 1, 1, 1, 1, 2, 2, 2, 2, 1, 1, 1, 1, 2, 2, 2, 2, 1, 1, 1, 1, 2, 2,
                                      2, 1, 1, 1, 1, 1, 1, 2};

void obmc_init(ObmcDsp& t, Isa level);
extern const ObmcDsp g_obmc_active __attribute__((visibility("hidden")));
inline const ObmcDsp& obmc_dsp() { return g_obmc_active; }

#if ZEPVC_HAVE_X86
void obmc_install_ssse3(ObmcDsp& t);
#endif

}  // namespace zep
