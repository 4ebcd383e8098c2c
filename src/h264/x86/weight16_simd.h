// Shared arithmetic of the high-bit-depth weighting kernels. Samples are moved
// into signed 16-bit lanes by flipping their top bit (a - 32768), so that one
// pmaddwd forms a * w1 + b * w2 for any 16-bit sample; the 32768 * (w1 + w2)
// this removes goes back in with the rounding term.
#pragma once

#include <immintrin.h>

#include "h264/weight16_dsp.h"

namespace zep::w16 {

inline int pair(int w1, int w2) {
    return static_cast<int>((static_cast<unsigned>(w2) << 16) | (static_cast<unsigned>(w1) & 0xFFFFu));
}
inline int bias(const Weight16Params& p) { return p.round + 32768 * (p.w1 + p.w2); }

}  // namespace zep::w16
