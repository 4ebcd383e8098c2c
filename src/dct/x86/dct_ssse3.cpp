// SSSE3 kernels of the 8x8 DCTs. A block lives in eight registers; each 1-D
// pass works across the registers, so the eight lines of the block are
// transformed at once in 32-bit multiply-add lanes (pmaddwd on interleaved
// register pairs), and a transpose sits between the passes. The inverse
// transform splits even and odd coefficients: sample n and sample 7 - n share
// both partial sums, with the odd one's sign flipped.
#include <immintrin.h>

#include <cstddef>

#include "dct/dct_dsp.h"
#include "dct/x86/dct_simd.h"

namespace zep {
namespace {

using namespace dct_x86;

// Inverse pass: v[k] holds coefficient k of every line; on return v[n] holds
// sample n of every line.
template <int Shift>
inline void idct_pass(__m128i (&v)[8]) {
    const Pairs p04(v[0], v[4]), p26(v[2], v[6]), p13(v[1], v[3]), p57(v[5], v[7]);
    __m128i out[8];
    for (int n = 0; n < 4; ++n) {
        const __m128i c04 = pair_const(kIdctBasis[n][0], kIdctBasis[n][4]);
        const __m128i c26 = pair_const(kIdctBasis[n][2], kIdctBasis[n][6]);
        const __m128i c13 = pair_const(kIdctBasis[n][1], kIdctBasis[n][3]);
        const __m128i c57 = pair_const(kIdctBasis[n][5], kIdctBasis[n][7]);
        const __m128i elo = _mm_add_epi32(_mm_madd_epi16(p04.lo, c04), _mm_madd_epi16(p26.lo, c26));
        const __m128i ehi = _mm_add_epi32(_mm_madd_epi16(p04.hi, c04), _mm_madd_epi16(p26.hi, c26));
        const __m128i olo = _mm_add_epi32(_mm_madd_epi16(p13.lo, c13), _mm_madd_epi16(p57.lo, c57));
        const __m128i ohi = _mm_add_epi32(_mm_madd_epi16(p13.hi, c13), _mm_madd_epi16(p57.hi, c57));
        out[n] = round_pack<Shift>(_mm_add_epi32(elo, olo), _mm_add_epi32(ehi, ohi));
        out[7 - n] = round_pack<Shift>(_mm_sub_epi32(elo, olo), _mm_sub_epi32(ehi, ohi));
    }
    for (int n = 0; n < 8; ++n) v[n] = out[n];
}

// Forward pass: v[n] holds sample n of every line; on return v[k] holds
// coefficient k. All eight terms per output: the input butterflies would
// need 17-bit sums.
template <int Shift>
inline void fdct_pass(__m128i (&v)[8]) {
    const Pairs p01(v[0], v[1]), p23(v[2], v[3]), p45(v[4], v[5]), p67(v[6], v[7]);
    __m128i out[8];
    for (int k = 0; k < 8; ++k) {
        const __m128i c01 = pair_const(kIdctBasis[0][k], kIdctBasis[1][k]);
        const __m128i c23 = pair_const(kIdctBasis[2][k], kIdctBasis[3][k]);
        const __m128i c45 = pair_const(kIdctBasis[4][k], kIdctBasis[5][k]);
        const __m128i c67 = pair_const(kIdctBasis[6][k], kIdctBasis[7][k]);
        const __m128i lo = _mm_add_epi32(_mm_add_epi32(_mm_madd_epi16(p01.lo, c01), _mm_madd_epi16(p23.lo, c23)),
                                         _mm_add_epi32(_mm_madd_epi16(p45.lo, c45), _mm_madd_epi16(p67.lo, c67)));
        const __m128i hi = _mm_add_epi32(_mm_add_epi32(_mm_madd_epi16(p01.hi, c01), _mm_madd_epi16(p23.hi, c23)),
                                         _mm_add_epi32(_mm_madd_epi16(p45.hi, c45), _mm_madd_epi16(p67.hi, c67)));
        out[k] = round_pack<Shift>(lo, hi);
    }
    for (int k = 0; k < 8; ++k) v[k] = out[k];
}

struct Passes {
    template <int Shift>
    static void inv(__m128i (&v)[8]) { idct_pass<Shift>(v); }
    template <int Shift>
    static void fwd(__m128i (&v)[8]) { fdct_pass<Shift>(v); }
};

}  // namespace

void dct_install_ssse3(DctDsp& t) { install<Passes>(t); }

}  // namespace zep
