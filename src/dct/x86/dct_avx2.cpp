// AVX2 kernels of the 8x8 DCTs: the SSSE3 kernels' arithmetic with all eight
// lines of a register pair in one 256-bit multiply-add (the low and high
// interleaved halves side by side), which halves the multiply-adds; the
// transposes stay in 128-bit registers.
#include <immintrin.h>

#include "dct/dct_dsp.h"
#include "dct/x86/dct_simd.h"

namespace zep {
namespace {

using namespace dct_x86;

inline __m256i pair_const8(int a, int b) {
    return _mm256_set1_epi32(static_cast<int>((static_cast<unsigned>(b) << 16) | (static_cast<unsigned>(a) & 0xFFFFu)));
}
// Registers a and b interleaved: lines 0..3 in the low lane, 4..7 in the high.
inline __m256i pairs8(__m128i a, __m128i b) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_unpacklo_epi16(a, b)), _mm_unpackhi_epi16(a, b), 1);
}
template <int Shift>
inline __m256i round_shift(__m256i v) {
    return _mm256_srai_epi32(_mm256_add_epi32(v, _mm256_set1_epi32(1 << (Shift - 1))), Shift);
}
// Two rows of 32-bit results -> two registers of saturated 16-bit results.
inline void pack2(__m256i a, __m256i b, __m128i& ra, __m128i& rb) {
    const __m256i p = _mm256_permute4x64_epi64(_mm256_packs_epi32(a, b), 0xD8);
    ra = _mm256_castsi256_si128(p);
    rb = _mm256_extracti128_si256(p, 1);
}

template <int Shift>
inline void idct_pass(__m128i (&v)[8]) {
    const __m256i p04 = pairs8(v[0], v[4]), p26 = pairs8(v[2], v[6]), p13 = pairs8(v[1], v[3]), p57 = pairs8(v[5], v[7]);
    for (int n = 0; n < 4; ++n) {
        const __m256i e = _mm256_add_epi32(_mm256_madd_epi16(p04, pair_const8(kIdctBasis[n][0], kIdctBasis[n][4])),
                                           _mm256_madd_epi16(p26, pair_const8(kIdctBasis[n][2], kIdctBasis[n][6])));
        const __m256i o = _mm256_add_epi32(_mm256_madd_epi16(p13, pair_const8(kIdctBasis[n][1], kIdctBasis[n][3])),
                                           _mm256_madd_epi16(p57, pair_const8(kIdctBasis[n][5], kIdctBasis[n][7])));
        pack2(round_shift<Shift>(_mm256_add_epi32(e, o)), round_shift<Shift>(_mm256_sub_epi32(e, o)), v[n], v[7 - n]);
    }
}

template <int Shift>
inline void fdct_pass(__m128i (&v)[8]) {
    const __m256i p01 = pairs8(v[0], v[1]), p23 = pairs8(v[2], v[3]), p45 = pairs8(v[4], v[5]), p67 = pairs8(v[6], v[7]);
    __m256i out[8];
    for (int k = 0; k < 8; ++k) {
        const __m256i a = _mm256_add_epi32(_mm256_madd_epi16(p01, pair_const8(kIdctBasis[0][k], kIdctBasis[1][k])),
                                           _mm256_madd_epi16(p23, pair_const8(kIdctBasis[2][k], kIdctBasis[3][k])));
        const __m256i b = _mm256_add_epi32(_mm256_madd_epi16(p45, pair_const8(kIdctBasis[4][k], kIdctBasis[5][k])),
                                           _mm256_madd_epi16(p67, pair_const8(kIdctBasis[6][k], kIdctBasis[7][k])));
        out[k] = round_shift<Shift>(_mm256_add_epi32(a, b));
    }
    for (int k = 0; k < 8; k += 2) pack2(out[k], out[k + 1], v[k], v[k + 1]);
}

struct Passes {
    template <int Shift>
    static void inv(__m128i (&v)[8]) { idct_pass<Shift>(v); }
    template <int Shift>
    static void fwd(__m128i (&v)[8]) { fdct_pass<Shift>(v); }
};

}  // namespace

void dct_install_avx2(DctDsp& t) { install<Passes>(t); }

}  // namespace zep
