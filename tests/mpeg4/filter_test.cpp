// The H.261 loop filter against the filter as the standard words it (real
// arithmetic, one rounding with halves up), the H.263 Annex J edge filter
// against its equations in real arithmetic, every kernel level against the
// reference, guard areas, and the checks.
#include <cmath>
#include <vector>

#include "harness/harness.h"
#include "harness/null_sweep.h"
#include "mpeg4/filter_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;

TEST(H261LoopFilter, MatchesTheSeparableFilterWithOneRounding) {
    Rng rng(181);
    for (Pattern pat : kAllPatterns)
        for (int it = 0; it < 200; ++it) {
            Picture<Zep8u> pic(12, 12, 16 + 8 * rng.range(0, 2), rng.range(0, 7), 0);
            pic.fill(pat, rng, 0, 255);
            const Picture<Zep8u> in = pic;
            ASSERT_EQ(zepiFilterLoop_H261_8u_C1IR(&pic.at(2, 2), pic.step()), zepStatusOk);
            auto tap = [](int i, int k) {  // weight of neighbour k (-1, 0, 1) for position i
                if (i == 0 || i == 7) return k == 0 ? 1.0 : 0.0;
                return k == 0 ? 0.5 : 0.25;
            };
            for (int y = -2; y < 10; ++y)
                for (int x = -2; x < 10; ++x) {
                    if (x < 0 || y < 0 || x > 7 || y > 7) {
                        ASSERT_EQ(pic.at(2 + x, 2 + y), in.at(2 + x, 2 + y)) << "outside the block at " << x << "," << y;
                        continue;
                    }
                    double v = 0;
                    for (int dy = -1; dy <= 1; ++dy)
                        for (int dx = -1; dx <= 1; ++dx) {
                            const double w = tap(y, dy) * tap(x, dx);
                            if (w != 0) v += w * in.at(2 + x + dx, 2 + y + dy);
                        }
                    ASSERT_EQ(pic.at(2 + x, 2 + y), static_cast<int>(std::floor(v + 0.5))) << x << "," << y << " " << pattern_name(pat);
                }
        }
}

int annex_j_strength(int qp) {
    static const int s[31] = {1, 1, 2, 2, 3, 3, 4, 4, 4, 5, 5, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10, 10, 11, 11, 11, 12, 12, 12};
    return s[qp - 1];
}

TEST(H263Deblocking, MatchesAnnexJEquations) {
    Rng rng(182);
    for (int it = 0; it < 4000; ++it) {
        const bool horizontal = it & 1;
        const int qp = rng.range(1, 31), S = annex_j_strength(qp);
        Picture<Zep8u> pic(12, 12, 16, 0, 0);
        pic.fill(it % 3 ? Pattern::SmallNoise : Pattern::Random, rng, 0, 255);
        const Picture<Zep8u> in = pic;
        ASSERT_EQ((horizontal ? zepiFilterDeblocking8x8HorEdge_H263_8u_C1IR : zepiFilterDeblocking8x8VerEdge_H263_8u_C1IR)(
                      &pic.at(4, 4), pic.step(), qp),
                  zepStatusOk);
        for (int i = 0; i < 8; ++i) {
            // Samples across the edge at position i.
            auto at = [&](const Picture<Zep8u>& p, int k) {  // k = -2..1
                return horizontal ? static_cast<int>(p.at(4 + i, 4 + k)) : static_cast<int>(p.at(4 + k, 4 + i));
            };
            const double A = at(in, -2), B = at(in, -1), C = at(in, 0), D = at(in, 1);
            const int d = static_cast<int>(std::trunc((A - 4 * B + 4 * C - D) / 8));
            const int d1 = (d < 0 ? -1 : 1) * std::max(0, std::abs(d) - std::max(0, 2 * (std::abs(d) - S)));
            const int lim = std::abs(static_cast<int>(std::trunc(d1 / 2.0)));
            const int d2 = std::clamp(static_cast<int>(std::trunc((A - D) / 4)), -lim, lim);
            const int want[4] = {std::clamp(static_cast<int>(A) - d2, 0, 255), std::clamp(static_cast<int>(B) + d1, 0, 255),
                                 std::clamp(static_cast<int>(C) - d1, 0, 255), std::clamp(static_cast<int>(D) + d2, 0, 255)};
            for (int k = -2; k <= 1; ++k) ASSERT_EQ(at(pic, k), want[k + 2]) << (horizontal ? "hor" : "ver") << " qp " << qp << " position " << i;
        }
        // Nothing outside the four sample lines of the edge moved.
        int changedOutside = 0;
        for (int y = 0; y < 12; ++y)
            for (int x = 0; x < 12; ++x) {
                const bool inside = horizontal ? (x >= 4 && y >= 2 && y <= 5) : (y >= 4 && x >= 2 && x <= 5);
                if (!inside && pic.at(x, y) != in.at(x, y)) ++changedOutside;
            }
        ASSERT_EQ(changedOutside, 0);
    }
}

TEST(FilterKernels, EveryLevelMatchesReference) {
    const zep::FilterDsp ref = zep::build_table(zep::filter_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const zep::FilterDsp k = zep::build_table(zep::filter_init, level);
        Rng rng(183);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 50; ++it) {
                Picture<Zep8u> a(12, 12, 16 + 16 * rng.range(0, 1), rng.range(0, 15), 0);
                a.fill(pat, rng, 0, 255);
                Picture<Zep8u> b = a;
                const int form = it % 3, strength = rng.range(1, 12);
                const auto run = [&](const zep::FilterDsp& t, Picture<Zep8u>& p) {
                    if (form == 0) t.loop(&p.at(2, 2), p.step());
                    else if (form == 1) t.horEdge(&p.at(2, 4), p.step(), 1, strength);
                    else t.verEdge(&p.at(4, 2), 1, p.step(), strength);
                };
                run(ref, a);
                run(k, b);
                ASSERT_TRUE(same_array(a.block(), b.block(), context(level, pat, "form " + std::to_string(form))));
            }
    }
}

TEST(Filters, ChecksInOrder) {
    Guarded<Zep8u> g(16 * 16);
    EXPECT_EQ(zepiFilterLoop_H261_8u_C1IR(nullptr, 0), zepStatusNullPtr);
    EXPECT_EQ(zepiFilterLoop_H261_8u_C1IR(g.data(), 7), zepStatusBadStep);
    EXPECT_EQ(zepiFilterDeblocking8x8HorEdge_H263_8u_C1IR(nullptr, 0, 0), zepStatusNullPtr);
    EXPECT_EQ(zepiFilterDeblocking8x8HorEdge_H263_8u_C1IR(g.data() + 32, 4, 0), zepStatusBadStep);
    EXPECT_EQ(zepiFilterDeblocking8x8VerEdge_H263_8u_C1IR(g.data() + 32, 16, 32), zepStatusQPErr);
    EXPECT_EQ(zepiFilterDeblocking8x8VerEdge_H263_8u_C1IR(g.data() + 32, 16, 0), zepStatusQPErr);
    EXPECT_TRUE(g.untouched());
}

}  // namespace
