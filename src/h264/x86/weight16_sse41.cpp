// SSE4.1 kernels of the high-bit-depth H.264 weighting: eight samples per
// register, packed back with unsigned saturation and limited to the bit depth.
#include <immintrin.h>

#include <cstddef>
#include <cstring>

#include "h264/x86/weight16_simd.h"

namespace zep {
namespace {

struct Consts {
    __m128i w, bias, offset, flip, maxv;
    __m128i shift;
    explicit Consts(const Weight16Params& p)
        : w(_mm_set1_epi32(w16::pair(p.w1, p.w2))),
          bias(_mm_set1_epi32(w16::bias(p))),
          offset(_mm_set1_epi32(p.offset)),
          flip(_mm_set1_epi16(static_cast<short>(0x8000))),
          maxv(_mm_set1_epi16(static_cast<short>(p.maxVal))),
          shift(_mm_cvtsi32_si128(p.shift)) {}
};

inline __m128i weigh4(__m128i pairs, const Consts& c) {
    const __m128i v = _mm_sra_epi32(_mm_add_epi32(_mm_madd_epi16(pairs, c.w), c.bias), c.shift);
    return _mm_add_epi32(v, c.offset);
}
// Eight samples of a and of b -> eight clamped results.
inline __m128i weigh8(__m128i a, __m128i b, const Consts& c) {
    a = _mm_xor_si128(a, c.flip);
    b = _mm_xor_si128(b, c.flip);
    const __m128i r = _mm_packus_epi32(weigh4(_mm_unpacklo_epi16(a, b), c), weigh4(_mm_unpackhi_epi16(a, b), c));
    return _mm_min_epu16(r, c.maxv);
}

inline __m128i load(const Zep16u* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline __m128i load4(const Zep16u* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
inline __m128i load2(const Zep16u* p) {
    int v;
    std::memcpy(&v, p, 4);
    return _mm_cvtsi32_si128(v);
}

template <int W>
void block(const Zep16u* a, Zep32s as, const Zep16u* b, Zep32s bs, Zep16u* d, Zep32s ds, const Weight16Params& p,
           int height) {
    const Consts c(p);
    for (int y = 0; y < height; ++y, a += as, b += bs, d += ds) {
        if constexpr (W == 16) {
            const __m128i lo = weigh8(load(a), load(b), c), hi = weigh8(load(a + 8), load(b + 8), c);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d), lo);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 8), hi);
        } else if constexpr (W == 8) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d), weigh8(load(a), load(b), c));
        } else if constexpr (W == 4) {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(d), weigh8(load4(a), load4(b), c));
        } else {
            const int v = _mm_cvtsi128_si32(weigh8(load2(a), load2(b), c));
            std::memcpy(d, &v, 4);
        }
    }
}

}  // namespace

void weight16_install_sse41(Weight16Dsp& t) {
    t.block[0] = block<2>;
    t.block[1] = block<4>;
    t.block[2] = block<8>;
    t.block[3] = block<16>;
}

}  // namespace zep
