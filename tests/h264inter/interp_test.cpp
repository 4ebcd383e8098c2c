// H.264 luma interpolation: the reference against an independent evaluation
// of the sample equations, every kernel level against the reference, and the
// entry points' checks and dispatch.
#include "harness/harness.h"
#include "harness/null_sweep.h"

#include <algorithm>

#include "h264/interp_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::InterpDsp;

// Source region with a margin of 3 on every side of a w x h block (the filter
// reaches 2 left/up and 3 right/down); int so both sample types share it.
struct Region {
    int w, h;
    std::vector<int> v;
    Region(int w_, int h_) : w(w_), h(h_), v(static_cast<size_t>(w_ + 6) * (h_ + 6)) {}
    int& at(int x, int y) { return v[static_cast<size_t>(y + 3) * (w + 6) + x + 3]; }
};

// Mode 0 random, 1 only 0 and max, 2 steep edges along a random line (the
// filters overshoot on both sides and exercise the clamps), 3 checkerboard.
void fill_region(Region& r, Rng& rng, int mode, int maxVal) {
    const int lo = rng.range(0, maxVal / 8), hi = maxVal - rng.range(0, maxVal / 8);
    const int a = rng.range(-3, 3), b = rng.range(-3, 3), c = rng.range(-8, 8);
    for (int y = -3; y < r.h + 3; ++y)
        for (int x = -3; x < r.w + 3; ++x)
            r.at(x, y) = mode == 0 ? rng.range(0, maxVal)
                         : mode == 1 ? (rng.coin() ? maxVal : 0)
                         : mode == 2 ? (a * x + b * y + c > 0 ? hi : lo)
                                     : (((x + y) & 1) ? maxVal : 0);
}

// The luma sample process evaluated sample by sample: full sample G, half
// samples b (right of G), h (below G) and centre j from the unrounded b1, then
// each quarter position as the average of two named samples.
std::vector<int> oracle(Region& g, int dx, int dy, int maxVal) {
    auto clip = [&](int v) { return std::clamp(v, 0, maxVal); };
    auto tap = [](auto f) { return f(-2) - 5 * f(-1) + 20 * f(0) + 20 * f(1) - 5 * f(2) + f(3); };
    auto b1 = [&](int x, int y) { return tap([&](int k) { return g.at(x + k, y); }); };
    auto b = [&](int x, int y) { return clip((b1(x, y) + 16) >> 5); };
    auto h = [&](int x, int y) { return clip((tap([&](int k) { return g.at(x, y + k); }) + 16) >> 5); };
    auto j = [&](int x, int y) { return clip((tap([&](int k) { return b1(x, y + k); }) + 512) >> 10); };
    auto avg = [](int p, int q) { return (p + q + 1) >> 1; };
    std::vector<int> out;
    for (int y = 0; y < g.h; ++y)
        for (int x = 0; x < g.w; ++x) {
            const int G = g.at(x, y), B = b(x, y), H = h(x, y), J = j(x, y), m = h(x + 1, y), s = b(x, y + 1);
            const int q[16] = {G,                   avg(G, B), B,          avg(g.at(x + 1, y), B),
                               avg(G, H),           avg(B, H), avg(B, J),  avg(B, m),
                               H,                   avg(H, J), J,          avg(J, m),
                               avg(g.at(x, y + 1), H), avg(H, s), avg(J, s), avg(m, s)};
            out.push_back(q[dy * 4 + dx]);
        }
    return out;
}

// Copies a region into a picture; origin() is the block's top-left sample.
template <class T>
Picture<T> to_picture(Rng& rng, Region& r, int extraStep = 0) {
    Picture<T> pic(r.w + 6, r.h + 6, static_cast<int>((r.w + 6 + extraStep) * sizeof(T)), rng.range(0, 7) * sizeof(T), 0);
    for (int y = -3; y < r.h + 3; ++y)
        for (int x = -3; x < r.w + 3; ++x) pic.at(x + 3, y + 3) = static_cast<T>(r.at(x, y));
    return pic;
}
template <class T>
const T* origin(Picture<T>& p) { return &p.at(3, 3); }

// One table call for either sample type; `wide` picks the full-range 16-bit kernels.
template <class T>
void run(const InterpDsp& t, bool wide, int cls, int pos, Picture<T>& src, T* dst, int dstStep, int h, int maxVal) {
    if constexpr (sizeof(T) == 1)
        t.luma8[cls][pos](origin(src), src.step(), dst, dstStep, h);
    else
        (wide ? t.luma16_wide : t.luma16)[cls][pos](origin(src), src.step() / 2, dst, dstStep, h, maxVal);
}

// The entry point for a w x h block at position pos; 16-bit steps count samples.
template <class T>
ZepStatus entry(Picture<T>& src, int w, int pos, T* dst, int dstStep, int h, int depth) {
    if constexpr (sizeof(T) == 1) {
        return zepiInterpolateLuma_H264_8u_C1R(origin(src), src.step(), dst, dstStep, pos & 3, pos >> 2, {w, h});
    } else {
        const ZepInterpolationParams16u p{origin(src), src.step() / 2, dst, dstStep, pos & 3, pos >> 2, w, h, depth};
        return zepiInterpolateLuma_H264_16u_C1R(&p);
    }
}

// Each case checks the reference against the equations, then every level and
// the entry point against the reference, all in destinations with a spare row
// and random spare columns that must stay as they were. 8-bit: all four width
// classes (the fourth is 16 wide again; the entry point gets either width of
// the class) and any multiple of 4 as height. 16-bit: the entry point's sizes;
// the vector kernels up to 14 bits, beyond that the entry point must pick the
// full-range kernels (the vector ones take samples signed).
template <class T>
void check_all(int depth, Rng& rng) {
    const InterpDsp ref = zep::build_table(zep::interp_init, Isa::Ref);
    std::vector<std::pair<Isa, InterpDsp>> levels;
    if (sizeof(T) == 1 || depth <= 14)
        for (Isa level : simd_levels()) levels.emplace_back(level, zep::build_table(zep::interp_init, level));
    const int maxVal = (1 << depth) - 1;
    const std::vector<int> heights = sizeof(T) == 1 ? std::vector<int>{4, 8, 12, 16, 20} : std::vector<int>{4, 8, 16};
    for (int cls = 0; cls < (sizeof(T) == 1 ? 4 : 3); ++cls)
        for (int h : heights)
            for (int pos = 0; pos < 16; ++pos)
                for (int mode = 0; mode < 4; ++mode) {
                    const int w = 4 << std::min(cls, 2), ds = w + rng.range(0, 5);
                    Region r(w, h);
                    fill_region(r, rng, mode, maxVal);
                    auto pic = to_picture<T>(rng, r, rng.range(0, 9));
                    std::vector<T> want(ds * (h + 1), 7), e = want, g = want;
                    const std::vector<int> eq = oracle(r, pos & 3, pos >> 2, maxVal);
                    for (int i = 0; i < w * h; ++i) want[i / w * ds + i % w] = static_cast<T>(eq[i]);
                    const std::string ctx = "depth " + std::to_string(depth) + " w " + std::to_string(w) + " h " +
                                            std::to_string(h) + " pos " + std::to_string(pos) + " mode " +
                                            std::to_string(mode) + " " + pic.describe();
                    run(ref, true, cls, pos, pic, e.data(), ds, h, maxVal);
                    ASSERT_TRUE(same_array(want, e, "reference against the equations, " + ctx));
                    for (const auto& [level, k] : levels) {
                        std::fill(g.begin(), g.end(), T(7));
                        run(k, false, cls, pos, pic, g.data(), ds, h, maxVal);
                        ASSERT_TRUE(same_array(e, g, context(level, Pattern::Random, ctx)));
                    }
                    if (sizeof(T) == 2 && w + h == 20) continue;  // 16x4 and 4x16 are refused
                    const int ew = sizeof(T) == 1 ? 8 * cls + 4 * rng.range(0, 1) : w;
                    std::fill(g.begin(), g.end(), T(7));
                    ASSERT_EQ(entry(pic, ew, pos, g.data(), ds, h, depth), zepStatusOk) << ctx;
                    ASSERT_TRUE(same_array(e, g, "entry point width " + std::to_string(ew) + ", " + ctx));
                }
}

TEST(InterpKernels, ReferenceMatchesEquationsAndEveryLevelMatchesReference) {
    Rng rng(21);
    ASSERT_NO_FATAL_FAILURE(check_all<Zep8u>(8, rng));
    for (int depth = 8; depth <= 16; ++depth) ASSERT_NO_FATAL_FAILURE(check_all<Zep16u>(depth, rng));
}

// ---------------------------------------------------------------- entry points

TEST(InterpEntry, EightBitChecksInOrderAndWriteNothing) {
    const std::vector<Zep8u> srcMem(40 * 40, 9);
    const Zep8u* src = srcMem.data() + 3 * 40 + 3;
    Guarded<Zep8u> dst(32 * 32);
    // Null first, whatever else is wrong.
    EXPECT_TRUE(null_sweep(zepiInterpolateLuma_H264_8u_C1R, src, 40, dst.data(), 32, 9, 9, ZepSize{3, 3}));
    const struct { int dx, dy, w, h; ZepStatus want; } cases[] = {
        {4, 0, 3, 3, zepStatusBadArg},  // fraction before size
        {0, 4, 16, 16, zepStatusBadArg},   {-1, 0, 16, 16, zepStatusBadArg},  // compared unsigned
        {0, 0, 16, 6, zepStatusBadSize},   {0, 0, 16, -2, zepStatusBadSize},  {0, 0, 2, 4, zepStatusBadSize},
        {0, 0, 32, 4, zepStatusBadSize},   {0, 0, -4, 4, zepStatusBadSize},   {0, 0, 36, 4, zepStatusBadSize},
        {1, 3, 16, 0, zepStatusOk},  // no rows: nothing written
    };
    for (const auto& c : cases)
        EXPECT_EQ(zepiInterpolateLuma_H264_8u_C1R(src, 40, dst.data(), 32, c.dx, c.dy, {c.w, c.h}), c.want)
            << c.dx << "," << c.dy << " " << c.w << "x" << c.h;
    EXPECT_TRUE(dst.untouched());
}

TEST(InterpEntry, SixteenBitChecksInOrderAndWriteNothing) {
    std::vector<Zep16u> srcMem(40 * 40, 1000);
    Guarded<Zep16u> dst(32 * 32);
    const ZepInterpolationParams16u good{srcMem.data() + 3 * 40 + 3, 40, dst.data(), 32, 1, 2, 8, 8, 10};
    using P = ZepInterpolationParams16u;
    const struct { const char* what; void (*edit)(P&); ZepStatus want; } cases[] = {
        {"null src", [](P& p) { p.pSrc = nullptr; p.dx = 7; }, zepStatusNullPtr},
        {"null dst", [](P& p) { p.pDst = nullptr; p.srcStep = 0; }, zepStatusNullPtr},
        {"src step", [](P& p) { p.srcStep = 7; p.dx = 7; }, zepStatusBadStep},
        {"dst step", [](P& p) { p.dstStep = 7; p.height = 3; }, zepStatusBadStep},
        {"dx", [](P& p) { p.dx = 4; p.height = 3; }, zepStatusBadArg},
        {"dx negative", [](P& p) { p.dx = -1; }, zepStatusBadArg},
        {"dy", [](P& p) { p.dy = 4; p.width = 3; }, zepStatusBadArg},
        {"height", [](P& p) { p.height = 12; }, zepStatusBadSize},
        {"width", [](P& p) { p.width = 2; }, zepStatusBadSize},
        {"16x4", [](P& p) { p.width = 16; p.height = 4; }, zepStatusBadSize},
        {"4x16", [](P& p) { p.width = 4; p.height = 16; }, zepStatusBadSize},
    };
    EXPECT_EQ(zepiInterpolateLuma_H264_16u_C1R(nullptr), zepStatusNullPtr);
    for (const auto& c : cases) {
        P p = good;
        c.edit(p);
        EXPECT_EQ(zepiInterpolateLuma_H264_16u_C1R(&p), c.want) << c.what;
    }
    EXPECT_TRUE(dst.untouched());
}

}  // namespace
