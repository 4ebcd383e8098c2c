// AVX2 kernels of the VC-1 family (placeholder until the 256-bit passes land).
#include "vc1/vc1_dsp.h"

namespace zep {

void vc1_install_avx2(Vc1Dsp&) {}

}  // namespace zep
