// SSSE3 DV macroblock conversions: luma rows saturated to bytes, chroma
// widened to 4:2:2 (4:1:1 samples doubled; 4:2:0 lines repeated) and
// interleaved as Y0 Cb Y1 Cr.
#include <tmmintrin.h>

#include <cstddef>

#include "dv/convert_dsp.h"

namespace zep {
namespace {

inline __m128i load8(const Zep16s* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void store(Zep8u* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// 16 luma bytes and 8 (Cb, Cr) byte pairs into 32 packed bytes.
inline void emit(Zep8u* dst, __m128i y16, __m128i cbcr8) {
    store(dst, _mm_unpacklo_epi8(y16, cbcr8));
    store(dst + 16, _mm_unpackhi_epi8(y16, cbcr8));
}

void mb411(const Zep16s* b, Zep8u* dst, Zep32s step) {
    for (int r = 0; r < 8; ++r) {
        const __m128i y01 = _mm_packus_epi16(load8(b + 8 * r), load8(b + 64 + 8 * r));
        const __m128i y23 = _mm_packus_epi16(load8(b + 128 + 8 * r), load8(b + 192 + 8 * r));
        // Cb (block 5) and Cr (block 4): 8 samples each, one per 4 luma samples, interleaved then doubled.
        const __m128i c = _mm_packus_epi16(load8(b + 320 + 8 * r), load8(b + 256 + 8 * r));  // Cb0..7 Cr0..7
        const __m128i pairs = _mm_unpacklo_epi8(c, _mm_srli_si128(c, 8));                    // Cb Cr interleaved
        const __m128i lo = _mm_unpacklo_epi16(pairs, pairs), hi = _mm_unpackhi_epi16(pairs, pairs);
        Zep8u* row = dst + static_cast<ptrdiff_t>(r) * step;
        emit(row, y01, lo);
        emit(row + 32, y23, hi);
    }
}

void mb420(const Zep16s* b, Zep8u* dst, Zep32s step) {
    for (int r = 0; r < 16; ++r) {
        const int top = r < 8 ? 0 : 128, lr = r & 7;
        const __m128i y = _mm_packus_epi16(load8(b + top + 8 * lr), load8(b + top + 64 + 8 * lr));
        const __m128i c = _mm_packus_epi16(load8(b + 320 + 8 * (r / 2)), load8(b + 256 + 8 * (r / 2)));
        emit(dst + static_cast<ptrdiff_t>(r) * step, y, _mm_unpacklo_epi8(c, _mm_srli_si128(c, 8)));
    }
}

}  // namespace

void dv_convert_install_ssse3(DvConvertDsp& t) {
    t.mb411 = mb411;
    t.mb420 = mb420;
}

}  // namespace zep
