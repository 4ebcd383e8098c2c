// Scalar reference kernels of the block statistics.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "block/mc_ref.h"
#include "common/saturate.h"
#include "zepvc_types.h"

namespace zep {

// Variance of 64 samples from their sum and sum of squares, in single
// precision: m = S/64, v = Q/64 - m*m, each step rounded to float, truncated
// toward zero. Shared by every kernel level so the float path is one code.
// Written as separate statements: no contraction into a fused multiply-add.
[[gnu::always_inline]] inline Zep32s var64_from_sums(Zep32s sum, Zep32s sumSq) {
    const float m = static_cast<float>(sum) / 64.0f;
    const float q = static_cast<float>(sumSq) / 64.0f;
    const float mm = m * m;
    const float v = q - mm;
    return static_cast<Zep32s>(v);
}

// Rounded mean of 64 values: (S + 32) >> 6, arithmetic shift.
[[gnu::always_inline]] inline Zep32s mean64_from_sum(Zep32s sum) { return (sum + 32) >> 6; }

// Sum of squared deviations of 256 samples: Q - ((S*S) >> 8), modulo 2^32.
[[gnu::always_inline]] inline Zep32s var256_from_sums(Zep32s sum, Zep32u sumSq) {
    const int64_t mean2 = (static_cast<int64_t>(sum) * sum) >> 8;
    return static_cast<Zep32s>(sumSq - static_cast<Zep32u>(mean2));
}

}  // namespace zep

namespace zep::ref {

inline void variance16x16(const Zep8u* src, Zep32s step, Zep32s* var) {
    Zep32s s = 0;
    Zep32u q = 0;
    for (int y = 0; y < 16; ++y) {
        const Zep8u* p = mc_row(src, step, y);
        for (int x = 0; x < 16; ++x) {
            s += p[x];
            q += static_cast<Zep32u>(p[x] * p[x]);
        }
    }
    *var = var256_from_sums(s, q);
}

inline void varsum8x8_8u(const Zep8u* src, Zep32s step, Zep32s* var, Zep32s* sum) {
    Zep32s s = 0, q = 0;
    for (int y = 0; y < 8; ++y) {
        const Zep8u* p = mc_row(src, step, y);
        for (int x = 0; x < 8; ++x) {
            s += p[x];
            q += p[x] * p[x];
        }
    }
    *var = var64_from_sums(s, q);
    *sum = s;
}

// Column sums saturate at 16 bits on their own (row by row, top to bottom);
// squares wrap in 32 bits.
inline void varsum8x8_16s(const Zep16s* src, Zep32s step, Zep32s* var, Zep32s* sum) {
    Zep16s col[8] = {};
    Zep32u q = 0;
    for (int y = 0; y < 8; ++y) {
        const Zep16s* p = mc_row(src, step, y);
        for (int x = 0; x < 8; ++x) {
            col[x] = sat_s16(col[x] + p[x]);
            q += static_cast<Zep32u>(static_cast<int32_t>(p[x]) * p[x]);
        }
    }
    Zep32s s = 0;
    for (int x = 0; x < 8; ++x) s += col[x];
    *var = var64_from_sums(s, static_cast<Zep32s>(q));
    *sum = s;
}

inline void count_zeros8x8(const Zep16s* src, Zep32u* count) {
    Zep32u n = 0;
    for (int i = 0; i < 64; ++i) n += src[i] == 0;
    *count = n;
}

// Variance and rounded mean of each 8x8 sub-block (raster order) of the
// difference current - reference at a half-sample mode (rounded up).
template <int H, int Mode>
void var_mean_diff(const Zep8u* src, Zep32s srcStep, const Zep8u* ref, Zep32s refStep, Zep32s* var,
                   Zep32s* mean) {
    for (int b = 0; b < 2 * (H / 8); ++b) {
        const int bx = (b & 1) * 8, by = (b >> 1) * 8;
        Zep32s s = 0, q = 0;
        for (int y = by; y < by + 8; ++y) {
            const Zep8u *c = mc_row(src, srcStep, y), *r0 = mc_row(ref, refStep, y), *r1 = mc_row(ref, refStep, y + 1);
            for (int x = bx; x < bx + 8; ++x) {
                const int d = c[x] - hp_pred<Mode>(r0, r1, x, 0);
                s += d;
                q += d * d;
            }
        }
        var[b] = var64_from_sums(s, q);
        mean[b] = mean64_from_sum(s);
    }
}

// Sum of absolute deviations from the rounded mean (N times the mean absolute
// deviation): directly comparable with a SAD of the same block.
template <int N>
void mean_abs_dev(const Zep8u* src, Zep32s step, Zep32s* out) {
    constexpr int kShift = N == 16 ? 8 : 6;
    Zep32s s = 0;
    for (int y = 0; y < N; ++y) {
        const Zep8u* p = mc_row(src, step, y);
        for (int x = 0; x < N; ++x) s += p[x];
    }
    const int m = (s + (1 << (kShift - 1))) >> kShift;
    Zep32s a = 0;
    for (int y = 0; y < N; ++y) {
        const Zep8u* p = mc_row(src, step, y);
        for (int x = 0; x < N; ++x) a += std::abs(p[x] - m);
    }
    *out = a;
}

// Differences src - pred of a (Bw*4) x (Bh*4) block, written as 4x4 blocks of
// 16 values each in raster order of the blocks, plus the sum of each 4x4 block.
// Stride: distance in samples between horizontally adjacent samples (2 for
// one channel of interleaved chroma).
template <int Bw, int Bh, int Stride, class T, class S, class D>
void sums_diff(const T* src, Zep32s srcStep, const T* pred, Zep32s predStep, S* sums, D* diff) {
    for (int b = 0; b < Bw * Bh; ++b) {
        const int bx = (b % Bw) * 4, by = (b / Bw) * 4;
        int32_t s = 0;
        for (int y = 0; y < 4; ++y) {
            const T *c = mc_row(src, srcStep, by + y), *p = mc_row(pred, predStep, by + y);
            for (int x = 0; x < 4; ++x) {
                const int32_t d = static_cast<int32_t>(c[(bx + x) * Stride]) - static_cast<int32_t>(p[(bx + x) * Stride]);
                diff[b * 16 + y * 4 + x] = static_cast<D>(d);
                s += d;
            }
        }
        sums[b] = static_cast<S>(s);
    }
}

// Interleaved Cb/Cr 8x8 per channel: each channel as its own 8x8 block.
inline void sums_diff_c2p2(const Zep8u* src, Zep32s srcStep, const Zep8u* pred, Zep32s predStep, Zep16s* sumsU,
                           Zep16s* sumsV, Zep16s* diffU, Zep16s* diffV) {
    sums_diff<2, 2, 2>(src, srcStep, pred, predStep, sumsU, diffU);
    sums_diff<2, 2, 2>(src + 1, srcStep, pred + 1, predStep, sumsV, diffV);
}

// Counts the samples that differ by more than diffThr from their right or
// lower neighbour inside the 16x16 block; *res = 1 when the count exceeds
// countThr, else 0.
template <class T>
void edges_detect16x16(const T* src, Zep32s step, Zep32u diffThr, Zep32u countThr, Zep8u* res) {
    Zep32u n = 0;
    for (int y = 0; y < 16; ++y) {
        const T* p = mc_row(src, step, y);
        const T* q = y < 15 ? mc_row(src, step, y + 1) : nullptr;
        for (int x = 0; x < 16; ++x) {
            const bool h = x < 15 && static_cast<Zep32u>(std::abs(p[x] - p[x + 1])) > diffThr;
            const bool v = q && static_cast<Zep32u>(std::abs(p[x] - q[x])) > diffThr;
            n += h || v;
        }
    }
    *res = n > countThr ? 1 : 0;
}

}  // namespace zep::ref
