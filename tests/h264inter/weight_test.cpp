// H.264 weighted prediction: the entry points against the weighting equations
// on the standard's parameter ranges, every kernel level against the
// reference (also at extreme parameters), and the checks of each function.
#include "harness/harness.h"

#include "h264/weight_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::WeightDsp;
using zep::WeightParams;

constexpr int kSizes[] = {2, 4, 8, 16};

// Picture copies share their buffer, so copies are made sample by sample.
Picture<Zep8u> clone(const Picture<Zep8u>& p) {
    Picture<Zep8u> c(p.width(), p.height(), p.step(), 3, 0);
    for (int y = 0; y < p.height(); ++y)
        for (int x = 0; x < p.width(); ++x) c.at(x, y) = p.at(x, y);
    return c;
}

int clip255(long long v) { return v < 0 ? 0 : (v > 255 ? 255 : static_cast<int>(v)); }

struct Blocks {
    int w, h;
    Picture<Zep8u> a, b, d;
    Blocks(Rng& rng, int w_, int h_, Pattern pat)
        : w(w_), h(h_), a(Picture<Zep8u>::random(rng, w_, h_, 0)), b(Picture<Zep8u>::random(rng, w_, h_, 0)),
          d(Picture<Zep8u>::random(rng, w_, h_, 0)) {
        a.fill(pat, rng, 0, 255);
        b.fill(rng.coin() ? pat : Pattern::Random, rng, 0, 255);
        d.fill(Pattern::Random, rng, 0, 255);
    }
};

// Every form in the standard's ranges: logWD 0..7, weights -128..127 (implicit
// -64..128), offsets -128..127, on every block size.
TEST(WeightEntry, MatchesWeightingEquations) {
    Rng rng(41);
    for (int w : kSizes)
        for (int h : kSizes)
            for (Pattern pat : kAllPatterns)
                for (int it = 0; it < 6; ++it) {
                    Blocks in(rng, w, h, pat);
                    const int lw = rng.range(0, 7), w1 = rng.range(-128, 127), w2 = rng.range(-128, 127);
                    const int o1 = rng.range(-128, 127), o2 = rng.range(-128, 127);
                    const int iw1 = rng.range(-64, 128), iw2 = 64 - iw1;
                    const long long r = lw >= 1 ? 1LL << (lw - 1) : 0;
                    const std::string ctx = "w " + std::to_string(w) + " h " + std::to_string(h) + " logWD " +
                                            std::to_string(lw) + " pattern " + pattern_name(pat);
                    // One-directional, in place (both names).
                    for (int form = 0; form < 2; ++form) {
                        auto p = clone(in.a);
                        auto fn = form ? zepiUniDirWeightBlock_H264_8u_C1IR : zepiUniDirWeightBlock_H264_8u_C1R;
                        ASSERT_EQ(fn(p.data(), p.step(), lw, w1, o1, w, h), zepStatusOk);
                        for (int y = 0; y < h; ++y)
                            for (int x = 0; x < w; ++x)
                                ASSERT_EQ(p.at(x, y), clip255(((in.a.at(x, y) * w1 + r) >> lw) + o1)) << ctx;
                    }
                    // Explicit, both argument forms.
                    auto d2 = clone(in.d), d3 = clone(in.d);
                    Picture<Zep8u> b1(w, h, in.a.step());  // P2P1R shares one source step
                    for (int y = 0; y < h; ++y)
                        for (int x = 0; x < w; ++x) b1.at(x, y) = in.b.at(x, y);
                    ASSERT_EQ(zepiBiDirWeightBlock_H264_8u_P2P1R(in.a.data(), b1.data(), d2.data(), in.a.step(),
                                                                 d2.step(), lw, w1, o1, w2, o2, w, h),
                              zepStatusOk);
                    ASSERT_EQ(zepiBiDirWeightBlock_H264_8u_P3P1R(in.a.data(), in.b.data(), d3.data(), in.a.step(),
                                                                 in.b.step(), d3.step(), lw, w1, o1, w2, o2, w, h),
                              zepStatusOk);
                    for (int y = 0; y < h; ++y)
                        for (int x = 0; x < w; ++x) {
                            const long long v = ((in.a.at(x, y) * w1 + in.b.at(x, y) * w2 + (1LL << lw)) >> (lw + 1)) +
                                                ((o1 + o2 + 1) >> 1);
                            ASSERT_EQ(d2.at(x, y), clip255(v)) << ctx;
                            ASSERT_EQ(d3.at(x, y), clip255(v)) << ctx;
                        }
                    // Implicit, both argument forms.
                    auto i2 = clone(in.d), i3 = clone(in.d);
                    ASSERT_EQ(zepiBiDirWeightBlockImplicit_H264_8u_P2P1R(in.a.data(), b1.data(), i2.data(),
                                                                         in.a.step(), i2.step(), iw1, iw2, w, h),
                              zepStatusOk);
                    ASSERT_EQ(zepiBiDirWeightBlockImplicit_H264_8u_P3P1R(in.a.data(), in.b.data(), i3.data(),
                                                                         in.a.step(), in.b.step(), i3.step(), iw1,
                                                                         iw2, w, h),
                              zepStatusOk);
                    for (int y = 0; y < h; ++y)
                        for (int x = 0; x < w; ++x) {
                            const int v = clip255((in.a.at(x, y) * iw1 + in.b.at(x, y) * iw2 + 32) >> 6);
                            ASSERT_EQ(i2.at(x, y), v) << ctx;
                            ASSERT_EQ(i3.at(x, y), v) << ctx;
                        }
                    // Weighted average over the second block.
                    auto avg = clone(b1);
                    ASSERT_EQ(zepiWeightedAverage_H264_8u_C1IR(in.a.data(), avg.data(), avg.step(), w1, w2, lw, o1, w, h),
                              zepStatusOk);
                    for (int y = 0; y < h; ++y)
                        for (int x = 0; x < w; ++x)
                            ASSERT_EQ(avg.at(x, y), clip255(((in.a.at(x, y) * w1 + b1.at(x, y) * w2 + r) >> lw) + o1))
                                << ctx;
                }
}

TEST(WeightEntry, WorkedValues) {
    Zep8u a[4] = {10, 20, 200, 255}, b[4] = {30, 20, 0, 255}, d[4] = {};
    // logWD 0: no rounding term; 10 * 3 - 5 = 25.
    Zep8u u[4] = {10, 20, 100, 255};
    ASSERT_EQ(zepiUniDirWeightBlock_H264_8u_C1R(u, 2, 0, 3, -5, 2, 2), zepStatusOk);
    EXPECT_EQ((std::vector<int>{u[0], u[1], u[2], u[3]}), (std::vector<int>{25, 55, 255, 255}));
    // Offsets 1 and 2 combine to (1 + 2 + 1) >> 1 = 2: (10 + 30 + 1) >> 1 + 2 = 22.
    ASSERT_EQ(zepiBiDirWeightBlock_H264_8u_P2P1R(a, b, d, 2, 2, 0, 1, 1, 1, 2, 2, 2), zepStatusOk);
    EXPECT_EQ((std::vector<int>{d[0], d[1], d[2], d[3]}), (std::vector<int>{22, 22, 102, 255}));
    // Negative results clamp to 0, never wrap.
    ASSERT_EQ(zepiBiDirWeightBlockImplicit_H264_8u_P2P1R(a, b, d, 2, 2, -64, 128, 2, 2), zepStatusOk);
    EXPECT_EQ((std::vector<int>{d[0], d[1], d[2], d[3]}), (std::vector<int>{50, 20, 0, 255}));
}

// Kernel levels on random parameters including the extremes the entry points
// can hand over (16-bit weights, shifts up to 31, large offsets).
TEST(WeightKernels, EveryLevelMatchesReference) {
    const WeightDsp ref = zep::build_table(zep::weight_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const WeightDsp k = zep::build_table(zep::weight_init, level);
        Rng rng(42);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 60; ++it)
                for (int wc = 0; wc < 4; ++wc)
                    for (int hc = 0; hc < 4; ++hc) {
                        const int w = rng.range(0, 7) == 0 ? rng.range(1, 40) : kSizes[wc];
                        const int h = rng.range(0, 7) == 0 ? rng.range(1, 20) : kSizes[hc];
                        const bool any = w != kSizes[wc] || h != kSizes[hc] || rng.coin();
                        Blocks in(rng, w, h, pat);
                        WeightParams p;
                        const bool wide = rng.range(0, 3) == 0;
                        p.w1 = wide ? rng.range(-32768, 32767) : rng.range(-128, 128);
                        p.w2 = wide ? rng.range(-32768, 32767) : rng.range(-128, 128);
                        p.shift = wide ? rng.range(0, 31) : rng.range(0, 8);
                        p.round = p.shift ? 1 << (p.shift - 1) : 0;
                        if (rng.coin() && p.shift) p.round = (1 << std::min(p.shift, 30)) - 1;
                        p.offset = wide ? rng.range(-(1 << 25), 1 << 25) : rng.range(-255, 255);
                        auto e = clone(in.d), g = clone(in.d);
                        if (any) {
                            ref.any(in.a.data(), in.a.step(), in.b.data(), in.b.step(), e.data(), e.step(), p, w, h);
                            k.any(in.a.data(), in.a.step(), in.b.data(), in.b.step(), g.data(), g.step(), p, w, h);
                        } else {
                            ref.block[wc * 4 + hc](in.a.data(), in.a.step(), in.b.data(), in.b.step(), e.data(), e.step(), p);
                            k.block[wc * 4 + hc](in.a.data(), in.a.step(), in.b.data(), in.b.step(), g.data(), g.step(), p);
                        }
                        ASSERT_TRUE(same_array(e.block(), g.block(),
                                               context(level, pat,
                                                       std::to_string(w) + "x" + std::to_string(h) + (any ? " any" : "") +
                                                           " w1 " + std::to_string(p.w1) + " w2 " + std::to_string(p.w2) +
                                                           " shift " + std::to_string(p.shift) + " offset " +
                                                           std::to_string(p.offset))));
                    }
    }
}

// ---------------------------------------------------------------- checks

TEST(WeightEntry, ChecksInOrderAndWriteNothing) {
    Guarded<Zep8u> g(16 * 16);
    Zep8u* p = g.data();
    const Zep8u* c = p;
    // {status, call}
    const std::pair<ZepStatus, ZepStatus> cases[] = {
        {zepStatusNullPtr, zepiUniDirWeightBlock_H264_8u_C1R(nullptr, 1, 0, 1, 0, 3, 3)},
        {zepStatusBadStep, zepiUniDirWeightBlock_H264_8u_C1R(p, 7, 0, 1, 0, 8, 3)},
        {zepStatusBadSize, zepiUniDirWeightBlock_H264_8u_C1R(p, 16, 0, 1, 0, 8, 3)},
        {zepStatusBadSize, zepiUniDirWeightBlock_H264_8u_C1IR(p, 16, 0, 1, 0, 6, 8)},
        {zepStatusNullPtr, zepiBiDirWeightBlock_H264_8u_P2P1R(c, nullptr, p, 0, 0, 0, 1, 0, 1, 0, 3, 3)},
        {zepStatusBadStep, zepiBiDirWeightBlock_H264_8u_P2P1R(c, c, p, 16, 7, 0, 1, 0, 1, 0, 8, 3)},
        {zepStatusBadSize, zepiBiDirWeightBlock_H264_8u_P2P1R(c, c, p, 16, 16, 0, 1, 0, 1, 0, 8, 32)},
        {zepStatusNullPtr, zepiBiDirWeightBlock_H264_8u_P3P1R(c, c, nullptr, 0, 0, 0, 0, 1, 0, 1, 0, 3, 3)},
        {zepStatusBadStep, zepiBiDirWeightBlock_H264_8u_P3P1R(c, c, p, 16, 4, 16, 0, 1, 0, 1, 0, 8, 3)},
        {zepStatusBadSize, zepiBiDirWeightBlock_H264_8u_P3P1R(c, c, p, 16, 16, 16, 0, 1, 0, 1, 0, 1, 8)},
        {zepStatusNullPtr, zepiBiDirWeightBlockImplicit_H264_8u_P2P1R(nullptr, c, p, 0, 0, 32, 32, 3, 3)},
        {zepStatusBadStep, zepiBiDirWeightBlockImplicit_H264_8u_P2P1R(c, c, p, 4, 16, 32, 32, 8, 3)},
        {zepStatusBadSize, zepiBiDirWeightBlockImplicit_H264_8u_P2P1R(c, c, p, 16, 16, 32, 32, 3, 5)},
        {zepStatusNullPtr, zepiBiDirWeightBlockImplicit_H264_8u_P3P1R(c, c, nullptr, 16, 16, 16, 32, 32, 3, 5)},
        {zepStatusOk, zepiBiDirWeightBlockImplicit_H264_8u_P3P1R(c, c, p, 0, 0, 0, 32, 32, 16, 0)},
        {zepStatusOk, zepiBiDirWeightBlockImplicit_H264_8u_P3P1R(c, c, p, 0, 0, 0, 32, 32, -3, 4)},
        {zepStatusNullPtr, zepiWeightedAverage_H264_8u_C1IR(c, nullptr, 1, 1, 1, 0, 0, 3, 3)},
        {zepStatusBadStep, zepiWeightedAverage_H264_8u_C1IR(c, p, 4, 1, 1, 0, 0, 8, 3)},
        {zepStatusBadSize, zepiWeightedAverage_H264_8u_C1IR(c, p, 16, 1, 1, 0, 0, 0, 8)},
    };
    for (size_t i = 0; i < sizeof(cases) / sizeof(cases[0]); ++i) EXPECT_EQ(cases[i].second, cases[i].first) << "case " << i;
    EXPECT_TRUE(g.untouched());
}

// The implicit form with three steps takes any size: a 3x5 block is weighted
// while the shared-step form refuses it.
TEST(WeightEntry, ImplicitThreeStepsAnySize) {
    Rng rng(43);
    auto a = Picture<Zep8u>::random(rng, 3, 5, 0), b = Picture<Zep8u>::random(rng, 3, 5, 0);
    Picture<Zep8u> d(3, 5, 7, 0, 1);
    a.fill(Pattern::Random, rng, 0, 255);
    b.fill(Pattern::Random, rng, 0, 255);
    d.fill(Pattern::Zero, rng, 0, 0);
    ASSERT_EQ(zepiBiDirWeightBlockImplicit_H264_8u_P3P1R(a.data(), b.data(), d.data(), a.step(), b.step(), d.step(), 20,
                                                          44, 3, 5),
              zepStatusOk);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 4; ++x)
            ASSERT_EQ(d.at(x, y), x < 3 && y < 5 ? (a.at(x, y) * 20 + b.at(x, y) * 44 + 32) >> 6 : 0) << x << "," << y;
    EXPECT_EQ(zepiBiDirWeightBlockImplicit_H264_8u_P2P1R(a.data(), b.data(), d.data(), 16, 16, 20, 44, 3, 5),
              zepStatusBadSize);
}

}  // namespace
