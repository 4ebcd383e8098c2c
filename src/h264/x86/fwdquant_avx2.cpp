// AVX2 kernels of the H.264 4x4 quantisers: the whole block in one or two
// registers, counts from one byte mask.
#include <immintrin.h>

#include "h264/fwdquant_dsp.h"

namespace zep {
namespace {

inline __m256i load256(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }
inline void store256(void* p, __m256i v) { _mm256_storeu_si256(static_cast<__m256i*>(p), v); }

// Count of non-zero levels and the largest scan position among them (never
// below 0), from the 16 levels as one register of 16-bit values.
inline void counts(__m256i lv, const Zep16s* scanPos, Zep32s* numLevels, Zep32s* lastScanPos) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i z = _mm256_cmpeq_epi16(lv, zero);
    *numLevels = 16 - (_mm_popcnt_u32(static_cast<unsigned>(_mm256_movemask_epi8(z))) >> 1);
    const __m256i m256 = _mm256_max_epi16(_mm256_andnot_si256(z, load256(scanPos)), zero);
    __m128i m = _mm_max_epi16(_mm256_castsi256_si128(m256), _mm256_extracti128_si256(m256, 1));
    m = _mm_max_epi16(m, _mm_shuffle_epi32(m, _MM_SHUFFLE(1, 0, 3, 2)));
    m = _mm_max_epi16(m, _mm_shuffle_epi32(m, _MM_SHUFFLE(2, 3, 0, 1)));
    m = _mm_max_epi16(m, _mm_shufflelo_epi16(m, _MM_SHUFFLE(2, 3, 0, 1)));
    *lastScanPos = static_cast<Zep16s>(_mm_cvtsi128_si32(m));
}

// Built-in multipliers (< 2^15): exact products from one unsigned 16x16 pair;
// the in-lane unpack and pack cancel out, so levels come back in order.
void quant16_flat(const Zep16s* src, Zep16s* dst, Zep32s* numLevels, Zep32s* lastScanPos, const Zep32s* mult,
                  const Zep16s* scanPos, Zep32s rounding, int shift) {
    const __m256i rnd = _mm256_set1_epi32(rounding);
    const __m128i sh = _mm_cvtsi32_si128(shift);
    const __m256i c = load256(src);
    const __m256i a = _mm256_abs_epi16(c);
    const __m256i m = _mm256_permute4x64_epi64(_mm256_packs_epi32(load256(mult), load256(mult + 8)), 0xD8);
    const __m256i lo = _mm256_mullo_epi16(a, m), hi = _mm256_mulhi_epu16(a, m);
    const __m256i p0 = _mm256_sra_epi32(_mm256_add_epi32(_mm256_unpacklo_epi16(lo, hi), rnd), sh);
    const __m256i p1 = _mm256_sra_epi32(_mm256_add_epi32(_mm256_unpackhi_epi16(lo, hi), rnd), sh);
    const __m256i lv = _mm256_sign_epi16(_mm256_packs_epi32(p0, p1), c);
    store256(dst, lv);
    counts(lv, scanPos, numLevels, lastScanPos);
}

// Any 32-bit multipliers: sign restored in 32 bits before the saturating pack.
void quant16(const Zep16s* src, Zep16s* dst, Zep32s* numLevels, Zep32s* lastScanPos, const Zep32s* mult,
             const Zep16s* scanPos, Zep32s rounding, int shift) {
    const __m256i rnd = _mm256_set1_epi32(rounding);
    const __m128i sh = _mm_cvtsi32_si128(shift);
    const __m256i c = load256(src);
    const __m256i a = _mm256_abs_epi16(c);
    __m256i l[2];
    for (int h = 0; h < 2; ++h) {
        const __m256i a32 = _mm256_cvtepu16_epi32(h ? _mm256_extracti128_si256(a, 1) : _mm256_castsi256_si128(a));
        const __m256i c32 = _mm256_cvtepi16_epi32(h ? _mm256_extracti128_si256(c, 1) : _mm256_castsi256_si128(c));
        const __m256i p = _mm256_mullo_epi32(a32, load256(mult + 8 * h));
        l[h] = _mm256_sign_epi32(_mm256_sra_epi32(_mm256_add_epi32(p, rnd), sh), c32);
    }
    const __m256i lv = _mm256_permute4x64_epi64(_mm256_packs_epi32(l[0], l[1]), 0xD8);
    store256(dst, lv);
    counts(lv, scanPos, numLevels, lastScanPos);
}

void quant32(const Zep32s* src, Zep32s* dst, Zep32s* numLevels, Zep32s* lastScanPos, const Zep32s* mult,
             const Zep16s* scanPos, Zep32s rounding, int shift) {
    const __m256i rnd = _mm256_set1_epi32(rounding);
    const __m128i sh = _mm_cvtsi32_si128(shift);
    __m256i l[2];
    for (int h = 0; h < 2; ++h) {
        const __m256i c = load256(src + 8 * h);
        const __m256i p = _mm256_mullo_epi32(_mm256_abs_epi32(c), load256(mult + 8 * h));
        l[h] = _mm256_sign_epi32(_mm256_sra_epi32(_mm256_add_epi32(p, rnd), sh), c);
        store256(dst + 8 * h, l[h]);
    }
    // Saturating to 16 bits keeps non-zero levels non-zero.
    counts(_mm256_permute4x64_epi64(_mm256_packs_epi32(l[0], l[1]), 0xD8), scanPos, numLevels, lastScanPos);
}

// Forward transform of 32-bit values, two rows a register: rows 0|1 and 3|2
// give s and d of the row pass for two rows at once.
inline void transpose32(__m256i& r01, __m256i& r23) {
    // 4x4 transpose of 32-bit values held as rows 0|1 and 2|3.
    const __m256i idx = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    const __m256i a = _mm256_permutevar8x32_epi32(r01, idx);  // r0c0 r1c0 r0c1 r1c1 r0c2 r1c2 r0c3 r1c3
    const __m256i b = _mm256_permutevar8x32_epi32(r23, idx);  // r2c0 r3c0 ...
    const __m256i c = _mm256_unpacklo_epi64(a, b);             // c0 | c2
    const __m256i d = _mm256_unpackhi_epi64(a, b);             // c1 | c3
    r01 = _mm256_permute2x128_si256(c, d, 0x20);               // c0 | c1
    r23 = _mm256_permute2x128_si256(c, d, 0x31);               // c2 | c3
}

inline void butterfly32(__m256i& x01, __m256i& x23) {
    const __m256i x32 = _mm256_permute2x128_si256(x23, x23, 0x01);
    const __m256i s = _mm256_add_epi32(x01, x32);  // s0 | s1
    const __m256i d = _mm256_sub_epi32(x01, x32);  // d0 | d1
    const __m256i sSw = _mm256_permute2x128_si256(s, s, 0x01);
    const __m256i dSw = _mm256_permute2x128_si256(d, d, 0x01);
    const __m256i y0 = _mm256_add_epi32(s, sSw);
    const __m256i y2 = _mm256_sub_epi32(s, sSw);
    const __m256i y1 = _mm256_add_epi32(_mm256_add_epi32(d, d), dSw);
    const __m256i y3 = _mm256_sub_epi32(_mm256_sub_epi32(d, dSw), dSw);
    x01 = _mm256_permute2x128_si256(y0, y1, 0x20);
    x23 = _mm256_permute2x128_si256(y2, y3, 0x20);
}

void fwd32(const Zep32s* src, Zep32s* dst) {
    __m256i a = load256(src), b = load256(src + 8);
    transpose32(a, b);
    butterfly32(a, b);
    transpose32(a, b);
    butterfly32(a, b);
    store256(dst, a);
    store256(dst + 8, b);
}

}  // namespace

void fwdquant_install_avx2(FwdQuantDsp& t) {
    t.fwd32 = fwd32;
    t.quant16Flat = quant16_flat;
    t.quant16 = quant16;
    t.quant32 = quant32;
}

}  // namespace zep
