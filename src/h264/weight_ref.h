// Scalar reference of the H.264 weighted prediction.
#pragma once

#include <cstddef>

#include "h264/weight_dsp.h"

namespace zep::ref {

inline Zep8u weight_sample(int a, int b, const WeightParams& w) {
    const int v = ((a * w.w1 + b * w.w2 + w.round) >> w.shift) + w.offset;
    return static_cast<Zep8u>(v < 0 ? 0 : (v > 255 ? 255 : v));
}

inline void weight_any(const Zep8u* a, Zep32s aStep, const Zep8u* b, Zep32s bStep, Zep8u* dst, Zep32s dstStep,
                       const WeightParams& w, int width, int height) {
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const ptrdiff_t ya = static_cast<ptrdiff_t>(y);
            dst[ya * dstStep + x] = weight_sample(a[ya * aStep + x], b[ya * bStep + x], w);
        }
}

template <int W, int H>
void weight_block(const Zep8u* a, Zep32s aStep, const Zep8u* b, Zep32s bStep, Zep8u* dst, Zep32s dstStep,
                  const WeightParams& w) {
    weight_any(a, aStep, b, bStep, dst, dstStep, w, W, H);
}

}  // namespace zep::ref
