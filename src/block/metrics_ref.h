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

// Reference sample of a half-sample mode (0 integer, 1 below, 2 right, 3 both),
// rounded up: (a + b + 1) >> 1 and (a + b + c + d + 2) >> 2.
template <int Mode, class T>
inline int hp_sample(const T* r0, const T* r1, int x) {
    if constexpr (Mode == 0) return r0[x];
    else if constexpr (Mode == 1) return (r0[x] + r1[x] + 1) >> 1;
    else if constexpr (Mode == 2) return (r0[x] + r0[x + 1] + 1) >> 1;
    else return (r0[x] + r0[x + 1] + r1[x] + r1[x + 1] + 2) >> 2;
}

template <int W, int H, int Mode, class T = Zep8u>
Zep32s sad(const T* src, Zep32s srcStep, const T* refp, Zep32s refStep) {
    Zep32s sum = 0;
    for (int y = 0; y < H; ++y) {
        const T* s = row(src, srcStep, y);
        const T* r0 = row(refp, refStep, y);
        const T* r1 = row(refp, refStep, y + 1);
        for (int x = 0; x < W; ++x) sum += std::abs(static_cast<int>(s[x]) - hp_sample<Mode>(r0, r1, x));
    }
    return sum;
}

template <int W, int H, int Mode>
void sad_8u(const Zep8u* src, Zep32s srcStep, const Zep8u* refp, Zep32s refStep, Zep32s* out) {
    *out = sad<W, H, Mode>(src, srcStep, refp, refStep);
}

}  // namespace zep::ref
