// Kernel tables of block compensation and block differences.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// Prediction + residual, rounding fixed by the entry, height passed (tables
// shared between block heights).
using McFn = void (*)(const Zep8u* ref, Zep32s refStep, const Zep16s* res, Zep32s resStep, Zep8u* dst,
                      Zep32s dstStep, int height);
// Small blocks: size fixed, rounding control (0 up, 1 down) passed.
using McSmallFn = void (*)(const Zep8u* ref, Zep32s refStep, const Zep16s* res, Zep32s resStep, Zep8u* dst,
                           Zep32s dstStep, int rnd);
// Bidirectional; the last argument is the height (McBFn) or the rounding (McBSmallFn).
using McBFn = void (*)(const Zep8u* refF, Zep32s fStep, const Zep8u* refB, Zep32s bStep, const Zep16s* res,
                       Zep32s resStep, Zep8u* dst, Zep32s dstStep, int height);
using McBSmallFn = McBFn;
// Interleaved chroma with planar residuals.
using McChromaFn = void (*)(const Zep8u* ref, Zep32s refStep, const Zep16s* resU, const Zep16s* resV,
                            Zep32s resStep, Zep8u* dst, Zep32s dstStep, int height);
using McChromaBFn = void (*)(const Zep8u* refF, Zep32s fStep, const Zep8u* refB, Zep32s bStep, const Zep16s* resU,
                             const Zep16s* resV, Zep32s resStep, Zep8u* dst, Zep32s dstStep, int height);
// Copy (or in-place average) of a prediction; also plain copy and in-place average.
using CopyFn = void (*)(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep);
using AverageFn = void (*)(const Zep8u* a, Zep32s aStep, const Zep8u* b, Zep32s bStep, Zep8u* dst, Zep32s dstStep);
using AddFn = void (*)(const Zep16s* res, Zep32s resStep, Zep8u* dst, Zep32s dstStep);
using AddCFn = void (*)(Zep8u* dst, Zep32s dstStep, int value);
// Residual against a prediction; the prediction is stored too.
using DiffFn = void (*)(const Zep8u* cur, Zep32s curStep, const Zep8u* ref, Zep32s refStep, Zep16s* diff,
                        Zep32s diffStep, Zep8u* pred, Zep32s predStep, int rnd);
using Diff4x4Fn = void (*)(const Zep8u* cur, Zep32s curStep, const Zep8u* ref, Zep32s refStep, Zep16s* diff,
                           Zep32s diffStep, Zep8u* pred, Zep32s predStep, int mode, int rnd);
using DiffBFn = void (*)(const Zep8u* cur, Zep32s curStep, const Zep8u* refF, Zep32s fStep, const Zep8u* refB,
                         Zep32s bStep, Zep16s* diff, Zep32s diffStep, int rnd);
using DiffChromaFn = void (*)(const Zep8u* cur, Zep32s curStep, const Zep8u* ref, Zep32s refStep, Zep16s* diffU,
                              Zep32s uStep, Zep16s* diffV, Zep32s vStep, int rnd);
using DiffChromaBFn = void (*)(const Zep8u* cur, Zep32s curStep, const Zep8u* refF, Zep32s fStep,
                               const Zep8u* refB, Zep32s bStep, Zep16s* diffU, Zep32s uStep, Zep16s* diffV,
                               Zep32s vStep, int rnd);
using Sub8uFn = void (*)(const Zep8u* src, Zep32s srcStep, const Zep8u* ref, Zep32s refStep, Zep16s* dst,
                         Zep32s dstStep);
using Sub16uFn = void (*)(const Zep16u* src, Zep32s srcStep, const Zep16u* ref, Zep32s refStep, Zep16s* dst,
                          Zep32s dstStep);

// Table indices. A half-sample mode index m is hp_index(mcType): 0 integer,
// 1 vertical, 2 horizontal, 3 both.
//   single:        m * 2 + rnd                   (8 entries)
//   bidirectional: (mF * 4 + mB) * 2 + rnd       (32 entries)
//   small single:  m; small bidirectional: mF * 4 + mB (rounding passed)
//   acc-indexed:   (acc & 3) * 2 + rnd, acc 1 horizontal, 2 vertical, 3 both
inline constexpr int kAccMode[4] = {0, 2, 1, 3};

// Rounding bit of entry i of a rounding-indexed table. Entries whose modes are
// all the integer position have nothing to round: both of their rounding
// entries hold the same kernel.
constexpr int entry_rnd(int i) { return i / 2 == 0 ? 0 : i % 2; }

struct McDsp {
    McFn mc16[8];    // 16 wide: 16x16, 16x8
    McFn mc8[8];     // 8 wide: 8x16, 8x8, 8x4
    McFn mcUV[8];    // interleaved Cb/Cr, 16 bytes wide: 16x4, 16x8UV
    McSmallFn mc4x8[4], mc4x4[4], mc4x2[4], mc2x4[4], mc2x2[4];
    McBFn mcB16[32], mcB8[32], mcBUV[32];
    McBSmallFn mcB4x8[16], mcB4x4[16], mcB4x2[16], mcB2x4[16], mcB2x2[16];
    McChromaFn mcChroma[8];     // 8x8, 8x4 _P2C2R
    McChromaBFn mcChromaB[32];  // 8x8B, 8x4B _P2C2R
    CopyFn copyHp16x16[8], copyHp16x8[8], copyHp8x8[8], copyHp8x4[8];
    CopyFn interpAvg16x16[8], interpAvg16x8[8], interpAvg8x8[8], interpAvg8x4[8];
    McFn add8x8Hp[8];  // called with height 8
    CopyFn copy16x16, copy8x8;
    AverageFn average16x16, average8x8;
    CopyFn averageI16x16, averageI8x8;
    AddFn add8x8;
    AddCFn addc8x8;
    DiffFn diff16x16[4], diff16x8[4], diff8x16[4], diff8x8[4], diff8x4[4];
    Diff4x4Fn diff4x4;
    DiffBFn diffB16x16[16], diffB16x8[16], diffB8x16[16], diffB8x8[16], diffB8x4[16];
    DiffChromaFn diffChroma8x8[4], diffChroma8x4[4];
    DiffChromaBFn diffChromaB8x8[16], diffChromaB8x4[16];
    Sub8uFn sub16x16, sub8x8, sub4x4;
    Sub16uFn sub8x8_16u, sub4x4_16u;
};

// Fills every entry of a table: t[i] = make(std::integral_constant<int, i>{}),
// so the maker can turn the index into template arguments.
template <class Fn, std::size_t N, class Make>
constexpr void fill_table(Fn (&t)[N], Make make) {
    [&]<std::size_t... I>(std::index_sequence<I...>) {
        ((t[I] = make(std::integral_constant<int, static_cast<int>(I)>{})), ...);
    }(std::make_index_sequence<N>{});
}

void mc_init(McDsp& t, Isa level);
extern const McDsp g_mc_active __attribute__((visibility("hidden")));
inline const McDsp& mc_dsp() { return g_mc_active; }

#if ZEPVC_HAVE_X86
void mc_install_ssse3(McDsp& t);
void mc_install_avx2(McDsp& t);
#endif

}  // namespace zep
