// Scalar reference of the H.264 deblocking filter, line by line: luma and
// chroma (4:2:0 and 4:2:2) edges of a macroblock, and the left edges of the
// MBAFF variants.
#pragma once

#include <cstddef>
#include <cstdlib>

#include "zepvc_types.h"

namespace zep::ref {

inline int deblock_clip3(int lo, int hi, int v) { return v < lo ? lo : (v > hi ? hi : v); }

// One line across an edge: q points at q0, `a` is the distance between
// neighbouring samples across the edge. Every right-hand side reads the
// unfiltered samples.
template <class T>
void deblock_line(T* q, ptrdiff_t a, int alpha, int beta, int bS, int tc0, int maxVal) {
    const int p0 = q[-a], p1 = q[-2 * a], p2 = q[-3 * a], p3 = q[-4 * a];
    const int q0 = q[0], q1 = q[a], q2 = q[2 * a], q3 = q[3 * a];
    if (!(std::abs(p0 - q0) < alpha && std::abs(p1 - p0) < beta && std::abs(q1 - q0) < beta)) return;
    const bool ap = std::abs(p2 - p0) < beta, aq = std::abs(q2 - q0) < beta;
    if (bS < 4) {
        const int delta = ((q0 - p0) * 4 + (p1 - q1) + 4) >> 3;
        const int tc = tc0 + ap + aq;
        if (delta != 0) {
            const int d = deblock_clip3(-tc, tc, delta);
            q[-a] = static_cast<T>(deblock_clip3(0, maxVal, p0 + d));
            q[0] = static_cast<T>(deblock_clip3(0, maxVal, q0 - d));
        }
        const int avg = (p0 + q0 + 1) >> 1;
        if (ap) q[-2 * a] = static_cast<T>(p1 + deblock_clip3(-tc0, tc0, (p2 + avg - 2 * p1) >> 1));
        if (aq) q[a] = static_cast<T>(q1 + deblock_clip3(-tc0, tc0, (q2 + avg - 2 * q1) >> 1));
    } else if (bS == 4) {
        const bool small = std::abs(p0 - q0) < (alpha >> 2) + 2;
        if (small && ap) {
            q[-a] = static_cast<T>((p2 + 2 * p1 + 2 * p0 + 2 * q0 + q1 + 4) >> 3);
            q[-2 * a] = static_cast<T>((p2 + p1 + p0 + q0 + 2) >> 2);
            q[-3 * a] = static_cast<T>((2 * p3 + 3 * p2 + p1 + p0 + q0 + 4) >> 3);
        } else {
            q[-a] = static_cast<T>((2 * p1 + p0 + q1 + 2) >> 2);
        }
        if (small && aq) {
            q[0] = static_cast<T>((p1 + 2 * p0 + 2 * q0 + 2 * q1 + q2 + 4) >> 3);
            q[a] = static_cast<T>((p0 + q0 + q1 + q2 + 2) >> 2);
            q[2 * a] = static_cast<T>((2 * q3 + 3 * q2 + q1 + q0 + p0 + 4) >> 3);
        } else {
            q[0] = static_cast<T>((2 * q1 + q0 + p1 + 2) >> 2);
        }
    }
}

// The four edges of one direction: vertical edges at x = 0, 4, 8, 12 or
// horizontal ones at y = 0, 4, 8, 12; `step` in samples.
template <class T, bool Vertical>
void deblock_luma(T* p, ptrdiff_t step, const T* alpha, const T* beta, const T* tc0, const Zep8u* bs, int maxVal) {
    const ptrdiff_t across = Vertical ? 1 : step, along = Vertical ? step : 1;
    for (int e = 0; e < 4; ++e) {
        const Zep8u* b = bs + 4 * e;
        if ((b[0] | b[1] | b[2] | b[3]) == 0) continue;
        const int al = alpha[e > 0], be = beta[e > 0];
        T* edge = p + 4 * e * across;
        for (int i = 0; i < 16; ++i) {
            const int bS = b[i >> 2];
            if (bS == 0) continue;
            deblock_line(edge + i * along, across, al, be, bS, tc0[4 * e + (i >> 2)], maxVal);
        }
    }
}

template <bool Vertical>
void deblock_luma_8u(Zep8u* p, Zep32s step, const Zep8u* alpha, const Zep8u* beta, const Zep8u* tc0, const Zep8u* bs) {
    deblock_luma<Zep8u, Vertical>(p, step, alpha, beta, tc0, bs, 255);
}

template <bool Vertical>
void deblock_luma_16u(Zep16u* p, Zep32s step, const Zep16u* alpha, const Zep16u* beta, const Zep16u* tc0,
                      const Zep8u* bs, int maxVal) {
    deblock_luma<Zep16u, Vertical>(p, step, alpha, beta, tc0, bs, maxVal);
}

// One chroma line across an edge: only p0 and q0 change; the normal filter
// clips to tC0 + 1, the strong one blends with the second sample of the other side.
template <class T>
void deblock_chroma_line(T* q, ptrdiff_t a, int alpha, int beta, int bS, int tc0, int maxVal) {
    const int p0 = q[-a], p1 = q[-2 * a], q0 = q[0], q1 = q[a];
    if (!(std::abs(p0 - q0) < alpha && std::abs(p1 - p0) < beta && std::abs(q1 - q0) < beta)) return;
    if (bS < 4) {
        const int tc = tc0 + 1;
        const int d = deblock_clip3(-tc, tc, ((q0 - p0) * 4 + (p1 - q1) + 4) >> 3);
        q[-a] = static_cast<T>(deblock_clip3(0, maxVal, p0 + d));
        q[0] = static_cast<T>(deblock_clip3(0, maxVal, q0 - d));
    } else if (bS == 4) {
        q[-a] = static_cast<T>((2 * p1 + p0 + q1 + 2) >> 2);
        q[0] = static_cast<T>((2 * q1 + q0 + p1 + 2) >> 2);
    }
}

// Chroma edges of one direction of a macroblock's chroma block (8x8 for
// 4:2:0, 8 wide and 16 high for 4:2:2). Strengths and tC0 come in the luma
// layout (entry 4e + s: luma edge e, segment s); chroma edge k lies 4k samples
// in and takes luma edge 2k, except the four horizontal 4:2:2 edges, which
// take luma edges 0..3. A line takes the segment of the luma line it sits on.
template <class T, bool Vertical, bool Is422>
void deblock_chroma(T* p, ptrdiff_t step, const T* alpha, const T* beta, const T* tc0, const Zep8u* bs, int maxVal) {
    constexpr int kEdges = Is422 && !Vertical ? 4 : 2;
    constexpr int kLinesPerSeg = Is422 && Vertical ? 4 : 2;
    const ptrdiff_t across = Vertical ? 1 : step, along = Vertical ? step : 1;
    for (int k = 0; k < kEdges; ++k) {
        const int e = kEdges == 4 ? k : 2 * k;
        for (int i = 0; i < 4 * kLinesPerSeg; ++i) {
            const int s = 4 * e + i / kLinesPerSeg;
            if (bs[s] == 0) continue;
            deblock_chroma_line(p + 4 * k * across + i * along, across, alpha[k > 0], beta[k > 0], bs[s], tc0[s], maxVal);
        }
    }
}

template <bool Vertical, bool Is422>
void deblock_chroma_8u(Zep8u* p, Zep32s step, const Zep8u* alpha, const Zep8u* beta, const Zep8u* tc0,
                       const Zep8u* bs) {
    deblock_chroma<Zep8u, Vertical, Is422>(p, step, alpha, beta, tc0, bs, 255);
}

template <bool Vertical, bool Is422>
void deblock_chroma_16u(Zep16u* p, Zep32s step, const Zep16u* alpha, const Zep16u* beta, const Zep16u* tc0,
                        const Zep8u* bs, int maxVal) {
    deblock_chroma<Zep16u, Vertical, Is422>(p, step, alpha, beta, tc0, bs, maxVal);
}

// MBAFF left edges: the vertical edge x = 0 of 8 luma lines (bs[k], tc0[k]
// for lines 2k and 2k + 1) or 4 chroma lines (bs[k], tc0[k] for line k), with
// alpha[0] and beta[0].
template <bool Chroma>
void deblock_mbaff_8u(Zep8u* p, Zep32s step, const Zep8u* alpha, const Zep8u* beta, const Zep8u* tc0,
                      const Zep8u* bs) {
    for (int i = 0; i < (Chroma ? 4 : 8); ++i) {
        const int k = Chroma ? i : i >> 1;
        if (bs[k] == 0) continue;
        Zep8u* q = p + static_cast<ptrdiff_t>(i) * step;
        if constexpr (Chroma) deblock_chroma_line(q, 1, alpha[0], beta[0], bs[k], tc0[k], 255);
        else deblock_line(q, 1, alpha[0], beta[0], bs[k], tc0[k], 255);
    }
}

}  // namespace zep::ref
