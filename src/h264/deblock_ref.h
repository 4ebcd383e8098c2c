// Scalar reference of the H.264 luma deblocking filter, line by line.
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

}  // namespace zep::ref
