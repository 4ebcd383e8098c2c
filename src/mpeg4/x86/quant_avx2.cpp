// AVX2 kernel of the MPEG-4 second-method inverse quantisation: the SSE4.1
// kernel's multiply-add form on sixteen coefficients a step. The in-lane
// unpacks and the in-lane pack undo each other, so results come back in order.
#include <immintrin.h>

#include "mpeg4/quant_dsp.h"

namespace zep {
namespace {

template <bool Intra>
int32_t matrix(Zep16s* c, const Zep16u* w, int first, int last, int qp, int lo, int hi) {
    const __m256i q = _mm256_set1_epi16(static_cast<short>(qp)), vlo = _mm256_set1_epi32(lo), vhi = _mm256_set1_epi32(hi);
    const __m256i fifteen = _mm256_set1_epi32(15), ramp = _mm256_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13,
                                                                             14, 15);
    __m256i sum = _mm256_setzero_si256();
    for (int base = 0; base < 64; base += 16) {
        if (base > last || base + 15 < first) continue;
        __m256i* p = reinterpret_cast<__m256i*>(c + base);
        const __m256i l = _mm256_loadu_si256(p);
        const __m256i wq = _mm256_mullo_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(w + base)), q);
        const __m256i wq2 = _mm256_add_epi16(wq, wq);
        const __m256i sgn = Intra ? _mm256_setzero_si256() : _mm256_sign_epi16(_mm256_set1_epi16(1), l);
        __m256i out[2];
        for (int h = 0; h < 2; ++h) {
            const __m256i pairs = h ? _mm256_unpackhi_epi16(l, sgn) : _mm256_unpacklo_epi16(l, sgn);
            const __m256i k = h ? _mm256_unpackhi_epi16(wq2, wq) : _mm256_unpacklo_epi16(wq2, wq);
            const __m256i t = _mm256_madd_epi16(pairs, k);
            const __m256i d =
                _mm256_srai_epi32(_mm256_add_epi32(t, _mm256_and_si256(_mm256_srai_epi32(t, 31), fifteen)), 4);
            out[h] = _mm256_min_epi32(_mm256_max_epi32(d, vlo), vhi);
        }
        const __m256i r = _mm256_packs_epi32(out[0], out[1]);
        if (base >= first && base + 15 <= last) {
            sum = _mm256_add_epi32(sum, _mm256_add_epi32(out[0], out[1]));
            _mm256_storeu_si256(p, r);
            continue;
        }
        // Edge vector: lanes outside first..last keep their level and add nothing.
        const __m256i pos = _mm256_add_epi16(_mm256_set1_epi16(static_cast<short>(base)), ramp);
        const __m256i out16 = _mm256_or_si256(_mm256_cmpgt_epi16(_mm256_set1_epi16(static_cast<short>(first)), pos),
                                              _mm256_cmpgt_epi16(pos, _mm256_set1_epi16(static_cast<short>(last))));
        const __m256i mask = _mm256_andnot_si256(out16, _mm256_set1_epi16(-1));
        // Per 32-bit lane of out[h]: the 16-bit mask lanes in the same unpack order.
        const __m256i mlo = _mm256_unpacklo_epi16(mask, mask), mhi = _mm256_unpackhi_epi16(mask, mask);
        sum = _mm256_add_epi32(sum, _mm256_add_epi32(_mm256_and_si256(out[0], mlo), _mm256_and_si256(out[1], mhi)));
        _mm256_storeu_si256(p, _mm256_blendv_epi8(l, r, mask));
    }
    __m128i s = _mm_add_epi32(_mm256_castsi256_si128(sum), _mm256_extracti128_si256(sum, 1));
    s = _mm_add_epi32(s, _mm_shuffle_epi32(s, 0x4E));
    s = _mm_add_epi32(s, _mm_shuffle_epi32(s, 0xB1));
    return _mm_cvtsi128_si32(s);
}

}  // namespace

void quantinv_install_avx2(QuantInvDsp& t) {
    t.matrixInter = matrix<false>;
    t.matrixIntra = matrix<true>;
}

}  // namespace zep
