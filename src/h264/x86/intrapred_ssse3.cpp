// SSSE3 kernels of the H.264 16x16 and chroma intra predictors. Plane
// prediction forms a row of 16-bit values a + b (x - xc) + c (y - yc) + 16
// once and adds c per row; every value fits 16 bits for 8-bit samples, so
// the shift and the unsigned pack give the reference's clip exactly.
#include <immintrin.h>

#include <cstddef>

#include "h264/intrapred_dsp.h"

namespace zep {
namespace {

inline Zep8u* prow(Zep8u* p, Zep32s step, int y) { return p + static_cast<ptrdiff_t>(step) * y; }

template <int W>
inline void store_row(Zep8u* p, __m128i v) {
    if constexpr (W == 16) _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
    else _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v);
}
template <int W>
inline __m128i load_row(const Zep8u* p) {
    if constexpr (W == 16) return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    else return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
}

template <int W, int H>
void vertical(Zep8u* p, Zep32s step, unsigned) {
    const __m128i v = load_row<W>(prow(p, step, -1));
    for (int y = 0; y < H; ++y) store_row<W>(prow(p, step, y), v);
}

template <int W, int H>
void horizontal(Zep8u* p, Zep32s step, unsigned) {
    for (int y = 0; y < H; ++y) {
        Zep8u* r = prow(p, step, y);
        store_row<W>(r, _mm_set1_epi8(static_cast<char>(r[-1])));
    }
}

// Sum of the left column (rows y0..y0+n-1).
inline int left_sum(Zep8u* p, Zep32s step, int y0, int n) {
    int s = 0;
    for (int y = y0; y < y0 + n; ++y) s += prow(p, step, y)[-1];
    return s;
}

void dc16(Zep8u* p, Zep32s step, unsigned avail) {
    int st = 0, sl = 0;
    if (avail & kAvailTop) {
        const __m128i s = _mm_sad_epu8(load_row<16>(prow(p, step, -1)), _mm_setzero_si128());
        st = _mm_cvtsi128_si32(_mm_add_epi32(s, _mm_unpackhi_epi64(s, s)));
    }
    if (avail & kAvailLeft) sl = left_sum(p, step, 0, 16);
    int dc = 128;
    if ((avail & kAvailTop) && (avail & kAvailLeft)) dc = (st + sl + 16) >> 5;
    else if (avail & kAvailTop) dc = (st + 8) >> 4;
    else if (avail & kAvailLeft) dc = (sl + 8) >> 4;
    const __m128i v = _mm_set1_epi8(static_cast<char>(dc));
    for (int y = 0; y < 16; ++y) store_row<16>(prow(p, step, y), v);
}

template <int H>
void chroma_dc(Zep8u* p, Zep32s step, unsigned avail) {
    const bool top = avail & kAvailTop, left = avail & kAvailLeft;
    int st[2] = {0, 0};
    if (top) {
        const Zep8u* a = prow(p, step, -1);
        for (int i = 0; i < 4; ++i) st[0] += a[i], st[1] += a[4 + i];
    }
    for (int by = 0; by < H / 4; ++by) {
        const int sl = left ? left_sum(p, step, 4 * by, 4) : 0;
        int dc[2];
        for (int bx = 0; bx < 2; ++bx) {
            const bool preferTop = bx > 0 && by == 0, preferLeft = bx == 0 && by > 0;
            int d = 128;
            if (preferTop) d = top ? (st[bx] + 2) >> 2 : (left ? (sl + 2) >> 2 : 128);
            else if (preferLeft) d = left ? (sl + 2) >> 2 : (top ? (st[bx] + 2) >> 2 : 128);
            else if (top && left) d = (st[bx] + sl + 4) >> 3;
            else if (left) d = (sl + 2) >> 2;
            else if (top) d = (st[bx] + 2) >> 2;
            dc[bx] = d;
        }
        const __m128i v = _mm_unpacklo_epi32(_mm_set1_epi8(static_cast<char>(dc[0])), _mm_set1_epi8(static_cast<char>(dc[1])));
        for (int y = 0; y < 4; ++y) store_row<8>(prow(p, step, 4 * by + y), v);
    }
}

template <int W, int H>
void plane(Zep8u* p, Zep32s step, unsigned) {
    const Zep8u* above = prow(p, step, -1);
    auto left = [&](int y) { return static_cast<int>(prow(p, step, y)[-1]); };
    int hs = 0, vs = 0;
    for (int i = 0; i < W / 2; ++i) hs += (i + 1) * (above[W / 2 + i] - above[W / 2 - 2 - i]);
    for (int j = 0; j < H / 2; ++j) vs += (j + 1) * (left(H / 2 + j) - left(H / 2 - 2 - j));
    const int bw = W == 16 ? 5 : 34, bh = H == 16 ? 5 : 34;
    const int a = 16 * (left(H - 1) + above[W - 1]);
    const int b = (bw * hs + 32) >> 6, c = (bh * vs + 32) >> 6;
    const __m128i ramp = _mm_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7);
    const __m128i bv = _mm_set1_epi16(static_cast<short>(b)), cv = _mm_set1_epi16(static_cast<short>(c));
    // Row 0 values for x = 0..7 (and 8..15).
    const int base = a - b * (W / 2 - 1) - c * (H / 2 - 1) + 16;
    __m128i r0 = _mm_add_epi16(_mm_set1_epi16(static_cast<short>(base)), _mm_mullo_epi16(ramp, bv));
    __m128i r1 = _mm_add_epi16(r0, _mm_slli_epi16(bv, 3));
    for (int y = 0; y < H; ++y) {
        const __m128i lo = _mm_srai_epi16(r0, 5);
        if constexpr (W == 16) store_row<16>(prow(p, step, y), _mm_packus_epi16(lo, _mm_srai_epi16(r1, 5)));
        else store_row<8>(prow(p, step, y), _mm_packus_epi16(lo, lo));
        r0 = _mm_add_epi16(r0, cv);
        r1 = _mm_add_epi16(r1, cv);
    }
}

}  // namespace

void intrapred_install_ssse3(IntraPredDsp& t) {
    t.luma16[0] = vertical<16, 16>;
    t.luma16[1] = horizontal<16, 16>;
    t.luma16[2] = dc16;
    t.luma16[3] = plane<16, 16>;
    t.chroma[0][0] = chroma_dc<8>;
    t.chroma[0][1] = horizontal<8, 8>;
    t.chroma[0][2] = vertical<8, 8>;
    t.chroma[0][3] = plane<8, 8>;
    t.chroma[1][0] = chroma_dc<16>;
    t.chroma[1][1] = horizontal<8, 16>;
    t.chroma[1][2] = vertical<8, 16>;
    t.chroma[1][3] = plane<8, 16>;
}

}  // namespace zep
