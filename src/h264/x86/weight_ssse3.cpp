// SSSE3 kernels of the H.264 weighted prediction: sample pairs (a, b) as
// 16-bit words against (w1, w2) with pmaddwd, 32-bit rounding, shift and
// offset, then saturating packs that clamp to 0..255.
#include <immintrin.h>

#include <cstddef>
#include <cstring>

#include "h264/weight_dsp.h"
#include "h264/weight_ref.h"

namespace zep {
namespace {

struct Consts {
    __m128i w, round, shift, offset;
    explicit Consts(const WeightParams& p)
        : w(_mm_set1_epi32(static_cast<int>((static_cast<unsigned>(p.w2) << 16) | (static_cast<unsigned>(p.w1) & 0xFFFFu)))),
          round(_mm_set1_epi32(p.round)),
          shift(_mm_cvtsi32_si128(p.shift)),
          offset(_mm_set1_epi32(p.offset)) {}
};

inline __m128i weigh4(__m128i pairs, const Consts& c) {
    const __m128i v = _mm_sra_epi32(_mm_add_epi32(_mm_madd_epi16(pairs, c.w), c.round), c.shift);
    return _mm_add_epi32(v, c.offset);
}

// Eight samples of a and b (low halves) -> eight 16-bit results, saturated.
inline __m128i weigh8(__m128i a, __m128i b, const Consts& c) {
    const __m128i ab = _mm_unpacklo_epi8(a, b), z = _mm_setzero_si128();
    return _mm_packs_epi32(weigh4(_mm_unpacklo_epi8(ab, z), c), weigh4(_mm_unpackhi_epi8(ab, z), c));
}
inline __m128i weigh16(__m128i a, __m128i b, const Consts& c) {
    const __m128i z = _mm_setzero_si128();
    const __m128i lo = _mm_unpacklo_epi8(a, b), hi = _mm_unpackhi_epi8(a, b);
    const __m128i r0 = _mm_packs_epi32(weigh4(_mm_unpacklo_epi8(lo, z), c), weigh4(_mm_unpackhi_epi8(lo, z), c));
    const __m128i r1 = _mm_packs_epi32(weigh4(_mm_unpacklo_epi8(hi, z), c), weigh4(_mm_unpackhi_epi8(hi, z), c));
    return _mm_packus_epi16(r0, r1);
}

inline __m128i ld8(const Zep8u* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
inline __m128i ld16(const Zep8u* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline Zep32u ld32(const Zep8u* p) {
    Zep32u v;
    std::memcpy(&v, p, 4);
    return v;
}
inline Zep32u ld16b(const Zep8u* p) {
    Zep16u v;
    std::memcpy(&v, p, 2);
    return v;
}

// Rows of W (2, 4) gathered into one 8-byte register: 8 / W rows.
template <int W>
inline __m128i gather(const Zep8u* p, ptrdiff_t s) {
    if constexpr (W == 4) {
        return _mm_unpacklo_epi32(_mm_cvtsi32_si128(static_cast<int>(ld32(p))),
                                  _mm_cvtsi32_si128(static_cast<int>(ld32(p + s))));
    } else {
        const unsigned long long lo = ld16b(p) | (ld16b(p + s) << 16);
        const unsigned long long hi = ld16b(p + 2 * s) | (ld16b(p + 3 * s) << 16);
        return _mm_cvtsi64_si128(static_cast<long long>(lo | (hi << 32)));
    }
}

template <int W, int H>
void block(const Zep8u* a, Zep32s aStep, const Zep8u* b, Zep32s bStep, Zep8u* dst, Zep32s dstStep,
           const WeightParams& w) {
    const Consts c(w);
    const ptrdiff_t as = aStep, bs = bStep, ds = dstStep;
    if constexpr (W == 16) {
        for (int y = 0; y < H; ++y, a += as, b += bs, dst += ds)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), weigh16(ld16(a), ld16(b), c));
    } else if constexpr (W == 8) {
        for (int y = 0; y < H; y += 2, a += 2 * as, b += 2 * bs, dst += 2 * ds) {
            const __m128i r0 = weigh8(ld8(a), ld8(b), c), r1 = weigh8(ld8(a + as), ld8(b + bs), c);
            const __m128i r = _mm_packus_epi16(r0, r1);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), r);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + ds), _mm_unpackhi_epi64(r, r));
        }
    } else {
        // 8 / W rows per register; two rows of 2 when the block has only two.
        constexpr int R = (8 / W) < H ? 8 / W : H;
        for (int y = 0; y < H; y += R, a += R * as, b += R * bs, dst += R * ds) {
            __m128i va, vb;
            if constexpr (W == 2 && R == 2) {
                va = _mm_cvtsi32_si128(static_cast<int>(ld16b(a) | (ld16b(a + as) << 16)));
                vb = _mm_cvtsi32_si128(static_cast<int>(ld16b(b) | (ld16b(b + bs) << 16)));
            } else {
                va = gather<W>(a, as);
                vb = gather<W>(b, bs);
            }
            const __m128i r16 = weigh8(va, vb, c);
            const __m128i r = _mm_packus_epi16(r16, r16);
            const long long bits = _mm_cvtsi128_si64(r);
            for (int i = 0; i < R; ++i) {
                const Zep32u v = static_cast<Zep32u>(static_cast<unsigned long long>(bits) >> (i * W * 8));
                std::memcpy(dst + i * ds, &v, W);
            }
        }
    }
}

void any(const Zep8u* a, Zep32s aStep, const Zep8u* b, Zep32s bStep, Zep8u* dst, Zep32s dstStep,
         const WeightParams& w, int width, int height) {
    const Consts c(w);
    for (int y = 0; y < height; ++y) {
        const ptrdiff_t yy = y;
        const Zep8u* ra = a + yy * aStep;
        const Zep8u* rb = b + yy * bStep;
        Zep8u* rd = dst + yy * dstStep;
        int x = 0;
        for (; x + 16 <= width; x += 16)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(rd + x), weigh16(ld16(ra + x), ld16(rb + x), c));
        if (x + 8 <= width) {
            const __m128i r = weigh8(ld8(ra + x), ld8(rb + x), c);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(rd + x), _mm_packus_epi16(r, r));
            x += 8;
        }
        for (; x < width; ++x) rd[x] = ref::weight_sample(ra[x], rb[x], w);
    }
}

template <int H>
void fill_row(WeightFn* t) {
    t[0 * 4 + weight_class(H)] = block<2, H>;
    t[1 * 4 + weight_class(H)] = block<4, H>;
    t[2 * 4 + weight_class(H)] = block<8, H>;
    t[3 * 4 + weight_class(H)] = block<16, H>;
}

}  // namespace

void weight_install_ssse3(WeightDsp& t) {
    fill_row<2>(t.block);
    fill_row<4>(t.block);
    fill_row<8>(t.block);
    fill_row<16>(t.block);
    t.any = any;
}

}  // namespace zep
