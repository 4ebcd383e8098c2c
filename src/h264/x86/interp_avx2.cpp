// AVX2 kernels of the H.264 luma interpolation: the 16-wide 8-bit blocks, two
// rows per register (row y in the low lane, row y + 1 in the high lane), so
// every per-lane operation is the SSSE3 kernel's on a row of its own; and the
// 8- and 16-wide 16-bit blocks, eight 32-bit lanes per row chunk.
#include <utility>

#include "h264/interp_dsp.h"
#include "h264/x86/interp_simd.h"

namespace zep {
namespace {

using namespace interp_x86;

inline __m256i two_rows(const Zep8u* p, ptrdiff_t s) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(ld16(p)), ld16(p + s), 1);
}
inline void store_two(Zep8u* d, ptrdiff_t ds, __m256i v) {
    st16(d, _mm256_castsi256_si128(v));
    st16(d + ds, _mm256_extracti128_si256(v, 1));
}

inline __m256i bc(__m128i v) { return _mm256_broadcastsi128_si256(v); }
inline __m256i round5(__m256i x) { return _mm256_srai_epi16(_mm256_add_epi16(x, _mm256_set1_epi16(16)), 5); }

// Unrounded horizontal sums of columns 0..7 (lo) and 8..15 (hi) of rows p and
// p + s. A 16-wide block may read p - 2 .. p + 18: 16 bytes from p - 2 feed
// the left eight outputs, 16 bytes from p + 3 the right eight.
struct Sums {
    __m256i lo, hi;
};
inline Sums hsum2(const Zep8u* p, ptrdiff_t s) {
    const __m256i x0 = two_rows(p - 2, s), x1 = two_rows(p + 3, s);
    const __m256i c01 = bc(c8_01()), c23 = bc(c8_23()), c45 = bc(c8_45());
    const __m256i k01 = bc(_mm_setr_epi8(0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8));
    const __m256i k23 = bc(_mm_setr_epi8(2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8, 9, 9, 10));
    const __m256i k45 = bc(_mm_setr_epi8(4, 5, 5, 6, 6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11, 12));
    const __m256i three = _mm256_set1_epi8(3);
    auto taps = [&](__m256i x, __m256i shift) {
        const __m256i a = _mm256_maddubs_epi16(_mm256_shuffle_epi8(x, _mm256_add_epi8(k01, shift)), c01);
        const __m256i b = _mm256_maddubs_epi16(_mm256_shuffle_epi8(x, _mm256_add_epi8(k23, shift)), c23);
        const __m256i c = _mm256_maddubs_epi16(_mm256_shuffle_epi8(x, _mm256_add_epi8(k45, shift)), c45);
        return _mm256_add_epi16(_mm256_add_epi16(a, b), c);
    };
    return {taps(x0, _mm256_setzero_si256()), taps(x1, three)};
}

inline __m256i half_h2(const Zep8u* p, ptrdiff_t s) {
    const Sums h = hsum2(p, s);
    return _mm256_packus_epi16(round5(h.lo), round5(h.hi));
}

// Rounded vertical half samples of rows p and p + s.
inline __m256i half_v2(const Zep8u* p, ptrdiff_t s) {
    __m256i r[6];
    for (int k = 0; k < 6; ++k) r[k] = two_rows(p + (k - 2) * s, s);
    const __m256i c01 = bc(c8_01()), c23 = bc(c8_23()), c45 = bc(c8_45());
    const __m256i lo = _mm256_add_epi16(
        _mm256_add_epi16(_mm256_maddubs_epi16(_mm256_unpacklo_epi8(r[0], r[1]), c01),
                         _mm256_maddubs_epi16(_mm256_unpacklo_epi8(r[2], r[3]), c23)),
        _mm256_maddubs_epi16(_mm256_unpacklo_epi8(r[4], r[5]), c45));
    const __m256i hi = _mm256_add_epi16(
        _mm256_add_epi16(_mm256_maddubs_epi16(_mm256_unpackhi_epi8(r[0], r[1]), c01),
                         _mm256_maddubs_epi16(_mm256_unpackhi_epi8(r[2], r[3]), c23)),
        _mm256_maddubs_epi16(_mm256_unpackhi_epi8(r[4], r[5]), c45));
    return _mm256_packus_epi16(round5(lo), round5(hi));
}

// Centre: six rows of unrounded horizontal sums in 32 bits, (x + 512) >> 10.
inline __m256i jtap(__m256i t0, __m256i t1, __m256i t2, __m256i t3, __m256i t4, __m256i t5) {
    const __m256i w01 = bc(c16_01()), w23 = bc(c16_23()), w45 = bc(c16_45()), rnd = _mm256_set1_epi32(512);
    __m256i lo = _mm256_add_epi32(_mm256_madd_epi16(_mm256_unpacklo_epi16(t0, t1), w01),
                                  _mm256_madd_epi16(_mm256_unpacklo_epi16(t2, t3), w23));
    lo = _mm256_add_epi32(lo, _mm256_madd_epi16(_mm256_unpacklo_epi16(t4, t5), w45));
    __m256i hi = _mm256_add_epi32(_mm256_madd_epi16(_mm256_unpackhi_epi16(t0, t1), w01),
                                  _mm256_madd_epi16(_mm256_unpackhi_epi16(t2, t3), w23));
    hi = _mm256_add_epi32(hi, _mm256_madd_epi16(_mm256_unpackhi_epi16(t4, t5), w45));
    lo = _mm256_srai_epi32(_mm256_add_epi32(lo, rnd), 10);
    hi = _mm256_srai_epi32(_mm256_add_epi32(hi, rnd), 10);
    return _mm256_packs_epi32(lo, hi);
}

// Positions without the centre sample.
template <int DX, int DY>
void luma16w(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep, int height) {
    const ptrdiff_t s = srcStep, ds = dstStep;
    for (int y = 0; y < height; y += 2, src += 2 * s, dst += 2 * ds) {
        __m256i r;
        if constexpr (DX == 0 && DY == 0) r = two_rows(src, s);
        else if constexpr (DY == 0) {
            r = half_h2(src, s);
            if constexpr (DX == 1) r = _mm256_avg_epu8(r, two_rows(src, s));
            if constexpr (DX == 3) r = _mm256_avg_epu8(r, two_rows(src + 1, s));
        } else if constexpr (DX == 0) {
            r = half_v2(src, s);
            if constexpr (DY == 1) r = _mm256_avg_epu8(r, two_rows(src, s));
            if constexpr (DY == 3) r = _mm256_avg_epu8(r, two_rows(src + s, s));
        } else {
            r = _mm256_avg_epu8(half_h2(DY == 1 ? src : src + s, s), half_v2(DX == 1 ? src : src + 1, s));
        }
        store_two(dst, ds, r);
    }
}

// Positions with the centre sample. Horizontal sums come in row pairs
// P(r) = (t[r] | t[r + 1]); the odd pairs are spliced from two even ones.
template <int DX, int DY>
void luma16w_centre(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep, int height) {
    const ptrdiff_t s = srcStep, ds = dstStep;
    auto odd = [](__m256i a, __m256i b) { return _mm256_permute2x128_si256(a, b, 0x21); };
    if (height <= 0) return;  // the window below is primed before the first row
    Sums p0 = hsum2(src - 2 * s, s), p2 = hsum2(src, s), p4 = hsum2(src + 2 * s, s);
    for (int y = 0; y < height; y += 2, src += 2 * s, dst += 2 * ds) {
        // The pair's second row (y + 5) serves the next two rows only; the
        // last pair repeats row y + 4 instead of reading past the reach.
        const Sums p6 = hsum2(src + 4 * s, y + 2 < height ? s : 0);
        const __m256i jlo = jtap(p0.lo, odd(p0.lo, p2.lo), p2.lo, odd(p2.lo, p4.lo), p4.lo, odd(p4.lo, p6.lo));
        const __m256i jhi = jtap(p0.hi, odd(p0.hi, p2.hi), p2.hi, odd(p2.hi, p4.hi), p4.hi, odd(p4.hi, p6.hi));
        __m256i r = _mm256_packus_epi16(jlo, jhi);
        if constexpr (DY == 1) r = _mm256_avg_epu8(r, _mm256_packus_epi16(round5(p2.lo), round5(p2.hi)));
        if constexpr (DY == 3)
            r = _mm256_avg_epu8(r, _mm256_packus_epi16(round5(odd(p2.lo, p4.lo)), round5(odd(p2.hi, p4.hi))));
        if constexpr (DX == 1) r = _mm256_avg_epu8(r, half_v2(src, s));
        if constexpr (DX == 3) r = _mm256_avg_epu8(r, half_v2(src + 1, s));
        store_two(dst, ds, r);
        p0 = p2;
        p2 = p4;
        p4 = p6;
    }
}

// ---------------------------------------------------------------- 16-bit

// Unrounded horizontal sums (32-bit) of eight outputs at p, four per lane:
// each lane gathers its samples as the SSSE3 kernel does; reads p-2 .. p+10.
inline __m256i hsum16u8(const Zep16u* p) {
    const __m256i v0 = _mm256_inserti128_si256(_mm256_castsi128_si256(ld16(p - 2)), ld16(p + 2), 1);
    const __m256i v1 = _mm256_inserti128_si256(_mm256_castsi128_si256(ld8(p + 3)), ld8(p + 7), 1);
    const __m256i v2 = _mm256_alignr_epi8(v1, v0, 8);
    const __m256i k01 = bc(_mm_setr_epi8(0, 1, 2, 3, 2, 3, 4, 5, 4, 5, 6, 7, 6, 7, 8, 9));
    const __m256i k23 = bc(_mm_setr_epi8(4, 5, 6, 7, 6, 7, 8, 9, 8, 9, 10, 11, 10, 11, 12, 13));
    const __m256i k45 = bc(_mm_setr_epi8(0, 1, 2, 3, 2, 3, 4, 5, 4, 5, 6, 7, 6, 7, 14, 15));
    const __m256i a = _mm256_madd_epi16(_mm256_shuffle_epi8(v0, k01), bc(c16_01()));
    const __m256i b = _mm256_madd_epi16(_mm256_shuffle_epi8(v0, k23), bc(c16_23()));
    const __m256i c = _mm256_madd_epi16(_mm256_shuffle_epi8(v2, k45), bc(c16_45()));
    return _mm256_add_epi32(_mm256_add_epi32(a, b), c);
}

// Six-tap of six 32-bit rows with the taps as shifts and adds.
inline __m256i tap32(__m256i t0, __m256i t1, __m256i t2, __m256i t3, __m256i t4, __m256i t5) {
    const __m256i a = _mm256_add_epi32(t2, t3), b = _mm256_add_epi32(t1, t4);
    const __m256i r = _mm256_add_epi32(_mm256_add_epi32(t0, t5),
                                       _mm256_slli_epi32(_mm256_add_epi32(_mm256_slli_epi32(a, 2), a), 2));
    return _mm256_sub_epi32(r, _mm256_add_epi32(_mm256_slli_epi32(b, 2), b));
}

// Unrounded vertical sums (32-bit) of eight columns at p.
inline __m256i vsum16u8(const Zep16u* p, ptrdiff_t s) {
    auto row = [&](int k) { return _mm256_cvtepu16_epi32(ld16(p + (k - 2) * s)); };
    return tap32(row(0), row(1), row(2), row(3), row(4), row(5));
}

// Eight 32-bit results -> eight 16-bit samples clamped to 0..maxVal.
inline __m128i narrow(__m256i x, __m256i maxv) {
    x = _mm256_min_epi32(_mm256_max_epi32(x, _mm256_setzero_si256()), maxv);
    return _mm256_castsi256_si128(_mm256_permute4x64_epi64(_mm256_packus_epi32(x, x), 0x08));
}
inline __m256i round5_32(__m256i x) { return _mm256_srai_epi32(_mm256_add_epi32(x, _mm256_set1_epi32(16)), 5); }
inline __m256i round10_32(__m256i x) { return _mm256_srai_epi32(_mm256_add_epi32(x, _mm256_set1_epi32(512)), 10); }

// Eight-column chunks of the 8- and 16-wide blocks, samples up to 15 bits.
struct Ops16 {
    using Wide = __m256i;
    static constexpr int kChunk = 8;
    static __m256i max(int v) { return _mm256_set1_epi32(v); }
    static __m256i hsum(const Zep16u* p) { return hsum16u8(p); }
    static __m256i vsum(const Zep16u* p, ptrdiff_t s) { return vsum16u8(p, s); }
    static __m128i centre(__m256i t0, __m256i t1, __m256i t2, __m256i t3, __m256i t4, __m256i t5, __m256i m) {
        return narrow(round10_32(tap32(t0, t1, t2, t3, t4, t5)), m);
    }
    static __m128i half(__m256i x, __m256i m) { return narrow(round5_32(x), m); }
    static __m128i load(const Zep16u* p) { return ld16(p); }
    static void store(Zep16u* p, __m128i v) { st16(p, v); }
};

template <int W, int... P>
void fill16(Interp16Fn (&t)[16], std::integer_sequence<int, P...>) {
    ((t[P] = luma16_walk<Ops16, W, (P & 3), (P >> 2)>), ...);
}

template <int... P>
void fill(Interp8Fn (&t)[16], std::integer_sequence<int, P...>) {
    constexpr auto centre = [](int dx, int dy) { return (dx == 2 && dy != 0) || (dy == 2 && dx != 0); };
    ((t[P] = centre(P & 3, P >> 2) ? luma16w_centre<(P & 3), (P >> 2)> : luma16w<(P & 3), (P >> 2)>), ...);
}

}  // namespace

void interp_install_avx2(InterpDsp& t) {
    constexpr auto kPos = std::make_integer_sequence<int, 16>{};
    fill(t.luma8[2], kPos);
    fill16<8>(t.luma16[1], kPos);
    fill16<16>(t.luma16[2], kPos);
}

}  // namespace zep
