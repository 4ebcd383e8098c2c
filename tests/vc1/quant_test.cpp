// VC-1 quantisers: every doubleQuant of the forward rules over all 16-bit
// inputs against truncating division (with the five low multipliers kept),
// every kernel level against the reference, the entry points against the
// quantiser formulas, and the entry points' check order.
#include <cstdlib>
#include <vector>

#include "harness/harness.h"
#include "harness/null_sweep.h"
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
// Forward rule for x: non-uniform first moves x toward zero by doubleQuant >> 1.
bool quant_ok(int x, int dq, bool nu, int q) { return division_ok(nu ? x - sgn(x) * (dq >> 1) : x, dq, q); }

// Inverse rule, wrapped to 16 bits.
Zep16s dequant(int c, int dq, bool nu) { return static_cast<Zep16s>(c * dq + (nu ? sgn(c) * (dq >> 1) : 0)); }

// All 65536 inputs as one 8-wide column of blocks (step 16 bytes), run
// through the 8x8 inter kernel block by block, checked with a tight loop.
TEST(Vc1QuantKernels, ForwardEveryDoubleQuantAllInputs) {
    std::vector<Zep16s> all(65536), buf(65536);
    for (int i = 0; i < 65536; ++i) all[i] = static_cast<Zep16s>(i - 32768);
    for (Isa level : all_levels()) {
        const Vc1Dsp k = zep::build_table(zep::vc1_init, level);
        for (int nu = 0; nu < 2; ++nu)
            for (int dq = 2; dq <= 62; ++dq) {
                buf = all;
                for (int b = 0; b < 65536; b += 64)
                    k.quant_inter[nu][zep::vc1_size_index(8, 8)][zep::vc1_div_table[dq].cls](buf.data() + b, 16, dq);
                int bad = -1;
                for (int i = 0; i < 65536 && bad < 0; ++i)
                    if (!quant_ok(all[i], dq, nu, buf[i])) bad = i;
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
    const int sizes[5][2] = {{4, 4}, {4, 8}, {8, 4}, {8, 8}, {8, 8}};  // the last is intra
    for (Isa level : simd_levels()) {
        const Vc1Dsp k = zep::build_table(zep::vc1_init, level);
        Rng rng(21);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 40; ++it) {
                const int dq = it == 0 ? 62 : rng.range(2, 62), nu = rng.coin(), cls = zep::vc1_div_table[dq].cls;
                const std::string ctx = context(level, pat, "doubleQuant " + std::to_string(dq) + (nu ? " nu" : " u"));
                for (int s = 0; s < 5; ++s) {
                    const bool intra = s == 4;
                    const int w = sizes[s][0], h = sizes[s][1], si = zep::vc1_size_index(w, h);
                    auto a = Picture<Zep16s>::random(rng, w, h, 1);
                    a.fill(pat, rng, -32768, 32767);
                    auto b = a;
                    (intra ? ref.quant_intra[nu][cls] : ref.quant_inter[nu][si][cls])(a.data(), a.step(), dq);
                    (intra ? k.quant_intra[nu][cls] : k.quant_inter[nu][si][cls])(b.data(), b.step(), dq);
                    ASSERT_TRUE(same_array(a.block(), b.block(), ctx + " forward " + a.describe()));
                    for (int y = 0; y <= h; ++y) ASSERT_EQ(a.at(w, y), b.at(w, y)) << ctx;
                    // Inverse, two buffers and in place, on sparse blocks that exercise the extents.
                    const int ii = (h >> 1) + (w >> 2) - 3;
                    auto src = Picture<Zep16s>::random(rng, w, h, 1);
                    src.fill(pat, rng, it & 1 ? -32768 : -600, it & 1 ? 32767 : 600);
                    for (int y = 0; y < h; ++y)
                        for (int x = 0; x < w; ++x)
                            if (rng.range(0, 3) == 0) src.at(x, y) = 0;
                    auto da = Picture<Zep16s>::random(rng, w, h, 1);
                    auto db = da;
                    ZepSize na{-1, -1}, nb{-2, -2}, nc{-3, -3};
                    auto fr = intra ? ref.quant_inv_intra[nu] : ref.quant_inv_inter[nu][ii];
                    auto fk = intra ? k.quant_inv_intra[nu] : k.quant_inv_inter[nu][ii];
                    fr(src.data(), src.step(), da.data(), da.step(), dq, &na);
                    fk(src.data(), src.step(), db.data(), db.step(), dq, &nb);
                    ASSERT_TRUE(same_array(da.block(), db.block(), ctx + " inverse " + src.describe()));
                    EXPECT_TRUE(na.width == nb.width && na.height == nb.height) << ctx;
                    for (int y = 0; y <= h; ++y) ASSERT_EQ(da.at(w, y), db.at(w, y)) << ctx;
                    fk(src.data(), src.step(), src.data(), src.step(), dq, &nc);
                    ASSERT_TRUE(same_array(da.block(), src.block(), ctx + " inverse in place"));
                    EXPECT_TRUE(na.width == nc.width && na.height == nc.height) << ctx;
                }
            }
    }
}

// The entry points against the rules, for every size and both forms: each
// sample of the block follows the formula, the intra DC is kept (forward) or
// copied (inverse), nothing beyond the block changes, and the extent is that
// of the non-zero outputs (intra: row 0 always counts, column 0 counts the
// dequantised DC). Values include products that wrap to zero.
TEST(Vc1QuantEntry, EntryPointsFollowTheFormulas) {
    const decltype(&zepiQuantInterUniform_VC1_16s_C1IR) fwd[2] = {zepiQuantInterUniform_VC1_16s_C1IR,
                                                                  zepiQuantInterNonuniform_VC1_16s_C1IR};
    const decltype(&zepiQuantIntraUniform_VC1_16s_C1IR) fwdIntra[2] = {zepiQuantIntraUniform_VC1_16s_C1IR,
                                                                       zepiQuantIntraNonuniform_VC1_16s_C1IR};
    const decltype(&zepiQuantInvInterUniform_VC1_16s_C1R) inv[2] = {zepiQuantInvInterUniform_VC1_16s_C1R,
                                                                    zepiQuantInvInterNonuniform_VC1_16s_C1R};
    const decltype(&zepiQuantInvIntraUniform_VC1_16s_C1R) invIntra[2] = {zepiQuantInvIntraUniform_VC1_16s_C1R,
                                                                         zepiQuantInvIntraNonuniform_VC1_16s_C1R};
    const Zep16s special[] = {16384, -32768, 2000, -3, 1, 7, 32767};
    const int sizes[5][2] = {{4, 4}, {4, 8}, {8, 4}, {8, 8}, {8, 8}};  // the last is intra
    Rng rng(22);
    for (int s = 0; s < 5; ++s)
        for (int nu = 0; nu < 2; ++nu)
            for (int it = 0; it < 200; ++it) {
                const bool intra = s == 4;
                const int w = sizes[s][0], h = sizes[s][1];
                const int dq = it < 3 ? 2 * (it + 1) : rng.range(2, 62);
                Picture<Zep16s> src(w, h, 2 * (w + 1 + rng.range(0, 4)), 0, 1), dst(w, h, 2 * (w + 1), 0, 1);
                for (int y = 0; y <= h; ++y)
                    for (int x = 0; x <= w; ++x) {
                        const int r = rng.range(0, 9);
                        src.at(x, y) = r < 6 ? 0 : r < 8 ? special[rng.range(0, 6)] : rng.range(-32768, 32767);
                    }
                if (it < 2) {  // a lone coefficient whose product wraps to zero (at the DC for intra)
                    src.fill(Pattern::Zero, rng, 0, 0);
                    src.at(it ? w - 1 : 0, it ? h - 1 : 0) = it ? 16384 : -32768;
                }
                const std::string ctx = std::to_string(w) + "x" + std::to_string(h) + (intra ? " intra" : "") +
                                        (nu ? " nu" : " u") + " doubleQuant " + std::to_string(dq) + "\n" + src.dump();
                // Inverse.
                ZepSize nz{-1, -1};
                ASSERT_EQ(intra ? invIntra[nu](src.data(), src.step(), dst.data(), dst.step(), dq, &nz)
                                : inv[nu](src.data(), src.step(), dst.data(), dst.step(), dq, {w, h}, &nz),
                          zepStatusOk);
                int cols = 0, rows = intra ? 1 : 0;
                for (int y = 0; y < h; ++y)
                    for (int x = 0; x < w; ++x) {
                        const Zep16s v = dequant(src.at(x, y), dq, nu);
                        const bool dc = intra && x == 0 && y == 0;
                        ASSERT_EQ(dst.at(x, y), dc ? src.at(x, y) : v) << x << "," << y << " " << ctx;
                        if (v != 0) cols = std::max(cols, x + 1), rows = std::max(rows, dc ? rows : y + 1);
                    }
                EXPECT_EQ(nz.width, cols) << ctx;
                EXPECT_EQ(nz.height, rows) << ctx;
                for (int y = 0; y <= h; ++y) ASSERT_EQ(dst.at(w, y), static_cast<Zep16s>(0xA5A5)) << ctx;
                // Forward, in place.
                auto q = src;
                ASSERT_EQ(intra ? fwdIntra[nu](q.data(), q.step(), dq) : fwd[nu](q.data(), q.step(), dq, {w, h}),
                          zepStatusOk);
                for (int y = 0; y <= h; ++y)
                    for (int x = 0; x <= w; ++x) {
                        const bool kept = x == w || y == h || (intra && x == 0 && y == 0);
                        if (kept) ASSERT_EQ(q.at(x, y), src.at(x, y)) << x << "," << y << " " << ctx;
                        else ASSERT_TRUE(quant_ok(src.at(x, y), dq, nu, q.at(x, y))) << x << "," << y << " gave "
                                                                                      << q.at(x, y) << " " << ctx;
                    }
            }
}

// Pointers, then the quantiser range, then the height, then the width; nothing
// written on any failure.
TEST(Vc1QuantEntry, CheckOrderAndNothingWritten) {
    Guarded<Zep16s> g(64);
    Guarded<ZepSize> gs(1);
    Zep16s* p = g.data();
    ZepSize* nz = gs.data();
    const ZepSize ok{8, 8}, badH{8, 5}, badW{6, 4}, bad{2, 2};
    for (auto f : {zepiQuantIntraUniform_VC1_16s_C1IR, zepiQuantIntraNonuniform_VC1_16s_C1IR}) {
        EXPECT_TRUE(null_sweep(f, p, 16, 100));
        EXPECT_EQ(f(p, 16, 1), zepStatusOutOfRange);
        EXPECT_EQ(f(p, 16, 63), zepStatusOutOfRange);
    }
    for (auto f : {zepiQuantInterUniform_VC1_16s_C1IR, zepiQuantInterNonuniform_VC1_16s_C1IR}) {
        EXPECT_TRUE(null_sweep(f, p, 16, 0, bad));
        EXPECT_EQ(f(p, 16, 0, bad), zepStatusOutOfRange);  // range before size
        EXPECT_EQ(f(p, 16, 63, ok), zepStatusOutOfRange);
        EXPECT_EQ(f(p, 16, 2, badH), zepStatusBadSize);
        EXPECT_EQ(f(p, 16, 2, badW), zepStatusBadSize);
    }
    for (auto f : {zepiQuantInvIntraUniform_VC1_16s_C1IR, zepiQuantInvIntraNonuniform_VC1_16s_C1IR})
        EXPECT_TRUE(null_sweep(f, p, 16, 2, nz));
    for (auto f : {zepiQuantInvIntraUniform_VC1_16s_C1R, zepiQuantInvIntraNonuniform_VC1_16s_C1R})
        EXPECT_TRUE(null_sweep(f, static_cast<const Zep16s*>(p), 16, p, 16, 2, nz));
    for (auto f : {zepiQuantInvInterUniform_VC1_16s_C1IR, zepiQuantInvInterNonuniform_VC1_16s_C1IR}) {
        EXPECT_TRUE(null_sweep(f, p, 16, 2, bad, nz));
        EXPECT_EQ(f(p, 16, 2, badH, nz), zepStatusBadSize);
        EXPECT_EQ(f(p, 16, 2, ZepSize{8, 0}, nz), zepStatusBadSize);
    }
    for (auto f : {zepiQuantInvInterUniform_VC1_16s_C1R, zepiQuantInvInterNonuniform_VC1_16s_C1R}) {
        EXPECT_TRUE(null_sweep(f, static_cast<const Zep16s*>(p), 16, p, 16, 2, bad, nz));
        EXPECT_EQ(f(p, 16, p, 16, 2, badW, nz), zepStatusBadSize);
        EXPECT_EQ(f(p, 16, p, 16, 2, ZepSize{16, 8}, nz), zepStatusBadSize);
    }
    EXPECT_TRUE(g.untouched());
    EXPECT_TRUE(gs.untouched());
}

}  // namespace
