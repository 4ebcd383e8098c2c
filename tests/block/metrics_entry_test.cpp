// Block distortion metrics through the exported entry points: check order,
// untouched outputs on failure, and hand-worked values that pin down the
// reference's rounding, layout and result order.
#include "block/metrics_dsp.h"
#include "harness/harness.h"
#include "harness/null_sweep.h"
#include "zepvc.h"

namespace {

using namespace zt;

// What an entry point writes through its last argument (through the one
// before mcType for result_mc); the call must succeed.
template <class F, class... A>
Zep32s result(F f, A... a) {
    Zep32s v = -1;
    EXPECT_EQ(f(a..., &v), zepStatusOk);
    return v;
}
template <class F, class T>
Zep32s result_mc(F f, const T* src, Zep32s srcStep, const T* ref, Zep32s refStep, Zep32s mcType) {
    Zep32s v = -1;
    EXPECT_EQ(f(src, srcStep, ref, refStep, &v, mcType), zepStatusOk);
    return v;
}

// Sweeps every function of a group (all of one signature) with the same
// arguments; a failure names the function by its place in the group.
template <class Fn, class... A>
void sweep_group(std::initializer_list<Fn> fns, A... args) {
    int i = 0;
    for (Fn f : fns) EXPECT_TRUE(null_sweep(f, args...)) << "function " << i++ << " of the group";
}

// Every pointer of every function: zepStatusNullPtr, nothing written, also
// when a later check (step, count, a no-op mcType) would fail or return too.
TEST(MetricsEntry, EveryNullPointerIsReportedFirstAndWritesNothing) {
    alignas(64) static const Zep8u a[64 * 40] = {}, b[64 * 40] = {};
    const auto* a16 = reinterpret_cast<const Zep16u*>(a);
    const auto* b16 = reinterpret_cast<const Zep16u*>(b);
    Guarded<Zep32s> s32(2);
    Guarded<Zep16u> u16(16);
    Guarded<Zep32u> u32(16);
    Guarded<Zep16s> s16(64);
    Zep32s* o = s32.data();
    sweep_group({zepiSAD16x16_8u32s, zepiSAD16x8_8u32s_C1R, zepiSAD8x8_8u32s_C1R, zepiSAD8x16_8u32s_C1R,
                 zepiSAD8x4_8u32s_C1R, zepiSAD4x8_8u32s_C1R, zepiSAD4x4_8u32s, zepiSSD8x8_8u32s_C1R,
                 zepiSSD4x4_8u32s_C1R},
                a, 64, b, 64, o, 0);
    sweep_group({zepiSAD16x16_16u32s_C1R, zepiSAD8x8_16u32s_C1R, zepiSAD4x4_16u32s_C1R}, a16, 64, b16, 64, o, 0);
    sweep_group({zepiSATD16x16_8u32s_C1R, zepiSATD16x8_8u32s_C1R, zepiSATD8x16_8u32s_C1R, zepiSATD8x8_8u32s_C1R,
                 zepiSATD8x4_8u32s_C1R, zepiSATD4x8_8u32s_C1R, zepiSATD4x4_8u32s_C1R, zepiSAT8x8D_8u32s_C1R},
                a, 64, b, 64, o);
    EXPECT_TRUE(null_sweep(zepiSAT8x8D_16u32s_C1R, a16, 64, b16, 64, o));
    EXPECT_TRUE(null_sweep(zepiSAD8x8_8u32s_C2R, a, 0, b, 64, o, o + 1, 0));  // bad step as well
    sweep_group({zepiSAD16x16Blocks8x8_8u16u, zepiSAD16x16Blocks4x4_8u16u}, a, 64, b, 64, u16.data(), 0);
    sweep_group({zepiSAD16x16Blocks8x8_16u32u_C1R, zepiSAD16x16Blocks4x4_16u32u_C1R}, a16, 64, b16, 64, u32.data(), 0);
    // Candidate runs with a count of 7, which is refused after the pointers.
    sweep_group({zepiSAD16x16xN_8u16u_C1R, zepiSAD8x8xN_8u16u_C1R, zepiSAD4x4xN_8u16u_C1R, zepiSAD2x2xN_8u16u_C1R}, a,
                64, b, 64, u16.data(), 7);
    sweep_group({zepiSAD16x16xNI_8u16u_C1R, zepiSAD8x8xNI_8u16u_C1R, zepiSAD4x4xNI_8u16u_C1R}, a, 64, b, 64,
                u16.data(), 7, o);
    EXPECT_TRUE(null_sweep(zepiSqrDiff16x16_8u32s, a, 64, b, 64, 1, o));  // mcType 1: a no-op that succeeds
    EXPECT_TRUE(null_sweep(zepiSqrDiff16x16B_8u32s, a, 64, b, 64, 4, b, 64, 8, o));
    EXPECT_TRUE(null_sweep_except({6}, zepiSubSAD8x8_8u16s_C1R, a, 64, b, 64, s16.data(), 16, o));  // pSAD optional
    EXPECT_TRUE(null_sweep(zepiFrameFieldSAD16x16_8u32s_C1R, a, 64, o, o + 1));
    EXPECT_TRUE(null_sweep(zepiFrameFieldSAD16x16_16s32s_C1R, reinterpret_cast<const Zep16s*>(a), 64, o, o + 1));
    EXPECT_TRUE(s32.untouched() && u16.untouched() && u32.untouched() && s16.untouched());
}

TEST(MetricsEntry, InterleavedSadRejectsStepsBelowOne) {
    alignas(64) static const Zep8u pic[64 * 10] = {};
    for (auto [srcStep, refStep] : std::initializer_list<std::pair<Zep32s, Zep32s>>{{0, 64}, {64, 0}, {-64, 64},
                                                                                     {64, -1}, {1, 1}}) {
        const bool ok = srcStep > 0 && refStep > 0;
        Guarded<Zep32s> out(2);
        EXPECT_EQ(zepiSAD8x8_8u32s_C2R(pic, srcStep, pic, refStep, out.data(), out.data() + 1, 12),
                  ok ? zepStatusOk : zepStatusBadStep)
            << srcStep << " " << refStep;
        EXPECT_EQ(out.untouched(), !ok);
    }
}

// Counts: below 8 refused after the pointer checks; otherwise rounded down to
// a multiple of 8, and nothing written past it.
TEST(MetricsEntry, CandidateCountsRoundDownToEight) {
    alignas(64) static const Zep8u pic[64 * 40] = {};
    for (auto f : {zepiSAD16x16xN_8u16u_C1R, zepiSAD8x8xN_8u16u_C1R, zepiSAD4x4xN_8u16u_C1R, zepiSAD2x2xN_8u16u_C1R})
        for (Zep32s count : {-8, 0, 7, 8, 13, 16, 23}) {
            std::vector<Zep16u> out(40, 0xBEEF);
            const int written = count < 8 ? 0 : count & ~7;
            EXPECT_EQ(f(pic, 64, pic, 64, out.data() + 8, count), count < 8 ? zepStatusBadSize : zepStatusOk) << count;
            for (int i = 0; i < 40; ++i)
                EXPECT_EQ(out[i] != 0xBEEF, i >= 8 && i < 8 + written) << "count " << count << ", element " << i - 8;
        }
    Zep16u sad[8];
    Zep32s pMin = -7;
    EXPECT_EQ(zepiSAD8x8xNI_8u16u_C1R(pic, 64, pic, 64, sad, 7, &pMin), zepStatusBadSize);
    EXPECT_EQ(pMin, -7);
}

// pMin: the first of equal minima, and the comparison is unsigned (a signed
// one would prefer SADs of 32768 and more). Every level, both kernel forms.
TEST(MetricsEntry, IndexOfSmallestSadIsFirstAndUnsigned) {
    // 4x4 against a zero source: the SAD of candidate k is 4 x the sum of
    // row samples k..k+3. Zeros at 3..6 and 11..14 tie candidates 3 and 11.
    alignas(16) Zep8u src4[4 * 16] = {}, ref4[4 * 32];
    for (int i = 0; i < 4 * 32; ++i) ref4[i] = ((i % 32 >= 3 && i % 32 <= 6) || (i % 32 >= 11 && i % 32 <= 14)) ? 0 : 9;
    // 16x16 against a source of 255: only candidate 5 meets a block of 255
    // (SAD 0); every other one stays above 32767.
    alignas(16) Zep8u src16[16 * 16], ref16[16 * 48] = {};
    std::fill(std::begin(src16), std::end(src16), 255);
    for (int y = 0; y < 16; ++y) std::fill(ref16 + y * 48 + 5, ref16 + y * 48 + 21, 255);
    for (Isa level : all_levels()) {
        const zep::MetricsDsp t = zep::build_table(zep::metrics_init, level);
        for (int aligned = 0; aligned < 2; ++aligned) {
            alignas(16) Zep16u sad[24];
            Zep32s pMin = -1;
            (aligned ? t.runmin4x4.aligned[0] : t.runmin4x4.general)(src4, 16, ref4, 32, sad, 16, &pMin);
            EXPECT_EQ(pMin, 3) << zep::isa_name(level);
            EXPECT_EQ(sad[3] + sad[11], 0);
            (aligned ? t.runmin16x16.aligned[0] : t.runmin16x16.general)(src16, 16, ref16, 48, sad, 24, &pMin);
            EXPECT_EQ(pMin, 5) << zep::isa_name(level);
            EXPECT_EQ(sad[0], 5 * 16 * 255);
        }
    }
}

// Half-sample rounding on a picture whose rows alternate 1,2,1,2... and
// 2,2,2...: every four-neighbour group is {1,2,2,2} -> (7+2)>>2 = 2 and every
// vertical pair rounds up to 2. A zero source makes the SAD the sum of the
// predicted samples. Low bits of mcType are ignored (-4 has bits 2 and 3 set).
TEST(MetricsEntry, HalfSampleRoundingOnKnownPicture) {
    std::vector<Zep8u> refp(17 * 17), src(16 * 16, 0);
    std::vector<Zep16u> ref16(17 * 17), src16(16 * 16, 0);
    for (int i = 0; i < 17 * 17; ++i) refp[i] = ref16[i] = ((i / 17) & 1) ? 2 : ((i % 17) & 1) + 1;
    for (Zep32s mc : {0, 4, 5, 8, 12, 15, -4}) {
        const Zep32s expect = mc == 0 ? 8 * 16 * 2 + 8 * 8 * 1 + 8 * 8 * 2 : 256 * 2;
        EXPECT_EQ(result_mc(zepiSAD16x16_8u32s, src.data(), 16, refp.data(), 17, mc), expect) << mc;
        EXPECT_EQ(result_mc(zepiSAD16x16_16u32s_C1R, src16.data(), 32, ref16.data(), 34, mc), expect) << "16u " << mc;
        // The integer-only sizes ignore mcType.
        EXPECT_EQ(result_mc(zepiSAD8x4_8u32s_C1R, src.data(), 16, refp.data(), 17, mc), 2 * (4 + 4 * 2) + 2 * 8 * 2);
    }
    // Rows of 0 and 1: four-neighbour sums of 2 tell + 2 from + 1 ((2+2)>>2 = 1),
    // on every level's kernel, the reference's included.
    for (int i = 0; i < 17 * 17; ++i) refp[i] = (i / 17) & 1;
    for (Isa level : all_levels()) {
        Zep32s sad = -1;
        zep::build_table(zep::metrics_init, level).sad16x16[3](src.data(), 16, refp.data(), 17, &sad);
        EXPECT_EQ(sad, 256) << zep::isa_name(level);
    }
}

// Channel 0 alternates 0,2,0,2 along its own samples, channel 1 is 100: the
// right-hand average must stay within channel 0 ((0+2+1)>>1 = 1).
TEST(MetricsEntry, InterleavedSadAveragesWithinEachChannel) {
    Zep8u src[16 * 8] = {}, refp[18 * 9];
    for (int i = 0; i < 18 * 9; ++i) refp[i] = ((i % 18) & 1) ? 100 : (((i % 18) >> 1) & 1) * 2;
    Zep32s s0 = -1, s1 = -1;
    ASSERT_EQ(zepiSAD8x8_8u32s_C2R(src, 16, refp, 18, &s0, &s1, 8), zepStatusOk);
    EXPECT_EQ(s0, 64);
    EXPECT_EQ(s1, 6400);
    ASSERT_EQ(zepiSAD8x8_8u32s_C2R(src, 16, refp, 18, &s0, &s1, 0), zepStatusOk);
    EXPECT_EQ(s0, 64);  // half the samples are 2
}

// Sub-block results come in raster order of the sub-blocks: each 4x4 block of
// the 8-bit reference holds its raster number + 1, each 8x8 block of the
// 16-bit one 1000 x (its number + 1).
TEST(MetricsEntry, SubBlockSadsInRasterOrder) {
    Zep8u src[256] = {}, refp[256];
    Zep16u src16[256] = {}, ref16[256];
    for (int i = 0; i < 256; ++i) {
        const int x = i % 16, y = i / 16;
        refp[i] = static_cast<Zep8u>((y / 4) * 4 + x / 4 + 1);
        ref16[i] = static_cast<Zep16u>(1000 * ((y / 8) * 2 + x / 8 + 1));
    }
    Zep16u b4[16], b8[4];
    Zep32u c8[4], c4[16];
    ASSERT_EQ(zepiSAD16x16Blocks4x4_8u16u(src, 16, refp, 16, b4, 0), zepStatusOk);
    ASSERT_EQ(zepiSAD16x16Blocks8x8_8u16u(src, 16, refp, 16, b8, 0), zepStatusOk);
    ASSERT_EQ(zepiSAD16x16Blocks8x8_16u32u_C1R(src16, 32, ref16, 32, c8, 0), zepStatusOk);
    ASSERT_EQ(zepiSAD16x16Blocks4x4_16u32u_C1R(src16, 32, ref16, 32, c4, 0), zepStatusOk);
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(b4[i], 16 * (i + 1)) << i;
        EXPECT_EQ(c4[i], 16u * 1000 * ((i / 8) * 2 + (i % 4) / 2 + 1)) << i;
    }
    // Quadrant i holds the 4x4 numbers n, n+1, n+4, n+5 with n = 8 (i / 2) + 2 (i % 2).
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(b8[i], 16 * (4 * (8 * (i / 2) + 2 * (i % 2) + 1) + 10)) << i;
        EXPECT_EQ(c8[i], 64u * 1000 * (i + 1)) << i;
    }
}

// Hadamard sums: a constant difference has only a DC coefficient (16 on 4x4,
// 64 on 8x8); a single difference v spreads |v| over every coefficient; the
// small blocks below were worked out by matrix products H D H^T.
TEST(MetricsEntry, HadamardSumsOfKnownDifferences) {
    Zep8u zero[16 * 16] = {}, one[16 * 16], imp[16 * 16] = {};
    const Zep8u hw[16] = {1, 2, 3, 4, 0, 0, 0, 0, 5, 0, 0, 7, 0, 9, 0, 0};
    std::fill(std::begin(one), std::end(one), 1);
    imp[0] = 3;
    using Satd = ZepStatus (*)(const Zep8u*, Zep32s, const Zep8u*, Zep32s, Zep32s*);
    // Function and its count of 4x4 blocks (0: one 8x8 transform).
    const std::pair<Satd, int> sizes[] = {
        {zepiSATD16x16_8u32s_C1R, 16}, {zepiSATD16x8_8u32s_C1R, 8}, {zepiSATD8x16_8u32s_C1R, 8},
        {zepiSATD8x8_8u32s_C1R, 4},    {zepiSATD8x4_8u32s_C1R, 2},  {zepiSATD4x8_8u32s_C1R, 2},
        {zepiSATD4x4_8u32s_C1R, 1},    {zepiSAT8x8D_8u32s_C1R, 0}};
    for (auto [fn, blocks] : sizes) {
        EXPECT_EQ(result(fn, one, 16, zero, 16), blocks ? 16 * blocks : 64) << blocks;
        EXPECT_EQ(result(fn, zero, 16, imp, 16), (blocks ? 16 : 64) * 3) << blocks;
    }
    EXPECT_EQ(result(zepiSATD4x4_8u32s_C1R, hw, 4, zero, 4), 182);
    // The same block in an 8x8 one, with 11 at (5,2) and -6 at (7,7).
    Zep8u s8[64] = {}, r8[64] = {};
    for (int i = 0; i < 16; ++i) s8[(i / 4) * 8 + i % 4] = hw[i];
    s8[5 * 8 + 2] = 11;
    r8[7 * 8 + 7] = 6;
    EXPECT_EQ(result(zepiSAT8x8D_8u32s_C1R, s8, 8, r8, 8), 964);
    // 16-bit: a difference of 65535 everywhere gives a DC of 64 x 65535.
    std::vector<Zep16u> big(64, 65535), nil(64, 0);
    EXPECT_EQ(result(zepiSAT8x8D_16u32s_C1R, big.data(), 16, nil.data(), 16), 64 * 65535);
}

TEST(MetricsEntry, SquaredDifferences) {
    Zep8u src[17 * 17] = {}, f[17 * 17], b[17 * 17];
    std::fill(std::begin(f), std::end(f), 10);
    std::fill(std::begin(b), std::end(b), 13);
    Zep32s v = -77;
    for (Zep32s mc : {1, 2, 3, 6, 16, -4}) {  // other codes succeed without writing
        ASSERT_EQ(zepiSqrDiff16x16_8u32s(src, 17, f, 17, mc, &v), zepStatusOk) << mc;
        EXPECT_EQ(v, -77) << mc;
    }
    EXPECT_EQ(result(zepiSqrDiff16x16_8u32s, src, 17, f, 17, 12), 256 * 100);
    EXPECT_EQ(result_mc(zepiSSD8x8_8u32s_C1R, src, 17, f, 17, 4), 64 * 100);
    EXPECT_EQ(result_mc(zepiSSD4x4_8u32s_C1R, src, 17, b, 17, 0), 16 * 169);
    // (10 + 13 + 1) >> 1 = 12, whatever the modes on flat pictures.
    EXPECT_EQ(result(zepiSqrDiff16x16B_8u32s, src, 17, f, 17, 0, b, 17, 12), 256 * 144);
    // Forward rounding: rows 10, 11 averaged down the column give 11 (not 10).
    for (int i = 0; i < 17 * 17; ++i) f[i] = ((i / 17) & 1) ? 11 : 10;
    EXPECT_EQ(result(zepiSqrDiff16x16B_8u32s, src, 17, f, 17, 4, f, 17, 4), 256 * 121);
}

TEST(MetricsEntry, SubSadWritesDifferenceAndSad) {
    Zep8u src[64], refp[64];
    Zep32s expect = 0, sad = -1;
    for (int i = 0; i < 64; ++i) {
        src[i] = static_cast<Zep8u>(i * 4);
        refp[i] = static_cast<Zep8u>(255 - i);
        expect += std::abs(src[i] - refp[i]);
    }
    Guarded<Zep16s> dst(8 * 12);  // 24-byte step: 4 untouched samples after each row
    ASSERT_EQ(zepiSubSAD8x8_8u16s_C1R(src, 8, refp, 8, dst.data(), 24, &sad), zepStatusOk);
    EXPECT_EQ(sad, expect);
    for (int i = 0; i < 8 * 12; ++i) {
        const int x = i % 12, s = (i / 12) * 8 + x;
        EXPECT_EQ(dst.data()[i], x < 8 ? src[s] - refp[s] : static_cast<Zep16s>(0xCDCD)) << i;
    }
    // Without a SAD pointer the difference is still written.
    Guarded<Zep16s> d2(64);
    ASSERT_EQ(zepiSubSAD8x8_8u16s_C1R(src, 8, refp, 8, d2.data(), 16, nullptr), zepStatusOk);
    EXPECT_EQ(d2.data()[63], src[63] - refp[63]);
}

// Rows alternate between two values: frame pairs differ, same-field pairs do
// not; the last row (15) differs from row 14 and is counted once in the frame
// measure and never against row 17.
TEST(MetricsEntry, FrameAndFieldActivity) {
    Zep8u p8[16 * 16];
    Zep16s p16[16 * 16];
    for (int i = 0; i < 256; ++i) {
        p8[i] = ((i / 16) & 1) ? 30 : 20;
        p16[i] = static_cast<Zep16s>(((i / 16) & 1) ? 32767 : -32768);
    }
    p8[15 * 16] = 0;  // row 15 meets row 14 (frame) and row 13 (field) only
    Zep32s fr = -1, fi = -1;
    ASSERT_EQ(zepiFrameFieldSAD16x16_8u32s_C1R(p8, 16, &fr, &fi), zepStatusOk);
    EXPECT_EQ(fr, 15 * 16 * 10 + 10);
    EXPECT_EQ(fi, 30);
    ASSERT_EQ(zepiFrameFieldSAD16x16_16s32s_C1R(p16, 32, &fr, &fi), zepStatusOk);
    EXPECT_EQ(fr, 15 * 16 * 65535);
    EXPECT_EQ(fi, 0);
}

}  // namespace
