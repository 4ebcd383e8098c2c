// Scalar reference of the AVS weighted prediction.
#pragma once

#include <cstddef>
#include <cstdint>

#include "avs/weight_dsp.h"
#include "common/saturate.h"

namespace zep::ref {

inline Zep8u avs_weight_sample(int x, Zep16u scale, Zep16s offset) {
    const uint16_t t = static_cast<uint16_t>(x * scale + 16);  // product and sum wrap at 16 bits
    return clip_u8(sat_s16(static_cast<int>(t >> 5) + offset));
}

template <int W>
void avs_weight(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep, Zep16u scale, Zep16s offset, int rows) {
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < W; ++x)
            dst[static_cast<ptrdiff_t>(y) * dstStep + x] =
                avs_weight_sample(src[static_cast<ptrdiff_t>(y) * srcStep + x], scale, offset);
}

}  // namespace zep::ref
