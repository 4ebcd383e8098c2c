// Line filter of the H.264 luma deblocking in signed 16-bit lanes, one line
// per lane, written once over a vector-ops type (128- or 256-bit). Exact for
// samples of up to 12 bits: the largest sum, 8 * 4095 + 4, fits 15 bits.
// Include only from SIMD translation units; everything has internal linkage.
#pragma once

#include <immintrin.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "zepvc_types.h"

namespace zep::deblock_x86 {
namespace {

struct V128 {
    using T = __m128i;
    static T zero() { return _mm_setzero_si128(); }
    static T set1(int v) { return _mm_set1_epi16(static_cast<short>(v)); }
    static T add(T a, T b) { return _mm_add_epi16(a, b); }
    static T sub(T a, T b) { return _mm_sub_epi16(a, b); }
    template <int N> static T shl(T a) { return _mm_slli_epi16(a, N); }
    template <int N> static T sar(T a) { return _mm_srai_epi16(a, N); }
    template <int N> static T shr(T a) { return _mm_srli_epi16(a, N); }
    static T absdiff(T a, T b) { return _mm_abs_epi16(_mm_sub_epi16(a, b)); }
    static T gt(T a, T b) { return _mm_cmpgt_epi16(a, b); }
    static T eq(T a, T b) { return _mm_cmpeq_epi16(a, b); }
    static T and_(T a, T b) { return _mm_and_si128(a, b); }
    static T andnot(T a, T b) { return _mm_andnot_si128(a, b); }  // ~a & b
    static T or_(T a, T b) { return _mm_or_si128(a, b); }
    static T min(T a, T b) { return _mm_min_epi16(a, b); }
    static T max(T a, T b) { return _mm_max_epi16(a, b); }
    static T avg(T a, T b) { return _mm_avg_epu16(a, b); }
    static T subs_u(T a, T b) { return _mm_subs_epu16(a, b); }
};

#ifdef __AVX2__
struct V256 {
    using T = __m256i;
    static T zero() { return _mm256_setzero_si256(); }
    static T set1(int v) { return _mm256_set1_epi16(static_cast<short>(v)); }
    static T add(T a, T b) { return _mm256_add_epi16(a, b); }
    static T sub(T a, T b) { return _mm256_sub_epi16(a, b); }
    template <int N> static T shl(T a) { return _mm256_slli_epi16(a, N); }
    template <int N> static T sar(T a) { return _mm256_srai_epi16(a, N); }
    template <int N> static T shr(T a) { return _mm256_srli_epi16(a, N); }
    static T absdiff(T a, T b) { return _mm256_abs_epi16(_mm256_sub_epi16(a, b)); }
    static T gt(T a, T b) { return _mm256_cmpgt_epi16(a, b); }
    static T eq(T a, T b) { return _mm256_cmpeq_epi16(a, b); }
    static T and_(T a, T b) { return _mm256_and_si256(a, b); }
    static T andnot(T a, T b) { return _mm256_andnot_si256(a, b); }
    static T or_(T a, T b) { return _mm256_or_si256(a, b); }
    static T min(T a, T b) { return _mm256_min_epi16(a, b); }
    static T max(T a, T b) { return _mm256_max_epi16(a, b); }
    static T avg(T a, T b) { return _mm256_avg_epu16(a, b); }
    static T subs_u(T a, T b) { return _mm256_subs_epu16(a, b); }
};
#endif

// Per-call constants of one edge, broadcast to every lane.
template <class V>
struct EdgeParams {
    typename V::T alpha, beta, smallThr, maxVal;
};

// alpha, beta as 16-bit unsigned values: the comparisons only need them up to
// 8191 (differences of 12-bit samples stay below 4096), so larger values are
// saturated there to stay positive in signed lanes; the strong filter's
// (alpha >> 2) + 2 is formed from the full value.
template <class V>
EdgeParams<V> edge_params(int alpha, int beta, int maxVal) {
    using T = typename V::T;
    const T a = V::set1(alpha), b = V::set1(beta), cap = V::set1(8191);
    EdgeParams<V> e;
    e.alpha = V::sub(a, V::subs_u(a, cap));
    e.beta = V::sub(b, V::subs_u(b, cap));
    e.smallThr = V::add(V::template shr<2>(a), V::set1(2));
    e.maxVal = V::set1(maxVal);
    return e;
}

template <class V>
inline typename V::T blend(typename V::T m, typename V::T a, typename V::T b) {
    return V::or_(V::and_(m, a), V::andnot(m, b));
}

// s[0..7] = p3 p2 p1 p0 q0 q1 q2 q3, one line per lane; bs and tc0 per lane
// (tc0 already at most 8191). `normal` / `strong`: some lane has bS 1..3 / 4.
template <class V>
inline void filter_lines(typename V::T* s, const EdgeParams<V>& e, typename V::T bs, typename V::T tc0,
                         bool normal, bool strong) {
    using T = typename V::T;
    const T p3 = s[0], p2 = s[1], p1 = s[2], p0 = s[3], q0 = s[4], q1 = s[5], q2 = s[6], q3 = s[7];
    const T zero = V::zero();
    const T ad = V::absdiff(p0, q0);
    T m = V::and_(V::gt(e.alpha, ad), V::gt(e.beta, V::absdiff(p1, p0)));
    m = V::and_(m, V::and_(V::gt(e.beta, V::absdiff(q1, q0)), V::gt(bs, zero)));
    const T ap = V::gt(e.beta, V::absdiff(p2, p0)), aq = V::gt(e.beta, V::absdiff(q2, q0));
    if (normal) {
        const T nm = V::and_(m, V::gt(V::set1(4), bs));
        T delta = V::add(V::template shl<2>(V::sub(q0, p0)), V::sub(p1, q1));
        delta = V::template sar<3>(V::add(delta, V::set1(4)));
        const T tc = V::sub(V::sub(tc0, ap), aq);  // masks are -1 where set
        const T d = V::min(V::max(delta, V::sub(zero, tc)), tc);
        const T nz = V::andnot(V::eq(delta, zero), nm);
        const T np0 = V::min(V::max(V::add(p0, d), zero), e.maxVal);
        const T nq0 = V::min(V::max(V::sub(q0, d), zero), e.maxVal);
        const T avg = V::avg(p0, q0);
        const T ntc0 = V::sub(zero, tc0);
        const T dp1 = V::min(V::max(V::template sar<1>(V::sub(V::add(p2, avg), V::template shl<1>(p1))), ntc0), tc0);
        const T dq1 = V::min(V::max(V::template sar<1>(V::sub(V::add(q2, avg), V::template shl<1>(q1))), ntc0), tc0);
        s[3] = blend<V>(nz, np0, p0);
        s[4] = blend<V>(nz, nq0, q0);
        s[2] = blend<V>(V::and_(nm, ap), V::add(p1, dp1), p1);
        s[5] = blend<V>(V::and_(nm, aq), V::add(q1, dq1), q1);
    }
    if (strong) {
        const T sm = V::and_(m, V::eq(bs, V::set1(4)));
        const T small = V::gt(e.smallThr, ad);
        const T sp = V::and_(small, ap), sq = V::and_(small, aq);
        const T two = V::set1(2), four = V::set1(4);
        // p side: s = p1 + p0 + q0 is common to the three-sample forms.
        const T sP = V::add(V::add(p1, p0), q0);
        const T p0a = V::template sar<3>(V::add(V::add(p2, V::template shl<1>(sP)), V::add(q1, four)));
        const T p1a = V::template sar<2>(V::add(V::add(p2, sP), two));
        const T p2a = V::template sar<3>(V::add(V::add(V::template shl<1>(V::add(p3, p2)), p2), V::add(sP, four)));
        const T p0b = V::template sar<2>(V::add(V::add(V::template shl<1>(p1), p0), V::add(q1, two)));
        const T sQ = V::add(V::add(q1, q0), p0);
        const T q0a = V::template sar<3>(V::add(V::add(q2, V::template shl<1>(sQ)), V::add(p1, four)));
        const T q1a = V::template sar<2>(V::add(V::add(q2, sQ), two));
        const T q2a = V::template sar<3>(V::add(V::add(V::template shl<1>(V::add(q3, q2)), q2), V::add(sQ, four)));
        const T q0b = V::template sar<2>(V::add(V::add(V::template shl<1>(q1), q0), V::add(p1, two)));
        const T smp = V::and_(sm, sp), smq = V::and_(sm, sq);
        s[3] = blend<V>(sm, blend<V>(sp, p0a, p0b), s[3]);
        s[2] = blend<V>(smp, p1a, s[2]);
        s[1] = blend<V>(smp, p2a, p2);
        s[4] = blend<V>(sm, blend<V>(sq, q0a, q0b), s[4]);
        s[5] = blend<V>(smq, q1a, s[5]);
        s[6] = blend<V>(smq, q2a, q2);
    }
}

// Transpose of an 8x8 block of 16-bit values held in eight registers.
inline void transpose8x8_16(__m128i (&r)[8]) {
    const __m128i a0 = _mm_unpacklo_epi16(r[0], r[1]), a1 = _mm_unpackhi_epi16(r[0], r[1]);
    const __m128i a2 = _mm_unpacklo_epi16(r[2], r[3]), a3 = _mm_unpackhi_epi16(r[2], r[3]);
    const __m128i a4 = _mm_unpacklo_epi16(r[4], r[5]), a5 = _mm_unpackhi_epi16(r[4], r[5]);
    const __m128i a6 = _mm_unpacklo_epi16(r[6], r[7]), a7 = _mm_unpackhi_epi16(r[6], r[7]);
    const __m128i b0 = _mm_unpacklo_epi32(a0, a2), b1 = _mm_unpackhi_epi32(a0, a2);
    const __m128i b2 = _mm_unpacklo_epi32(a1, a3), b3 = _mm_unpackhi_epi32(a1, a3);
    const __m128i b4 = _mm_unpacklo_epi32(a4, a6), b5 = _mm_unpackhi_epi32(a4, a6);
    const __m128i b6 = _mm_unpacklo_epi32(a5, a7), b7 = _mm_unpackhi_epi32(a5, a7);
    r[0] = _mm_unpacklo_epi64(b0, b4);
    r[1] = _mm_unpackhi_epi64(b0, b4);
    r[2] = _mm_unpacklo_epi64(b1, b5);
    r[3] = _mm_unpackhi_epi64(b1, b5);
    r[4] = _mm_unpacklo_epi64(b2, b6);
    r[5] = _mm_unpackhi_epi64(b2, b6);
    r[6] = _mm_unpacklo_epi64(b3, b7);
    r[7] = _mm_unpackhi_epi64(b3, b7);
}

// Eight rows of 16 bytes -> eight registers holding 8-byte column pieces:
// out[n] = columns 2n (low half) and 2n + 1 (high half) of the eight rows.
inline void transpose8x16_8(const __m128i* r, __m128i* out) {
    __m128i a[8], b[8];
    for (int i = 0; i < 4; ++i) {
        a[2 * i] = _mm_unpacklo_epi8(r[2 * i], r[2 * i + 1]);
        a[2 * i + 1] = _mm_unpackhi_epi8(r[2 * i], r[2 * i + 1]);
    }
    for (int j = 0; j < 2; ++j) {
        b[4 * j + 0] = _mm_unpacklo_epi16(a[4 * j], a[4 * j + 2]);
        b[4 * j + 1] = _mm_unpackhi_epi16(a[4 * j], a[4 * j + 2]);
        b[4 * j + 2] = _mm_unpacklo_epi16(a[4 * j + 1], a[4 * j + 3]);
        b[4 * j + 3] = _mm_unpackhi_epi16(a[4 * j + 1], a[4 * j + 3]);
    }
    for (int k = 0; k < 4; ++k) {
        out[2 * k] = _mm_unpacklo_epi32(b[k], b[k + 4]);
        out[2 * k + 1] = _mm_unpackhi_epi32(b[k], b[k + 4]);
    }
}

// 16x16 byte transpose in place, each half of the rows taken through three
// rounds on its own (fewer live registers) before the final 64-bit merge.
inline void transpose16x16_8(__m128i* r) {
    __m128i top[8], bottom[8];
    transpose8x16_8(r, top);
    transpose8x16_8(r + 8, bottom);
    for (int n = 0; n < 8; ++n) {
        r[2 * n] = _mm_unpacklo_epi64(top[n], bottom[n]);
        r[2 * n + 1] = _mm_unpackhi_epi64(top[n], bottom[n]);
    }
}

// Columns -4..-1 of 16 rows, four bytes a row, as four 16-line column vectors.
inline void load_left16x4(const Zep8u* p, ptrdiff_t step, __m128i* c) {
    const __m128i k = _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    __m128i a[4];
    for (int g = 0; g < 4; ++g) {
        Zep32s v[4];
        for (int i = 0; i < 4; ++i) std::memcpy(&v[i], p + (4 * g + i) * step, 4);
        a[g] = _mm_shuffle_epi8(_mm_setr_epi32(v[0], v[1], v[2], v[3]), k);  // by column, four rows each
    }
    const __m128i t0 = _mm_unpacklo_epi32(a[0], a[1]), t1 = _mm_unpacklo_epi32(a[2], a[3]);
    const __m128i t2 = _mm_unpackhi_epi32(a[0], a[1]), t3 = _mm_unpackhi_epi32(a[2], a[3]);
    c[0] = _mm_unpacklo_epi64(t0, t1);
    c[1] = _mm_unpackhi_epi64(t0, t1);
    c[2] = _mm_unpacklo_epi64(t2, t3);
    c[3] = _mm_unpackhi_epi64(t2, t3);
}

inline void store_left16x4(Zep8u* p, ptrdiff_t step, const __m128i* c) {
    const __m128i k = _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    // Inverse of the above: dword g of column j holds rows 4g..4g+3.
    const __m128i t0 = _mm_unpacklo_epi32(c[0], c[1]), t1 = _mm_unpacklo_epi32(c[2], c[3]);
    const __m128i t2 = _mm_unpackhi_epi32(c[0], c[1]), t3 = _mm_unpackhi_epi32(c[2], c[3]);
    const __m128i a[4] = {_mm_shuffle_epi8(_mm_unpacklo_epi64(t0, t1), k), _mm_shuffle_epi8(_mm_unpackhi_epi64(t0, t1), k),
                          _mm_shuffle_epi8(_mm_unpacklo_epi64(t2, t3), k), _mm_shuffle_epi8(_mm_unpackhi_epi64(t2, t3), k)};
    for (int g = 0; g < 4; ++g) {
        alignas(16) Zep32s v[4];
        _mm_store_si128(reinterpret_cast<__m128i*>(v), a[g]);
        for (int i = 0; i < 4; ++i) std::memcpy(p + (4 * g + i) * step, &v[i], 4);
    }
}

// The four vertical edges of an 8-bit macroblock: the block and the four
// columns to its left are transposed once into 20 column vectors of 16 lines,
// the edges are filtered in order on those, and the result is transposed
// back. `edge(c, e)` filters edge e on c[0..7] = p3..q3 (16 lines of bytes).
template <class EdgeFn>
inline void ver_edges_8u(Zep8u* p, ptrdiff_t step, const Zep8u* bs, EdgeFn&& edge) {
    Zep32u b[4];
    std::memcpy(b, bs, 16);
    if ((b[0] | b[1] | b[2] | b[3]) == 0) return;
    __m128i col[20];  // columns -4..15
    __m128i* left = col;
    __m128i* main = col + 4;
    if (b[0]) load_left16x4(p - 4, step, left);
    for (int i = 0; i < 16; ++i) main[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i * step));
    transpose16x16_8(main);
    for (int e = 0; e < 4; ++e)
        if (b[e]) edge(col + 4 * e, e);
    transpose16x16_8(main);
    for (int i = 0; i < 16; ++i) _mm_storeu_si128(reinterpret_cast<__m128i*>(p + i * step), main[i]);
    if (b[0]) store_left16x4(p - 4, step, left);
}

// Normal filter (bS 1..3) of 16 lines in byte lanes, c[0..7] = p3..q3 as
// bytes. Exact while every tC0 is at most kByteTc0Max: the delta is formed
// as 161 + delta with rounded byte averages (exact for all samples) and a
// saturating add, which caps it at 94; the clip to tC never looks past that.
// Lanes whose bS is 0 or above 3 are left alone.
inline constexpr int kByteTc0Max = 92;

inline __m128i ge_u8(__m128i a, __m128i b) { return _mm_cmpeq_epi8(_mm_max_epu8(a, b), a); }
inline __m128i absdiff_u8(__m128i a, __m128i b) { return _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a)); }

// Lanes where the edge is not filtered: |p0 - q0| >= alpha, |p1 - p0| >= beta or |q1 - q0| >= beta.
inline __m128i off_u8(__m128i p1, __m128i p0, __m128i q0, __m128i q1, __m128i va, __m128i vb) {
    const __m128i off = _mm_or_si128(ge_u8(absdiff_u8(p0, q0), va), ge_u8(absdiff_u8(p1, p0), vb));
    return _mm_or_si128(off, ge_u8(absdiff_u8(q1, q0), vb));
}
// Lanes with bS 1..3.
inline __m128i normal_bs_u8(__m128i bs) {
    return _mm_and_si128(_mm_cmpgt_epi8(bs, _mm_setzero_si128()), _mm_cmpgt_epi8(_mm_set1_epi8(4), bs));
}

// p0 + delta and q0 - delta with delta clipped to [-tc, tc] (tc at most 94),
// in lanes m, saturated to 0..255. 161 + delta is built from 66 + floor((p1 -
// q1) / 4), 128 + floor((q0 - p0) / 2) and the parity of q0 - p0, which
// combine exactly to floor((4 (q0 - p0) + p1 - q1 + 4) / 8), and capped at 255
// (delta 94) by the saturating add.
inline void delta_u8(__m128i* p0q0, __m128i p1, __m128i q1, __m128i tc, __m128i m) {
    const __m128i p0 = p0q0[0], q0 = p0q0[1];
    const __m128i ones = _mm_set1_epi8(-1), one = _mm_set1_epi8(1);
    __m128i t = _mm_avg_epu8(_mm_avg_epu8(_mm_xor_si128(q1, ones), p1), _mm_set1_epi8(3));
    t = _mm_avg_epu8(t, _mm_and_si128(_mm_xor_si128(p0, q0), one));
    t = _mm_adds_epu8(t, _mm_avg_epu8(_mm_xor_si128(p0, ones), q0));
    const __m128i bias = _mm_set1_epi8(static_cast<char>(161));
    const __m128i dpos = _mm_and_si128(_mm_min_epu8(_mm_subs_epu8(t, bias), tc), m);
    const __m128i dneg = _mm_and_si128(_mm_min_epu8(_mm_subs_epu8(bias, t), tc), m);
    p0q0[0] = _mm_subs_epu8(_mm_adds_epu8(p0, dpos), dneg);
    p0q0[1] = _mm_subs_epu8(_mm_adds_epu8(q0, dneg), dpos);
}

inline void normal_filter_u8(__m128i* c, int alpha, int beta, __m128i bs, __m128i tc0) {
    const __m128i p2 = c[1], p1 = c[2], p0 = c[3], q0 = c[4], q1 = c[5], q2 = c[6];
    const __m128i one = _mm_set1_epi8(1);
    const __m128i va = _mm_set1_epi8(static_cast<char>(alpha)), vb = _mm_set1_epi8(static_cast<char>(beta));
    const __m128i m = _mm_andnot_si128(off_u8(p1, p0, q0, q1, va, vb), normal_bs_u8(bs));
    const __m128i ap = _mm_andnot_si128(ge_u8(absdiff_u8(p2, p0), vb), m);
    const __m128i aq = _mm_andnot_si128(ge_u8(absdiff_u8(q2, q0), vb), m);
    const __m128i tc = _mm_sub_epi8(_mm_sub_epi8(tc0, ap), aq);
    delta_u8(c + 3, p1, q1, tc, m);
    // p1 + clip3(-tC0, tC0, (p2 + avg - 2 p1) >> 1) = p1 clamped into
    // [p1 - tC0, p1 + tC0] of floor((p2 + avg) / 2), which lies in 0..255.
    const __m128i avg = _mm_avg_epu8(p0, q0);
    const __m128i xp = _mm_sub_epi8(_mm_avg_epu8(p2, avg), _mm_and_si128(_mm_xor_si128(p2, avg), one));
    const __m128i xq = _mm_sub_epi8(_mm_avg_epu8(q2, avg), _mm_and_si128(_mm_xor_si128(q2, avg), one));
    const __m128i np1 = _mm_min_epu8(_mm_max_epu8(xp, _mm_subs_epu8(p1, tc0)), _mm_adds_epu8(p1, tc0));
    const __m128i nq1 = _mm_min_epu8(_mm_max_epu8(xq, _mm_subs_epu8(q1, tc0)), _mm_adds_epu8(q1, tc0));
    c[2] = _mm_xor_si128(p1, _mm_and_si128(_mm_xor_si128(np1, p1), ap));
    c[5] = _mm_xor_si128(q1, _mm_and_si128(_mm_xor_si128(nq1, q1), aq));
}

// Per-line bytes of four segments: lanes 4s..4s+3 take v[s].
inline __m128i seg_bytes(const Zep8u* v) {
    Zep32s w;
    std::memcpy(&w, v, 4);
    return _mm_shuffle_epi8(_mm_cvtsi32_si128(w), _mm_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3));
}

// 16-bit vertical edges, eight lines (rows r0 .. r0 + 7) of the macroblock
// at a time: three 8x8 transposes (columns -4..3, 4..11 and 8..15) give the
// 20 columns -4..15, the four edges are filtered in turn on those, and the
// blocks go back the same way (the last overlaps the second by four columns
// holding the same values). Keeping the edges in registers avoids reloading
// rows that the previous edge has just stored.
inline void load_cols16(const Zep16u* r0, ptrdiff_t s, __m128i* col) {
    __m128i a[8], b[8], c[8];
    for (int i = 0; i < 8; ++i) {
        a[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(r0 + i * s - 4));
        b[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(r0 + i * s + 4));
        c[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(r0 + i * s + 8));
    }
    transpose8x8_16(a);
    transpose8x8_16(b);
    transpose8x8_16(c);
    for (int k = 0; k < 8; ++k) {
        col[k] = a[k];
        col[8 + k] = b[k];
    }
    for (int k = 4; k < 8; ++k) col[12 + k] = c[k];
}

inline void store_cols16(Zep16u* r0, ptrdiff_t s, const __m128i* col) {
    __m128i a[8], b[8], c[8];
    for (int k = 0; k < 8; ++k) {
        a[k] = col[k];
        b[k] = col[8 + k];
        c[k] = col[12 + k];
    }
    transpose8x8_16(a);
    transpose8x8_16(b);
    transpose8x8_16(c);
    for (int i = 0; i < 8; ++i) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(r0 + i * s - 4), a[i]);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(r0 + i * s + 4), b[i]);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(r0 + i * s + 8), c[i]);
    }
}

// Which filters a group of segments needs: bit 0 some bS in 1..3, bit 1 some bS 4.
inline int needs(const Zep8u* b, int n) {
    int f = 0;
    for (int i = 0; i < n; ++i) f |= (b[i] != 0 && b[i] < 4 ? 1 : 0) | (b[i] == 4 ? 2 : 0);
    return f;
}

// Lanes a a a a b b b b: the values of two segments over their eight lines.
inline __m128i seg_lanes(int a, int b) {
    __m128i v = _mm_cvtsi32_si128(a | (b << 16));
    v = _mm_unpacklo_epi16(v, v);
    return _mm_unpacklo_epi32(v, v);
}

// One edge of 16 lines held as bytes c[0..7] = p3..q3. Edges with only the
// normal filter and the standard's small tC0 stay in byte lanes; others run
// in two halves of eight 16-bit lanes, and a half whose two segments have
// bS 0 is left alone.
inline void edge16(__m128i* c, int alpha, int beta, const Zep8u* bs4, const Zep8u* tc4) {
    if (needs(bs4, 4) == 1 && std::max({tc4[0], tc4[1], tc4[2], tc4[3]}) <= kByteTc0Max) {
        normal_filter_u8(c, alpha, beta, seg_bytes(bs4), seg_bytes(tc4));
        return;
    }
    const EdgeParams<V128> ep = edge_params<V128>(alpha, beta, 255);
    const __m128i z = _mm_setzero_si128();
    __m128i lo[8], hi[8];
    for (int k = 0; k < 8; ++k) {
        lo[k] = _mm_unpacklo_epi8(c[k], z);
        hi[k] = _mm_unpackhi_epi8(c[k], z);
    }
    if (const int need = needs(bs4, 2))
        filter_lines<V128>(lo, ep, seg_lanes(bs4[0], bs4[1]), seg_lanes(tc4[0], tc4[1]), need & 1, need & 2);
    if (const int need = needs(bs4 + 2, 2))
        filter_lines<V128>(hi, ep, seg_lanes(bs4[2], bs4[3]), seg_lanes(tc4[2], tc4[3]), need & 1, need & 2);
    for (int k = 1; k < 7; ++k) c[k] = _mm_packus_epi16(lo[k], hi[k]);
}

void ver_8u(Zep8u* p, Zep32s step, const Zep8u* alpha, const Zep8u* beta, const Zep8u* tc0, const Zep8u* bs) {
    ver_edges_8u(p, step, bs, [&](__m128i* c, int e) { edge16(c, alpha[e > 0], beta[e > 0], bs + 4 * e, tc0 + 4 * e); });
}

void hor_8u(Zep8u* p, Zep32s step, const Zep8u* alpha, const Zep8u* beta, const Zep8u* tc0, const Zep8u* bs) {
    const ptrdiff_t s = step;
    for (int e = 0; e < 4; ++e) {
        Zep32u all;
        std::memcpy(&all, bs + 4 * e, 4);
        if (all == 0) continue;
        Zep8u* q0 = p + 4 * e * s;
        __m128i c[8];
        for (int k = 0; k < 8; ++k) c[k] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(q0 + (k - 4) * s));
        edge16(c, alpha[e > 0], beta[e > 0], bs + 4 * e, tc0 + 4 * e);
        for (int k = 1; k < 7; ++k) _mm_storeu_si128(reinterpret_cast<__m128i*>(q0 + (k - 4) * s), c[k]);
    }
}

// Vertical edges: each half of the macroblock (eight rows) on its own, its
// four edges in registers; a half edge whose two segments have bS 0 is skipped.
void ver_16u(Zep16u* p, Zep32s step, const Zep16u* alpha, const Zep16u* beta, const Zep16u* tc0, const Zep8u* bs,
             int maxVal) {
    const ptrdiff_t s = step;
    for (int h = 0; h < 2; ++h) {
        int need[4], any = 0;
        for (int e = 0; e < 4; ++e) any |= need[e] = needs(bs + 4 * e + 2 * h, 2);
        if (any == 0) continue;
        Zep16u* r0 = p + 8 * h * s;
        __m128i col[20];  // columns -4..15
        load_cols16(r0, s, col);
        for (int e = 0; e < 4; ++e) {
            if (need[e] == 0) continue;
            const int i = 4 * e + 2 * h;
            filter_lines<V128>(col + 4 * e, edge_params<V128>(alpha[e > 0], beta[e > 0], maxVal), seg_lanes(bs[i], bs[i + 1]),
                            seg_lanes(std::min<int>(tc0[i], 8191), std::min<int>(tc0[i + 1], 8191)), need[e] & 1,
                            need[e] & 2);
        }
        store_cols16(r0, s, col);
    }
}

}  // namespace
}  // namespace zep::deblock_x86
