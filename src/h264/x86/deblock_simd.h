// Line filter of the H.264 luma deblocking in signed 16-bit lanes, one line
// per lane, written once over a vector-ops type (128- or 256-bit). Exact for
// samples of up to 12 bits: the largest sum, 8 * 4095 + 4, fits 15 bits.
// Include only from SIMD translation units; everything has internal linkage.
#pragma once

#include <immintrin.h>

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
inline void filter_lines(typename V::T (&s)[8], const EdgeParams<V>& e, typename V::T bs, typename V::T tc0,
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

// Which filters a group of segments needs: bit 0 some bS in 1..3, bit 1 some bS 4.
inline int needs(const Zep8u* b, int n) {
    int f = 0;
    for (int i = 0; i < n; ++i) f |= (b[i] != 0 && b[i] < 4 ? 1 : 0) | (b[i] == 4 ? 2 : 0);
    return f;
}

}  // namespace
}  // namespace zep::deblock_x86
