// SSSE3 kernels of the block statistics.
#include "block/x86/stats_simd.h"

namespace zep {

void stats_install_ssse3(StatsDsp& t) { install_stats_sse(t); }

}  // namespace zep
