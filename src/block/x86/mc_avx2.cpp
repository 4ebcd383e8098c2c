// AVX2 kernels of the block compensation and differences.
#include "block/mc_dsp.h"

namespace zep {

void mc_install_avx2(McDsp& t) { (void)t; }

}  // namespace zep
