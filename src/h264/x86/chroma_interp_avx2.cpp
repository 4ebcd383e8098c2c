// AVX2 kernel of the H.264 chroma interpolation for 8-wide 16-bit blocks:
// rows y and y + 1 side by side in the two lanes, so one multiply-add serves
// two output rows; the arithmetic per lane is the SSSE3 kernel's. (The 8-bit
// blocks stay with SSSE3: an 8-wide row of pairs fills one 128-bit register,
// and splicing two rows into a 256-bit one cost more than it saved.)
#include <immintrin.h>

#include <cstddef>

#include "h264/interp_dsp.h"

namespace zep {
namespace {

// Rows p and p + s, sixteen bytes each, one per lane.
inline __m256i two_rows16(const Zep16u* p, ptrdiff_t s) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))),
                                   _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + s)), 1);
}

// 16-bit: samples biased by -32768 into signed lanes (see the SSSE3 kernels).
void chroma16_w8(const Zep16u* src, Zep32s srcStep, Zep16u* dst, Zep32s dstStep, int dx, int dy, int height) {
    const __m256i ab = _mm256_set1_epi32(((dx * (8 - dy)) << 16) | ((8 - dx) * (8 - dy)));
    const __m256i cd = _mm256_set1_epi32(((dx * dy) << 16) | ((8 - dx) * dy));
    const __m256i bias = _mm256_set1_epi16(-32768), rnd = _mm256_set1_epi32(32);
    const ptrdiff_t ss = srcStep, ds = dstStep;
    for (int y = 0; y < height; y += 2, src += 2 * ss, dst += 2 * ds) {
        const __m256i a0 = _mm256_xor_si256(two_rows16(src, ss), bias);
        const __m256i b0 = _mm256_xor_si256(two_rows16(src + 1, ss), bias);
        const __m256i a1 = _mm256_xor_si256(two_rows16(src + ss, ss), bias);
        const __m256i b1 = _mm256_xor_si256(two_rows16(src + ss + 1, ss), bias);
        auto half = [&](__m256i up, __m256i down) {
            const __m256i s = _mm256_add_epi32(_mm256_madd_epi16(up, ab), _mm256_madd_epi16(down, cd));
            return _mm256_srai_epi32(_mm256_add_epi32(s, rnd), 6);
        };
        const __m256i lo = half(_mm256_unpacklo_epi16(a0, b0), _mm256_unpacklo_epi16(a1, b1));
        const __m256i hi = half(_mm256_unpackhi_epi16(a0, b0), _mm256_unpackhi_epi16(a1, b1));
        const __m256i out = _mm256_xor_si256(_mm256_packs_epi32(lo, hi), bias);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm256_castsi256_si128(out));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + ds), _mm256_extracti128_si256(out, 1));
    }
}

}  // namespace

void chroma_interp_install_avx2(InterpDsp& t) {
    t.chroma16[2] = chroma16_w8;
}

}  // namespace zep
