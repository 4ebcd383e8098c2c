// 8x8 DCTs: the IEEE 1180-1990 accuracy procedure for the inverse transform,
// the forward transform against the exact one, every kernel level against the
// reference (extreme inputs included), the transposed forms, and the checks.
#include <cmath>
#include <cstdio>

#include "dct/dct_dsp.h"
#include "harness/harness.h"
#include "harness/null_sweep.h"
#include "zepvc.h"

namespace {

using namespace zt;

// The exact 2-D DCT pair in double precision.
double basis(int k, int n) { return (k == 0 ? std::sqrt(0.125) : 0.5) * std::cos((2 * n + 1) * k * M_PI / 16); }
void exact_fdct(const double (&x)[64], double (&X)[64]) {
    for (int u = 0; u < 8; ++u)
        for (int v = 0; v < 8; ++v) {
            double s = 0;
            for (int i = 0; i < 8; ++i)
                for (int j = 0; j < 8; ++j) s += basis(u, i) * basis(v, j) * x[i * 8 + j];
            X[u * 8 + v] = s;
        }
}
void exact_idct(const double (&X)[64], double (&x)[64]) {
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j < 8; ++j) {
            double s = 0;
            for (int u = 0; u < 8; ++u)
                for (int v = 0; v < 8; ++v) s += basis(u, i) * basis(v, j) * X[u * 8 + v];
            x[i * 8 + j] = s;
        }
}

// The test's own random generator: the linear congruential one the IEEE
// procedure prescribes, so the blocks are the procedure's blocks.
class Ieee1180Random {
public:
    long next(long L, long H) {
        randx_ = randx_ * 1103515245u + 12345u;  // 32-bit arithmetic, as the procedure's generator
        const long i = static_cast<long>(randx_ & 0x7ffffffeu);
        const double x = static_cast<double>(i) / static_cast<double>(0x7ffffffe) * static_cast<double>(L + H + 1);
        return static_cast<long>(x) - L;
    }

private:
    uint32_t randx_ = 1;
};

long clampl(long v, long lo, long hi) { return v < lo ? lo : (v > hi ? hi : v); }

struct Accuracy {
    int peak = 0;
    double pmse = 0, omse = 0, pme = 0, ome = 0;  // worst per-position values, overall values
};

Accuracy ieee1180(long L, long H, int sign) {
    Ieee1180Random rnd;
    long long sumErr[64] = {}, sumSq[64] = {};
    Accuracy a;
    constexpr int kBlocks = 10000;
    for (int b = 0; b < kBlocks; ++b) {
        double x[64], X[64], ref[64];
        for (double& v : x) v = static_cast<double>(rnd.next(L, H));
        exact_fdct(x, X);
        Zep16s coef[64];
        double Xi[64];
        for (int i = 0; i < 64; ++i) {
            coef[i] = static_cast<Zep16s>(sign * clampl(std::lround(X[i]), -2048, 2047));
            Xi[i] = coef[i];
        }
        exact_idct(Xi, ref);
        Zep16s out[64];
        EXPECT_EQ(zepiDCT8x8Inv_16s_C1(coef, out), zepStatusOk);
        for (int i = 0; i < 64; ++i) {
            const long r = clampl(std::lround(ref[i]), -256, 255);
            const long e = clampl(out[i], -256, 255) - r;
            a.peak = std::max(a.peak, static_cast<int>(std::labs(e)));
            sumErr[i] += e;
            sumSq[i] += e * e;
        }
    }
    long long totErr = 0, totSq = 0;
    for (int i = 0; i < 64; ++i) {
        a.pmse = std::max(a.pmse, static_cast<double>(sumSq[i]) / kBlocks);
        a.pme = std::max(a.pme, std::fabs(static_cast<double>(sumErr[i]) / kBlocks));
        totErr += sumErr[i];
        totSq += sumSq[i];
    }
    a.omse = static_cast<double>(totSq) / (64.0 * kBlocks);
    a.ome = std::fabs(static_cast<double>(totErr) / (64.0 * kBlocks));
    return a;
}

TEST(Idct8x8, MeetsIeee1180Limits) {
    struct Range {
        long L, H;
    };
    for (Range r : {Range{256, 255}, Range{5, 5}, Range{300, 300}})
        for (int sign : {1, -1}) {
            const Accuracy a = ieee1180(r.L, r.H, sign);
            const std::string ctx = "range -" + std::to_string(r.L) + ".." + std::to_string(r.H) + " sign " +
                                    std::to_string(sign);
            std::printf("%s: peak %d, worst position mse %.4f, overall mse %.5f, worst position mean %.4f, overall "
                        "mean %.5f\n", ctx.c_str(), a.peak, a.pmse, a.omse, a.pme, a.ome);
            EXPECT_LE(a.peak, 1) << ctx;
            EXPECT_LE(a.pmse, 0.06) << ctx;
            EXPECT_LE(a.omse, 0.02) << ctx;
            EXPECT_LE(a.pme, 0.015) << ctx;
            EXPECT_LE(a.ome, 0.0015) << ctx;
        }
    Zep16s zero[64] = {}, out[64];
    std::fill_n(out, 64, Zep16s{77});
    ASSERT_EQ(zepiDCT8x8Inv_16s_C1(zero, out), zepStatusOk);
    for (Zep16s v : out) EXPECT_EQ(v, 0);
}

// The forward transform rounds the exact one; inverse after forward gives the
// block back within one on sample blocks.
TEST(Fdct8x8, MatchesExactTransformAndInverts) {
    Rng rng(5);
    for (int it = 0; it < 2000; ++it) {
        const int lo = it % 2 ? -255 : 0, hi = 255;
        Zep8u pix[8 * 11];
        Zep16s s[64], c[64], back[64];
        double x[64], X[64];
        for (int i = 0; i < 64; ++i) {
            s[i] = static_cast<Zep16s>(rng.range(lo, hi));
            x[i] = s[i];
            pix[(i / 8) * 11 + i % 8] = static_cast<Zep8u>(s[i] & 255);
        }
        exact_fdct(x, X);
        ASSERT_EQ(zepiDCT8x8Fwd_16s_C1(s, c), zepStatusOk);
        for (int i = 0; i < 64; ++i) ASSERT_LE(std::fabs(c[i] - X[i]), 1.0) << "block " << it << " coefficient " << i;
        ASSERT_EQ(zepiDCT8x8Inv_16s_C1(c, back), zepStatusOk);
        for (int i = 0; i < 64; ++i) ASSERT_LE(std::abs(back[i] - s[i]), 1) << "block " << it << " sample " << i;
        // The 8-bit form reads the same samples from a picture.
        if (lo == 0) {
            Zep16s c8[64];
            ASSERT_EQ(zepiDCT8x8Fwd_8u16s_C1R(pix, 11, c8), zepStatusOk);
            for (int i = 0; i < 64; ++i) ASSERT_EQ(c8[i], c[i]) << "block " << it;
        }
    }
}

// Kernels on random blocks of every kind of value: small coefficients, the
// 12-bit range, and full 16-bit values that saturate and wrap.
TEST(DctKernels, EveryLevelMatchesReference) {
    const zep::DctDsp ref = zep::build_table(zep::dct_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const zep::DctDsp k = zep::build_table(zep::dct_init, level);
        Rng rng(6);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 60; ++it) {
                const int range = it % 3 == 0 ? 32768 : (it % 3 == 1 ? 2048 : 64);
                std::vector<Zep16s> src(64);
                fill(src.data(), 64, pat, rng, -range, range - 1);
                const std::string ctx = "range " + std::to_string(range);
                for (int t = 0; t < 2; ++t) {
                    std::vector<Zep16s> a(64), b(64);
                    ref.inv[t][0](src.data(), a.data(), 8);
                    k.inv[t][0](src.data(), b.data(), 8);
                    ASSERT_TRUE(same_array(a, b, context(level, pat, ctx + " 16s transposed " + std::to_string(t))));
                    for (int o = 1; o < 3; ++o) {
                        Picture<Zep8u> pa = Picture<Zep8u>::random(rng, 8, 8, 0);
                        pa.fill(Pattern::Random, rng, 0, 255);
                        Picture<Zep8u> pb = pa;
                        ref.inv[t][o](src.data(), pa.data(), pa.step());
                        k.inv[t][o](src.data(), pb.data(), pb.step());
                        ASSERT_TRUE(same_array(pa.block(), pb.block(),
                                               context(level, pat, ctx + " 8u form " + std::to_string(o) + " " + pa.describe())));
                    }
                }
                std::vector<Zep16s> a(64), b(64);
                ref.fwd(src.data(), a.data());
                k.fwd(src.data(), b.data());
                ASSERT_TRUE(same_array(a, b, context(level, pat, ctx + " forward")));
                Picture<Zep8u> pix = Picture<Zep8u>::random(rng, 8, 8, 0);
                pix.fill(pat, rng, 0, 255);
                ref.fwd8u(pix.data(), pix.step(), a.data());
                k.fwd8u(pix.data(), pix.step(), b.data());
                ASSERT_TRUE(same_array(a, b, context(level, pat, "forward 8u " + pix.describe())));
            }
    }
}

// The transposed forms equal the plain ones on the transposed block; the
// in-place form equals the out-of-place one.
TEST(DctEntry, TransposedAndInPlaceFormsAgree) {
    Rng rng(7);
    for (int it = 0; it < 200; ++it) {
        Zep16s x[64], xt[64], a[64], b[64];
        for (int i = 0; i < 64; ++i) x[i] = static_cast<Zep16s>(rng.range(-2048, 2047) >> rng.range(0, 10));
        for (int i = 0; i < 64; ++i) xt[(i % 8) * 8 + i / 8] = x[i];
        ASSERT_EQ(zepiDCT8x8Inv_16s_C1(x, a), zepStatusOk);
        ASSERT_EQ(zepiDCT8x8InvTransposed_16s_C1(xt, b), zepStatusOk);
        ASSERT_TRUE(same_array(a, b, 64, "transposed 16s"));
        Zep8u p1[8 * 9], p2[8 * 9], q1[8 * 9], q2[8 * 9];
        for (int i = 0; i < 72; ++i) p1[i] = p2[i] = q1[i] = q2[i] = static_cast<Zep8u>(rng.range(0, 255));
        ASSERT_EQ(zepiDCT8x8Inv_16s8u_C1R(x, p1, 9), zepStatusOk);
        ASSERT_EQ(zepiDCT8x8InvTransposed_16s8u_C1R(xt, p2, 9), zepStatusOk);
        ASSERT_TRUE(same_array(p1, p2, 72, "transposed 8u"));
        ASSERT_EQ(zepiDCT8x8InvAdd_16s8u_C1IR(x, q1, 9), zepStatusOk);
        ASSERT_EQ(zepiDCT8x8InvTransposedAdd_16s8u_C1IR(xt, q2, 9), zepStatusOk);
        ASSERT_TRUE(same_array(q1, q2, 72, "transposed add"));
        for (int i = 0; i < 64; ++i) {
            const int clamp = std::min(255, std::max(0, static_cast<int>(a[i])));
            ASSERT_EQ(p1[(i / 8) * 9 + i % 8], clamp) << "clamped sample " << i;
        }
        ASSERT_EQ(zepiDCT8x8Inv_16s_C1I(x), zepStatusOk);
        ASSERT_TRUE(same_array(a, x, 64, "in place"));
    }
}

TEST(DctEntry, ChecksInOrderAndWriteNothing) {
    Guarded<Zep8u> g8(8 * 8);
    Guarded<Zep16s> g16(64);
    const Zep16s src[64] = {100};
    const Zep8u pix[64] = {};
    EXPECT_TRUE(null_sweep(zepiDCT8x8Inv_16s_C1, src, g16.data()));
    EXPECT_TRUE(null_sweep(zepiDCT8x8Inv_16s_C1I, g16.data()));
    EXPECT_TRUE(null_sweep(zepiDCT8x8InvTransposed_16s_C1, src, g16.data()));
    EXPECT_TRUE(null_sweep(zepiDCT8x8Fwd_16s_C1, src, g16.data()));
    // Pointers come before the step, which is wrong here too.
    EXPECT_TRUE(null_sweep(zepiDCT8x8Inv_16s8u_C1R, src, g8.data(), 0));
    EXPECT_TRUE(null_sweep(zepiDCT8x8InvAdd_16s8u_C1IR, src, g8.data(), 0));
    EXPECT_TRUE(null_sweep(zepiDCT8x8InvTransposed_16s8u_C1R, src, g8.data(), 0));
    EXPECT_TRUE(null_sweep(zepiDCT8x8InvTransposedAdd_16s8u_C1IR, src, g8.data(), 0));
    EXPECT_TRUE(null_sweep(zepiDCT8x8Fwd_8u16s_C1R, pix, 0, g16.data()));
    for (Zep32s step : {7, 0, -8}) {
        EXPECT_EQ(zepiDCT8x8Inv_16s8u_C1R(src, g8.data(), step), zepStatusBadStep);
        EXPECT_EQ(zepiDCT8x8InvAdd_16s8u_C1IR(src, g8.data(), step), zepStatusBadStep);
        EXPECT_EQ(zepiDCT8x8InvTransposed_16s8u_C1R(src, g8.data(), step), zepStatusBadStep);
        EXPECT_EQ(zepiDCT8x8InvTransposedAdd_16s8u_C1IR(src, g8.data(), step), zepStatusBadStep);
        EXPECT_EQ(zepiDCT8x8Fwd_8u16s_C1R(pix, step, g16.data()), zepStatusBadStep);
    }
    EXPECT_TRUE(g8.untouched());
    EXPECT_TRUE(g16.untouched());
}

}  // namespace
