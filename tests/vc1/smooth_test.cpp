// VC-1 overlap smoothing and range mapping: kernels against the reference,
// the chroma entry points (planar and interleaved) against the filter
// formula, the luma field modes against the frame mode on re-ordered sources,
// the enable flags, and the entry points' checks.
#include <algorithm>
#include <array>
#include <vector>

#include "harness/harness.h"
#include "harness/null_sweep.h"
#include "vc1/vc1_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::Vc1Dsp;

using Samples = std::vector<Zep16s>;
Samples random_samples(size_t n, Rng& rng, Pattern pat, int lo, int hi) {
    Samples v(n);
    fill(v.data(), n, pat, rng, lo, hi);
    return v;
}

TEST(Vc1SmoothKernels, EveryLevelMatchesReference) {
    const Vc1Dsp ref = zep::build_table(zep::vc1_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const Vc1Dsp k = zep::build_table(zep::vc1_init, level);
        Rng rng(31);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 30; ++it) {
                const int lo = it & 1 ? -32768 : -40, hi = it & 1 ? 32767 : 300;
                const std::string ctx = context(level, pat, "iteration " + std::to_string(it));
                // Sources with random steps (even bytes) and offsets; pictures with odd steps.
                const int s1 = 2 * rng.range(10, 20), s2 = 2 * rng.range(10, 20), ds = rng.range(20, 40);
                Samples a = random_samples(s1 * 10, rng, pat, lo, hi), b = random_samples(s2 * 10, rng, pat, lo, hi);
                Samples u = random_samples(s1 * 10, rng, pat, lo, hi), v = random_samples(s2 * 10, rng, pat, lo, hi);
                std::vector<Zep8u> pa(ds * 20, 0x5A), pb = pa;
                const int ox = rng.range(2, 5), oy = rng.range(2, 4);
                Zep8u* da = pa.data() + oy * ds;
                Zep8u* db = pb.data() + oy * ds;
                ref.smooth_hor(a.data() + ox, s1, b.data() + ox, s2, da + 4, ds);
                k.smooth_hor(a.data() + ox, s1, b.data() + ox, s2, db + 4, ds);
                ASSERT_TRUE(same_array(pa, pb, ctx + " horizontal"));
                ref.smooth_hor_uv(a.data() + ox, s1, b.data() + ox, s2, u.data() + 1, s1, v.data() + 3, s2, da + 2, ds);
                k.smooth_hor_uv(a.data() + ox, s1, b.data() + ox, s2, u.data() + 1, s1, v.data() + 3, s2, db + 2, ds);
                ASSERT_TRUE(same_array(pa, pb, ctx + " horizontal UV"));
                // Vertical edge, each rounding mode, with write-back.
                for (int mode = 0; mode < 4; ++mode) {
                    Samples a2 = a, b2 = b, u2 = u, v2 = v;
                    if (mode < 3) {
                        ref.smooth_ver(a.data() + ox, s1, b.data() + 1, s2, da + 4, ds, mode);
                        k.smooth_ver(a2.data() + ox, s1, b2.data() + 1, s2, db + 4, ds, mode);
                    } else {
                        ref.smooth_ver_uv(a.data() + ox, s1, b.data(), s2, u.data() + 2, s1, v.data() + 1, s2, da + 5, ds);
                        k.smooth_ver_uv(a2.data() + ox, s1, b2.data(), s2, u2.data() + 2, s1, v2.data() + 1, s2, db + 5, ds);
                    }
                    const std::string m = ctx + (mode < 3 ? " vertical mode " + std::to_string(mode) : " vertical UV");
                    ASSERT_TRUE(same_array(pa, pb, m));
                    ASSERT_TRUE(same_array(a, a2, m + " write-back left"));
                    ASSERT_TRUE(same_array(b, b2, m + " write-back right"));
                    ASSERT_TRUE(same_array(u, u2, m + " write-back U"));
                    ASSERT_TRUE(same_array(v, v2, m + " write-back V"));
                }
            }
    }
}

// The filter as documented, each add and subtract saturating to 16 bits, left to right.
int s16(int v) { return std::clamp(v, -32768, 32767); }
void filter(const int x[4], int r0, int y[4]) {
    const int r1 = 7 - r0;
    y[0] = s16(x[0] + (s16(s16(x[3] - x[0]) + r0) >> 3));
    y[1] = s16(x[1] + (s16(s16(s16(s16(x[2] + x[3]) - x[0]) - x[1]) + r1) >> 3));
    y[2] = s16(x[2] + (s16(s16(s16(s16(x[0] + x[1]) - x[2]) - x[3]) + r0) >> 3));
    y[3] = s16(x[3] + (s16(s16(x[0] - x[3]) + r1) >> 3));
}

// The chroma entry points, planar and interleaved, horizontal and vertical,
// against the formula: outputs in rows (columns) -2..1 of the edge, r0 = 4 on
// even columns (lines) and 3 on odd ones, the unclamped write-back of the
// vertical forms, and nothing else in the picture or the sources changed.
TEST(Vc1SmoothEntry, ChromaEdgesFollowTheFilter) {
    Rng rng(32);
    for (Pattern pat : kAllPatterns)
        for (int it = 0; it < 20; ++it)
            for (int form = 0; form < 4; ++form) {
                const bool ver = form & 1, uv = form & 2;  // vertical edge; U and V interleaved
                const int lo = it & 1 ? -32768 : -40, hi = it & 1 ? 32767 : 300, pitch = uv ? 2 : 1;
                // [U, V][upper or left, lower or right]: 8 x 2 samples (horizontal) or 2 x 8 (vertical).
                std::array<std::array<Samples, 2>, 2> src;
                for (auto& plane : src)
                    for (auto& s : plane) s = random_samples(16, rng, pat, lo, hi);
                auto out = src;
                std::vector<Zep8u> pic(128, 0x11), want = pic;
                const int ss = ver ? 4 : 16;
                Zep8u* d = pic.data() + (ver ? 2 * pitch : 2 * 16);
                auto p = [&](int c, int s) { return out[c][s].data(); };
                ZepStatus st = zepStatusOk;
                if (!uv && ver) st = zepiSmoothingChroma_VerEdge_VC1_16s8u_C1R(p(0, 0), ss, p(0, 1), ss, d, 16);
                if (!uv && !ver) st = zepiSmoothingChroma_HorEdge_VC1_16s8u_C1R(p(0, 0), ss, p(0, 1), ss, d, 16);
                if (uv && ver) st = zepiSmoothingChroma_VerEdge_VC1_16s8u_P2C2R(p(0, 0), ss, p(0, 1), ss, p(1, 0), ss,
                                                                                p(1, 1), ss, d, 16);
                if (uv && !ver) st = zepiSmoothingChroma_HorEdge_VC1_16s8u_P2C2R(p(0, 0), ss, p(0, 1), ss, p(1, 0), ss,
                                                                                 p(1, 1), ss, d, 16);
                ASSERT_EQ(st, zepStatusOk);
                for (int c = 0; c < pitch; ++c)
                    for (int l = 0; l < 8; ++l) {  // the column (horizontal edge) or line (vertical edge)
                        int x[4], y[4];
                        auto tap = [&](int t) -> Zep16s& { return src[c][t / 2][ver ? l * 2 + t % 2 : t % 2 * 8 + l]; };
                        for (int t = 0; t < 4; ++t) x[t] = tap(t);
                        filter(x, l & 1 ? 3 : 4, y);
                        for (int t = 0; t < 4; ++t) {
                            const Zep8u px = static_cast<Zep8u>(std::clamp(y[t], 0, 255));
                            want[(ver ? l : t) * 16 + (ver ? t : l) * pitch + c] = px;
                            if (ver) tap(t) = static_cast<Zep16s>(y[t]);
                        }
                    }
                const std::string ctx = pattern_name(pat) + std::string(ver ? " vertical" : " horizontal") + (uv ? " UV" : "");
                ASSERT_TRUE(same_array(want, pic, ctx));
                for (int c = 0; c < 2; ++c)
                    for (int s = 0; s < 2; ++s) ASSERT_TRUE(same_array(src[c][s], out[c][s], ctx + " sources"));
            }
}

// A 16-bit plane and a luma vertical edge: left and right 16-bit macroblocks
// (two columns each matter), a 16-line picture. Frame mode is the definition;
// a field-coded macroblock holds the even picture lines in rows 0-7 and the
// odd ones in rows 8-15, so filtering it in a field mode must give the frame result.
struct VerEdge {
    Samples l = Samples(64), r = Samples(64);  // 4 x 16 each
    std::vector<Zep8u> pic = std::vector<Zep8u>(16 * 8, 0x33);
    ZepStatus run(int fieldMode, int flags) {
        return zepiSmoothingLuma_VerEdge_VC1_16s8u_C1R(l.data() + 2, 8, r.data(), 8, pic.data() + 4, 8, fieldMode, flags);
    }
};
void to_field(Samples& p) {
    const Samples f = p;
    for (int y = 0; y < 16; ++y) std::copy_n(f.begin() + y * 4, 4, p.begin() + ((y & 1) ? 8 + y / 2 : y / 2) * 4);
}

// Rows y0..y1 of the picture and both sources from `done`, the rest from `base`.
VerEdge mix(const VerEdge& base, const VerEdge& done, int y0, int y1) {
    VerEdge m = base;
    for (int y = y0; y < y1; ++y) {
        std::copy_n(done.pic.begin() + y * 8, 8, m.pic.begin() + y * 8);
        std::copy_n(done.l.begin() + y * 4, 4, m.l.begin() + y * 4);
        std::copy_n(done.r.begin() + y * 4, 4, m.r.begin() + y * 4);
    }
    return m;
}
::testing::AssertionResult same(const VerEdge& want, const VerEdge& got, const std::string& ctx) {
    auto r = same_array(want.pic, got.pic, ctx + " picture");
    if (r) r = same_array(want.l, got.l, ctx + " left write-back");
    if (r) r = same_array(want.r, got.r, ctx + " right write-back");
    return r;
}

// Field modes give the frame result on re-ordered sources (mode 1 reads the
// right source in field order, mode 2 the left one, mode 3 both), for any
// non-zero flags; frame mode filters by half; zero flags and unknown modes
// do nothing. The horizontal edge filters the left or right 8 columns.
TEST(Vc1SmoothEntry, LumaFieldModesAndEnableFlags) {
    Rng rng(33);
    for (int it = 0; it < 20; ++it) {
        VerEdge frame;
        frame.l = random_samples(64, rng, Pattern::Random, -60, 320);
        frame.r = random_samples(64, rng, Pattern::Random, -60, 320);
        VerEdge all = frame;
        ASSERT_EQ(all.run(0, 15), zepStatusOk);
        for (int mode = 1; mode <= 3; ++mode) {
            VerEdge g = frame, w = all;
            if (mode & 1) to_field(g.r), to_field(w.r);
            if (mode & 2) to_field(g.l), to_field(w.l);
            ASSERT_EQ(g.run(mode, 1 << (it % 4)), zepStatusOk);
            ASSERT_TRUE(same(w, g, "fieldMode " + std::to_string(mode)));
        }
        const struct {
            int mode, flags, y0, y1;
        } cases[] = {{0, 1, 0, 8},  {0, 2, 0, 8},  {0, 4, 8, 16}, {0, 8, 8, 16},  {0, 3, 0, 8},
                     {0, 12, 8, 16}, {0, 16, 0, 0}, {0, 0, 0, 0},  {3, 0, 0, 0}, {4, 15, 0, 0}, {-1, 15, 0, 0}};
        for (const auto& c : cases) {
            VerEdge e = frame;
            ASSERT_EQ(e.run(c.mode, c.flags), zepStatusOk);
            ASSERT_TRUE(same(mix(frame, all, c.y0, c.y1), e,
                             "fieldMode " + std::to_string(c.mode) + " flags " + std::to_string(c.flags)));
        }
    }
    const Samples up = random_samples(32, rng, Pattern::Random, 0, 255);
    const Samples lo = random_samples(32, rng, Pattern::Random, 0, 255);
    std::vector<Zep8u> full(16 * 4, 0), part;
    zepiSmoothingLuma_HorEdge_VC1_16s8u_C1R(up.data(), 32, lo.data(), 32, full.data() + 32, 16, 5);
    for (int flags : {1, 2, 4, 8, 0}) {
        part.assign(16 * 4, 0);
        zepiSmoothingLuma_HorEdge_VC1_16s8u_C1R(up.data(), 32, lo.data(), 32, part.data() + 32, 16, flags);
        for (int i = 0; i < 64; ++i)
            ASSERT_EQ(part[i], (i % 16 < 8 ? flags & 3 : flags & 12) ? full[i] : 0) << "flags " << flags << " at " << i;
    }
}

TEST(Vc1SmoothEntry, NullPointersWriteNothing) {
    Guarded<Zep16s> a(64), b(64);
    Guarded<Zep8u> d(64);
    Zep16s* p = a.data() + 2;
    Zep16s* q = b.data();
    const Zep16s* c = q;
    Zep8u* o = d.data() + 32;
    EXPECT_TRUE(null_sweep(zepiSmoothingLuma_HorEdge_VC1_16s8u_C1R, c, 16, c, 16, o, 8, 15));
    EXPECT_TRUE(null_sweep(zepiSmoothingLuma_VerEdge_VC1_16s8u_C1R, p, 16, q, 16, o, 8, 0, 15));
    EXPECT_TRUE(null_sweep(zepiSmoothingLuma_VerEdge_VC1_16s8u_C1R, p, 16, q, 16, o, 8, 0, 0));  // before the flags
    EXPECT_TRUE(null_sweep(zepiSmoothingChroma_HorEdge_VC1_16s8u_C1R, c, 16, c, 16, o, 8));
    EXPECT_TRUE(null_sweep(zepiSmoothingChroma_VerEdge_VC1_16s8u_C1R, p, 16, q, 16, o, 8));
    EXPECT_TRUE(null_sweep(zepiSmoothingChroma_HorEdge_VC1_16s8u_P2C2R, c, 16, c, 16, c, 16, c, 16, o, 8));
    EXPECT_TRUE(null_sweep(zepiSmoothingChroma_VerEdge_VC1_16s8u_P2C2R, p, 16, q, 16, p, 16, q, 16, o, 8));
    EXPECT_TRUE(a.untouched());
    EXPECT_TRUE(b.untouched());
    EXPECT_TRUE(d.untouched());
}

// ---- Range mapping ----

// Every sample value at every rangeMap through the reference and the entry
// point against the formula; then every level against the reference on random
// geometry, nothing beyond the block written, in place the same.
TEST(Vc1RangeMap, KernelsMatchReferenceAndFormula) {
    const Vc1Dsp ref = zep::build_table(zep::vc1_init, Isa::Ref);
    Zep8u in[256], out[256], outEntry[256];
    for (int i = 0; i < 256; ++i) in[i] = static_cast<Zep8u>(i);
    for (int map = 0; map < 8; ++map) {
        ref.range_map(in, 256, out, 256, 256, 1, map + 9);
        ASSERT_EQ(zepiRangeMapping_VC1_8u_C1R(in, 16, outEntry, 16, ZepSize{16, 16}, map), zepStatusOk);
        for (int i = 0; i < 256; ++i) {
            const int want = std::clamp((((i - 128) * (map + 9) + 4) >> 3) + 128, 0, 255);
            ASSERT_EQ(out[i], want) << "x " << i << " map " << map;
            ASSERT_EQ(outEntry[i], want) << "entry: x " << i << " map " << map;
        }
    }
    for (Isa level : simd_levels()) {
        const Vc1Dsp k = zep::build_table(zep::vc1_init, level);
        Rng rng(35);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 30; ++it) {
                const int w = it < 20 ? rng.range(1, 40) : rng.range(41, 100), h = rng.range(1, 4), f = rng.range(9, 16);
                auto src = Picture<Zep8u>::random(rng, w, h, 1);
                src.fill(pat, rng, 0, 255);
                auto a = Picture<Zep8u>::random(rng, w, h, 1);
                auto b = a;
                ref.range_map(src.data(), src.step(), a.data(), a.step(), w, h, f);
                k.range_map(src.data(), src.step(), b.data(), b.step(), w, h, f);
                const std::string ctx = context(level, pat, src.describe());
                ASSERT_TRUE(same_array(a.block(), b.block(), ctx));
                for (int y = 0; y <= h; ++y) ASSERT_EQ(b.at(w, y), a.at(w, y)) << ctx;
                k.range_map(src.data(), src.step(), src.data(), src.step(), w, h, f);
                ASSERT_TRUE(same_array(a.block(), src.block(), ctx + " in place"));
            }
    }
}

// Pointers, then the range of rangeMap, then an empty size (which does nothing).
TEST(Vc1RangeMap, EntryChecks) {
    Guarded<Zep8u> g(64);
    const Zep8u px[64] = {};
    EXPECT_TRUE(null_sweep(zepiRangeMapping_VC1_8u_C1R, px, 8, g.data(), 8, ZepSize{0, 0}, 9));
    EXPECT_EQ(zepiRangeMapping_VC1_8u_C1R(px, 8, g.data(), 8, ZepSize{0, 0}, 8), zepStatusOutOfRange);
    EXPECT_EQ(zepiRangeMapping_VC1_8u_C1R(px, 8, g.data(), 8, ZepSize{8, 8}, -1), zepStatusOutOfRange);
    EXPECT_EQ(zepiRangeMapping_VC1_8u_C1R(px, 8, g.data(), 8, ZepSize{0, 8}, 3), zepStatusOk);
    EXPECT_EQ(zepiRangeMapping_VC1_8u_C1R(px, 8, g.data(), 8, ZepSize{8, -1}, 3), zepStatusOk);
    EXPECT_TRUE(g.untouched());
}

}  // namespace
