// SSSE3 kernel of the H.263 overlapped block motion compensation: per row,
// the three weighted predictions as byte pairs through pmaddubsw (weights are
// small), summed in 16-bit lanes.
#include <immintrin.h>

#include <cstddef>

#include "mpeg4/obmc_dsp.h"

namespace zep {
namespace {

inline __m128i row8(const Zep8u* p, Zep32s step, int y) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + static_cast<ptrdiff_t>(y) * step));
}

void obmc(const ObmcSources& s, Zep8u* dst, Zep32s dstStep) {
    const __m128i four = _mm_set1_epi16(4);
    for (int y = 0; y < 8; ++y) {
        const __m128i cur = row8(s.p[0], s.step[0], y);
        const __m128i vert = row8(s.p[y < 4 ? 1 : 2], s.step[y < 4 ? 1 : 2], y);
        // The horizontal neighbour: left for columns 0..3, right for 4..7.
        const __m128i left = row8(s.p[3], s.step[3], y), right = row8(s.p[4], s.step[4], y);
        const __m128i horiz = _mm_unpacklo_epi32(left, _mm_srli_si128(right, 4));
        const __m128i w0 = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(kObmcH0 + 8 * y));
        const __m128i w1 = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(kObmcH1 + 8 * y));
        const __m128i w2 = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(kObmcH2 + 8 * y));
        // cur*H0 + vert*H1 from one multiply-add of interleaved bytes; horiz*H2 with a zero partner.
        const __m128i a = _mm_maddubs_epi16(_mm_unpacklo_epi8(cur, vert), _mm_unpacklo_epi8(w0, w1));
        const __m128i b = _mm_maddubs_epi16(_mm_unpacklo_epi8(horiz, _mm_setzero_si128()),
                                            _mm_unpacklo_epi8(w2, _mm_setzero_si128()));
        const __m128i v = _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(a, b), four), 3);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + static_cast<ptrdiff_t>(y) * dstStep), _mm_packus_epi16(v, v));
    }
}

}  // namespace

void obmc_install_ssse3(ObmcDsp& t) { t.block = obmc; }

}  // namespace zep
