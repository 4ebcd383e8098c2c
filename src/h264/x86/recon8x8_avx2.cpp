// AVX2 kernel of the H.264 8x8 block reconstruction: one row of eight 32-bit
// values per register, so each 1-D pass is the scalar butterfly applied to
// eight registers at once; a transpose puts the rows across the registers
// for the first pass and back for the second.
#include <immintrin.h>

#include <cstddef>

#include "h264/recon8x8_dsp.h"

namespace zep {
namespace {

inline void transpose8x8_epi32(__m256i (&v)[8]) {
    const __m256i a0 = _mm256_unpacklo_epi32(v[0], v[1]), a1 = _mm256_unpackhi_epi32(v[0], v[1]);
    const __m256i a2 = _mm256_unpacklo_epi32(v[2], v[3]), a3 = _mm256_unpackhi_epi32(v[2], v[3]);
    const __m256i a4 = _mm256_unpacklo_epi32(v[4], v[5]), a5 = _mm256_unpackhi_epi32(v[4], v[5]);
    const __m256i a6 = _mm256_unpacklo_epi32(v[6], v[7]), a7 = _mm256_unpackhi_epi32(v[6], v[7]);
    const __m256i b0 = _mm256_unpacklo_epi64(a0, a2), b1 = _mm256_unpackhi_epi64(a0, a2);
    const __m256i b2 = _mm256_unpacklo_epi64(a1, a3), b3 = _mm256_unpackhi_epi64(a1, a3);
    const __m256i b4 = _mm256_unpacklo_epi64(a4, a6), b5 = _mm256_unpackhi_epi64(a4, a6);
    const __m256i b6 = _mm256_unpacklo_epi64(a5, a7), b7 = _mm256_unpackhi_epi64(a5, a7);
    v[0] = _mm256_permute2x128_si256(b0, b4, 0x20);
    v[1] = _mm256_permute2x128_si256(b1, b5, 0x20);
    v[2] = _mm256_permute2x128_si256(b2, b6, 0x20);
    v[3] = _mm256_permute2x128_si256(b3, b7, 0x20);
    v[4] = _mm256_permute2x128_si256(b0, b4, 0x31);
    v[5] = _mm256_permute2x128_si256(b1, b5, 0x31);
    v[6] = _mm256_permute2x128_si256(b2, b6, 0x31);
    v[7] = _mm256_permute2x128_si256(b3, b7, 0x31);
}

inline __m256i add(__m256i a, __m256i b) { return _mm256_add_epi32(a, b); }
inline __m256i sub(__m256i a, __m256i b) { return _mm256_sub_epi32(a, b); }
inline __m256i sra1(__m256i a) { return _mm256_srai_epi32(a, 1); }
inline __m256i sra2(__m256i a) { return _mm256_srai_epi32(a, 2); }

// The butterfly of one 1-D pass; v[k] holds element k of eight lines.
inline void butterfly(__m256i (&d)[8]) {
    const __m256i a0 = add(d[0], d[4]), a4 = sub(d[0], d[4]), a2 = sub(sra1(d[2]), d[6]), a6 = add(d[2], sra1(d[6]));
    const __m256i b0 = add(a0, a6), b2 = add(a4, a2), b4 = sub(a4, a2), b6 = sub(a0, a6);
    const __m256i a1 = sub(sub(sub(d[5], d[3]), d[7]), sra1(d[7]));
    const __m256i a3 = sub(sub(add(d[1], d[7]), d[3]), sra1(d[3]));
    const __m256i a5 = add(add(sub(d[7], d[1]), d[5]), sra1(d[5]));
    const __m256i a7 = add(add(add(d[3], d[5]), d[1]), sra1(d[1]));
    const __m256i b1 = add(a1, sra2(a7)), b7 = sub(a7, sra2(a1)), b3 = add(a3, sra2(a5)), b5 = sub(sra2(a3), a5);
    d[0] = add(b0, b7);
    d[1] = add(b2, b5);
    d[2] = add(b4, b3);
    d[3] = add(b6, b1);
    d[4] = sub(b6, b1);
    d[5] = sub(b4, b3);
    d[6] = sub(b2, b5);
    d[7] = sub(b0, b7);
}

void recon8x8(Zep16s* c, Zep8u* dst, Zep32s step, const Zep16s* scale, int qp) {
    __m256i d[8];
    const bool left = qp >= 36;
    const __m128i sh = _mm_cvtsi32_si128(left ? qp / 6 - 6 : 6 - qp / 6);
    const __m256i round = _mm256_set1_epi32(left ? 0 : 1 << (5 - qp / 6));
    for (int i = 0; i < 8; ++i) {
        const __m256i cv = _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(c + 8 * i)));
        const __m256i sv = _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(scale + 8 * i)));
        const __m256i v = _mm256_mullo_epi32(cv, sv);
        d[i] = left ? _mm256_sll_epi32(v, sh) : _mm256_sra_epi32(_mm256_add_epi32(v, round), sh);
    }
    transpose8x8_epi32(d);  // register k: element k of every row
    butterfly(d);           // along the rows
    transpose8x8_epi32(d);  // register i: row i
    butterfly(d);           // along the columns
    const __m256i r32 = _mm256_set1_epi32(32);
    for (int y = 0; y < 8; y += 2) {
        const __m256i r0 = _mm256_srai_epi32(_mm256_add_epi32(d[y], r32), 6);
        const __m256i r1 = _mm256_srai_epi32(_mm256_add_epi32(d[y + 1], r32), 6);
        // Two rows of saturated 16-bit residuals, in order.
        const __m256i r = _mm256_permute4x64_epi64(_mm256_packs_epi32(r0, r1), 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(c + 8 * y), r);
        Zep8u* p0 = dst + static_cast<ptrdiff_t>(step) * y;
        Zep8u* p1 = p0 + step;
        const __m128i pred = _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p0)),
                                                _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p1)));
        const __m256i sum = _mm256_adds_epi16(_mm256_cvtepu8_epi16(pred), r);
        const __m128i out = _mm_packus_epi16(_mm256_castsi256_si128(sum), _mm256_extracti128_si256(sum, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p0), out);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p1), _mm_unpackhi_epi64(out, out));
    }
}

}  // namespace

void recon8x8_install_avx2(Recon8x8Dsp& t) { t.block = recon8x8; }

}  // namespace zep
