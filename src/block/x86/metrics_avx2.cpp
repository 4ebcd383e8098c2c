// AVX2 kernels of the block distortion metrics: two 16-sample rows a register.
#include "block/metrics_dsp.h"
#include "block/x86/hp_avg.h"

namespace zep {
namespace {

using namespace x86;

template <int Mode>
inline __m256i hp_rows2x16(const Zep8u* r, Zep32s rs) {
    if constexpr (Mode == 0) return load2x16(r, rs);
    else if constexpr (Mode == 1) return _mm256_avg_epu8(load2x16(r, rs), load2x16(r + rs, rs));
    else if constexpr (Mode == 2) return _mm256_avg_epu8(load2x16(r, rs), load2x16(r + 1, rs));
    else return avg4_epu8(load2x16(r, rs), load2x16(r + 1, rs), load2x16(r + rs, rs), load2x16(r + rs + 1, rs));
}

template <int H, int Mode>
void sad16(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep32s* out) {
    __m256i acc = _mm256_setzero_si256();
    for (int y = 0; y < H; y += 2, s += 2 * ss, r += 2 * rs)
        acc = _mm256_add_epi32(acc, _mm256_sad_epu8(load2x16(s, ss), hp_rows2x16<Mode>(r, rs)));
    __m128i a = _mm_add_epi32(_mm256_castsi256_si128(acc), _mm256_extracti128_si256(acc, 1));
    *out = _mm_cvtsi128_si32(_mm_add_epi32(a, _mm_unpackhi_epi64(a, a)));
}

}  // namespace

void metrics_install_avx2(MetricsDsp& t) {
    t.sad16x16[0] = sad16<16, 0>;
    t.sad16x16[1] = sad16<16, 1>;
    t.sad16x16[2] = sad16<16, 2>;
    t.sad16x16[3] = sad16<16, 3>;
}

}  // namespace zep
