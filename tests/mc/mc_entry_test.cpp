// Block compensation and differences through the exported entry points: the
// table entry each picks from its mode, acc and rounding codes, the
// saturations, round trips between the encoder and decoder sides, and the
// pointer checks.
#include <tuple>

#include "harness/harness.h"
#include "mc/ptr_checks.h"

#include "zepvc.h"

namespace {

using namespace zt;

using Mc = ZepStatus (*)(const Zep8u*, Zep32s, const Zep16s*, Zep32s, Zep8u*, Zep32s, Zep32s, Zep32s);
using McB = ZepStatus (*)(const Zep8u*, Zep32s, Zep32s, const Zep8u*, Zep32s, Zep32s, const Zep16s*, Zep32s, Zep8u*,
                          Zep32s, Zep32s);
const struct Size {
    const char* name;
    Mc mc;
    McB mcB;
    int w, h;
    bool interleaved;  // Cb/Cr bytes alternate: the horizontal neighbour is two bytes on
} kSizes[] = {
    {"16x16", zepiMC16x16_8u_C1, zepiMC16x16B_8u_C1, 16, 16, false},
    {"16x8", zepiMC16x8_8u_C1, zepiMC16x8B_8u_C1, 16, 8, false},
    {"8x16", zepiMC8x16_8u_C1, zepiMC8x16B_8u_C1, 8, 16, false},
    {"8x8", zepiMC8x8_8u_C1, zepiMC8x8B_8u_C1, 8, 8, false},
    {"8x4", zepiMC8x4_8u_C1, zepiMC8x4B_8u_C1, 8, 4, false},
    {"16x4", zepiMC16x4_8u_C1, zepiMC16x4B_8u_C1, 16, 4, true},
    {"16x8UV", zepiMC16x8UV_8u_C1, zepiMC16x8BUV_8u_C1, 16, 8, true},
    {"4x8", zepiMC4x8_8u_C1, zepiMC4x8B_8u_C1, 4, 8, false},
    {"4x4", zepiMC4x4_8u_C1, zepiMC4x4B_8u_C1, 4, 4, false},
    {"4x2", zepiMC4x2_8u_C1, zepiMC4x2B_8u_C1, 4, 2, false},
    {"2x4", zepiMC2x4_8u_C1, zepiMC2x4B_8u_C1, 2, 4, false},
    {"2x2", zepiMC2x2_8u_C1, zepiMC2x2B_8u_C1, 2, 2, false},
};

// A 18x18 checkerboard of 10 and 13 (of byte pairs when interleaved), phase 1
// swapping the two: every vertical or horizontal pair is {10, 13} and every
// 2x2 group sums to 46, so each half-sample mode predicts 12 rounding up and
// 11 rounding down, while the integer position gives the sample itself.
int board(const Size& s, int phase, int x, int y) {
    return (((s.interleaved ? x / 2 : x) + y + phase) & 1) ? 13 : 10;
}
std::vector<Zep8u> checker(const Size& s, int phase) {
    std::vector<Zep8u> v(18 * 18);
    for (int i = 0; i < 18 * 18; ++i) v[i] = static_cast<Zep8u>(board(s, phase, i % 18, i / 18));
    return v;
}

// Every size: the mode and rounding codes (masked to their bits), the 16-bit
// saturating add and the clip to 8 bits, and no write outside the block.
TEST(McEntry, CompensationModesRoundingAndSaturation) {
    const struct {
        Zep32s mcType, roundControl, residual;
        int expect;  // every output sample; -1: the reference sample plus the residual
    } cases[] = {
        {0, 0, 0, -1},      {0, 1, 0, -1},        {0, 1, 100, -1},        // the integer position does not round
        {4, 0, 0, 12},      {4, 1, 0, 11},                                // (10+13+1)>>1, (10+13)>>1
        {8, 0, 0, 12},      {8, 1, 0, 11},                                // horizontal pair
        {12, 0, 0, 12},     {12, 1, 0, 11},                               // (46+2)>>2, (46+1)>>2
        {4, 0, 300, 255},   {4, 0, -20, 0},                               // saturated to 8 bits
        {4, 1, 244, 255},   {4, 1, 243, 254},                             // 11 + 244 is the first overflow
        {4, 0, 32767, 255}, {4, 0, -32768, 0},                            // 16-bit saturating add
        {5, 0, 0, 12},      {7, 1, 0, 11},        {16, 1, -5, -1},        // low and high mcType bits ignored
        {-4, 1, 0, 11},     {4, 2, 0, 12},        {4, -1, 0, 11},         // -4 is mode 12; bit 0 of roundControl
    };
    for (const Size& s : kSizes) {
        const std::vector<Zep8u> ref = checker(s, 0);
        for (const auto& c : cases) {
            std::vector<Zep16s> res(16 * 16, static_cast<Zep16s>(c.residual));
            std::vector<Zep8u> dst(16 * 16, 0x77);
            ASSERT_EQ(s.mc(ref.data(), 18, res.data(), 32, dst.data(), 16, c.mcType, c.roundControl), zepStatusOk);
            for (int y = 0; y < 16; ++y)
                for (int x = 0; x < 16; ++x) {
                    const int e = c.expect >= 0 ? c.expect : board(s, 0, x, y) + c.residual;
                    ASSERT_EQ(dst[y * 16 + x], (x < s.w && y < s.h) ? e : 0x77)
                        << s.name << " mcType " << c.mcType << " rc " << c.roundControl << " res " << c.residual
                        << " at " << x << "," << y;
                }
        }
    }
}

// Every size, every pair of modes and both roundings: F and B each at their
// own mode with the common rounding, then (F+B+1)>>1. The two references are
// boards of opposite phase, so swapping the modes changes the result.
TEST(McEntry, BidirectionalModesAndRounding) {
    for (const Size& s : kSizes) {
        const std::vector<Zep8u> f = checker(s, 0), b = checker(s, 1);
        const std::vector<Zep16s> zero(16 * 16, 0);
        for (Zep32s mF : {0, 4, 8, 12})
            for (Zep32s mB : {0, 4, 8, 12})
                for (Zep32s rc : {0, 1}) {
                    std::vector<Zep8u> dst(16 * 16, 0x77);
                    ASSERT_EQ(s.mcB(f.data(), 18, mF, b.data(), 18, mB, zero.data(), 32, dst.data(), 16, rc),
                              zepStatusOk);
                    for (int y = 0; y < 16; ++y)
                        for (int x = 0; x < 16; ++x) {
                            auto pred = [&](int m, int phase) { return m ? 12 - rc : board(s, phase, x, y); };
                            const int e = (pred(mF, 0) + pred(mB, 1) + 1) >> 1;
                            ASSERT_EQ(dst[y * 16 + x], (x < s.w && y < s.h) ? e : 0x77)
                                << s.name << " " << mF << "/" << mB << " rc " << rc << " at " << x << "," << y;
                        }
                }
    }
}

// acc: bit 0 horizontal, bit 1 vertical. A reference that grows by 2 along
// one axis only tells the two apart: averaging along it gives the odd value.
TEST(McEntry, AccSelectsTheAxis) {
    std::vector<Zep8u> alongX(17 * 17), alongY(17 * 17);
    for (int i = 0; i < 17 * 17; ++i) {
        alongX[i] = static_cast<Zep8u>(2 * (i % 17));
        alongY[i] = static_cast<Zep8u>(2 * (i / 17));
    }
    const struct {
        Zep32s acc, rc;
        int dx, dy;  // expected offset at (0,0) from each reference
    } cases[] = {
        {0, 0, 0, 0}, {1, 0, 1, 0}, {2, 0, 0, 1}, {3, 0, 1, 1},
        {1, 1, 1, 0},  // even pair sums: both roundings agree
        {3, 1, 1, 1},  // (0+2+0+2+1)>>2 = 1
        {5, 0, 1, 0},  // only bits 0 and 1
    };
    for (const auto& c : cases) {
        std::vector<Zep8u> dx(16 * 16), dy(16 * 16), ix(16 * 16, 0), a(64);
        const std::vector<Zep16s> res(64, 3);
        ASSERT_EQ(zepiCopy16x16HP_8u_C1R(alongX.data(), 17, dx.data(), 16, c.acc, c.rc), zepStatusOk);
        ASSERT_EQ(zepiCopy16x16HP_8u_C1R(alongY.data(), 17, dy.data(), 16, c.acc, c.rc), zepStatusOk);
        // The in-place average of a zero destination: (0 + p + 1) >> 1.
        ASSERT_EQ(zepiInterpolateAverage16x16_8u_C1IR(alongX.data(), 17, ix.data(), 16, c.acc, c.rc), zepStatusOk);
        ASSERT_EQ(zepiAdd8x8HP_16s8u_C1RS(alongY.data(), 17, res.data(), 16, a.data(), 8, c.acc, c.rc), zepStatusOk);
        EXPECT_EQ(dx[0], c.dx) << "acc " << c.acc;
        EXPECT_EQ(dy[0], c.dy) << "acc " << c.acc;
        EXPECT_EQ(dx[16 * 5 + 7], 14 + c.dx) << "acc " << c.acc;
        EXPECT_EQ(ix[16 * 5 + 7], (14 + c.dx + 1) >> 1) << "acc " << c.acc;
        EXPECT_EQ(a[8 * 5 + 7], 10 + c.dy + 3) << "acc " << c.acc;
    }
}

TEST(McEntry, PlainCopyAverageAndSaturatingArithmetic) {
    Rng rng(9);
    std::vector<Zep8u> a(16 * 16), b(16 * 16);
    for (auto* v : {&a, &b})
        for (auto& x : *v) x = static_cast<Zep8u>(rng.u32());
    std::vector<Zep8u> d(16 * 16, 0), ip = b;
    ASSERT_EQ(zepiAverage16x16_8u_C1R(a.data(), 16, b.data(), 16, d.data(), 16), zepStatusOk);
    ASSERT_EQ(zepiAverage16x16_8u_C1IR(a.data(), 16, ip.data(), 16), zepStatusOk);
    for (int i = 0; i < 256; ++i) {
        ASSERT_EQ(d[i], (a[i] + b[i] + 1) >> 1);
        ASSERT_EQ(ip[i], d[i]);
    }
    ASSERT_EQ(zepiCopy8x8_8u_C1R(a.data(), 16, d.data(), 8), zepStatusOk);
    for (int i = 0; i < 64; ++i) ASSERT_EQ(d[i], a[(i / 8) * 16 + i % 8]);

    const struct {
        int pixel, value, expect;
    } adds[] = {{12, 300, 255}, {12, -20, 0}, {100, 155, 255}, {100, -100, 0}, {100, 27, 127}, {0, 32767, 255}};
    for (const auto& c : adds) {
        std::vector<Zep8u> p(64, static_cast<Zep8u>(c.pixel)), q = p;
        const std::vector<Zep16s> r(64, static_cast<Zep16s>(c.value));
        ASSERT_EQ(zepiAddC8x8_16s8u_C1IR(p.data(), 8, static_cast<Zep16s>(c.value)), zepStatusOk);
        ASSERT_EQ(zepiAdd8x8_16s8u_C1IRS(r.data(), 16, q.data(), 8), zepStatusOk);
        EXPECT_EQ(p[63], c.expect) << c.pixel << "+" << c.value;
        EXPECT_EQ(q[0], c.expect) << c.pixel << "+" << c.value;
    }

    const struct {
        Zep16u a, b;
        Zep16s expect;
    } subs[] = {{65535, 0, 32767}, {0, 65535, -32768}, {40000, 7232, 32767}, {40000, 7233, 32767},
                {40000, 7234, 32766}, {100, 300, -200}};
    for (const auto& c : subs) {
        const std::vector<Zep16u> x(64, c.a), y(64, c.b);
        std::vector<Zep16s> s(64, 0);
        ASSERT_EQ(zepiSub8x8_16u16s_C1R(x.data(), 16, y.data(), 16, s.data(), 16), zepStatusOk);
        EXPECT_EQ(s[63], c.expect) << c.a << "-" << c.b;
        ASSERT_EQ(zepiSub4x4_16u16s_C1R(x.data(), 8, y.data(), 8, s.data(), 8), zepStatusOk);
        EXPECT_EQ(s[0], c.expect) << c.a << "-" << c.b;
    }
    std::vector<Zep16s> s(256, 0);
    ASSERT_EQ(zepiSub16x16_8u16s_C1R(std::vector<Zep8u>(256, 3).data(), 16, std::vector<Zep8u>(256, 250).data(), 16,
                                     s.data(), 32),
              zepStatusOk);
    EXPECT_EQ(s[255], -247);
}

std::vector<Zep8u> random_bytes(Rng& rng, size_t n) {
    std::vector<Zep8u> v(n);
    for (auto& x : v) x = static_cast<Zep8u>(rng.u32());
    return v;
}

// Encoder and decoder agree: compensating the residual that GetDiff formed
// (and the prediction it returned) gives back the current block exactly.
TEST(McEntry, GetDiffThenCompensateRoundTrips) {
    using Diff = ZepStatus (*)(const Zep8u*, Zep32s, const Zep8u*, Zep32s, Zep16s*, Zep32s, Zep8u*, Zep32s, Zep32s,
                               Zep32s);
    const struct {
        Diff diff;
        Mc mc;
        int w, h;
    } sizes[] = {{zepiGetDiff16x16_8u16s_C1, zepiMC16x16_8u_C1, 16, 16}, {zepiGetDiff16x8_8u16s_C1, zepiMC16x8_8u_C1, 16, 8},
                 {zepiGetDiff8x16_8u16s_C1, zepiMC8x16_8u_C1, 8, 16}, {zepiGetDiff8x8_8u16s_C1, zepiMC8x8_8u_C1, 8, 8},
                 {zepiGetDiff8x4_8u16s_C1, zepiMC8x4_8u_C1, 8, 4}, {zepiGetDiff4x4_8u16s_C1, zepiMC4x4_8u_C1, 4, 4}};
    Rng rng(21);
    for (const auto& s : sizes)
        for (Zep32s mcType : {0, 4, 8, 12})
            for (Zep32s rc : {0, 1}) {
                const std::vector<Zep8u> cur = random_bytes(rng, 16 * 16), ref = random_bytes(rng, 17 * 17);
                std::vector<Zep8u> pred(16 * 16, 0), rec(16 * 16, 0);
                std::vector<Zep16s> diff(16 * 16), diff2(16 * 16);
                ASSERT_EQ(s.diff(cur.data(), 16, ref.data(), 17, diff.data(), 32, pred.data(), 16, mcType, rc),
                          zepStatusOk);
                // The prediction output is optional.
                ASSERT_EQ(s.diff(cur.data(), 16, ref.data(), 17, diff2.data(), 32, nullptr, 16, mcType, rc),
                          zepStatusOk);
                EXPECT_EQ(diff, diff2);
                ASSERT_EQ(s.mc(ref.data(), 17, diff.data(), 32, rec.data(), 16, mcType, rc), zepStatusOk);
                for (int i = 0; i < 256; ++i)
                    if (i % 16 < s.w && i / 16 < s.h) {
                        ASSERT_EQ(rec[i], cur[i]) << s.w << "x" << s.h << " mcType " << mcType << " at " << i;
                        ASSERT_EQ(diff[i], cur[i] - pred[i]) << s.w << "x" << s.h << " mcType " << mcType;
                    }
            }
}

TEST(McEntry, BidirectionalAndChromaRoundTrip) {
    Rng rng(4);
    for (Zep32s mF : {0, 4, 8, 12})
        for (Zep32s mB : {0, 4, 8, 12})
            for (Zep32s rc : {0, 1}) {
                const auto cur = random_bytes(rng, 16 * 16), rf = random_bytes(rng, 18 * 18),
                           rb = random_bytes(rng, 18 * 18);
                std::vector<Zep16s> diff(16 * 16), du(64), dv(64);
                std::vector<Zep8u> rec(16 * 16, 0);
                ASSERT_EQ(zepiGetDiff16x16B_8u16s_C1(cur.data(), 16, rf.data(), 18, mF, rb.data(), 18, mB,
                                                     diff.data(), 32, rc),
                          zepStatusOk);
                ASSERT_EQ(zepiMC16x16B_8u_C1(rf.data(), 18, mF, rb.data(), 18, mB, diff.data(), 32, rec.data(), 16, rc),
                          zepStatusOk);
                ASSERT_EQ(rec, cur) << mF << "/" << mB << " rc " << rc;
                // Interleaved chroma: planar residuals out, planar residuals back in.
                ASSERT_EQ(zepiGetDiff8x8B_8u16s_C2P2(cur.data(), 16, rf.data(), 18, mF, rb.data(), 18, mB, du.data(),
                                                     16, dv.data(), 16, rc),
                          zepStatusOk);
                std::fill(rec.begin(), rec.end(), 0);
                ASSERT_EQ(zepiMC8x8B_16s8u_P2C2R(rf.data(), 18, mF, rb.data(), 18, mB, du.data(), dv.data(), 16,
                                                 rec.data(), 16, rc),
                          zepStatusOk);
                for (int i = 0; i < 128; ++i) ASSERT_EQ(rec[i], cur[i]) << "chroma " << mF << "/" << mB;
                if (mB != 0) continue;
                ASSERT_EQ(zepiGetDiff8x4_8u16s_C2P2(cur.data(), 16, rf.data(), 18, du.data(), 16, dv.data(), 16, mF,
                                                    rc),
                          zepStatusOk);
                std::fill(rec.begin(), rec.end(), 0);
                ASSERT_EQ(zepiMC8x4_16s8u_P2C2R(rf.data(), 18, du.data(), dv.data(), 16, rec.data(), 16, mF, rc),
                          zepStatusOk);
                for (int i = 0; i < 64; ++i) ASSERT_EQ(rec[i], cur[i]) << "chroma 8x4 " << mF;
                // Cb is the even bytes: its residual against an integer
                // prediction is the plain difference.
                if (mF == 0) {
                    EXPECT_EQ(du[1], cur[2] - rf[2]);
                }
            }
}

// Guard-filled outputs of the pointer checks.
struct Outs {
    Guarded<Zep8u> o8{40 * 40};
    Guarded<Zep16s> a{40 * 40}, b{40 * 40};
    bool untouched() const { return o8.untouched() && a.untouched() && b.untouched(); }
};

template <class... A>
void check(std::initializer_list<size_t> optional, A... a) {
    check_ptrs<Outs>(optional, a...);
}

TEST(McEntry, NullPointersWriteNothing) {
    Zep8u in8[40 * 40] = {};
    Zep16u in16u[40 * 40] = {};
    std::vector<Zep16s> res(40 * 40, 1);  // nonzero, so adding it changes the destination
    const Zep16s* in16 = res.data();
    check({}, [&](Outs& o) { return std::tuple(+in8, 18, in16, 32, o.o8.data(), 16, 4, 1); },
               zepiMC16x16_8u_C1, zepiMC16x8_8u_C1, zepiMC8x16_8u_C1, zepiMC8x8_8u_C1, zepiMC8x4_8u_C1,
               zepiMC16x4_8u_C1, zepiMC16x8UV_8u_C1, zepiMC4x8_8u_C1, zepiMC4x4_8u_C1, zepiMC4x2_8u_C1,
               zepiMC2x4_8u_C1, zepiMC2x2_8u_C1);
    check({}, [&](Outs& o) { return std::tuple(+in8, 18, 12, +in8, 18, 8, in16, 32, o.o8.data(), 16, 0); },
               zepiMC16x16B_8u_C1, zepiMC16x8B_8u_C1, zepiMC8x16B_8u_C1, zepiMC8x8B_8u_C1, zepiMC8x4B_8u_C1,
               zepiMC16x4B_8u_C1, zepiMC16x8BUV_8u_C1, zepiMC4x8B_8u_C1, zepiMC4x4B_8u_C1, zepiMC4x2B_8u_C1,
               zepiMC2x4B_8u_C1, zepiMC2x2B_8u_C1);
    check({}, [&](Outs& o) { return std::tuple(+in8, 18, in16, in16, 16, o.o8.data(), 16, 12, 0); },
               zepiMC8x8_16s8u_P2C2R, zepiMC8x4_16s8u_P2C2R);
    check({}, [&](Outs& o) { return std::tuple(+in8, 18, 4, +in8, 18, 8, in16, in16, 16, o.o8.data(), 16, 1); },
               zepiMC8x8B_16s8u_P2C2R, zepiMC8x4B_16s8u_P2C2R);
    check({}, [&](Outs& o) { return std::tuple(+in8, 18, o.o8.data(), 16, 3, 1); }, zepiCopy16x16HP_8u_C1R,
               zepiCopy16x8HP_8u_C1R, zepiCopy8x8HP_8u_C1R, zepiCopy8x4HP_8u_C1R, zepiInterpolateAverage16x16_8u_C1IR,
               zepiInterpolateAverage16x8_8u_C1IR, zepiInterpolateAverage8x8_8u_C1IR,
               zepiInterpolateAverage8x4_8u_C1IR);
    check({}, [&](Outs& o) { return std::tuple(+in8, 16, o.o8.data(), 16); }, zepiCopy16x16_8u_C1R,
               zepiCopy8x8_8u_C1R, zepiAverage16x16_8u_C1IR, zepiAverage8x8_8u_C1IR);
    check({}, [&](Outs& o) { return std::tuple(+in8, 16, +in8, 16, o.o8.data(), 16); }, zepiAverage16x16_8u_C1R,
               zepiAverage8x8_8u_C1R);
    check({}, [&](Outs& o) { return std::tuple(+in8, 18, in16, 16, o.o8.data(), 16, 3, 0); },
               zepiAdd8x8HP_16s8u_C1RS);
    check({}, [&](Outs& o) { return std::tuple(in16, 16, o.o8.data(), 16); }, zepiAdd8x8_16s8u_C1IRS);
    check({}, [&](Outs& o) { return std::tuple(o.o8.data(), 16, Zep16s{5}); }, zepiAddC8x8_16s8u_C1IR);
    // The prediction output (argument 6) may be null.
    check({6}, [&](Outs& o) { return std::tuple(+in8, 16, +in8, 18, o.a.data(), 32, o.o8.data(), 16, 12, 1); },
               zepiGetDiff16x16_8u16s_C1, zepiGetDiff16x8_8u16s_C1, zepiGetDiff8x16_8u16s_C1,
               zepiGetDiff8x8_8u16s_C1, zepiGetDiff8x4_8u16s_C1, zepiGetDiff4x4_8u16s_C1);
    check({}, [&](Outs& o) { return std::tuple(+in8, 16, +in8, 18, 4, +in8, 18, 8, o.a.data(), 32, 0); },
               zepiGetDiff16x16B_8u16s_C1, zepiGetDiff16x8B_8u16s_C1, zepiGetDiff8x16B_8u16s_C1,
               zepiGetDiff8x8B_8u16s_C1, zepiGetDiff8x4B_8u16s_C1);
    check({}, [&](Outs& o) { return std::tuple(+in8, 16, +in8, 18, o.a.data(), 16, o.b.data(), 16, 8, 0); },
               zepiGetDiff8x8_8u16s_C2P2, zepiGetDiff8x4_8u16s_C2P2);
    check({}, [&](Outs& o) {
        return std::tuple(+in8, 16, +in8, 18, 4, +in8, 18, 12, o.a.data(), 16, o.b.data(), 16, 1);
    }, zepiGetDiff8x8B_8u16s_C2P2, zepiGetDiff8x4B_8u16s_C2P2);
    check({}, [&](Outs& o) { return std::tuple(+in8, 32, +in8, 32, o.a.data(), 32); }, zepiSub16x16_8u16s_C1R,
               zepiSub8x8_8u16s_C1R, zepiSub4x4_8u16s_C1R);
    check({}, [&](Outs& o) { return std::tuple(+in16u, 32, +in16u, 32, o.a.data(), 32); },
               zepiSub8x8_16u16s_C1R, zepiSub4x4_16u16s_C1R);
}

}  // namespace
