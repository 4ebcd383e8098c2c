// Scalar reference of the high-bit-depth H.264 weighted prediction.
#pragma once

#include <cstddef>

#include "h264/weight16_dsp.h"

namespace zep::ref {

template <int W>
void weight16_block(const Zep16u* a, Zep32s aStep, const Zep16u* b, Zep32s bStep, Zep16u* dst, Zep32s dstStep,
                    const Weight16Params& w, int height) {
    for (int y = 0; y < height; ++y) {
        const ptrdiff_t yy = y;
        for (int x = 0; x < W; ++x) {
            const int v = ((a[yy * aStep + x] * w.w1 + b[yy * bStep + x] * w.w2 + w.round) >> w.shift) + w.offset;
            dst[yy * dstStep + x] = static_cast<Zep16u>(v < 0 ? 0 : (v > w.maxVal ? w.maxVal : v));
        }
    }
}

}  // namespace zep::ref
