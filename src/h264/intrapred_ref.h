// Scalar references of the H.264 intra predictors (4x4, 8x8 with reference
// filtering, 16x16, chroma 8x8 and 8x16), written from the standard's
// equations. Callers have already refused modes whose neighbours are missing.
#pragma once

#include <cstddef>

#include "common/saturate.h"
#include "h264/intrapred_dsp.h"

namespace zep::ref {

inline const Zep8u* prow(const Zep8u* p, Zep32s step, int y) { return p + static_cast<ptrdiff_t>(step) * y; }
inline Zep8u* prow(Zep8u* p, Zep32s step, int y) { return p + static_cast<ptrdiff_t>(step) * y; }

// Reference samples of an N x N luma block: top[0..2N-1] (the above-right half
// replaced by top[N-1] when it is missing), left[0..N-1], corner.
template <int N>
struct LumaRefs {
    int top[2 * N], left[N], corner;
    LumaRefs(const Zep8u* p, Zep32s step, Nbr n) : top(), left(), corner(0) {
        const Zep8u* above = prow(p, step, -1);
        if (n.top)
            for (int x = 0; x < 2 * N; ++x) top[x] = (x < N || n.topRight) ? above[x] : above[N - 1];
        if (n.left)
            for (int y = 0; y < N; ++y) left[y] = prow(p, step, y)[-1];
        if (n.topLeft) corner = above[-1];
    }
    // p[x, -1] and p[-1, y] with index -1 meaning the corner.
    int t(int x) const { return x < 0 ? corner : top[x]; }
    int l(int y) const { return y < 0 ? corner : left[y]; }
};

// The 8x8 reference-sample filter: [1 2 1] along the edges, with the end and
// corner rules for missing neighbours.
inline LumaRefs<8> filter8x8(const LumaRefs<8>& r, Nbr n) {
    LumaRefs<8> f = r;
    auto f3 = [](int a, int b, int c) { return (a + 2 * b + c + 2) >> 2; };
    if (n.top) {
        f.top[0] = n.topLeft ? f3(r.corner, r.top[0], r.top[1]) : (3 * r.top[0] + r.top[1] + 2) >> 2;
        for (int x = 1; x < 15; ++x) f.top[x] = f3(r.top[x - 1], r.top[x], r.top[x + 1]);
        f.top[15] = (r.top[14] + 3 * r.top[15] + 2) >> 2;
    }
    if (n.topLeft) {
        if (n.top && n.left) f.corner = f3(r.top[0], r.corner, r.left[0]);
        else if (n.top) f.corner = (3 * r.corner + r.top[0] + 2) >> 2;
        else if (n.left) f.corner = (3 * r.corner + r.left[0] + 2) >> 2;
    }
    if (n.left) {
        f.left[0] = n.topLeft ? f3(r.corner, r.left[0], r.left[1]) : (3 * r.left[0] + r.left[1] + 2) >> 2;
        for (int y = 1; y < 7; ++y) f.left[y] = f3(r.left[y - 1], r.left[y], r.left[y + 1]);
        f.left[7] = (r.left[6] + 3 * r.left[7] + 2) >> 2;
    }
    return f;
}

// The nine directional modes shared by 4x4 and 8x8 blocks.
template <int N>
void pred_nxn(Zep8u* p, Zep32s step, unsigned mode, const LumaRefs<N>& r, Nbr n) {
    auto f2 = [](int a, int b) { return (a + b + 1) >> 1; };
    auto f3 = [](int a, int b, int c) { return (a + 2 * b + c + 2) >> 2; };
    int dc = 128;
    if (mode == 2) {
        int st = 0, sl = 0;
        for (int i = 0; i < N; ++i) st += r.top[i], sl += r.left[i];
        constexpr int sh = N == 4 ? 2 : 3;
        if (n.top && n.left) dc = (st + sl + N) >> (sh + 1);
        else if (n.top) dc = (st + N / 2) >> sh;
        else if (n.left) dc = (sl + N / 2) >> sh;
    }
    constexpr int last = 2 * N - 1;        // the last sample above(-right)
    constexpr int huEnd = 2 * N - 3;       // zHU at which horizontal-up reaches the last left sample
    for (int y = 0; y < N; ++y)
        for (int x = 0; x < N; ++x) {
            int v;
            switch (mode) {
                case 0: v = r.top[x]; break;
                case 1: v = r.left[y]; break;
                case 2: v = dc; break;
                case 3:
                    v = (x == N - 1 && y == N - 1) ? (r.top[last - 1] + 3 * r.top[last] + 2) >> 2
                                                   : f3(r.top[x + y], r.top[x + y + 1], r.top[x + y + 2]);
                    break;
                case 4:
                    if (x > y) v = f3(r.t(x - y - 2), r.t(x - y - 1), r.t(x - y));
                    else if (x < y) v = f3(r.l(y - x - 2), r.l(y - x - 1), r.l(y - x));
                    else v = f3(r.t(0), r.corner, r.l(0));
                    break;
                case 5: {
                    const int z = 2 * x - y, i = x - (y >> 1);
                    if (z >= 0 && !(z & 1)) v = f2(r.t(i - 1), r.t(i));
                    else if (z >= 0) v = f3(r.t(i - 2), r.t(i - 1), r.t(i));
                    else if (z == -1) v = f3(r.l(0), r.corner, r.t(0));
                    else v = f3(r.l(y - 2 * x - 1), r.l(y - 2 * x - 2), r.l(y - 2 * x - 3));
                    break;
                }
                case 6: {
                    const int z = 2 * y - x, j = y - (x >> 1);
                    if (z >= 0 && !(z & 1)) v = f2(r.l(j - 1), r.l(j));
                    else if (z >= 0) v = f3(r.l(j - 2), r.l(j - 1), r.l(j));
                    else if (z == -1) v = f3(r.l(0), r.corner, r.t(0));
                    else v = f3(r.t(x - 2 * y - 1), r.t(x - 2 * y - 2), r.t(x - 2 * y - 3));
                    break;
                }
                case 7: {
                    const int i = x + (y >> 1);
                    v = (y & 1) ? f3(r.top[i], r.top[i + 1], r.top[i + 2]) : f2(r.top[i], r.top[i + 1]);
                    break;
                }
                default: {
                    const int z = x + 2 * y, j = y + (x >> 1);
                    if (z > huEnd) v = r.left[N - 1];
                    else if (z == huEnd) v = (r.left[N - 2] + 3 * r.left[N - 1] + 2) >> 2;
                    else if (z & 1) v = f3(r.left[j], r.left[j + 1], r.left[j + 2]);
                    else v = f2(r.left[j], r.left[j + 1]);
                    break;
                }
            }
            prow(p, step, y)[x] = static_cast<Zep8u>(v);
        }
}

inline void pred4x4(Zep8u* p, Zep32s step, unsigned mode, Nbr n) { pred_nxn<4>(p, step, mode, LumaRefs<4>(p, step, n), n); }
inline void pred8x8(Zep8u* p, Zep32s step, unsigned mode, Nbr n) {
    pred_nxn<8>(p, step, mode, filter8x8(LumaRefs<8>(p, step, n), n), n);
}

// ---- 16x16 and chroma: the kernel-table forms (avail: kAvailLeft | kAvailTop)

inline void fill_block(Zep8u* p, Zep32s step, int w, int h, int v) {
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) prow(p, step, y)[x] = static_cast<Zep8u>(v);
}

template <int W, int H>
void pred_vertical(Zep8u* p, Zep32s step, unsigned) {
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x) prow(p, step, y)[x] = prow(p, step, -1)[x];
}
template <int W, int H>
void pred_horizontal(Zep8u* p, Zep32s step, unsigned) {
    for (int y = 0; y < H; ++y) {
        const Zep8u v = prow(p, step, y)[-1];
        for (int x = 0; x < W; ++x) prow(p, step, y)[x] = v;
    }
}

inline void pred16_dc(Zep8u* p, Zep32s step, unsigned avail) {
    int st = 0, sl = 0;
    for (int i = 0; i < 16; ++i) {
        if (avail & kAvailTop) st += prow(p, step, -1)[i];
        if (avail & kAvailLeft) sl += prow(p, step, i)[-1];
    }
    int dc = 128;
    if ((avail & kAvailTop) && (avail & kAvailLeft)) dc = (st + sl + 16) >> 5;
    else if (avail & kAvailTop) dc = (st + 8) >> 4;
    else if (avail & kAvailLeft) dc = (sl + 8) >> 4;
    fill_block(p, step, 16, 16, dc);
}

// Plane prediction of a W x H block (16x16 luma, 8x8 or 8x16 chroma).
template <int W, int H>
void pred_plane(Zep8u* p, Zep32s step, unsigned) {
    const Zep8u* above = prow(p, step, -1);
    auto left = [&](int y) { return static_cast<int>(prow(p, step, y)[-1]); };  // y = -1: the corner
    int hs = 0, vs = 0;
    for (int i = 0; i < W / 2; ++i) hs += (i + 1) * (above[W / 2 + i] - above[W / 2 - 2 - i]);
    for (int j = 0; j < H / 2; ++j) vs += (j + 1) * (left(H / 2 + j) - left(H / 2 - 2 - j));
    // 16x16: (5x + 32) >> 6 on both; chroma: 34 for an 8-sample side, 5 for 16 (4:2:2 height).
    const int bw = W == 16 ? 5 : 34, bh = H == 16 ? 5 : 34;
    const int a = 16 * (left(H - 1) + above[W - 1]);
    const int b = (bw * hs + 32) >> 6, c = (bh * vs + 32) >> 6;
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x)
            prow(p, step, y)[x] = clip_u8((a + b * (x - (W / 2 - 1)) + c * (y - (H / 2 - 1)) + 16) >> 5);
}

// Chroma DC: one value per 4x4 block, from the edge samples beside it; the
// blocks of the top row prefer the row above, those of the left column the
// column to the left, the others (and the corner block) average both.
template <int H>
void pred_chroma_dc(Zep8u* p, Zep32s step, unsigned avail) {
    const bool top = avail & kAvailTop, left = avail & kAvailLeft;
    for (int by = 0; by < H / 4; ++by)
        for (int bx = 0; bx < 2; ++bx) {
            int st = 0, sl = 0;
            for (int i = 0; i < 4; ++i) {
                if (top) st += prow(p, step, -1)[4 * bx + i];
                if (left) sl += prow(p, step, 4 * by + i)[-1];
            }
            int dc = 128;
            const bool preferTop = bx > 0 && by == 0, preferLeft = bx == 0 && by > 0;
            if (preferTop) dc = top ? (st + 2) >> 2 : (left ? (sl + 2) >> 2 : 128);
            else if (preferLeft) dc = left ? (sl + 2) >> 2 : (top ? (st + 2) >> 2 : 128);
            else if (top && left) dc = (st + sl + 4) >> 3;
            else if (left) dc = (sl + 2) >> 2;
            else if (top) dc = (st + 2) >> 2;
            fill_block(prow(p, step, 4 * by) + 4 * bx, step, 4, 4, dc);
        }
}

}  // namespace zep::ref
