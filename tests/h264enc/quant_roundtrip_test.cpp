// Quantisation round trips: random residual -> forward transform -> quantise
// -> dequantise and inverse transform (the decoder's macroblock
// reconstruction, or its stand-alone 32-bit inverse transform) must come back
// within the error the quantiser step allows at each qp.
//
// The core transform has orthogonal rows of norms 2, sqrt(10), 2, sqrt(10),
// so coefficient i is norm_i times an orthonormal coefficient, and the
// quantiser's step at i is Q_i = 2^shift / (norm_i * m_i). The dead zone keeps
// every orthonormal coefficient within (1 - f) * Q_i of its reconstruction
// (f = 1/3 intra, 1/6 inter), so by Parseval the block's pixel error has an L2
// norm of at most sqrt(sum ((1 - f) Q_i)^2), plus the integer rounding of the
// inverse transform.
#include <cmath>

#include "harness/harness.h"
#include "zepvc.h"

namespace {

using namespace zt;

constexpr int kMult[6][3] = {{13107, 8066, 5243}, {11916, 7490, 4660}, {10082, 6554, 4194},
                             {9362, 5825, 3647},  {8192, 5243, 3355},  {7282, 4559, 2893}};
constexpr int kNormAdjust[6][3] = {{10, 13, 16}, {11, 14, 18}, {13, 16, 20}, {14, 18, 23}, {16, 20, 25}, {18, 23, 29}};
constexpr int kBlockX[16] = {0, 4, 0, 4, 8, 12, 8, 12, 0, 4, 0, 4, 8, 12, 8, 12};
constexpr int kBlockY[16] = {0, 0, 4, 4, 0, 0, 4, 4, 8, 8, 12, 12, 8, 8, 12, 12};
constexpr Zep16s kZigzagPos[16] = {0, 1, 5, 6, 2, 4, 7, 12, 3, 8, 11, 13, 9, 10, 14, 15};

int pos_class(int i) { return (i & 1) + ((i >> 2) & 1); }  // 0 even-even, 2 odd-odd, 1 mixed

// Flat LevelScale4x4 (weight 16) for qp % 6, raster order.
void level_scale(int qp, Zep16s* ls) {
    for (int i = 0; i < 16; ++i) ls[i] = static_cast<Zep16s>(16 * kNormAdjust[qp % 6][pos_class(i)]);
}

// The largest L2 norm of a block's reconstruction error the quantiser allows,
// plus a margin for the inverse transform's integer rounding.
double error_bound(int qp, bool intra, const Zep32s* mult, int baseShift) {
    const double norm[3] = {4.0, 2.0 * std::sqrt(10.0), 10.0};
    const double keep = 1.0 - (intra ? 1.0 / 3 : 1.0 / 6);
    double sum = 0;
    for (int i = 0; i < 16; ++i) {
        const double q = std::ldexp(1.0, baseShift + qp / 6) / (norm[pos_class(i)] * mult[i]);
        sum += keep * q * keep * q;
    }
    return std::sqrt(sum) + 2.0;
}

// One 16x16 macroblock per case: prediction and source at random (full range,
// or the source close to the prediction), each block transformed and
// quantised, the coded ones handed to the decoder's inter reconstruction.
void macroblock_round_trip(bool useScaleTable) {
    Rng rng(useScaleTable ? 41 : 40);
    constexpr int kStep = 24;
    for (int qp = 0; qp <= 51; ++qp)
        for (int intra = 0; intra < 2; ++intra)
            for (int it = 0; it < 12; ++it) {
                std::vector<Zep8u> src(16 * kStep), plane(16 * kStep);
                const int noise = it % 3 == 0 ? 8 : 255;
                for (int y = 0; y < 16; ++y)
                    for (int x = 0; x < 16; ++x) {
                        plane[y * kStep + x] = static_cast<Zep8u>(rng.range(0, 255));
                        src[y * kStep + x] = static_cast<Zep8u>(
                            std::clamp(plane[y * kStep + x] + rng.range(-noise, noise), 0, 255));
                    }
                Zep32s scale[16], flat[16];
                for (int i = 0; i < 16; ++i) {
                    flat[i] = kMult[qp % 6][pos_class(i)];
                    scale[i] = (flat[i] + 8) >> 4;  // flat weights: the built-in multipliers over 16
                }
                std::vector<Zep16s> coeffs;
                Zep32u cbp = 0;
                for (int k = 0; k < 16; ++k) {
                    Zep16s r[16], c[16], lv[16];
                    for (int i = 0; i < 16; ++i) {
                        const int o = (kBlockY[k] + i / 4) * kStep + kBlockX[k] + i % 4;
                        r[i] = static_cast<Zep16s>(src[o] - plane[o]);
                    }
                    Zep32s n = 0, last = 0;
                    ASSERT_EQ(zepiTransformResidual4x4Fwd_H264_16s_C1(r, c), zepStatusOk);
                    ASSERT_EQ(useScaleTable ? zepiQuantizeResidual4x4Fwd_H264_16s32s_C1(c, lv, &n, &last, scale,
                                                                                        kZigzagPos, qp, intra)
                                            : zepiQuantizeResidual4x4Fwd_H264_16s_C1(c, lv, &n, &last, nullptr,
                                                                                     kZigzagPos, qp, intra),
                              zepStatusOk);
                    if (n == 0) continue;
                    cbp |= 2u << k;
                    coeffs.insert(coeffs.end(), lv, lv + 16);
                }
                coeffs.resize(coeffs.size() + 16);  // never empty
                Zep16s ls[16];
                level_scale(qp, ls);
                Zep16s* cur = coeffs.data();
                ASSERT_EQ(zepiReconstructLumaInter4x4MB_H264_16s8u_C1R(&cur, plane.data(), kStep, cbp, qp, ls, 0),
                          zepStatusOk);
                ASSERT_EQ(cur, coeffs.data() + coeffs.size() - 16);
                const double bound = error_bound(qp, intra, useScaleTable ? scale : flat, useScaleTable ? 11 : 15);
                for (int k = 0; k < 16; ++k) {
                    double sq = 0;
                    for (int i = 0; i < 16; ++i) {
                        const int o = (kBlockY[k] + i / 4) * kStep + kBlockX[k] + i % 4;
                        sq += (src[o] - plane[o]) * (src[o] - plane[o]);
                    }
                    ASSERT_LE(std::sqrt(sq), bound) << "qp " << qp << " intra " << intra << " block " << k
                                                    << " iteration " << it;
                }
            }
}

TEST(QuantRoundTrip, MacroblockWithBuiltInMultipliers) { macroblock_round_trip(false); }
TEST(QuantRoundTrip, MacroblockWithFlatScaleTable) { macroblock_round_trip(true); }

// 32-bit path over the whole qp range 0..87 (high bit depths): residuals of
// 12 bits, whose products stay inside 32 bits; dequantised as the standard
// does (level * LevelScale << qp/6, >> 4 with rounding below qp 24), then the
// stand-alone 32-bit inverse transform.
TEST(QuantRoundTrip, ThirtyTwoBitOverTheWholeQpRange) {
    Rng rng(42);
    for (int qp = 0; qp <= 87; ++qp)
        for (int intra = 0; intra < 2; ++intra)
            for (int it = 0; it < 200; ++it) {
                const int lim = it & 1 ? 2047 : 40;
                Zep32s r[16], c[16], lv[16], d[16], back[16], flat[16];
                for (int i = 0; i < 16; ++i) r[i] = rng.range(-lim, lim), flat[i] = kMult[qp % 6][pos_class(i)];
                Zep32s n = 0, last = 0;
                ASSERT_EQ(zepiTransformResidual4x4Fwd_H264_32s_C1(r, c), zepStatusOk);
                ASSERT_EQ(zepiQuantizeResidual4x4Fwd_H264_32s_C1(c, lv, &n, &last, nullptr, kZigzagPos, qp, intra),
                          zepStatusOk);
                const int q6 = qp / 6;
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
