// Block compensation and differences: every table entry of every SIMD level
// against the scalar reference, on random geometry and value patterns.
#include <array>
#include <tuple>
#include <type_traits>

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

// Outputs, built twice from one seed so both start identical (the in-place
// kernels read the destination). The border catches overwrites.
struct Out {
    Picture<Zep8u> dst, pred;
    Picture<Zep16s> diff, diffV;
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

// Both runs wrote the same outputs, and nothing outside the blocks.
::testing::AssertionResult same_out(const Out& e, const Out& g) {
    auto one = [](const auto& a, const auto& b, const char* what) {
        if (auto r = same_array(a.block(), b.block(), what); !r) return r;
        if (a.dump() != b.dump()) return ::testing::AssertionFailure() << what << ": wrote outside the block";
        return ::testing::AssertionSuccess();
    };
    if (auto r = one(e.dst, g.dst, "dst"); !r) return r;
    if (auto r = one(e.pred, g.pred, "pred"); !r) return r;
    if (auto r = one(e.diff, g.diff, "diff"); !r) return r;
    return one(e.diffV, g.diffV, "diffV");
}

// A family of kernels: `entries` table entries (1: a single kernel), each run
// at every {block height, p} pair, where p is the height or rounding passed.
using Call = void (*)(const McDsp&, In&, Out&, int i, int p);
using Hp = std::vector<std::array<int, 2>>;
struct Family {
    const char* name;
    int entries, w;
    Hp hp;
    Call call;
};
Hp heights(std::initializer_list<int> hs) {
    Hp r;
    for (int h : hs) r.push_back({h, h});
    return r;
}
Hp roundings(int h) { return {{h, 0}, {h, 1}}; }

void run(const std::vector<Family>& families) {
    const McDsp ref = zep::build_table(zep::mc_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const McDsp k = zep::build_table(zep::mc_init, level);
        Rng rng(11);
        for (const Family& f : families)
            for (int i = 0; i < f.entries; ++i)
                for (auto [h, p] : f.hp)
                    for (Pattern pat : kAllPatterns)
                        for (int it = 0; it < kIters; ++it) {
                            In in(rng, f.w, h, pat);
                            const uint64_t seed = rng.u32();
                            Out e{Rng(seed), f.w, h}, g{Rng(seed), f.w, h};
                            f.call(ref, in, e, i, p);
                            f.call(k, in, g, i, p);
                            ASSERT_TRUE(same_out(e, g))
                                << context(level, pat, std::string(f.name) + "[" + std::to_string(i) + "] p " +
                                                           std::to_string(p) + ", " + in.describe());
                        }
    }
}

// Entry i of a table member, or the member itself when it is a single kernel.
template <auto M>
auto pick(const McDsp& t, int i) {
    if constexpr (std::is_array_v<std::remove_reference_t<decltype(t.*M)>>) return (t.*M)[i];
    else return t.*M;
}

// Calls f with each picture argument spelled out as its samples and step.
template <class F, class... A>
void call(F f, A&&... a) {
    auto flat = [](auto& x) {
        if constexpr (requires { x.step(); }) return std::tuple(x.data(), x.step());
        else return std::tuple(x);
    };
    std::apply(f, std::tuple_cat(flat(a)...));
}

// Calls by signature, as Family::call.
#define KERNEL(name, ...)                                                                         \
    template <auto M>                                                                             \
    void name(const McDsp& t, [[maybe_unused]] In& in, Out& o, [[maybe_unused]] int i,            \
              [[maybe_unused]] int p) {                                                           \
        call(pick<M>(t, i), __VA_ARGS__);                                                         \
    }
KERNEL(mc, in.refF, in.res, o.dst, p)
KERNEL(mcB, in.refF, in.refB, in.res, o.dst, p)
KERNEL(mcChroma, in.refF, in.res.data(), in.resV.data(), in.res.step(), o.dst, p)
KERNEL(mcChromaB, in.refF, in.refB, in.res.data(), in.resV.data(), in.res.step(), o.dst, p)
KERNEL(copy, in.refF, o.dst)
KERNEL(average, in.refF, in.refB, o.dst)
KERNEL(add, in.res, o.dst)
KERNEL(addc, o.dst, p)
KERNEL(diff, in.cur, in.refF, o.diff, o.pred, p)
KERNEL(diff4x4, in.cur, in.refF, o.diff, o.pred, i, p)  // entry i is the mode
KERNEL(diffB, in.cur, in.refF, in.refB, o.diff, p)
KERNEL(diffChroma, in.cur, in.refF, o.diff, o.diffV, p)
KERNEL(diffChromaB, in.cur, in.refF, in.refB, o.diff, o.diffV, p)
KERNEL(sub, in.cur, in.refF, o.diff)
#undef KERNEL

TEST(McKernels, SingleCompensationMatchesReference) {
    run({{"mc16", 8, 16, heights({16, 8}), mc<&McDsp::mc16>},
         {"mc8", 8, 8, heights({16, 8, 4}), mc<&McDsp::mc8>},
         {"mcUV", 8, 16, heights({8, 4}), mc<&McDsp::mcUV>},
         {"add8x8Hp", 8, 8, heights({8}), mc<&McDsp::add8x8Hp>},
         {"mc4x8", 4, 4, roundings(8), mc<&McDsp::mc4x8>},
         {"mc4x4", 4, 4, roundings(4), mc<&McDsp::mc4x4>},
         {"mc4x2", 4, 4, roundings(2), mc<&McDsp::mc4x2>},
         {"mc2x4", 4, 2, roundings(4), mc<&McDsp::mc2x4>},
         {"mc2x2", 4, 2, roundings(2), mc<&McDsp::mc2x2>},
         {"mcChroma", 8, 16, heights({8, 4}), mcChroma<&McDsp::mcChroma>}});
}

TEST(McKernels, BidirectionalCompensationMatchesReference) {
    run({{"mcB16", 32, 16, heights({16, 8}), mcB<&McDsp::mcB16>},
         {"mcB8", 32, 8, heights({16, 8, 4}), mcB<&McDsp::mcB8>},
         {"mcBUV", 32, 16, heights({8, 4}), mcB<&McDsp::mcBUV>},
         {"mcB4x8", 16, 4, roundings(8), mcB<&McDsp::mcB4x8>},
         {"mcB4x4", 16, 4, roundings(4), mcB<&McDsp::mcB4x4>},
         {"mcB4x2", 16, 4, roundings(2), mcB<&McDsp::mcB4x2>},
         {"mcB2x4", 16, 2, roundings(4), mcB<&McDsp::mcB2x4>},
         {"mcB2x2", 16, 2, roundings(2), mcB<&McDsp::mcB2x2>},
         {"mcChromaB", 32, 16, heights({8, 4}), mcChromaB<&McDsp::mcChromaB>}});
}

TEST(McKernels, CopiesAndAveragesMatchReference) {
    run({{"copyHp16x16", 8, 16, {{16, 0}}, copy<&McDsp::copyHp16x16>},
         {"copyHp16x8", 8, 16, {{8, 0}}, copy<&McDsp::copyHp16x8>},
         {"copyHp8x8", 8, 8, {{8, 0}}, copy<&McDsp::copyHp8x8>},
         {"copyHp8x4", 8, 8, {{4, 0}}, copy<&McDsp::copyHp8x4>},
         {"interpAvg16x16", 8, 16, {{16, 0}}, copy<&McDsp::interpAvg16x16>},
         {"interpAvg16x8", 8, 16, {{8, 0}}, copy<&McDsp::interpAvg16x8>},
         {"interpAvg8x8", 8, 8, {{8, 0}}, copy<&McDsp::interpAvg8x8>},
         {"interpAvg8x4", 8, 8, {{4, 0}}, copy<&McDsp::interpAvg8x4>},
         {"copy16x16", 1, 16, {{16, 0}}, copy<&McDsp::copy16x16>},
         {"copy8x8", 1, 8, {{8, 0}}, copy<&McDsp::copy8x8>},
         {"averageI16x16", 1, 16, {{16, 0}}, copy<&McDsp::averageI16x16>},
         {"averageI8x8", 1, 8, {{8, 0}}, copy<&McDsp::averageI8x8>},
         {"add8x8", 1, 8, {{8, 0}}, add<&McDsp::add8x8>},
         {"addc8x8", 1, 8, {{8, -32768}, {8, -256}, {8, -1}, {8, 0}, {8, 1}, {8, 77}, {8, 255}, {8, 32767}},
          addc<&McDsp::addc8x8>},
         {"average16x16", 1, 16, {{16, 0}}, average<&McDsp::average16x16>},
         {"average8x8", 1, 8, {{8, 0}}, average<&McDsp::average8x8>}});
}

TEST(McKernels, DifferencesMatchReference) {
    run({{"diff16x16", 4, 16, roundings(16), diff<&McDsp::diff16x16>},
         {"diff16x8", 4, 16, roundings(8), diff<&McDsp::diff16x8>},
         {"diff8x16", 4, 8, roundings(16), diff<&McDsp::diff8x16>},
         {"diff8x8", 4, 8, roundings(8), diff<&McDsp::diff8x8>},
         {"diff8x4", 4, 8, roundings(4), diff<&McDsp::diff8x4>},
         {"diffB16x16", 16, 16, roundings(16), diffB<&McDsp::diffB16x16>},
         {"diffB16x8", 16, 16, roundings(8), diffB<&McDsp::diffB16x8>},
         {"diffB8x16", 16, 8, roundings(16), diffB<&McDsp::diffB8x16>},
         {"diffB8x8", 16, 8, roundings(8), diffB<&McDsp::diffB8x8>},
         {"diffB8x4", 16, 8, roundings(4), diffB<&McDsp::diffB8x4>},
         {"diff4x4", 4, 4, roundings(4), diff4x4<&McDsp::diff4x4>},
         {"diffChroma8x8", 4, 16, roundings(8), diffChroma<&McDsp::diffChroma8x8>},
         {"diffChroma8x4", 4, 16, roundings(4), diffChroma<&McDsp::diffChroma8x4>},
         {"diffChromaB8x8", 16, 16, roundings(8), diffChromaB<&McDsp::diffChromaB8x8>},
         {"diffChromaB8x4", 16, 16, roundings(4), diffChromaB<&McDsp::diffChromaB8x4>},
         {"sub16x16", 1, 16, {{16, 0}}, sub<&McDsp::sub16x16>},
         {"sub8x8", 1, 8, {{8, 0}}, sub<&McDsp::sub8x8>},
         {"sub4x4", 1, 4, {{4, 0}}, sub<&McDsp::sub4x4>}});

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
                    auto e = [&](int x) { return (a + b0 + x + 1 - rnd) >> 1; };
                    for (int x = 0; x < 16; ++x)
                        ASSERT_EQ(d16[x], e(x)) << zep::isa_name(level) << " " << a << "+" << b0 + x << " rnd " << rnd;
                    for (int x = 0; x < 8; ++x)
                        ASSERT_EQ(d8[x], e(8 + x)) << zep::isa_name(level) << " 8 wide, rnd " << rnd;
                }
    }
}

// 16-bit samples over the full 0..65535 range, so the 16s saturation of the
// difference is exercised.
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
