// SSSE3 kernels of the H.264 luma deblocking: for up to 12-bit samples eight
// lines at a time in 16-bit lanes (a half edge: two segments, skipped when
// both have bS 0); the 8-bit kernels of deblock_simd.h built with SSSE3.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include "h264/deblock_dsp.h"
#include "h264/x86/deblock_simd.h"

namespace zep {
namespace {

using namespace deblock_x86;
using V = V128;

inline __m128i load8(const Zep16u* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void store8(Zep16u* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

template <bool Vertical>
void luma_16u(Zep16u* p, Zep32s stepSamples, const Zep16u* alpha, const Zep16u* beta, const Zep16u* tc0,
              const Zep8u* bs, int maxVal) {
    const ptrdiff_t step = stepSamples;
    for (int e = 0; e < 4; ++e) {
        const Zep8u* b = bs + 4 * e;
        Zep32u all;
        std::memcpy(&all, b, 4);
        if (all == 0) continue;
        const EdgeParams<V> ep = edge_params<V>(alpha[e > 0], beta[e > 0], maxVal);
        for (int h = 0; h < 2; ++h) {
            const int need = needs(b + 2 * h, 2);
            if (need == 0) continue;  // both segments bS 0 (or above 4): eight lines untouched
            const __m128i bsv = seg_lanes(b[2 * h], b[2 * h + 1]);
            const __m128i tcv = seg_lanes(std::min<int>(tc0[4 * e + 2 * h], 8191), std::min<int>(tc0[4 * e + 2 * h + 1], 8191));
            __m128i s[8];
            if constexpr (Vertical) {
                Zep16u* base = p + 4 * e - 4 + 8 * h * step;
                for (int i = 0; i < 8; ++i) s[i] = load8(base + i * step);
                transpose8x8_16(s);
                filter_lines<V>(s, ep, bsv, tcv, need & 1, need & 2);
                transpose8x8_16(s);
                for (int i = 0; i < 8; ++i) store8(base + i * step, s[i]);
            } else {
                Zep16u* q0 = p + 4 * e * step + 8 * h;
                for (int k = 0; k < 8; ++k) s[k] = load8(q0 + (k - 4) * step);
                filter_lines<V>(s, ep, bsv, tcv, need & 1, need & 2);
                for (int k = 1; k < 7; ++k) store8(q0 + (k - 4) * step, s[k]);
            }
        }
    }
}

}  // namespace

void deblock_install_ssse3(DeblockDsp& t) {
    t.luma8[0] = ver_8u;  // from deblock_simd.h, built here with SSSE3
    t.luma8[1] = hor_8u;
    t.luma16[0] = luma_16u<true>;
    t.luma16[1] = luma_16u<false>;
}

}  // namespace zep
