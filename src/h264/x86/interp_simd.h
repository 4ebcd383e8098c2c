// Building blocks of the H.264 luma interpolation kernels shared by the SSSE3
// and AVX2 translation units. Include only from SIMD translation units; all of
// it has internal linkage, so each unit keeps the code built with its own flags.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstring>

#include "zepvc_types.h"

namespace zep::interp_x86 {
namespace {

inline __m128i ld4(const Zep8u* p) {
    Zep32s v;
    std::memcpy(&v, p, 4);
    return _mm_cvtsi32_si128(v);
}
inline __m128i ld8(const void* p) { return _mm_loadl_epi64(static_cast<const __m128i*>(p)); }
inline __m128i ld16(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
inline void st4(Zep8u* p, __m128i v) {
    const Zep32s x = _mm_cvtsi128_si32(v);
    std::memcpy(p, &x, 4);
}
inline void st8(void* p, __m128i v) { _mm_storel_epi64(static_cast<__m128i*>(p), v); }
inline void st16(void* p, __m128i v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }

template <int W>
inline __m128i load_row(const Zep8u* p) {
    if constexpr (W == 4) return ld4(p);
    else if constexpr (W == 8) return ld8(p);
    else return ld16(p);
}
template <int W>
inline void store_row(Zep8u* p, __m128i v) {
    if constexpr (W == 4) st4(p, v);
    else if constexpr (W == 8) st8(p, v);
    else st16(p, v);
}

// Six-tap coefficients as byte pairs (pmaddubsw) and word pairs (pmaddwd).
inline __m128i c8_01() { return _mm_setr_epi8(1, -5, 1, -5, 1, -5, 1, -5, 1, -5, 1, -5, 1, -5, 1, -5); }
inline __m128i c8_23() { return _mm_set1_epi8(20); }
inline __m128i c8_45() { return _mm_setr_epi8(-5, 1, -5, 1, -5, 1, -5, 1, -5, 1, -5, 1, -5, 1, -5, 1); }
inline __m128i c16_01() { return _mm_setr_epi16(1, -5, 1, -5, 1, -5, 1, -5); }
inline __m128i c16_23() { return _mm_set1_epi16(20); }
inline __m128i c16_45() { return _mm_setr_epi16(-5, 1, -5, 1, -5, 1, -5, 1); }

// Unrounded horizontal six-tap sums (16-bit) of CW = 4 or 8 outputs starting
// at p. Reads p - 2 .. p + CW + 2 only: the bytes are gathered as
// [p-2 .. p+5 | p+3 .. p+10] (CW 8) and paired for pmaddubsw by shuffles.
template <int CW>
inline __m128i hsum8u(const Zep8u* p) {
    __m128i v;
    if constexpr (CW == 4) v = _mm_insert_epi16(ld8(p - 2), p[6] << 8, 5);  // p+6 lands in byte 11
    else v = _mm_unpacklo_epi64(ld8(p - 2), ld8(p + 3));
    const __m128i k01 = _mm_setr_epi8(0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 11);
    const __m128i k23 = _mm_setr_epi8(2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 11, 11, 12, 12, 13);
    const __m128i k45 = _mm_setr_epi8(4, 5, 5, 6, 6, 7, 7, 11, 11, 12, 12, 13, 13, 14, 14, 15);
    const __m128i a = _mm_maddubs_epi16(_mm_shuffle_epi8(v, k01), c8_01());
    const __m128i b = _mm_maddubs_epi16(_mm_shuffle_epi8(v, k23), c8_23());
    const __m128i c = _mm_maddubs_epi16(_mm_shuffle_epi8(v, k45), c8_45());
    return _mm_add_epi16(_mm_add_epi16(a, b), c);
}

// Vertical six-tap sums of byte rows r0..r5 (low or high eight columns).
inline __m128i vsum8u_lo(__m128i r0, __m128i r1, __m128i r2, __m128i r3, __m128i r4, __m128i r5) {
    const __m128i a = _mm_maddubs_epi16(_mm_unpacklo_epi8(r0, r1), c8_01());
    const __m128i b = _mm_maddubs_epi16(_mm_unpacklo_epi8(r2, r3), c8_23());
    const __m128i c = _mm_maddubs_epi16(_mm_unpacklo_epi8(r4, r5), c8_45());
    return _mm_add_epi16(_mm_add_epi16(a, b), c);
}
inline __m128i vsum8u_hi(__m128i r0, __m128i r1, __m128i r2, __m128i r3, __m128i r4, __m128i r5) {
    const __m128i a = _mm_maddubs_epi16(_mm_unpackhi_epi8(r0, r1), c8_01());
    const __m128i b = _mm_maddubs_epi16(_mm_unpackhi_epi8(r2, r3), c8_23());
    const __m128i c = _mm_maddubs_epi16(_mm_unpackhi_epi8(r4, r5), c8_45());
    return _mm_add_epi16(_mm_add_epi16(a, b), c);
}

// (x + 16) >> 5 of 16-bit sums; the byte pack clamps to 0..255.
inline __m128i round5(__m128i x) { return _mm_srai_epi16(_mm_add_epi16(x, _mm_set1_epi16(16)), 5); }

// Centre sums: six-tap over six rows of unrounded horizontal sums in 32 bits,
// (x + 512) >> 10, packed back to 16 bits (the range fits with room to spare).
template <bool Both>
inline __m128i jtap16(__m128i t0, __m128i t1, __m128i t2, __m128i t3, __m128i t4, __m128i t5) {
    const __m128i rnd = _mm_set1_epi32(512);
    __m128i lo = _mm_add_epi32(_mm_madd_epi16(_mm_unpacklo_epi16(t0, t1), c16_01()),
                               _mm_madd_epi16(_mm_unpacklo_epi16(t2, t3), c16_23()));
    lo = _mm_add_epi32(lo, _mm_madd_epi16(_mm_unpacklo_epi16(t4, t5), c16_45()));
    lo = _mm_srai_epi32(_mm_add_epi32(lo, rnd), 10);
    if constexpr (!Both) return _mm_packs_epi32(lo, lo);
    __m128i hi = _mm_add_epi32(_mm_madd_epi16(_mm_unpackhi_epi16(t0, t1), c16_01()),
                               _mm_madd_epi16(_mm_unpackhi_epi16(t2, t3), c16_23()));
    hi = _mm_add_epi32(hi, _mm_madd_epi16(_mm_unpackhi_epi16(t4, t5), c16_45()));
    hi = _mm_srai_epi32(_mm_add_epi32(hi, rnd), 10);
    return _mm_packs_epi32(lo, hi);
}


// Row walk of the 16-bit kernels, shared by the vector widths. Ops gives the
// chunk width (kChunk columns), unrounded 32-bit six-tap sums across a row
// (hsum) and down a column (vsum), the centre finish (centre: round by 10 and
// clamp) and the half-sample finish (half: round by 5 and clamp), each giving
// kChunk 16-bit samples in a 128-bit register, and loads and stores of one
// chunk. Centre positions keep the six horizontal sums of the rows around the
// output row and slide them down, so each row costs one new horizontal sum.
template <class Ops, int W, int DX, int DY>
void luma16_walk(const Zep16u* src, Zep32s srcStep, Zep16u* dst, Zep32s dstStep, int height, int maxVal) {
    using V = typename Ops::Wide;
    const ptrdiff_t ss = srcStep, ds = dstStep;
    const auto maxv = Ops::max(maxVal);
    constexpr bool kCentre = (DX == 2 && DY != 0) || (DY == 2 && DX != 0);
    if (height <= 0) return;
    for (int c = 0; c < W; c += Ops::kChunk) {
        const Zep16u* s = src + c;
        Zep16u* d = dst + c;
        V t0{}, t1{}, t2{}, t3{}, t4{};
        if constexpr (kCentre) {
            t0 = Ops::hsum(s - 2 * ss), t1 = Ops::hsum(s - ss), t2 = Ops::hsum(s);
            t3 = Ops::hsum(s + ss), t4 = Ops::hsum(s + 2 * ss);
        }
        for (int y = 0; y < height; ++y, s += ss, d += ds) {
            __m128i r;
            if constexpr (kCentre) {
                const V t5 = Ops::hsum(s + 3 * ss);
                r = Ops::centre(t0, t1, t2, t3, t4, t5, maxv);
                if constexpr (DY == 1) r = _mm_avg_epu16(r, Ops::half(t2, maxv));
                if constexpr (DY == 3) r = _mm_avg_epu16(r, Ops::half(t3, maxv));
                if constexpr (DX == 1) r = _mm_avg_epu16(r, Ops::half(Ops::vsum(s, ss), maxv));
                if constexpr (DX == 3) r = _mm_avg_epu16(r, Ops::half(Ops::vsum(s + 1, ss), maxv));
                t0 = t1;
                t1 = t2;
                t2 = t3;
                t3 = t4;
                t4 = t5;
            } else if constexpr (DX == 0 && DY == 0) {
                r = Ops::load(s);
            } else if constexpr (DY == 0) {
                r = Ops::half(Ops::hsum(s), maxv);
                if constexpr (DX == 1) r = _mm_avg_epu16(r, Ops::load(s));
                if constexpr (DX == 3) r = _mm_avg_epu16(r, Ops::load(s + 1));
            } else if constexpr (DX == 0) {
                r = Ops::half(Ops::vsum(s, ss), maxv);
                if constexpr (DY == 1) r = _mm_avg_epu16(r, Ops::load(s));
                if constexpr (DY == 3) r = _mm_avg_epu16(r, Ops::load(s + ss));
            } else {
                const __m128i b = Ops::half(Ops::hsum(DY == 1 ? s : s + ss), maxv);
                r = _mm_avg_epu16(b, Ops::half(Ops::vsum(DX == 1 ? s : s + 1, ss), maxv));
            }
            Ops::store(d, r);
        }
    }
}

}  // namespace
}  // namespace zep::interp_x86
