// SSSE3 kernels of the H.264 luma interpolation: 8-bit at every position and
// width class, 16-bit (samples up to 14 bits) in 32-bit lanes.
#include <utility>

#include "h264/interp_dsp.h"
#include "h264/x86/interp_simd.h"

namespace zep {
namespace {

using namespace interp_x86;

// ---------------------------------------------------------------- 8-bit

// Rounded horizontal half samples b of a W-wide row starting at p.
template <int W>
inline __m128i half_h(const Zep8u* p) {
    if constexpr (W == 16) return _mm_packus_epi16(round5(hsum8u<8>(p)), round5(hsum8u<8>(p + 8)));
    else {
        const __m128i r = round5(hsum8u<W>(p));
        return _mm_packus_epi16(r, r);
    }
}

// Rounded vertical half samples h of a W-wide row starting at p.
template <int W>
inline __m128i half_v(const Zep8u* p, ptrdiff_t s) {
    const __m128i r0 = load_row<W>(p - 2 * s), r1 = load_row<W>(p - s), r2 = load_row<W>(p);
    const __m128i r3 = load_row<W>(p + s), r4 = load_row<W>(p + 2 * s), r5 = load_row<W>(p + 3 * s);
    const __m128i lo = round5(vsum8u_lo(r0, r1, r2, r3, r4, r5));
    if constexpr (W == 16) return _mm_packus_epi16(lo, round5(vsum8u_hi(r0, r1, r2, r3, r4, r5)));
    else return _mm_packus_epi16(lo, lo);
}

// Positions without the centre sample: integer, half and the quarter
// averages of integer and half samples.
template <int W, int DX, int DY>
void luma8(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep, int height) {
    const ptrdiff_t s = srcStep;
    for (int y = 0; y < height; ++y, src += s, dst += dstStep) {
        __m128i r;
        if constexpr (DX == 0 && DY == 0) r = load_row<W>(src);
        else if constexpr (DY == 0) {
            r = half_h<W>(src);
            if constexpr (DX == 1) r = _mm_avg_epu8(r, load_row<W>(src));
            if constexpr (DX == 3) r = _mm_avg_epu8(r, load_row<W>(src + 1));
        } else if constexpr (DX == 0) {
            r = half_v<W>(src, s);
            if constexpr (DY == 1) r = _mm_avg_epu8(r, load_row<W>(src));
            if constexpr (DY == 3) r = _mm_avg_epu8(r, load_row<W>(src + s));
        } else {
            // e, g, p, r: a horizontal half of this row or the next and a
            // vertical half of this column or the next.
            r = _mm_avg_epu8(half_h<W>(DY == 1 ? src : src + s), half_v<W>(DX == 1 ? src : src + 1, s));
        }
        store_row<W>(dst, r);
    }
}

// Positions with the centre sample j (f, i, j, k, q): a sliding window of six
// rows of unrounded horizontal sums per column chunk of 8 (or 4).
template <int W, int DX, int DY>
void luma8_centre(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep, int height) {
    constexpr int CW = W == 4 ? 4 : 8;
    const ptrdiff_t ss = srcStep;
    if (height <= 0) return;  // the window below is primed before the first row
    for (int c = 0; c < W; c += CW) {
        const Zep8u* s = src + c;
        Zep8u* d = dst + c;
        __m128i t0 = hsum8u<CW>(s - 2 * ss), t1 = hsum8u<CW>(s - ss), t2 = hsum8u<CW>(s);
        __m128i t3 = hsum8u<CW>(s + ss), t4 = hsum8u<CW>(s + 2 * ss);
        for (int y = 0; y < height; ++y, s += ss, d += dstStep) {
            const __m128i t5 = hsum8u<CW>(s + 3 * ss);
            const __m128i j16 = jtap16<CW == 8>(t0, t1, t2, t3, t4, t5);
            __m128i r = _mm_packus_epi16(j16, j16);
            if constexpr (DY == 1) r = _mm_avg_epu8(r, _mm_packus_epi16(round5(t2), round5(t2)));
            if constexpr (DY == 3) r = _mm_avg_epu8(r, _mm_packus_epi16(round5(t3), round5(t3)));
            if constexpr (DX == 1) r = _mm_avg_epu8(r, half_v<CW>(s, ss));
            if constexpr (DX == 3) r = _mm_avg_epu8(r, half_v<CW>(s + 1, ss));
            store_row<CW>(d, r);
            t0 = t1;
            t1 = t2;
            t2 = t3;
            t3 = t4;
            t4 = t5;
        }
    }
}

// ---------------------------------------------------------------- 16-bit

// Unrounded horizontal sums (32-bit) of four outputs at p; reads p-2 .. p+6.
inline __m128i hsum16u(const Zep16u* p) {
    const __m128i v0 = ld16(p - 2);                  // s-2 .. s5
    const __m128i v2 = _mm_alignr_epi8(ld8(p + 3), v0, 8);  // s2 .. s5, s3 .. s6
    const __m128i k01 = _mm_setr_epi8(0, 1, 2, 3, 2, 3, 4, 5, 4, 5, 6, 7, 6, 7, 8, 9);
    const __m128i k23 = _mm_setr_epi8(4, 5, 6, 7, 6, 7, 8, 9, 8, 9, 10, 11, 10, 11, 12, 13);
    const __m128i k45 = _mm_setr_epi8(0, 1, 2, 3, 2, 3, 4, 5, 4, 5, 6, 7, 6, 7, 14, 15);
    const __m128i a = _mm_madd_epi16(_mm_shuffle_epi8(v0, k01), c16_01());
    const __m128i b = _mm_madd_epi16(_mm_shuffle_epi8(v0, k23), c16_23());
    const __m128i c = _mm_madd_epi16(_mm_shuffle_epi8(v2, k45), c16_45());
    return _mm_add_epi32(_mm_add_epi32(a, b), c);
}

// Unrounded vertical sums (32-bit) of four columns at p.
inline __m128i vsum16u(const Zep16u* p, ptrdiff_t s) {
    const __m128i a = _mm_madd_epi16(_mm_unpacklo_epi16(ld8(p - 2 * s), ld8(p - s)), c16_01());
    const __m128i b = _mm_madd_epi16(_mm_unpacklo_epi16(ld8(p), ld8(p + s)), c16_23());
    const __m128i c = _mm_madd_epi16(_mm_unpacklo_epi16(ld8(p + 2 * s), ld8(p + 3 * s)), c16_45());
    return _mm_add_epi32(_mm_add_epi32(a, b), c);
}

// 32-bit values -> 16-bit lanes clamped to 0..maxVal (low four lanes).
inline __m128i clamp16(__m128i x, __m128i maxv) {
    return _mm_min_epi16(_mm_max_epi16(_mm_packs_epi32(x, x), _mm_setzero_si128()), maxv);
}
inline __m128i round5_32(__m128i x) { return _mm_srai_epi32(_mm_add_epi32(x, _mm_set1_epi32(16)), 5); }

// Centre: six-tap of 32-bit sums, with the taps as shifts and adds.
inline __m128i jtap32(__m128i t0, __m128i t1, __m128i t2, __m128i t3, __m128i t4, __m128i t5) {
    const __m128i a = _mm_add_epi32(t2, t3), b = _mm_add_epi32(t1, t4);
    __m128i r = _mm_add_epi32(_mm_add_epi32(t0, t5), _mm_slli_epi32(_mm_add_epi32(_mm_slli_epi32(a, 2), a), 2));
    r = _mm_sub_epi32(r, _mm_add_epi32(_mm_slli_epi32(b, 2), b));
    return _mm_srai_epi32(_mm_add_epi32(r, _mm_set1_epi32(512)), 10);
}

// Four-column chunks; samples of up to 14 bits (pmaddwd takes them signed,
// and the centre sums are narrowed to 16 bits before the clamp).
struct Ops16 {
    using Wide = __m128i;
    static constexpr int kChunk = 4;
    static __m128i max(int v) { return _mm_set1_epi16(static_cast<short>(v)); }
    static __m128i hsum(const Zep16u* p) { return hsum16u(p); }
    static __m128i vsum(const Zep16u* p, ptrdiff_t s) { return vsum16u(p, s); }
    static __m128i centre(__m128i t0, __m128i t1, __m128i t2, __m128i t3, __m128i t4, __m128i t5, __m128i m) {
        return clamp16(jtap32(t0, t1, t2, t3, t4, t5), m);
    }
    static __m128i half(__m128i x, __m128i m) { return clamp16(round5_32(x), m); }
    static __m128i load(const Zep16u* p) { return ld8(p); }
    static void store(Zep16u* p, __m128i v) { st8(p, v); }
};

template <int W, int... P>
void fill8(Interp8Fn (&t)[16], std::integer_sequence<int, P...>) {
    constexpr auto pick = [](int dx, int dy) { return (dx == 2 && dy != 0) || (dy == 2 && dx != 0); };
    ((t[P] = pick(P & 3, P >> 2) ? luma8_centre<W, (P & 3), (P >> 2)> : luma8<W, (P & 3), (P >> 2)>), ...);
}
template <int W, int... P>
void fill16(Interp16Fn (&t)[16], std::integer_sequence<int, P...>) {
    ((t[P] = luma16_walk<Ops16, W, (P & 3), (P >> 2)>), ...);
}

}  // namespace

void interp_install_ssse3(InterpDsp& t) {
    constexpr auto kPos = std::make_integer_sequence<int, 16>{};
    fill8<4>(t.luma8[0], kPos);
    fill8<8>(t.luma8[1], kPos);
    fill8<16>(t.luma8[2], kPos);
    fill16<4>(t.luma16[0], kPos);
    fill16<8>(t.luma16[1], kPos);
    fill16<16>(t.luma16[2], kPos);
}

}  // namespace zep
