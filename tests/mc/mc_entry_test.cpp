// Block compensation and differences through the exported entry points:
// hand-worked roundings and saturations, mode masking, the acc layout,
// round trips between the encoder and decoder sides, and the pointer checks.
#include <array>
#include <functional>

#include "harness/harness.h"

#include "zepvc.h"

namespace {

using namespace zt;

// A 18x18 reference whose samples alternate 10 and 13 in both directions:
// every vertical or horizontal pair is {10, 13} and every 2x2 group sums to 46,
// so each half-sample mode predicts 12 rounding up and 11 rounding down.
struct Checker {
    std::array<Zep8u, 18 * 18> px;
    Checker() {
        for (int y = 0; y < 18; ++y)
            for (int x = 0; x < 18; ++x) px[y * 18 + x] = ((x + y) & 1) ? 13 : 10;
    }
    const Zep8u* data() const { return px.data(); }
};

TEST(McEntry, HalfSampleRoundingAndSaturation) {
    const Checker ref;
    const struct {
        Zep32s mcType, roundControl, residual;
        int expect;  // every output sample
    } cases[] = {
        {4, 0, 0, 12},       {4, 1, 0, 11},           // (10+13+1)>>1, (10+13)>>1
        {8, 0, 0, 12},       {8, 1, 0, 11},           // horizontal pair
        {12, 0, 0, 12},      {12, 1, 0, 11},          // (46+2)>>2, (46+1)>>2
        {4, 0, 300, 255},    {4, 0, -20, 0},          // saturated to 8 bits
        {4, 1, 244, 255},    {4, 1, 243, 254},        // 11 + 244 is the first overflow
        {4, 0, 32767, 255},  {4, 0, -32768, 0},       // 16-bit saturating add
        {5, 0, 0, 12},       {7, 1, 0, 11},           // low mcType bits ignored
        {4 + 16, 0, 0, 12},  {-4, 1, 0, 11},          // high bits ignored (-4 has bits 2 and 3 set: mode 12)
        {4, 2, 0, 12},       {4, -1, 0, 11},          // only bit 0 of roundControl
    };
    for (const auto& c : cases) {
        std::vector<Zep16s> res(16 * 16, static_cast<Zep16s>(c.residual));
        std::vector<Zep8u> dst(16 * 16, 0x77);
        ASSERT_EQ(zepiMC16x16_8u_C1(ref.data(), 18, res.data(), 32, dst.data(), 16, c.mcType, c.roundControl),
                  zepStatusOk);
        for (int i = 0; i < 256; ++i)
            ASSERT_EQ(dst[i], c.expect) << "mcType " << c.mcType << " rc " << c.roundControl << " res "
                                        << c.residual << " at " << i;
    }
}

// Every compensation size: the integer position ignores the rounding control,
// and both roundings on the checkerboard give 12 and 11.
TEST(McEntry, EverySizeRoundsTheSameWay) {
    using Mc = ZepStatus (*)(const Zep8u*, Zep32s, const Zep16s*, Zep32s, Zep8u*, Zep32s, Zep32s, Zep32s);
    const struct {
        const char* name;
        Mc fn;
        int w, h;
        bool interleaved;
    } sizes[] = {
        {"16x16", zepiMC16x16_8u_C1, 16, 16, false}, {"16x8", zepiMC16x8_8u_C1, 16, 8, false},
        {"8x16", zepiMC8x16_8u_C1, 8, 16, false},    {"8x8", zepiMC8x8_8u_C1, 8, 8, false},
        {"8x4", zepiMC8x4_8u_C1, 8, 4, false},       {"16x4", zepiMC16x4_8u_C1, 16, 4, true},
        {"16x8UV", zepiMC16x8UV_8u_C1, 16, 8, true}, {"4x8", zepiMC4x8_8u_C1, 4, 8, false},
        {"4x4", zepiMC4x4_8u_C1, 4, 4, false},       {"4x2", zepiMC4x2_8u_C1, 4, 2, false},
        {"2x4", zepiMC2x4_8u_C1, 2, 4, false},       {"2x2", zepiMC2x2_8u_C1, 2, 2, false},
    };
    Rng rng(3);
    for (const auto& s : sizes) {
        // Interleaved rows: the horizontal neighbour is two bytes on, so a
        // checkerboard of pairs (10,10,13,13,...) gives the same {10,13} pairs.
        std::vector<Zep8u> ref(18 * 18);
        for (int y = 0; y < 18; ++y)
            for (int x = 0; x < 18; ++x) ref[y * 18 + x] = (((s.interleaved ? x / 2 : x) + y) & 1) ? 13 : 10;
        std::vector<Zep16s> zero(16 * 16, 0);
        for (Zep32s mcType : {4, 8, 12})
            for (Zep32s rc : {0, 1}) {
                std::vector<Zep8u> dst(16 * 16, 0x77);
                ASSERT_EQ(s.fn(ref.data(), 18, zero.data(), 32, dst.data(), 16, mcType, rc), zepStatusOk);
                for (int y = 0; y < 16; ++y)
                    for (int x = 0; x < 16; ++x)
                        ASSERT_EQ(dst[y * 16 + x], (x < s.w && y < s.h) ? (rc ? 11 : 12) : 0x77)
                            << s.name << " mcType " << mcType << " rc " << rc << " at " << x << "," << y;
            }
        // Integer position: random data, both roundings identical.
        for (auto& v : ref) v = static_cast<Zep8u>(rng.u32());
        std::vector<Zep16s> res(16 * 16);
        for (auto& v : res) v = static_cast<Zep16s>(rng.range(-300, 300));
        std::vector<Zep8u> d0(16 * 16, 1), d1(16 * 16, 1);
        s.fn(ref.data(), 18, res.data(), 32, d0.data(), 16, 0, 0);
        s.fn(ref.data(), 18, res.data(), 32, d1.data(), 16, 0, 1);
        EXPECT_EQ(d0, d1) << s.name;
    }
}

// Bidirectional: F and B each at their own mode and rounding, then (F+B+1)>>1.
TEST(McEntry, BidirectionalMean) {
    const Checker chk;
    std::vector<Zep8u> flat20(18 * 18, 20);
    const struct {
        Zep32s mcTypeF, mcTypeB, rc;
        int expect;
    } cases[] = {
        {4, 0, 0, 16},   // (12 + 20 + 1) >> 1
        {4, 0, 1, 16},   // (11 + 20 + 1) >> 1
        {12, 0, 1, 16},  // (11 + 20 + 1) >> 1
        {8, 8, 0, 16},   // (12 + 20 + 1) >> 1, B flat at any mode
        {12, 12, 1, 16},
    };
    for (const auto& c : cases) {
        std::vector<Zep16s> res(16 * 16, 0);
        std::vector<Zep8u> dst(16 * 16, 0);
        ASSERT_EQ(zepiMC16x16B_8u_C1(chk.data(), 18, c.mcTypeF, flat20.data(), 18, c.mcTypeB, res.data(), 32,
                                     dst.data(), 16, c.rc),
                  zepStatusOk);
        EXPECT_EQ(dst[0], c.expect) << c.mcTypeF << "/" << c.mcTypeB << " rc " << c.rc;
        EXPECT_EQ(dst[255], c.expect);
    }
    // Rounding down applies to the backward prediction too: (11 + 11 + 1) >> 1.
    std::vector<Zep16s> res(16 * 16, 0);
    std::vector<Zep8u> dst(16 * 16, 0);
    zepiMC16x16B_8u_C1(chk.data(), 18, 4, chk.data(), 18, 8, res.data(), 32, dst.data(), 16, 1);
    EXPECT_EQ(dst[0], 11);
    zepiMC16x16B_8u_C1(chk.data(), 18, 4, chk.data(), 18, 0, res.data(), 32, dst.data(), 16, 1);
    EXPECT_EQ(dst[0], 11);  // (11 + 10 + 1) >> 1 at (0,0), where the integer sample is 10
}

// acc: bit 0 horizontal, bit 1 vertical. A reference that grows by 2 along
// one axis only tells the two apart: averaging along it gives the odd value.
TEST(McEntry, AccSelectsTheAxis) {
    std::vector<Zep8u> alongX(17 * 17), alongY(17 * 17);
    for (int y = 0; y < 17; ++y)
        for (int x = 0; x < 17; ++x) {
            alongX[y * 17 + x] = static_cast<Zep8u>(2 * x);
            alongY[y * 17 + x] = static_cast<Zep8u>(2 * y);
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
        std::vector<Zep8u> dx(16 * 16), dy(16 * 16), ix(16 * 16, 0), iy(16 * 16, 0);
        ASSERT_EQ(zepiCopy16x16HP_8u_C1R(alongX.data(), 17, dx.data(), 16, c.acc, c.rc), zepStatusOk);
        ASSERT_EQ(zepiCopy16x16HP_8u_C1R(alongY.data(), 17, dy.data(), 16, c.acc, c.rc), zepStatusOk);
        EXPECT_EQ(dx[0], c.dx) << "acc " << c.acc;
        EXPECT_EQ(dy[0], c.dy) << "acc " << c.acc;
        EXPECT_EQ(dx[16 * 5 + 7], 14 + c.dx) << "acc " << c.acc;
        // The in-place average of a zero destination: (0 + p + 1) >> 1.
        ASSERT_EQ(zepiInterpolateAverage16x16_8u_C1IR(alongX.data(), 17, ix.data(), 16, c.acc, c.rc), zepStatusOk);
        EXPECT_EQ(ix[16 * 5 + 7], (14 + c.dx + 1) >> 1) << "acc " << c.acc;
        // Add8x8HP uses the same positions.
        std::vector<Zep16s> res(64, 3);
        std::vector<Zep8u> a(64);
        ASSERT_EQ(zepiAdd8x8HP_16s8u_C1RS(alongY.data(), 17, res.data(), 16, a.data(), 8, c.acc, c.rc), zepStatusOk);
        EXPECT_EQ(a[8 * 5 + 7], 10 + c.dy + 3) << "acc " << c.acc;
    }
}

TEST(McEntry, PlainCopyAverageAndAdditions) {
    Rng rng(9);
    std::vector<Zep8u> a(16 * 16), b(16 * 16);
    for (auto& v : a) v = static_cast<Zep8u>(rng.u32());
    for (auto& v : b) v = static_cast<Zep8u>(rng.u32());
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
        std::vector<Zep16s> r(64, static_cast<Zep16s>(c.value));
        ASSERT_EQ(zepiAddC8x8_16s8u_C1IR(p.data(), 8, static_cast<Zep16s>(c.value)), zepStatusOk);
        ASSERT_EQ(zepiAdd8x8_16s8u_C1IRS(r.data(), 16, q.data(), 8), zepStatusOk);
        EXPECT_EQ(p[63], c.expect) << c.pixel << "+" << c.value;
        EXPECT_EQ(q[0], c.expect) << c.pixel << "+" << c.value;
    }
}

// Encoder and decoder agree: compensating the residual that GetDiff formed
// (and the prediction it returned) gives back the current block exactly.
TEST(McEntry, GetDiffThenCompensateRoundTrips) {
    using Diff = ZepStatus (*)(const Zep8u*, Zep32s, const Zep8u*, Zep32s, Zep16s*, Zep32s, Zep8u*, Zep32s, Zep32s,
                               Zep32s);
    using Mc = ZepStatus (*)(const Zep8u*, Zep32s, const Zep16s*, Zep32s, Zep8u*, Zep32s, Zep32s, Zep32s);
    const struct {
        Diff diff;
        Mc mc;
        int w, h;
    } sizes[] = {{zepiGetDiff16x16_8u16s_C1, zepiMC16x16_8u_C1, 16, 16}, {zepiGetDiff16x8_8u16s_C1, zepiMC16x8_8u_C1, 16, 8},
                 {zepiGetDiff8x16_8u16s_C1, zepiMC8x16_8u_C1, 8, 16},  {zepiGetDiff8x8_8u16s_C1, zepiMC8x8_8u_C1, 8, 8},
                 {zepiGetDiff8x4_8u16s_C1, zepiMC8x4_8u_C1, 8, 4},     {zepiGetDiff4x4_8u16s_C1, zepiMC4x4_8u_C1, 4, 4}};
    Rng rng(21);
    for (const auto& s : sizes)
        for (Zep32s mcType : {0, 4, 8, 12})
            for (Zep32s rc : {0, 1}) {
                std::vector<Zep8u> cur(16 * 16), ref(17 * 17), pred(16 * 16, 0), predNone(16 * 16, 0);
                for (auto& v : cur) v = static_cast<Zep8u>(rng.u32());
                for (auto& v : ref) v = static_cast<Zep8u>(rng.u32());
                std::vector<Zep16s> diff(16 * 16), diff2(16 * 16);
                ASSERT_EQ(s.diff(cur.data(), 16, ref.data(), 17, diff.data(), 32, pred.data(), 16, mcType, rc),
                          zepStatusOk);
                // The prediction output is optional.
                ASSERT_EQ(s.diff(cur.data(), 16, ref.data(), 17, diff2.data(), 32, nullptr, 16, mcType, rc),
                          zepStatusOk);
                EXPECT_EQ(diff, diff2);
                std::vector<Zep8u> rec(16 * 16, 0);
                ASSERT_EQ(s.mc(ref.data(), 17, diff.data(), 32, rec.data(), 16, mcType, rc), zepStatusOk);
                for (int y = 0; y < s.h; ++y)
                    for (int x = 0; x < s.w; ++x) {
                        ASSERT_EQ(rec[y * 16 + x], cur[y * 16 + x]) << s.w << "x" << s.h << " mcType " << mcType;
                        ASSERT_EQ(diff[y * 16 + x], cur[y * 16 + x] - pred[y * 16 + x]);
                    }
            }
}

TEST(McEntry, BidirectionalAndChromaRoundTrip) {
    Rng rng(4);
    for (Zep32s mF : {0, 4, 8, 12})
        for (Zep32s mB : {0, 4, 8, 12})
            for (Zep32s rc : {0, 1}) {
                std::vector<Zep8u> cur(16 * 16), rf(18 * 18), rb(18 * 18);
                for (auto* v : {&cur, &rf, &rb})
                    for (auto& x : *v) x = static_cast<Zep8u>(rng.u32());
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
                if (mB == 0) {
                    ASSERT_EQ(zepiGetDiff8x4_8u16s_C2P2(cur.data(), 16, rf.data(), 18, du.data(), 16, dv.data(), 16,
                                                        mF, rc),
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
}

TEST(McEntry, Sub16uSaturates) {
    const struct {
        Zep16u a, b;
        Zep16s expect;
    } cases[] = {{65535, 0, 32767}, {0, 65535, -32768}, {40000, 7232, 32767}, {40000, 7233, 32767},
                 {40000, 7234, 32766}, {100, 300, -200}};
    for (const auto& c : cases) {
        std::vector<Zep16u> a(64, c.a), b(64, c.b);
        std::vector<Zep16s> d(64, 0);
        ASSERT_EQ(zepiSub8x8_16u16s_C1R(a.data(), 16, b.data(), 16, d.data(), 16), zepStatusOk);
        EXPECT_EQ(d[63], c.expect) << c.a << "-" << c.b;
        ASSERT_EQ(zepiSub4x4_16u16s_C1R(a.data(), 8, b.data(), 8, d.data(), 8), zepStatusOk);
        EXPECT_EQ(d[0], c.expect) << c.a << "-" << c.b;
    }
    std::vector<Zep8u> a(256, 3), b(256, 250);
    std::vector<Zep16s> d(256, 0);
    ASSERT_EQ(zepiSub16x16_8u16s_C1R(a.data(), 16, b.data(), 16, d.data(), 32), zepStatusOk);
    EXPECT_EQ(d[255], -247);
}

// Every entry point: each required pointer null in turn gives
// zepStatusNullPtr and leaves every output (guard-filled) untouched; all
// valid gives zepStatusOk. The mask says which pointer argument to null.
TEST(McEntry, NullPointersWriteNothing) {
    Zep8u in8[40 * 40] = {};
    Zep16s in16[40 * 40] = {};
    Zep16u in16u[40 * 40] = {};
    Guarded<Zep8u> o8(40 * 40);
    Guarded<Zep16s> oA(40 * 40), oB(40 * 40);
    using Fn = std::function<ZepStatus(unsigned)>;
    // N(p, i): p unless bit i of the mask is set.
    auto N = [](auto* p, unsigned mask, int i) { return (mask >> i) & 1u ? nullptr : p; };
    Zep8u* d8 = o8.data();
    Zep16s *dA = oA.data(), *dB = oB.data();
    const struct {
        const char* name;
        int ptrs;
        Fn fn;
    } fns[] = {
#define MC1(f) {#f, 3, [&](unsigned m) { return f(N(in8, m, 0), 18, N(in16, m, 1), 32, N(d8, m, 2), 16, 4, 1); }}
        MC1(zepiMC16x16_8u_C1), MC1(zepiMC16x8_8u_C1), MC1(zepiMC8x16_8u_C1), MC1(zepiMC8x8_8u_C1),
        MC1(zepiMC8x4_8u_C1), MC1(zepiMC16x4_8u_C1), MC1(zepiMC16x8UV_8u_C1), MC1(zepiMC4x8_8u_C1),
        MC1(zepiMC4x4_8u_C1), MC1(zepiMC4x2_8u_C1), MC1(zepiMC2x4_8u_C1), MC1(zepiMC2x2_8u_C1),
#undef MC1
#define MCB(f)                                                                                              \
    {#f, 4, [&](unsigned m) {                                                                               \
         return f(N(in8, m, 0), 18, 12, N(in8, m, 1), 18, 8, N(in16, m, 2), 32, N(d8, m, 3), 16, 0);        \
     }}
        MCB(zepiMC16x16B_8u_C1), MCB(zepiMC16x8B_8u_C1), MCB(zepiMC8x16B_8u_C1), MCB(zepiMC8x8B_8u_C1),
        MCB(zepiMC8x4B_8u_C1), MCB(zepiMC16x4B_8u_C1), MCB(zepiMC16x8BUV_8u_C1), MCB(zepiMC4x8B_8u_C1),
        MCB(zepiMC4x4B_8u_C1), MCB(zepiMC4x2B_8u_C1), MCB(zepiMC2x4B_8u_C1), MCB(zepiMC2x2B_8u_C1),
#undef MCB
#define MCC(f) \
    {#f, 4, [&](unsigned m) { return f(N(in8, m, 0), 18, N(in16, m, 1), N(in16, m, 2), 16, N(d8, m, 3), 16, 12, 0); }}
        MCC(zepiMC8x8_16s8u_P2C2R), MCC(zepiMC8x4_16s8u_P2C2R),
#undef MCC
#define MCCB(f)                                                                                              \
    {#f, 5, [&](unsigned m) {                                                                                \
         return f(N(in8, m, 0), 18, 4, N(in8, m, 1), 18, 8, N(in16, m, 2), N(in16, m, 3), 16, N(d8, m, 4), 16, 1); \
     }}
        MCCB(zepiMC8x8B_16s8u_P2C2R), MCCB(zepiMC8x4B_16s8u_P2C2R),
#undef MCCB
#define CHP(f) {#f, 2, [&](unsigned m) { return f(N(in8, m, 0), 18, N(d8, m, 1), 16, 3, 1); }}
        CHP(zepiCopy16x16HP_8u_C1R), CHP(zepiCopy16x8HP_8u_C1R), CHP(zepiCopy8x8HP_8u_C1R),
        CHP(zepiCopy8x4HP_8u_C1R), CHP(zepiInterpolateAverage16x16_8u_C1IR),
        CHP(zepiInterpolateAverage16x8_8u_C1IR), CHP(zepiInterpolateAverage8x8_8u_C1IR),
        CHP(zepiInterpolateAverage8x4_8u_C1IR),
#undef CHP
        {"zepiCopy16x16_8u_C1R", 2, [&](unsigned m) { return zepiCopy16x16_8u_C1R(N(in8, m, 0), 16, N(d8, m, 1), 16); }},
        {"zepiCopy8x8_8u_C1R", 2, [&](unsigned m) { return zepiCopy8x8_8u_C1R(N(in8, m, 0), 16, N(d8, m, 1), 16); }},
        {"zepiAverage16x16_8u_C1R", 3,
         [&](unsigned m) { return zepiAverage16x16_8u_C1R(N(in8, m, 0), 16, N(in8, m, 1), 16, N(d8, m, 2), 16); }},
        {"zepiAverage8x8_8u_C1R", 3,
         [&](unsigned m) { return zepiAverage8x8_8u_C1R(N(in8, m, 0), 16, N(in8, m, 1), 16, N(d8, m, 2), 16); }},
        {"zepiAverage16x16_8u_C1IR", 2,
         [&](unsigned m) { return zepiAverage16x16_8u_C1IR(N(in8, m, 0), 16, N(d8, m, 1), 16); }},
        {"zepiAverage8x8_8u_C1IR", 2,
         [&](unsigned m) { return zepiAverage8x8_8u_C1IR(N(in8, m, 0), 16, N(d8, m, 1), 16); }},
        {"zepiAdd8x8HP_16s8u_C1RS", 3,
         [&](unsigned m) {
             return zepiAdd8x8HP_16s8u_C1RS(N(in8, m, 0), 18, N(in16, m, 1), 16, N(d8, m, 2), 16, 3, 0);
         }},
        {"zepiAdd8x8_16s8u_C1IRS", 2,
         [&](unsigned m) { return zepiAdd8x8_16s8u_C1IRS(N(in16, m, 0), 16, N(d8, m, 1), 16); }},
        {"zepiAddC8x8_16s8u_C1IR", 1, [&](unsigned m) { return zepiAddC8x8_16s8u_C1IR(N(d8, m, 0), 16, 5); }},
#define GD(f)                                                                                                 \
    {#f, 3, [&](unsigned m) {                                                                                 \
         return f(N(in8, m, 0), 16, N(in8, m, 1), 18, N(dA, m, 2), 32, m ? nullptr : d8, 16, 12, 1);          \
     }}
        GD(zepiGetDiff16x16_8u16s_C1), GD(zepiGetDiff16x8_8u16s_C1), GD(zepiGetDiff8x16_8u16s_C1),
        GD(zepiGetDiff8x8_8u16s_C1), GD(zepiGetDiff8x4_8u16s_C1), GD(zepiGetDiff4x4_8u16s_C1),
#undef GD
#define GDB(f)                                                                                                \
    {#f, 4, [&](unsigned m) {                                                                                 \
         return f(N(in8, m, 0), 16, N(in8, m, 1), 18, 4, N(in8, m, 2), 18, 8, N(dA, m, 3), 32, 0);             \
     }}
        GDB(zepiGetDiff16x16B_8u16s_C1), GDB(zepiGetDiff16x8B_8u16s_C1), GDB(zepiGetDiff8x16B_8u16s_C1),
        GDB(zepiGetDiff8x8B_8u16s_C1), GDB(zepiGetDiff8x4B_8u16s_C1),
#undef GDB
#define GDC(f) \
    {#f, 4, [&](unsigned m) { return f(N(in8, m, 0), 16, N(in8, m, 1), 18, N(dA, m, 2), 16, N(dB, m, 3), 16, 8, 0); }}
        GDC(zepiGetDiff8x8_8u16s_C2P2), GDC(zepiGetDiff8x4_8u16s_C2P2),
#undef GDC
#define GDCB(f)                                                                                                   \
    {#f, 5, [&](unsigned m) {                                                                                     \
         return f(N(in8, m, 0), 16, N(in8, m, 1), 18, 4, N(in8, m, 2), 18, 12, N(dA, m, 3), 16, N(dB, m, 4), 16, 1); \
     }}
        GDCB(zepiGetDiff8x8B_8u16s_C2P2), GDCB(zepiGetDiff8x4B_8u16s_C2P2),
#undef GDCB
#define SUB(f, in) {#f, 3, [&](unsigned m) { return f(N(in, m, 0), 32, N(in, m, 1), 32, N(dA, m, 2), 32); }}
        SUB(zepiSub16x16_8u16s_C1R, in8), SUB(zepiSub8x8_8u16s_C1R, in8), SUB(zepiSub4x4_8u16s_C1R, in8),
        SUB(zepiSub8x8_16u16s_C1R, in16u), SUB(zepiSub4x4_16u16s_C1R, in16u),
#undef SUB
    };
    for (const auto& f : fns) {
        for (int i = 0; i < f.ptrs; ++i) {
            // Every single null, and that one together with all the later ones.
            for (unsigned mask : {1u << i, ~0u << i}) {
                EXPECT_EQ(f.fn(mask), zepStatusNullPtr) << f.name << " mask " << mask;
                ASSERT_TRUE(o8.untouched() && oA.untouched() && oB.untouched()) << f.name << " mask " << mask;
            }
        }
        EXPECT_EQ(f.fn(0), zepStatusOk) << f.name;
        o8 = Guarded<Zep8u>(40 * 40);
        oA = Guarded<Zep16s>(40 * 40);
        oB = Guarded<Zep16s>(40 * 40);
        d8 = o8.data();
        dA = oA.data();
        dB = oB.data();
    }
}

}  // namespace
