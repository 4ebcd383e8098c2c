// SSE4.1 kernels of the MPEG-4 / H.263 inverse quantisation: eight
// coefficients a step, positions outside first..last kept by a lane mask.
// The H.263 form stays in 16-bit lanes (magnitudes from 1024 up saturate
// whatever QP, so they are capped there before the multiply); the matrix form
// multiplies and adds in 32-bit lanes.
#include <immintrin.h>

#include "mpeg4/quant_dsp.h"

namespace zep {
namespace {

inline __m128i lane_mask(int base, int first, int last) {
    const __m128i pos = _mm_add_epi16(_mm_set1_epi16(static_cast<short>(base)), _mm_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7));
    const __m128i lo = _mm_cmpgt_epi16(_mm_set1_epi16(static_cast<short>(first)), pos);  // pos < first
    const __m128i hi = _mm_cmpgt_epi16(pos, _mm_set1_epi16(static_cast<short>(last)));   // pos > last
    return _mm_andnot_si128(_mm_or_si128(lo, hi), _mm_set1_epi16(-1));
}

void h263(Zep16s* c, int first, int last, int qp) {
    const __m128i q2 = _mm_set1_epi16(static_cast<short>(2 * qp));
    const __m128i odd = _mm_set1_epi16(static_cast<short>((qp & 1) ? qp : qp - 1));
    const __m128i cap = _mm_set1_epi16(1024), posMax = _mm_set1_epi16(2047);
    for (int base = 0; base < 64; base += 8) {
        if (base > last || base + 7 < first) continue;
        __m128i* p = reinterpret_cast<__m128i*>(c + base);
        const __m128i l = _mm_loadu_si128(p);
        const __m128i a = _mm_min_epu16(_mm_abs_epi16(l), cap);
        const __m128i v = _mm_add_epi16(_mm_mullo_epi16(a, q2), odd);
        // Magnitude limit 2047 for positive levels, 2048 for negative ones.
        const __m128i limit = _mm_sub_epi16(posMax, _mm_srai_epi16(l, 15));
        const __m128i r = _mm_sign_epi16(_mm_min_epu16(v, limit), l);
        _mm_storeu_si128(p, _mm_blendv_epi8(l, r, lane_mask(base, first, last)));
    }
}

// One multiply-add per pair forms L x 2WQ + sign(L) x WQ exactly in 32 bits
// (WQ = W x QP fits 13 bits at 8-bit depth, so 2 WQ fits a 16-bit lane).
// Vectors wholly inside first..last skip the lane mask.
template <bool Intra, bool Masked>
inline __m128i matrix8(Zep16s* c, const Zep16u* w, int base, int first, int last, __m128i q, __m128i vlo, __m128i vhi,
                       __m128i sum) {
    __m128i* p = reinterpret_cast<__m128i*>(c + base);
    const __m128i l = _mm_loadu_si128(p);
    const __m128i wq = _mm_mullo_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(w + base)), q);
    const __m128i wq2 = _mm_add_epi16(wq, wq);
    const __m128i sgn = Intra ? _mm_setzero_si128() : _mm_sign_epi16(_mm_set1_epi16(1), l);
    const __m128i fifteen = _mm_set1_epi32(15);
    __m128i out[2];
    for (int h = 0; h < 2; ++h) {
        const __m128i pairs = h ? _mm_unpackhi_epi16(l, sgn) : _mm_unpacklo_epi16(l, sgn);
        const __m128i k = h ? _mm_unpackhi_epi16(wq2, wq) : _mm_unpacklo_epi16(wq2, wq);
        const __m128i t = _mm_madd_epi16(pairs, k);
        const __m128i d = _mm_srai_epi32(_mm_add_epi32(t, _mm_and_si128(_mm_srai_epi32(t, 31), fifteen)), 4);
        out[h] = _mm_min_epi32(_mm_max_epi32(d, vlo), vhi);  // zero levels give 0, inside any range
    }
    const __m128i r = _mm_packs_epi32(out[0], out[1]);
    if constexpr (Masked) {
        const __m128i mask = lane_mask(base, first, last);
        const __m128i m32lo = _mm_cvtepi16_epi32(mask), m32hi = _mm_cvtepi16_epi32(_mm_unpackhi_epi64(mask, mask));
        sum = _mm_add_epi32(sum, _mm_add_epi32(_mm_and_si128(out[0], m32lo), _mm_and_si128(out[1], m32hi)));
        _mm_storeu_si128(p, _mm_blendv_epi8(l, r, mask));
    } else {
        sum = _mm_add_epi32(sum, _mm_add_epi32(out[0], out[1]));
        _mm_storeu_si128(p, r);
    }
    return sum;
}

template <bool Intra>
int32_t matrix(Zep16s* c, const Zep16u* w, int first, int last, int qp, int lo, int hi) {
    const __m128i q = _mm_set1_epi16(static_cast<short>(qp)), vlo = _mm_set1_epi32(lo), vhi = _mm_set1_epi32(hi);
    __m128i sum = _mm_setzero_si128();
    for (int base = 0; base < 64; base += 8) {
        if (base > last || base + 7 < first) continue;
        if (base >= first && base + 7 <= last) sum = matrix8<Intra, false>(c, w, base, first, last, q, vlo, vhi, sum);
        else sum = matrix8<Intra, true>(c, w, base, first, last, q, vlo, vhi, sum);
    }
    sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, 0x4E));
    sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, 0xB1));
    return _mm_cvtsi128_si32(sum);
}

}  // namespace

void quantinv_install_sse41(QuantInvDsp& t) {
    t.h263 = h263;
    t.matrixInter = matrix<false>;
    t.matrixIntra = matrix<true>;
}

}  // namespace zep
