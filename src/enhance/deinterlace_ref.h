// Scalar reference of the edge-directed deinterlacer's interior samples.
#pragma once

#include "enhance/deinterlace_dsp.h"

namespace zep::ref {

inline int deint_sample(const Zep8u* a, const Zep8u* b, int x) {
    auto ad = [](int p, int q) { return p > q ? p - q : q - p; };
    auto avg = [](int p, int q) { return (p + q + 1) >> 1; };
    const int dL = ad(a[x - 1], b[x + 1]), dR = ad(a[x + 1], b[x - 1]), dV = ad(a[x], b[x]);
    if (dL < dR) return dL < dV ? avg(a[x - 1], b[x + 1]) : avg(a[x], b[x]);
    return dR < dV ? avg(a[x + 1], b[x - 1]) : avg(a[x], b[x]);
}

inline void deint_row(const Zep8u* a, const Zep8u* b, Zep8u* d, int width) {
    for (int x = 1; x < width - 1; ++x) d[x] = static_cast<Zep8u>(deint_sample(a, b, x));
}

}  // namespace zep::ref
