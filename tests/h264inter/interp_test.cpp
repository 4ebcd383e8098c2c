// H.264 luma interpolation: the reference against an independent evaluation
// of the standard's sample equations, every kernel level against the
// reference, and the entry points' checks.
#include "harness/harness.h"

#include <array>

#include "h264/interp_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::InterpDsp;

// Source region with a margin of 3 on every side of a w x h block (the filter
// reaches 2 left/up and 3 right/down); 16-bit so both sample types share it.
struct Region {
    int w, h;
    std::vector<int> v;
    Region(int w_, int h_) : w(w_), h(h_), v(static_cast<size_t>(w_ + 6) * (h_ + 6)) {}
    int& at(int x, int y) { return v[static_cast<size_t>(y + 3) * (w + 6) + x + 3]; }
};

// Steep edges: two levels split along a random line, with some noise, so the
// filters overshoot on both sides and exercise the clamps.
void fill_region(Region& r, Rng& rng, int mode, int maxVal) {
    const int lo = rng.range(0, maxVal / 8), hi = maxVal - rng.range(0, maxVal / 8);
    const int a = rng.range(-3, 3), b = rng.range(-3, 3), c = rng.range(-8, 8);
    for (int y = -3; y < r.h + 3; ++y)
        for (int x = -3; x < r.w + 3; ++x) {
            int v;
            switch (mode) {
                case 0: v = rng.range(0, maxVal); break;
                case 1: v = rng.coin() ? maxVal : 0; break;
                case 2: v = (a * x + b * y + c > 0 ? hi : lo); break;
                default: v = ((x + y) & 1) ? maxVal : 0; break;
            }
            r.at(x, y) = v;
        }
}

// The standard's luma sample process written over whole planes: full-sample
// G, half samples b (right of G), h (below G) and centre j, then each quarter
// position as the average of two named samples.
std::vector<int> oracle(Region& g, int dx, int dy, int maxVal) {
    const int W = g.w, H = g.h;
    auto clip = [&](int v) { return v < 0 ? 0 : (v > maxVal ? maxVal : v); };
    auto tap = [](const std::array<int, 6>& e) { return e[0] - 5 * e[1] + 20 * e[2] + 20 * e[3] - 5 * e[4] + e[5]; };
    // Planes over x in -1..W, y in -1..H (one extra for g/m and p/q/r).
    const int PW = W + 2, PH = H + 2;
    std::vector<int> b1(PW * (PH + 5)), b(PW * PH), h(PW * PH), j(PW * PH);
    auto B1 = [&](int x, int y) -> int& { return b1[(y + 3) * PW + x + 1]; };
    for (int y = -3; y < H + 3; ++y)
        for (int x = -1; x <= W; ++x)
            if (x - 2 >= -3 && x + 3 < W + 3)
                B1(x, y) = tap({g.at(x - 2, y), g.at(x - 1, y), g.at(x, y), g.at(x + 1, y), g.at(x + 2, y), g.at(x + 3, y)});
    auto P = [&](std::vector<int>& pl, int x, int y) -> int& { return pl[(y + 1) * PW + x + 1]; };
    for (int y = -1; y <= H; ++y)
        for (int x = -1; x <= W; ++x) {
            const bool hOk = x - 2 >= -3 && x + 3 < W + 3, vOk = y - 2 >= -3 && y + 3 < H + 3;
            if (hOk) P(b, x, y) = clip((B1(x, y) + 16) >> 5);
            if (vOk)
                P(h, x, y) = clip((tap({g.at(x, y - 2), g.at(x, y - 1), g.at(x, y), g.at(x, y + 1), g.at(x, y + 2), g.at(x, y + 3)}) + 16) >> 5);
            if (hOk && vOk)
                P(j, x, y) = clip((tap({B1(x, y - 2), B1(x, y - 1), B1(x, y), B1(x, y + 1), B1(x, y + 2), B1(x, y + 3)}) + 512) >> 10);
        }
    // Each position: two (plane, x offset, y offset) terms averaged, or one term.
    enum Pl { G, Bp, Hp, Jp };
    struct Term { Pl pl; int ox, oy; };
    struct Pos { Term t0, t1; bool two; };
    static const Pos kPos[16] = {
        {{G, 0, 0}, {}, false},          {{G, 0, 0}, {Bp, 0, 0}, true},  {{Bp, 0, 0}, {}, false},
        {{G, 1, 0}, {Bp, 0, 0}, true},   {{G, 0, 0}, {Hp, 0, 0}, true},  {{Bp, 0, 0}, {Hp, 0, 0}, true},
        {{Bp, 0, 0}, {Jp, 0, 0}, true},  {{Bp, 0, 0}, {Hp, 1, 0}, true}, {{Hp, 0, 0}, {}, false},
        {{Hp, 0, 0}, {Jp, 0, 0}, true},  {{Jp, 0, 0}, {}, false},        {{Jp, 0, 0}, {Hp, 1, 0}, true},
        {{G, 0, 1}, {Hp, 0, 0}, true},   {{Hp, 0, 0}, {Bp, 0, 1}, true}, {{Jp, 0, 0}, {Bp, 0, 1}, true},
        {{Hp, 1, 0}, {Bp, 0, 1}, true},
    };
    auto val = [&](const Term& t, int x, int y) {
        switch (t.pl) {
            case G: return g.at(x + t.ox, y + t.oy);
            case Bp: return P(b, x + t.ox, y + t.oy);
            case Hp: return P(h, x + t.ox, y + t.oy);
            default: return P(j, x + t.ox, y + t.oy);
        }
    };
    const Pos& p = kPos[dy * 4 + dx];
    std::vector<int> out;
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x)
            out.push_back(p.two ? (val(p.t0, x, y) + val(p.t1, x, y) + 1) >> 1 : val(p.t0, x, y));
    return out;
}

// Copies a region into a picture whose data() is the block's top-left sample.
template <class T>
Picture<T> to_picture(Rng& rng, Region& r, int extraStep = 0) {
    Picture<T> pic(r.w + 6, r.h + 6, static_cast<int>((r.w + 6 + extraStep) * sizeof(T)), rng.range(0, 7) * sizeof(T), 0);
    for (int y = -3; y < r.h + 3; ++y)
        for (int x = -3; x < r.w + 3; ++x) pic.at(x + 3, y + 3) = static_cast<T>(r.at(x, y));
    return pic;
}
template <class T>
const T* origin(Picture<T>& p) { return &p.at(3, 3); }

constexpr int kWidths[] = {4, 8, 16};

TEST(InterpReference, EightBitMatchesStandardEquations) {
    const InterpDsp ref = zep::build_table(zep::interp_init, Isa::Ref);
    Rng rng(11);
    for (int cls = 0; cls < 3; ++cls)
        for (int h : {4, 8, 16})
            for (int pos = 0; pos < 16; ++pos)
                for (int mode = 0; mode < 4; ++mode) {
                    const int w = kWidths[cls];
                    Region r(w, h);
                    fill_region(r, rng, mode, 255);
                    auto pic = to_picture<Zep8u>(rng, r);
                    std::vector<Zep8u> out(w * h);
                    ref.luma8[cls][pos](origin(pic), pic.step(), out.data(), w, h);
                    const auto want = oracle(r, pos & 3, pos >> 2, 255);
                    ASSERT_TRUE(same_array(std::vector<int>(want), std::vector<int>(out.begin(), out.end()),
                                           "w " + std::to_string(w) + " h " + std::to_string(h) + " pos " +
                                               std::to_string(pos) + " mode " + std::to_string(mode)));
                }
}

TEST(InterpReference, SixteenBitMatchesStandardEquations) {
    const InterpDsp ref = zep::build_table(zep::interp_init, Isa::Ref);
    Rng rng(12);
    for (int depth = 8; depth <= 16; ++depth)
        for (int cls = 0; cls < 3; ++cls)
            for (int pos = 0; pos < 16; ++pos)
                for (int mode = 0; mode < 3; ++mode) {
                    const int w = kWidths[cls], h = 8, maxVal = (1 << depth) - 1;
                    Region r(w, h);
                    fill_region(r, rng, mode, maxVal);
                    auto pic = to_picture<Zep16u>(rng, r);
                    std::vector<Zep16u> out(w * h);
                    ref.luma16_wide[cls][pos](origin(pic), pic.step() / 2, out.data(), w, h, maxVal);
                    const auto want = oracle(r, pos & 3, pos >> 2, maxVal);
                    ASSERT_TRUE(same_array(std::vector<int>(want), std::vector<int>(out.begin(), out.end()),
                                           "depth " + std::to_string(depth) + " w " + std::to_string(w) + " pos " +
                                               std::to_string(pos) + " mode " + std::to_string(mode)));
                }
}

TEST(InterpKernels, EightBitEveryLevelMatchesReference) {
    const InterpDsp ref = zep::build_table(zep::interp_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const InterpDsp k = zep::build_table(zep::interp_init, level);
        Rng rng(21);
        for (int cls = 0; cls < 4; ++cls)
            for (int h : {4, 8, 12, 16, 20})
                for (int pos = 0; pos < 16; ++pos)
                    for (int mode = 0; mode < 4; ++mode) {
                        const int w = kWidths[cls == 3 ? 2 : cls];
                        Region r(w, h);
                        fill_region(r, rng, mode, 255);
                        auto pic = to_picture<Zep8u>(rng, r, rng.range(0, 9));
                        const int ds = w + rng.range(0, 5);
                        std::vector<Zep8u> e(ds * h, 7), g(ds * h, 7);
                        ref.luma8[cls][pos](origin(pic), pic.step(), e.data(), ds, h);
                        k.luma8[cls][pos](origin(pic), pic.step(), g.data(), ds, h);
                        ASSERT_TRUE(same_array(e, g,
                                               context(level, Pattern::Random,
                                                       "w " + std::to_string(w) + " h " + std::to_string(h) +
                                                           " pos " + std::to_string(pos) + " mode " +
                                                           std::to_string(mode) + " " + pic.describe())));
                    }
    }
}

TEST(InterpKernels, SixteenBitEveryLevelMatchesReference) {
    const InterpDsp ref = zep::build_table(zep::interp_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const InterpDsp k = zep::build_table(zep::interp_init, level);
        Rng rng(22);
        for (int depth = 8; depth <= 14; ++depth)
            for (int cls = 0; cls < 3; ++cls)
                for (int pos = 0; pos < 16; ++pos)
                    for (int mode = 0; mode < 4; ++mode) {
                        const int w = kWidths[cls], h = kWidths[rng.range(0, 2)], maxVal = (1 << depth) - 1;
                        Region r(w, h);
                        fill_region(r, rng, mode, maxVal);
                        auto pic = to_picture<Zep16u>(rng, r, rng.range(0, 5));
                        const int ds = w + rng.range(0, 3);
                        std::vector<Zep16u> e(ds * h, 7), g(ds * h, 7);
                        ref.luma16_wide[cls][pos](origin(pic), pic.step() / 2, e.data(), ds, h, maxVal);
                        k.luma16[cls][pos](origin(pic), pic.step() / 2, g.data(), ds, h, maxVal);
                        ASSERT_TRUE(same_array(e, g,
                                               context(level, Pattern::Random,
                                                       "depth " + std::to_string(depth) + " w " + std::to_string(w) +
                                                           " h " + std::to_string(h) + " pos " + std::to_string(pos) +
                                                           " mode " + std::to_string(mode))));
                    }
    }
}

// ---------------------------------------------------------------- entry points

struct Src8 {
    std::vector<Zep8u> mem = std::vector<Zep8u>(40 * 40);
    Src8() {
        Rng rng(5);
        for (auto& v : mem) v = static_cast<Zep8u>(rng.u32());
    }
    const Zep8u* p() const { return mem.data() + 3 * 40 + 3; }
};

TEST(InterpEntry, EightBitChecksInOrderAndWriteNothing) {
    Src8 src;
    Guarded<Zep8u> dst(32 * 32);
    const struct {
        bool nullSrc, nullDst;
        int dx, dy, w, h;
        ZepStatus want;
    } cases[] = {
        {true, false, 9, 9, 3, 3, zepStatusNullPtr},  // null first, whatever else is wrong
        {false, true, 0, 0, 16, 16, zepStatusNullPtr},
        {false, false, 4, 0, 3, 3, zepStatusBadArg},  // fraction before size
        {false, false, 0, 4, 16, 16, zepStatusBadArg},
        {false, false, -1, 0, 16, 16, zepStatusBadArg},  // compared unsigned
        {false, false, 0, 0, 16, 6, zepStatusBadSize},
        {false, false, 0, 0, 16, -2, zepStatusBadSize},
        {false, false, 0, 0, 2, 4, zepStatusBadSize},
        {false, false, 0, 0, 32, 4, zepStatusBadSize},
        {false, false, 0, 0, -4, 4, zepStatusBadSize},
        {false, false, 0, 0, 36, 4, zepStatusBadSize},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(zepiInterpolateLuma_H264_8u_C1R(c.nullSrc ? nullptr : src.p(), 40, c.nullDst ? nullptr : dst.data(),
                                                  32, c.dx, c.dy, {c.w, c.h}),
                  c.want)
            << c.dx << "," << c.dy << " " << c.w << "x" << c.h;
    }
    EXPECT_TRUE(dst.untouched());
}

// The width class keeps bits 3..4: 0 and 4 write 4 columns, 8 and 12 write 8,
// 16 to 28 write 16; every row of the height is written; height 0 writes nothing.
TEST(InterpEntry, EightBitWidthClassesWriteTheClassWidth) {
    Src8 src;
    const InterpDsp ref = zep::build_table(zep::interp_init, Isa::Ref);
    const struct { int w, written; } cases[] = {{0, 4}, {4, 4}, {8, 8}, {12, 8}, {16, 16}, {20, 16}, {24, 16}, {28, 16}};
    for (const auto& c : cases)
        for (int h : {0, 4, 8}) {
            std::vector<Zep8u> got(32 * 12, 0xEE), want(32 * 12, 0xEE);
            ASSERT_EQ(zepiInterpolateLuma_H264_8u_C1R(src.p(), 40, got.data(), 32, 1, 3, {c.w, h}), zepStatusOk);
            ref.luma8[c.written >> 3][13](src.p(), 40, want.data(), 32, h);
            for (int y = 0; y < 12; ++y)
                for (int x = 0; x < 32; ++x) {
                    const bool inside = y < h && x < c.written;
                    if (!inside) {
                        ASSERT_EQ(got[y * 32 + x], 0xEE) << "w " << c.w << " h " << h << " at " << x << "," << y;
                    }
                }
            ASSERT_EQ(got, want) << "w " << c.w << " h " << h;
        }
}

TEST(InterpEntry, IntegerPositionCopies) {
    Src8 src;
    std::vector<Zep8u> got(16 * 8);
    ASSERT_EQ(zepiInterpolateLuma_H264_8u_C1R(src.p(), 40, got.data(), 16, 0, 0, {16, 8}), zepStatusOk);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 16; ++x) ASSERT_EQ(got[y * 16 + x], src.p()[y * 40 + x]);
}

TEST(InterpEntry, SixteenBitChecksInOrderAndWriteNothing) {
    std::vector<Zep16u> srcMem(40 * 40, 1000);
    const Zep16u* src = srcMem.data() + 3 * 40 + 3;
    Guarded<Zep16u> dst(32 * 32);
    const ZepInterpolationParams16u good{src, 40, dst.data(), 32, 1, 2, 8, 8, 10};
    const struct {
        const char* what;
        void (*edit)(ZepInterpolationParams16u&);
        ZepStatus want;
    } cases[] = {
        {"null src", [](ZepInterpolationParams16u& p) { p.pSrc = nullptr; p.dx = 7; }, zepStatusNullPtr},
        {"null dst", [](ZepInterpolationParams16u& p) { p.pDst = nullptr; p.srcStep = 0; }, zepStatusNullPtr},
        {"src step", [](ZepInterpolationParams16u& p) { p.srcStep = 7; p.dx = 7; }, zepStatusBadStep},
        {"dst step", [](ZepInterpolationParams16u& p) { p.dstStep = 7; p.height = 3; }, zepStatusBadStep},
        {"dx", [](ZepInterpolationParams16u& p) { p.dx = 4; p.height = 3; }, zepStatusBadArg},
        {"dx negative", [](ZepInterpolationParams16u& p) { p.dx = -1; }, zepStatusBadArg},
        {"dy", [](ZepInterpolationParams16u& p) { p.dy = 4; p.width = 3; }, zepStatusBadArg},
        {"height", [](ZepInterpolationParams16u& p) { p.height = 12; }, zepStatusBadSize},
        {"width", [](ZepInterpolationParams16u& p) { p.width = 2; }, zepStatusBadSize},
        {"16x4", [](ZepInterpolationParams16u& p) { p.width = 16; p.height = 4; }, zepStatusBadSize},
        {"4x16", [](ZepInterpolationParams16u& p) { p.width = 4; p.height = 16; }, zepStatusBadSize},
    };
    EXPECT_EQ(zepiInterpolateLuma_H264_16u_C1R(nullptr), zepStatusNullPtr);
    for (const auto& c : cases) {
        ZepInterpolationParams16u p = good;
        c.edit(p);
        EXPECT_EQ(zepiInterpolateLuma_H264_16u_C1R(&p), c.want) << c.what;
    }
    EXPECT_TRUE(dst.untouched());
    for (auto wh : {std::pair{4, 8}, {8, 4}, {16, 8}, {8, 16}, {4, 4}, {16, 16}}) {
        ZepInterpolationParams16u p = good;
        p.width = wh.first;
        p.height = wh.second;
        EXPECT_EQ(zepiInterpolateLuma_H264_16u_C1R(&p), zepStatusOk) << wh.first << "x" << wh.second;
    }
}

// A 10-bit step from 0 to 1023 overshoots at the half positions: clamped to 1023.
TEST(InterpEntry, SixteenBitClampsToBitDepth) {
    std::vector<Zep16u> srcMem(24 * 24);
    for (int y = 0; y < 24; ++y)
        for (int x = 0; x < 24; ++x) srcMem[y * 24 + x] = x < 6 ? 0 : 1023;
    std::vector<Zep16u> out(4 * 4);
    ZepInterpolationParams16u p{srcMem.data() + 3 * 24 + 3, 24, out.data(), 4, 2, 0, 4, 4, 10};
    ASSERT_EQ(zepiInterpolateLuma_H264_16u_C1R(&p), zepStatusOk);
    // Taps (0 0 0 0 0 M), (0 0 0 0 M M), (0 0 0 M M M), (0 0 M M M M) with M = 1023:
    // 1023 -> 32, -4092 -> -128 clamped to 0, 16368 -> 512, 36828 -> 1151 clamped to 1023.
    for (int y = 0; y < 4; ++y) {
        EXPECT_EQ(out[y * 4 + 0], 32);
        EXPECT_EQ(out[y * 4 + 1], 0);
        EXPECT_EQ(out[y * 4 + 2], 512);
        EXPECT_EQ(out[y * 4 + 3], 1023);
    }
}

// The entry points pick the kernel of (width, dx, dy); 16-bit samples beyond
// 14 bits go to the full-range kernels (the vector ones take samples signed).
TEST(InterpEntry, DispatchMatchesReferenceKernels) {
    const InterpDsp ref = zep::build_table(zep::interp_init, Isa::Ref);
    Rng rng(13);
    for (int w : {4, 8, 16})
        for (int pos = 0; pos < 16; ++pos) {
            Region r(w, 8);
            fill_region(r, rng, 0, 255);
            auto pic = to_picture<Zep8u>(rng, r);
            std::vector<Zep8u> e(w * 8), g(w * 8);
            ref.luma8[w >> 3][pos](origin(pic), pic.step(), e.data(), w, 8);
            ASSERT_EQ(zepiInterpolateLuma_H264_8u_C1R(origin(pic), pic.step(), g.data(), w, pos & 3, pos >> 2, {w, 8}),
                      zepStatusOk);
            ASSERT_EQ(e, g) << "8u w " << w << " pos " << pos;
            for (int depth : {10, 15, 16}) {
                Region r16(w, 8);
                fill_region(r16, rng, 1, (1 << depth) - 1);
                auto p16 = to_picture<Zep16u>(rng, r16);
                std::vector<Zep16u> e16(w * 8), g16(w * 8);
                ref.luma16_wide[w >> 3][pos](origin(p16), p16.step() / 2, e16.data(), w, 8, (1 << depth) - 1);
                const ZepInterpolationParams16u p{origin(p16), p16.step() / 2, g16.data(), w, pos & 3, pos >> 2, w, 8, depth};
                ASSERT_EQ(zepiInterpolateLuma_H264_16u_C1R(&p), zepStatusOk);
                ASSERT_EQ(e16, g16) << "16u depth " << depth << " w " << w << " pos " << pos;
            }
        }
}

}  // namespace
