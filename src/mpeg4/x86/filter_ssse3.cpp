// SSSE3 kernels of the H.261 loop filter (the whole 8x8 block in eight 16-bit
// registers) and of the H.263 Annex J edge filter (the eight positions of a
// horizontal edge as one register per row; a vertical edge through a 4x8
// transpose).
#include <immintrin.h>

#include <cstddef>
#include <cstring>

#include "mpeg4/filter_dsp.h"

namespace zep {
namespace {

inline __m128i load8(const Zep8u* p) {
    return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_setzero_si128());
}

void loop(Zep8u* p, Zep32s step) {
    __m128i r[8], v[8];
    for (int y = 0; y < 8; ++y) r[y] = load8(p + static_cast<ptrdiff_t>(y) * step);
    // Vertical [1 2 1], the outer rows 4x.
    v[0] = _mm_slli_epi16(r[0], 2);
    v[7] = _mm_slli_epi16(r[7], 2);
    for (int y = 1; y < 7; ++y) v[y] = _mm_add_epi16(_mm_add_epi16(r[y - 1], r[y + 1]), _mm_slli_epi16(r[y], 1));
    const __m128i edges = _mm_setr_epi16(-1, 0, 0, 0, 0, 0, 0, -1), eight = _mm_set1_epi16(8);
    for (int y = 0; y < 8; ++y) {
        const __m128i left = _mm_slli_si128(v[y], 2), right = _mm_srli_si128(v[y], 2);
        const __m128i mid = _mm_add_epi16(_mm_add_epi16(left, right), _mm_slli_epi16(v[y], 1));
        // Columns 0 and 7 keep their own sample, 4x.
        const __m128i h = _mm_or_si128(_mm_andnot_si128(edges, mid), _mm_and_si128(edges, _mm_slli_epi16(v[y], 2)));
        const __m128i out = _mm_srli_epi16(_mm_add_epi16(h, eight), 4);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p + static_cast<ptrdiff_t>(y) * step), _mm_packus_epi16(out, out));
    }
}

// Truncating division of 16-bit lanes by 2^k (toward zero).
template <int K>
inline __m128i div_pow2(__m128i x) {
    const __m128i bias = _mm_and_si128(_mm_srai_epi16(x, 15), _mm_set1_epi16((1 << K) - 1));
    return _mm_srai_epi16(_mm_add_epi16(x, bias), K);
}

// Annex J on eight positions: A B | C D as 16-bit lanes.
inline void annex_j(__m128i& A, __m128i& B, __m128i& C, __m128i& D, int strength) {
    const __m128i d = div_pow2<3>(_mm_sub_epi16(_mm_add_epi16(_mm_slli_epi16(_mm_sub_epi16(C, B), 2), A), D));
    const __m128i a = _mm_abs_epi16(d);
    const __m128i over = _mm_max_epi16(_mm_slli_epi16(_mm_sub_epi16(a, _mm_set1_epi16(static_cast<short>(strength))), 1),
                                       _mm_setzero_si128());
    const __m128i m = _mm_max_epi16(_mm_sub_epi16(a, over), _mm_setzero_si128());
    const __m128i d1 = _mm_sign_epi16(m, d);
    const __m128i lim = _mm_abs_epi16(div_pow2<1>(d1));
    const __m128i d2 = _mm_min_epi16(_mm_max_epi16(div_pow2<2>(_mm_sub_epi16(A, D)), _mm_sub_epi16(_mm_setzero_si128(), lim)), lim);
    A = _mm_sub_epi16(A, d2);
    B = _mm_add_epi16(B, d1);
    C = _mm_sub_epi16(C, d1);
    D = _mm_add_epi16(D, d2);
}

inline void store8(Zep8u* p, __m128i v) { _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(v, v)); }

// Horizontal edge: the four rows around it are the lanes' A B C D.
void hor(Zep8u* p, Zep32s across, Zep32s, int strength) {
    __m128i A = load8(p - 2 * static_cast<ptrdiff_t>(across)), B = load8(p - across), C = load8(p),
            D = load8(p + across);
    annex_j(A, B, C, D, strength);
    store8(p - 2 * static_cast<ptrdiff_t>(across), A);
    store8(p - across, B);
    store8(p, C);
    store8(p + across, D);
}

// Vertical edge: each of the eight rows holds A B C D at p - 2 .. p + 1; the
// 8x4 bytes are transposed into one register of A and B and one of C and D.
void ver(Zep8u* p, Zep32s, Zep32s along, int strength) {
    auto row = [&](int i) {
        int v;
        std::memcpy(&v, p + static_cast<ptrdiff_t>(i) * along - 2, 4);
        return v;
    };
    const __m128i t4 = _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);  // 4x4 byte transpose
    const __m128i lo = _mm_shuffle_epi8(_mm_setr_epi32(row(0), row(1), row(2), row(3)), t4);  // A0-3 B0-3 C0-3 D0-3
    const __m128i hi = _mm_shuffle_epi8(_mm_setr_epi32(row(4), row(5), row(6), row(7)), t4);
    const __m128i ab = _mm_unpacklo_epi32(lo, hi), cd = _mm_unpackhi_epi32(lo, hi);  // A0-7 B0-7, C0-7 D0-7
    const __m128i z = _mm_setzero_si128();
    __m128i A = _mm_unpacklo_epi8(ab, z), B = _mm_unpackhi_epi8(ab, z), C = _mm_unpacklo_epi8(cd, z),
            D = _mm_unpackhi_epi8(cd, z);
    annex_j(A, B, C, D, strength);
    const __m128 AB = _mm_castsi128_ps(_mm_packus_epi16(A, B)), CD = _mm_castsi128_ps(_mm_packus_epi16(C, D));
    const __m128i rows03 = _mm_shuffle_epi8(_mm_castps_si128(_mm_shuffle_ps(AB, CD, _MM_SHUFFLE(2, 0, 2, 0))), t4);
    const __m128i rows47 = _mm_shuffle_epi8(_mm_castps_si128(_mm_shuffle_ps(AB, CD, _MM_SHUFFLE(3, 1, 3, 1))), t4);
    alignas(16) int out[8];
    _mm_store_si128(reinterpret_cast<__m128i*>(out), rows03);
    _mm_store_si128(reinterpret_cast<__m128i*>(out + 4), rows47);
    for (int i = 0; i < 8; ++i) std::memcpy(p + static_cast<ptrdiff_t>(i) * along - 2, &out[i], 4);
}

}  // namespace

void filter_install_ssse3(FilterDsp& t) {
    t.loop = loop;
    t.horEdge = hor;
    t.verEdge = ver;
}

}  // namespace zep
