// The AVS weighting arithmetic on 16-bit lanes, shared by the SSSE3 and AVX2
// kernels: the low-half multiply and the add wrap at 16 bits exactly as the
// definition does, the shift is logical, the offset saturates, the pack clamps.
#pragma once

#include <immintrin.h>

namespace zep::avs_x86 {
namespace {

inline __m128i weigh(__m128i x16, __m128i scale, __m128i offset) {
    const __m128i t = _mm_srli_epi16(_mm_add_epi16(_mm_mullo_epi16(x16, scale), _mm_set1_epi16(16)), 5);
    return _mm_adds_epi16(t, offset);
}

}  // namespace
}  // namespace zep::avs_x86
