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

constexpr int kIters = 200;
constexpr size_t kPad = 8;

// Built-in multipliers and dequantisation factors per qp % 6 and position
// class, written out here rather than taken from the library.
constexpr int kMult[6][3] = {{13107, 8066, 5243}, {11916, 7490, 4660}, {10082, 6554, 4194},
                             {9362, 5825, 3647},  {8192, 5243, 3355},  {7282, 4559, 2893}};
constexpr int kNormAdjust[6][3] = {{10, 13, 16}, {11, 14, 18}, {13, 16, 20}, {14, 18, 23}, {16, 20, 25}, {18, 23, 29}};
constexpr int kBlockX[16] = {0, 4, 0, 4, 8, 12, 8, 12, 0, 4, 0, 4, 8, 12, 8, 12};
constexpr int kBlockY[16] = {0, 0, 4, 4, 0, 0, 4, 4, 8, 8, 12, 12, 8, 8, 12, 12};
constexpr Zep16s kZigzagPos[16] = {0, 1, 5, 6, 2, 4, 7, 12, 3, 8, 11, 13, 9, 10, 14, 15};

int pos_class(int i) { return (i & 1) + ((i >> 2) & 1); }  // 0 even-even, 2 odd-odd, 1 mixed

// Output block with kPad guard elements on each side: kernels must write the
// same 16 values as the reference and nothing around them.
template <class T>
struct Padded {
    std::array<T, 16 + 2 * kPad> v;
    explicit Padded(T guard) { v.fill(guard); }
    T* data() { return v.data() + kPad; }
};

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

TEST(FwdTransformKernels, EveryLevelMatchesReference) {
    const FwdQuantDsp ref = zep::build_table(zep::fwdquant_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const FwdQuantDsp k = zep::build_table(zep::fwdquant_init, level);
        Rng rng(3);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < kIters; ++it) {
                // Odd offsets inside a bigger buffer: the kernels take unaligned blocks.
                const int off = rng.range(0, 7);
                std::vector<Zep16s> s16(32);
                std::vector<Zep32s> s32(32);
                fill(s16.data() + off, 16, pat, rng, -32768, 32767);
                fill(s32.data() + off, 16, pat, rng, INT32_MIN, INT32_MAX);
                if (it & 1)  // residual-sized values too, where nothing saturates
                    for (int i = 0; i < 16; ++i) s16[off + i] = static_cast<Zep16s>(s16[off + i] >> 7);
                Padded<Zep16s> e16(0x5A5A), g16(0x5A5A);
                Padded<Zep32s> e32(0x5A5A5A5A), g32(0x5A5A5A5A);
                ref.fwd16(s16.data() + off, e16.data());
                k.fwd16(s16.data() + off, g16.data());
                ref.fwd32(s32.data() + off, e32.data());
                k.fwd32(s32.data() + off, g32.data());
                ASSERT_TRUE(same_array(e16.v.data(), g16.v.data(), e16.v.size(), context(level, pat, "fwd 16s")));
                ASSERT_TRUE(same_array(e32.v.data(), g32.v.data(), e32.v.size(), context(level, pat, "fwd 32s")));
            }
    }
}

// ---------------------------------------------------------------- quantisation

// Independent model: the multiplier classes per position, the rounding as a
// third (intra) or a sixth (inter) of 2^shift, in 64 bits.
struct Model {
    Zep32s level[16];
    Zep32s num, last;
};

Model model_quant(const Zep32s* c, const Zep32s* scale, const Zep16s* scanPos, int qp, bool intra) {
    const int shift = (scale ? 11 : 15) + qp / 6;
    const int64_t rounding = (int64_t{1} << shift) / (intra ? 3 : 6);
    Model m{{}, 0, 0};
    for (int i = 0; i < 16; ++i) {
        const int64_t mult = scale ? scale[i] : kMult[qp % 6][pos_class(i)];
        const int64_t mag = (std::abs(int64_t{c[i]}) * mult + rounding) >> shift;
        m.level[i] = static_cast<Zep32s>(c[i] < 0 ? -mag : mag);
        if (m.level[i]) ++m.num, m.last = std::max<Zep32s>(m.last, scanPos[i]);
    }
    return m;
}

std::array<Zep16s, 16> random_scan_pos(Rng& rng) {
    std::array<Zep16s, 16> p;
    std::iota(p.begin(), p.end(), Zep16s{0});
    for (int i = 15; i > 0; --i) std::swap(p[i], p[rng.range(0, i)]);
    return p;
}

using Q16 = ZepStatus (*)(const Zep16s*, Zep16s*, Zep32s*, Zep32s*, const Zep32s*, const Zep16s*, Zep32u, Zep32s);

// Through the entry points, wherever the 32-bit products cannot overflow; the
// 16-bit outputs are the model's levels saturated.
TEST(QuantEntry, MatchesIndependentModel) {
    Rng rng(5);
    for (int qp = 0; qp <= 87; ++qp)
        for (int intra = 0; intra < 2; ++intra)
            for (int useScale = 0; useScale < 2; ++useScale)
                for (int it = 0; it < 20; ++it) {
                    const auto scan = random_scan_pos(rng);
                    Zep32s scale[16], c32[16], d32[16], want16[16], got16[16], n = -1, last = -1;
                    Zep16s c16[16], d16[16];
                    for (int i = 0; i < 16; ++i) {
                        scale[i] = rng.range(1, 16 * 255);
                        const int lim = it < 10 ? 600 : 32767;
                        c32[i] = rng.coin() ? 0 : rng.range(-lim, lim);
                        c16[i] = static_cast<Zep16s>(c32[i]);
                    }
                    const Zep32s* sc = useScale ? scale : nullptr;
                    const Model m = model_quant(c32, sc, scan.data(), qp, intra);
                    const std::string ctx = "qp " + std::to_string(qp) + " intra " + std::to_string(intra) +
                                            " scale " + std::to_string(useScale);
                    ASSERT_EQ(zepiQuantizeResidual4x4Fwd_H264_32s_C1(c32, d32, &n, &last, sc, scan.data(), qp, intra),
                              zepStatusOk);
                    ASSERT_TRUE(same_array(m.level, d32, 16, "32s " + ctx));
                    ASSERT_EQ(n, m.num) << ctx;
                    ASSERT_EQ(last, m.last) << ctx;
                    if (qp > 51) continue;
                    for (int i = 0; i < 16; ++i) want16[i] = std::clamp(m.level[i], -32768, 32767);
                    for (Q16 f : {Q16{zepiQuantizeResidual4x4Fwd_H264_16s_C1},
                                  Q16{useScale ? zepiQuantizeResidual4x4Fwd_H264_16s32s_C1 : nullptr}}) {
                        if (!f) continue;
                        n = last = -1;
                        ASSERT_EQ(f(c16, d16, &n, &last, sc, scan.data(), qp, intra), zepStatusOk);
                        std::copy(d16, d16 + 16, got16);
                        ASSERT_TRUE(same_array(want16, got16, 16, "16s " + ctx));
                        ASSERT_EQ(n, m.num) << ctx;
                        ASSERT_EQ(last, m.last) << ctx;
                    }
                }
}

// One kernel against the reference: the padded levels and both counts.
template <class T, class F>
::testing::AssertionResult quant_same(F rf, F kf, const T* c, const Zep32s* m, const Zep16s* scanPos, Zep32s rnd,
                                      int shift, const std::string& ctx) {
    Padded<T> e(static_cast<T>(0x7E7E7E7E)), g(static_cast<T>(0x7E7E7E7E));
    Zep32s ce[2] = {-1, -1}, cg[2] = {-2, -2};
    rf(c, e.data(), &ce[0], &ce[1], m, scanPos, rnd, shift);
    kf(c, g.data(), &cg[0], &cg[1], m, scanPos, rnd, shift);
    const auto r = same_array(e.v.data(), g.v.data(), e.v.size(), ctx);
    return r ? same_array(ce, cg, 2, "counts " + ctx) : r;
}

// Each kernel against the reference on the full input range: wrapped
// products, saturated 16-bit levels, negative scan positions.
TEST(QuantKernels, EveryLevelMatchesReference) {
    const FwdQuantDsp ref = zep::build_table(zep::fwdquant_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const FwdQuantDsp k = zep::build_table(zep::fwdquant_init, level);
        Rng rng(9);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < kIters; ++it) {
                const int qp = rng.range(0, 87), intra = rng.coin(), div = qp / 6;
                // The 16-bit quantiser with built-in multipliers only sees qp 0..51.
                const int qp16 = qp % 52;
                const int off = rng.range(0, 7);
                std::vector<Zep16s> c16(32), scanPos(32);
                std::vector<Zep32s> c32(32), mult(32);
                fill(c16.data() + off, 16, pat, rng, -32768, 32767);
                fill(c32.data() + off, 16, pat, rng, INT32_MIN, INT32_MAX);
                if (it % 3 == 0)  // realistic magnitudes as well
                    for (int i = 0; i < 16; ++i) c32[off + i] >>= 12;
                for (int i = 0; i < 16; ++i) mult[off + i] = it & 1 ? static_cast<Zep32s>(rng.u32()) : rng.range(0, 65535);
                if (it % 4 == 0) {
                    fill(scanPos.data() + off, 16, Pattern::Random, rng, -32768, 32767);
                } else {
                    const auto p = random_scan_pos(rng);
                    std::copy(p.begin(), p.end(), scanPos.begin() + off);
                }
                const Zep16s* sp = scanPos.data() + off;
                const Zep32s* m = mult.data() + off;
                const Zep32s rndScale = zep::fwdq_round11[div + intra];
                const std::string ctx = context(level, pat, "qp " + std::to_string(qp) + " intra " +
                                                                std::to_string(intra) + " offset " + std::to_string(off));
                ASSERT_TRUE(quant_same(ref.quant16Flat, k.quant16Flat, c16.data() + off,
                                       zep::fwdq_flat_mult[qp16 % 6].data(), sp, zep::fwdq_round15[qp16 / 6 + intra],
                                       15 + qp16 / 6, "flat16 " + ctx));
                ASSERT_TRUE(quant_same(ref.quant16, k.quant16, c16.data() + off, m, sp, rndScale, 11 + div,
                                       "quant16 " + ctx));
                ASSERT_TRUE(quant_same(ref.quant32, k.quant32, c32.data() + off, zep::fwdq_flat_mult[qp % 6].data(),
                                       sp, zep::fwdq_round15[div + intra], 15 + div, "quant32 flat " + ctx));
                ASSERT_TRUE(quant_same(ref.quant32, k.quant32, c32.data() + off, m, sp, rndScale, 11 + div,
                                       "quant32 " + ctx));
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
    for (Zep32u qp : {0u, 88u}) {
        EXPECT_TRUE(null_sweep_except({4}, zepiQuantizeResidual4x4Fwd_H264_32s_C1, s32, d32.data(), n.data(),
                                      last.data(), scale, scan, qp, 0));
        EXPECT_TRUE(null_sweep_except({4}, zepiQuantizeResidual4x4Fwd_H264_16s_C1, s16, d16.data(), n.data(),
                                      last.data(), scale, scan, qp == 0 ? 0u : 52u, 0));
        EXPECT_TRUE(null_sweep(zepiQuantizeResidual4x4Fwd_H264_16s32s_C1, s16, d16.data(), n.data(), last.data(),
                               scale, scan, qp == 0 ? 0u : 52u, 0));
    }
    EXPECT_EQ(zepiQuantizeResidual4x4Fwd_H264_32s_C1(s32, d32.data(), n.data(), last.data(), nullptr, scan, 88, 0),
              zepStatusOutOfRange);
    EXPECT_EQ(zepiQuantizeResidual4x4Fwd_H264_32s_C1(s32, d32.data(), n.data(), last.data(), nullptr, scan,
                                                     0xFFFFFFFFu, 1),
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
                    auto at = [&](int k, int i) { return (kBlockY[k] + i / 4) * kStep + kBlockX[k] + i % 4; };
                    std::vector<Zep16s> coeffs;
                    Zep32u cbp = 0;
                    for (int k = 0; k < 16; ++k) {
                        Zep16s r[16], c[16], lv[16];
                        for (int i = 0; i < 16; ++i) r[i] = static_cast<Zep16s>(src[at(k, i)] - plane[at(k, i)]);
                        Zep32s n = 0, last = 0;
                        ASSERT_EQ(zepiTransformResidual4x4Fwd_H264_16s_C1(r, c), zepStatusOk);
                        ASSERT_EQ(useScale ? zepiQuantizeResidual4x4Fwd_H264_16s32s_C1(c, lv, &n, &last, scale,
                                                                                       kZigzagPos, qp, intra)
                                           : zepiQuantizeResidual4x4Fwd_H264_16s_C1(c, lv, &n, &last, nullptr,
                                                                                    kZigzagPos, qp, intra),
                                  zepStatusOk);
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
                        for (int i = 0; i < 16; ++i) {
                            const int e = src[at(k, i)] - plane[at(k, i)];
                            sq += e * e;
                        }
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
