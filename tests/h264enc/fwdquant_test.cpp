// H.264 4x4 forward transform and quantisers: the reference against
// independent models, every kernel level against the reference, the entry
// points' checks, and round trips through the decoder's reconstruction.
#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "harness/harness.h"
#include "harness/null_sweep.h"

#include "h264/fwdquant_dsp.h"
#include "h264/fwdquant_ref.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::FwdQuantDsp;


// Built-in multipliers and dequantisation factors per qp % 6 and position
// class, written out here rather than taken from the library.
constexpr int kMult[6][3] = {{13107, 8066, 5243}, {11916, 7490, 4660}, {10082, 6554, 4194},
                             {9362, 5825, 3647},  {8192, 5243, 3355},  {7282, 4559, 2893}};
constexpr int kNormAdjust[6][3] = {{10, 13, 16}, {11, 14, 18}, {13, 16, 20}, {14, 18, 23}, {16, 20, 25}, {18, 23, 29}};
constexpr int kBlockX[16] = {0, 4, 0, 4, 8, 12, 8, 12, 0, 4, 0, 4, 8, 12, 8, 12};
constexpr int kBlockY[16] = {0, 0, 4, 4, 0, 0, 4, 4, 8, 8, 12, 12, 8, 8, 12, 12};
constexpr Zep16s kZigzagPos[16] = {0, 1, 5, 6, 2, 4, 7, 12, 3, 8, 11, 13, 9, 10, 14, 15};

int pos_class(int i) { return (i & 1) + ((i >> 2) & 1); }  // 0 even-even, 2 odd-odd, 1 mixed

// ---------------------------------------------------------------- transform

// The transform is C * X * C^T with C the core matrix, taken modulo 2^32 by the
// 32-bit transform (also in place). The 16-bit one saturates its sums, so it
// matches only below |x| = 900 (the largest gain of an output is 36).
TEST(FwdTransformRef, MatchesMatrixProduct) {
    constexpr int C[4][4] = {{1, 1, 1, 1}, {2, 1, -1, -2}, {1, -1, -1, 1}, {1, -2, 2, -1}};
    Rng rng(11);
    for (int it = 0; it < 500; ++it) {
        const bool small = it < 250;
        Zep32s x32[16], y32[16], expect[16];
        Zep16s x16[16], y16[16];
        for (int i = 0; i < 16; ++i)
            x32[i] = small ? rng.range(-900, 900) : static_cast<Zep32s>(rng.u32()), x16[i] = static_cast<Zep16s>(x32[i]);
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) {
                int64_t s = 0;
                for (int i = 0; i < 4; ++i)
                    for (int j = 0; j < 4; ++j) s += int64_t{C[r][i]} * x32[4 * i + j] * C[c][j];
                expect[4 * r + c] = static_cast<Zep32s>(static_cast<Zep32u>(s));
            }
        const std::string ctx = "iteration " + std::to_string(it);
        zep::ref::fwd4x4_32s(x32, y32);
        ASSERT_TRUE(same_array(expect, y32, 16, "32s " + ctx));
        ASSERT_EQ(zepiTransformResidual4x4Fwd_H264_32s_C1(x32, x32), zepStatusOk);
        ASSERT_TRUE(same_array(expect, x32, 16, "32s in place " + ctx));
        if (!small) continue;
        zep::ref::fwd4x4_16s(x16, y16);
        for (int i = 0; i < 16; ++i) ASSERT_EQ(y16[i], expect[i]) << "16s " << ctx << ", index " << i;
    }
}

// Row 0 = (10000, -10000, 10000, -10000): d0 = 20000, d1 = -20000, so the row
// pass gives y1 = sat(d0 + d0) + d1 = 32767 - 20000 = 12767 (not 20000) and
// y3 = 32767; the column pass then doubles into row 1 (25534, and 32767 again).
// All -32768 saturates the DC at the low end and cancels everywhere else.
TEST(FwdTransformEntry, SixteenBitSumsSaturateInOrder) {
    const Zep16s src[16] = {10000, -10000, 10000, -10000};
    const Zep16s expect[16] = {0, 12767, 0, 32767, 0, 25534, 0, 32767, 0, 12767, 0, 32767, 0, 12767, 0, 32767};
    const Zep16s lowExpect[16] = {-32768};
    Zep16s dst[16], low[16];
    std::fill(low, low + 16, Zep16s{-32768});
    ASSERT_EQ(zepiTransformResidual4x4Fwd_H264_16s_C1(src, dst), zepStatusOk);
    EXPECT_TRUE(same_array(expect, dst, 16, "saturation order"));
    ASSERT_EQ(zepiTransformResidual4x4Fwd_H264_16s_C1(low, low), zepStatusOk);
    EXPECT_TRUE(same_array(lowExpect, low, 16, "all -32768, in place"));
}

// ---------------------------------------------------------------- quantisation

std::array<Zep16s, 16> random_scan_pos(Rng& rng) {
    std::array<Zep16s, 16> p;
    std::iota(p.begin(), p.end(), Zep16s{0});
    for (int i = 15; i > 0; --i) std::swap(p[i], p[rng.range(0, i)]);
    return p;
}

using Q16 = ZepStatus (*)(const Zep16s*, Zep16s*, Zep32s*, Zep32s*, const Zep32s*, const Zep16s*, Zep32u, Zep32s);

// Through the entry points, wherever the 32-bit products cannot overflow,
// against an independent model: the multiplier classes per position (or the
// scale table), the rounding as a third (intra) or a sixth (inter) of 2^shift,
// in 64 bits, saturated for 16-bit outputs; then the level count and the
// highest scan position of a level.
TEST(QuantEntry, MatchesIndependentModel) {
    Rng rng(5);
    for (int qp = 0; qp <= 87; ++qp)
        for (int intra = 0; intra < 2; ++intra)
            for (int useScale = 0; useScale < 2; ++useScale)
                for (int it = 0; it < 20; ++it) {
                    const auto scan = random_scan_pos(rng);
                    Zep32s scale[16], c32[16], d32[16];
                    Zep16s c16[16], d16[16];
                    for (int i = 0; i < 16; ++i) {
                        scale[i] = rng.range(1, 16 * 255);
                        const int lim = it < 10 ? 600 : 32767;
                        c32[i] = rng.coin() ? 0 : rng.range(-lim, lim);
                        c16[i] = static_cast<Zep16s>(c32[i]);
                    }
                    const Zep32s* sc = useScale ? scale : nullptr;
                    const int shift = (sc ? 11 : 15) + qp / 6;
                    const int64_t rounding = (int64_t{1} << shift) / (intra ? 3 : 6);
                    auto check = [&](auto f, auto* c, auto* d) {
                        const int64_t hi = sizeof(*d) == 2 ? 32767 : INT32_MAX;
                        Zep32s want[18] = {}, got[18];
                        for (int i = 0; i < 16; ++i) {
                            const int64_t m = sc ? sc[i] : kMult[qp % 6][pos_class(i)];
                            const int64_t mag = (std::abs(int64_t{c[i]}) * m + rounding) >> shift;
                            want[i] = static_cast<Zep32s>(std::clamp(c[i] < 0 ? -mag : mag, -hi - 1, hi));
                            if (want[i]) ++want[16], want[17] = std::max<Zep32s>(want[17], scan[i]);
                        }
                        std::fill_n(got, 18, -1);  // counts the call leaves unwritten cannot match
                        const ZepStatus st = f(c, d, &got[16], &got[17], sc, scan.data(), qp, intra);
                        std::copy(d, d + 16, got);
                        const std::string ctx = "qp " + std::to_string(qp) + " intra " + std::to_string(intra) +
                                                " scale " + std::to_string(useScale) + " status " + std::to_string(st);
                        return st == zepStatusOk ? same_array(want, got, 18, ctx) : ::testing::AssertionFailure() << ctx;
                    };
                    ASSERT_TRUE(check(zepiQuantizeResidual4x4Fwd_H264_32s_C1, c32, d32));
                    if (qp > 51) continue;
                    ASSERT_TRUE(check(zepiQuantizeResidual4x4Fwd_H264_16s_C1, c16, d16));
                    if (!useScale) continue;
                    ASSERT_TRUE(check(zepiQuantizeResidual4x4Fwd_H264_16s32s_C1, c16, d16));
                }
}

// One kernel against the reference: the output block with 8 guard elements
// on each side (the kernel must write the same 16 values and nothing around
// them) and, for the quantisers, both counts (the transforms have no `a`).
template <class T, class F, class... A>
::testing::AssertionResult same_as_ref(F rf, F kf, const T* c, const std::string& ctx, A... a) {
    std::array<T, 32> e, g;
    e.fill(static_cast<T>(0x7E7E7E7E)), g = e;
    Zep32s ce[2] = {-1, -1}, cg[2] = {-1, -1};
    if constexpr (sizeof...(A) == 0) {
        rf(c, e.data() + 8);
        kf(c, g.data() + 8);
    } else {
        cg[0] = cg[1] = -2;
        rf(c, e.data() + 8, &ce[0], &ce[1], a...);
        kf(c, g.data() + 8, &cg[0], &cg[1], a...);
    }
    const auto r = same_array(e.data(), g.data(), 32, ctx);
    return r ? same_array(ce, cg, 2, "counts " + ctx) : r;
}

// Each kernel against the reference on the full input range: saturated or
// wrapped transform sums and quantiser products, saturated 16-bit levels,
// negative scan positions; unaligned blocks.
TEST(FwdQuantKernels, EveryLevelMatchesReference) {
    const FwdQuantDsp ref = zep::build_table(zep::fwdquant_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const FwdQuantDsp k = zep::build_table(zep::fwdquant_init, level);
        Rng rng(9);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 200; ++it) {
                const int qp = rng.range(0, 87), intra = rng.coin(), div = qp / 6;
                const int qp16 = qp % 52;  // the 16-bit quantiser with built-in multipliers only sees qp 0..51
                const int off = rng.range(0, 7);
                std::vector<Zep16s> v16(32), scanPos(32);
                std::vector<Zep32s> v32(32), mult(32);
                const Zep16s *c16 = v16.data() + off, *sp = scanPos.data() + off;
                const Zep32s *c32 = v32.data() + off, *m = mult.data() + off;
                fill(v16.data() + off, 16, pat, rng, -32768, 32767);
                fill(v32.data() + off, 16, pat, rng, INT32_MIN, INT32_MAX);
                for (int i = off; i < off + 16; ++i) {
                    if (it & 1) v16[i] = static_cast<Zep16s>(v16[i] >> 7);  // residual sized: nothing saturates
                    if (it % 3 == 0) v32[i] >>= 12;                          // realistic magnitudes as well
                    mult[i] = it & 1 ? static_cast<Zep32s>(rng.u32()) : rng.range(0, 65535);
                }
                const auto p = random_scan_pos(rng);
                std::copy(p.begin(), p.end(), scanPos.begin() + off);
                if (it % 4 == 0) fill(scanPos.data() + off, 16, Pattern::Random, rng, -32768, 32767);  // negative too
                const Zep32s rndScale = zep::fwdq_round11[div + intra];
                const std::string ctx = context(level, pat, "qp " + std::to_string(qp) + " intra " +
                                                                std::to_string(intra) + " offset " + std::to_string(off));
                ASSERT_TRUE(same_as_ref(ref.fwd16, k.fwd16, c16, "fwd16 " + ctx));
                ASSERT_TRUE(same_as_ref(ref.fwd32, k.fwd32, c32, "fwd32 " + ctx));
                ASSERT_TRUE(same_as_ref(ref.quant16Flat, k.quant16Flat, c16, "flat16 " + ctx,
                                        zep::fwdq_flat_mult[qp16 % 6].data(), sp, zep::fwdq_round15[qp16 / 6 + intra],
                                        15 + qp16 / 6));
                ASSERT_TRUE(same_as_ref(ref.quant16, k.quant16, c16, "quant16 " + ctx, m, sp, rndScale, 11 + div));
                ASSERT_TRUE(same_as_ref(ref.quant32, k.quant32, c32, "quant32 flat " + ctx,
                                        zep::fwdq_flat_mult[qp % 6].data(), sp, zep::fwdq_round15[div + intra],
                                        15 + div));
                ASSERT_TRUE(same_as_ref(ref.quant32, k.quant32, c32, "quant32 " + ctx, m, sp, rndScale, 11 + div));
            }
    }
}

// ---------------------------------------------------------------- checks

// Every pointer (the scale table only where it is required), checked before
// the qp range; nothing is written on error.
TEST(FwdQuantEntry, BadArgumentsWriteNothing) {
    Zep16s s16[16] = {100}, scan[16] = {};
    Zep32s s32[16] = {100}, scale[16] = {};
    Guarded<Zep16s> d16(16);
    Guarded<Zep32s> d32(16), n(1), last(1);
    EXPECT_TRUE(null_sweep(zepiTransformResidual4x4Fwd_H264_16s_C1, s16, d16.data()));
    EXPECT_TRUE(null_sweep(zepiTransformResidual4x4Fwd_H264_32s_C1, s32, d32.data()));
    for (Zep32u qp : {88u, 0u}) {  // bad qp first: a missing check reports before it can crash
        EXPECT_TRUE(null_sweep_except({4}, zepiQuantizeResidual4x4Fwd_H264_32s_C1, s32, d32.data(), n.data(),
                                      last.data(), scale, scan, qp, 0));
        EXPECT_TRUE(null_sweep_except({4}, zepiQuantizeResidual4x4Fwd_H264_16s_C1, s16, d16.data(), n.data(),
                                      last.data(), scale, scan, qp == 0 ? 0u : 52u, 0));
        EXPECT_TRUE(null_sweep(zepiQuantizeResidual4x4Fwd_H264_16s32s_C1, s16, d16.data(), n.data(), last.data(),
                               scale, scan, qp == 0 ? 0u : 52u, 0));
    }
    for (Zep32u qp : {88u, 0xFFFFFFFFu})
        EXPECT_EQ(zepiQuantizeResidual4x4Fwd_H264_32s_C1(s32, d32.data(), n.data(), last.data(), nullptr, scan, qp, 1),
                  zepStatusOutOfRange);
    for (const Q16 q16 : {Q16{zepiQuantizeResidual4x4Fwd_H264_16s_C1}, Q16{zepiQuantizeResidual4x4Fwd_H264_16s32s_C1}})
        EXPECT_EQ(q16(s16, d16.data(), n.data(), last.data(), scale, scan, 52, 0), zepStatusOutOfRange);
    EXPECT_TRUE(d16.untouched() && d32.untouched() && n.untouched() && last.untouched());
    // The extreme valid qps are accepted, the scale table optional where it may be.
    Zep32s cnt = 0, pos = 0;
    EXPECT_EQ(zepiQuantizeResidual4x4Fwd_H264_16s_C1(s16, s16, &cnt, &pos, nullptr, scan, 51, 0), zepStatusOk);
    EXPECT_EQ(zepiQuantizeResidual4x4Fwd_H264_32s_C1(s32, s32, &cnt, &pos, nullptr, scan, 87, 0), zepStatusOk);
}

// ---------------------------------------------------------------- round trips
//
// Random residual -> forward transform -> quantise -> dequantise and inverse
// transform must come back within the error the quantiser step allows. The
// core transform has orthogonal rows of norms 2, sqrt(10), 2, sqrt(10), so
// coefficient i is norm_i times an orthonormal coefficient, and the step at i
// is Q_i = 2^shift / (norm_i * m_i). The dead zone keeps every orthonormal
// coefficient within (1 - f) * Q_i of its reconstruction (f = 1/3 intra, 1/6
// inter), so by Parseval the block's pixel error has an L2 norm of at most
// sqrt(sum ((1 - f) Q_i)^2), plus the integer rounding of the inverse transform.
double error_bound(int qp, bool intra, const Zep32s* mult, int baseShift) {
    const double norm[3] = {4.0, 2.0 * std::sqrt(10.0), 10.0};
    const double keep = 1.0 - (intra ? 1.0 / 3 : 1.0 / 6);
    double sum = 0;
    for (int i = 0; i < 16; ++i) {
        const double q = keep * std::ldexp(1.0, baseShift + qp / 6) / (norm[pos_class(i)] * mult[i]);
        sum += q * q;
    }
    return std::sqrt(sum) + 2.0;
}

// One 16x16 macroblock per case: prediction and source at random (full range,
// or the source close to the prediction), each block transformed and
// quantised (built-in multipliers or the flat scale table), the coded ones
// handed to the decoder's inter reconstruction.
TEST(QuantRoundTrip, MacroblockThroughDecoderReconstruction) {
    constexpr int kStep = 24;
    Rng rng(40);
    for (int useScale = 0; useScale < 2; ++useScale)
        for (int qp = 0; qp <= 51; ++qp)
            for (int intra = 0; intra < 2; ++intra)
                for (int it = 0; it < 12; ++it) {
                    std::vector<Zep8u> src(16 * kStep), plane(16 * kStep);
                    const int noise = it % 3 == 0 ? 8 : 255;
                    for (int o = 0; o < 16 * kStep; ++o) {
                        plane[o] = static_cast<Zep8u>(rng.range(0, 255));
                        src[o] = static_cast<Zep8u>(std::clamp(plane[o] + rng.range(-noise, noise), 0, 255));
                    }
                    Zep32s scale[16], flat[16];
                    Zep16s ls[16];  // flat LevelScale4x4 (weight 16)
                    for (int i = 0; i < 16; ++i) {
                        flat[i] = kMult[qp % 6][pos_class(i)];
                        scale[i] = (flat[i] + 8) >> 4;  // flat weights: the built-in multipliers over 16
                        ls[i] = static_cast<Zep16s>(16 * kNormAdjust[qp % 6][pos_class(i)]);
                    }
                    auto diff = [&](int k, int i) {  // source minus prediction (or reconstruction)
                        const int o = (kBlockY[k] + i / 4) * kStep + kBlockX[k] + i % 4;
                        return src[o] - plane[o];
                    };
                    const Q16 quant = useScale ? zepiQuantizeResidual4x4Fwd_H264_16s32s_C1 : zepiQuantizeResidual4x4Fwd_H264_16s_C1;
                    std::vector<Zep16s> coeffs;
                    Zep32u cbp = 0;
                    for (int k = 0; k < 16; ++k) {
                        Zep16s r[16], c[16], lv[16];
                        for (int i = 0; i < 16; ++i) r[i] = static_cast<Zep16s>(diff(k, i));
                        Zep32s n = 0, last = 0;
                        ASSERT_EQ(zepiTransformResidual4x4Fwd_H264_16s_C1(r, c), zepStatusOk);
                        ASSERT_EQ(quant(c, lv, &n, &last, useScale ? scale : nullptr, kZigzagPos, qp, intra), zepStatusOk);
                        if (n == 0) continue;
                        cbp |= 2u << k;
                        coeffs.insert(coeffs.end(), lv, lv + 16);
                    }
                    coeffs.resize(coeffs.size() + 16);  // never empty
                    Zep16s* cur = coeffs.data();
                    ASSERT_EQ(zepiReconstructLumaInter4x4MB_H264_16s8u_C1R(&cur, plane.data(), kStep, cbp, qp, ls, 0),
                              zepStatusOk);
                    ASSERT_EQ(cur, coeffs.data() + coeffs.size() - 16);
                    const double bound = error_bound(qp, intra, useScale ? scale : flat, useScale ? 11 : 15);
                    for (int k = 0; k < 16; ++k) {
                        double sq = 0;
                        for (int i = 0; i < 16; ++i) sq += diff(k, i) * diff(k, i);
                        ASSERT_LE(std::sqrt(sq), bound) << "qp " << qp << " intra " << intra << " scale " << useScale
                                                        << " block " << k << " iteration " << it;
                    }
                }
}

// 32-bit path over the whole qp range 0..87 (high bit depths): residuals of
// 12 bits, whose products stay inside 32 bits; dequantised as a decoder does
// (level * LevelScale << qp/6, >> 4 with rounding below qp 24), then the
// stand-alone 32-bit inverse transform.
TEST(QuantRoundTrip, ThirtyTwoBitOverTheWholeQpRange) {
    Rng rng(42);
    for (int qp = 0; qp <= 87; ++qp)
        for (int intra = 0; intra < 2; ++intra)
            for (int it = 0; it < 200; ++it) {
                const int lim = it & 1 ? 2047 : 40, q6 = qp / 6;
                Zep32s r[16], c[16], lv[16], d[16], back[16], flat[16], n = 0, last = 0;
                for (int i = 0; i < 16; ++i) r[i] = rng.range(-lim, lim), flat[i] = kMult[qp % 6][pos_class(i)];
                ASSERT_EQ(zepiTransformResidual4x4Fwd_H264_32s_C1(r, c), zepStatusOk);
                ASSERT_EQ(zepiQuantizeResidual4x4Fwd_H264_32s_C1(c, lv, &n, &last, nullptr, kZigzagPos, qp, intra),
                          zepStatusOk);
                for (int i = 0; i < 16; ++i) {
                    const int64_t v = int64_t{lv[i]} * 16 * kNormAdjust[qp % 6][pos_class(i)];
                    d[i] = static_cast<Zep32s>(q6 >= 4 ? v << (q6 - 4) : (v + (int64_t{1} << (3 - q6))) >> (4 - q6));
                }
                ASSERT_EQ(zepiTransformResidual4x4Inv_H264_32s_C1(d, back), zepStatusOk);
                double sq = 0;
                for (int i = 0; i < 16; ++i) sq += double(back[i] - r[i]) * (back[i] - r[i]);
                ASSERT_LE(std::sqrt(sq), error_bound(qp, intra, flat, 15)) << "qp " << qp << " intra " << intra;
            }
}

}  // namespace
