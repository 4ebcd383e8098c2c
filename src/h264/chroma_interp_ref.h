// Scalar reference of the H.264 chroma interpolation: each output sample is
// the bilinear blend of the four integer samples around it, weighted by the
// eighth-sample distances, rounded by 32 and divided by 64.
#pragma once

#include <cstddef>

#include "zepvc_types.h"

namespace zep::ref {

template <class T, int W>
void interp_chroma(const T* src, Zep32s srcStep, T* dst, Zep32s dstStep, int dx, int dy, int height) {
    const int wA = (8 - dx) * (8 - dy), wB = dx * (8 - dy), wC = (8 - dx) * dy, wD = dx * dy;
    for (int y = 0; y < height; ++y) {
        const T* s0 = src + static_cast<ptrdiff_t>(y) * srcStep;
        const T* s1 = s0 + srcStep;
        T* d = dst + static_cast<ptrdiff_t>(y) * dstStep;
        for (int x = 0; x < W; ++x)
            d[x] = static_cast<T>((wA * s0[x] + wB * s0[x + 1] + wC * s1[x] + wD * s1[x + 1] + 32) >> 6);
    }
}

}  // namespace zep::ref
