// Half-sample averages and row loads of 8- and 16-bit samples, exact to
// (a+b+1)>>1 and (a+b+c+d+2)>>2 without widening. Include only from SIMD
// translation units. Everything here has internal linkage: each translation
// unit is compiled for its own instruction set, and a shared out-of-line copy
// picked by the linker could carry instructions the running CPU lacks.
#pragma once

#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "zepvc_types.h"

namespace zep::x86 {
namespace {

// (a+b+c+d+2)>>2 from two rounded pair averages: the pair averages round up
// twice, which overshoots by one exactly when a pair was odd and the two
// pair averages differ in their low bit.
inline __m128i avg4_epu8(__m128i a, __m128i b, __m128i c, __m128i d) {
    __m128i p = _mm_avg_epu8(a, b), q = _mm_avg_epu8(c, d);
    __m128i odd = _mm_or_si128(_mm_xor_si128(a, b), _mm_xor_si128(c, d));
    __m128i fix = _mm_and_si128(_mm_and_si128(odd, _mm_xor_si128(p, q)), _mm_set1_epi8(1));
    return _mm_sub_epi8(_mm_avg_epu8(p, q), fix);
}

// The same correction for 16-bit samples.
inline __m128i avg4_epu16(__m128i a, __m128i b, __m128i c, __m128i d) {
    __m128i p = _mm_avg_epu16(a, b), q = _mm_avg_epu16(c, d);
    __m128i odd = _mm_or_si128(_mm_xor_si128(a, b), _mm_xor_si128(c, d));
    __m128i fix = _mm_and_si128(_mm_and_si128(odd, _mm_xor_si128(p, q)), _mm_set1_epi16(1));
    return _mm_sub_epi16(_mm_avg_epu16(p, q), fix);
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

// Two rows of a half-sample mode's 16 reference samples (low lane row y).
template <int Mode>
inline __m256i hp_rows2x16(const Zep8u* r, Zep32s rs) {
    if constexpr (Mode == 0)
        return load2x16(r, rs);
    else if constexpr (Mode == 1)
        return _mm256_avg_epu8(load2x16(r, rs), load2x16(r + rs, rs));
    else if constexpr (Mode == 2)
        return _mm256_avg_epu8(load2x16(r, rs), load2x16(r + 1, rs));
    else
        return avg4_epu8(load2x16(r, rs), load2x16(r + 1, rs), load2x16(r + rs, rs), load2x16(r + rs + 1, rs));
}
#endif

inline __m128i load16(const Zep8u* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
// 8 bytes into the low half (upper half zero).
inline __m128i load8(const Zep8u* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
// 4 bytes into the low quarter (rest zero).
inline __m128i load4(const Zep8u* p) {
    int32_t v;
    std::memcpy(&v, p, 4);
    return _mm_cvtsi32_si128(v);
}

// Reference row of a half-sample mode: r0 is the row, r1 the one below. `N`
// bytes are read per row (16, 8 or 4); `Dx` is the byte distance to the right
// neighbour (1, or 2 for interleaved chroma).
template <int Mode, int N = 16, int Dx = 1>
inline __m128i hp_row(const Zep8u* r0, const Zep8u* r1) {
    auto ld = [](const Zep8u* p) {
        if constexpr (N == 16)
            return load16(p);
        else if constexpr (N == 8)
            return load8(p);
        else
            return load4(p);
    };
    if constexpr (Mode == 0)
        return ld(r0);
    else if constexpr (Mode == 1)
        return _mm_avg_epu8(ld(r0), ld(r1));
    else if constexpr (Mode == 2)
        return _mm_avg_epu8(ld(r0), ld(r0 + Dx));
    else
        return avg4_epu8(ld(r0), ld(r0 + Dx), ld(r1), ld(r1 + Dx));
}

template <int Mode>
inline __m128i hp_row16(const Zep8u* r0, const Zep8u* r1) {
    return hp_row<Mode, 16>(r0, r1);
}

// Eight 16-bit reference samples of a half-sample mode (N = 8), or four (N = 4,
// upper half zero).
template <int Mode, int N = 8>
inline __m128i hp_row_16u(const Zep16u* r0, const Zep16u* r1) {
    auto ld = [](const Zep16u* p) {
        if constexpr (N == 8)
            return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        else
            return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    };
    if constexpr (Mode == 0)
        return ld(r0);
    else if constexpr (Mode == 1)
        return _mm_avg_epu16(ld(r0), ld(r1));
    else if constexpr (Mode == 2)
        return _mm_avg_epu16(ld(r0), ld(r0 + 1));
    else
        return avg4_epu16(ld(r0), ld(r0 + 1), ld(r1), ld(r1 + 1));
}

}  // namespace
}  // namespace zep::x86
