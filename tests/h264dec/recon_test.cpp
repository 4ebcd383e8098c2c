// Reconstruction and inverse transforms: SIMD kernels against the library's
// reference, the reference against a plain reading of the standard's
// dequantisation, transform and Intra_4x4 prediction, and the entry checks.
#include <algorithm>
#include <cstdlib>

#include "h264/recon_dsp.h"
#include "h264/recon_ref.h"
#include "harness/harness.h"
#include "harness/null_sweep.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::ReconDsp;

// Flat LevelScale4x4 for qp % 6.
std::vector<Zep16s> level_scale(int qp) {
    static const int v[6][3] = {{10, 16, 13}, {11, 18, 14}, {13, 20, 16}, {14, 23, 18}, {16, 25, 20}, {18, 29, 23}};
    std::vector<Zep16s> s(16);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            const int cls = (i % 2 == 0 && j % 2 == 0) ? 0 : (i % 2 == 1 && j % 2 == 1) ? 1 : 2;
            s[4 * i + j] = static_cast<Zep16s>(16 * v[qp % 6][cls]);
        }
    return s;
}

// ---- plain standard arithmetic (int64, no saturation) ----
// Returns false when some intermediate value leaves the 16-bit range (where
// the library saturates and the standard's arithmetic does not apply).
bool std_residual(const int* c, const Zep16s* ls, int qp, int64_t* r) {
    int64_t d[16], f[16], worst = 0;
    auto see = [&](int64_t v) { worst = std::max(worst, v < 0 ? -v : v); };
    for (int i = 0; i < 16; ++i) {
        d[i] = qp >= 24 ? (int64_t{c[i]} * ls[i]) << (qp / 6 - 4)
                        : (int64_t{c[i]} * ls[i] + (int64_t{1} << (3 - qp / 6))) >> (4 - qp / 6);
        see(d[i]);
    }
    for (int i = 0; i < 4; ++i) {
        const int64_t* x = d + 4 * i;
        const int64_t e0 = x[0] + x[2], e1 = x[0] - x[2], e2 = (x[1] >> 1) - x[3], e3 = x[1] + (x[3] >> 1);
        f[4 * i] = e0 + e3, f[4 * i + 1] = e1 + e2, f[4 * i + 2] = e1 - e2, f[4 * i + 3] = e0 - e3;
        for (int64_t v : {e0, e1, e2, e3, f[4 * i], f[4 * i + 1], f[4 * i + 2], f[4 * i + 3]}) see(v);
    }
    for (int j = 0; j < 4; ++j) {
        const int64_t e0 = f[j] + f[8 + j] + 32, e1 = f[j] - f[8 + j] + 32, e2 = (f[4 + j] >> 1) - f[12 + j],
                      e3 = f[4 + j] + (f[12 + j] >> 1);
        for (int64_t v : {e0, e1, e2, e3, e0 + e3, e1 + e2, e1 - e2, e0 - e3}) see(v);
        r[j] = (e0 + e3) >> 6, r[4 + j] = (e1 + e2) >> 6, r[8 + j] = (e1 - e2) >> 6, r[12 + j] = (e0 - e3) >> 6;
    }
    return worst <= 32767;
}

TEST(ReconKernels, EveryLevelMatchesReference) {
    const ReconDsp ref = zep::build_table(zep::recon_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const ReconDsp k = zep::build_table(zep::recon_init, level);
        Rng rng(3);
        for (Pattern pat : kAllPatterns)
            for (int qp = 0; qp <= 51; ++qp) {
                const auto q = zep::qp_shift(qp);
                auto ls = level_scale(qp);
                if (pat == Pattern::Extremes) fill(ls.data(), 16, Pattern::Random, rng, -32768, 32767);
                // Inter macroblock with a random pattern of coded blocks.
                const Zep32u cbp = rng.u32() | (rng.coin() ? 0x1FFFEu : 0u);
                std::vector<Zep16s> c(256);
                fill(c.data(), 256, pat, rng, -32768, 32767);
                if (pat == Pattern::SmallNoise) fill(c.data(), 256, Pattern::Random, rng, -64, 64);
                auto pic = Picture<Zep8u>::random(rng, 16, 16, 0);
                pic.fill(rng.coin() ? pat : Pattern::Random, rng, 0, 255);
                auto pic2 = pic;
                std::vector<Zep16s> c2 = c;
                Zep16s *p1 = c.data(), *p2 = c2.data();
                ref.inter_mb(&p1, pic.data(), pic.step(), cbp, ls.data(), q);
                k.inter_mb(&p2, pic2.data(), pic2.step(), cbp, ls.data(), q);
                const std::string ctx = context(level, pat, "qp " + std::to_string(qp) + " cbp " + std::to_string(cbp) +
                                                                " " + pic.describe());
                ASSERT_EQ(p1 - c.data(), p2 - c2.data()) << ctx;
                ASSERT_TRUE(same_array(pic.block(), pic2.block(), ctx));
                ASSERT_TRUE(same_array(c, c2, ctx));
                // One block.
                fill(c.data(), 16, pat, rng, -32768, 32767);
                c2 = c;
                ref.block(c.data(), pic.data(), pic.step(), ls.data(), q);
                k.block(c2.data(), pic2.data(), pic2.step(), ls.data(), q);
                ASSERT_TRUE(same_array(pic.block(), pic2.block(), ctx));
                ASSERT_TRUE(same_array(c.data(), c2.data(), 16, ctx));
                // Stand-alone transforms.
                Zep16s a[16], o1[16], o2[16];
                fill(a, 16, pat, rng, -32768, 32767);
                ref.itrans16(a, o1);
                k.itrans16(a, o2);
                ASSERT_TRUE(same_array(o1, o2, 16, ctx));
                Zep32s b[16], w1[16], w2[16];
                fill(b, 16, pat, rng, INT32_MIN, INT32_MAX);
                ref.itrans32(b, w1);
                k.itrans32(b, w2);
                ASSERT_TRUE(same_array(w1, w2, 16, ctx));
            }
    }
}

// Every qp against the standard's arithmetic, with coefficients small enough
// that no 16-bit saturation can occur; bypass at qp 0 adds the raw values.
TEST(ReconEntry, InterMatchesStandardEveryQp) {
    Rng rng(17);
    for (int bypass = 0; bypass < 2; ++bypass)
        for (int qp = 0; qp <= 51; ++qp)
            for (int rep = 0; rep < 4; ++rep) {
                const auto ls = level_scale(qp);
                const Zep32u cbp = (rng.u32() & 0x1FFFEu) | 1u;
                int c[256];
                const int lim = qp >= 24 ? std::max(1, 40 >> (qp / 6 - 4)) : 200;
                for (int b = 0; b < 16; ++b) {
                    // Thin the block out until the standard's arithmetic stays in 16 bits.
                    int64_t scratch[16];
                    for (int zeroOdds = 2;; zeroOdds += 2) {
                        for (int i = 0; i < 16; ++i) c[16 * b + i] = rng.range(0, zeroOdds) ? 0 : rng.range(-lim, lim);
                        if (std_residual(c + 16 * b, ls.data(), qp, scratch)) break;
                    }
                }
                std::vector<Zep16s> c16(c, c + 256);
                auto pic = Picture<Zep8u>::random(rng, 16, 16, 0);
                pic.fill(Pattern::Random, rng, 0, 255);
                std::vector<int> expect(256);
                int used = 0;
                for (int y = 0; y < 16; ++y)
                    for (int x = 0; x < 16; ++x) expect[16 * y + x] = pic.at(x, y);
                for (int k = 0; k < 16; ++k) {
                    if (!(cbp & (2u << k))) continue;
                    int64_t r[16];
                    if (bypass && qp == 0)
                        for (int i = 0; i < 16; ++i) r[i] = c[16 * used + i];
                    else
                        ASSERT_TRUE(std_residual(c + 16 * used, ls.data(), qp, r));
                    ++used;
                    for (int i = 0; i < 16; ++i) {
                        int& e = expect[16 * (zep::kBlockY[k] + i / 4) + zep::kBlockX[k] + i % 4];
                        e = static_cast<int>(std::clamp<int64_t>(e + r[i], 0, 255));
                    }
                }
                Zep16s* p = c16.data();
                ASSERT_EQ(zepiReconstructLumaInter4x4MB_H264_16s8u_C1R(&p, pic.data(), pic.step(), cbp, qp, ls.data(),
                                                                       static_cast<Zep8u>(bypass)),
                          zepStatusOk);
                EXPECT_EQ(p - c16.data(), 16 * used);
                for (int y = 0; y < 16; ++y)
                    for (int x = 0; x < 16; ++x)
                        ASSERT_EQ(pic.at(x, y), expect[16 * y + x])
                            << "qp " << qp << " bypass " << bypass << " at " << x << "," << y;
            }
}

// Saturation, not wrap-around: row 0 = 20000 0 20000 0 overflows e0.
TEST(ReconEntry, TransformsSaturateOrWrapAsDocumented) {
    Zep16s a[16] = {20000, 0, 20000, 0}, o[16];
    ASSERT_EQ(zepiTransformResidual4x4Inv_H264_16s_C1(a, o), zepStatusOk);
    for (int y = 0; y < 4; ++y) {
        EXPECT_EQ(o[4 * y], 511);
        EXPECT_EQ(o[4 * y + 1], 0);
        EXPECT_EQ(o[4 * y + 2], 0);
        EXPECT_EQ(o[4 * y + 3], 511);
    }
    Zep32s b[16] = {20000, 0, 20000, 0}, w[16];
    ASSERT_EQ(zepiTransformResidual4x4Inv_H264_32s_C1(b, w), zepStatusOk);
    for (int y = 0; y < 4; ++y) EXPECT_EQ(w[4 * y], 625);
    EXPECT_TRUE(null_sweep(zepiTransformResidual4x4Inv_H264_16s_C1, a, o));
    EXPECT_TRUE(null_sweep(zepiTransformResidual4x4Inv_H264_32s_C1, b, w));
}

// ---- Intra_4x4 against the standard's equations on the plane ----
struct IntraRef {
    Picture<Zep8u>& pic;  // block at (16,16) of a 40x40 picture
    unsigned ef;
    int done = 0;  // blocks reconstructed so far
    // Availability of neighbour sample (x, y) relative to the macroblock.
    bool avail(int x, int y) const {
        if (y < 0) {
            if (x < 0) return !(ef & 16);
            if (x < 16) return !(ef & 4);
            return !(ef & 32);
        }
        if (x < 0) return !(ef & 1);
        if (x >= 16) return false;
        for (int k = 0; k < done; ++k)
            if (x >= zep::kBlockX[k] && x < zep::kBlockX[k] + 4 && y >= zep::kBlockY[k] && y < zep::kBlockY[k] + 4)
                return true;
        return false;
    }
    int s(int x, int y) const { return pic.at(16 + x, 16 + y); }
};

TEST(ReconEntry, IntraMatchesStandardPrediction) {
    Rng rng(29);
    int warned = 0;
    for (int rep = 0; rep < 400; ++rep) {
        Picture<Zep8u> pic(40, 40, 40 + rng.range(0, 9), rng.range(0, 7), 0);
        pic.fill(Pattern::Random, rng, 0, 255);
        auto work = pic;
        const unsigned ef = rng.u32() & 0x35u;
        const int qp = rng.range(0, 33);  // small residuals: the standard's arithmetic stays in 16 bits
        const auto ls = level_scale(qp);
        const Zep32s cbp = static_cast<Zep32s>(rng.u32() & 0x1FFFEu);
        std::vector<Zep16s> coeffs(256);
        fill(coeffs.data(), 256, Pattern::Random, rng, -6, 6);
        std::vector<Zep16s> work_coeffs = coeffs;
        Zep32u modes[16];
        IntraRef r{pic, ef};
        bool expectWarn = false;
        int used = 0;
        for (int k = 0; k < 16; ++k) {
            const int bx = zep::kBlockX[k], by = zep::kBlockY[k];
            const bool A = r.avail(bx, by - 1), L = r.avail(bx - 1, by), Q = r.avail(bx - 1, by - 1);
            const bool AR = r.avail(bx + 4, by - 1);
            std::vector<int> ok = {2};
            if (A) ok.insert(ok.end(), {0, 3, 7});
            if (L) ok.insert(ok.end(), {1, 8});
            if (A && L && Q) ok.insert(ok.end(), {4, 5, 6});
            const int m = ok[rng.range(0, static_cast<int>(ok.size()) - 1)];
            modes[k] = static_cast<Zep32u>(m + (rng.range(0, 5) == 0 && m < 3 ? 9 : 0));
            auto P = [&](int x, int y) {  // p[x, y] of the standard, x or y = -1 for neighbours
                if (y == -1 && x >= 4 && !AR) return r.s(bx + 3, by - 1);
                return r.s(bx + x, by + y);
            };
            int pred[4][4];
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < 4; ++x) {
                    int v = 0;
                    switch (m) {
                        case 0: v = P(x, -1); break;
                        case 1: v = P(-1, y); break;
                        case 2: {
                            int sa = 0, sl = 0;
                            for (int i = 0; i < 4; ++i) sa += P(i, -1), sl += P(-1, i);
                            v = A && L ? (sa + sl + 4) >> 3 : A ? (sa + 2) >> 2 : L ? (sl + 2) >> 2 : 128;
                            if (!A && !L) expectWarn = true;
                            break;
                        }
                        case 3:
                            v = (x == 3 && y == 3) ? (P(6, -1) + 3 * P(7, -1) + 2) >> 2
                                                   : (P(x + y, -1) + 2 * P(x + y + 1, -1) + P(x + y + 2, -1) + 2) >> 2;
                            break;
                        case 4:
                            v = x > y   ? (P(x - y - 2, -1) + 2 * P(x - y - 1, -1) + P(x - y, -1) + 2) >> 2
                                : x < y ? (P(-1, y - x - 2) + 2 * P(-1, y - x - 1) + P(-1, y - x) + 2) >> 2
                                        : (P(0, -1) + 2 * P(-1, -1) + P(-1, 0) + 2) >> 2;
                            break;
                        case 5: {
                            const int z = 2 * x - y;
                            v = (z >= 0 && z % 2 == 0) ? (P(x - (y >> 1) - 1, -1) + P(x - (y >> 1), -1) + 1) >> 1
                                : z > 0 ? (P(x - (y >> 1) - 2, -1) + 2 * P(x - (y >> 1) - 1, -1) + P(x - (y >> 1), -1) + 2) >> 2
                                : z == -1 ? (P(-1, 0) + 2 * P(-1, -1) + P(0, -1) + 2) >> 2
                                          : (P(-1, y - 1) + 2 * P(-1, y - 2) + P(-1, y - 3) + 2) >> 2;
                            break;
                        }
                        case 6: {
                            const int z = 2 * y - x;
                            v = (z >= 0 && z % 2 == 0) ? (P(-1, y - (x >> 1) - 1) + P(-1, y - (x >> 1)) + 1) >> 1
                                : z > 0 ? (P(-1, y - (x >> 1) - 2) + 2 * P(-1, y - (x >> 1) - 1) + P(-1, y - (x >> 1)) + 2) >> 2
                                : z == -1 ? (P(-1, 0) + 2 * P(-1, -1) + P(0, -1) + 2) >> 2
                                          : (P(x - 1, -1) + 2 * P(x - 2, -1) + P(x - 3, -1) + 2) >> 2;
                            break;
                        }
                        case 7:
                            v = (y % 2 == 0) ? (P(x + (y >> 1), -1) + P(x + (y >> 1) + 1, -1) + 1) >> 1
                                             : (P(x + (y >> 1), -1) + 2 * P(x + (y >> 1) + 1, -1) + P(x + (y >> 1) + 2, -1) + 2) >> 2;
                            break;
                        default: {
                            const int z = x + 2 * y;
                            v = z > 5 ? P(-1, 3)
                                : z == 5 ? (P(-1, 2) + 3 * P(-1, 3) + 2) >> 2
                                : z % 2 ? (P(-1, y + (x >> 1)) + 2 * P(-1, y + (x >> 1) + 1) + P(-1, y + (x >> 1) + 2) + 2) >> 2
                                        : (P(-1, y + (x >> 1)) + P(-1, y + (x >> 1) + 1) + 1) >> 1;
                        }
                    }
                    pred[y][x] = v;
                }
            int64_t res[16] = {};
            if (cbp & (2 << k)) {
                int c[16];
                for (int i = 0; i < 16; ++i) c[i] = coeffs[16 * used + i];
                ASSERT_TRUE(std_residual(c, ls.data(), qp, res)) << "coefficients too large for the check";
                ++used;
            }
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < 4; ++x)
                    pic.at(16 + bx + x, 16 + by + y) =
                        static_cast<Zep8u>(std::clamp<int64_t>(pred[y][x] + res[4 * y + x], 0, 255));
            r.done = k + 1;
        }
        Zep16s* p = work_coeffs.data();
        const ZepStatus st = zepiReconstructLumaIntra4x4MB_H264_16s8u_C1R(
            &p, &work.at(16, 16), work.step(), modes, cbp, static_cast<Zep32u>(qp), static_cast<Zep8u>(ef), ls.data(), 0);
        ASSERT_EQ(st, expectWarn ? zepStatusMissingNeighbours : zepStatusOk) << "rep " << rep;
        warned += expectWarn;
        ASSERT_EQ(p - work_coeffs.data(), 16 * used);
        ASSERT_TRUE(same_array(pic.block(), work.block(), "rep " + std::to_string(rep) + " ef " + std::to_string(ef)));
    }
    EXPECT_GT(warned, 0);
}

TEST(ReconEntry, MissingNeighboursFillWith128) {
    // Top-left picture corner, every block DC: block 0 is 128 and +11; modes
    // 0, 1 and 8 without their neighbours also give 128.
    for (Zep32u mode : {0u, 1u, 2u, 8u, 11u}) {
        std::vector<Zep8u> plane(17 * 17, 7);
        Zep32u modes[16];
        for (auto& m : modes) m = 2;
        modes[0] = mode;
        Zep16s c[16] = {};
        Zep16s* p = c;
        const auto ls = level_scale(10);
        EXPECT_EQ(zepiReconstructLumaIntra4x4MB_H264_16s8u_C1R(&p, plane.data() + 18, 17, modes, 0, 10, 0x35, ls.data(), 0),
                  zepStatusMissingNeighbours);
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 4; ++x) EXPECT_EQ(plane[18 + 17 * y + x], 128) << "mode " << mode;
    }
}

TEST(ReconEntry, ChecksInOrderAndEarlyReturn) {
    std::vector<Zep8u> plane(16 * 16, 9);
    const auto planeCopy = plane;
    Zep16s c[256] = {};
    c[0] = 100;
    Zep16s *p = c, *np = nullptr;
    const auto ls = level_scale(0);
    Zep32u modes[16] = {};
    // Null pointers (outer and inner) before the qp range check.
    EXPECT_TRUE(null_sweep(zepiReconstructLumaInter4x4MB_H264_16s8u_C1R, &p, plane.data(), 16u, 2u, 60, ls.data(), Zep8u(0)));
    EXPECT_TRUE(null_sweep(zepiReconstructLumaIntra4x4MB_H264_16s8u_C1R, &p, plane.data(), 16u, modes, 2, 60u, Zep8u(0),
                           ls.data(), Zep8u(0)));
    EXPECT_EQ(zepiReconstructLumaInter4x4MB_H264_16s8u_C1R(&np, plane.data(), 16, 2, 60, ls.data(), 0), zepStatusNullPtr);
    EXPECT_EQ(zepiReconstructLumaIntra4x4MB_H264_16s8u_C1R(&np, plane.data(), 16, modes, 2, 60, 0, ls.data(), 0), zepStatusNullPtr);
    for (Zep32s qp : {52, -1}) {
        EXPECT_EQ(zepiReconstructLumaInter4x4MB_H264_16s8u_C1R(&p, plane.data(), 16, 2, qp, ls.data(), 0), zepStatusOutOfRange);
        EXPECT_EQ(zepiReconstructLumaIntra4x4MB_H264_16s8u_C1R(&p, plane.data(), 16, modes, 2, static_cast<Zep32u>(qp), 0,
                                                               ls.data(), 0),
                  zepStatusOutOfRange);
    }
    // Only bit 0 (and bits above 16): nothing read or written.
    EXPECT_EQ(zepiReconstructLumaInter4x4MB_H264_16s8u_C1R(&p, plane.data(), 16, 0xFFFE0001u, 20, ls.data(), 0), zepStatusOk);
    EXPECT_EQ(p, c);
    EXPECT_EQ(c[0], 100);
    EXPECT_EQ(plane, planeCopy);
    // A coded block is consumed: overwritten with its residual, the pointer past it.
    EXPECT_EQ(zepiReconstructLumaInter4x4MB_H264_16s8u_C1R(&p, plane.data(), 16, 2, 0, ls.data(), 0), zepStatusOk);
    EXPECT_EQ(p, c + 16);
    EXPECT_EQ(plane[0], 9 + 16);
    EXPECT_EQ(c[0], 16);  // DC 100 * 160 -> 1000 -> (1000 + 32) >> 6
}

}  // namespace
