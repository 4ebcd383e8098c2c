// Scalar reference kernels of the block distortion metrics: the definition of
// the arithmetic, the fallback on every CPU and the oracle of the tests.
#pragma once

#include <cstddef>
#include <cstdlib>

#include "zepvc_types.h"

namespace zep::ref {

// Byte offset of row y in a picture with the given step.
template <class T>
inline const T* row(const T* p, Zep32s step, int y) {
    return reinterpret_cast<const T*>(reinterpret_cast<const Zep8u*>(p) + static_cast<ptrdiff_t>(step) * y);
}
template <class T>
inline T* row(T* p, Zep32s step, int y) {
    return reinterpret_cast<T*>(reinterpret_cast<Zep8u*>(p) + static_cast<ptrdiff_t>(step) * y);
}

// Reference sample of a half-sample mode (0 integer, 1 below, 2 right, 3 both),
// rounded up: (a + b + 1) >> 1 and (a + b + c + d + 2) >> 2. `Dx` is the
// distance in samples to the right-hand neighbour (2 for interleaved chroma).
template <int Mode, int Dx = 1, class T>
inline int hp_sample(const T* r0, const T* r1, int x) {
    if constexpr (Mode == 0)
        return r0[x];
    else if constexpr (Mode == 1)
        return (r0[x] + r1[x] + 1) >> 1;
    else if constexpr (Mode == 2)
        return (r0[x] + r0[x + Dx] + 1) >> 1;
    else
        return (r0[x] + r0[x + Dx] + r1[x] + r1[x + Dx] + 2) >> 2;
}

// Sum over the block of f(|S - P|) or f(S - P), P the mode's reference sample;
// `Channels` interleaved channels, summing channel `Ch` only.
template <int W, int H, int Mode, int Channels = 1, int Ch = 0, class T, class F>
Zep32s accumulate(const T* src, Zep32s srcStep, const T* refp, Zep32s refStep, F f) {
    Zep32s sum = 0;
    for (int y = 0; y < H; ++y) {
        const T* s = row(src, srcStep, y);
        const T* r0 = row(refp, refStep, y);
        const T* r1 = row(refp, refStep, y + 1);
        for (int x = Ch; x < W * Channels; x += Channels)
            sum += f(static_cast<int>(s[x]) - hp_sample<Mode, Channels>(r0, r1, x));
    }
    return sum;
}

inline Zep32s abs_of(int d) { return std::abs(d); }
inline Zep32s square_of(int d) { return d * d; }

template <int W, int H, int Mode, class T = Zep8u>
Zep32s sad(const T* src, Zep32s srcStep, const T* refp, Zep32s refStep) {
    return accumulate<W, H, Mode>(src, srcStep, refp, refStep, abs_of);
}

template <int W, int H, int Mode, class T>
void sad_kernel(const T* src, Zep32s srcStep, const T* refp, Zep32s refStep, Zep32s* out) {
    *out = sad<W, H, Mode, T>(src, srcStep, refp, refStep);
}

// Two interleaved channels, 8x8 each; the right neighbour is the next sample
// of the same channel.
template <int Mode>
void sad8x8_c2(const Zep8u* src, Zep32s srcStep, const Zep8u* refp, Zep32s refStep, Zep32s* sad0, Zep32s* sad1) {
    *sad0 = accumulate<8, 8, Mode, 2, 0>(src, srcStep, refp, refStep, abs_of);
    *sad1 = accumulate<8, 8, Mode, 2, 1>(src, srcStep, refp, refStep, abs_of);
}

template <int W, int H, int Mode>
void ssd(const Zep8u* src, Zep32s srcStep, const Zep8u* refp, Zep32s refStep, Zep32s* out) {
    *out = accumulate<W, H, Mode>(src, srcStep, refp, refStep, square_of);
}

// Integer-position SADs of the BxB sub-blocks of a 16x16 block, raster order.
// 8-bit results saturate at 32767 (a bound 8-bit input never reaches).
template <int B, class T, class Out>
void sad_blocks(const T* src, Zep32s srcStep, const T* refp, Zep32s refStep, Out* out) {
    for (int by = 0; by < 16 / B; ++by)
        for (int bx = 0; bx < 16 / B; ++bx) {
            Zep32s s = sad<B, B, 0, T>(row(src, srcStep, by * B) + bx * B, srcStep, row(refp, refStep, by * B) + bx * B,
                                       refStep);
            if constexpr (sizeof(Out) == 2) s = s > 32767 ? 32767 : s;
            out[by * (16 / B) + bx] = static_cast<Out>(s);
        }
}

// Candidate run: SAD against pRef + k for k = 0 .. count - 1 (count a multiple of 8).
template <int W, int H>
void sad_run(const Zep8u* src, Zep32s srcStep, const Zep8u* refp, Zep32s refStep, Zep16u* out, Zep32s count) {
    for (int k = 0; k < count; ++k) out[k] = static_cast<Zep16u>(sad<W, H, 0>(src, srcStep, refp + k, refStep));
}

// Position of the smallest value, the first one on ties.
inline Zep32s argmin_16u(const Zep16u* v, Zep32s count) {
    Zep32s best = 0;
    for (Zep32s k = 1; k < count; ++k)
        if (v[k] < v[best]) best = k;
    return best;
}

template <int W, int H>
void sad_run_min(const Zep8u* src, Zep32s srcStep, const Zep8u* refp, Zep32s refStep, Zep16u* out, Zep32s count,
                 Zep32s* pMin) {
    sad_run<W, H>(src, srcStep, refp, refStep, out, count);
    *pMin = argmin_16u(out, count);
}

// Unscaled N-point Hadamard transform in place: butterflies (a + b, a - b)
// over pairs 1, 2, 4 ... apart.
template <int N, class V>
inline void hadamard(V* v, int stride) {
    for (int len = 1; len < N; len *= 2)
        for (int i = 0; i < N; i += 2 * len)
            for (int j = i; j < i + len; ++j) {
                V a = v[j * stride], b = v[(j + len) * stride];
                v[j * stride] = a + b;
                v[(j + len) * stride] = a - b;
            }
}

// Sum of |coefficients| of the two-dimensional NxN Hadamard transform of S - R.
template <int N, class T>
Zep32s hadamard_abs_sum(const T* src, Zep32s srcStep, const T* refp, Zep32s refStep) {
    Zep32s d[N * N];
    for (int y = 0; y < N; ++y)
        for (int x = 0; x < N; ++x)
            d[y * N + x] = static_cast<Zep32s>(row(src, srcStep, y)[x]) - row(refp, refStep, y)[x];
    for (int y = 0; y < N; ++y) hadamard<N>(d + y * N, 1);
    for (int x = 0; x < N; ++x) hadamard<N>(d + x, N);
    Zep32s sum = 0;
    for (Zep32s c : d) sum += std::abs(c);
    return sum;
}

// SATD: the Hadamard sums of the 4x4 sub-blocks, added up without normalisation.
template <int W, int H>
void satd(const Zep8u* src, Zep32s srcStep, const Zep8u* refp, Zep32s refStep, Zep32s* out) {
    Zep32s sum = 0;
    for (int y = 0; y < H; y += 4)
        for (int x = 0; x < W; x += 4)
            sum += hadamard_abs_sum<4>(row(src, srcStep, y) + x, srcStep, row(refp, refStep, y) + x, refStep);
    *out = sum;
}

template <class T>
void sat8x8d(const T* src, Zep32s srcStep, const T* refp, Zep32s refStep, Zep32s* out) {
    *out = hadamard_abs_sum<8>(src, srcStep, refp, refStep);
}

// Squared difference against the average of a forward and a backward
// half-sample prediction. The forward value is (four samples, repeated where
// the mode averages fewer, + 2 unless integer) >> 2, which is exactly the
// mode's rounded-up average, so hp_sample gives it.
template <int ModeF, int ModeB>
void sqrdiff_bi(const Zep8u* src, Zep32s srcStep, const Zep8u* refF, Zep32s refFStep, const Zep8u* refB,
                Zep32s refBStep, Zep32s* out) {
    Zep32s sum = 0;
    for (int y = 0; y < 16; ++y) {
        const Zep8u* s = row(src, srcStep, y);
        const Zep8u* f0 = row(refF, refFStep, y);
        const Zep8u* f1 = row(refF, refFStep, y + 1);
        const Zep8u* b0 = row(refB, refBStep, y);
        const Zep8u* b1 = row(refB, refBStep, y + 1);
        for (int x = 0; x < 16; ++x) {
            int p = (hp_sample<ModeF>(f0, f1, x) + hp_sample<ModeB>(b0, b1, x) + 1) >> 1;
            sum += square_of(s[x] - p);
        }
    }
    *out = sum;
}

// Difference S - R of an 8x8 block as 16-bit values (dstStep in bytes) and its SAD.
inline void sub_sad8x8(const Zep8u* src, Zep32s srcStep, const Zep8u* refp, Zep32s refStep, Zep16s* dst, Zep32s dstStep,
                       Zep32s* pSAD) {
    Zep32s sum = 0;
    for (int y = 0; y < 8; ++y) {
        const Zep8u* s = row(src, srcStep, y);
        const Zep8u* r = row(refp, refStep, y);
        Zep16s* d = row(dst, dstStep, y);
        for (int x = 0; x < 8; ++x) {
            d[x] = static_cast<Zep16s>(s[x] - r[x]);
            sum += abs_of(s[x] - r[x]);
        }
    }
    *pSAD = sum;
}

// Frame activity: rows i and i + 1 for i = 0..14; field activity: rows i and
// i + 2 (same field) for i = 0..13.
template <class T>
void frame_field_sad(const T* src, Zep32s srcStep, Zep32s* frame, Zep32s* field) {
    Zep32s fr = 0, fi = 0;
    for (int y = 0; y < 15; ++y) {
        const T* a = row(src, srcStep, y);
        const T* b = row(src, srcStep, y + 1);
        for (int x = 0; x < 16; ++x) fr += abs_of(static_cast<int>(a[x]) - b[x]);
    }
    for (int y = 0; y < 14; ++y) {
        const T* a = row(src, srcStep, y);
        const T* b = row(src, srcStep, y + 2);
        for (int x = 0; x < 16; ++x) fi += abs_of(static_cast<int>(a[x]) - b[x]);
    }
    *frame = fr;
    *field = fi;
}

}  // namespace zep::ref
