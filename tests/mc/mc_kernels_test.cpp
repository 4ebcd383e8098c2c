// Block compensation and differences: every table entry of every SIMD level
// against the scalar reference, on random geometry and value patterns.
#include <functional>

#include "harness/harness.h"

#include "block/mc_dsp.h"

namespace {

using namespace zt;
using zep::McDsp;

constexpr int kIters = 5;

// Inputs of one trial: two references with two spare rows and columns, a
// current block, two residual planes.
struct In {
    Picture<Zep8u> refF, refB, cur;
    Picture<Zep16s> res, resV;
    In(Rng& rng, int w, int h, Pattern pat)
        : refF(Picture<Zep8u>::random(rng, w, h, 2)),
          refB(Picture<Zep8u>::random(rng, w, h, 2)),
          cur(Picture<Zep8u>::random(rng, w, h, 0)),
          res(Picture<Zep16s>::random(rng, w, h, 0)),
          resV(w, h, res.step(), 2 * rng.range(0, 7), 0) {  // the planar chroma forms share one residual step
        refF.fill(pat, rng, 0, 255);
        refB.fill(rng.coin() ? pat : Pattern::Random, rng, 0, 255);
        cur.fill(rng.coin() ? pat : Pattern::Random, rng, 0, 255);
        // Mostly plausible residuals, sometimes the whole 16-bit range.
        const int lim = rng.coin() ? 300 : 32767;
        res.fill(pat, rng, -lim - (lim == 32767), lim);
        resV.fill(Pattern::Random, rng, -lim, lim);
    }
    std::string describe() const {
        return "refF " + refF.describe() + ", refB " + refB.describe() + ", cur " + cur.describe() + ", res " +
               res.describe() + "\nrefF:\n" + refF.dump() + "refB:\n" + refB.dump() + "cur:\n" + cur.dump();
    }
};

// Outputs; built twice from the same seed so both start identical (the
// in-place kernels read the destination). The border catches overwrites.
struct Out {
    Picture<Zep8u> dst, pred;
    Picture<Zep16s> diff, diffV;
    Out(uint64_t seed, int w, int h)
        : Out(Rng(seed), w, h) {}
    Out(Rng rng, int w, int h)
        : dst(Picture<Zep8u>::random(rng, w, h, 1)),
          pred(Picture<Zep8u>::random(rng, w, h, 1)),
          diff(Picture<Zep16s>::random(rng, w, h, 1)),
          diffV(Picture<Zep16s>::random(rng, w, h, 1)) {
        dst.fill(Pattern::Random, rng, 0, 255);
        pred.fill(Pattern::Random, rng, 0, 255);
        diff.fill(Pattern::Random, rng, -32768, 32767);
        diffV.fill(Pattern::Random, rng, -32768, 32767);
    }
};

using Call = std::function<void(const McDsp&, In&, Out&)>;

struct Case {
    std::string name;
    int w, h;  // block size in samples of the widest picture involved
    Call call;
};

::testing::AssertionResult same_out(Out& e, Out& g, const std::string& ctx) {
    if (auto r = same_array(e.dst.block(), g.dst.block(), "dst: " + ctx); !r) return r;
    if (auto r = same_array(e.pred.block(), g.pred.block(), "pred: " + ctx); !r) return r;
    if (auto r = same_array(e.diff.block(), g.diff.block(), "diff: " + ctx); !r) return r;
    if (auto r = same_array(e.diffV.block(), g.diffV.block(), "diffV: " + ctx); !r) return r;
    if (e.dst.dump() != g.dst.dump() || e.pred.dump() != g.pred.dump() || e.diff.dump() != g.diff.dump() ||
        e.diffV.dump() != g.diffV.dump())
        return ::testing::AssertionFailure() << "wrote outside the block: " << ctx;
    return ::testing::AssertionSuccess();
}

void run_cases(const std::vector<Case>& cases) {
    const McDsp ref = zep::build_table(zep::mc_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const McDsp k = zep::build_table(zep::mc_init, level);
        Rng rng(11);
        for (const Case& c : cases)
            for (Pattern pat : kAllPatterns)
                for (int it = 0; it < kIters; ++it) {
                    In in(rng, c.w, c.h, pat);
                    const uint64_t seed = rng.u32();
                    Out e(seed, c.w, c.h), g(seed, c.w, c.h);
                    c.call(ref, in, e);
                    c.call(k, in, g);
                    ASSERT_TRUE(same_out(e, g, context(level, pat, c.name + ", " + in.describe())));
                }
    }
}

std::string entry(const char* table, int i, const std::string& extra = "") {
    return std::string(table) + "[" + std::to_string(i) + "]" + extra;
}

TEST(McKernels, SingleCompensationMatchesReference) {
    std::vector<Case> cases;
    auto add = [&](const char* name, zep::McFn (McDsp::*table)[8], int w, std::initializer_list<int> heights) {
        for (int h : heights)
            for (int i = 0; i < 8; ++i)
                cases.push_back({entry(name, i, " h" + std::to_string(h)), w, h, [=](const McDsp& t, In& in, Out& o) {
                                     (t.*table)[i](in.refF.data(), in.refF.step(), in.res.data(), in.res.step(),
                                                   o.dst.data(), o.dst.step(), h);
                                 }});
    };
    add("mc16", &McDsp::mc16, 16, {16, 8});
    add("mc8", &McDsp::mc8, 8, {16, 8, 4});
    add("mcUV", &McDsp::mcUV, 16, {8, 4});
    add("add8x8Hp", &McDsp::add8x8Hp, 8, {8});
    auto small = [&](const char* name, zep::McSmallFn (McDsp::*table)[4], int w, int h) {
        for (int i = 0; i < 4; ++i)
            for (int rnd = 0; rnd < 2; ++rnd)
                cases.push_back({entry(name, i, " rnd " + std::to_string(rnd)), w, h,
                                 [=](const McDsp& t, In& in, Out& o) {
                                     (t.*table)[i](in.refF.data(), in.refF.step(), in.res.data(), in.res.step(),
                                                   o.dst.data(), o.dst.step(), rnd);
                                 }});
    };
    small("mc4x8", &McDsp::mc4x8, 4, 8);
    small("mc4x4", &McDsp::mc4x4, 4, 4);
    small("mc4x2", &McDsp::mc4x2, 4, 2);
    small("mc2x4", &McDsp::mc2x4, 2, 4);
    small("mc2x2", &McDsp::mc2x2, 2, 2);
    for (int h : {8, 4})
        for (int i = 0; i < 8; ++i)
            cases.push_back({entry("mcChroma", i, " h" + std::to_string(h)), 16, h, [=](const McDsp& t, In& in, Out& o) {
                                 t.mcChroma[i](in.refF.data(), in.refF.step(), in.res.data(), in.resV.data(),
                                               in.res.step(), o.dst.data(), o.dst.step(), h);
                             }});
    run_cases(cases);
}

TEST(McKernels, BidirectionalCompensationMatchesReference) {
    std::vector<Case> cases;
    auto add = [&](const char* name, zep::McBFn (McDsp::*table)[32], int w, std::initializer_list<int> heights) {
        for (int h : heights)
            for (int i = 0; i < 32; ++i)
                cases.push_back({entry(name, i, " h" + std::to_string(h)), w, h, [=](const McDsp& t, In& in, Out& o) {
                                     (t.*table)[i](in.refF.data(), in.refF.step(), in.refB.data(), in.refB.step(),
                                                   in.res.data(), in.res.step(), o.dst.data(), o.dst.step(), h);
                                 }});
    };
    add("mcB16", &McDsp::mcB16, 16, {16, 8});
    add("mcB8", &McDsp::mcB8, 8, {16, 8, 4});
    add("mcBUV", &McDsp::mcBUV, 16, {8, 4});
    auto small = [&](const char* name, zep::McBSmallFn (McDsp::*table)[16], int w, int h) {
        for (int i = 0; i < 16; ++i)
            for (int rnd = 0; rnd < 2; ++rnd)
                cases.push_back({entry(name, i, " rnd " + std::to_string(rnd)), w, h,
                                 [=](const McDsp& t, In& in, Out& o) {
                                     (t.*table)[i](in.refF.data(), in.refF.step(), in.refB.data(), in.refB.step(),
                                                   in.res.data(), in.res.step(), o.dst.data(), o.dst.step(), rnd);
                                 }});
    };
    small("mcB4x8", &McDsp::mcB4x8, 4, 8);
    small("mcB4x4", &McDsp::mcB4x4, 4, 4);
    small("mcB4x2", &McDsp::mcB4x2, 4, 2);
    small("mcB2x4", &McDsp::mcB2x4, 2, 4);
    small("mcB2x2", &McDsp::mcB2x2, 2, 2);
    for (int h : {8, 4})
        for (int i = 0; i < 32; ++i)
            cases.push_back({entry("mcChromaB", i, " h" + std::to_string(h)), 16, h,
                             [=](const McDsp& t, In& in, Out& o) {
                                 t.mcChromaB[i](in.refF.data(), in.refF.step(), in.refB.data(), in.refB.step(),
                                                in.res.data(), in.resV.data(), in.res.step(), o.dst.data(),
                                                o.dst.step(), h);
                             }});
    run_cases(cases);
}

TEST(McKernels, CopiesAndAveragesMatchReference) {
    std::vector<Case> cases;
    auto add = [&](const char* name, zep::CopyFn (McDsp::*table)[8], int w, int h) {
        for (int i = 0; i < 8; ++i)
            cases.push_back({entry(name, i), w, h, [=](const McDsp& t, In& in, Out& o) {
                                 (t.*table)[i](in.refF.data(), in.refF.step(), o.dst.data(), o.dst.step());
                             }});
    };
    add("copyHp16x16", &McDsp::copyHp16x16, 16, 16);
    add("copyHp16x8", &McDsp::copyHp16x8, 16, 8);
    add("copyHp8x8", &McDsp::copyHp8x8, 8, 8);
    add("copyHp8x4", &McDsp::copyHp8x4, 8, 4);
    add("interpAvg16x16", &McDsp::interpAvg16x16, 16, 16);
    add("interpAvg16x8", &McDsp::interpAvg16x8, 16, 8);
    add("interpAvg8x8", &McDsp::interpAvg8x8, 8, 8);
    add("interpAvg8x4", &McDsp::interpAvg8x4, 8, 4);
    auto one = [&](const char* name, zep::CopyFn McDsp::*fn, int n) {
        cases.push_back({name, n, n, [=](const McDsp& t, In& in, Out& o) {
                             (t.*fn)(in.refF.data(), in.refF.step(), o.dst.data(), o.dst.step());
                         }});
    };
    one("copy16x16", &McDsp::copy16x16, 16);
    one("copy8x8", &McDsp::copy8x8, 8);
    one("averageI16x16", &McDsp::averageI16x16, 16);
    one("averageI8x8", &McDsp::averageI8x8, 8);
    auto avg = [&](const char* name, zep::AverageFn McDsp::*fn, int n) {
        cases.push_back({name, n, n, [=](const McDsp& t, In& in, Out& o) {
                             (t.*fn)(in.refF.data(), in.refF.step(), in.refB.data(), in.refB.step(), o.dst.data(),
                                     o.dst.step());
                         }});
    };
    avg("average16x16", &McDsp::average16x16, 16);
    avg("average8x8", &McDsp::average8x8, 8);
    cases.push_back({"add8x8", 8, 8, [](const McDsp& t, In& in, Out& o) {
                         t.add8x8(in.res.data(), in.res.step(), o.dst.data(), o.dst.step());
                     }});
    for (int v : {-32768, -256, -1, 0, 1, 77, 255, 32767})
        cases.push_back({"addc8x8 " + std::to_string(v), 8, 8,
                         [=](const McDsp& t, In&, Out& o) { t.addc8x8(o.dst.data(), o.dst.step(), v); }});
    run_cases(cases);
}

TEST(McKernels, DifferencesMatchReference) {
    std::vector<Case> cases;
    auto add = [&](const char* name, zep::DiffFn (McDsp::*table)[4], zep::DiffBFn (McDsp::*tableB)[16], int w,
                   int h) {
        for (int rnd = 0; rnd < 2; ++rnd) {
            const std::string r = " rnd " + std::to_string(rnd);
            for (int i = 0; i < 4; ++i)
                cases.push_back({entry(name, i, r), w, h, [=](const McDsp& t, In& in, Out& o) {
                                     (t.*table)[i](in.cur.data(), in.cur.step(), in.refF.data(), in.refF.step(),
                                                   o.diff.data(), o.diff.step(), o.pred.data(), o.pred.step(), rnd);
                                 }});
            for (int i = 0; i < 16; ++i)
                cases.push_back({entry(name, i, " B" + r), w, h, [=](const McDsp& t, In& in, Out& o) {
                                     (t.*tableB)[i](in.cur.data(), in.cur.step(), in.refF.data(), in.refF.step(),
                                                    in.refB.data(), in.refB.step(), o.diff.data(), o.diff.step(),
                                                    rnd);
                                 }});
        }
    };
    add("diff16x16", &McDsp::diff16x16, &McDsp::diffB16x16, 16, 16);
    add("diff16x8", &McDsp::diff16x8, &McDsp::diffB16x8, 16, 8);
    add("diff8x16", &McDsp::diff8x16, &McDsp::diffB8x16, 8, 16);
    add("diff8x8", &McDsp::diff8x8, &McDsp::diffB8x8, 8, 8);
    add("diff8x4", &McDsp::diff8x4, &McDsp::diffB8x4, 8, 4);
    for (int mode = 0; mode < 4; ++mode)
        for (int rnd = 0; rnd < 2; ++rnd)
            cases.push_back({"diff4x4 mode " + std::to_string(mode) + " rnd " + std::to_string(rnd), 4, 4,
                             [=](const McDsp& t, In& in, Out& o) {
                                 t.diff4x4(in.cur.data(), in.cur.step(), in.refF.data(), in.refF.step(),
                                           o.diff.data(), o.diff.step(), o.pred.data(), o.pred.step(), mode, rnd);
                             }});
    auto chroma = [&](const char* name, zep::DiffChromaFn (McDsp::*table)[4],
                      zep::DiffChromaBFn (McDsp::*tableB)[16], int h) {
        for (int rnd = 0; rnd < 2; ++rnd) {
            const std::string r = " rnd " + std::to_string(rnd);
            for (int i = 0; i < 4; ++i)
                cases.push_back({entry(name, i, r), 16, h, [=](const McDsp& t, In& in, Out& o) {
                                     (t.*table)[i](in.cur.data(), in.cur.step(), in.refF.data(), in.refF.step(),
                                                   o.diff.data(), o.diff.step(), o.diffV.data(), o.diffV.step(), rnd);
                                 }});
            for (int i = 0; i < 16; ++i)
                cases.push_back({entry(name, i, " B" + r), 16, h, [=](const McDsp& t, In& in, Out& o) {
                                     (t.*tableB)[i](in.cur.data(), in.cur.step(), in.refF.data(), in.refF.step(),
                                                    in.refB.data(), in.refB.step(), o.diff.data(), o.diff.step(),
                                                    o.diffV.data(), o.diffV.step(), rnd);
                                 }});
        }
    };
    chroma("diffChroma8x8", &McDsp::diffChroma8x8, &McDsp::diffChromaB8x8, 8);
    chroma("diffChroma8x4", &McDsp::diffChroma8x4, &McDsp::diffChromaB8x4, 4);
    auto sub = [&](const char* name, zep::Sub8uFn McDsp::*fn, int n) {
        cases.push_back({name, n, n, [=](const McDsp& t, In& in, Out& o) {
                             (t.*fn)(in.cur.data(), in.cur.step(), in.refF.data(), in.refF.step(), o.diff.data(),
                                     o.diff.step());
                         }});
    };
    sub("sub16x16", &McDsp::sub16x16, 16);
    sub("sub8x8", &McDsp::sub8x8, 8);
    sub("sub4x4", &McDsp::sub4x4, 4);
    run_cases(cases);
}

// Both roundings of every pair of samples, at every level (the round-down
// byte average is the round-up one minus the odd bit): all 65536 pairs as the
// vertical half sample of the 16- and 8-wide copies, sixteen or eight at a time.
TEST(McKernels, PairAveragesExhaustive) {
    for (Isa level : all_levels()) {
        const McDsp t = zep::build_table(zep::mc_init, level);
        for (int rnd = 0; rnd < 2; ++rnd)
            for (int a = 0; a < 256; ++a)
                for (int b0 = 0; b0 < 256; b0 += 16) {
                    Zep8u src[17 * 9] = {}, d16[16 * 8], d8[8 * 4];
                    for (int x = 0; x < 16; ++x) {
                        src[x] = static_cast<Zep8u>(a);
                        src[17 + x] = static_cast<Zep8u>(b0 + x);
                    }
                    t.copyHp16x8[2 * 2 + rnd](src, 17, d16, 16);
                    t.copyHp8x4[2 * 2 + rnd](src + 8, 17, d8, 8);
                    for (int x = 0; x < 16; ++x) {
                        const int e = (a + b0 + x + 1 - rnd) >> 1;
                        ASSERT_EQ(d16[x], e) << zep::isa_name(level) << " " << a << "+" << b0 + x << " rnd " << rnd;
                        if (x >= 8) {
                            ASSERT_EQ(d8[x - 8], e) << zep::isa_name(level) << " 8 wide";
                        }
                    }
                }
    }
}

// 16-bit samples: residual planes reinterpreted as 16u pictures, so the full
// 0..65535 range (and the 16s saturation of the difference) is exercised.
TEST(McKernels, Sub16uMatchesReference) {
    const McDsp ref = zep::build_table(zep::mc_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const McDsp k = zep::build_table(zep::mc_init, level);
        Rng rng(5);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 20; ++it)
                for (int n : {8, 4}) {
                    auto a = Picture<Zep16u>::random(rng, n, n, 0), b = Picture<Zep16u>::random(rng, n, n, 0);
                    a.fill(pat, rng, 0, 65535);
                    b.fill(rng.coin() ? pat : Pattern::Random, rng, 0, 65535);
                    auto run = [&](const McDsp& t) {
                        std::vector<Zep16s> d(n * n, 0x5a5a);
                        (n == 8 ? t.sub8x8_16u : t.sub4x4_16u)(a.data(), a.step(), b.data(), b.step(), d.data(),
                                                               n * 2);
                        return d;
                    };
                    ASSERT_TRUE(same_array(run(ref), run(k),
                                           context(level, pat, "sub" + std::to_string(n) + " 16u, a " +
                                                                   a.describe() + "\n" + a.dump() + "b\n" + b.dump())));
                }
    }
}

}  // namespace
