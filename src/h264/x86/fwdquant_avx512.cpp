// AVX-512 kernels of the H.264 4x4 32-bit forward transform and the
// quantisers: the whole block in one register, counts from mask registers.
// GCC 12's AVX-512 headers pass an uninitialised pass-through register to the
// unmasked conversions and report it as (maybe) uninitialised; it is never read.
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>

#include "h264/fwdquant_dsp.h"

namespace zep {
namespace {

// The transform is linear and wraps, so the row and column passes need no
// transposes: the column pass works across the four 128-bit lanes (rows) and
// the row pass across the four values of each lane. Either pass on
// (x0, x1, x2, x3) with r = (x3, x2, x1, x0):
//   z = v + r on 0 and 2, r - v on 1 and 3  -> (s0, -d1, s1, d0)
//   w = z with halves swapped               -> (s1, d0, s0, -d1)
//   w doubled on 1 and 3                    -> (s1, 2 d0, s0, -2 d1)
//   y = z + w on 0 and 3, w - z on 1 and 2  -> (s0 + s1, 2 d0 + d1, s0 - s1, d0 - 2 d1)
// (2 d0 + d1 equals d0 + d0 + d1 and d0 - 2 d1 equals d0 - d1 - d1 in wrapping
// arithmetic.) Masks: bit i of the 16-bit mask is value i of the register.
constexpr __mmask16 kRowOdd = 0xAAAA, kRowMid = 0x6666;  // values 1, 3 / 1, 2 of each row
constexpr __mmask16 kColOdd = 0xF0F0, kColMid = 0x0FF0;  // rows 1, 3 / 1, 2

inline __m512i pass(__m512i v, __m512i r, __mmask16 odd, __mmask16 mid, bool rows) {
    const __m512i z = _mm512_mask_sub_epi32(_mm512_add_epi32(v, r), odd, r, v);
    const __m512i w = rows ? _mm512_shuffle_epi32(z, _MM_PERM_BADC) : _mm512_shuffle_i32x4(z, z, _MM_SHUFFLE(1, 0, 3, 2));
    const __m512i w2 = _mm512_mask_add_epi32(w, odd, w, w);
    return _mm512_mask_sub_epi32(_mm512_add_epi32(z, w2), mid, w2, z);
}

void fwd32(const Zep32s* src, Zep32s* dst) {
    const __m512i v = _mm512_loadu_si512(src);
    const __m512i h = pass(v, _mm512_shuffle_epi32(v, _MM_PERM_ABCD), kRowOdd, kRowMid, true);
    _mm512_storeu_si512(dst, pass(h, _mm512_shuffle_i32x4(h, h, _MM_SHUFFLE(0, 1, 2, 3)), kColOdd, kColMid, false));
}

// Count and largest scan position (never below 0) of the non-zero levels.
inline void counts(__mmask16 nz, const Zep16s* scanPos, Zep32s* numLevels, Zep32s* lastScanPos) {
    *numLevels = _mm_popcnt_u32(nz);
    const __m256i sp = _mm256_maskz_mov_epi16(nz, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(scanPos)));
    __m128i m = _mm_max_epi16(_mm256_castsi256_si128(sp), _mm256_extracti128_si256(sp, 1));
    // Largest of 0..32767 values as 32767 minus the smallest of their complements.
    m = _mm_sub_epi16(_mm_set1_epi16(0x7FFF), _mm_max_epi16(m, _mm_setzero_si128()));
    *lastScanPos = 0x7FFF - (_mm_cvtsi128_si32(_mm_minpos_epu16(m)) & 0xFFFF);
}

// (|c| * m + rounding) >> shift with the sign of c restored, all 32-bit; `nz`
// receives the non-zero levels (tested before the sign, off the critical path).
// The shift is a per-value one: the xmm-count form costs an extra uop.
inline __m512i levels(__m512i c, const Zep32s* mult, Zep32s rounding, int shift, __mmask16& nz) {
    const __m512i p = _mm512_mullo_epi32(_mm512_abs_epi32(c), _mm512_loadu_si512(mult));
    const __m512i l = _mm512_srav_epi32(_mm512_add_epi32(p, _mm512_set1_epi32(rounding)), _mm512_set1_epi32(shift));
    nz = _mm512_test_epi32_mask(l, l);
    return _mm512_mask_sub_epi32(l, _mm512_movepi32_mask(c), _mm512_setzero_si512(), l);
}

void quant32(const Zep32s* src, Zep32s* dst, Zep32s* numLevels, Zep32s* lastScanPos, const Zep32s* mult,
             const Zep16s* scanPos, Zep32s rounding, int shift) {
    __mmask16 nz;
    _mm512_storeu_si512(dst, levels(_mm512_loadu_si512(src), mult, rounding, shift, nz));
    counts(nz, scanPos, numLevels, lastScanPos);
}

// Sign restored in 32 bits, then saturated to 16 (vpmovsdw).
void quant16(const Zep16s* src, Zep16s* dst, Zep32s* numLevels, Zep32s* lastScanPos, const Zep32s* mult,
             const Zep16s* scanPos, Zep32s rounding, int shift) {
    // Two 128-bit loads: a block just stored by the 128-bit transform would miss
    // store forwarding with one 256-bit load.
    const __m128i* s = reinterpret_cast<const __m128i*>(src);
    const __m512i c = _mm512_cvtepi16_epi32(
        _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(s)), _mm_loadu_si128(s + 1), 1));
    __mmask16 nz;
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), _mm512_cvtsepi32_epi16(levels(c, mult, rounding, shift, nz)));
    counts(nz, scanPos, numLevels, lastScanPos);
}

}  // namespace

void fwdquant_install_avx512(FwdQuantDsp& t) {
    // The built-in-multiplier 16-bit quantiser stays at its AVX2 kernel: its
    // 16x16 multiplies beat widening to 32 bits.
    t.fwd32 = fwd32;
    t.quant16 = quant16;
    t.quant32 = quant32;
}

}  // namespace zep
