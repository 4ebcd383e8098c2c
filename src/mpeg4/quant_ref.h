// Scalar references of the MPEG-4 / H.263 inverse quantisation kernels.
#pragma once

#include <cstdint>

#include "mpeg4/quant_dsp.h"

namespace zep::ref {

inline int clampi(int64_t v, int lo, int hi) { return static_cast<int>(v < lo ? lo : (v > hi ? hi : v)); }

inline void inv_h263(Zep16s* c, int first, int last, int qp) {
    const int odd = (qp & 1) ? qp : qp - 1;
    for (int i = first; i <= last; ++i) {
        const int l = c[i];
        if (l == 0) continue;
        const int64_t m = int64_t{2} * qp * (l < 0 ? -l : l) + odd;
        c[i] = static_cast<Zep16s>(clampi(l < 0 ? -m : m, -2048, 2047));
    }
}

template <bool Intra>
int32_t inv_matrix(Zep16s* c, const Zep16u* w, int first, int last, int qp, int lo, int hi) {
    int32_t sum = 0;
    for (int i = first; i <= last; ++i) {
        const int l = c[i];
        if (l == 0) continue;
        const int64_t t = int64_t{w[i]} * qp * (Intra ? 2 * l : 2 * l + (l > 0 ? 1 : -1));
        const int64_t v = t / 16;  // toward zero
        const int r = clampi(v, lo, hi);
        c[i] = static_cast<Zep16s>(r);
        sum += r;
    }
    return sum;
}

}  // namespace zep::ref
