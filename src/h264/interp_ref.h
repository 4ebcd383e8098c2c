// Scalar reference kernels of the H.264 luma interpolation: every output
// sample is formed on its own from the integer samples, as the standard's
// equations name them (G integer, b/h half, j centre, the rest averages).
#pragma once

#include <cstddef>

#include "zepvc_types.h"

namespace zep::ref {

template <class T>
struct LumaSampler {
    const T* p;
    ptrdiff_t step;  // in samples
    int maxVal;

    int clip(int v) const { return v < 0 ? 0 : (v > maxVal ? maxVal : v); }
    int G(int x, int y) const { return p[static_cast<ptrdiff_t>(y) * step + x]; }
    static int tap6(int a, int b, int c, int d, int e, int f) { return a - 5 * b + 20 * c + 20 * d - 5 * e + f; }
    // Unrounded half samples between (x, y) and (x + 1, y), and (x, y + 1).
    int b1(int x, int y) const { return tap6(G(x - 2, y), G(x - 1, y), G(x, y), G(x + 1, y), G(x + 2, y), G(x + 3, y)); }
    int h1(int x, int y) const { return tap6(G(x, y - 2), G(x, y - 1), G(x, y), G(x, y + 1), G(x, y + 2), G(x, y + 3)); }
    int b(int x, int y) const { return clip((b1(x, y) + 16) >> 5); }
    int h(int x, int y) const { return clip((h1(x, y) + 16) >> 5); }
    int j(int x, int y) const {
        return clip((tap6(b1(x, y - 2), b1(x, y - 1), b1(x, y), b1(x, y + 1), b1(x, y + 2), b1(x, y + 3)) + 512) >> 10);
    }
    static int avg(int u, int v) { return (u + v + 1) >> 1; }

    // Sample at quarter position (dx, dy) right of / below integer sample (x, y).
    int at(int x, int y, int dx, int dy) const {
        switch (dy * 4 + dx) {
            case 0: return G(x, y);
            case 1: return avg(G(x, y), b(x, y));          // a
            case 2: return b(x, y);                        // b
            case 3: return avg(G(x + 1, y), b(x, y));      // c
            case 4: return avg(G(x, y), h(x, y));          // d
            case 5: return avg(b(x, y), h(x, y));          // e
            case 6: return avg(b(x, y), j(x, y));          // f
            case 7: return avg(b(x, y), h(x + 1, y));      // g
            case 8: return h(x, y);                        // h
            case 9: return avg(h(x, y), j(x, y));          // i
            case 10: return j(x, y);                       // j
            case 11: return avg(j(x, y), h(x + 1, y));     // k
            case 12: return avg(G(x, y + 1), h(x, y));     // n
            case 13: return avg(h(x, y), b(x, y + 1));     // p
            case 14: return avg(j(x, y), b(x, y + 1));     // q
            default: return avg(h(x + 1, y), b(x, y + 1)); // r
        }
    }
};

template <int W, int DX, int DY>
void interp_luma_8u(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep, int height) {
    const LumaSampler<Zep8u> s{src, srcStep, 255};
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < W; ++x)
            dst[static_cast<ptrdiff_t>(y) * dstStep + x] = static_cast<Zep8u>(s.at(x, y, DX, DY));
}

template <int W, int DX, int DY>
void interp_luma_16u(const Zep16u* src, Zep32s srcStep, Zep16u* dst, Zep32s dstStep, int height, int maxVal) {
    const LumaSampler<Zep16u> s{src, srcStep, maxVal};
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < W; ++x)
            dst[static_cast<ptrdiff_t>(y) * dstStep + x] = static_cast<Zep16u>(s.at(x, y, DX, DY));
}

}  // namespace zep::ref
