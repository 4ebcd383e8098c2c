// SSSE3 kernels of the H.264 deblocking: luma for up to 12-bit samples eight
// lines at a time in 16-bit lanes (a half edge: two segments, skipped when
// both have bS 0); the 8-bit luma kernels of deblock_simd.h and the chroma
// and MBAFF kernels of deblock_chroma_simd.h built with SSSE3.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include "h264/deblock_dsp.h"
#include "h264/x86/deblock_chroma_simd.h"
#include "h264/x86/deblock_simd.h"

namespace zep {
namespace {

using namespace deblock_x86;
using V = V128;

// Horizontal edges: a half row of eight samples per register.
void hor_16u(Zep16u* p, Zep32s step, const Zep16u* alpha, const Zep16u* beta, const Zep16u* tc0, const Zep8u* bs,
             int maxVal) {
    const ptrdiff_t s = step;
    for (int e = 0; e < 4; ++e) {
        for (int h = 0; h < 2; ++h) {
            const int i = 4 * e + 2 * h;
            const int need = needs(bs + i, 2);
            if (need == 0) continue;  // both segments bS 0 (or above 4): eight lines untouched
            Zep16u* q0 = p + 4 * e * s + 8 * h;
            __m128i v[8];
            for (int k = 0; k < 8; ++k) v[k] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(q0 + (k - 4) * s));
            filter_lines<V>(v, edge_params<V>(alpha[e > 0], beta[e > 0], maxVal), seg_lanes(bs[i], bs[i + 1]),
                            seg_lanes(std::min<int>(tc0[i], 8191), std::min<int>(tc0[i + 1], 8191)), need & 1, need & 2);
            for (int k = 1; k < 7; ++k) _mm_storeu_si128(reinterpret_cast<__m128i*>(q0 + (k - 4) * s), v[k]);
        }
    }
}

}  // namespace

void deblock_install_ssse3(DeblockDsp& t) {
    t.luma8[0] = ver_8u;  // from deblock_simd.h, built here with SSSE3
    t.luma8[1] = hor_8u;
    t.luma16[0] = ver_16u;  // from deblock_simd.h
    t.luma16[1] = hor_16u;
    t.chroma8[kChromaVer420] = chroma_8u<true, false>;  // from deblock_chroma_simd.h
    t.chroma8[kChromaHor420] = chroma_8u<false, false>;
    t.chroma8[kChromaVer422] = chroma_8u<true, true>;
    t.chroma8[kChromaHor422] = chroma_8u<false, true>;
    t.chroma16[kChromaVer420] = chroma_ver<Zep16u, false>;
    t.chroma16[kChromaHor420] = chroma_hor<Zep16u, false>;
    t.chroma16[kChromaVer422] = chroma_ver<Zep16u, true>;
    t.chroma16[kChromaHor422] = chroma_hor<Zep16u, true>;
    t.mbaff8[0] = mbaff_luma_8u;
}

}  // namespace zep
