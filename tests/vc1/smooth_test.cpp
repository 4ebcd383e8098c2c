// VC-1 overlap smoothing and range mapping: kernels against the reference,
// hand-worked filter values, the field modes against the frame mode on
// re-ordered sources, the interleaved chroma forms against two planar calls,
// and the entry points' checks.
#include <vector>

#include "harness/harness.h"
#include "clone.h"
#include "vc1/vc1_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::Vc1Dsp;

// A 16-bit plane and an 8-bit picture around a luma edge of 16 x 16 samples.
struct Plane16 {
    int w, h;
    std::vector<Zep16s> v;
    Plane16(int w_, int h_) : w(w_), h(h_), v(static_cast<size_t>(w_) * h_) {}
    Zep16s* at(int x, int y) { return v.data() + y * w + x; }
    Zep32s step() const { return w * 2; }
};

void fill16(std::vector<Zep16s>& v, Rng& rng, Pattern pat, int lo, int hi) {
    fill(v.data(), v.size(), pat, rng, lo, hi);
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
                std::vector<Zep16s> a(s1 / 2 * 20), b(s2 / 2 * 20), a2, b2, u(s1 / 2 * 20), v(s2 / 2 * 20), u2, v2;
                fill16(a, rng, pat, lo, hi);
                fill16(b, rng, pat, lo, hi);
                fill16(u, rng, pat, lo, hi);
                fill16(v, rng, pat, lo, hi);
                std::vector<Zep8u> pa(ds * 20, 0x5A), pb;
                const int ox = rng.range(2, 5), oy = rng.range(2, 4);
                pb = pa;
                // Horizontal edge.
                ref.smooth_hor(a.data() + ox, s1, b.data() + ox, s2, pa.data() + oy * ds + 4, ds);
                k.smooth_hor(a.data() + ox, s1, b.data() + ox, s2, pb.data() + oy * ds + 4, ds);
                ASSERT_TRUE(same_array(pa, pb, ctx + " horizontal"));
                ref.smooth_hor_uv(a.data() + ox, s1, b.data() + ox, s2, u.data() + 1, s1, v.data() + 3, s2,
                                  pa.data() + oy * ds + 2, ds);
                k.smooth_hor_uv(a.data() + ox, s1, b.data() + ox, s2, u.data() + 1, s1, v.data() + 3, s2,
                                pb.data() + oy * ds + 2, ds);
                ASSERT_TRUE(same_array(pa, pb, ctx + " horizontal UV"));
                // Vertical edge, each rounding mode, with write-back.
                for (int mode = 0; mode < 3; ++mode) {
                    a2 = a, b2 = b, u2 = u, v2 = v;
                    ref.smooth_ver(a.data() + ox, s1, b.data() + 1, s2, pa.data() + oy * ds + 4, ds, mode);
                    k.smooth_ver(a2.data() + ox, s1, b2.data() + 1, s2, pb.data() + oy * ds + 4, ds, mode);
                    ASSERT_TRUE(same_array(pa, pb, ctx + " vertical mode " + std::to_string(mode)));
                    ASSERT_TRUE(same_array(a, a2, ctx + " vertical write-back left"));
                    ASSERT_TRUE(same_array(b, b2, ctx + " vertical write-back right"));
                }
                a2 = a, b2 = b, u2 = u, v2 = v;
                ref.smooth_ver_uv(a.data() + ox, s1, b.data(), s2, u.data() + 2, s1, v.data() + 1, s2,
                                  pa.data() + oy * ds + 5, ds);
                k.smooth_ver_uv(a2.data() + ox, s1, b2.data(), s2, u2.data() + 2, s1, v2.data() + 1, s2,
                                pb.data() + oy * ds + 5, ds);
                ASSERT_TRUE(same_array(pa, pb, ctx + " vertical UV"));
                ASSERT_TRUE(same_array(a, a2, ctx + " UV write-back"));
                ASSERT_TRUE(same_array(b, b2, ctx + " UV write-back"));
                ASSERT_TRUE(same_array(u, u2, ctx + " UV write-back"));
                ASSERT_TRUE(same_array(v, v2, ctx + " UV write-back"));
            }
    }
}

// Hand-worked columns: the step edge 0 0 | 80 80, a flat area, 300 | -20
// (saturating in the picture), and 0 | 4 where the rounding of even (r0 = 4)
// and odd (r0 = 3) columns shows.
TEST(Vc1SmoothEntry, HandWorkedFilter) {
    Plane16 up(8, 2), lo(8, 2);
    const int upper[4] = {0, 77, 300, 0}, lower[4] = {80, 77, -20, 4};
    for (int x = 0; x < 8; ++x) {
        *up.at(x, 0) = *up.at(x, 1) = static_cast<Zep16s>(upper[x / 2]);
        *lo.at(x, 0) = *lo.at(x, 1) = static_cast<Zep16s>(lower[x / 2]);
    }
    Zep8u pic[4 * 8];
    ASSERT_EQ(zepiSmoothingChroma_HorEdge_VC1_16s8u_C1R(up.at(0, 0), up.step(), lo.at(0, 0), lo.step(), pic + 16, 8),
              zepStatusOk);
    const int expect[8][4] = {
        {10, 20, 60, 70},    // (80+4)>>3, (160+3)>>3, 80+((-160+4)>>3), 80+((-80+3)>>3)
        {10, 20, 60, 70},    // r0 = 3: (80+3)>>3, (160+4)>>3, 80+((-160+3)>>3), 80+((-80+4)>>3)
        {77, 77, 77, 77},    {77, 77, 77, 77},
        {255, 220, 60, 20},  // 300+((-320+4)>>3) = 260, 300+((-640+3)>>3), -20+((640+4)>>3), -20+((320+3)>>3)
        {255, 220, 60, 20},
        {1, 1, 3, 3},        // (4+4)>>3, (8+3)>>3, 4+((-8+4)>>3), 4+((-4+3)>>3)
        {0, 1, 3, 4},        // (4+3)>>3, (8+4)>>3, 4+((-8+3)>>3), 4+((-4+4)>>3)
    };
    for (int x = 0; x < 8; ++x)
        for (int i = 0; i < 4; ++i) EXPECT_EQ(pic[i * 8 + x], expect[x][i]) << "column " << x << " row " << i;

    // Vertical: the 16-bit write-back keeps 260.
    Plane16 l(2, 8), r(2, 8);
    for (int y = 0; y < 8; ++y) *l.at(0, y) = *l.at(1, y) = 300, *r.at(0, y) = *r.at(1, y) = -20;
    Zep8u vp[8 * 4];
    ASSERT_EQ(zepiSmoothingChroma_VerEdge_VC1_16s8u_C1R(l.at(0, 0), l.step(), r.at(0, 0), r.step(), vp + 2, 4),
              zepStatusOk);
    EXPECT_EQ(*l.at(0, 0), 260);
    EXPECT_EQ(*l.at(1, 0), 220);
    EXPECT_EQ(*r.at(0, 0), 60);
    EXPECT_EQ(*r.at(1, 0), 20);
    EXPECT_EQ(vp[0], 255);
    EXPECT_EQ(vp[1], 220);
    // Row 1 uses r0 = 3: y0 = 300 + ((-320+3)>>3) = 260, y3 = -20 + ((320+4)>>3) = 20.
    EXPECT_EQ(*l.at(0, 1), 260);
}

// A luma vertical edge: left and right 16-bit macroblocks (two columns each
// matter), a 16-line picture. Frame mode is the definition; a field-coded
// macroblock holds the even picture lines in rows 0-7 and the odd ones in
// rows 8-15, so filtering it in a field mode must give the frame result.
struct VerEdge {
    Plane16 l{4, 16}, r{4, 16};
    std::vector<Zep8u> pic = std::vector<Zep8u>(16 * 8, 0x33);
    ZepStatus run(int fieldMode, int flags) {
        return zepiSmoothingLuma_VerEdge_VC1_16s8u_C1R(l.at(2, 0), l.step(), r.at(0, 0), r.step(), pic.data() + 4, 8,
                                                       fieldMode, flags);
    }
};
void to_field(Plane16& p) {
    Plane16 f = p;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < p.w; ++x) *f.at(x, (y & 1) ? 8 + y / 2 : y / 2) = *p.at(x, y);
    p = f;
}

TEST(Vc1SmoothEntry, LumaVerticalFieldModesMatchFrameMode) {
    Rng rng(32);
    for (int it = 0; it < 20; ++it) {
        VerEdge frame;
        fill16(frame.l.v, rng, Pattern::Random, -60, 320);
        fill16(frame.r.v, rng, Pattern::Random, -60, 320);
        VerEdge want = frame;
        ASSERT_EQ(want.run(0, 15), zepStatusOk);
        // Mode 1 reads the right source in field order, mode 2 the left one,
        // mode 3 both.
        for (int mode = 1; mode <= 3; ++mode) {
            VerEdge g = frame, w = want;
            if (mode & 1) to_field(g.r), to_field(w.r);
            if (mode & 2) to_field(g.l), to_field(w.l);
            ASSERT_EQ(g.run(mode, 8), zepStatusOk);
            ASSERT_TRUE(same_array(w.pic, g.pic, "fieldMode " + std::to_string(mode)));
            ASSERT_TRUE(same_array(w.l.v, g.l.v, "left write-back, fieldMode " + std::to_string(mode)));
            ASSERT_TRUE(same_array(w.r.v, g.r.v, "right write-back, fieldMode " + std::to_string(mode)));
        }
    }
}

// Which halves the flags enable: frame mode by half, field modes all or
// nothing, unknown modes nothing.
TEST(Vc1SmoothEntry, LumaEdgeEnableFlags) {
    Rng rng(33);
    VerEdge base;
    fill16(base.l.v, rng, Pattern::Random, 0, 255);
    fill16(base.r.v, rng, Pattern::Random, 0, 255);
    VerEdge all = base;
    all.run(0, 15);
    auto rows_changed = [&](const VerEdge& e, int y0, int y1) {
        for (int y = 0; y < 16; ++y)
            for (int x = 0; x < 8; ++x) {
                const bool inside = y >= y0 && y < y1 && x >= 2 && x < 6;
                const Zep8u want = inside ? all.pic[y * 8 + x] : base.pic[y * 8 + x];
                if (e.pic[y * 8 + x] != want) return false;
            }
        return true;
    };
    const struct {
        int mode, flags, y0, y1;
    } cases[] = {{0, 1, 0, 8}, {0, 2, 0, 8}, {0, 4, 8, 16}, {0, 8, 8, 16}, {0, 3, 0, 8}, {0, 12, 8, 16},
                 {0, 16, 0, 0}, {0, 0, 0, 0}, {3, 0, 0, 0}, {4, 15, 0, 0}, {-1, 15, 0, 0}};
    for (const auto& c : cases) {
        VerEdge e = base;
        ASSERT_EQ(e.run(c.mode, c.flags), zepStatusOk);
        EXPECT_TRUE(rows_changed(e, c.y0, c.y1)) << "fieldMode " << c.mode << " flags " << c.flags;
    }
    // fieldMode 3 with flags 4 filters the whole edge.
    VerEdge f = base;
    to_field(f.l);
    to_field(f.r);
    ASSERT_EQ(f.run(3, 4), zepStatusOk);
    EXPECT_TRUE(rows_changed(f, 0, 16));

    // Horizontal luma edge: flags pick the left or right 8 columns.
    Plane16 up(16, 2), lo(16, 2);
    fill16(up.v, rng, Pattern::Random, 0, 255);
    fill16(lo.v, rng, Pattern::Random, 0, 255);
    std::vector<Zep8u> full(16 * 4, 0), part;
    zepiSmoothingLuma_HorEdge_VC1_16s8u_C1R(up.at(0, 0), up.step(), lo.at(0, 0), lo.step(), full.data() + 32, 16, 5);
    for (int flags : {1, 2, 4, 8, 0}) {
        part.assign(16 * 4, 0);
        zepiSmoothingLuma_HorEdge_VC1_16s8u_C1R(up.at(0, 0), up.step(), lo.at(0, 0), lo.step(), part.data() + 32, 16,
                                                flags);
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 16; ++x) {
                const bool on = x < 8 ? (flags & 3) : (flags & 12);
                ASSERT_EQ(part[y * 16 + x], on ? full[y * 16 + x] : 0) << "flags " << flags << " x " << x;
            }
    }
}

// The interleaved forms give the planar results in alternate bytes.
TEST(Vc1SmoothEntry, InterleavedChromaMatchesPlanar) {
    Rng rng(34);
    Plane16 uL(4, 8), uR(4, 8), vL(4, 8), vR(4, 8);
    for (Plane16* p : {&uL, &uR, &vL, &vR}) fill16(p->v, rng, Pattern::Random, -50, 300);
    Plane16 uL2 = uL, uR2 = uR, vL2 = vL, vR2 = vR;
    std::vector<Zep8u> pu(8 * 8, 1), pv(8 * 8, 2), puv(8 * 16, 3);
    ASSERT_EQ(zepiSmoothingChroma_VerEdge_VC1_16s8u_C1R(uL.at(2, 0), uL.step(), uR.at(0, 0), uR.step(), pu.data() + 4, 8),
              zepStatusOk);
    ASSERT_EQ(zepiSmoothingChroma_VerEdge_VC1_16s8u_C1R(vL.at(2, 0), vL.step(), vR.at(0, 0), vR.step(), pv.data() + 4, 8),
              zepStatusOk);
    ASSERT_EQ(zepiSmoothingChroma_VerEdge_VC1_16s8u_P2C2R(uL2.at(2, 0), uL2.step(), uR2.at(0, 0), uR2.step(),
                                                         vL2.at(2, 0), vL2.step(), vR2.at(0, 0), vR2.step(),
                                                         puv.data() + 8, 16),
              zepStatusOk);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            ASSERT_EQ(puv[y * 16 + 2 * x], (x >= 2 && x < 6) ? pu[y * 8 + x] : 3) << x << "," << y;
            ASSERT_EQ(puv[y * 16 + 2 * x + 1], (x >= 2 && x < 6) ? pv[y * 8 + x] : 3) << x << "," << y;
        }
    EXPECT_EQ(uL.v, uL2.v);
    EXPECT_EQ(vR.v, vR2.v);

    Plane16 up(8, 2), lo(8, 2), up2(8, 2), lo2(8, 2);
    for (Plane16* p : {&up, &lo, &up2, &lo2}) fill16(p->v, rng, Pattern::Random, -50, 300);
    std::vector<Zep8u> hu(4 * 8), hv(4 * 8), huv(4 * 16);
    zepiSmoothingChroma_HorEdge_VC1_16s8u_C1R(up.at(0, 0), 16, lo.at(0, 0), 16, hu.data() + 16, 8);
    zepiSmoothingChroma_HorEdge_VC1_16s8u_C1R(up2.at(0, 0), 16, lo2.at(0, 0), 16, hv.data() + 16, 8);
    zepiSmoothingChroma_HorEdge_VC1_16s8u_P2C2R(up.at(0, 0), 16, lo.at(0, 0), 16, up2.at(0, 0), 16, lo2.at(0, 0), 16,
                                                huv.data() + 32, 16);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 8; ++x) {
            ASSERT_EQ(huv[y * 16 + 2 * x], hu[y * 8 + x]);
            ASSERT_EQ(huv[y * 16 + 2 * x + 1], hv[y * 8 + x]);
        }
}

TEST(Vc1SmoothEntry, NullPointersWriteNothing) {
    Guarded<Zep16s> a(64), b(64);
    Guarded<Zep8u> d(64);
    Zep16s* p = a.data() + 2;
    Zep16s* q = b.data();
    Zep8u* o = d.data() + 32;
    EXPECT_EQ(zepiSmoothingLuma_HorEdge_VC1_16s8u_C1R(nullptr, 16, q, 16, o, 8, 15), zepStatusNullPtr);
    EXPECT_EQ(zepiSmoothingLuma_HorEdge_VC1_16s8u_C1R(p, 16, nullptr, 16, o, 8, 15), zepStatusNullPtr);
    EXPECT_EQ(zepiSmoothingLuma_HorEdge_VC1_16s8u_C1R(p, 16, q, 16, nullptr, 8, 15), zepStatusNullPtr);
    EXPECT_EQ(zepiSmoothingLuma_VerEdge_VC1_16s8u_C1R(nullptr, 16, q, 16, o, 8, 0, 15), zepStatusNullPtr);
    EXPECT_EQ(zepiSmoothingLuma_VerEdge_VC1_16s8u_C1R(p, 16, nullptr, 16, o, 8, 0, 15), zepStatusNullPtr);
    EXPECT_EQ(zepiSmoothingLuma_VerEdge_VC1_16s8u_C1R(p, 16, q, 16, nullptr, 8, 0, 0), zepStatusNullPtr);
    EXPECT_EQ(zepiSmoothingChroma_HorEdge_VC1_16s8u_C1R(p, 16, nullptr, 16, o, 8), zepStatusNullPtr);
    EXPECT_EQ(zepiSmoothingChroma_VerEdge_VC1_16s8u_C1R(p, 16, q, 16, nullptr, 8), zepStatusNullPtr);
    EXPECT_EQ(zepiSmoothingChroma_HorEdge_VC1_16s8u_P2C2R(p, 16, q, 16, p, 16, nullptr, 16, o, 8), zepStatusNullPtr);
    EXPECT_EQ(zepiSmoothingChroma_HorEdge_VC1_16s8u_P2C2R(p, 16, q, 16, p, 16, q, 16, nullptr, 8), zepStatusNullPtr);
    EXPECT_EQ(zepiSmoothingChroma_VerEdge_VC1_16s8u_P2C2R(nullptr, 16, q, 16, p, 16, q, 16, o, 8), zepStatusNullPtr);
    EXPECT_EQ(zepiSmoothingChroma_VerEdge_VC1_16s8u_P2C2R(p, 16, q, 16, nullptr, 16, q, 16, o, 8), zepStatusNullPtr);
    EXPECT_TRUE(a.untouched());
    EXPECT_TRUE(b.untouched());
    EXPECT_TRUE(d.untouched());
}

// ---- Range mapping ----

TEST(Vc1RangeMap, KernelsMatchReferenceAndHandValues) {
    const Vc1Dsp ref = zep::build_table(zep::vc1_init, Isa::Ref);
    // Every sample value at every factor through the reference.
    for (int map = 0; map < 8; ++map) {
        Zep8u in[256], out[256];
        for (int i = 0; i < 256; ++i) in[i] = static_cast<Zep8u>(i);
        ref.range_map(in, 256, out, 256, 256, 1, map + 9);
        for (int i = 0; i < 256; ++i) {
            const int want = (((i - 128) * (map + 9) + 4) >> 3) + 128;
            ASSERT_EQ(out[i], want < 0 ? 0 : (want > 255 ? 255 : want)) << "x " << i << " map " << map;
        }
    }
    for (Isa level : simd_levels()) {
        const Vc1Dsp k = zep::build_table(zep::vc1_init, level);
        Rng rng(35);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 30; ++it) {
                const int w = it < 20 ? rng.range(1, 40) : rng.range(41, 100), h = rng.range(1, 4);
                const int f = rng.range(9, 16);
                auto src = Picture<Zep8u>::random(rng, w, h, 1);
                src.fill(pat, rng, 0, 255);
                auto a = Picture<Zep8u>::random(rng, w, h, 1);
                auto b = vc1t::clone(a);
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

TEST(Vc1RangeMap, EntryValuesAndChecks) {
    Zep8u px[4] = {0, 255, 128, 129}, out[4];
    ASSERT_EQ(zepiRangeMapping_VC1_8u_C1R(px, 4, out, 4, ZepSize{4, 1}, 7), zepStatusOk);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(out[1], 255);
    EXPECT_EQ(out[2], 128);
    EXPECT_EQ(out[3], 130);
    Zep8u q[2] = {137, 119};
    ASSERT_EQ(zepiRangeMapping_VC1_8u_C1R(q, 2, q, 2, ZepSize{2, 1}, 0), zepStatusOk);
    EXPECT_EQ(q[0], 138);
    EXPECT_EQ(q[1], 118);

    Guarded<Zep8u> g(64);
    EXPECT_EQ(zepiRangeMapping_VC1_8u_C1R(nullptr, 8, g.data(), 8, ZepSize{8, 8}, 9), zepStatusNullPtr);
    EXPECT_EQ(zepiRangeMapping_VC1_8u_C1R(px, 8, nullptr, 8, ZepSize{8, 8}, 0), zepStatusNullPtr);
    EXPECT_EQ(zepiRangeMapping_VC1_8u_C1R(px, 8, g.data(), 8, ZepSize{0, 0}, 8), zepStatusOutOfRange);
    EXPECT_EQ(zepiRangeMapping_VC1_8u_C1R(px, 8, g.data(), 8, ZepSize{8, 8}, -1), zepStatusOutOfRange);
    EXPECT_EQ(zepiRangeMapping_VC1_8u_C1R(px, 8, g.data(), 8, ZepSize{0, 8}, 3), zepStatusOk);
    EXPECT_EQ(zepiRangeMapping_VC1_8u_C1R(px, 8, g.data(), 8, ZepSize{8, -1}, 3), zepStatusOk);
    EXPECT_TRUE(g.untouched());
}

}  // namespace
