// AVX2 kernels of the high-bit-depth H.264 weighting for 16- and 8-wide
// blocks: a 16-wide row per register, or two 8-wide rows (one per lane). The
// unpack and pack steps work within lanes, so samples come back in order.
#include <immintrin.h>

#include <cstddef>

#include "h264/x86/weight16_simd.h"

namespace zep {
namespace {

struct Consts {
    __m256i w, bias, offset, flip, maxv;
    __m128i shift;
    explicit Consts(const Weight16Params& p)
        : w(_mm256_set1_epi32(w16::pair(p.w1, p.w2))),
          bias(_mm256_set1_epi32(w16::bias(p))),
          offset(_mm256_set1_epi32(p.offset)),
          flip(_mm256_set1_epi16(static_cast<short>(0x8000))),
          maxv(_mm256_set1_epi16(static_cast<short>(p.maxVal))),
          shift(_mm_cvtsi32_si128(p.shift)) {}
};

inline __m256i weigh4(__m256i pairs, const Consts& c) {
    const __m256i v = _mm256_sra_epi32(_mm256_add_epi32(_mm256_madd_epi16(pairs, c.w), c.bias), c.shift);
    return _mm256_add_epi32(v, c.offset);
}
inline __m256i weigh16(__m256i a, __m256i b, const Consts& c) {
    a = _mm256_xor_si256(a, c.flip);
    b = _mm256_xor_si256(b, c.flip);
    const __m256i r =
        _mm256_packus_epi32(weigh4(_mm256_unpacklo_epi16(a, b), c), weigh4(_mm256_unpackhi_epi16(a, b), c));
    return _mm256_min_epu16(r, c.maxv);
}

inline __m256i load(const Zep16u* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
inline __m256i rows8(const Zep16u* p, ptrdiff_t s) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))),
                                   _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + s)), 1);
}

void block16(const Zep16u* a, Zep32s as, const Zep16u* b, Zep32s bs, Zep16u* d, Zep32s ds, const Weight16Params& p,
             int height) {
    const Consts c(p);
    for (int y = 0; y < height; ++y, a += as, b += bs, d += ds)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), weigh16(load(a), load(b), c));
}

void block8(const Zep16u* a, Zep32s as, const Zep16u* b, Zep32s bs, Zep16u* d, Zep32s ds, const Weight16Params& p,
            int height) {
    const Consts c(p);
    int y = 0;
    // Both rows are read before either is written: a source may be the destination.
    for (; y + 2 <= height; y += 2, a += 2 * as, b += 2 * bs, d += 2 * ds) {
        const __m256i r = weigh16(rows8(a, as), rows8(b, bs), c);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm256_castsi256_si128(r));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + ds), _mm256_extracti128_si256(r, 1));
    }
    if (y < height) {
        const __m256i r = weigh16(_mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(a))),
                                  _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(b))), c);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm256_castsi256_si128(r));
    }
}

}  // namespace

void weight16_install_avx2(Weight16Dsp& t) {
    t.block[2] = block8;
    t.block[3] = block16;
}

}  // namespace zep
