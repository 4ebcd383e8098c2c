// VC-1 quantisers: every doubleQuant of the forward rules over all 16-bit
// inputs against truncating division (with the five low multipliers kept),
// every kernel level against the reference, the inverse extents, and the
// entry points' check order.
#include <cstdlib>
#include <vector>

#include "harness/harness.h"
#include "clone.h"
#include "vc1/vc1_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::Vc1Dsp;

int trunc_div(int y, int d) { return y >= 0 ? y / d : -(-y / d); }
int sgn(int v) { return (v > 0) - (v < 0); }

// What the table rule must give for y: truncating division, except that for
// 19, 21, 27, 41 and 55 exact non-zero multiples come out one step nearer
// zero, and for 55 also large values one beyond a multiple (|y| = 55k + 1,
// from |y| = 18756 on) may.
bool division_ok(int y, int dq, int q) {
    const int t = trunc_div(y, dq);
    const bool low = dq == 19 || dq == 21 || dq == 27 || dq == 41 || dq == 55;
    if (low && y != 0 && y % dq == 0) return q == t - sgn(y);
    if (dq == 55 && std::abs(y) % 55 == 1) return q == t || q == t - sgn(y);
    return q == t;
}

// All 65536 inputs as one 8-wide column of blocks (step 16 bytes), run
// through the 8x8 inter kernel block by block, checked with a tight loop.
TEST(Vc1QuantKernels, ForwardEveryDoubleQuantAllInputs) {
    std::vector<Zep16s> all(65536), buf(65536);
    for (int i = 0; i < 65536; ++i) all[i] = static_cast<Zep16s>(i - 32768);
    for (Isa level : all_levels()) {
        const Vc1Dsp k = zep::build_table(zep::vc1_init, level);
        for (int nu = 0; nu < 2; ++nu)
            for (int dq = 2; dq <= 62; ++dq) {
                const zep::Vc1QuantFn f = k.quant_inter[nu][zep::vc1_size_index(8, 8)][zep::vc1_div_table[dq].cls];
                buf = all;
                for (int b = 0; b < 65536; b += 64) f(buf.data() + b, 16, dq);
                int bad = -1;
                for (int i = 0; i < 65536 && bad < 0; ++i) {
                    const int x = all[i];
                    const int y = nu ? x - sgn(x) * (dq >> 1) : x;
                    if (!division_ok(y, dq, buf[i])) bad = i;
                }
                ASSERT_LT(bad, 0) << zep::isa_name(level) << (nu ? " non-uniform" : " uniform") << " doubleQuant "
                                  << dq << ": x = " << all[bad] << " gave " << buf[bad];
            }
    }
}

// Every forward and inverse kernel (all sizes, classes, intra) of every level
// against the reference, including the 8-wide vs 4-wide row handling and the
// kept DC, on random geometry; nothing outside the block is touched.
TEST(Vc1QuantKernels, EveryLevelMatchesReference) {
    const Vc1Dsp ref = zep::build_table(zep::vc1_init, Isa::Ref);
    const int sizes[4][2] = {{4, 4}, {4, 8}, {8, 4}, {8, 8}};
    for (Isa level : simd_levels()) {
        const Vc1Dsp k = zep::build_table(zep::vc1_init, level);
        Rng rng(21);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 40; ++it) {
                const int dq = it == 0 ? 62 : rng.range(2, 62);
                const int nu = rng.coin();
                const int cls = zep::vc1_div_table[dq].cls;
                const std::string ctx = context(level, pat, "doubleQuant " + std::to_string(dq) + (nu ? " nu" : " u"));
                for (int s = 0; s < 5; ++s) {
                    const bool intra = s == 4;
                    const int w = intra ? 8 : sizes[s][0], h = intra ? 8 : sizes[s][1];
                    const int si = zep::vc1_size_index(w, h);
                    // Forward.
                    auto a = Picture<Zep16s>::random(rng, w, h, 1);
                    a.fill(pat, rng, -32768, 32767);
                    auto b = vc1t::clone(a);
                    (intra ? ref.quant_intra[nu][cls] : ref.quant_inter[nu][si][cls])(a.data(), a.step(), dq);
                    (intra ? k.quant_intra[nu][cls] : k.quant_inter[nu][si][cls])(b.data(), b.step(), dq);
                    ASSERT_TRUE(same_array(a.block(), b.block(), ctx + " forward " + a.describe()));
                    for (int y = 0; y <= h; ++y) ASSERT_EQ(a.at(w, y), b.at(w, y)) << ctx;
                    // Inverse, two buffers and in place.
                    const int ii = (h >> 1) + (w >> 2) - 3;
                    auto src = Picture<Zep16s>::random(rng, w, h, 1);
                    src.fill(pat, rng, it & 1 ? -32768 : -600, it & 1 ? 32767 : 600);
                    for (int y = 0; y < h; ++y)  // sparse blocks exercise the extents
                        for (int x = 0; x < w; ++x)
                            if (rng.range(0, 3) == 0) src.at(x, y) = 0;
                    auto da = Picture<Zep16s>::random(rng, w, h, 1);
                    auto db = vc1t::clone(da);
                    ZepSize na{-1, -1}, nb{-2, -2}, nc{-3, -3};
                    auto fr = intra ? ref.quant_inv_intra[nu] : ref.quant_inv_inter[nu][ii];
                    auto fk = intra ? k.quant_inv_intra[nu] : k.quant_inv_inter[nu][ii];
                    fr(src.data(), src.step(), da.data(), da.step(), dq, &na);
                    fk(src.data(), src.step(), db.data(), db.step(), dq, &nb);
                    ASSERT_TRUE(same_array(da.block(), db.block(), ctx + " inverse " + src.describe()));
                    EXPECT_EQ(na.width, nb.width) << ctx;
                    EXPECT_EQ(na.height, nb.height) << ctx;
                    for (int y = 0; y <= h; ++y) ASSERT_EQ(da.at(w, y), db.at(w, y)) << ctx;
                    fk(src.data(), src.step(), src.data(), src.step(), dq, &nc);
                    ASSERT_TRUE(same_array(da.block(), src.block(), ctx + " inverse in place"));
                    EXPECT_EQ(na.width, nc.width) << ctx;
                    EXPECT_EQ(na.height, nc.height) << ctx;
                }
            }
    }
}

TEST(Vc1QuantEntry, ForwardHandWorked) {
    const ZepSize s44{4, 4};
    const struct {
        bool nonUniform;
        int dq, x, q;
    } cases[] = {
        {false, 19, 19, 0},  {false, 19, 20, 1},    {false, 19, 38, 1}, {false, 19, -19, 0},
        {false, 19, -38, -1}, {false, 19, 1900, 99}, {false, 20, 20, 1}, {false, 20, -20, -1},
        {true, 8, 5, 0},     {true, 8, 12, 1},      {true, 8, -12, -1}, {true, 8, 2, 0},
        {false, 2, -32768, -16384}, {false, 62, 32767, 528},
    };
    for (const auto& c : cases) {
        Zep16s b[16] = {};
        b[5] = static_cast<Zep16s>(c.x);
        const ZepStatus st = c.nonUniform ? zepiQuantInterNonuniform_VC1_16s_C1IR(b, 8, c.dq, s44)
                                          : zepiQuantInterUniform_VC1_16s_C1IR(b, 8, c.dq, s44);
        ASSERT_EQ(st, zepStatusOk);
        EXPECT_EQ(b[5], c.q) << "doubleQuant " << c.dq << " x " << c.x;
    }
    // Intra keeps the DC, even at doubleQuant 2; the AC next to it is divided.
    Zep16s blk[64] = {};
    blk[0] = 1001;
    blk[1] = 1001;
    ASSERT_EQ(zepiQuantIntraUniform_VC1_16s_C1IR(blk, 16, 2), zepStatusOk);
    EXPECT_EQ(blk[0], 1001);
    EXPECT_EQ(blk[1], 500);
    ASSERT_EQ(zepiQuantIntraNonuniform_VC1_16s_C1IR(blk, 16, 2), zepStatusOk);
    EXPECT_EQ(blk[0], 1001);
    EXPECT_EQ(blk[1], 249);  // (500 - 1) >> 1
}

TEST(Vc1QuantEntry, InverseValuesAndExtents) {
    ZepSize nz{-1, -1};
    Zep16s b[64] = {}, out[64];
    // Wrap-around: 2000 * 62 = 124000 = -7072 (mod 65536).
    b[9] = 2000;
    ASSERT_EQ(zepiQuantInvIntraUniform_VC1_16s_C1R(b, 16, out, 16, 62, &nz), zepStatusOk);
    EXPECT_EQ(out[9], -7072);
    EXPECT_EQ(nz.width, 2);
    EXPECT_EQ(nz.height, 2);
    // Non-uniform sign term.
    const ZepSize s44{4, 4}, s84{8, 4};
    Zep16s c[16] = {};
    c[0] = -3;
    ASSERT_EQ(zepiQuantInvInterNonuniform_VC1_16s_C1IR(c, 8, 9, s44, &nz), zepStatusOk);
    EXPECT_EQ(c[0], -31);
    // 8x4 with one coefficient at row 2, column 5.
    Zep16s d[32] = {};
    d[2 * 8 + 5] = 1;
    ASSERT_EQ(zepiQuantInvInterUniform_VC1_16s_C1IR(d, 16, 5, s84, &nz), zepStatusOk);
    EXPECT_EQ(nz.width, 6);
    EXPECT_EQ(nz.height, 3);
    // A coefficient whose product wraps to zero does not count.
    std::fill(d, d + 32, Zep16s{0});
    d[3] = 16384;
    ASSERT_EQ(zepiQuantInvInterUniform_VC1_16s_C1IR(d, 16, 4, s84, &nz), zepStatusOk);
    EXPECT_EQ(d[3], 0);
    EXPECT_EQ(nz.width, 0);
    EXPECT_EQ(nz.height, 0);

    // Intra: row 0 always counts; the DC's column test uses its dequantised value.
    const struct {
        Zep16s dc;
        int dq;
        int width, height;
    } intra[] = {
        {0, 10, 0, 1},       // all zero
        {7, 10, 1, 1},       // DC only
        {-32768, 2, 0, 1},   // DC whose product wraps to zero: column 0 empty
    };
    for (const auto& t : intra) {
        for (int nu = 0; nu < 2; ++nu) {
            Zep16s blk[64] = {}, o[64];
            blk[0] = t.dc;
            nz = {-1, -1};
            const ZepStatus st = nu ? zepiQuantInvIntraNonuniform_VC1_16s_C1R(blk, 16, o, 16, t.dq, &nz)
                                    : zepiQuantInvIntraUniform_VC1_16s_C1R(blk, 16, o, 16, t.dq, &nz);
            ASSERT_EQ(st, zepStatusOk);
            EXPECT_EQ(o[0], t.dc) << "DC copied unchanged";
            const int wantW = (nu && t.dc == -32768) ? 1 : t.width;  // -32768 * 2 - 1 wraps to -1
            EXPECT_EQ(nz.width, wantW) << "DC " << t.dc << (nu ? " non-uniform" : "");
            EXPECT_EQ(nz.height, t.height);
        }
    }
}

// Pointers, then the quantiser range, then the height, then the width; nothing
// written on any failure.
TEST(Vc1QuantEntry, CheckOrderAndNothingWritten) {
    Guarded<Zep16s> g(64);
    Guarded<ZepSize> gs(1);
    Zep16s* p = g.data();
    const ZepSize ok{8, 8}, badH{8, 5}, badW{6, 4}, badBoth{2, 2};
    using F = ZepStatus (*)(Zep16s*, Zep32s, Zep32s);
    using FI = ZepStatus (*)(Zep16s*, Zep32s, Zep32s, ZepSize);
    for (F f : {zepiQuantIntraUniform_VC1_16s_C1IR, zepiQuantIntraNonuniform_VC1_16s_C1IR}) {
        EXPECT_EQ(f(nullptr, 16, 100), zepStatusNullPtr);
        EXPECT_EQ(f(p, 16, 1), zepStatusOutOfRange);
        EXPECT_EQ(f(p, 16, 63), zepStatusOutOfRange);
    }
    for (FI f : {zepiQuantInterUniform_VC1_16s_C1IR, zepiQuantInterNonuniform_VC1_16s_C1IR}) {
        EXPECT_EQ(f(nullptr, 16, 0, badBoth), zepStatusNullPtr);
        EXPECT_EQ(f(p, 16, 0, badBoth), zepStatusOutOfRange);  // range before size
        EXPECT_EQ(f(p, 16, 63, ok), zepStatusOutOfRange);
        EXPECT_EQ(f(p, 16, 2, badH), zepStatusBadSize);
        EXPECT_EQ(f(p, 16, 2, badW), zepStatusBadSize);
    }
    ZepSize* nz = gs.data();
    EXPECT_EQ(zepiQuantInvIntraUniform_VC1_16s_C1IR(nullptr, 16, 2, nz), zepStatusNullPtr);
    EXPECT_EQ(zepiQuantInvIntraUniform_VC1_16s_C1IR(p, 16, 2, nullptr), zepStatusNullPtr);
    EXPECT_EQ(zepiQuantInvIntraNonuniform_VC1_16s_C1IR(p, 16, 2, nullptr), zepStatusNullPtr);
    EXPECT_EQ(zepiQuantInvIntraUniform_VC1_16s_C1R(nullptr, 16, p, 16, 2, nz), zepStatusNullPtr);
    EXPECT_EQ(zepiQuantInvIntraUniform_VC1_16s_C1R(p, 16, nullptr, 16, 2, nz), zepStatusNullPtr);
    EXPECT_EQ(zepiQuantInvIntraNonuniform_VC1_16s_C1R(p, 16, p, 16, 2, nullptr), zepStatusNullPtr);
    EXPECT_EQ(zepiQuantInvInterUniform_VC1_16s_C1IR(nullptr, 16, 2, badBoth, nz), zepStatusNullPtr);
    EXPECT_EQ(zepiQuantInvInterNonuniform_VC1_16s_C1IR(p, 16, 2, ok, nullptr), zepStatusNullPtr);
    EXPECT_EQ(zepiQuantInvInterUniform_VC1_16s_C1R(p, 16, nullptr, 16, 2, ok, nz), zepStatusNullPtr);
    EXPECT_EQ(zepiQuantInvInterNonuniform_VC1_16s_C1R(nullptr, 16, p, 16, 2, ok, nz), zepStatusNullPtr);
    EXPECT_EQ(zepiQuantInvInterUniform_VC1_16s_C1IR(p, 16, 2, badH, nz), zepStatusBadSize);
    EXPECT_EQ(zepiQuantInvInterUniform_VC1_16s_C1R(p, 16, p, 16, 2, badW, nz), zepStatusBadSize);
    EXPECT_EQ(zepiQuantInvInterNonuniform_VC1_16s_C1IR(p, 16, 2, ZepSize{8, 0}, nz), zepStatusBadSize);
    EXPECT_EQ(zepiQuantInvInterNonuniform_VC1_16s_C1R(p, 16, p, 16, 2, ZepSize{16, 8}, nz), zepStatusBadSize);
    EXPECT_TRUE(g.untouched());
    EXPECT_TRUE(gs.untouched());
}

}  // namespace
