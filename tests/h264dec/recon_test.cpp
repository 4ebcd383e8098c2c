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
    int64_t d[16], worst = 0;
    auto see = [&](int64_t v) { worst = std::max(worst, v < 0 ? -v : v); };
    for (int i = 0; i < 16; ++i) {
        d[i] = qp >= 24 ? (int64_t{c[i]} * ls[i]) << (qp / 6 - 4)
                        : (int64_t{c[i]} * ls[i] + (int64_t{1} << (3 - qp / 6))) >> (4 - qp / 6);
        see(d[i]);
    }
    // Rows (s 1), then columns (s 4) with the final rounding folded into e0, e1.
    auto butterfly = [&](int64_t* x, int s, int64_t add) {
        const int64_t e0 = x[0] + x[2 * s] + add, e1 = x[0] - x[2 * s] + add, e2 = (x[s] >> 1) - x[3 * s],
                      e3 = x[s] + (x[3 * s] >> 1);
        x[0] = e0 + e3, x[s] = e1 + e2, x[2 * s] = e1 - e2, x[3 * s] = e0 - e3;
        for (int64_t v : {e0, e1, e2, e3, x[0], x[s], x[2 * s], x[3 * s]}) see(v);
    };
    for (int i = 0; i < 4; ++i) butterfly(d + 4 * i, 1, 0);
    for (int j = 0; j < 4; ++j) butterfly(d + j, 4, 32);
    for (int i = 0; i < 16; ++i) r[i] = d[i] >> 6;
    return worst <= 32767;
}

// Adds a residual to the 4x4 block at (x0, y0), clipped as the standard does.
void add_residual(Picture<Zep8u>& pic, int x0, int y0, const int64_t* pred, const int64_t* res) {
    for (int i = 0; i < 16; ++i) {
        Zep8u& v = pic.at(x0 + i % 4, y0 + i / 4);
        v = static_cast<Zep8u>(std::clamp<int64_t>((pred ? pred[i] : v) + res[i], 0, 255));
    }
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
                auto ls = level_scale(qp);
                // Odd reps scale by a random weight matrix (4..64, flat 16), so the
                // products are no longer multiples of 16 and the rounding shows.
                if (rep & 1)
                    for (auto& v : ls) v = static_cast<Zep16s>(v * rng.range(4, 64) / 16);
                const Zep32u cbp = (rng.u32() & 0x1FFFEu) | 1u;
                int c[256];
                const int lim = qp >= 24 ? std::max(1, 40 >> (qp / 6 - 4)) : 200;
                int64_t r[16];
                for (int b = 0; b < 16; ++b)  // thinned out until the standard's arithmetic stays in 16 bits
                    for (int zeroOdds = 2; zeroOdds == 2 || !std_residual(c + 16 * b, ls.data(), qp, r); zeroOdds += 2)
                        for (int i = 0; i < 16; ++i) c[16 * b + i] = rng.range(0, zeroOdds) ? 0 : rng.range(-lim, lim);
                std::vector<Zep16s> c16(c, c + 256);
                auto pic = Picture<Zep8u>::random(rng, 16, 16, 0);
                pic.fill(Pattern::Random, rng, 0, 255);
                auto expect = pic;
                int used = 0;
                for (int k = 0; k < 16; ++k) {
                    if (!(cbp & (2u << k))) continue;
                    if (bypass && qp == 0) std::copy(c + 16 * used, c + 16 * used + 16, r);
                    else ASSERT_TRUE(std_residual(c + 16 * used, ls.data(), qp, r));
                    ++used;
                    add_residual(expect, zep::kBlockX[k], zep::kBlockY[k], nullptr, r);
                }
                Zep16s* p = c16.data();
                ASSERT_EQ(zepiReconstructLumaInter4x4MB_H264_16s8u_C1R(&p, pic.data(), pic.step(), cbp, qp, ls.data(),
                                                                       static_cast<Zep8u>(bypass)),
                          zepStatusOk);
                EXPECT_EQ(p - c16.data(), 16 * used);
                ASSERT_TRUE(same_array(expect.block(), pic.block(), "qp " + std::to_string(qp) + " bypass " +
                                                                        std::to_string(bypass)));
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
// Availability of neighbour sample (x, y) relative to the macroblock once
// `done` blocks are reconstructed.
bool available(unsigned ef, int done, int x, int y) {
    if (y < 0) return !(ef & (x < 0 ? 16 : x < 16 ? 4 : 32));
    if (x < 0) return !(ef & 1);
    for (int k = 0; k < done; ++k)
        if (x >= zep::kBlockX[k] && x < zep::kBlockX[k] + 4 && y >= zep::kBlockY[k] && y < zep::kBlockY[k] + 4)
            return true;
    return false;
}

TEST(ReconEntry, IntraMatchesStandardPrediction) {
    Rng rng(29);
    int warned = 0;
    auto f2 = [](int a, int b) { return (a + b + 1) >> 1; };
    auto f3 = [](int a, int b, int c) { return (a + 2 * b + c + 2) >> 2; };
    for (int rep = 0; rep < 400; ++rep) {
        Picture<Zep8u> pic(40, 40, 40 + rng.range(0, 9), rng.range(0, 7), 0);  // macroblock at (16, 16)
        pic.fill(Pattern::Random, rng, 0, 255);
        auto work = pic;
        const unsigned ef = rng.u32() & 0x35u;
        const int qp = rng.range(0, 33);  // small residuals: the standard's arithmetic stays in 16 bits
        const auto ls = level_scale(qp);
        const Zep32s cbp = static_cast<Zep32s>(rng.u32() & 0x1FFFEu);
        std::vector<Zep16s> coeffs(256);
        fill(coeffs.data(), 256, Pattern::Random, rng, -6, 6);
        Zep32u modes[16];
        bool expectWarn = false;
        int used = 0;
        for (int k = 0; k < 16; ++k) {
            const int bx = zep::kBlockX[k], by = zep::kBlockY[k];
            const bool A = available(ef, k, bx, by - 1), L = available(ef, k, bx - 1, by);
            const bool AR = available(ef, k, bx + 4, by - 1);
            std::vector<int> ok = {2};
            if (A) ok.insert(ok.end(), {0, 3, 7});
            if (L) ok.insert(ok.end(), {1, 8});
            if (A && L && available(ef, k, bx - 1, by - 1)) ok.insert(ok.end(), {4, 5, 6});
            const int m = ok[rng.range(0, static_cast<int>(ok.size()) - 1)];
            modes[k] = static_cast<Zep32u>(m + (rng.range(0, 5) == 0 && m < 3 ? 9 : 0));
            // p[i, -1] and p[-1, i] of the standard (t(-1) = l(-1) = the corner);
            // a missing above-right row repeats p[3, -1].
            auto t = [&](int i) { return +pic.at(16 + bx + (i >= 4 && !AR ? 3 : i), 15 + by); };
            auto l = [&](int i) { return +pic.at(15 + bx, 16 + by + i); };
            int64_t pred[16], res[16] = {};
            int sa = 0, sl = 0;
            for (int i = 0; i < 4; ++i) sa += t(i), sl += l(i);
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < 4; ++x) {
                    const int zv = 2 * x - y, zh = 2 * y - x, zu = x + 2 * y;
                    const int xs = x - (y >> 1), ys = y - (x >> 1), xv = x + (y >> 1), yu = y + (x >> 1);
                    pred[4 * y + x] = [&] {
                        switch (m) {
                            case 0: return t(x);
                            case 1: return l(y);
                            case 2: return A && L ? (sa + sl + 4) >> 3 : A ? (sa + 2) >> 2 : L ? (sl + 2) >> 2 : 128;
                            case 3: return x == 3 && y == 3 ? f3(t(6), t(7), t(7)) : f3(t(x + y), t(x + y + 1), t(x + y + 2));
                            case 4:
                                return x > y ? f3(t(x - y - 2), t(x - y - 1), t(x - y))
                                       : x < y ? f3(l(y - x - 2), l(y - x - 1), l(y - x)) : f3(t(0), t(-1), l(0));
                            case 5:
                                return zv >= 0 && zv % 2 == 0 ? f2(t(xs - 1), t(xs)) : zv > 0 ? f3(t(xs - 2), t(xs - 1), t(xs))
                                       : zv == -1 ? f3(l(0), l(-1), t(0)) : f3(l(y - 1), l(y - 2), l(y - 3));
                            case 6:
                                return zh >= 0 && zh % 2 == 0 ? f2(l(ys - 1), l(ys)) : zh > 0 ? f3(l(ys - 2), l(ys - 1), l(ys))
                                       : zh == -1 ? f3(l(0), l(-1), t(0)) : f3(t(x - 1), t(x - 2), t(x - 3));
                            case 7: return y % 2 == 0 ? f2(t(xv), t(xv + 1)) : f3(t(xv), t(xv + 1), t(xv + 2));
                            default:
                                return zu > 5 ? l(3) : zu == 5 ? f3(l(2), l(3), l(3))
                                       : zu % 2 ? f3(l(yu), l(yu + 1), l(yu + 2)) : f2(l(yu), l(yu + 1));
                        }
                    }();
                }
            expectWarn |= m == 2 && !A && !L;
            if (cbp & (2 << k)) {
                int c[16];
                std::copy(coeffs.begin() + 16 * used, coeffs.begin() + 16 * used + 16, c);
                ASSERT_TRUE(std_residual(c, ls.data(), qp, res)) << "coefficients too large for the check";
                ++used;
            }
            add_residual(pic, 16 + bx, 16 + by, pred, res);
        }
        Zep16s* p = coeffs.data();
        const ZepStatus st = zepiReconstructLumaIntra4x4MB_H264_16s8u_C1R(
            &p, &work.at(16, 16), work.step(), modes, cbp, static_cast<Zep32u>(qp), static_cast<Zep8u>(ef), ls.data(), 0);
        ASSERT_EQ(st, expectWarn ? zepStatusMissingNeighbours : zepStatusOk) << "rep " << rep;
        warned += expectWarn;
        ASSERT_EQ(p - coeffs.data(), 16 * used);
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
