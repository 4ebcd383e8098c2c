// AVX2 kernels of block compensation and differences: a whole 16-sample row a
// vector in 16-bit lanes, two 16-byte rows a vector for the copies and
// averages. Narrower blocks keep the 128-bit kernels (VEX-encoded).
#include "block/x86/mc_simd.h"

namespace zep {

void mc_install_avx2(McDsp& t) { install_mc<V256, B256>(t); }

}  // namespace zep
