// Edge-directed deinterlacing against a plain reading of the rule, on random
// and extreme pictures of awkward widths, both parities, with and without the
// border copy, positive and negative steps; kernel levels against the
// reference; checks.
#include <cstdlib>

#include "enhance/deinterlace_dsp.h"
#include "harness/harness.h"
#include "harness/null_sweep.h"
#include "zepvc.h"

namespace {

using namespace zt;

// Rows -1 .. height of a field, `step` apart (negative: bottom-up in memory).
struct Field {
    int width, height, step;
    std::vector<Zep8u> mem;
    Zep8u* row0;
    Field(int w, int h, int s, Rng& rng, Pattern pat, int lo = 0, int hi = 255) : width(w), height(h), step(s) {
        const int absStep = std::abs(s);
        mem.assign(static_cast<size_t>(absStep) * (h + 2) + 64, 0x5A);
        row0 = mem.data() + 32 + (s > 0 ? absStep : static_cast<size_t>(absStep) * h);
        for (int r = -1; r <= h; ++r)
            for (int x = 0; x < w; ++x) at(r, x) = static_cast<Zep8u>(pattern_value(pat, rng, r * w + x + w, lo, hi));
    }
    Zep8u& at(int r, int x) { return row0[static_cast<ptrdiff_t>(r) * step + x]; }
};

int avg(int a, int b) { return (a + b + 1) >> 1; }

// The rule, written out for one output sample.
int expected(Field& s, int k, int x, int fieldNum, bool copyBorder) {
    const int h = s.height, w = s.width;
    if (copyBorder && ((fieldNum == 0 && k == 0) || (fieldNum == 1 && k == h - 1))) return s.at(k, x);
    if (x == 0 || x == w - 1) return s.at(k, x);
    const int ra = fieldNum == 0 ? k - 1 : k, rb = ra + 1;
    const int al = s.at(ra, x - 1), ac = s.at(ra, x), ar = s.at(ra, x + 1);
    const int bl = s.at(rb, x - 1), bc = s.at(rb, x), br = s.at(rb, x + 1);
    const int dL = std::abs(al - br), dR = std::abs(ar - bl), dV = std::abs(ac - bc);
    if (dL < dR) return dL < dV ? avg(al, br) : avg(ac, bc);
    return dR < dV ? avg(ar, bl) : avg(ac, bc);
}

TEST(DeinterlaceEntry, MatchesTheRuleOnEveryShape) {
    Rng rng(101);
    for (int w : {1, 2, 3, 4, 17, 18, 19, 33, 34, 35, 64, 100})
        for (int h : {1, 2, 5})
            for (int fieldNum : {0, 1})
                for (bool copyBorder : {false, true})
                    for (Pattern pat : {Pattern::Random, Pattern::Extremes, Pattern::Alternating, Pattern::SmallNoise}) {
                        const int srcStep = (w + rng.range(0, 9)) * (rng.coin() ? 1 : -1);
                        const int dstStep = (w + 3) * (rng.coin() ? 1 : -1);
                        Field src(w, h, srcStep, rng, pat);
                        Field dst(w, h, dstStep, rng, Pattern::Random);
                        const Field before = dst;
                        ASSERT_EQ(zepiDeinterlaceEdgeDetect_8u_C1R(src.row0, srcStep, dst.row0, dstStep, w, h, fieldNum,
                                                                   copyBorder),
                                  zepStatusOk);
                        const std::string ctx = std::to_string(w) + "x" + std::to_string(h) + " field " +
                                                std::to_string(fieldNum) + (copyBorder ? " copy" : "") + " steps " +
                                                std::to_string(srcStep) + "/" + std::to_string(dstStep) + " " +
                                                pattern_name(pat);
                        for (int k = 0; k < h; ++k)
                            for (int x = 0; x < w; ++x)
                                ASSERT_EQ(dst.at(k, x), expected(src, k, x, fieldNum, copyBorder)) << ctx << " at " << x << "," << k;
                        // Rows -1 and h of the destination, and the bytes between rows, stay as they were.
                        for (int x = 0; x < w; ++x) {
                            ASSERT_EQ(dst.at(-1, x), before.mem[(dst.row0 - dst.mem.data()) - dstStep + x]) << ctx;
                            ASSERT_EQ(dst.at(h, x), before.mem[(dst.row0 - dst.mem.data()) + static_cast<ptrdiff_t>(h) * dstStep + x]) << ctx;
                        }
                    }
}

// The tie rules on hand-made rows: equal diagonals go to the rising one,
// a diagonal equal to the vertical goes to the vertical.
TEST(DeinterlaceEntry, TiesGoToTheRisingDiagonalThenTheVertical) {
    struct Case {
        Zep8u a[3], b[3];
        Zep8u want;
    };
    const Case cases[] = {
        {{10, 50, 30}, {31, 90, 11}, 31},    // dL = 1 = dR < dV = 40: the rising diagonal, avg(30, 31)
        {{10, 50, 200}, {200, 50, 10}, 50},  // dL = dR = 190 > dV = 0: the vertical
        {{10, 50, 90}, {70, 90, 10}, 10},    // dL = 0 < dR = 20 < dV = 40: the falling diagonal, avg(10, 10)
        {{20, 50, 90}, {200, 80, 50}, 65},   // dL = 30 = dV < dR = 110: the vertical, avg(50, 80)
    };
    for (const Case& c : cases) {
        // Field of two rows: row 0 = a, row 1 = b; the bottom field's row 0 lies between them.
        Zep8u src[2][3] = {{c.a[0], c.a[1], c.a[2]}, {c.b[0], c.b[1], c.b[2]}};
        Zep8u dst[3] = {0, 0, 0};
        ASSERT_EQ(zepiDeinterlaceEdgeDetect_8u_C1R(&src[0][0], 3, dst, 3, 3, 1, 1, 0), zepStatusOk);
        EXPECT_EQ(dst[1], c.want);
        EXPECT_EQ(dst[0], c.a[0]);
        EXPECT_EQ(dst[2], c.a[2]);
    }
}

TEST(DeinterlaceKernels, EveryLevelMatchesReference) {
    const zep::DeintDsp ref = zep::build_table(zep::deint_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const zep::DeintDsp k = zep::build_table(zep::deint_init, level);
        Rng rng(102);
        for (Pattern pat : kAllPatterns)
            for (int w = 3; w <= 80; ++w) {
                std::vector<Zep8u> a(w), b(w), d1(w + 8, 7), d2(w + 8, 7);
                fill(a.data(), w, pat, rng, 0, 255);
                fill(b.data(), w, rng.coin() ? pat : Pattern::Random, rng, 0, 255);
                ref.row(a.data(), b.data(), d1.data(), w);
                k.row(a.data(), b.data(), d2.data(), w);
                ASSERT_TRUE(same_array(d1, d2, context(level, pat, "width " + std::to_string(w))));
            }
    }
}

TEST(DeinterlaceEntry, ChecksInOrder) {
    Guarded<Zep8u> g(64);
    const Zep8u src[64] = {};
    EXPECT_TRUE(null_sweep(zepiDeinterlaceEdgeDetect_8u_C1R, src, 8, g.data(), 8, -1, 0, 0, 1));
    EXPECT_EQ(zepiDeinterlaceEdgeDetect_8u_C1R(src, 8, g.data(), 8, 0, 4, 0, 1), zepStatusBadSize);
    EXPECT_EQ(zepiDeinterlaceEdgeDetect_8u_C1R(src, 8, g.data(), 8, 4, 0, 0, 1), zepStatusBadSize);
    EXPECT_EQ(zepiDeinterlaceEdgeDetect_8u_C1R(src, 8, g.data(), 8, -3, -3, 0, 1), zepStatusBadSize);
    EXPECT_TRUE(g.untouched());
}

}  // namespace
