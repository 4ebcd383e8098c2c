// Scalar reference of the MPEG-4 quarter-sample luma interpolation: the
// block's half-sample grid first, then every output sample by bilinear
// interpolation on that grid.
#pragma once

#include <cstddef>

#include "common/saturate.h"
#include "mpeg4/qpel_dsp.h"
#include "zepvc_types.h"

namespace zep::ref {

// Taps of the half-sample filter [-1 3 -6 20 20 -6 3 -1] / 32 on either side
// of the position, nearest first.
inline constexpr int kQpelTaps[4] = {20, -6, 3, -1};

// Half sample between samples i and i + 1 of a line of n + 1 samples lying
// `stride` apart.
inline Zep8u qpel_half(const Zep8u* line, ptrdiff_t stride, int i, int n, int rc) {
    int sum = 0;
    for (int k = 0; k < 4; ++k)
        sum += kQpelTaps[k] * (line[qpel_mirror(i - k, n) * stride] + line[qpel_mirror(i + 1 + k, n) * stride]);
    return clip_u8((sum + 16 - rc) >> 5);
}

template <int N, int DX, int DY>
void qpel(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep, int rc) {
    constexpr int G = 2 * N + 1;
    // g[2y + j][2x + i]: the integer sample (x, y) for i = j = 0, the half
    // samples right of it (i = 1), below it (j = 1) and diagonally (both).
    // Only the columns and rows the fraction reaches are filled: output x
    // lies between grid columns floor((4x + DX) / 2) and ceil((4x + DX) / 2).
    Zep8u g[G][G];
    constexpr bool oddCols = DX != 0, evenCols = DX != 2, oddRows = DY != 0;
    for (int y = 0; y <= N; ++y) {
        const Zep8u* row = src + static_cast<ptrdiff_t>(y) * srcStep;
        for (int x = 0; x <= N; ++x) g[2 * y][2 * x] = row[x];
        if (oddCols)
            for (int x = 0; x < N; ++x) g[2 * y][2 * x + 1] = qpel_half(row, 1, x, N, rc);
    }
    // Vertical halves of the grid's even rows: the centre samples come from
    // the clipped horizontal halves.
    if (oddRows)
        for (int c = 0; c < G; ++c) {
            if ((c & 1) ? !oddCols : !evenCols) continue;
            for (int y = 0; y < N; ++y) g[2 * y + 1][c] = qpel_half(&g[0][c], 2 * G, y, N, rc);
        }
    for (int y = 0; y < N; ++y)
        for (int x = 0; x < N; ++x) {
            const int x0 = (4 * x + DX) >> 1, x1 = (4 * x + DX + 1) >> 1;
            const int y0 = (4 * y + DY) >> 1, y1 = (4 * y + DY + 1) >> 1;
            int v;
            if (x0 == x1 && y0 == y1) v = g[y0][x0];
            else if (y0 == y1) v = (g[y0][x0] + g[y0][x1] + 1 - rc) >> 1;
            else if (x0 == x1) v = (g[y0][x0] + g[y1][x0] + 1 - rc) >> 1;
            else v = (g[y0][x0] + g[y0][x1] + g[y1][x0] + g[y1][x1] + 2 - rc) >> 2;
            dst[static_cast<ptrdiff_t>(y) * dstStep + x] = static_cast<Zep8u>(v);
        }
}

}  // namespace zep::ref
