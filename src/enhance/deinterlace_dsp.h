// Kernel table of the edge-directed deinterlacer.
#pragma once

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// Interior samples x = 1 .. width-2 of one output row from the source rows
// above (a) and below (b) it; width >= 3.
using DeintRowFn = void (*)(const Zep8u* a, const Zep8u* b, Zep8u* d, int width);

struct DeintDsp {
    DeintRowFn row;
};

void deint_init(DeintDsp& t, Isa level);
extern const DeintDsp g_deint_active __attribute__((visibility("hidden")));
inline const DeintDsp& deint_dsp() { return g_deint_active; }

#if ZEPVC_HAVE_X86
void deint_install_ssse3(DeintDsp& t);
void deint_install_avx2(DeintDsp& t);
#endif

}  // namespace zep
