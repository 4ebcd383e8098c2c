// Scalar reference kernels of block compensation and block differences: the
// definition of the arithmetic, the fallback on every CPU and the oracle of the
// tests. Widths, heights, half-sample modes and roundings are template
// parameters so each size and mode is one instantiation of the same code.
#pragma once

#include <cstddef>
#include <type_traits>

#include "common/saturate.h"
#include "zepvc_types.h"

namespace zep::ref {

// Row y of a picture with a byte step, for any sample type.
template <class T>
inline T* mc_row(T* p, Zep32s step, int y) {
    using B = std::conditional_t<std::is_const_v<T>, const Zep8u, Zep8u>;
    return reinterpret_cast<T*>(reinterpret_cast<B*>(p) + static_cast<ptrdiff_t>(step) * y);
}

// Prediction sample of a half-sample mode. Mode: 0 integer, 1 average with the
// sample below, 2 with the sample D bytes to the right (D = 2 for interleaved
// Cb/Cr, so the neighbour is the same channel), 3 of all four. Rnd 0 rounds up,
// (a+b+1)>>1 and (a+b+c+d+2)>>2; Rnd 1 rounds down, (a+b)>>1 and (a+b+c+d+1)>>2.
template <int Mode, int D = 1>
inline int hp_pred(const Zep8u* r0, const Zep8u* r1, int x, int rnd) {
    if constexpr (Mode == 0) return r0[x];
    else if constexpr (Mode == 1) return (r0[x] + r1[x] + 1 - rnd) >> 1;
    else if constexpr (Mode == 2) return (r0[x] + r0[x + D] + 1 - rnd) >> 1;
    else return (r0[x] + r0[x + D] + r1[x] + r1[x + D] + 2 - rnd) >> 2;
}

// Prediction plus residual: widened to 16 bits, added with 16-bit signed
// saturation, packed to 0..255.
inline Zep8u add_residual(int pred, int res) { return clip_u8(sat_s16(pred + res)); }

// Bidirectional prediction: rounded mean of the two half-sample predictions,
// each formed with the same rounding control.
template <int ModeF, int ModeB, int D = 1>
inline int bi_pred(const Zep8u* f0, const Zep8u* f1, const Zep8u* b0, const Zep8u* b1, int x, int rnd) {
    return (hp_pred<ModeF, D>(f0, f1, x, rnd) + hp_pred<ModeB, D>(b0, b1, x, rnd) + 1) >> 1;
}

// ---- Compensation: prediction + residual -> 8u ----

template <int W, int Mode, int D = 1>
void mc(const Zep8u* ref, Zep32s refStep, const Zep16s* res, Zep32s resStep, Zep8u* dst, Zep32s dstStep, int h,
        int rnd) {
    for (int y = 0; y < h; ++y) {
        const Zep8u* r0 = mc_row(ref, refStep, y);
        const Zep8u* r1 = mc_row(ref, refStep, y + 1);
        const Zep16s* e = mc_row(res, resStep, y);
        Zep8u* d = mc_row(dst, dstStep, y);
        for (int x = 0; x < W; ++x) d[x] = add_residual(hp_pred<Mode, D>(r0, r1, x, rnd), e[x]);
    }
}

// Table kernel: rounding fixed, height passed (tables shared between heights).
template <int W, int Mode, int Rnd, int D = 1>
void mc_h(const Zep8u* ref, Zep32s refStep, const Zep16s* res, Zep32s resStep, Zep8u* dst, Zep32s dstStep, int h) {
    mc<W, Mode, D>(ref, refStep, res, resStep, dst, dstStep, h, Rnd);
}

// Small-block kernel: size fixed, rounding passed.
template <int W, int H, int Mode>
void mc_small(const Zep8u* ref, Zep32s refStep, const Zep16s* res, Zep32s resStep, Zep8u* dst, Zep32s dstStep,
              int rnd) {
    mc<W, Mode>(ref, refStep, res, resStep, dst, dstStep, H, rnd);
}

template <int W, int MF, int MB, int D = 1>
void mc_bi(const Zep8u* rf, Zep32s fStep, const Zep8u* rb, Zep32s bStep, const Zep16s* res, Zep32s resStep,
           Zep8u* dst, Zep32s dstStep, int h, int rnd) {
    for (int y = 0; y < h; ++y) {
        const Zep8u *f0 = mc_row(rf, fStep, y), *f1 = mc_row(rf, fStep, y + 1);
        const Zep8u *b0 = mc_row(rb, bStep, y), *b1 = mc_row(rb, bStep, y + 1);
        const Zep16s* e = mc_row(res, resStep, y);
        Zep8u* d = mc_row(dst, dstStep, y);
        for (int x = 0; x < W; ++x) d[x] = add_residual(bi_pred<MF, MB, D>(f0, f1, b0, b1, x, rnd), e[x]);
    }
}

template <int W, int MF, int MB, int Rnd, int D = 1>
void mc_bi_h(const Zep8u* rf, Zep32s fStep, const Zep8u* rb, Zep32s bStep, const Zep16s* res, Zep32s resStep,
             Zep8u* dst, Zep32s dstStep, int h) {
    mc_bi<W, MF, MB, D>(rf, fStep, rb, bStep, res, resStep, dst, dstStep, h, Rnd);
}

template <int W, int H, int MF, int MB>
void mc_bi_small(const Zep8u* rf, Zep32s fStep, const Zep8u* rb, Zep32s bStep, const Zep16s* res, Zep32s resStep,
                 Zep8u* dst, Zep32s dstStep, int rnd) {
    mc_bi<W, MF, MB>(rf, fStep, rb, bStep, res, resStep, dst, dstStep, H, rnd);
}

// Interleaved chroma: 8 Cb/Cr pairs a row, residuals from two planes.
template <int Mode, int Rnd>
void mc_chroma(const Zep8u* ref, Zep32s refStep, const Zep16s* resU, const Zep16s* resV, Zep32s resStep, Zep8u* dst,
               Zep32s dstStep, int h) {
    for (int y = 0; y < h; ++y) {
        const Zep8u *r0 = mc_row(ref, refStep, y), *r1 = mc_row(ref, refStep, y + 1);
        const Zep16s *u = mc_row(resU, resStep, y), *v = mc_row(resV, resStep, y);
        Zep8u* d = mc_row(dst, dstStep, y);
        for (int x = 0; x < 8; ++x) {
            d[2 * x] = add_residual(hp_pred<Mode, 2>(r0, r1, 2 * x, Rnd), u[x]);
            d[2 * x + 1] = add_residual(hp_pred<Mode, 2>(r0, r1, 2 * x + 1, Rnd), v[x]);
        }
    }
}

template <int MF, int MB, int Rnd>
void mc_chroma_bi(const Zep8u* rf, Zep32s fStep, const Zep8u* rb, Zep32s bStep, const Zep16s* resU,
                  const Zep16s* resV, Zep32s resStep, Zep8u* dst, Zep32s dstStep, int h) {
    for (int y = 0; y < h; ++y) {
        const Zep8u *f0 = mc_row(rf, fStep, y), *f1 = mc_row(rf, fStep, y + 1);
        const Zep8u *b0 = mc_row(rb, bStep, y), *b1 = mc_row(rb, bStep, y + 1);
        const Zep16s *u = mc_row(resU, resStep, y), *v = mc_row(resV, resStep, y);
        Zep8u* d = mc_row(dst, dstStep, y);
        for (int x = 0; x < 8; ++x) {
            d[2 * x] = add_residual(bi_pred<MF, MB, 2>(f0, f1, b0, b1, 2 * x, Rnd), u[x]);
            d[2 * x + 1] = add_residual(bi_pred<MF, MB, 2>(f0, f1, b0, b1, 2 * x + 1, Rnd), v[x]);
        }
    }
}

// ---- Copies and averages of predictions ----

template <int W, int H, int Mode, int Rnd>
void copy_hp(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep) {
    for (int y = 0; y < H; ++y) {
        const Zep8u *r0 = mc_row(src, srcStep, y), *r1 = mc_row(src, srcStep, y + 1);
        Zep8u* d = mc_row(dst, dstStep, y);
        for (int x = 0; x < W; ++x) d[x] = static_cast<Zep8u>(hp_pred<Mode>(r0, r1, x, Rnd));
    }
}

// The prediction averaged into the destination, always rounding up (the
// bidirectional mean).
template <int W, int H, int Mode, int Rnd>
void interp_avg(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep) {
    for (int y = 0; y < H; ++y) {
        const Zep8u *r0 = mc_row(src, srcStep, y), *r1 = mc_row(src, srcStep, y + 1);
        Zep8u* d = mc_row(dst, dstStep, y);
        for (int x = 0; x < W; ++x) d[x] = static_cast<Zep8u>((d[x] + hp_pred<Mode>(r0, r1, x, Rnd) + 1) >> 1);
    }
}

template <int W, int H>
void copy(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep) {
    copy_hp<W, H, 0, 0>(src, srcStep, dst, dstStep);
}

template <int W, int H>
void average(const Zep8u* a, Zep32s aStep, const Zep8u* b, Zep32s bStep, Zep8u* dst, Zep32s dstStep) {
    for (int y = 0; y < H; ++y) {
        const Zep8u *pa = mc_row(a, aStep, y), *pb = mc_row(b, bStep, y);
        Zep8u* d = mc_row(dst, dstStep, y);
        for (int x = 0; x < W; ++x) d[x] = static_cast<Zep8u>((pa[x] + pb[x] + 1) >> 1);
    }
}

template <int W, int H>
void average_inplace(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep) {
    interp_avg<W, H, 0, 0>(src, srcStep, dst, dstStep);
}

// In-place residual and constant additions.
inline void add8x8(const Zep16s* res, Zep32s resStep, Zep8u* dst, Zep32s dstStep) {
    for (int y = 0; y < 8; ++y) {
        const Zep16s* e = mc_row(res, resStep, y);
        Zep8u* d = mc_row(dst, dstStep, y);
        for (int x = 0; x < 8; ++x) d[x] = add_residual(d[x], e[x]);
    }
}

inline void addc8x8(Zep8u* dst, Zep32s dstStep, int value) {
    for (int y = 0; y < 8; ++y) {
        Zep8u* d = mc_row(dst, dstStep, y);
        for (int x = 0; x < 8; ++x) d[x] = add_residual(d[x], value);
    }
}

// ---- Differences: current - prediction as 16s ----

template <int W, int H, int Mode>
void get_diff(const Zep8u* cur, Zep32s curStep, const Zep8u* ref, Zep32s refStep, Zep16s* diff, Zep32s diffStep,
              Zep8u* pred, Zep32s predStep, int rnd) {
    for (int y = 0; y < H; ++y) {
        const Zep8u *c = mc_row(cur, curStep, y), *r0 = mc_row(ref, refStep, y), *r1 = mc_row(ref, refStep, y + 1);
        Zep16s* d = mc_row(diff, diffStep, y);
        Zep8u* p = mc_row(pred, predStep, y);
        for (int x = 0; x < W; ++x) {
            int v = hp_pred<Mode>(r0, r1, x, rnd);
            p[x] = static_cast<Zep8u>(v);
            d[x] = static_cast<Zep16s>(c[x] - v);
        }
    }
}

// The one 4x4 kernel: mode and rounding both passed.
inline void get_diff4x4(const Zep8u* cur, Zep32s curStep, const Zep8u* ref, Zep32s refStep, Zep16s* diff,
                        Zep32s diffStep, Zep8u* pred, Zep32s predStep, int mode, int rnd) {
    switch (mode & 3) {
        case 0: get_diff<4, 4, 0>(cur, curStep, ref, refStep, diff, diffStep, pred, predStep, rnd); break;
        case 1: get_diff<4, 4, 1>(cur, curStep, ref, refStep, diff, diffStep, pred, predStep, rnd); break;
        case 2: get_diff<4, 4, 2>(cur, curStep, ref, refStep, diff, diffStep, pred, predStep, rnd); break;
        default: get_diff<4, 4, 3>(cur, curStep, ref, refStep, diff, diffStep, pred, predStep, rnd); break;
    }
}

template <int W, int H, int MF, int MB>
void get_diff_bi(const Zep8u* cur, Zep32s curStep, const Zep8u* rf, Zep32s fStep, const Zep8u* rb, Zep32s bStep,
                 Zep16s* diff, Zep32s diffStep, int rnd) {
    for (int y = 0; y < H; ++y) {
        const Zep8u* c = mc_row(cur, curStep, y);
        const Zep8u *f0 = mc_row(rf, fStep, y), *f1 = mc_row(rf, fStep, y + 1);
        const Zep8u *b0 = mc_row(rb, bStep, y), *b1 = mc_row(rb, bStep, y + 1);
        Zep16s* d = mc_row(diff, diffStep, y);
        for (int x = 0; x < W; ++x) d[x] = static_cast<Zep16s>(c[x] - bi_pred<MF, MB>(f0, f1, b0, b1, x, rnd));
    }
}

// Interleaved chroma in (8 Cb/Cr pairs a row), two planar residuals out.
template <int H, int Mode>
void get_diff_chroma(const Zep8u* cur, Zep32s curStep, const Zep8u* ref, Zep32s refStep, Zep16s* diffU,
                     Zep32s uStep, Zep16s* diffV, Zep32s vStep, int rnd) {
    for (int y = 0; y < H; ++y) {
        const Zep8u *c = mc_row(cur, curStep, y), *r0 = mc_row(ref, refStep, y), *r1 = mc_row(ref, refStep, y + 1);
        Zep16s *u = mc_row(diffU, uStep, y), *v = mc_row(diffV, vStep, y);
        for (int x = 0; x < 8; ++x) {
            u[x] = static_cast<Zep16s>(c[2 * x] - hp_pred<Mode, 2>(r0, r1, 2 * x, rnd));
            v[x] = static_cast<Zep16s>(c[2 * x + 1] - hp_pred<Mode, 2>(r0, r1, 2 * x + 1, rnd));
        }
    }
}

template <int H, int MF, int MB>
void get_diff_chroma_bi(const Zep8u* cur, Zep32s curStep, const Zep8u* rf, Zep32s fStep, const Zep8u* rb,
                        Zep32s bStep, Zep16s* diffU, Zep32s uStep, Zep16s* diffV, Zep32s vStep, int rnd) {
    for (int y = 0; y < H; ++y) {
        const Zep8u* c = mc_row(cur, curStep, y);
        const Zep8u *f0 = mc_row(rf, fStep, y), *f1 = mc_row(rf, fStep, y + 1);
        const Zep8u *b0 = mc_row(rb, bStep, y), *b1 = mc_row(rb, bStep, y + 1);
        Zep16s *u = mc_row(diffU, uStep, y), *v = mc_row(diffV, vStep, y);
        for (int x = 0; x < 8; ++x) {
            u[x] = static_cast<Zep16s>(c[2 * x] - bi_pred<MF, MB, 2>(f0, f1, b0, b1, 2 * x, rnd));
            v[x] = static_cast<Zep16s>(c[2 * x + 1] - bi_pred<MF, MB, 2>(f0, f1, b0, b1, 2 * x + 1, rnd));
        }
    }
}

// Plain difference of two blocks, saturated to 16s (only 16u samples can leave
// the range).
template <int W, int H, class T>
void sub(const T* src, Zep32s srcStep, const T* ref, Zep32s refStep, Zep16s* dst, Zep32s dstStep) {
    for (int y = 0; y < H; ++y) {
        const T *s = mc_row(src, srcStep, y), *r = mc_row(ref, refStep, y);
        Zep16s* d = mc_row(dst, dstStep, y);
        for (int x = 0; x < W; ++x) d[x] = sat_s16(static_cast<int>(s[x]) - static_cast<int>(r[x]));
    }
}

}  // namespace zep::ref
