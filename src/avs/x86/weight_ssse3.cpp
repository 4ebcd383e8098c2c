// SSSE3 kernels of the AVS weighted prediction: a row of 8 or 16 samples per step.
#include <immintrin.h>

#include <cstddef>

#include "avs/weight_dsp.h"
#include "avs/x86/weight_simd.h"

namespace zep {
namespace {

template <int W>
void weight(const Zep8u* src, Zep32s ss, Zep8u* dst, Zep32s ds, Zep16u scale, Zep16s offset, int rows) {
    const __m128i s = _mm_set1_epi16(static_cast<short>(scale)), o = _mm_set1_epi16(offset), z = _mm_setzero_si128();
    for (int y = 0; y < rows; ++y) {
        const Zep8u* p = src + static_cast<ptrdiff_t>(y) * ss;
        Zep8u* q = dst + static_cast<ptrdiff_t>(y) * ds;
        if constexpr (W == 16) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
            const __m128i lo = avs_x86::weigh(_mm_unpacklo_epi8(v, z), s, o);
            const __m128i hi = avs_x86::weigh(_mm_unpackhi_epi8(v, z), s, o);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(q), _mm_packus_epi16(lo, hi));
        } else {
            const __m128i v = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), z);
            const __m128i r = avs_x86::weigh(v, s, o);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(q), _mm_packus_epi16(r, r));
        }
    }
}

}  // namespace

void avs_weight_install_ssse3(AvsWeightDsp& t) {
    t.w8 = weight<8>;
    t.w16 = weight<16>;
}

}  // namespace zep
