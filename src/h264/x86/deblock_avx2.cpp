// AVX2 kernels of the H.264 luma deblocking for 16-bit samples (up to 12
// bits), all 16 lines of an edge in one register; and the 8-bit kernels of
// deblock_simd.h built with AVX2 encoding.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include "h264/deblock_dsp.h"
#include "h264/x86/deblock_simd.h"

namespace zep {
namespace {

using namespace deblock_x86;
using V = V256;

// Lanes 4s..4s+3 take v[s] (v at most 8191: larger tC0 never clip 12-bit deltas).
inline __m256i seg_lanes16(int a, int b, int c, int d) {
    const __m128i lo = _mm_setr_epi16(static_cast<short>(a), static_cast<short>(a), static_cast<short>(a),
                                      static_cast<short>(a), static_cast<short>(b), static_cast<short>(b),
                                      static_cast<short>(b), static_cast<short>(b));
    const __m128i hi = _mm_setr_epi16(static_cast<short>(c), static_cast<short>(c), static_cast<short>(c),
                                      static_cast<short>(c), static_cast<short>(d), static_cast<short>(d),
                                      static_cast<short>(d), static_cast<short>(d));
    return _mm256_set_m128i(hi, lo);
}

// Horizontal edges: a row of 16 samples is one register.
void hor_16u(Zep16u* p, Zep32s step, const Zep16u* alpha, const Zep16u* beta, const Zep16u* tc0, const Zep8u* bs,
             int maxVal) {
    const ptrdiff_t s = step;
    for (int e = 0; e < 4; ++e) {
        const Zep8u* b = bs + 4 * e;
        const int need = needs(b, 4);
        if (need == 0) continue;  // every segment bS 0 (or above 4)
        const EdgeParams<V> ep = edge_params<V>(alpha[e > 0], beta[e > 0], maxVal);
        const Zep16u* t = tc0 + 4 * e;
        const __m256i bsv = seg_lanes16(b[0], b[1], b[2], b[3]);
        const __m256i tcv = seg_lanes16(std::min<int>(t[0], 8191), std::min<int>(t[1], 8191),
                                        std::min<int>(t[2], 8191), std::min<int>(t[3], 8191));
        __m256i v[8];
        Zep16u* q0 = p + 4 * e * s;
        for (int k = 0; k < 8; ++k) v[k] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(q0 + (k - 4) * s));
        filter_lines<V>(v, ep, bsv, tcv, need & 1, need & 2);
        for (int k = 1; k < 7; ++k) _mm256_storeu_si256(reinterpret_cast<__m256i*>(q0 + (k - 4) * s), v[k]);
    }
}

}  // namespace

void deblock_install_avx2(DeblockDsp& t) {
    // The 8-bit kernels work in 128-bit registers either way; built with
    // AVX2 their three-operand forms save register copies.
    t.luma8[0] = ver_8u;
    t.luma8[1] = hor_8u;
    t.luma16[0] = ver_16u;  // the eight-line form: 256-bit columns cost more splicing than they save
    t.luma16[1] = hor_16u;
}

}  // namespace zep
