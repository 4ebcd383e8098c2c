// AVX2 kernel of the edge-directed deinterlacer: thirty-two samples a step.
#include <immintrin.h>

#include "enhance/deinterlace_dsp.h"
#include "enhance/deinterlace_ref.h"
#include "enhance/x86/deinterlace_simd.h"

namespace zep {
namespace {

struct V256 {
    using T = __m256i;
    static constexpr int N = 32;
    static T load(const Zep8u* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
    static void store(Zep8u* p, T v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
    static T absdiff(T a, T b) { return _mm256_or_si256(_mm256_subs_epu8(a, b), _mm256_subs_epu8(b, a)); }
    static T avg(T a, T b) { return _mm256_avg_epu8(a, b); }
    static T lt(T a, T b) {
        return _mm256_xor_si256(_mm256_cmpeq_epi8(_mm256_subs_epu8(b, a), _mm256_setzero_si256()), _mm256_set1_epi8(-1));
    }
    static T select(T m, T a, T b) { return _mm256_blendv_epi8(b, a, m); }
};

void row(const Zep8u* a, const Zep8u* b, Zep8u* d, int width) {
    // Rows too short for one 32-sample vector still get the 16-sample one.
    if (width - 2 < 32) deint_x86::row<deint_x86::V128>(a, b, d, width, ref::deint_row);
    else deint_x86::row<V256>(a, b, d, width, ref::deint_row);
}

}  // namespace

void deint_install_avx2(DeintDsp& t) { t.row = row; }

}  // namespace zep
