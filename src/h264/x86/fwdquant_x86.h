// 128-bit kernels of the H.264 4x4 forward transform and quantisers, shared by
// the SSSE3 and SSE4.1 translation units (the latter has a native 32-bit
// multiply). Everything sits in an anonymous namespace: each including unit
// gets its own copy, compiled for its own target.
#pragma once

#include <immintrin.h>

#include "zepvc_types.h"

namespace zep {
namespace {

inline __m128i fwdq_load(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
inline void fwdq_store(void* p, __m128i v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }

// 4x4 transpose of 16-bit values held as two registers of two rows each.
inline void fwdq_transpose16(__m128i& r01, __m128i& r23) {
    const __m128i a = _mm_unpacklo_epi16(r01, r23), b = _mm_unpackhi_epi16(r01, r23);
    r01 = _mm_unpacklo_epi16(a, b);
    r23 = _mm_unpackhi_epi16(a, b);
}

// Butterfly on x0|x1 and x2|x3 (four lanes each), saturating every sum on its
// own in the order the scalar transform forms it; returns y0|y1 and y2|y3.
inline void fwdq_butterfly16(__m128i& x01, __m128i& x23) {
    const __m128i x32 = _mm_shuffle_epi32(x23, _MM_SHUFFLE(1, 0, 3, 2));
    const __m128i s = _mm_adds_epi16(x01, x32);  // s0 | s1
    const __m128i d = _mm_subs_epi16(x01, x32);  // d0 | d1
    const __m128i sSw = _mm_shuffle_epi32(s, _MM_SHUFFLE(1, 0, 3, 2));
    const __m128i dSw = _mm_shuffle_epi32(d, _MM_SHUFFLE(1, 0, 3, 2));
    const __m128i y0 = _mm_adds_epi16(s, sSw);
    const __m128i y2 = _mm_subs_epi16(s, sSw);
    const __m128i y1 = _mm_adds_epi16(_mm_adds_epi16(d, d), dSw);
    const __m128i y3 = _mm_subs_epi16(_mm_subs_epi16(d, dSw), dSw);
    x01 = _mm_unpacklo_epi64(y0, y1);
    x23 = _mm_unpacklo_epi64(y2, y3);
}

// Transposed first, the row pass becomes lane-parallel; transposing back makes
// the column pass lane-parallel and leaves the result in raster order.
inline void fwdq_fwd16(const Zep16s* src, Zep16s* dst) {
    __m128i a = fwdq_load(src), b = fwdq_load(src + 8);
    fwdq_transpose16(a, b);
    fwdq_butterfly16(a, b);
    fwdq_transpose16(a, b);
    fwdq_butterfly16(a, b);
    fwdq_store(dst, a);
    fwdq_store(dst + 8, b);
}

inline void fwdq_transpose32(__m128i& r0, __m128i& r1, __m128i& r2, __m128i& r3) {
    const __m128i a = _mm_unpacklo_epi32(r0, r1), b = _mm_unpacklo_epi32(r2, r3);
    const __m128i c = _mm_unpackhi_epi32(r0, r1), d = _mm_unpackhi_epi32(r2, r3);
    r0 = _mm_unpacklo_epi64(a, b);
    r1 = _mm_unpackhi_epi64(a, b);
    r2 = _mm_unpacklo_epi64(c, d);
    r3 = _mm_unpackhi_epi64(c, d);
}

inline void fwdq_butterfly32(__m128i& x0, __m128i& x1, __m128i& x2, __m128i& x3) {
    const __m128i s0 = _mm_add_epi32(x0, x3), s1 = _mm_add_epi32(x1, x2);
    const __m128i d0 = _mm_sub_epi32(x0, x3), d1 = _mm_sub_epi32(x1, x2);
    x0 = _mm_add_epi32(s0, s1);
    x1 = _mm_add_epi32(_mm_add_epi32(d0, d0), d1);
    x2 = _mm_sub_epi32(s0, s1);
    x3 = _mm_sub_epi32(_mm_sub_epi32(d0, d1), d1);
}

inline void fwdq_fwd32(const Zep32s* src, Zep32s* dst) {
    __m128i r0 = fwdq_load(src), r1 = fwdq_load(src + 4), r2 = fwdq_load(src + 8), r3 = fwdq_load(src + 12);
    fwdq_transpose32(r0, r1, r2, r3);
    fwdq_butterfly32(r0, r1, r2, r3);
    fwdq_transpose32(r0, r1, r2, r3);
    fwdq_butterfly32(r0, r1, r2, r3);
    fwdq_store(dst, r0);
    fwdq_store(dst + 4, r1);
    fwdq_store(dst + 8, r2);
    fwdq_store(dst + 12, r3);
}

// Low 32 bits of a 32x32 product (wrapping, like the scalar definition).
template <bool Native>
inline __m128i fwdq_mullo32(__m128i a, __m128i b) {
    if constexpr (Native) {
#ifdef __SSE4_1__
        return _mm_mullo_epi32(a, b);
#endif
    }
    const __m128i even = _mm_mul_epu32(a, b);
    const __m128i odd = _mm_mul_epu32(_mm_srli_epi64(a, 32), _mm_srli_epi64(b, 32));
    return _mm_unpacklo_epi32(_mm_shuffle_epi32(even, _MM_SHUFFLE(0, 0, 2, 0)),
                              _mm_shuffle_epi32(odd, _MM_SHUFFLE(0, 0, 2, 0)));
}

// Count of non-zero levels and the largest scan position among them (never
// below 0), from the 16 levels as two registers of eight 16-bit values.
inline void fwdq_counts(__m128i l0, __m128i l1, const Zep16s* scanPos, Zep32s* numLevels, Zep32s* lastScanPos) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i z0 = _mm_cmpeq_epi16(l0, zero), z1 = _mm_cmpeq_epi16(l1, zero);
    const __m128i nzBytes = _mm_andnot_si128(_mm_packs_epi16(z0, z1), _mm_set1_epi8(1));
    const __m128i sums = _mm_sad_epu8(nzBytes, zero);
    *numLevels = _mm_cvtsi128_si32(_mm_add_epi32(sums, _mm_unpackhi_epi64(sums, sums)));
    __m128i m = _mm_max_epi16(_mm_andnot_si128(z0, fwdq_load(scanPos)), _mm_andnot_si128(z1, fwdq_load(scanPos + 8)));
    m = _mm_max_epi16(m, zero);
    m = _mm_max_epi16(m, _mm_shuffle_epi32(m, _MM_SHUFFLE(1, 0, 3, 2)));
    m = _mm_max_epi16(m, _mm_shuffle_epi32(m, _MM_SHUFFLE(2, 3, 0, 1)));
    m = _mm_max_epi16(m, _mm_shufflelo_epi16(m, _MM_SHUFFLE(2, 3, 0, 1)));
    *lastScanPos = static_cast<Zep16s>(_mm_cvtsi128_si32(m));
}

// Built-in multipliers are below 2^15 and |c| at most 2^15, so one unsigned
// 16x16 multiply pair gives the exact 32-bit product, and the levels never
// exceed 16 bits, so sign and saturation commute.
inline void fwdq_quant16_flat(const Zep16s* src, Zep16s* dst, Zep32s* numLevels, Zep32s* lastScanPos, const Zep32s* mult,
                       const Zep16s* scanPos, Zep32s rounding, int shift) {
    const __m128i rnd = _mm_set1_epi32(rounding), sh = _mm_cvtsi32_si128(shift);
    __m128i lv[2];
    for (int h = 0; h < 2; ++h) {
        const __m128i c = fwdq_load(src + 8 * h);
        const __m128i a = _mm_abs_epi16(c);
        const __m128i m = _mm_packs_epi32(fwdq_load(mult + 8 * h), fwdq_load(mult + 8 * h + 4));
        const __m128i lo = _mm_mullo_epi16(a, m), hi = _mm_mulhi_epu16(a, m);
        const __m128i p0 = _mm_sra_epi32(_mm_add_epi32(_mm_unpacklo_epi16(lo, hi), rnd), sh);
        const __m128i p1 = _mm_sra_epi32(_mm_add_epi32(_mm_unpackhi_epi16(lo, hi), rnd), sh);
        lv[h] = _mm_sign_epi16(_mm_packs_epi32(p0, p1), c);
        fwdq_store(dst + 8 * h, lv[h]);
    }
    fwdq_counts(lv[0], lv[1], scanPos, numLevels, lastScanPos);
}

// Any 32-bit multipliers: widen, wrapping 32-bit product, sign restored in 32
// bits, then saturated to 16.
template <bool Native>
void fwdq_quant16(const Zep16s* src, Zep16s* dst, Zep32s* numLevels, Zep32s* lastScanPos, const Zep32s* mult,
                  const Zep16s* scanPos, Zep32s rounding, int shift) {
    const __m128i rnd = _mm_set1_epi32(rounding), sh = _mm_cvtsi32_si128(shift), zero = _mm_setzero_si128();
    __m128i lv[2];
    for (int h = 0; h < 2; ++h) {
        const __m128i c = fwdq_load(src + 8 * h);
        const __m128i a = _mm_abs_epi16(c);
        __m128i l[2];
        for (int q = 0; q < 2; ++q) {
            const __m128i a32 = q ? _mm_unpackhi_epi16(a, zero) : _mm_unpacklo_epi16(a, zero);
            const __m128i c32 = _mm_srai_epi32(q ? _mm_unpackhi_epi16(c, c) : _mm_unpacklo_epi16(c, c), 16);
            const __m128i p = fwdq_mullo32<Native>(a32, fwdq_load(mult + 8 * h + 4 * q));
            l[q] = _mm_sign_epi32(_mm_sra_epi32(_mm_add_epi32(p, rnd), sh), c32);
        }
        lv[h] = _mm_packs_epi32(l[0], l[1]);
        fwdq_store(dst + 8 * h, lv[h]);
    }
    fwdq_counts(lv[0], lv[1], scanPos, numLevels, lastScanPos);
}

// Packing to 16 bits with saturation keeps non-zero levels non-zero, which is
// all the counts need.
template <bool Native>
void fwdq_quant32(const Zep32s* src, Zep32s* dst, Zep32s* numLevels, Zep32s* lastScanPos, const Zep32s* mult,
                  const Zep16s* scanPos, Zep32s rounding, int shift) {
    const __m128i rnd = _mm_set1_epi32(rounding), sh = _mm_cvtsi32_si128(shift);
    __m128i l[4];
    for (int q = 0; q < 4; ++q) {
        const __m128i c = fwdq_load(src + 4 * q);
        const __m128i p = fwdq_mullo32<Native>(_mm_abs_epi32(c), fwdq_load(mult + 4 * q));
        l[q] = _mm_sign_epi32(_mm_sra_epi32(_mm_add_epi32(p, rnd), sh), c);
        fwdq_store(dst + 4 * q, l[q]);
    }
    fwdq_counts(_mm_packs_epi32(l[0], l[1]), _mm_packs_epi32(l[2], l[3]), scanPos, numLevels, lastScanPos);
}

}  // namespace
}  // namespace zep
