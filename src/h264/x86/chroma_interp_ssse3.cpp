// SSSE3 kernels of the H.264 chroma interpolation. Each source row is turned
// once into its pairs of horizontal neighbours (s[x], s[x + 1]); an output row
// is then two multiply-adds, the upper row's pairs against the weights
// (A, B) and the lower row's against (C, D). 8-bit samples use pmaddubsw
// (weights of at most 64 fit a signed byte; sums stay below 2^14); 16-bit
// samples are biased by -32768 into signed lanes for pmaddwd, and since the
// four weights add up to 64 the bias leaves the division exact.
#include <immintrin.h>

#include <cstddef>
#include <cstring>

#include "h264/interp_dsp.h"

namespace zep {
namespace {

template <class T>
inline __m128i ld_n(const T* p, int bytes) {
    if (bytes == 16) return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    if (bytes == 8) return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    Zep32s v = 0;
    std::memcpy(&v, p, bytes);
    return _mm_cvtsi32_si128(v);
}
template <class T>
inline void st_n(T* p, __m128i v, int bytes) {
    if (bytes == 16) return _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
    if (bytes == 8) return _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v);
    const Zep32s x = _mm_cvtsi128_si32(v);
    std::memcpy(p, &x, bytes);
}

// Pairs of horizontal neighbours of W samples of one row (reads W + 1
// samples): low half for W * sizeof(T) <= 8 bytes, else lo and hi registers.
template <class T, int W>
struct RowPairs {
    __m128i lo, hi;
};
template <class T, int W>
inline RowPairs<T, W> pairs(const T* p) {
    constexpr int kBytes = W * static_cast<int>(sizeof(T));
    const __m128i a = ld_n(p, kBytes), b = ld_n(p + 1, kBytes);
    if constexpr (sizeof(T) == 1) {
        return {_mm_unpacklo_epi8(a, b), _mm_setzero_si128()};
    } else {
        const __m128i bias = _mm_set1_epi16(-32768);
        const __m128i sa = _mm_xor_si128(a, bias), sb = _mm_xor_si128(b, bias);
        return {_mm_unpacklo_epi16(sa, sb), _mm_unpackhi_epi16(sa, sb)};
    }
}

struct Weights8 {
    __m128i ab, cd;
    Weights8(int dx, int dy)
        : ab(_mm_set1_epi16(static_cast<short>(((dx * (8 - dy)) << 8) | ((8 - dx) * (8 - dy))))),
          cd(_mm_set1_epi16(static_cast<short>(((dx * dy) << 8) | ((8 - dx) * dy)))) {}
    // (sum + 32) >> 6 of 16-bit sums: pmulhrsw by 512 is exactly that.
    __m128i blend(__m128i up, __m128i down) const {
        const __m128i s = _mm_add_epi16(_mm_maddubs_epi16(up, ab), _mm_maddubs_epi16(down, cd));
        return _mm_mulhrs_epi16(s, _mm_set1_epi16(512));
    }
};

struct Weights16 {
    __m128i ab, cd;
    Weights16(int dx, int dy)
        : ab(_mm_set1_epi32(((dx * (8 - dy)) << 16) | ((8 - dx) * (8 - dy)))),
          cd(_mm_set1_epi32(((dx * dy) << 16) | ((8 - dx) * dy))) {}
    // Four biased 32-bit blends, (sum + 32) >> 6, still biased by -32768.
    __m128i blend(__m128i up, __m128i down) const {
        const __m128i s = _mm_add_epi32(_mm_madd_epi16(up, ab), _mm_madd_epi16(down, cd));
        return _mm_srai_epi32(_mm_add_epi32(s, _mm_set1_epi32(32)), 6);
    }
};
// Eight biased 32-bit results -> eight 16-bit samples.
inline __m128i unbias(__m128i lo, __m128i hi) { return _mm_xor_si128(_mm_packs_epi32(lo, hi), _mm_set1_epi16(-32768)); }

// 8-bit, two output rows per step. Narrow rows share a register: the pairs
// of rows y and y + 1 side by side.
template <int W>
void chroma8(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep, int dx, int dy, int height) {
    const Weights8 w(dx, dy);
    const ptrdiff_t ss = srcStep, ds = dstStep;
    __m128i r0 = pairs<Zep8u, W>(src).lo;
    for (int y = 0; y < height; y += 2, src += 2 * ss, dst += 2 * ds) {
        const __m128i r1 = pairs<Zep8u, W>(src + ss).lo, r2 = pairs<Zep8u, W>(src + 2 * ss).lo;
        if constexpr (W == 8) {
            const __m128i out = _mm_packus_epi16(w.blend(r0, r1), w.blend(r1, r2));
            st_n(dst, out, 8);
            st_n(dst + ds, _mm_unpackhi_epi64(out, out), 8);
        } else {
            // W == 4: 8 pair bytes a row; W == 2: 4.
            const __m128i up = W == 4 ? _mm_unpacklo_epi64(r0, r1) : _mm_unpacklo_epi32(r0, r1);
            const __m128i down = W == 4 ? _mm_unpacklo_epi64(r1, r2) : _mm_unpacklo_epi32(r1, r2);
            const __m128i out = _mm_packus_epi16(w.blend(up, down), _mm_setzero_si128());
            st_n(dst, out, W);
            st_n(dst + ds, _mm_srli_si128(out, W), W);
        }
        r0 = r2;
    }
}

// 16-bit, two output rows per step.
template <int W>
void chroma16(const Zep16u* src, Zep32s srcStep, Zep16u* dst, Zep32s dstStep, int dx, int dy, int height) {
    const Weights16 w(dx, dy);
    const ptrdiff_t ss = srcStep, ds = dstStep;
    RowPairs<Zep16u, W> r0 = pairs<Zep16u, W>(src);
    for (int y = 0; y < height; y += 2, src += 2 * ss, dst += 2 * ds) {
        const RowPairs<Zep16u, W> r1 = pairs<Zep16u, W>(src + ss), r2 = pairs<Zep16u, W>(src + 2 * ss);
        if constexpr (W == 8) {
            st_n(dst, unbias(w.blend(r0.lo, r1.lo), w.blend(r0.hi, r1.hi)), 16);
            st_n(dst + ds, unbias(w.blend(r1.lo, r2.lo), w.blend(r1.hi, r2.hi)), 16);
        } else if constexpr (W == 4) {
            const __m128i out = unbias(w.blend(r0.lo, r1.lo), w.blend(r1.lo, r2.lo));
            st_n(dst, out, 8);
            st_n(dst + ds, _mm_unpackhi_epi64(out, out), 8);
        } else {
            const __m128i up = _mm_unpacklo_epi64(r0.lo, r1.lo), down = _mm_unpacklo_epi64(r1.lo, r2.lo);
            const __m128i out = unbias(w.blend(up, down), _mm_setzero_si128());
            st_n(dst, out, 4);
            st_n(dst + ds, _mm_srli_si128(out, 4), 4);
        }
        r0 = r2;
    }
}

}  // namespace

void chroma_interp_install_ssse3(InterpDsp& t) {
    t.chroma8[0] = chroma8<2>;
    t.chroma8[1] = chroma8<4>;
    t.chroma8[2] = chroma8<8>;
    t.chroma16[0] = chroma16<2>;
    t.chroma16[1] = chroma16<4>;
    t.chroma16[2] = chroma16<8>;
}

}  // namespace zep
