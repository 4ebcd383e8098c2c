// AVX2 kernels of the block statistics: two 16-byte rows, or one 16-sample row
// in 16-bit lanes, a vector.
#include "block/x86/stats_simd.h"

namespace zep {

void stats_install_avx2(StatsDsp& t) { install_stats_avx2(t); }

}  // namespace zep
