// Chroma and MBAFF kernels of the H.264 deblocking in signed 16-bit lanes,
// one line per lane, for 8-bit samples and for 16-bit ones of up to 12 bits
// (the largest sum, 5 * 4095 + 4, fits 15 bits). Built on deblock_simd.h;
// include only from SIMD translation units after it.
#pragma once

#include "h264/x86/deblock_simd.h"

namespace zep::deblock_x86 {
namespace {

// Eight samples of a row as 16-bit lanes, and back.
inline __m128i load_row8(const Zep8u* p) {
    return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_setzero_si128());
}
inline __m128i load_row8(const Zep16u* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void store_row8(Zep8u* p, __m128i v) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(v, v));
}
inline void store_row8(Zep16u* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// Four per-segment values as words 0..3; 16-bit ones capped at 8191 (tC0
// beyond that never clips a 12-bit delta, and lanes are signed).
inline __m128i load4(const Zep8u* v) {
    Zep32s w;
    std::memcpy(&w, v, 4);
    return _mm_unpacklo_epi8(_mm_cvtsi32_si128(w), _mm_setzero_si128());
}
inline __m128i load4(const Zep16u* v) {
    const __m128i w = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(v));
    return _mm_sub_epi16(w, _mm_subs_epu16(w, _mm_set1_epi16(8191)));
}
// w0 w0 w1 w1 w2 w2 w3 w3: lines that take a segment each two.
inline __m128i pairs_of(__m128i w) { return _mm_unpacklo_epi16(w, w); }
// Four lines a segment: segments 0, 1 (half 0) or 2, 3 (half 1).
inline __m128i quads_of(__m128i w, int half) {
    const __m128i p = _mm_unpacklo_epi16(w, w);
    return half ? _mm_unpackhi_epi32(p, p) : _mm_unpacklo_epi32(p, p);
}

// s[0..3] = p1 p0 q0 q1 of eight lines; only p0 and q0 change. bs and tc0
// per lane; `normal` / `strong`: some lane has bS 1..3 / 4.
template <class V>
inline void chroma_lines(typename V::T* s, const EdgeParams<V>& e, typename V::T bs, typename V::T tc0, bool normal,
                         bool strong) {
    using T = typename V::T;
    const T p1 = s[0], p0 = s[1], q0 = s[2], q1 = s[3], zero = V::zero();
    T m = V::and_(V::gt(e.alpha, V::absdiff(p0, q0)), V::gt(e.beta, V::absdiff(p1, p0)));
    m = V::and_(m, V::gt(e.beta, V::absdiff(q1, q0)));
    if (normal) {
        const T nm = V::and_(m, V::and_(V::gt(bs, zero), V::gt(V::set1(4), bs)));
        T delta = V::add(V::template shl<2>(V::sub(q0, p0)), V::sub(p1, q1));
        delta = V::template sar<3>(V::add(delta, V::set1(4)));
        const T tc = V::add(tc0, V::set1(1));
        const T d = V::min(V::max(delta, V::sub(zero, tc)), tc);
        s[1] = blend<V>(nm, V::min(V::max(V::add(p0, d), zero), e.maxVal), p0);
        s[2] = blend<V>(nm, V::min(V::max(V::sub(q0, d), zero), e.maxVal), q0);
    }
    if (strong) {
        const T sm = V::and_(m, V::eq(bs, V::set1(4))), two = V::set1(2);
        const T sp = V::template sar<2>(V::add(V::add(V::template shl<1>(p1), p0), V::add(q1, two)));
        const T sq = V::template sar<2>(V::add(V::add(V::template shl<1>(q1), q0), V::add(p1, two)));
        s[1] = blend<V>(sm, sp, s[1]);
        s[2] = blend<V>(sm, sq, s[2]);
    }
}

// Horizontal chroma edges: eight columns a register. Edge k lies 4k rows in
// and takes luma edge 2k (4:2:0) or k (4:2:2); column i takes segment i / 2.
template <class T, bool Is422>
void chroma_hor(T* p, Zep32s step, const T* alpha, const T* beta, const T* tc0, const Zep8u* bs, int maxVal) {
    const ptrdiff_t s = step;
    for (int k = 0; k < (Is422 ? 4 : 2); ++k) {
        const int e = Is422 ? k : 2 * k;
        const int need = needs(bs + 4 * e, 4);
        if (need == 0) continue;  // every segment bS 0 (or above 4)
        T* r = p + 4 * k * s;
        __m128i v[4] = {load_row8(r - 2 * s), load_row8(r - s), load_row8(r), load_row8(r + s)};
        chroma_lines<V128>(v, edge_params<V128>(alpha[k > 0], beta[k > 0], maxVal), pairs_of(load4(bs + 4 * e)),
                           pairs_of(load4(tc0 + 4 * e)), need & 1, need & 2);
        store_row8(r - s, v[1]);
        store_row8(r, v[2]);
    }
}

// Eight rows of columns -o .. 7 - o as eight column registers of eight lines, and back.
template <class T>
inline void load_cols(const T* p, ptrdiff_t s, __m128i (&c)[8]) {
    for (int i = 0; i < 8; ++i) c[i] = load_row8(p + i * s);
    transpose8x8_16(c);
}
template <class T>
inline void store_cols(T* p, ptrdiff_t s, __m128i (&c)[8]) {
    transpose8x8_16(c);
    for (int i = 0; i < 8; ++i) store_row8(p + i * s, c[i]);
}

// Vertical chroma edges x = 0 (luma edge 0) and x = 4 (luma edge 2), eight
// rows at a time: columns -2..5 hold both edges' p1..q1. Line i takes
// segment i / 2 (4:2:0) or i / 4 (4:2:2, 16 rows).
template <class T, bool Is422>
void chroma_ver(T* p, Zep32s step, const T* alpha, const T* beta, const T* tc0, const Zep8u* bs, int maxVal) {
    const ptrdiff_t s = step;
    for (int h = 0; h < (Is422 ? 2 : 1); ++h) {
        int need[2];
        for (int k = 0; k < 2; ++k) need[k] = Is422 ? needs(bs + 8 * k + 2 * h, 2) : needs(bs + 8 * k, 4);
        if ((need[0] | need[1]) == 0) continue;
        T* r = p + 8 * h * s - 2;
        __m128i c[8];
        load_cols(r, s, c);
        for (int k = 0; k < 2; ++k) {
            if (need[k] == 0) continue;
            const __m128i b = load4(bs + 8 * k), t = load4(tc0 + 8 * k);
            chroma_lines<V128>(c + 4 * k, edge_params<V128>(alpha[k], beta[k], maxVal),
                               Is422 ? quads_of(b, h) : pairs_of(b), Is422 ? quads_of(t, h) : pairs_of(t), need[k] & 1,
                               need[k] & 2);
        }
        store_cols(r, s, c);
    }
}

// ---- 8-bit samples in byte lanes: two edges of eight lines in one register.

// Floor average, and the strong chroma filter (2a + b + c + 2) >> 2, which
// equals the rounded average of a and floor((b + c) / 2).
inline __m128i favg_u8(__m128i a, __m128i b) {
    return _mm_sub_epi8(_mm_avg_epu8(a, b), _mm_and_si128(_mm_xor_si128(a, b), _mm_set1_epi8(1)));
}

// c[0..3] = p1 p0 q0 q1, 16 lines as bytes; alpha, beta, bs, tc0 per lane
// (tc0 at most kByteTc0Max, so tC0 + 1 stays within the exact delta range).
inline void chroma_filter_u8(__m128i* c, __m128i va, __m128i vb, __m128i bs, __m128i tc0, bool normal, bool strong) {
    const __m128i p1 = c[0], p0 = c[1], q0 = c[2], q1 = c[3];
    const __m128i off = off_u8(p1, p0, q0, q1, va, vb);
    if (normal)
        delta_u8(c + 1, p1, q1, _mm_add_epi8(tc0, _mm_set1_epi8(1)), _mm_andnot_si128(off, normal_bs_u8(bs)));
    if (strong) {
        const __m128i sm = _mm_andnot_si128(off, _mm_cmpeq_epi8(bs, _mm_set1_epi8(4)));
        const __m128i sp = _mm_avg_epu8(p1, favg_u8(p0, q1)), sq = _mm_avg_epu8(q1, favg_u8(q0, p1));
        c[1] = _mm_or_si128(_mm_and_si128(sm, sp), _mm_andnot_si128(sm, c[1]));
        c[2] = _mm_or_si128(_mm_and_si128(sm, sq), _mm_andnot_si128(sm, c[2]));
    }
}

// Per-lane values of two edges: lanes 0..7 from a[0..3], lanes 8..15 from
// b[0..3], each value over two lines (Quads < 0) or, for the 16-line 4:2:2
// edges, segments 2h and 2h + 1 over four lines each (Quads = h).
template <int Quads>
inline __m128i lanes_u8(const Zep8u* a, const Zep8u* b) {
    Zep32s va, vb;
    std::memcpy(&va, a, 4);
    std::memcpy(&vb, b, 4);
    const __m128i v = _mm_unpacklo_epi32(_mm_cvtsi32_si128(va), _mm_cvtsi32_si128(vb));
    if constexpr (Quads < 0) return _mm_shuffle_epi8(v, _mm_setr_epi8(0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7));
    constexpr char s = 2 * Quads, t = 2 * Quads + 1, u = 4 + 2 * Quads, w = 5 + 2 * Quads;
    return _mm_shuffle_epi8(v, _mm_setr_epi8(s, s, s, s, t, t, t, t, u, u, u, u, w, w, w, w));
}

// Filters two edges whose strengths are a[0..3] and b[0..3] (lines whose bS
// is 0 or above 4 stay), with alpha / beta `ka` for the first, `kb` for the second.
template <int Quads>
inline void two_edges_u8(__m128i* c, const Zep8u* alpha, const Zep8u* beta, int ka, int kb, const Zep8u* tc0a,
                         const Zep8u* tc0b, const Zep8u* a, const Zep8u* b) {
    const __m128i bs = lanes_u8<Quads>(a, b);
    const bool normal = _mm_movemask_epi8(normal_bs_u8(bs)) != 0;
    const bool strong = _mm_movemask_epi8(_mm_cmpeq_epi8(bs, _mm_set1_epi8(4))) != 0;
    if (!normal && !strong) return;
    const __m128i va = _mm_unpacklo_epi64(_mm_set1_epi8(static_cast<char>(alpha[ka])), _mm_set1_epi8(static_cast<char>(alpha[kb])));
    const __m128i vb = _mm_unpacklo_epi64(_mm_set1_epi8(static_cast<char>(beta[ka])), _mm_set1_epi8(static_cast<char>(beta[kb])));
    chroma_filter_u8(c, va, vb, bs, lanes_u8<Quads>(tc0a, tc0b), normal, strong);
}

// Horizontal edges: rows p1..q1 of edges k and k + 1, eight samples each, in
// the low and high halves.
template <bool Is422>
void chroma_hor_u8(Zep8u* p, ptrdiff_t s, const Zep8u* alpha, const Zep8u* beta, const Zep8u* tc0, const Zep8u* bs) {
    for (int k = 0; k < (Is422 ? 4 : 2); k += 2) {
        const int ea = Is422 ? k : 0, eb = Is422 ? k + 1 : 2;  // luma edges
        Zep8u* r = p + 4 * k * s;
        __m128i c[4];
        for (int j = 0; j < 4; ++j) {
            const __m128i lo = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(r + (j - 2) * s));
            c[j] = _mm_unpacklo_epi64(lo, _mm_loadl_epi64(reinterpret_cast<const __m128i*>(r + (j + 2) * s)));
        }
        two_edges_u8<-1>(c, alpha, beta, k > 0, 1, tc0 + 4 * ea, tc0 + 4 * eb, bs + 4 * ea, bs + 4 * eb);
        for (int j = 1; j < 3; ++j) {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(r + (j - 2) * s), c[j]);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(r + (j + 2) * s), _mm_unpackhi_epi64(c[j], c[j]));
        }
    }
}

// Vertical edges x = 0 and 4, eight rows at a time: the 8x8 bytes of columns
// -2..5 transposed into p1..q1 of both edges (edge 0 low, edge 1 high), and back.
template <bool Is422>
void chroma_ver_u8(Zep8u* p, ptrdiff_t s, const Zep8u* alpha, const Zep8u* beta, const Zep8u* tc0, const Zep8u* bs) {
    for (int h = 0; h < (Is422 ? 2 : 1); ++h) {
        Zep8u* r = p + 8 * h * s - 2;
        __m128i a[4], b[4];
        for (int i = 0; i < 4; ++i)
            a[i] = _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(r + 2 * i * s)),
                                     _mm_loadl_epi64(reinterpret_cast<const __m128i*>(r + (2 * i + 1) * s)));
        b[0] = _mm_unpacklo_epi16(a[0], a[1]);  // columns 0..3 of rows 0..3
        b[1] = _mm_unpackhi_epi16(a[0], a[1]);  // columns 4..7 of rows 0..3
        b[2] = _mm_unpacklo_epi16(a[2], a[3]);
        b[3] = _mm_unpackhi_epi16(a[2], a[3]);
        const __m128i c01 = _mm_unpacklo_epi32(b[0], b[2]), c23 = _mm_unpackhi_epi32(b[0], b[2]);  // columns 0|1, 2|3
        const __m128i c45 = _mm_unpacklo_epi32(b[1], b[3]), c67 = _mm_unpackhi_epi32(b[1], b[3]);
        __m128i c[4] = {_mm_unpacklo_epi64(c01, c45), _mm_unpackhi_epi64(c01, c45), _mm_unpacklo_epi64(c23, c67),
                        _mm_unpackhi_epi64(c23, c67)};
        if constexpr (Is422) {
            if (h == 0) two_edges_u8<0>(c, alpha, beta, 0, 1, tc0, tc0 + 8, bs, bs + 8);
            else two_edges_u8<1>(c, alpha, beta, 0, 1, tc0, tc0 + 8, bs, bs + 8);
        } else {
            two_edges_u8<-1>(c, alpha, beta, 0, 1, tc0, tc0 + 8, bs, bs + 8);
        }
        // Back: the same three rounds on the column pairs restore the rows.
        const __m128i k = _mm_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15);
        a[0] = _mm_shuffle_epi8(_mm_unpacklo_epi64(c[0], c[1]), k);  // columns 0, 1 as pairs
        a[1] = _mm_shuffle_epi8(_mm_unpacklo_epi64(c[2], c[3]), k);  // columns 2, 3
        a[2] = _mm_shuffle_epi8(_mm_unpackhi_epi64(c[0], c[1]), k);  // columns 4, 5
        a[3] = _mm_shuffle_epi8(_mm_unpackhi_epi64(c[2], c[3]), k);  // columns 6, 7
        b[0] = _mm_unpacklo_epi16(a[0], a[1]);
        b[1] = _mm_unpackhi_epi16(a[0], a[1]);
        b[2] = _mm_unpacklo_epi16(a[2], a[3]);
        b[3] = _mm_unpackhi_epi16(a[2], a[3]);
        const __m128i rows[4] = {_mm_unpacklo_epi32(b[0], b[2]), _mm_unpackhi_epi32(b[0], b[2]),
                                 _mm_unpacklo_epi32(b[1], b[3]), _mm_unpackhi_epi32(b[1], b[3])};
        for (int i = 0; i < 4; ++i) {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(r + 2 * i * s), rows[i]);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(r + (2 * i + 1) * s), _mm_unpackhi_epi64(rows[i], rows[i]));
        }
    }
}

// 8-bit entry: byte lanes while every tC0 allows them (the standard's never
// exceed 25), 16-bit lanes otherwise.
template <bool Vertical, bool Is422>
void chroma_8u(Zep8u* p, Zep32s step, const Zep8u* alpha, const Zep8u* beta, const Zep8u* tc0, const Zep8u* bs) {
    // Edges with no strength are not touched, not even read.
    if (_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bs)), _mm_setzero_si128())) ==
        0xFFFF)
        return;
    const __m128i t = _mm_loadu_si128(reinterpret_cast<const __m128i*>(tc0));
    const bool bytes = _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_max_epu8(t, _mm_set1_epi8(kByteTc0Max)),
                                                        _mm_set1_epi8(kByteTc0Max))) == 0xFFFF;
    if constexpr (Vertical) {
        if (bytes) chroma_ver_u8<Is422>(p, step, alpha, beta, tc0, bs);
        else chroma_ver<Zep8u, Is422>(p, step, alpha, beta, tc0, bs, 255);
    } else {
        if (bytes) chroma_hor_u8<Is422>(p, step, alpha, beta, tc0, bs);
        else chroma_hor<Zep8u, Is422>(p, step, alpha, beta, tc0, bs, 255);
    }
}

// MBAFF left luma edge: eight lines, bs[k] and tc0[k] for lines 2k, 2k + 1.
void mbaff_luma_8u(Zep8u* p, Zep32s step, const Zep8u* alpha, const Zep8u* beta, const Zep8u* tc0, const Zep8u* bs) {
    const int need = needs(bs, 4);
    if (need == 0) return;
    __m128i c[8];
    load_cols(p - 4, step, c);
    filter_lines<V128>(c, edge_params<V128>(alpha[0], beta[0], 255), pairs_of(load4(bs)), pairs_of(load4(tc0)),
                       need & 1, need & 2);
    store_cols(p - 4, step, c);
}

}  // namespace
}  // namespace zep::deblock_x86
