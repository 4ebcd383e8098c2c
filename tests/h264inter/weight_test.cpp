// H.264 weighted prediction: the entry points against the weighting equations
// over the format's parameter ranges, every kernel level against the
// reference (also at extreme parameters), and the checks of each function.
#include "harness/harness.h"
#include "harness/null_sweep.h"

#include "h264/weight_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::WeightDsp;
using zep::WeightParams;

constexpr int kSizes[] = {2, 4, 8, 16};

int clip255(long long v) { return v < 0 ? 0 : (v > 255 ? 255 : static_cast<int>(v)); }

// Two sources and a destination, each with its own random geometry.
struct Blocks {
    Picture<Zep8u> a, b, d;
    Blocks(Rng& rng, int w, int h, Pattern pat)
        : a(Picture<Zep8u>::random(rng, w, h, 0)), b(Picture<Zep8u>::random(rng, w, h, 0)),
          d(Picture<Zep8u>::random(rng, w, h, 0)) {
        a.fill(pat, rng, 0, 255);
        b.fill(rng.coin() ? pat : Pattern::Random, rng, 0, 255);
        d.fill(Pattern::Random, rng, 0, 255);
    }
};

// Every sample of the block equals want(x, y).
template <class F>
void expect_each(const Picture<Zep8u>& got, F&& want, const std::string& ctx) {
    for (int y = 0; y < got.height(); ++y)
        for (int x = 0; x < got.width(); ++x) ASSERT_EQ(got.at(x, y), want(x, y)) << ctx << " at " << x << "," << y;
}

// One random case of every entry point against its equation.
void check_forms(Rng& rng, int w, int h, Pattern pat) {
    Blocks in(rng, w, h, pat);
    const int lw = rng.range(0, 7), w1 = rng.range(-128, 127), w2 = rng.range(-128, 127);
    const int o1 = rng.range(-128, 127), o2 = rng.range(-128, 127);
    const int iw1 = rng.range(-64, 128), iw2 = 64 - iw1;
    const long long r = lw >= 1 ? 1LL << (lw - 1) : 0;
    const std::string ctx =
        std::to_string(w) + "x" + std::to_string(h) + " logWD " + std::to_string(lw) + " pattern " + pattern_name(pat);
    Picture<Zep8u> b1(w, h, in.a.step());  // the shared-step forms read the second block at the first one's step
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) b1.at(x, y) = in.b.at(x, y);
    const Zep8u *a = in.a.data(), *b = in.b.data();
    const int as = in.a.step(), bs = in.b.step();
    auto A = [&](int x, int y) { return in.a.at(x, y); };
    auto B = [&](int x, int y) { return in.b.at(x, y); };
    auto check = [&](const char* name, Picture<Zep8u> d, auto call, auto want) {
        ASSERT_EQ(call(d.data(), d.step()), zepStatusOk) << ctx << " " << name;
        expect_each(d, want, ctx + " " + name);
    };
    auto uni = [&](int x, int y) { return clip255(((A(x, y) * w1 + r) >> lw) + o1); };
    for (auto f : {zepiUniDirWeightBlock_H264_8u_C1R, zepiUniDirWeightBlock_H264_8u_C1IR})
        check("one-directional", in.a, [&](Zep8u* d, int ds) { return f(d, ds, lw, w1, o1, w, h); }, uni);
    auto bi = [&](int x, int y) {
        return clip255(((A(x, y) * w1 + B(x, y) * w2 + (1LL << lw)) >> (lw + 1)) + ((o1 + o2 + 1) >> 1));
    };
    check("explicit P2P1R", in.d, [&](Zep8u* d, int ds) {
        return zepiBiDirWeightBlock_H264_8u_P2P1R(a, b1.data(), d, as, ds, lw, w1, o1, w2, o2, w, h); }, bi);
    check("explicit P3P1R", in.d, [&](Zep8u* d, int ds) {
        return zepiBiDirWeightBlock_H264_8u_P3P1R(a, b, d, as, bs, ds, lw, w1, o1, w2, o2, w, h); }, bi);
    auto implicit = [&](int x, int y) { return clip255((A(x, y) * iw1 + B(x, y) * iw2 + 32) >> 6); };
    check("implicit P2P1R", in.d, [&](Zep8u* d, int ds) {
        return zepiBiDirWeightBlockImplicit_H264_8u_P2P1R(a, b1.data(), d, as, ds, iw1, iw2, w, h); }, implicit);
    check("implicit P3P1R", in.d, [&](Zep8u* d, int ds) {
        return zepiBiDirWeightBlockImplicit_H264_8u_P3P1R(a, b, d, as, bs, ds, iw1, iw2, w, h); }, implicit);
    // The weighted average writes over the second block.
    check("average", b1, [&](Zep8u* d, int ds) { return zepiWeightedAverage_H264_8u_C1IR(a, d, ds, w1, w2, lw, o1, w, h); },
          [&](int x, int y) { return clip255(((A(x, y) * w1 + B(x, y) * w2 + r) >> lw) + o1); });
}

// Every form in the parameter ranges of the format: logWD 0..7, weights
// -128..127 (implicit -64..128), offsets -128..127, on every block size.
TEST(WeightEntry, MatchesWeightingEquations) {
    Rng rng(41);
    for (int w : kSizes)
        for (int h : kSizes)
            for (Pattern pat : kAllPatterns)
                for (int it = 0; it < 6; ++it) ASSERT_NO_FATAL_FAILURE(check_forms(rng, w, h, pat));
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
                        auto run = [&](const WeightDsp& t, Picture<Zep8u> d) {
                            const Zep8u *a = in.a.data(), *b = in.b.data();
                            if (any) t.any(a, in.a.step(), b, in.b.step(), d.data(), d.step(), p, w, h);
                            else t.block[wc * 4 + hc](a, in.a.step(), b, in.b.step(), d.data(), d.step(), p);
                            return d.block();
                        };
                        const std::string ctx = std::to_string(w) + "x" + std::to_string(h) + (any ? " any" : "") + " w1 " +
                                                std::to_string(p.w1) + " w2 " + std::to_string(p.w2) + " shift " +
                                                std::to_string(p.shift) + " offset " + std::to_string(p.offset);
                        ASSERT_TRUE(same_array(run(ref, in.d), run(k, in.d), context(level, pat, ctx)));
                    }
    }
}

// ---------------------------------------------------------------- checks

TEST(WeightEntry, ChecksInOrderAndWriteNothing) {
    Guarded<Zep8u> g(16 * 16);
    Zep8u* p = g.data();
    const Zep8u* c = p;
    // Every pointer is checked before the step and the size, which are wrong here too;
    // the three-step implicit form returns Ok for heights below 1, after the pointers.
    EXPECT_TRUE(null_sweep(zepiUniDirWeightBlock_H264_8u_C1R, p, 1, 0, 1, 0, 3, 3));
    EXPECT_TRUE(null_sweep(zepiUniDirWeightBlock_H264_8u_C1IR, p, 1, 0, 1, 0, 3, 3));
    EXPECT_TRUE(null_sweep(zepiBiDirWeightBlock_H264_8u_P2P1R, c, c, p, 0, 0, 0, 1, 0, 1, 0, 3, 3));
    EXPECT_TRUE(null_sweep(zepiBiDirWeightBlock_H264_8u_P3P1R, c, c, p, 0, 0, 0, 0, 1, 0, 1, 0, 3, 3));
    EXPECT_TRUE(null_sweep(zepiBiDirWeightBlockImplicit_H264_8u_P2P1R, c, c, p, 0, 0, 32, 32, 3, 3));
    EXPECT_TRUE(null_sweep(zepiBiDirWeightBlockImplicit_H264_8u_P3P1R, c, c, p, 0, 0, 0, 32, 32, 16, 0));
    EXPECT_TRUE(null_sweep(zepiWeightedAverage_H264_8u_C1IR, c, p, 1, 1, 1, 0, 0, 3, 3));
    // {status, call}: the step before the size.
    const std::pair<ZepStatus, ZepStatus> cases[] = {
        {zepStatusBadStep, zepiUniDirWeightBlock_H264_8u_C1R(p, 7, 0, 1, 0, 8, 3)},
        {zepStatusBadSize, zepiUniDirWeightBlock_H264_8u_C1R(p, 16, 0, 1, 0, 8, 3)},
        {zepStatusBadSize, zepiUniDirWeightBlock_H264_8u_C1IR(p, 16, 0, 1, 0, 6, 8)},
        {zepStatusBadStep, zepiBiDirWeightBlock_H264_8u_P2P1R(c, c, p, 16, 7, 0, 1, 0, 1, 0, 8, 3)},
        {zepStatusBadSize, zepiBiDirWeightBlock_H264_8u_P2P1R(c, c, p, 16, 16, 0, 1, 0, 1, 0, 8, 32)},
        {zepStatusBadStep, zepiBiDirWeightBlock_H264_8u_P3P1R(c, c, p, 16, 4, 16, 0, 1, 0, 1, 0, 8, 3)},
        {zepStatusBadSize, zepiBiDirWeightBlock_H264_8u_P3P1R(c, c, p, 16, 16, 16, 0, 1, 0, 1, 0, 1, 8)},
        {zepStatusBadStep, zepiBiDirWeightBlockImplicit_H264_8u_P2P1R(c, c, p, 4, 16, 32, 32, 8, 3)},
        {zepStatusBadSize, zepiBiDirWeightBlockImplicit_H264_8u_P2P1R(c, c, p, 16, 16, 32, 32, 3, 5)},
        {zepStatusOk, zepiBiDirWeightBlockImplicit_H264_8u_P3P1R(c, c, p, 0, 0, 0, 32, 32, -3, 4)},
        {zepStatusBadStep, zepiWeightedAverage_H264_8u_C1IR(c, p, 4, 1, 1, 0, 0, 8, 3)},
        {zepStatusBadSize, zepiWeightedAverage_H264_8u_C1IR(c, p, 16, 1, 1, 0, 0, 0, 8)},
    };
    for (size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(cases[i].second, cases[i].first) << "case " << i;
    EXPECT_TRUE(g.untouched());
}

// The implicit form with three steps takes any size and writes only the block
// (the shared-step form refuses 3x5: see the checks above).
TEST(WeightEntry, ImplicitThreeStepsAnySize) {
    Rng rng(43);
    Blocks in(rng, 3, 5, Pattern::Random);
    Picture<Zep8u> d(3, 5, 7, 0, 1);  // guard-filled, with a border right and below
    ASSERT_EQ(zepiBiDirWeightBlockImplicit_H264_8u_P3P1R(in.a.data(), in.b.data(), d.data(), in.a.step(), in.b.step(),
                                                          d.step(), 20, 44, 3, 5),
              zepStatusOk);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 4; ++x)
            ASSERT_EQ(d.at(x, y), x < 3 && y < 5 ? (in.a.at(x, y) * 20 + in.b.at(x, y) * 44 + 32) >> 6 : 0xA5)
                << x << "," << y;
}

}  // namespace
