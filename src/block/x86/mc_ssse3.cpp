// SSSE3 kernels of block compensation and differences: 8 samples a vector in
// 16-bit lanes, 16 bytes a vector for the 8-bit copies and averages.
#include "block/x86/mc_simd.h"

namespace zep {

void mc_install_ssse3(McDsp& t) { install_mc<V128, B128<16>>(t); }

}  // namespace zep
