// Half-sample averages of 8-bit samples, exact to (a+b+1)>>1 and
// (a+b+c+d+2)>>2 without widening. Include only from SIMD translation units.
#pragma once

#include <immintrin.h>

namespace zep::x86 {

// (a+b+c+d+2)>>2 from two rounded pair averages: the pair averages round up
// twice, which overshoots by one exactly when a pair was odd and the two
// pair averages differ in their low bit.
inline __m128i avg4_epu8(__m128i a, __m128i b, __m128i c, __m128i d) {
    __m128i p = _mm_avg_epu8(a, b), q = _mm_avg_epu8(c, d);
    __m128i odd = _mm_or_si128(_mm_xor_si128(a, b), _mm_xor_si128(c, d));
    __m128i fix = _mm_and_si128(_mm_and_si128(odd, _mm_xor_si128(p, q)), _mm_set1_epi8(1));
    return _mm_sub_epi8(_mm_avg_epu8(p, q), fix);
}

#ifdef __AVX2__
inline __m256i avg4_epu8(__m256i a, __m256i b, __m256i c, __m256i d) {
    __m256i p = _mm256_avg_epu8(a, b), q = _mm256_avg_epu8(c, d);
    __m256i odd = _mm256_or_si256(_mm256_xor_si256(a, b), _mm256_xor_si256(c, d));
    __m256i fix = _mm256_and_si256(_mm256_and_si256(odd, _mm256_xor_si256(p, q)), _mm256_set1_epi8(1));
    return _mm256_sub_epi8(_mm256_avg_epu8(p, q), fix);
}

// Rows y and y + step as one register (low lane row y).
inline __m256i load2x16(const Zep8u* p, Zep32s step) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))),
                                   _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + step)), 1);
}
#endif

inline __m128i load16(const Zep8u* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

// Reference row of a half-sample mode: r0 is the row, r1 the one below.
template <int Mode>
inline __m128i hp_row16(const Zep8u* r0, const Zep8u* r1) {
    if constexpr (Mode == 0) return load16(r0);
    else if constexpr (Mode == 1) return _mm_avg_epu8(load16(r0), load16(r1));
    else if constexpr (Mode == 2) return _mm_avg_epu8(load16(r0), load16(r0 + 1));
    else return avg4_epu8(load16(r0), load16(r0 + 1), load16(r1), load16(r1 + 1));
}

}  // namespace zep::x86
