// DV inverse quantisation/weighting and the 2-4-8 inverse DCT, against the
// transforms' defining sums evaluated in double precision.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "dv/dequant_dsp.h"
#include "harness/harness.h"
#include "zepvc.h"

namespace {

constexpr double kPi = std::numbers::pi;

double c(int k) { return k ? 1.0 : 1.0 / std::sqrt(2.0); }

// The 2-4-8 block of samples the coefficients describe: line 2z + f of the
// field-sum (rows 0..3) and field-difference (rows 4..7) inverse transforms.
std::vector<double> idct248_exact(const Zep16s* in) {
    std::vector<double> out(64);
    for (int z = 0; z < 4; ++z)
        for (int x = 0; x < 8; ++x) {
            double s = 0, d = 0;
            for (int k = 0; k < 4; ++k)
                for (int h = 0; h < 8; ++h) {
                    const double b = c(k) * c(h) / 4 * std::cos((2 * z + 1) * k * kPi / 8) *
                                     std::cos((2 * x + 1) * h * kPi / 16);
                    s += in[8 * k + h] * b;
                    d += in[8 * (4 + k) + h] * b;
                }
            out[8 * (2 * z) + x] = s + d;
            out[8 * (2 * z + 1) + x] = s - d;
        }
    return out;
}

TEST(DvIdct248, FollowsTheDefiningSumWithinRounding) {
    std::mt19937 rng(7);
    for (const int range : {16, 256, 2048}) {
        std::uniform_int_distribution<int> coef(-range, range);
        for (int n = 0; n < 300; ++n) {
            Zep16s in[64];
            for (Zep16s& v : in) v = static_cast<Zep16s>(coef(rng));
            in[0] = static_cast<Zep16s>(1024 + coef(rng) / 4);  // a DC near mid-grey keeps 8u results in range
            const std::vector<double> want = idct248_exact(in);
            Zep16s out16[64];
            std::copy(in, in + 64, out16);
            ASSERT_EQ(zepiDCT2x4x8Inv_16s_C1I(out16), zepStatusOk);
            Zep8u out8[8 * 11];
            std::fill(out8, out8 + 88, 0xA5);
            ASSERT_EQ(zepiDCT2x4x8Inv_16s8u_C1R(in, out8, 11), zepStatusOk);
            for (int i = 0; i < 64; ++i) {
                ASSERT_LE(std::abs(out16[i] - want[static_cast<size_t>(i)]), 0.75) << "range " << range << " at " << i;
                const int clamped = out16[i] < 0 ? 0 : (out16[i] > 255 ? 255 : out16[i]);
                ASSERT_EQ(out8[(i / 8) * 11 + i % 8], clamped) << "8u form at " << i;
            }
            for (int y = 0; y < 8; ++y)
                for (int x = 8; x < 11; ++x) ASSERT_EQ(out8[y * 11 + x], 0xA5) << "wrote past the block";
        }
    }
}

// The DV weights w(0..7) and the steps the dequantiser must apply.
double w(int k) {
    const double cs[8] = {1, std::cos(kPi / 16), std::cos(2 * kPi / 16), std::cos(3 * kPi / 16),
                          std::cos(4 * kPi / 16), std::cos(5 * kPi / 16), std::cos(6 * kPi / 16), std::cos(7 * kPi / 16)};
    const double v[8] = {1,           cs[4] / (4 * cs[7] * cs[2]), cs[4] / (2 * cs[6]), 1 / (2 * cs[5]), 7.0 / 8,
                         cs[4] / cs[3], cs[4] / cs[2],               cs[4] / cs[1]};
    return v[k];
}

std::vector<Zep32s> scans() {
    static const int zz[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
                               41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
                               30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};
    // 2-4-8: each field-sum coefficient (rows 0..3) followed by its field-difference twin (rows 4..7).
    static const int s248[64] = {0,  32, 1,  33, 8,  40, 2,  34, 9,  41, 16, 48, 24, 56, 17, 49, 10, 42, 3,  35, 4,  36,
                                 11, 43, 18, 50, 25, 57, 26, 58, 19, 51, 12, 44, 5,  37, 6,  38, 13, 45, 20, 52, 27, 59,
                                 28, 60, 21, 53, 14, 46, 7,  39, 15, 47, 22, 54, 29, 61, 30, 62, 23, 55, 31, 63};
    std::vector<Zep32s> s(128);
    for (int i = 0; i < 64; ++i) s[static_cast<size_t>(i)] = zz[i], s[static_cast<size_t>(64 + i)] = s248[i];
    return s;
}

Zep32u param(int qno, int cls, int mode) {
    return static_cast<Zep32u>(qno << 16 | mode << 6 | cls << 4);
}

TEST(DvQuantWeightInv, ScalesEachCoefficientByItsStepOverItsWeight) {
    const std::vector<Zep32s> sc = scans();
    // (quantisation number, class, scan position, expected step): the step doubles from area to
    // area at coarse quantisation, is 1 everywhere at the finest, and class 3 is one step coarser.
    const struct {
        int qno, cls, mode, scanPos, step;
    } cases[] = {
        {15, 2, 0, 1, 1},  {15, 2, 0, 63, 1}, {15, 3, 0, 1, 2},   {15, 3, 0, 63, 2}, {0, 2, 0, 1, 8},
        {0, 2, 0, 5, 8},   {0, 2, 0, 6, 8},   {0, 2, 0, 21, 16},  {0, 2, 0, 43, 16}, {0, 0, 0, 1, 2},
        {0, 0, 0, 63, 8},  {8, 1, 0, 1, 1},   {8, 1, 0, 63, 4},   {2, 2, 1, 1, 4},   {2, 2, 1, 6, 8},
        {2, 2, 1, 63, 16}, {0, 3, 0, 63, 32}, {12, 0, 0, 63, 1},
    };
    for (const auto& t : cases) {
        for (const int amp : {1, -3, 17}) {
            Zep16s blk[64] = {};
            const int pos = sc[static_cast<size_t>(64 * t.mode + t.scanPos)];
            blk[pos] = static_cast<Zep16s>(amp);
            blk[0] = -100;
            ASSERT_EQ(zepiQuantWeightBlockInv_DV_16s_C1I(blk, param(t.qno, t.cls, t.mode)), zepStatusOk);
            const int r = pos / 8, col = pos % 8;
            const double weight = t.mode ? w(2 * (r & 3)) * w(col) / 2 : w(r) * w(col) / 2;
            const double want = amp * t.step / weight;
            EXPECT_NEAR(blk[pos], want, 0.5 + 1e-9) << "qno " << t.qno << " class " << t.cls << " scan " << t.scanPos;
            EXPECT_EQ(blk[0], 4 * -100 + 1024);
            for (int i = 1; i < 64; ++i) {
                if (i != pos) {
                    ASSERT_EQ(blk[i], 0);
                }
            }
        }
    }
}

TEST(DvQuantWeightInv, SaturatesAndChecksPointers) {
    Zep16s blk[64] = {};
    blk[63] = 1000;  // an amplitude no segment holds, at the coarsest step and smallest weight
    ASSERT_EQ(zepiQuantWeightBlockInv_DV_16s_C1I(blk, param(0, 3, 0)), zepStatusOk);
    EXPECT_EQ(blk[63], 32767);
    EXPECT_EQ(zepiQuantWeightBlockInv_DV_16s_C1I(nullptr, 0), zepStatusNullPtr);
    EXPECT_EQ(zepiDCT2x4x8Inv_16s_C1I(nullptr), zepStatusNullPtr);
    Zep8u out[64];
    EXPECT_EQ(zepiDCT2x4x8Inv_16s8u_C1R(nullptr, out, 8), zepStatusNullPtr);
    EXPECT_EQ(zepiDCT2x4x8Inv_16s8u_C1R(blk, nullptr, 8), zepStatusNullPtr);
}

// Every kernel level against the reference, with factors across their whole
// range (inverse weights up to 2^16, every step) and coefficients up to the
// 16-bit extremes.
TEST(DvQuantWeightInv, KernelLevelsMatchTheReference) {
    const zep::DvDequantDsp ref = zep::build_table(zep::dv_dequant_init, zt::Isa::Ref);
    std::mt19937 rng(11);
    std::uniform_int_distribution<int> small(-300, 300), any(-32768, 32767), iw(1 << 15, 65535), step(0, 5);
    for (zt::Isa level : zt::simd_levels()) {
        const zep::DvDequantDsp k = zep::build_table(zep::dv_dequant_init, level);
        for (int n = 0; n < 500; ++n) {
            zep::DvFactors f;
            for (int i = 0; i < 64; ++i) {
                const int s = step(rng);
                f.iw[i] = iw(rng), f.round[i] = 1 << (13 - s), f.shift[i] = 14 - s;
            }
            Zep16s a[64], b[64];
            for (int i = 0; i < 64; ++i) a[i] = b[i] = static_cast<Zep16s>(i % 7 == n % 7 ? any(rng) : small(rng));
            ref.block(a, f);
            k.block(b, f);
            for (int i = 1; i < 64; ++i) ASSERT_EQ(a[i], b[i]) << "level " << static_cast<int>(level) << " at " << i;
        }
    }
}

}  // namespace
