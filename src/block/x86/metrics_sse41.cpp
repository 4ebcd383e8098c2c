// SSE4.1 kernels of the block distortion metrics: the candidate runs, where
// mpsadbw gives eight candidates' 4-sample SADs in one instruction.
#include "block/metrics_dsp.h"
#include "block/x86/metrics_simd.h"

namespace zep {
namespace {

using namespace x86;

struct Sse41Run {
    // Per row and pair of 4-sample source groups: one 15-byte reference window
    // (candidates 0..7 plus the group's width) at offset 0 and 4. Sums stay
    // below 65536 (16x16: 64 terms of at most 1020).
    template <int W, int H, class Rows>
    static void group8(const Zep8u* s, Zep32s ss, const Zep8u* r, Zep32s rs, Zep16u* out) {
        static_assert(W == 16 || W == 8 || W == 4);
        __m128i acc = _mm_setzero_si128();
        for (int y = 0; y < H; ++y, s += ss, r += rs) {
            const __m128i sv = AnyRows::window<0, W>(s);
            if constexpr (W == 4) {
                const __m128i w = Rows::template window<0, 11>(r);
                acc = _mm_add_epi16(acc, _mm_mpsadbw_epu8(w, sv, 0));
            } else {
                unroll<W / 8>([&]<int P>() ZEP_INLINE_LAMBDA {
                    const __m128i w = Rows::template window<8 * P, 15>(r);
                    acc = _mm_add_epi16(acc, _mm_mpsadbw_epu8(w, sv, 2 * P));
                    acc = _mm_add_epi16(acc, _mm_mpsadbw_epu8(w, sv, (2 * P + 1) | 4));
                });
            }
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), acc);
    }

    // phminposuw returns the smallest of eight values and its first position.
    static Zep32s argmin(const Zep16u* v, Zep32s count) {
        unsigned best = 0x10000;
        Zep32s at = 0;
        for (Zep32s k = 0; k < count; k += 8) {
            const unsigned m = static_cast<unsigned>(
                _mm_cvtsi128_si32(_mm_minpos_epu16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(v + k)))));
            if ((m & 0xFFFF) < best) {
                best = m & 0xFFFF;
                at = k + static_cast<Zep32s>(m >> 16);
            }
        }
        return at;
    }
};

}  // namespace

void metrics_install_sse41(MetricsDsp& t) {
    install_run<Sse41Run, 16, 16>(t.run16x16);
    install_run<Sse41Run, 8, 8>(t.run8x8);
    install_run<Sse41Run, 4, 4>(t.run4x4);
    install_run<Sse41Run, 16, 16>(t.runmin16x16);
    install_run<Sse41Run, 8, 8>(t.runmin8x8);
    install_run<Sse41Run, 4, 4>(t.runmin4x4);
}

}  // namespace zep
