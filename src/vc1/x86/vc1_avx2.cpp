// AVX2 kernels of the VC-1 family: the 8-wide transforms run their full-width
// 1-D passes as 256-bit multiply-adds (both halves of a row at once), and
// range mapping takes 32 samples per step. Quantisers, smoothing and the
// Hadamard cost work on one 8-sample row at a time and keep their SSSE3 kernels.
#include "vc1/vc1_dsp.h"
#include "vc1/x86/vc1_pixel_x86.h"
#include "vc1/x86/vc1_xform_x86.h"

namespace zep {
namespace {

void range_map_avx2(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep, int width, int height, int factor) {
    const __m256i f = _mm256_set1_epi16(static_cast<short>(factor)), zero = _mm256_setzero_si256();
    const __m256i c128 = _mm256_set1_epi16(128), c4 = _mm256_set1_epi16(4);
    auto map16 = [&](__m256i x16) {
        const __m256i p = _mm256_add_epi16(_mm256_mullo_epi16(_mm256_sub_epi16(x16, c128), f), c4);
        return _mm256_add_epi16(_mm256_srai_epi16(p, 3), c128);
    };
    const int wide = width & ~31;
    for (int y = 0; y < height; ++y) {
        const Zep8u* s = vc1_row(src, srcStep, y);
        Zep8u* d = vc1_row(dst, dstStep, y);
        for (int x = 0; x < wide; x += 32) {
            const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + x));
            // Unpack and pack both work within 128-bit lanes, so the bytes come
            // back in their original order.
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + x),
                                _mm256_packus_epi16(map16(_mm256_unpacklo_epi8(v, zero)),
                                                    map16(_mm256_unpackhi_epi8(v, zero))));
        }
    }
    if (wide < width) vc1x_range_map_rows(src, srcStep, dst, dstStep, wide, width, height, factor);
}

}  // namespace

// Only the blocks with full-width passes on both sides gain; the 4-wide and
// 4-tall ones keep the SSSE3 kernels (their 256-bit pass is a single stage
// and the lane shuffles cost what the multiply-adds save).
void vc1_install_avx2(Vc1Dsp& t) {
    Vc1Dsp v{};
    vc1x_install_transforms(v);
    for (int i = 0; i < 4; ++i) t.inv8x8[i] = v.inv8x8[i];
    t.inv8x4[kVc1InvFull] = v.inv8x4[kVc1InvFull];
    t.fwd[vc1_size_index(8, 8)] = v.fwd[vc1_size_index(8, 8)];
    t.range_map = range_map_avx2;
}

}  // namespace zep
