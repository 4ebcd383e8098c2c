// AVX2 kernels of the H.264 4x4 quantisers (the whole block in one or two
// registers, counts from one byte mask) and the VEX-encoded transforms.
#include <immintrin.h>

#include "h264/fwdquant_dsp.h"
#include "h264/x86/fwdquant_x86.h"

namespace zep {
namespace {

// Two 128-bit loads: the blocks usually come straight from a transform that
// stored them in 128-bit halves, and one 256-bit load of those would miss
// store forwarding.
inline __m256i load256(const void* p) {
    const __m128i* q = static_cast<const __m128i*>(p);
    return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(q)), _mm_loadu_si128(q + 1), 1);
}
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

}  // namespace

void fwdquant_install_avx2(FwdQuantDsp& t) {
    // The 128-bit transforms again, VEX-encoded here: no SSE/AVX transitions
    // between them and the quantisers below. (A two-rows-a-register 256-bit
    // transform measured slower: its lane crossings cost more than they save.)
    t.fwd16 = fwdq_fwd16;
    t.fwd32 = fwdq_fwd32;
    t.quant16Flat = quant16_flat;
    t.quant16 = quant16;
    t.quant32 = quant32;
}

}  // namespace zep
