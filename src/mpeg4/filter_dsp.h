// Kernel table of the H.261 loop filter and the H.263 Annex J deblocking
// filter.
#pragma once

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// H.261: the separable [1 2 1] / 4 filter over an 8x8 block in place, the
// taps that fall outside the block replaced by 0 1 0, one rounding at the end.
using LoopFilterFn = void (*)(Zep8u* p, Zep32s step);
// H.263 Annex J: one 8-sample edge; p points at the first sample below (or
// right of) the edge, `across` is the distance between the samples A B | C D
// in the filtering direction (step for a horizontal edge, 1 for a vertical one)
// and `along` the distance between the eight edge positions.
using DeblockEdgeFn = void (*)(Zep8u* p, Zep32s across, Zep32s along, int strength);

struct FilterDsp {
    LoopFilterFn loop;
    DeblockEdgeFn horEdge, verEdge;
};

void filter_init(FilterDsp& t, Isa level);
extern const FilterDsp g_filter_active __attribute__((visibility("hidden")));
inline const FilterDsp& filter_dsp() { return g_filter_active; }

#if ZEPVC_HAVE_X86
void filter_install_ssse3(FilterDsp& t);
#endif

}  // namespace zep
