// Building blocks of the VC-1 transform kernels on 128-bit vectors: 16-bit
// transposes and 1-D passes done with 16-bit multiply-add (pmaddwd) on
// interleaved row pairs. Every definition has internal linkage, so each SIMD
// translation unit gets its own copy built with its own target flags.
// Include only from SIMD translation units.
#pragma once

#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "vc1/vc1_ref.h"

namespace zep {
namespace {

inline __m128i vc1x_load(const Zep16s* p, int lanes) {
    if (lanes > 4) return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    if (lanes > 2) return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    int32_t v;
    std::memcpy(&v, p, sizeof v);
    return _mm_cvtsi32_si128(v);
}
inline void vc1x_store(Zep16s* p, __m128i v, int lanes) {
    if (lanes > 4) _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
    else _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v);
}

// Two 16-bit coefficients for pmaddwd: a multiplies the low word of each pair.
constexpr int32_t vc1x_pair_bits(int a, int b) {
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint16_t>(a)) |
                                (static_cast<uint32_t>(static_cast<uint16_t>(b)) << 16));
}
inline __m128i vc1x_pair(int a, int b) { return _mm_set1_epi32(vc1x_pair_bits(a, b)); }

template <int Half>
inline __m128i vc1x_unpack(__m128i a, __m128i b) {
    return Half ? _mm_unpackhi_epi16(a, b) : _mm_unpacklo_epi16(a, b);
}

// 8x8 transpose of 16-bit lanes, o[k] lane y = a[y] lane k. Only the first R
// input vectors and their first C lanes may be non-zero (the rest must be
// zero); the work on the zero parts is skipped and outputs past C are zero.
template <int R, int C>
inline void vc1x_transpose(const __m128i* a, __m128i* o) {
    const __m128i z = _mm_setzero_si128();
    __m128i t0 = _mm_unpacklo_epi16(a[0], a[1]), t2 = _mm_unpacklo_epi16(a[2], a[3]);
    __m128i t4 = z, t6 = z, t1 = z, t3 = z, t5 = z, t7 = z;
    if constexpr (R > 4) {
        t4 = _mm_unpacklo_epi16(a[4], a[5]);
        t6 = _mm_unpacklo_epi16(a[6], a[7]);
    }
    if constexpr (C > 4) {
        t1 = _mm_unpackhi_epi16(a[0], a[1]);
        t3 = _mm_unpackhi_epi16(a[2], a[3]);
        if constexpr (R > 4) {
            t5 = _mm_unpackhi_epi16(a[4], a[5]);
            t7 = _mm_unpackhi_epi16(a[6], a[7]);
        }
    }
    const __m128i u0 = _mm_unpacklo_epi32(t0, t2), u1 = _mm_unpackhi_epi32(t0, t2);
    const __m128i u4 = R > 4 ? _mm_unpacklo_epi32(t4, t6) : z, u5 = R > 4 ? _mm_unpackhi_epi32(t4, t6) : z;
    o[0] = _mm_unpacklo_epi64(u0, u4);
    o[1] = _mm_unpackhi_epi64(u0, u4);
    o[2] = _mm_unpacklo_epi64(u1, u5);
    o[3] = _mm_unpackhi_epi64(u1, u5);
    if constexpr (C > 4) {
        const __m128i u2 = _mm_unpacklo_epi32(t1, t3), u3 = _mm_unpackhi_epi32(t1, t3);
        const __m128i u6 = R > 4 ? _mm_unpacklo_epi32(t5, t7) : z, u7 = R > 4 ? _mm_unpackhi_epi32(t5, t7) : z;
        o[4] = _mm_unpacklo_epi64(u2, u6);
        o[5] = _mm_unpackhi_epi64(u2, u6);
        o[6] = _mm_unpacklo_epi64(u3, u7);
        o[7] = _mm_unpackhi_epi64(u3, u7);
    } else {
        o[4] = o[5] = o[6] = o[7] = z;
    }
}

// 32-bit sums of one half (lanes 0-3 or 4-7) of each output vector.
using Vc1xAcc = __m128i[8][2];

// Inverse N-point pass over vectors v (one per coefficient index, lanes
// independent), of which only the first K are non-zero: out_j = sum_k T[k][j]
// v_k. The bases are symmetric in even rows and antisymmetric in odd ones, so
// out_j and out_{N-1-j} share the even and odd partial sums.
template <int N, int K, int Half>
inline void vc1x_inv_half(const __m128i* v, Vc1xAcc& acc) {
    if constexpr (K <= 2) {
        const __m128i p = vc1x_unpack<Half>(v[0], v[1]);
        for (int j = 0; j < N; ++j) acc[j][Half] = _mm_madd_epi16(p, vc1x_pair(vc1_inv_coef<N>(0, j), vc1_inv_coef<N>(1, j)));
    } else if constexpr (K <= 4) {
        const __m128i pe = vc1x_unpack<Half>(v[0], v[2]), po = vc1x_unpack<Half>(v[1], v[3]);
        for (int j = 0; j < N / 2; ++j) {
            const __m128i e = _mm_madd_epi16(pe, vc1x_pair(vc1_inv_coef<N>(0, j), vc1_inv_coef<N>(2, j)));
            const __m128i o = _mm_madd_epi16(po, vc1x_pair(vc1_inv_coef<N>(1, j), vc1_inv_coef<N>(3, j)));
            acc[j][Half] = _mm_add_epi32(e, o);
            acc[N - 1 - j][Half] = _mm_sub_epi32(e, o);
        }
    } else {
        const __m128i pe0 = vc1x_unpack<Half>(v[0], v[4]), pe1 = vc1x_unpack<Half>(v[2], v[6]);
        const __m128i po0 = vc1x_unpack<Half>(v[1], v[3]), po1 = vc1x_unpack<Half>(v[5], v[7]);
        for (int j = 0; j < 4; ++j) {
            const __m128i e = _mm_add_epi32(_mm_madd_epi16(pe0, vc1x_pair(vc1_t8[0][j], vc1_t8[4][j])),
                                            _mm_madd_epi16(pe1, vc1x_pair(vc1_t8[2][j], vc1_t8[6][j])));
            const __m128i o = _mm_add_epi32(_mm_madd_epi16(po0, vc1x_pair(vc1_t8[1][j], vc1_t8[3][j])),
                                            _mm_madd_epi16(po1, vc1x_pair(vc1_t8[5][j], vc1_t8[7][j])));
            acc[j][Half] = _mm_add_epi32(e, o);
            acc[7 - j][Half] = _mm_sub_epi32(e, o);
        }
    }
}

// Forward N-point pass: out_k = sum_j F[k][j] v_j, pairs of inputs per
// multiply-add (the 16-bit inputs cannot be pre-added without overflow).
template <int N, int Half>
inline void vc1x_fwd_half(const __m128i* v, Vc1xAcc& acc) {
    __m128i p[N / 2];
    for (int m = 0; m < N / 2; ++m) p[m] = vc1x_unpack<Half>(v[2 * m], v[2 * m + 1]);
    for (int k = 0; k < N; ++k) {
        __m128i s = _mm_madd_epi16(p[0], vc1x_pair(vc1_fwd_coef<N>(k, 0), vc1_fwd_coef<N>(k, 1)));
        for (int m = 1; m < N / 2; ++m)
            s = _mm_add_epi32(s, _mm_madd_epi16(p[m], vc1x_pair(vc1_fwd_coef<N>(k, 2 * m), vc1_fwd_coef<N>(k, 2 * m + 1))));
        acc[k][Half] = s;
    }
}

// (acc + rounding) >> Shift, saturated to 16 bits; the upper half is zero when
// only the lower one was computed. Rounding of output j: RndLo for j < 4,
// RndHi from 4 on.
template <int N, int Halves, int Shift, int RndLo, int RndHi>
inline void vc1x_finish(const Vc1xAcc& acc, __m128i* out) {
    for (int j = 0; j < N; ++j) {
        const __m128i r = _mm_set1_epi32(j < 4 ? RndLo : RndHi);
        const __m128i lo = _mm_srai_epi32(_mm_add_epi32(acc[j][0], r), Shift);
        const __m128i hi = Halves > 1 ? _mm_srai_epi32(_mm_add_epi32(acc[j][1], r), Shift) : _mm_setzero_si128();
        out[j] = _mm_packs_epi32(lo, hi);
    }
    for (int j = N; j < 8; ++j) out[j] = _mm_setzero_si128();
}

template <int N, int K, int Halves>
inline void vc1x_inv_pass(const __m128i* v, Vc1xAcc& acc) {
    vc1x_inv_half<N, K, 0>(v, acc);
    if constexpr (Halves > 1) vc1x_inv_half<N, K, 1>(v, acc);
}
template <int N, int Halves>
inline void vc1x_fwd_pass(const __m128i* v, Vc1xAcc& acc) {
    vc1x_fwd_half<N, 0>(v, acc);
    if constexpr (Halves > 1) vc1x_fwd_half<N, 1>(v, acc);
}

#ifdef __AVX2__
// With AVX2 both halves of a full-width pass go through one 256-bit
// multiply-add: the interleaved pairs of lanes 0-3 sit in the low 128 bits,
// those of lanes 4-7 in the high ones.
inline __m256i vc1y_pairs(__m128i a, __m128i b) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_unpacklo_epi16(a, b)), _mm_unpackhi_epi16(a, b), 1);
}
inline __m256i vc1y_pair(int a, int b) { return _mm256_set1_epi32(vc1x_pair_bits(a, b)); }

template <int N, int K>
inline void vc1y_inv_pass(const __m128i* v, __m256i* acc) {
    if constexpr (K <= 2) {
        const __m256i p = vc1y_pairs(v[0], v[1]);
        for (int j = 0; j < N; ++j) acc[j] = _mm256_madd_epi16(p, vc1y_pair(vc1_inv_coef<N>(0, j), vc1_inv_coef<N>(1, j)));
    } else if constexpr (K <= 4) {
        const __m256i pe = vc1y_pairs(v[0], v[2]), po = vc1y_pairs(v[1], v[3]);
        for (int j = 0; j < N / 2; ++j) {
            const __m256i e = _mm256_madd_epi16(pe, vc1y_pair(vc1_inv_coef<N>(0, j), vc1_inv_coef<N>(2, j)));
            const __m256i o = _mm256_madd_epi16(po, vc1y_pair(vc1_inv_coef<N>(1, j), vc1_inv_coef<N>(3, j)));
            acc[j] = _mm256_add_epi32(e, o);
            acc[N - 1 - j] = _mm256_sub_epi32(e, o);
        }
    } else {
        const __m256i pe0 = vc1y_pairs(v[0], v[4]), pe1 = vc1y_pairs(v[2], v[6]);
        const __m256i po0 = vc1y_pairs(v[1], v[3]), po1 = vc1y_pairs(v[5], v[7]);
        for (int j = 0; j < 4; ++j) {
            const __m256i e = _mm256_add_epi32(_mm256_madd_epi16(pe0, vc1y_pair(vc1_t8[0][j], vc1_t8[4][j])),
                                               _mm256_madd_epi16(pe1, vc1y_pair(vc1_t8[2][j], vc1_t8[6][j])));
            const __m256i o = _mm256_add_epi32(_mm256_madd_epi16(po0, vc1y_pair(vc1_t8[1][j], vc1_t8[3][j])),
                                               _mm256_madd_epi16(po1, vc1y_pair(vc1_t8[5][j], vc1_t8[7][j])));
            acc[j] = _mm256_add_epi32(e, o);
            acc[7 - j] = _mm256_sub_epi32(e, o);
        }
    }
}

template <int N>
inline void vc1y_fwd_pass(const __m128i* v, __m256i* acc) {
    __m256i p[N / 2];
    for (int m = 0; m < N / 2; ++m) p[m] = vc1y_pairs(v[2 * m], v[2 * m + 1]);
    for (int k = 0; k < N; ++k) {
        __m256i s = _mm256_madd_epi16(p[0], vc1y_pair(vc1_fwd_coef<N>(k, 0), vc1_fwd_coef<N>(k, 1)));
        for (int m = 1; m < N / 2; ++m)
            s = _mm256_add_epi32(s, _mm256_madd_epi16(p[m], vc1y_pair(vc1_fwd_coef<N>(k, 2 * m), vc1_fwd_coef<N>(k, 2 * m + 1))));
        acc[k] = s;
    }
}

// Rounds, shifts and packs two outputs at a time; the quadword permute puts
// each output's eight lanes back together.
template <int N, int Shift, int RndLo, int RndHi>
inline void vc1y_finish(const __m256i* acc, __m128i* out) {
    for (int j = 0; j < N; j += 2) {
        const __m256i r = _mm256_set1_epi32(j < 4 ? RndLo : RndHi);
        const __m256i a = _mm256_srai_epi32(_mm256_add_epi32(acc[j], r), Shift);
        const __m256i b = _mm256_srai_epi32(_mm256_add_epi32(acc[j + 1], r), Shift);
        const __m256i p = _mm256_permute4x64_epi64(_mm256_packs_epi32(a, b), 0xD8);
        out[j] = _mm256_castsi256_si128(p);
        out[j + 1] = _mm256_extracti128_si256(p, 1);
    }
    for (int j = N; j < 8; ++j) out[j] = _mm_setzero_si128();
}
#endif

// One 1-D stage: pass over `in` (K non-zero inputs) and rounding into `out`.
template <int N, int K, int Halves, int Shift, int RndLo, int RndHi>
inline void vc1x_inv_stage(const __m128i* in, __m128i* out) {
#ifdef __AVX2__
    if constexpr (Halves > 1) {
        __m256i acc[8];
        vc1y_inv_pass<N, K>(in, acc);
        vc1y_finish<N, Shift, RndLo, RndHi>(acc, out);
        return;
    }
#endif
    Vc1xAcc acc;
    vc1x_inv_pass<N, K, Halves>(in, acc);
    vc1x_finish<N, Halves, Shift, RndLo, RndHi>(acc, out);
}
template <int N, int Halves, int Shift>
inline void vc1x_fwd_stage(const __m128i* in, __m128i* out) {
    constexpr int rnd = 1 << (Shift - 1);
#ifdef __AVX2__
    if constexpr (Halves > 1) {
        __m256i acc[8];
        vc1y_fwd_pass<N>(in, acc);
        vc1y_finish<N, Shift, rnd, rnd>(acc, out);
        return;
    }
#endif
    Vc1xAcc acc;
    vc1x_fwd_pass<N, Halves>(in, acc);
    vc1x_finish<N, Halves, Shift, rnd, rnd>(acc, out);
}

// Inverse W x H transform reading only the top-left RW x RH coefficients.
template <int W, int H, int RW, int RH>
void vc1x_inv(const Zep16s* src, Zep32s srcStep, Zep16s* dst, Zep32s dstStep) {
    __m128i v[8], c[8];
    for (int y = 0; y < 8; ++y) v[y] = y < RH ? vc1x_load(vc1_row(src, srcStep, y), RW) : _mm_setzero_si128();
    vc1x_transpose<RH, RW>(v, c);
    vc1x_inv_stage<W, RW, (RH > 4 ? 2 : 1), 3, 4, 4>(c, v);
    vc1x_transpose<W, RH>(v, c);
    vc1x_inv_stage<H, RH, (W > 4 ? 2 : 1), 7, 64, (H == 8 ? 65 : 64)>(c, v);
    for (int y = 0; y < H; ++y) vc1x_store(vc1_row(dst, dstStep, y), v[y], W);
}

template <int W, int H>
void vc1x_inv_dc(const Zep16s* src, Zep32s, Zep16s* dst, Zep32s dstStep) {
    const __m128i v = _mm_set1_epi16(vc1_inv_dc_value<W, H>(src[0]));
    for (int y = 0; y < H; ++y) vc1x_store(vc1_row(dst, dstStep, y), v, W);
}

template <int W, int H>
void vc1x_fwd(const Zep16s* src, Zep32s srcStep, Zep16s* dst, Zep32s dstStep) {
    constexpr int rowShift = W == 8 ? 12 : 11, colShift = H == 8 ? 20 : 19;
    __m128i v[8], c[8];
    for (int y = 0; y < 8; ++y) v[y] = y < H ? vc1x_load(vc1_row(src, srcStep, y), W) : _mm_setzero_si128();
    vc1x_transpose<H, W>(v, c);
    vc1x_fwd_stage<W, (H > 4 ? 2 : 1), rowShift>(c, v);
    vc1x_transpose<W, H>(v, c);
    vc1x_fwd_stage<H, (W > 4 ? 2 : 1), colShift>(c, v);
    for (int y = 0; y < H; ++y) vc1x_store(vc1_row(dst, dstStep, y), v[y], W);
}

// Fills every transform slot of a table with the kernels above.
inline void vc1x_install_transforms(Vc1Dsp& t) {
    t.inv8x8[kVc1InvDC] = vc1x_inv_dc<8, 8>;
    t.inv8x8[kVc1Inv2x2] = vc1x_inv<8, 8, 2, 2>;
    t.inv8x8[kVc1Inv4x4] = vc1x_inv<8, 8, 4, 4>;
    t.inv8x8[kVc1InvFull] = vc1x_inv<8, 8, 8, 8>;
    t.inv8x4[kVc1InvDC] = vc1x_inv_dc<8, 4>;
    t.inv8x4[kVc1Inv4x4] = vc1x_inv<8, 4, 4, 4>;
    t.inv8x4[kVc1InvFull] = vc1x_inv<8, 4, 8, 4>;
    t.inv4x8[kVc1InvDC] = vc1x_inv_dc<4, 8>;
    t.inv4x8[kVc1Inv4x4] = vc1x_inv<4, 8, 4, 4>;
    t.inv4x8[kVc1InvFull] = vc1x_inv<4, 8, 4, 8>;
    t.inv4x4[kVc1InvDC] = vc1x_inv_dc<4, 4>;
    t.inv4x4[kVc1Inv2x2] = vc1x_inv<4, 4, 2, 2>;
    t.inv4x4[kVc1InvFull] = vc1x_inv<4, 4, 4, 4>;
    t.fwd[vc1_size_index(4, 4)] = vc1x_fwd<4, 4>;
    t.fwd[vc1_size_index(4, 8)] = vc1x_fwd<4, 8>;
    t.fwd[vc1_size_index(8, 4)] = vc1x_fwd<8, 4>;
    t.fwd[vc1_size_index(8, 8)] = vc1x_fwd<8, 8>;
}

}  // namespace
}  // namespace zep
