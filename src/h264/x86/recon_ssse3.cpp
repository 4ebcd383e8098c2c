// SSSE3 kernels of the H.264 4x4 dequantisation, inverse transform and luma
// reconstruction. Two horizontally adjacent 4x4 blocks (block order pairs
// 2j, 2j+1) share each register: lanes 0..3 hold a row of the left block,
// lanes 4..7 the same row of the right one, so a picture row of 8 samples is
// one load and one store. The 16-bit saturating instructions give exactly the
// reference's saturation points.
#include <tmmintrin.h>

#include <cstring>

#include "h264/recon_dsp.h"
#include "h264/recon_ref.h"

namespace zep {
namespace {

// Transposes the 4x4 block held in each half of r0..r3.
[[gnu::always_inline]] inline void transpose_halves(__m128i& r0, __m128i& r1, __m128i& r2, __m128i& r3) {
    const __m128i t0 = _mm_unpacklo_epi16(r0, r1), t1 = _mm_unpacklo_epi16(r2, r3);
    const __m128i t2 = _mm_unpackhi_epi16(r0, r1), t3 = _mm_unpackhi_epi16(r2, r3);
    const __m128i u0 = _mm_unpacklo_epi32(t0, t1), u1 = _mm_unpackhi_epi32(t0, t1);
    const __m128i u2 = _mm_unpacklo_epi32(t2, t3), u3 = _mm_unpackhi_epi32(t2, t3);
    r0 = _mm_unpacklo_epi64(u0, u2);
    r1 = _mm_unpackhi_epi64(u0, u2);
    r2 = _mm_unpacklo_epi64(u1, u3);
    r3 = _mm_unpackhi_epi64(u1, u3);
}

[[gnu::always_inline]] inline void butterfly(__m128i& d0, __m128i& d1, __m128i& d2, __m128i& d3, __m128i bias) {
    __m128i e0 = _mm_adds_epi16(d0, d2), e1 = _mm_subs_epi16(d0, d2);
    const __m128i e2 = _mm_subs_epi16(_mm_srai_epi16(d1, 1), d3);
    const __m128i e3 = _mm_adds_epi16(d1, _mm_srai_epi16(d3, 1));
    e0 = _mm_adds_epi16(e0, bias);
    e1 = _mm_adds_epi16(e1, bias);
    d0 = _mm_adds_epi16(e0, e3);
    d1 = _mm_adds_epi16(e1, e2);
    d2 = _mm_subs_epi16(e1, e2);
    d3 = _mm_subs_epi16(e0, e3);
}

// Rows then columns (+32, >> 6) of the two blocks in r0..r3 (rows in, rows out).
[[gnu::always_inline]] inline void itrans_pair(__m128i& r0, __m128i& r1, __m128i& r2, __m128i& r3) {
    transpose_halves(r0, r1, r2, r3);
    butterfly(r0, r1, r2, r3, _mm_setzero_si128());
    transpose_halves(r0, r1, r2, r3);
    butterfly(r0, r1, r2, r3, _mm_set1_epi16(32));
    r0 = _mm_srai_epi16(r0, 6);
    r1 = _mm_srai_epi16(r1, 6);
    r2 = _mm_srai_epi16(r2, 6);
    r3 = _mm_srai_epi16(r3, 6);
}

struct Dequant {
    __m128i round, right, left, dcMask;
    explicit Dequant(QpShift q)
        : round(_mm_set1_epi32(q.round)),
          right(_mm_cvtsi32_si128(q.right)),
          left(_mm_cvtsi32_si128(q.left)),
          dcMask(_mm_setr_epi16(-1, 0, 0, 0, -1, 0, 0, 0)) {}

    // (c*s + round) >> right in 32 bits, saturated (or, for the DC lanes of
    // row 0, truncated) to 16 bits, then shifted left in 16 bits.
    template <bool Row0>
    [[gnu::always_inline]] __m128i operator()(__m128i c, __m128i s) const {
        const __m128i lo = _mm_mullo_epi16(c, s), hi = _mm_mulhi_epi16(c, s);
        const __m128i p0 = _mm_sra_epi32(_mm_add_epi32(_mm_unpacklo_epi16(lo, hi), round), right);
        const __m128i p1 = _mm_sra_epi32(_mm_add_epi32(_mm_unpackhi_epi16(lo, hi), round), right);
        __m128i v = _mm_packs_epi32(p0, p1);
        if constexpr (Row0) {
            const __m128i t = _mm_packs_epi32(_mm_srai_epi32(_mm_slli_epi32(p0, 16), 16),
                                              _mm_srai_epi32(_mm_slli_epi32(p1, 16), 16));
            v = _mm_or_si128(_mm_and_si128(dcMask, t), _mm_andnot_si128(dcMask, v));
        }
        return _mm_sll_epi16(v, left);
    }
};

[[gnu::always_inline]] inline __m128i load4(const Zep16s* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
[[gnu::always_inline]] inline __m128i pair_row(const Zep16s* a, const Zep16s* b) {
    return _mm_unpacklo_epi64(a ? load4(a) : _mm_setzero_si128(), b ? load4(b) : _mm_setzero_si128());
}

// Reconstructs blocks a and/or b (null: not coded) side by side at dst.
// Width 8 writes both halves of each picture row; width 4 only the left.
template <int Width>
[[gnu::always_inline]] inline void recon_pair(Zep16s* a, Zep16s* b, Zep8u* dst, Zep32s step, const Dequant& dq,
                                              const __m128i s[4]) {
    __m128i r0 = dq.operator()<true>(pair_row(a, b), s[0]);
    __m128i r1 = dq.operator()<false>(pair_row(a ? a + 4 : nullptr, b ? b + 4 : nullptr), s[1]);
    __m128i r2 = dq.operator()<false>(pair_row(a ? a + 8 : nullptr, b ? b + 8 : nullptr), s[2]);
    __m128i r3 = dq.operator()<false>(pair_row(a ? a + 12 : nullptr, b ? b + 12 : nullptr), s[3]);
    itrans_pair(r0, r1, r2, r3);
    const __m128i r[4] = {r0, r1, r2, r3};
    const __m128i zero = _mm_setzero_si128();
    for (int y = 0; y < 4; ++y) {
        if (a) _mm_storel_epi64(reinterpret_cast<__m128i*>(a + 4 * y), r[y]);
        if (b) _mm_storel_epi64(reinterpret_cast<__m128i*>(b + 4 * y), _mm_unpackhi_epi64(r[y], r[y]));
        Zep8u* p = dst + static_cast<ptrdiff_t>(step) * y;
        if constexpr (Width == 8) {
            const __m128i pred = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), zero);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(_mm_adds_epi16(pred, r[y]), zero));
        } else {
            int32_t w;
            std::memcpy(&w, p, 4);
            const __m128i pred = _mm_unpacklo_epi8(_mm_cvtsi32_si128(w), zero);
            w = _mm_cvtsi128_si32(_mm_packus_epi16(_mm_adds_epi16(pred, r[y]), zero));
            std::memcpy(p, &w, 4);
        }
    }
}

[[gnu::always_inline]] inline void load_scale(const Zep16s* scale, __m128i s[4]) {
    for (int i = 0; i < 4; ++i) {
        const __m128i v = load4(scale + 4 * i);
        s[i] = _mm_unpacklo_epi64(v, v);
    }
}

void recon_block(Zep16s* c, Zep8u* dst, Zep32s step, const Zep16s* scale, QpShift q) {
    __m128i s[4];
    load_scale(scale, s);
    recon_pair<4>(c, nullptr, dst, step, Dequant(q), s);
}

void recon_inter_mb(Zep16s** ppCoeff, Zep8u* dst, Zep32s step, Zep32u cbp, const Zep16s* scale, QpShift q) {
    __m128i s[4];
    load_scale(scale, s);
    const Dequant dq(q);
    Zep16s* c = *ppCoeff;
    for (int k = 0; k < 16; k += 2) {
        const bool ca = cbp & (2u << k), cb = cbp & (4u << k);
        if (!ca && !cb) continue;
        Zep16s* a = ca ? c : nullptr;
        c += ca ? 16 : 0;
        Zep16s* b = cb ? c : nullptr;
        c += cb ? 16 : 0;
        recon_pair<8>(a, b, dst + static_cast<ptrdiff_t>(step) * kBlockY[k] + kBlockX[k], step, dq, s);
    }
    *ppCoeff = c;
}

void itrans16(const Zep16s* src, Zep16s* dst) {
    __m128i r0 = load4(src), r1 = load4(src + 4), r2 = load4(src + 8), r3 = load4(src + 12);
    itrans_pair(r0, r1, r2, r3);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), r0);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + 4), r1);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + 8), r2);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + 12), r3);
}

[[gnu::always_inline]] inline void transpose32(__m128i& r0, __m128i& r1, __m128i& r2, __m128i& r3) {
    const __m128i t0 = _mm_unpacklo_epi32(r0, r1), t1 = _mm_unpacklo_epi32(r2, r3);
    const __m128i t2 = _mm_unpackhi_epi32(r0, r1), t3 = _mm_unpackhi_epi32(r2, r3);
    r0 = _mm_unpacklo_epi64(t0, t1);
    r1 = _mm_unpackhi_epi64(t0, t1);
    r2 = _mm_unpacklo_epi64(t2, t3);
    r3 = _mm_unpackhi_epi64(t2, t3);
}

[[gnu::always_inline]] inline void butterfly32(__m128i& d0, __m128i& d1, __m128i& d2, __m128i& d3, __m128i bias) {
    const __m128i e0 = _mm_add_epi32(_mm_add_epi32(d0, d2), bias), e1 = _mm_add_epi32(_mm_sub_epi32(d0, d2), bias);
    const __m128i e2 = _mm_sub_epi32(_mm_srai_epi32(d1, 1), d3), e3 = _mm_add_epi32(d1, _mm_srai_epi32(d3, 1));
    d0 = _mm_add_epi32(e0, e3);
    d1 = _mm_add_epi32(e1, e2);
    d2 = _mm_sub_epi32(e1, e2);
    d3 = _mm_sub_epi32(e0, e3);
}

void itrans32(const Zep32s* src, Zep32s* dst) {
    auto ld = [](const Zep32s* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); };
    __m128i r0 = ld(src), r1 = ld(src + 4), r2 = ld(src + 8), r3 = ld(src + 12);
    transpose32(r0, r1, r2, r3);
    butterfly32(r0, r1, r2, r3, _mm_setzero_si128());
    transpose32(r0, r1, r2, r3);
    butterfly32(r0, r1, r2, r3, _mm_set1_epi32(32));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm_srai_epi32(r0, 6));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 4), _mm_srai_epi32(r1, 6));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 8), _mm_srai_epi32(r2, 6));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 12), _mm_srai_epi32(r3, 6));
}

}  // namespace

void recon_install_ssse3(ReconDsp& t) {
    t.block = recon_block;
    t.inter_mb = recon_inter_mb;
    t.itrans16 = itrans16;
    t.itrans32 = itrans32;
}

}  // namespace zep
