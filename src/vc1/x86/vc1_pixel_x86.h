// VC-1 quantiser, overlap-smoothing and range-mapping kernels on 128-bit
// vectors (SSSE3: psignw for the sign terms). Internal linkage: each SIMD
// translation unit builds its own copy with its own target flags.
// Include only from SIMD translation units.
#pragma once

#include <immintrin.h>

#include "vc1/x86/vc1_xform_x86.h"

namespace zep {
namespace {

// ---- Forward quantisation ----

// Division of one row by the divisor's class; y is moved toward zero by half
// first in the non-uniform mode (it cannot overflow: the move is toward zero).
template <int Cls, bool NonUniform>
inline __m128i vc1x_quant_row(__m128i x, __m128i half, __m128i mul, __m128i count, __m128i bias) {
    const __m128i y = NonUniform ? _mm_sub_epi16(x, _mm_sign_epi16(half, x)) : x;
    const __m128i neg = _mm_srai_epi16(y, 15);  // -1 where y < 0
    if constexpr (Cls == 0) {
        return _mm_subs_epi16(_mm_sra_epi16(_mm_mulhi_epi16(y, mul), count), neg);
    } else if constexpr (Cls == 1) {
        return _mm_subs_epi16(_mm_sra_epi16(_mm_adds_epi16(_mm_mulhi_epi16(y, mul), y), count), neg);
    } else {
        return _mm_sra_epi16(_mm_adds_epi16(y, _mm_and_si128(neg, bias)), count);
    }
}

template <int W, int H, int Cls, bool NonUniform, bool Intra>
inline void vc1x_quant(Zep16s* p, Zep32s step, Zep32s dq) {
    const Vc1Divisor& d = vc1_div_table[dq];
    const __m128i half = _mm_set1_epi16(static_cast<short>(dq >> 1));
    const __m128i mul = _mm_set1_epi16(d.mul);
    const __m128i count = _mm_cvtsi32_si128(d.shift);
    const __m128i bias = _mm_set1_epi16(static_cast<short>((1 << d.shift) - 1));
    for (int y = 0; y < H; ++y) {
        Zep16s* r = vc1_row(p, step, y);
        const __m128i x = vc1x_load(r, W);
        __m128i q = vc1x_quant_row<Cls, NonUniform>(x, half, mul, count, bias);
        if (Intra && y == 0) {
            const __m128i dc = _mm_cvtsi32_si128(0xFFFF);
            q = _mm_or_si128(_mm_and_si128(dc, x), _mm_andnot_si128(dc, q));
        }
        vc1x_store(r, q, W);
    }
}

template <int W, int H, bool NonUniform, bool Intra>
constexpr void vc1x_fill_quant(Vc1QuantFn (&t)[3]) {
    t[0] = vc1x_quant<W, H, 0, NonUniform, Intra>;
    t[1] = vc1x_quant<W, H, 1, NonUniform, Intra>;
    t[2] = vc1x_quant<W, H, 2, NonUniform, Intra>;
}

// ---- Inverse quantisation ----

// 16-bit wrapping product (and sign term); the extent comes from the OR of the
// rows (columns) and a per-row zero test (rows). The intra DC enters the column
// test with its dequantised value but is stored unchanged.
template <int W, int H, bool NonUniform, bool Intra>
inline void vc1x_quant_inv(const Zep16s* src, Zep32s srcStep, Zep16s* dst, Zep32s dstStep, Zep32s dq, ZepSize* nz) {
    const __m128i mul = _mm_set1_epi16(static_cast<short>(dq));
    const __m128i half = _mm_set1_epi16(static_cast<short>(dq >> 1));
    const __m128i zero = _mm_setzero_si128();
    __m128i cols = zero;
    unsigned rows = Intra ? 1u : 0u;
    for (int y = 0; y < H; ++y) {
        const __m128i c = vc1x_load(vc1_row(src, srcStep, y), W);
        __m128i v = _mm_mullo_epi16(c, mul);
        if (NonUniform) v = _mm_add_epi16(v, _mm_sign_epi16(half, c));
        cols = _mm_or_si128(cols, v);
        if (Intra && y == 0) {
            const __m128i dc = _mm_cvtsi32_si128(0xFFFF);
            v = _mm_or_si128(_mm_and_si128(dc, c), _mm_andnot_si128(dc, v));
        } else if (_mm_movemask_epi8(_mm_cmpeq_epi16(v, zero)) != 0xFFFF) {
            rows |= 1u << y;
        }
        vc1x_store(vc1_row(dst, dstStep, y), v, W);
    }
    const unsigned colBits = ~static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(cols, zero))) & 0xFFFFu;
    nz->width = colBits ? (31 - __builtin_clz(colBits)) / 2 + 1 : 0;
    nz->height = rows ? 32 - __builtin_clz(rows) : 0;
}

inline void vc1x_install_quant(Vc1Dsp& t) {
    vc1x_fill_quant<8, 8, false, true>(t.quant_intra[0]);
    vc1x_fill_quant<8, 8, true, true>(t.quant_intra[1]);
    vc1x_fill_quant<4, 4, false, false>(t.quant_inter[0][vc1_size_index(4, 4)]);
    vc1x_fill_quant<4, 8, false, false>(t.quant_inter[0][vc1_size_index(4, 8)]);
    vc1x_fill_quant<8, 4, false, false>(t.quant_inter[0][vc1_size_index(8, 4)]);
    vc1x_fill_quant<8, 8, false, false>(t.quant_inter[0][vc1_size_index(8, 8)]);
    vc1x_fill_quant<4, 4, true, false>(t.quant_inter[1][vc1_size_index(4, 4)]);
    vc1x_fill_quant<4, 8, true, false>(t.quant_inter[1][vc1_size_index(4, 8)]);
    vc1x_fill_quant<8, 4, true, false>(t.quant_inter[1][vc1_size_index(8, 4)]);
    vc1x_fill_quant<8, 8, true, false>(t.quant_inter[1][vc1_size_index(8, 8)]);
    t.quant_inv_intra[0] = vc1x_quant_inv<8, 8, false, true>;
    t.quant_inv_intra[1] = vc1x_quant_inv<8, 8, true, true>;
    t.quant_inv_inter[0][0] = vc1x_quant_inv<4, 4, false, false>;
    t.quant_inv_inter[0][1] = vc1x_quant_inv<8, 4, false, false>;
    t.quant_inv_inter[0][2] = vc1x_quant_inv<4, 8, false, false>;
    t.quant_inv_inter[0][3] = vc1x_quant_inv<8, 8, false, false>;
    t.quant_inv_inter[1][0] = vc1x_quant_inv<4, 4, true, false>;
    t.quant_inv_inter[1][1] = vc1x_quant_inv<8, 4, true, false>;
    t.quant_inv_inter[1][2] = vc1x_quant_inv<4, 8, true, false>;
    t.quant_inv_inter[1][3] = vc1x_quant_inv<8, 8, true, false>;
}

// ---- Overlap smoothing ----

// The four-tap filter on vectors of x0..x3, saturating in the same order as
// the reference; r1 = 7 - r0.
inline void vc1x_smooth(const __m128i* x, __m128i r0, __m128i* y) {
    const __m128i r1 = _mm_sub_epi16(_mm_set1_epi16(7), r0);
    y[0] = _mm_adds_epi16(x[0], _mm_srai_epi16(_mm_adds_epi16(_mm_subs_epi16(x[3], x[0]), r0), 3));
    y[1] = _mm_adds_epi16(
        x[1], _mm_srai_epi16(_mm_adds_epi16(_mm_subs_epi16(_mm_subs_epi16(_mm_adds_epi16(x[2], x[3]), x[0]), x[1]), r1), 3));
    y[2] = _mm_adds_epi16(
        x[2], _mm_srai_epi16(_mm_adds_epi16(_mm_subs_epi16(_mm_subs_epi16(_mm_adds_epi16(x[0], x[1]), x[2]), x[3]), r0), 3));
    y[3] = _mm_adds_epi16(x[3], _mm_srai_epi16(_mm_adds_epi16(_mm_subs_epi16(x[0], x[3]), r1), 3));
}

inline __m128i vc1x_hor_r0() { return _mm_setr_epi16(4, 3, 4, 3, 4, 3, 4, 3); }
inline __m128i vc1x_ver_r0(int mode) {
    return mode == 1 ? _mm_set1_epi16(3) : (mode == 2 ? _mm_set1_epi16(4) : vc1x_hor_r0());
}

inline void vc1x_hor_filter(const Zep16s* up, Zep32s upStep, const Zep16s* lo, Zep32s loStep, __m128i* y) {
    const __m128i x[4] = {vc1x_load(up, 8), vc1x_load(vc1_row(up, upStep, 1), 8), vc1x_load(lo, 8),
                          vc1x_load(vc1_row(lo, loStep, 1), 8)};
    vc1x_smooth(x, vc1x_hor_r0(), y);
}

inline void vc1x_smooth_hor(const Zep16s* up, Zep32s upStep, const Zep16s* lo, Zep32s loStep, Zep8u* dst, Zep32s dstStep) {
    __m128i y[4];
    vc1x_hor_filter(up, upStep, lo, loStep, y);
    for (int i = 0; i < 4; ++i)
        _mm_storel_epi64(reinterpret_cast<__m128i*>(vc1_row(dst, dstStep, i - 2)), _mm_packus_epi16(y[i], y[i]));
}

inline void vc1x_smooth_hor_uv(const Zep16s* upU, Zep32s upStepU, const Zep16s* loU, Zep32s loStepU, const Zep16s* upV,
                        Zep32s upStepV, const Zep16s* loV, Zep32s loStepV, Zep8u* dst, Zep32s dstStep) {
    __m128i u[4], v[4];
    vc1x_hor_filter(upU, upStepU, loU, loStepU, u);
    vc1x_hor_filter(upV, upStepV, loV, loStepV, v);
    for (int i = 0; i < 4; ++i)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(vc1_row(dst, dstStep, i - 2)),
                         _mm_unpacklo_epi8(_mm_packus_epi16(u[i], u[i]), _mm_packus_epi16(v[i], v[i])));
}

inline __m128i vc1x_load_pair(const Zep16s* p) {
    int32_t v;
    std::memcpy(&v, p, sizeof v);
    return _mm_cvtsi32_si128(v);
}
inline void vc1x_store_pair(Zep16s* p, __m128i v) {
    const int32_t w = _mm_cvtsi128_si32(v);
    std::memcpy(p, &w, sizeof w);
}

// 8 rows of a vertical edge: gathers x0 x1 | x2 x3 of each row, transposes
// them into four vectors, filters, writes the 16-bit results back and returns
// the filtered rows (lanes 0-3 = y0..y3 of a row).
inline void vc1x_ver_filter(Zep16s* left, Zep32s leftStep, Zep16s* right, Zep32s rightStep, int mode, __m128i* rows) {
    __m128i a[8], x[8];
    for (int r = 0; r < 8; ++r)
        a[r] = _mm_unpacklo_epi32(vc1x_load_pair(vc1_row(left, leftStep, r)), vc1x_load_pair(vc1_row(right, rightStep, r)));
    vc1x_transpose<8, 4>(a, x);
    __m128i y[8];
    vc1x_smooth(x, vc1x_ver_r0(mode), y);
    y[4] = y[5] = y[6] = y[7] = _mm_setzero_si128();
    vc1x_transpose<4, 8>(y, rows);
    for (int r = 0; r < 8; ++r) {
        vc1x_store_pair(vc1_row(left, leftStep, r), rows[r]);
        vc1x_store_pair(vc1_row(right, rightStep, r), _mm_srli_si128(rows[r], 4));
    }
}

inline void vc1x_smooth_ver(Zep16s* left, Zep32s leftStep, Zep16s* right, Zep32s rightStep, Zep8u* dst, Zep32s dstStep,
                     int mode) {
    __m128i rows[8];
    vc1x_ver_filter(left, leftStep, right, rightStep, mode, rows);
    for (int r = 0; r < 8; ++r) {
        const int32_t w = _mm_cvtsi128_si32(_mm_packus_epi16(rows[r], rows[r]));
        std::memcpy(vc1_row(dst, dstStep, r) - 2, &w, sizeof w);
    }
}

inline void vc1x_smooth_ver_uv(Zep16s* leftU, Zep32s leftStepU, Zep16s* rightU, Zep32s rightStepU, Zep16s* leftV,
                        Zep32s leftStepV, Zep16s* rightV, Zep32s rightStepV, Zep8u* dst, Zep32s dstStep) {
    __m128i u[8], v[8];
    vc1x_ver_filter(leftU, leftStepU, rightU, rightStepU, 0, u);
    vc1x_ver_filter(leftV, leftStepV, rightV, rightStepV, 0, v);
    for (int r = 0; r < 8; ++r)
        _mm_storel_epi64(reinterpret_cast<__m128i*>(vc1_row(dst, dstStep, r) - 4),
                         _mm_unpacklo_epi8(_mm_packus_epi16(u[r], u[r]), _mm_packus_epi16(v[r], v[r])));
}

inline void vc1x_install_smoothing(Vc1Dsp& t) {
    t.smooth_hor = vc1x_smooth_hor;
    t.smooth_ver = vc1x_smooth_ver;
    t.smooth_hor_uv = vc1x_smooth_hor_uv;
    t.smooth_ver_uv = vc1x_smooth_ver_uv;
}

// ---- Hadamard cost ----

// Natural-order 8-point Walsh-Hadamard across eight vectors of 32-bit lanes.
inline void vc1x_fwht8(__m128i* a) {
    for (int h = 1; h < 8; h <<= 1)
        for (int i = 0; i < 8; i += 2 * h)
            for (int j = i; j < i + h; ++j) {
                const __m128i x = a[j], y = a[j + h];
                a[j] = _mm_add_epi32(x, y);
                a[j + h] = _mm_sub_epi32(x, y);
            }
}

inline void vc1x_transpose4x32(__m128i& a0, __m128i& a1, __m128i& a2, __m128i& a3) {
    const __m128i t0 = _mm_unpacklo_epi32(a0, a1), t1 = _mm_unpackhi_epi32(a0, a1);
    const __m128i t2 = _mm_unpacklo_epi32(a2, a3), t3 = _mm_unpackhi_epi32(a2, a3);
    a0 = _mm_unpacklo_epi64(t0, t2);
    a1 = _mm_unpackhi_epi64(t0, t2);
    a2 = _mm_unpacklo_epi64(t1, t3);
    a3 = _mm_unpackhi_epi64(t1, t3);
}

// Exact in 32 bits for both source types: a 16-bit transpose first, then the
// horizontal transform on widened columns, a 32-bit transpose, and the
// vertical transform, whose outputs are the coefficient rows.
template <class T>
inline void vc1x_hadamard(const T* src, Zep32s srcStep, Zep16s* dst, Zep32s* sum) {
    __m128i r[8], c[8];
    for (int y = 0; y < 8; ++y) {
        const T* p = vc1_row(src, srcStep, y);
        if constexpr (sizeof(T) == 1)
            r[y] = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_setzero_si128());
        else
            r[y] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    }
    vc1x_transpose<8, 8>(r, c);  // c[x] lanes y
    __m128i lo[8], hi[8];        // lanes y 0-3 and 4-7, widened
    for (int x = 0; x < 8; ++x) {
        lo[x] = _mm_srai_epi32(_mm_unpacklo_epi16(c[x], c[x]), 16);
        hi[x] = _mm_srai_epi32(_mm_unpackhi_epi16(c[x], c[x]), 16);
    }
    vc1x_fwht8(lo);
    vc1x_fwht8(hi);
    // lo[u] / hi[u] hold frequency u for rows 0-3 / 4-7; transpose the four
    // 4x4 tiles so that a[y] / b[y] hold row y for frequencies 0-3 / 4-7.
    __m128i a[8] = {lo[0], lo[1], lo[2], lo[3], hi[0], hi[1], hi[2], hi[3]};
    __m128i b[8] = {lo[4], lo[5], lo[6], lo[7], hi[4], hi[5], hi[6], hi[7]};
    vc1x_transpose4x32(a[0], a[1], a[2], a[3]);
    vc1x_transpose4x32(a[4], a[5], a[6], a[7]);
    vc1x_transpose4x32(b[0], b[1], b[2], b[3]);
    vc1x_transpose4x32(b[4], b[5], b[6], b[7]);
    vc1x_fwht8(a);
    vc1x_fwht8(b);
    __m128i acc = _mm_setzero_si128();
    for (int v = 0; v < 8; ++v) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 8 * v), _mm_packs_epi32(a[v], b[v]));
        acc = _mm_add_epi32(acc, _mm_add_epi32(_mm_abs_epi32(a[v]), _mm_abs_epi32(b[v])));
    }
    acc = _mm_add_epi32(acc, _mm_unpackhi_epi64(acc, acc));
    acc = _mm_add_epi32(acc, _mm_srli_si128(acc, 4));
    *sum = _mm_cvtsi128_si32(acc);
}

// ---- Range mapping ----

// Eight samples: |x - 128| * factor stays within 16 bits (at most 128 * 16).
inline __m128i vc1x_range_map8(__m128i x16, __m128i factor) {
    const __m128i c128 = _mm_set1_epi16(128), c4 = _mm_set1_epi16(4);
    const __m128i p = _mm_add_epi16(_mm_mullo_epi16(_mm_sub_epi16(x16, c128), factor), c4);
    return _mm_add_epi16(_mm_srai_epi16(p, 3), c128);
}

// Rows from column x0 on, 16 then 8 samples per step, scalar tail.
inline void vc1x_range_map_rows(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep, int x0, int width,
                                int height, int factor) {
    const __m128i f = _mm_set1_epi16(static_cast<short>(factor)), zero = _mm_setzero_si128();
    for (int y = 0; y < height; ++y) {
        const Zep8u* s = vc1_row(src, srcStep, y);
        Zep8u* d = vc1_row(dst, dstStep, y);
        int x = x0;
        for (; x + 16 <= width; x += 16) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + x));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + x),
                             _mm_packus_epi16(vc1x_range_map8(_mm_unpacklo_epi8(v, zero), f),
                                              vc1x_range_map8(_mm_unpackhi_epi8(v, zero), f)));
        }
        if (x + 8 <= width) {
            const __m128i v = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(s + x));
            const __m128i r = vc1x_range_map8(_mm_unpacklo_epi8(v, zero), f);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(d + x), _mm_packus_epi16(r, r));
            x += 8;
        }
        for (; x < width; ++x) d[x] = clip_u8((((s[x] - 128) * factor + 4) >> 3) + 128);
    }
}

inline void vc1x_range_map(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep, int width, int height, int factor) {
    vc1x_range_map_rows(src, srcStep, dst, dstStep, 0, width, height, factor);
}

}  // namespace
}  // namespace zep
