// High-bit-depth H.264 weighted prediction: the four entry points against the
// weighting equations at every bit depth, every kernel level against the
// reference at the extremes the entry points allow, and the checks.
#include "harness/harness.h"

#include "h264/weight16_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;

constexpr int kSizes[] = {2, 4, 8, 16};

struct Blocks16 {
    Picture<Zep16u> a, b, d;
    Blocks16(Rng& rng, int w, int h, Pattern pat, int maxVal)
        : a(Picture<Zep16u>::random(rng, w, h, 0)), b(Picture<Zep16u>::random(rng, w, h, 0)),
          d(Picture<Zep16u>::random(rng, w, h, 0)) {
        a.fill(pat, rng, 0, maxVal);
        b.fill(rng.coin() ? pat : Pattern::Random, rng, 0, maxVal);
        d.fill(Pattern::Random, rng, 0, 65535);
    }
};

int steps(const Picture<Zep16u>& p) { return p.step() / 2; }

// One random case of every form at one bit depth, compared with the
// prediction equations written out per sample.
void check_forms(Rng& rng, int w, int h, int depth, Pattern pat) {
    const long long maxVal = (1LL << depth) - 1;
    Blocks16 in(rng, w, h, pat, static_cast<int>(maxVal));
    const long long scale = depth > 8 ? 1LL << (depth - 8) : 1;  // offsets as a decoder scales them
    const int lw = rng.range(0, 7), w1 = rng.range(-128, 127), w2 = rng.range(-128, 127);
    const int o1 = static_cast<int>(rng.range(-128, 127) * scale), o2 = static_cast<int>(rng.range(-128, 127) * scale);
    const int iw1 = rng.range(-64, 128), iw2 = 64 - iw1;
    auto clip = [&](long long v) { return static_cast<Zep16u>(v < 0 ? 0 : (v > maxVal ? maxVal : v)); };
    auto A = [&](int x, int y) -> long long { return in.a.at(x, y); };
    auto B = [&](int x, int y) -> long long { return in.b.at(x, y); };
    const std::string ctx = std::to_string(w) + "x" + std::to_string(h) + " depth " + std::to_string(depth) +
                            " logWD " + std::to_string(lw) + " " + pattern_name(pat);

    struct Form {
        const char* name;
        std::function<ZepStatus(const ZepBidirParams16u*)> call;
        std::function<Zep16u(int, int)> want;
        bool inPlace;
    };
    const Form forms[] = {
        {"default", [](const ZepBidirParams16u* p) { return zepiBidir_H264_16u_P2P1R(p); },
         [&](int x, int y) { return clip((A(x, y) + B(x, y) + 1) >> 1); }, false},
        {"explicit", [&](const ZepBidirParams16u* p) { return zepiBidirWeight_H264_16u_P2P1R(p, lw, w1, o1, w2, o2); },
         [&](int x, int y) {
             return clip(((A(x, y) * w1 + B(x, y) * w2 + (1LL << lw)) >> (lw + 1)) + ((o1 + o2 + 1) >> 1));
         }, false},
        {"implicit", [&](const ZepBidirParams16u* p) { return zepiBidirWeightImplicit_H264_16u_P2P1R(p, iw1, iw2); },
         [&](int x, int y) { return clip((A(x, y) * iw1 + B(x, y) * iw2 + 32) >> 6); }, false},
        {"one-directional", [&](const ZepBidirParams16u* p) { return zepiUnidirWeight_H264_16u_IP2P1R(p, lw, w1, o1); },
         [&](int x, int y) {
             return clip(lw >= 1 ? ((A(x, y) * w1 + (1LL << (lw - 1))) >> lw) + o1 : A(x, y) * w1 + o1);
         }, false},
        {"one-directional in place",
         [&](const ZepBidirParams16u* p) { return zepiUnidirWeight_H264_16u_IP2P1R(p, lw, w1, o1); },
         [&](int x, int y) {
             return clip(lw >= 1 ? ((A(x, y) * w1 + (1LL << (lw - 1))) >> lw) + o1 : A(x, y) * w1 + o1);
         }, true},
    };
    for (const Form& f : forms) {
        Picture<Zep16u> d = f.inPlace ? in.a : in.d;
        ZepBidirParams16u p{f.inPlace ? d.data() : in.a.data(), steps(in.a), in.b.data(), steps(in.b),
                            d.data(), steps(d), w, h, depth};
        if (f.inPlace) p.pSrc2 = nullptr;  // not used by the one-directional form
        ASSERT_EQ(f.call(&p), zepStatusOk) << ctx << " " << f.name;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) ASSERT_EQ(d.at(x, y), f.want(x, y)) << ctx << " " << f.name << " at " << x << "," << y;
    }
}

TEST(Weight16Entry, MatchesWeightingEquationsAtEveryDepth) {
    Rng rng(71);
    for (int depth : {8, 9, 10, 12, 14, 16})
        for (int w : kSizes)
            for (int h : kSizes)
                for (Pattern pat : kAllPatterns) ASSERT_NO_FATAL_FAILURE(check_forms(rng, w, h, depth, pat));
}

// Kernels at the limits of what the entry points pass: full 16-bit samples
// whatever the depth, weights +-128, shifts 0..8, offsets +-65535.
TEST(Weight16Kernels, EveryLevelMatchesReference) {
    const zep::Weight16Dsp ref = zep::build_table(zep::weight16_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const zep::Weight16Dsp k = zep::build_table(zep::weight16_init, level);
        Rng rng(72);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 40; ++it)
                for (int wc = 0; wc < 4; ++wc) {
                    const int w = kSizes[wc], h = rng.range(1, 17);
                    Blocks16 in(rng, w, h, pat, 65535);
                    zep::Weight16Params p;
                    const bool edge = rng.range(0, 3) == 0;
                    p.w1 = edge ? (rng.coin() ? 128 : -128) : rng.range(-128, 128);
                    p.w2 = rng.range(0, 4) == 0 ? 0 : rng.range(-128, 128);
                    p.shift = rng.range(0, 8);
                    p.round = p.shift ? 1 << (p.shift - 1) : 0;
                    p.offset = edge ? (rng.coin() ? 65535 : -65535) : rng.range(-4096, 4096);
                    p.maxVal = rng.coin() ? 65535 : (1 << rng.range(1, 15)) - 1;
                    const bool inPlace = rng.range(0, 3) == 0;
                    auto run = [&](const zep::Weight16Dsp& t) {
                        Picture<Zep16u> a = in.a, d = in.d;
                        Picture<Zep16u>& out = inPlace ? a : d;
                        t.block[wc](a.data(), steps(a), in.b.data(), steps(in.b), out.data(), steps(out), p, h);
                        return out.block();
                    };
                    const std::string ctx = std::to_string(w) + "x" + std::to_string(h) + " w " + std::to_string(p.w1) +
                                            "," + std::to_string(p.w2) + " shift " + std::to_string(p.shift) +
                                            " offset " + std::to_string(p.offset) + " max " + std::to_string(p.maxVal) +
                                            (inPlace ? " in place" : "");
                    ASSERT_TRUE(same_array(run(ref), run(k), context(level, pat, ctx)));
                }
    }
}

// Each check in its order, with every later argument also wrong, and a
// guarded destination that must stay untouched.
TEST(Weight16Entry, ChecksInOrderAndWriteNothing) {
    Guarded<Zep16u> g(16 * 16);
    std::vector<Zep16u> src(16 * 16, 100);
    const ZepBidirParams16u good{src.data(), 16, src.data(), 16, g.data(), 16, 8, 8, 10};
    struct Case {
        const char* what;
        std::function<void(ZepBidirParams16u&)> spoil;
        ZepStatus bi, uni;  // status of the bi-directional forms and of the one-directional one
    };
    const Case cases[] = {
        {"first source null", [](auto& p) { p.pSrc1 = nullptr; p.src1Step = 1; p.width = 3; }, zepStatusNullPtr, zepStatusNullPtr},
        {"second source null", [](auto& p) { p.pSrc2 = nullptr; p.src2Step = 1; p.height = 5; }, zepStatusNullPtr, -999},
        {"destination null", [](auto& p) { p.pDst = nullptr; p.dstStep = 0; p.bitDepth = 0; }, zepStatusNullPtr, zepStatusNullPtr},
        {"first step", [](auto& p) { p.src1Step = 7; p.height = 3; }, zepStatusBadStep, zepStatusBadStep},
        {"second step", [](auto& p) { p.src2Step = 7; p.height = 3; }, zepStatusBadStep, -999},
        {"destination step", [](auto& p) { p.dstStep = -8; p.height = 0; }, zepStatusBadStep, zepStatusBadStep},
        {"height", [](auto& p) { p.height = 6; p.bitDepth = 17; }, zepStatusBadSize, zepStatusBadSize},
        {"width", [](auto& p) { p.width = 32; p.dstStep = 32; p.src1Step = 32; p.src2Step = 32; }, zepStatusBadSize, zepStatusBadSize},
        {"depth 0", [](auto& p) { p.bitDepth = 0; }, zepStatusBadArg, zepStatusBadArg},
        {"depth 17", [](auto& p) { p.bitDepth = 17; }, zepStatusBadArg, zepStatusBadArg},
    };
    for (const Case& c : cases) {
        ZepBidirParams16u p = good;
        c.spoil(p);
        EXPECT_EQ(zepiBidir_H264_16u_P2P1R(&p), c.bi) << c.what;
        EXPECT_EQ(zepiBidirWeight_H264_16u_P2P1R(&p, 9, 300, 0, 0, 0), c.bi) << c.what;
        EXPECT_EQ(zepiBidirWeightImplicit_H264_16u_P2P1R(&p, 300, 0), c.bi) << c.what;
        // The one-directional form ignores the second source and its step (-999: not its check).
        if (c.uni != -999) {
            EXPECT_EQ(zepiUnidirWeight_H264_16u_IP2P1R(&p, 9, 300, 0), c.uni) << c.what;
        }
        EXPECT_TRUE(g.untouched()) << c.what;
    }
    // Parameters come last, each out of range alone.
    struct Range {
        const char* what;
        int logWD, w1, o1, w2, o2;
    };
    const Range ranges[] = {{"logWD -1", -1, 1, 0, 1, 0},   {"logWD 8", 8, 1, 0, 1, 0},
                            {"w1 129", 0, 129, 0, 1, 0},   {"w2 -129", 0, 1, 0, -129, 0},
                            {"o1 65536", 0, 1, 65536, 1, 0}, {"o2 -65536", 0, 1, 0, 1, -65536}};
    for (const Range& r : ranges) {
        EXPECT_EQ(zepiBidirWeight_H264_16u_P2P1R(&good, r.logWD, r.w1, r.o1, r.w2, r.o2), zepStatusOutOfRange) << r.what;
        const bool uniBad = r.logWD != 0 || r.w1 != 1 || r.o1 != 0;
        if (uniBad) {
            EXPECT_EQ(zepiUnidirWeight_H264_16u_IP2P1R(&good, r.logWD, r.w1, r.o1), zepStatusOutOfRange) << r.what;
        }
        const bool implicitBad = r.w1 != 1 || r.w2 != 1;
        if (implicitBad) {
            EXPECT_EQ(zepiBidirWeightImplicit_H264_16u_P2P1R(&good, r.w1, r.w2), zepStatusOutOfRange) << r.what;
        }
        EXPECT_TRUE(g.untouched()) << r.what;
    }
    EXPECT_EQ(zepiBidir_H264_16u_P2P1R(nullptr), zepStatusNullPtr);
    EXPECT_EQ(zepiBidirWeight_H264_16u_P2P1R(nullptr, 0, 1, 0, 1, 0), zepStatusNullPtr);
    EXPECT_EQ(zepiBidirWeightImplicit_H264_16u_P2P1R(nullptr, 32, 32), zepStatusNullPtr);
    EXPECT_EQ(zepiUnidirWeight_H264_16u_IP2P1R(nullptr, 0, 1, 0), zepStatusNullPtr);
    EXPECT_TRUE(g.untouched());
}

}  // namespace
