// Scalar references of the H.261 loop filter and the H.263 Annex J deblocking filter.
#pragma once

#include <cstddef>

#include "common/saturate.h"
#include "mpeg4/filter_dsp.h"

namespace zep::ref {

inline void loop_filter(Zep8u* p, Zep32s step) {
    int v[8][8];  // vertical pass, scaled by 4
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            const auto at = [&](int yy) { return static_cast<int>(p[static_cast<ptrdiff_t>(yy) * step + x]); };
            v[y][x] = (y == 0 || y == 7) ? 4 * at(y) : at(y - 1) + 2 * at(y) + at(y + 1);
        }
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            const int h = (x == 0 || x == 7) ? 4 * v[y][x] : v[y][x - 1] + 2 * v[y][x] + v[y][x + 1];
            p[static_cast<ptrdiff_t>(y) * step + x] = static_cast<Zep8u>((h + 8) >> 4);
        }
}

// Integer division truncating toward zero, as H.263 writes "/".
inline int div0(int a, int b) { return a / b; }

// sign(x) max(0, |x| - max(0, 2 (|x| - S))): full correction for small
// differences, falling to none at twice the strength.
inline int updown_ramp(int x, int strength) {
    const int a = x < 0 ? -x : x;
    const int over = 2 * (a - strength) > 0 ? 2 * (a - strength) : 0;
    const int m = a - over > 0 ? a - over : 0;
    return x < 0 ? -m : m;
}

// One edge position: A B | C D at p - 2 across, p - across, p, p + across.
inline void deblock_position(Zep8u* p, Zep32s across, int strength) {
    const int A = p[-2 * across], B = p[-across], C = p[0], D = p[across];
    const int d = div0(A - 4 * B + 4 * C - D, 8);
    const int d1 = updown_ramp(d, strength);
    const int lim = div0(d1, 2) < 0 ? -div0(d1, 2) : div0(d1, 2);
    int d2 = div0(A - D, 4);
    d2 = d2 < -lim ? -lim : (d2 > lim ? lim : d2);
    p[-2 * across] = clip_u8(A - d2);
    p[-across] = clip_u8(B + d1);
    p[0] = clip_u8(C - d1);
    p[across] = clip_u8(D + d2);
}

inline void deblock_edge(Zep8u* p, Zep32s across, Zep32s along, int strength) {
    for (int i = 0; i < 8; ++i) deblock_position(p + static_cast<ptrdiff_t>(i) * along, across, strength);
}

}  // namespace zep::ref
