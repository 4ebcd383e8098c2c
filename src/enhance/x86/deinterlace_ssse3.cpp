// SSSE3 kernel of the edge-directed deinterlacer: sixteen samples a step.
#include <immintrin.h>

#include "enhance/deinterlace_dsp.h"
#include "enhance/deinterlace_ref.h"
#include "enhance/x86/deinterlace_simd.h"

namespace zep {
namespace {

void row(const Zep8u* a, const Zep8u* b, Zep8u* d, int width) { deint_x86::row<deint_x86::V128>(a, b, d, width, ref::deint_row); }

}  // namespace

void deint_install_ssse3(DeintDsp& t) { t.row = row; }

}  // namespace zep
