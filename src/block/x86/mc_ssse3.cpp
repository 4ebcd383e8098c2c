// SSSE3 kernels of the block compensation and differences.
#include "block/mc_dsp.h"

namespace zep {

void mc_install_ssse3(McDsp& t) { (void)t; }

}  // namespace zep
