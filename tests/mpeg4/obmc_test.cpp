// H.263 overlapped block motion compensation against the Annex F weighting
// written out as matrices, the matrices' structure, kernel levels, checks.
#include <vector>

#include "harness/harness.h"
#include "harness/null_sweep.h"
#include "mpeg4/obmc_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;

// Annex F's matrices: the own prediction, the above/below one, the left/right one.
constexpr int kH0[8][8] = {{4, 5, 5, 5, 5, 5, 5, 4}, {5, 5, 5, 5, 5, 5, 5, 5}, {5, 5, 6, 6, 6, 6, 5, 5},
                           {5, 5, 6, 6, 6, 6, 5, 5}, {5, 5, 6, 6, 6, 6, 5, 5}, {5, 5, 6, 6, 6, 6, 5, 5},
                           {5, 5, 5, 5, 5, 5, 5, 5}, {4, 5, 5, 5, 5, 5, 5, 4}};
constexpr int kH1[8][8] = {{2, 2, 2, 2, 2, 2, 2, 2}, {1, 1, 2, 2, 2, 2, 1, 1}, {1, 1, 1, 1, 1, 1, 1, 1},
                           {1, 1, 1, 1, 1, 1, 1, 1}, {1, 1, 1, 1, 1, 1, 1, 1}, {1, 1, 1, 1, 1, 1, 1, 1},
                           {1, 1, 2, 2, 2, 2, 1, 1}, {2, 2, 2, 2, 2, 2, 2, 2}};
constexpr int kH2[8][8] = {{2, 1, 1, 1, 1, 1, 1, 2}, {2, 2, 1, 1, 1, 1, 2, 2}, {2, 2, 1, 1, 1, 1, 2, 2},
                           {2, 2, 1, 1, 1, 1, 2, 2}, {2, 2, 1, 1, 1, 1, 2, 2}, {2, 2, 1, 1, 1, 1, 2, 2},
                           {2, 2, 1, 1, 1, 1, 2, 2}, {2, 1, 1, 1, 1, 1, 1, 2}};

// The three weights share out 8 at every position, symmetrically about both axes.
TEST(Obmc, WeightsSumToEightSymmetrically) {
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            EXPECT_EQ(kH0[y][x] + kH1[y][x] + kH2[y][x], 8) << x << "," << y;
            EXPECT_EQ(kH1[y][x], kH1[7 - y][7 - x]);
            EXPECT_EQ(kH2[y][x], kH2[7 - y][x]);
        }
}

TEST(Obmc, MatchesAnnexFWeighting) {
    Rng rng(191);
    for (Pattern pat : kAllPatterns)
        for (int it = 0; it < 100; ++it) {
            std::vector<Picture<Zep8u>> src;
            for (int k = 0; k < 5; ++k) {
                src.push_back(Picture<Zep8u>::random(rng, 8, 8, 0));
                src.back().fill(k == 0 ? pat : Pattern::Random, rng, 0, 255);
            }
            Picture<Zep8u> dst = Picture<Zep8u>::random(rng, 8, 8, 0);
            ASSERT_EQ(zepiOBMC8x8_H263_8u_C1R(src[0].data(), src[0].step(), src[1].data(), src[1].step(), src[2].data(),
                                              src[2].step(), src[3].data(), src[3].step(), src[4].data(), src[4].step(),
                                              dst.data(), dst.step()),
                      zepStatusOk);
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 8; ++x) {
                    const int vert = y < 4 ? src[1].at(x, y) : src[2].at(x, y);
                    const int horiz = x < 4 ? src[3].at(x, y) : src[4].at(x, y);
                    const int want = (src[0].at(x, y) * kH0[y][x] + vert * kH1[y][x] + horiz * kH2[y][x] + 4) / 8;
                    ASSERT_EQ(dst.at(x, y), want) << x << "," << y << " " << pattern_name(pat);
                }
        }
}

TEST(ObmcKernels, EveryLevelMatchesReference) {
    const zep::ObmcDsp ref = zep::build_table(zep::obmc_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const zep::ObmcDsp k = zep::build_table(zep::obmc_init, level);
        Rng rng(192);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 30; ++it) {
                std::vector<Picture<Zep8u>> src;
                zep::ObmcSources s;
                for (int i = 0; i < 5; ++i) {
                    src.push_back(Picture<Zep8u>::random(rng, 8, 8, 0));
                    src.back().fill(pat, rng, 0, 255);
                }
                for (int i = 0; i < 5; ++i) s.p[i] = src[static_cast<size_t>(i)].data(), s.step[i] = src[static_cast<size_t>(i)].step();
                Picture<Zep8u> a = Picture<Zep8u>::random(rng, 8, 8, 0), b = a;
                ref.block(s, a.data(), a.step());
                k.block(s, b.data(), b.step());
                ASSERT_TRUE(same_array(a.block(), b.block(), context(level, pat, "obmc")));
            }
    }
}

TEST(Obmc, ChecksInOrder) {
    Guarded<Zep8u> g(64);
    const std::vector<Zep8u> s(64, 9);
    const Zep8u* c = s.data();
    EXPECT_TRUE(null_sweep(zepiOBMC8x8_H263_8u_C1R, c, 0, c, 8, c, 8, c, 8, c, 8, g.data(), 8));
    EXPECT_EQ(zepiOBMC8x8_H263_8u_C1R(c, 8, c, 8, c, 8, c, 7, c, 8, g.data(), 8), zepStatusBadStep);
    EXPECT_EQ(zepiOBMC8x8_H263_8u_C1R(c, 8, c, 8, c, 8, c, 8, c, 8, g.data(), -8), zepStatusBadStep);
    EXPECT_TRUE(g.untouched());
}

}  // namespace
