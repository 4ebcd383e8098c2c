// SSSE3 kernels of the block distortion metrics.
#include "block/metrics_dsp.h"
#include "block/x86/hp_avg.h"

namespace zep {
namespace {

using namespace x86;

template <int H, int Mode>
void sad16(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep32s* out) {
    __m128i acc = _mm_setzero_si128();
    for (int y = 0; y < H; ++y, s += ss, r += rs)
        acc = _mm_add_epi32(acc, _mm_sad_epu8(load16(s), hp_row16<Mode>(r, r + rs)));
    *out = _mm_cvtsi128_si32(_mm_add_epi32(acc, _mm_unpackhi_epi64(acc, acc)));
}

}  // namespace

void metrics_install_ssse3(MetricsDsp& t) {
    t.sad16x16[0] = sad16<16, 0>;
    t.sad16x16[1] = sad16<16, 1>;
    t.sad16x16[2] = sad16<16, 2>;
    t.sad16x16[3] = sad16<16, 3>;
}

}  // namespace zep
