// SIMD kernels of the block statistics, shared by the _ssse3 and _avx2 units
// (include only from those; internal linkage, see mc_simd.h).
#pragma once

#include <immintrin.h>

#include "block/stats_dsp.h"
#include "block/stats_ref.h"
#include "block/x86/mc_simd.h"

namespace zep {
namespace {

inline __m128i load8x2(const Zep8u* p, Zep32s step) {
    return _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)),
                              _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + step)));
}
inline Zep32s hsum32(__m128i v) {
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, 0x4E));
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, 0xB1));
    return _mm_cvtsi128_si32(v);
}
// Sum of the two 64-bit halves of a SAD accumulator.
inline Zep32s hsum_sad(__m128i v) { return _mm_cvtsi128_si32(_mm_add_epi32(v, _mm_unpackhi_epi64(v, v))); }
// Sum of eight signed 16-bit lanes, exact in 32 bits.
inline Zep32s hsum16(__m128i v) { return hsum32(_mm_madd_epi16(v, _mm_set1_epi16(1))); }
// Squares of 16 bytes, pairwise summed into four 32-bit lanes.
inline __m128i sq_bytes(__m128i v) {
    const __m128i z = _mm_setzero_si128();
    const __m128i lo = _mm_unpacklo_epi8(v, z), hi = _mm_unpackhi_epi8(v, z);
    return _mm_add_epi32(_mm_madd_epi16(lo, lo), _mm_madd_epi16(hi, hi));
}

// ---- 128-bit kernels ----

void variance16x16_sse(const Zep8u* src, Zep32s step, Zep32s* var) {
    __m128i s = _mm_setzero_si128(), q = _mm_setzero_si128();
    for (int y = 0; y < 16; ++y) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row_at(src, step, y)));
        s = _mm_add_epi64(s, _mm_sad_epu8(v, _mm_setzero_si128()));
        q = _mm_add_epi32(q, sq_bytes(v));
    }
    *var = var256_from_sums(hsum_sad(s), static_cast<Zep32u>(hsum32(q)));
}

void varsum8x8_8u_sse(const Zep8u* src, Zep32s step, Zep32s* var, Zep32s* sum) {
    __m128i s = _mm_setzero_si128(), q = _mm_setzero_si128();
    for (int y = 0; y < 8; y += 2) {
        const __m128i v = load8x2(row_at(src, step, y), step);
        s = _mm_add_epi64(s, _mm_sad_epu8(v, _mm_setzero_si128()));
        q = _mm_add_epi32(q, sq_bytes(v));
    }
    const Zep32s S = hsum_sad(s);
    *var = var64_from_sums(S, hsum32(q));
    *sum = S;
}

// Column sums saturate row by row (one lane per column, rows in order);
// squares wrap in 32 bits, as pmaddwd's single overflowing case does too.
void varsum8x8_16s_sse(const Zep16s* src, Zep32s step, Zep32s* var, Zep32s* sum) {
    __m128i col = _mm_setzero_si128(), q = _mm_setzero_si128();
    for (int y = 0; y < 8; ++y) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row_at(src, step, y)));
        col = _mm_adds_epi16(col, v);
        q = _mm_add_epi32(q, _mm_madd_epi16(v, v));
    }
    const Zep32s S = hsum16(col);
    *var = var64_from_sums(S, hsum32(q));
    *sum = S;
}

void count_zeros8x8_sse(const Zep16s* src, Zep32u* count) {
    __m128i n = _mm_setzero_si128();  // minus the count per lane
    for (int i = 0; i < 64; i += 8)
        n = _mm_add_epi16(n, _mm_cmpeq_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i)),
                                             _mm_setzero_si128()));
    *count = static_cast<Zep32u>(-hsum16(n));
}

// Difference current - prediction: eight 16-bit lanes per 8x8 sub-block row.
template <int H, int Mode>
void var_mean_diff_sse(const Zep8u* src, Zep32s srcStep, const Zep8u* ref, Zep32s refStep, Zep32s* var,
                       Zep32s* mean) {
    const __m128i k = V128::set1(round_const<Mode>(0));
    for (int by = 0; by < H / 8; ++by) {
        __m128i s[2] = {_mm_setzero_si128(), _mm_setzero_si128()}, q[2] = {s[0], s[0]};
        for (int y = by * 8; y < by * 8 + 8; ++y) {
            const Zep8u *c = row_at(src, srcStep, y), *r0 = row_at(ref, refStep, y), *r1 = row_at(ref, refStep, y + 1);
            for (int bx = 0; bx < 2; ++bx) {
                const __m128i d = _mm_sub_epi16(V128::load_u8<8>(c + 8 * bx), predict<V128, 8, Mode, 1>(r0 + 8 * bx, r1 + 8 * bx, k));
                s[bx] = _mm_add_epi16(s[bx], d);
                q[bx] = _mm_add_epi32(q[bx], _mm_madd_epi16(d, d));
            }
        }
        for (int bx = 0; bx < 2; ++bx) {
            const Zep32s S = hsum16(s[bx]);
            var[by * 2 + bx] = var64_from_sums(S, hsum32(q[bx]));
            mean[by * 2 + bx] = mean64_from_sum(S);
        }
    }
}

// Sum of |x - m| is a SAD against the broadcast mean.
template <int N>
void mean_abs_dev_sse(const Zep8u* src, Zep32s step, Zep32s* out) {
    constexpr int kShift = N == 16 ? 8 : 6;
    constexpr int kRowsPer = N == 16 ? 1 : 2;
    auto load = [&](int y) {
        if constexpr (N == 16) return _mm_loadu_si128(reinterpret_cast<const __m128i*>(row_at(src, step, y)));
        else return load8x2(row_at(src, step, y), step);
    };
    __m128i s = _mm_setzero_si128();
    for (int y = 0; y < N; y += kRowsPer) s = _mm_add_epi64(s, _mm_sad_epu8(load(y), _mm_setzero_si128()));
    const int m = (hsum_sad(s) + (1 << (kShift - 1))) >> kShift;
    const __m128i mv = _mm_set1_epi8(static_cast<char>(m));
    __m128i a = _mm_setzero_si128();
    for (int y = 0; y < N; y += kRowsPer) a = _mm_add_epi64(a, _mm_sad_epu8(load(y), mv));
    *out = hsum_sad(a);
}

// Differences in 4x4-block order with their sums: each 8-sample chunk of a
// row covers two blocks, its halves stored to the two blocks' rows. `diffRow`
// gives the eight differences of row yy starting at sample x.
template <int Bw, int Bh, class DiffRow>
inline void sums_diff_blocks(DiffRow diffRow, Zep16s* sums, Zep16s* diff) {
    for (int by = 0; by < Bh; ++by)
        for (int bx = 0; bx < Bw; bx += 2) {
            __m128i acc = _mm_setzero_si128();
            for (int y = 0; y < 4; ++y) {
                const __m128i d = diffRow(by * 4 + y, bx * 4);
                acc = _mm_add_epi16(acc, d);
                Zep16s* b0 = diff + (by * Bw + bx) * 16 + y * 4;
                _mm_storel_epi64(reinterpret_cast<__m128i*>(b0), d);
                _mm_storel_epi64(reinterpret_cast<__m128i*>(b0 + 16), _mm_unpackhi_epi64(d, d));
            }
            // Lanes 0-3 belong to block bx, 4-7 to block bx + 1.
            const __m128i p = _mm_madd_epi16(acc, _mm_set1_epi16(1));
            const __m128i h = _mm_hadd_epi32(p, p);
            sums[by * Bw + bx] = static_cast<Zep16s>(_mm_cvtsi128_si32(h));
            sums[by * Bw + bx + 1] = static_cast<Zep16s>(_mm_extract_epi16(h, 2));
        }
}

template <int Bw, int Bh>
void sums_diff_sse(const Zep8u* src, Zep32s srcStep, const Zep8u* pred, Zep32s predStep, Zep16s* sums, Zep16s* diff) {
    sums_diff_blocks<Bw, Bh>(
        [&](int y, int x) {
            return _mm_sub_epi16(V128::load_u8<8>(row_at(src, srcStep, y) + x), V128::load_u8<8>(row_at(pred, predStep, y) + x));
        },
        sums, diff);
}

// Interleaved chroma: one shuffle splits a row into its Cb and Cr halves.
void sums_diff_c2p2_sse(const Zep8u* src, Zep32s srcStep, const Zep8u* pred, Zep32s predStep, Zep16s* sumsU,
                        Zep16s* sumsV, Zep16s* diffU, Zep16s* diffV) {
    const __m128i split = _mm_setr_epi8(0, 2, 4, 6, 8, 10, 12, 14, 1, 3, 5, 7, 9, 11, 13, 15);
    for (int ch = 0; ch < 2; ++ch)
        sums_diff_blocks<2, 2>(
            [&](int y, int) {
                const __m128i z = _mm_setzero_si128();
                __m128i a = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row_at(src, srcStep, y))), split);
                __m128i b = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row_at(pred, predStep, y))), split);
                return ch == 0 ? _mm_sub_epi16(_mm_unpacklo_epi8(a, z), _mm_unpacklo_epi8(b, z))
                               : _mm_sub_epi16(_mm_unpackhi_epi8(a, z), _mm_unpackhi_epi8(b, z));
            },
            ch == 0 ? sumsU : sumsV, ch == 0 ? diffU : diffV);
}

// 16-bit samples: each 4-sample block row is one vector of 32-bit differences.
template <int Bw, int Bh>
void sums_diff_16u_sse(const Zep16u* src, Zep32s srcStep, const Zep16u* pred, Zep32s predStep, Zep32s* sums,
                       Zep32s* diff) {
    const __m128i z = _mm_setzero_si128();
    for (int by = 0; by < Bh; ++by)
        for (int bx = 0; bx < Bw; ++bx) {
            __m128i acc = z;
            for (int y = 0; y < 4; ++y) {
                const int yy = by * 4 + y;
                const __m128i a = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(row_at(src, srcStep, yy) + bx * 4));
                const __m128i b = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(row_at(pred, predStep, yy) + bx * 4));
                const __m128i d = _mm_sub_epi32(_mm_unpacklo_epi16(a, z), _mm_unpacklo_epi16(b, z));
                acc = _mm_add_epi32(acc, d);
                _mm_storeu_si128(reinterpret_cast<__m128i*>(diff + (by * Bw + bx) * 16 + y * 4), d);
            }
            sums[by * Bw + bx] = hsum32(acc);
        }
}

// Edge count: per row, the right neighbour comes from a byte shift (lane 15
// has none) and the lower one from the next row (row 15 has none).
void edges16x16_sse(const Zep8u* src, Zep32s step, Zep32u diffThr, Zep32u countThr, Zep8u* res) {
    if (diffThr >= 255) {  // no 8-bit difference exceeds it: a count of 0 exceeds nothing
        *res = 0;
        return;
    }
    const __m128i t = _mm_set1_epi8(static_cast<char>(diffThr));
    const __m128i noLast = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0);
    auto exceeds = [&](__m128i a, __m128i b) {
        const __m128i ad = _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a));
        return _mm_subs_epu8(ad, t);  // non-zero where |a - b| > t
    };
    Zep32u n = 0;
    __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
    for (int y = 0; y < 16; ++y) {
        __m128i e = _mm_and_si128(exceeds(a, _mm_srli_si128(a, 1)), noLast);
        __m128i b = a;
        if (y < 15) {
            b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row_at(src, step, y + 1)));
            e = _mm_or_si128(e, exceeds(a, b));
        }
        const int none = _mm_movemask_epi8(_mm_cmpeq_epi8(e, _mm_setzero_si128()));
        n += 16 - static_cast<Zep32u>(__builtin_popcount(static_cast<unsigned>(none)));
        a = b;
    }
    *res = n > countThr ? 1 : 0;
}

// 16-bit samples: two 8-sample chunks a row; the second chunk's right
// neighbours come from a lane shift (sample 15 has none).
void edges16x16_16u_sse(const Zep16u* src, Zep32s step, Zep32u diffThr, Zep32u countThr, Zep8u* res) {
    if (diffThr >= 65535) {  // no 16-bit difference exceeds it
        *res = 0;
        return;
    }
    const __m128i t = _mm_set1_epi16(static_cast<short>(diffThr));
    const __m128i noLast = _mm_setr_epi16(-1, -1, -1, -1, -1, -1, -1, 0);
    auto exceeds = [&](__m128i a, __m128i b) {
        const __m128i ad = _mm_or_si128(_mm_subs_epu16(a, b), _mm_subs_epu16(b, a));
        return _mm_subs_epu16(ad, t);
    };
    auto load = [&](int y, int x) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(row_at(src, step, y) + x)); };
    Zep32u n = 0;
    for (int y = 0; y < 16; ++y) {
        const __m128i a0 = load(y, 0), a1 = load(y, 8);
        __m128i e0 = exceeds(a0, load(y, 1));
        __m128i e1 = _mm_and_si128(exceeds(a1, _mm_srli_si128(a1, 2)), noLast);
        if (y < 15) {
            e0 = _mm_or_si128(e0, exceeds(a0, load(y + 1, 0)));
            e1 = _mm_or_si128(e1, exceeds(a1, load(y + 1, 8)));
        }
        const __m128i z = _mm_setzero_si128();
        const __m128i none = _mm_packs_epi16(_mm_cmpeq_epi16(e0, z), _mm_cmpeq_epi16(e1, z));
        n += 16 - static_cast<Zep32u>(__builtin_popcount(static_cast<unsigned>(_mm_movemask_epi8(none))));
    }
    *res = n > countThr ? 1 : 0;
}

template <class C>
constexpr int stats_idx = C::value;

void install_stats_sse(StatsDsp& t) {
    t.variance16x16 = variance16x16_sse;
    t.varSum8x8_8u = varsum8x8_8u_sse;
    t.varSum8x8_16s = varsum8x8_16s_sse;
    t.countZeros8x8 = count_zeros8x8_sse;
    fill_table(t.varMeanDiff16x16, [](auto i) -> VarMeanDiffFn { return var_mean_diff_sse<16, stats_idx<decltype(i)>>; });
    fill_table(t.varMeanDiff16x8, [](auto i) -> VarMeanDiffFn { return var_mean_diff_sse<8, stats_idx<decltype(i)>>; });
    t.mad16x16 = mean_abs_dev_sse<16>;
    t.mad8x8 = mean_abs_dev_sse<8>;
    t.sumsDiff16x16 = sums_diff_sse<4, 4>;
    t.sumsDiff8x8 = sums_diff_sse<2, 2>;
    t.edges16x16_8u = edges16x16_sse;
    t.sumsDiff8x8C2P2 = sums_diff_c2p2_sse;
    t.sumsDiff16x16_16u = sums_diff_16u_sse<4, 4>;
    t.sumsDiff8x8_16u = sums_diff_16u_sse<2, 2>;
    t.edges16x16_16u = edges16x16_16u_sse;
}

#ifdef __AVX2__
// ---- 256-bit kernels: two 16-byte rows, or one 16-sample row in 16-bit lanes ----

inline __m128i fold(__m256i v) { return _mm_add_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1)); }

void variance16x16_avx2(const Zep8u* src, Zep32s step, Zep32s* var) {
    __m256i s = _mm256_setzero_si256(), q = _mm256_setzero_si256();
    const __m256i z = _mm256_setzero_si256();
    for (int y = 0; y < 16; y += 2) {
        const __m256i v = B256::load(row_at(src, step, y), step);
        s = _mm256_add_epi64(s, _mm256_sad_epu8(v, z));
        const __m256i lo = _mm256_unpacklo_epi8(v, z), hi = _mm256_unpackhi_epi8(v, z);
        q = _mm256_add_epi32(q, _mm256_add_epi32(_mm256_madd_epi16(lo, lo), _mm256_madd_epi16(hi, hi)));
    }
    *var = var256_from_sums(hsum_sad(fold(s)), static_cast<Zep32u>(hsum32(fold(q))));
}

// One 16-sample row a vector: lane 0 is the left 8x8 block, lane 1 the right.
template <int H, int Mode>
void var_mean_diff_avx2(const Zep8u* src, Zep32s srcStep, const Zep8u* ref, Zep32s refStep, Zep32s* var,
                        Zep32s* mean) {
    const __m256i k = V256::set1(round_const<Mode>(0));
    for (int by = 0; by < H / 8; ++by) {
        __m256i s = _mm256_setzero_si256(), q = _mm256_setzero_si256();
        for (int y = by * 8; y < by * 8 + 8; ++y) {
            const Zep8u *c = row_at(src, srcStep, y), *r0 = row_at(ref, refStep, y), *r1 = row_at(ref, refStep, y + 1);
            const __m256i d = _mm256_sub_epi16(V256::load_u8<16>(c), predict<V256, 16, Mode, 1>(r0, r1, k));
            s = _mm256_add_epi16(s, d);
            q = _mm256_add_epi32(q, _mm256_madd_epi16(d, d));
        }
        const __m128i sl = _mm256_castsi256_si128(s), sh = _mm256_extracti128_si256(s, 1);
        const __m128i ql = _mm256_castsi256_si128(q), qh = _mm256_extracti128_si256(q, 1);
        const Zep32s S0 = hsum16(sl), S1 = hsum16(sh);
        var[by * 2] = var64_from_sums(S0, hsum32(ql));
        var[by * 2 + 1] = var64_from_sums(S1, hsum32(qh));
        mean[by * 2] = mean64_from_sum(S0);
        mean[by * 2 + 1] = mean64_from_sum(S1);
    }
}

void mean_abs_dev16_avx2(const Zep8u* src, Zep32s step, Zep32s* out) {
    const __m256i z = _mm256_setzero_si256();
    __m256i s = z;
    for (int y = 0; y < 16; y += 2) s = _mm256_add_epi64(s, _mm256_sad_epu8(B256::load(row_at(src, step, y), step), z));
    const int m = (hsum_sad(fold(s)) + 128) >> 8;
    const __m256i mv = _mm256_set1_epi8(static_cast<char>(m));
    __m256i a = z;
    for (int y = 0; y < 16; y += 2) a = _mm256_add_epi64(a, _mm256_sad_epu8(B256::load(row_at(src, step, y), step), mv));
    *out = hsum_sad(fold(a));
}

void install_stats_avx2(StatsDsp& t) {
    install_stats_sse(t);  // the 128-bit kernels, VEX-encoded, where 256 bits do not pay
    t.variance16x16 = variance16x16_avx2;
    fill_table(t.varMeanDiff16x16, [](auto i) -> VarMeanDiffFn { return var_mean_diff_avx2<16, stats_idx<decltype(i)>>; });
    fill_table(t.varMeanDiff16x8, [](auto i) -> VarMeanDiffFn { return var_mean_diff_avx2<8, stats_idx<decltype(i)>>; });
    t.mad16x16 = mean_abs_dev16_avx2;
}
#endif

}  // namespace
}  // namespace zep
