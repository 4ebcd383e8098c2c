// AVX2 DV inverse quantisation: eight coefficients a step, widened to 32
// bits, clamped, multiplied, rounded and shifted per lane (areas differ in
// step), packed back with saturation.
#include <immintrin.h>

#include "dv/dequant_dsp.h"

namespace zep {
namespace {

void dequant(Zep16s* blk, const DvFactors& f) {
    const __m256i lo = _mm256_set1_epi32(-16384), hi = _mm256_set1_epi32(16384);
    const Zep16s dc = blk[0];
    for (int i = 0; i < 64; i += 16) {
        const __m256i q = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(blk + i));
        __m256i r[2];
        for (int h = 0; h < 2; ++h) {
            __m256i v = _mm256_cvtepi16_epi32(h ? _mm256_extracti128_si256(q, 1) : _mm256_castsi256_si128(q));
            v = _mm256_min_epi32(_mm256_max_epi32(v, lo), hi);
            v = _mm256_mullo_epi32(v, _mm256_load_si256(reinterpret_cast<const __m256i*>(f.iw + i + 8 * h)));
            v = _mm256_add_epi32(v, _mm256_load_si256(reinterpret_cast<const __m256i*>(f.round + i + 8 * h)));
            r[h] = _mm256_srav_epi32(v, _mm256_load_si256(reinterpret_cast<const __m256i*>(f.shift + i + 8 * h)));
        }
        // packs works within 128-bit lanes: restore the order afterwards.
        const __m256i p = _mm256_permute4x64_epi64(_mm256_packs_epi32(r[0], r[1]), 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(blk + i), p);
    }
    blk[0] = dc;
}

}  // namespace

void dv_dequant_install_avx2(DvDequantDsp& t) { t.block = dequant; }

}  // namespace zep
