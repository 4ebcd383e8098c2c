// AVX2 kernel of the AVS weighted prediction for 16-wide blocks: one row of
// sixteen samples widened to 16-bit lanes per step.
#include <immintrin.h>

#include <cstddef>

#include "avs/weight_dsp.h"

namespace zep {
namespace {

void weight16(const Zep8u* src, Zep32s ss, Zep8u* dst, Zep32s ds, Zep16u scale, Zep16s offset, int rows) {
    const __m256i s = _mm256_set1_epi16(static_cast<short>(scale)), o = _mm256_set1_epi16(offset);
    const __m256i r16 = _mm256_set1_epi16(16);
    for (int y = 0; y < rows; ++y) {
        const __m256i x = _mm256_cvtepu8_epi16(
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + static_cast<ptrdiff_t>(y) * ss)));
        const __m256i t = _mm256_adds_epi16(_mm256_srli_epi16(_mm256_add_epi16(_mm256_mullo_epi16(x, s), r16), 5), o);
        const __m128i out = _mm_packus_epi16(_mm256_castsi256_si128(t), _mm256_extracti128_si256(t, 1));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + static_cast<ptrdiff_t>(y) * ds), out);
    }
}

}  // namespace

void avs_weight_install_avx2(AvsWeightDsp& t) { t.w16 = weight16; }

}  // namespace zep
