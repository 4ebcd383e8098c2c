// AVX2 kernels of the H.264 weighted prediction for 16- and 8-wide blocks:
// two rows per register (row y in the low lane, row y + 1 in the high lane),
// each lane doing the SSSE3 kernel's pmaddwd arithmetic on its own row.
#include <immintrin.h>

#include <cstddef>

#include "h264/weight_dsp.h"

namespace zep {
namespace {

struct Consts {
    __m256i w, round, offset;
    __m128i shift;
    explicit Consts(const WeightParams& p)
        : w(_mm256_set1_epi32(static_cast<int>((static_cast<unsigned>(p.w2) << 16) | (static_cast<unsigned>(p.w1) & 0xFFFFu)))),
          round(_mm256_set1_epi32(p.round)),
          offset(_mm256_set1_epi32(p.offset)),
          shift(_mm_cvtsi32_si128(p.shift)) {}
};

inline __m256i weigh4(__m256i pairs, const Consts& c) {
    const __m256i v = _mm256_sra_epi32(_mm256_add_epi32(_mm256_madd_epi16(pairs, c.w), c.round), c.shift);
    return _mm256_add_epi32(v, c.offset);
}
// Eight (a, b) byte pairs per lane, interleaved -> eight saturated 16-bit results per lane.
inline __m256i weigh8(__m256i ab, const Consts& c) {
    const __m256i z = _mm256_setzero_si256();
    return _mm256_packs_epi32(weigh4(_mm256_unpacklo_epi8(ab, z), c), weigh4(_mm256_unpackhi_epi8(ab, z), c));
}

inline __m256i rows16(const Zep8u* p, ptrdiff_t s) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))),
                                   _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + s)), 1);
}
inline __m256i rows8(const Zep8u* p, ptrdiff_t s) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))),
                                   _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + s)), 1);
}

template <int W, int H>
void block(const Zep8u* a, Zep32s aStep, const Zep8u* b, Zep32s bStep, Zep8u* dst, Zep32s dstStep,
           const WeightParams& w) {
    const Consts c(w);
    const ptrdiff_t as = aStep, bs = bStep, ds = dstStep;
    for (int y = 0; y < H; y += 2, a += 2 * as, b += 2 * bs, dst += 2 * ds) {
        if constexpr (W == 16) {
            const __m256i va = rows16(a, as), vb = rows16(b, bs);
            const __m256i r = _mm256_packus_epi16(weigh8(_mm256_unpacklo_epi8(va, vb), c),
                                                  weigh8(_mm256_unpackhi_epi8(va, vb), c));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm256_castsi256_si128(r));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + ds), _mm256_extracti128_si256(r, 1));
        } else {
            const __m256i r16 = weigh8(_mm256_unpacklo_epi8(rows8(a, as), rows8(b, bs)), c);
            const __m256i r = _mm256_packus_epi16(r16, r16);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), _mm256_castsi256_si128(r));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + ds), _mm256_extracti128_si256(r, 1));
        }
    }
}

template <int W>
void fill_width(WeightFn* t) {
    t[weight_class(W) * 4 + 0] = block<W, 2>;
    t[weight_class(W) * 4 + 1] = block<W, 4>;
    t[weight_class(W) * 4 + 2] = block<W, 8>;
    t[weight_class(W) * 4 + 3] = block<W, 16>;
}

}  // namespace

void weight_install_avx2(WeightDsp& t) {
    fill_width<8>(t.block);
    fill_width<16>(t.block);
}

}  // namespace zep
