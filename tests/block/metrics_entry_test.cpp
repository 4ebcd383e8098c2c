// Block distortion metrics through the exported entry points: check order,
// untouched outputs on failure, and hand-worked values that pin down rounding,
// layout and result order.
#include "block/metrics_dsp.h"
#include "harness/harness.h"
#include "zepvc.h"

namespace {

using namespace zt;

// Inputs large enough for any function here (16x16 plus borders, 16-bit rows).
struct Inputs {
    alignas(64) Zep8u a[64 * 40] = {};
    alignas(64) Zep8u b[64 * 40] = {};
    const Zep8u* src() const { return a; }
    const Zep8u* ref() const { return b; }
    const Zep16u* src16() const { return reinterpret_cast<const Zep16u*>(a); }
    const Zep16u* ref16() const { return reinterpret_cast<const Zep16u*>(b); }
};

// Returns p, or null when this is pointer number `nullAt`.
template <class T>
T* nth(T* p, int index, int nullAt) {
    return index == nullAt ? nullptr : p;
}

// Guard-filled outputs of every shape the family writes.
struct Outputs {
    Guarded<Zep32s> s32{2};
    Guarded<Zep16u> u16{16};
    Guarded<Zep32u> u32{16};
    Guarded<Zep16s> s16{64};
    bool untouched() const { return s32.untouched() && u16.untouched() && u32.untouched() && s16.untouched(); }
};

// One call per argument shape; pointer number `n` is passed as null.
using NullCall = ZepStatus (*)(const Inputs&, Outputs&, int n);

template <auto Fn>
ZepStatus sad8(const Inputs& in, Outputs& o, int n) {
    return Fn(nth(in.src(), 0, n), 64, nth(in.ref(), 1, n), 64, nth(o.s32.data(), 2, n), 0);
}
template <auto Fn>
ZepStatus sad16(const Inputs& in, Outputs& o, int n) {
    return Fn(nth(in.src16(), 0, n), 64, nth(in.ref16(), 1, n), 64, nth(o.s32.data(), 2, n), 0);
}
template <auto Fn>
ZepStatus satd8(const Inputs& in, Outputs& o, int n) {
    return Fn(nth(in.src(), 0, n), 64, nth(in.ref(), 1, n), 64, nth(o.s32.data(), 2, n));
}
template <auto Fn>
ZepStatus blocks8(const Inputs& in, Outputs& o, int n) {
    return Fn(nth(in.src(), 0, n), 64, nth(in.ref(), 1, n), 64, nth(o.u16.data(), 2, n), 0);
}
template <auto Fn>
ZepStatus blocks16(const Inputs& in, Outputs& o, int n) {
    return Fn(nth(in.src16(), 0, n), 64, nth(in.ref16(), 1, n), 64, nth(o.u32.data(), 2, n), 0);
}
// Candidate runs with a count of 7: the null check must still come first.
template <auto Fn>
ZepStatus run(const Inputs& in, Outputs& o, int n) {
    return Fn(nth(in.src(), 0, n), 64, nth(in.ref(), 1, n), 64, nth(o.u16.data(), 2, n), 7);
}
template <auto Fn>
ZepStatus run_min(const Inputs& in, Outputs& o, int n) {
    return Fn(nth(in.src(), 0, n), 64, nth(in.ref(), 1, n), 64, nth(o.u16.data(), 2, n), 7, nth(o.s32.data(), 3, n));
}
ZepStatus sat16(const Inputs& in, Outputs& o, int n) {
    return zepiSAT8x8D_16u32s_C1R(nth(in.src16(), 0, n), 64, nth(in.ref16(), 1, n), 64, nth(o.s32.data(), 2, n));
}
// A bad step too: the null check comes first.
ZepStatus c2(const Inputs& in, Outputs& o, int n) {
    return zepiSAD8x8_8u32s_C2R(nth(in.src(), 0, n), 0, nth(in.ref(), 1, n), 64, nth(o.s32.data(), 2, n),
                                nth(o.s32.data() + 1, 3, n), 0);
}
ZepStatus sqr(const Inputs& in, Outputs& o, int n) {
    return zepiSqrDiff16x16_8u32s(nth(in.src(), 0, n), 64, nth(in.ref(), 1, n), 64, 0, nth(o.s32.data(), 2, n));
}
ZepStatus sqr_bi(const Inputs& in, Outputs& o, int n) {
    return zepiSqrDiff16x16B_8u32s(nth(in.src(), 0, n), 64, nth(in.ref(), 1, n), 64, 4, nth(in.ref(), 2, n), 64, 8,
                                   nth(o.s32.data(), 3, n));
}
ZepStatus sub_sad(const Inputs& in, Outputs& o, int n) {
    return zepiSubSAD8x8_8u16s_C1R(nth(in.src(), 0, n), 64, nth(in.ref(), 1, n), 64, nth(o.s16.data(), 2, n), 16,
                                   o.s32.data());
}
ZepStatus frame_field8(const Inputs& in, Outputs& o, int n) {
    return zepiFrameFieldSAD16x16_8u32s_C1R(nth(in.src(), 0, n), 64, nth(o.s32.data(), 1, n),
                                            nth(o.s32.data() + 1, 2, n));
}
ZepStatus frame_field16(const Inputs& in, Outputs& o, int n) {
    return zepiFrameFieldSAD16x16_16s32s_C1R(reinterpret_cast<const Zep16s*>(nth(in.src(), 0, n)), 64,
                                             nth(o.s32.data(), 1, n), nth(o.s32.data() + 1, 2, n));
}

const struct {
    const char* name;
    int pointers;
    NullCall call;
} kNullCases[] = {
    {"SAD16x16_8u32s", 3, sad8<zepiSAD16x16_8u32s>},
    {"SAD16x8_8u32s_C1R", 3, sad8<zepiSAD16x8_8u32s_C1R>},
    {"SAD8x8_8u32s_C1R", 3, sad8<zepiSAD8x8_8u32s_C1R>},
    {"SAD8x16_8u32s_C1R", 3, sad8<zepiSAD8x16_8u32s_C1R>},
    {"SAD8x4_8u32s_C1R", 3, sad8<zepiSAD8x4_8u32s_C1R>},
    {"SAD4x8_8u32s_C1R", 3, sad8<zepiSAD4x8_8u32s_C1R>},
    {"SAD4x4_8u32s", 3, sad8<zepiSAD4x4_8u32s>},
    {"SSD8x8_8u32s_C1R", 3, sad8<zepiSSD8x8_8u32s_C1R>},
    {"SSD4x4_8u32s_C1R", 3, sad8<zepiSSD4x4_8u32s_C1R>},
    {"SAD16x16_16u32s_C1R", 3, sad16<zepiSAD16x16_16u32s_C1R>},
    {"SAD8x8_16u32s_C1R", 3, sad16<zepiSAD8x8_16u32s_C1R>},
    {"SAD4x4_16u32s_C1R", 3, sad16<zepiSAD4x4_16u32s_C1R>},
    {"SATD16x16_8u32s_C1R", 3, satd8<zepiSATD16x16_8u32s_C1R>},
    {"SATD16x8_8u32s_C1R", 3, satd8<zepiSATD16x8_8u32s_C1R>},
    {"SATD8x16_8u32s_C1R", 3, satd8<zepiSATD8x16_8u32s_C1R>},
    {"SATD8x8_8u32s_C1R", 3, satd8<zepiSATD8x8_8u32s_C1R>},
    {"SATD8x4_8u32s_C1R", 3, satd8<zepiSATD8x4_8u32s_C1R>},
    {"SATD4x8_8u32s_C1R", 3, satd8<zepiSATD4x8_8u32s_C1R>},
    {"SATD4x4_8u32s_C1R", 3, satd8<zepiSATD4x4_8u32s_C1R>},
    {"SAT8x8D_8u32s_C1R", 3, satd8<zepiSAT8x8D_8u32s_C1R>},
    {"SAT8x8D_16u32s_C1R", 3, sat16},
    {"SAD8x8_8u32s_C2R", 4, c2},
    {"SAD16x16Blocks8x8_8u16u", 3, blocks8<zepiSAD16x16Blocks8x8_8u16u>},
    {"SAD16x16Blocks4x4_8u16u", 3, blocks8<zepiSAD16x16Blocks4x4_8u16u>},
    {"SAD16x16Blocks8x8_16u32u_C1R", 3, blocks16<zepiSAD16x16Blocks8x8_16u32u_C1R>},
    {"SAD16x16Blocks4x4_16u32u_C1R", 3, blocks16<zepiSAD16x16Blocks4x4_16u32u_C1R>},
    {"SAD16x16xN_8u16u_C1R", 3, run<zepiSAD16x16xN_8u16u_C1R>},
    {"SAD8x8xN_8u16u_C1R", 3, run<zepiSAD8x8xN_8u16u_C1R>},
    {"SAD4x4xN_8u16u_C1R", 3, run<zepiSAD4x4xN_8u16u_C1R>},
    {"SAD2x2xN_8u16u_C1R", 3, run<zepiSAD2x2xN_8u16u_C1R>},
    {"SAD16x16xNI_8u16u_C1R", 4, run_min<zepiSAD16x16xNI_8u16u_C1R>},
    {"SAD8x8xNI_8u16u_C1R", 4, run_min<zepiSAD8x8xNI_8u16u_C1R>},
    {"SAD4x4xNI_8u16u_C1R", 4, run_min<zepiSAD4x4xNI_8u16u_C1R>},
    {"SqrDiff16x16_8u32s", 3, sqr},
    {"SqrDiff16x16B_8u32s", 4, sqr_bi},
    {"SubSAD8x8_8u16s_C1R", 3, sub_sad},
    {"FrameFieldSAD16x16_8u32s_C1R", 3, frame_field8},
    {"FrameFieldSAD16x16_16s32s_C1R", 3, frame_field16},
};

// Every pointer position of every function: zepStatusNullPtr, nothing
// written, also when a later check (step, count) would fail as well.
TEST(MetricsEntry, EveryNullPointerIsReportedFirstAndWritesNothing) {
    static const Inputs in;
    for (const auto& c : kNullCases)
        for (int n = 0; n < c.pointers; ++n) {
            Outputs o;
            EXPECT_EQ(c.call(in, o, n), zepStatusNullPtr) << c.name << ", pointer " << n;
            EXPECT_TRUE(o.untouched()) << c.name << ", pointer " << n;
        }
}

TEST(MetricsEntry, InterleavedSadRejectsStepsBelowOne) {
    static const Inputs in;
    const struct {
        Zep32s srcStep, refStep;
        ZepStatus expect;
    } cases[] = {{0, 64, zepStatusBadStep},
                 {64, 0, zepStatusBadStep},
                 {-64, 64, zepStatusBadStep},
                 {64, -1, zepStatusBadStep},
                 {1, 1, zepStatusOk}};
    for (const auto& c : cases) {
        Guarded<Zep32s> out(2);
        EXPECT_EQ(zepiSAD8x8_8u32s_C2R(in.src(), c.srcStep, in.ref(), c.refStep, out.data(), out.data() + 1, 12),
                  c.expect)
            << c.srcStep << " " << c.refStep;
        EXPECT_EQ(out.untouched(), c.expect != zepStatusOk);
    }
}

// Counts: below 8 refused after the pointer checks; otherwise rounded down to
// a multiple of 8, and nothing written past it.
TEST(MetricsEntry, CandidateCountsRoundDownToEight) {
    using RunEntry = ZepStatus (*)(const Zep8u*, Zep32s, const Zep8u*, Zep32s, Zep16u*, Zep32s);
    const RunEntry runs[] = {zepiSAD16x16xN_8u16u_C1R, zepiSAD8x8xN_8u16u_C1R, zepiSAD4x4xN_8u16u_C1R,
                             zepiSAD2x2xN_8u16u_C1R};
    static const Inputs in;
    for (RunEntry f : runs)
        for (Zep32s count : {-8, 0, 7, 8, 13, 16, 23}) {
            std::vector<Zep16u> out(40, 0xBEEF);
            const ZepStatus st = f(in.src(), 64, in.ref(), 64, out.data() + 8, count);
            const int written = count < 8 ? 0 : count & ~7;
            EXPECT_EQ(st, count < 8 ? zepStatusBadSize : zepStatusOk) << count;
            for (int i = 0; i < 40; ++i) {
                const bool inside = i >= 8 && i < 8 + written;
                EXPECT_EQ(out[i] != 0xBEEF, inside) << "count " << count << ", element " << i - 8;
            }
        }
    Zep16u sad[8];
    Zep32s pMin = -7;
    EXPECT_EQ(zepiSAD8x8xNI_8u16u_C1R(in.src(), 64, in.ref(), 64, sad, 7, &pMin), zepStatusBadSize);
    EXPECT_EQ(pMin, -7);
}

// pMin: the first of equal minima, and the comparison is unsigned (a signed
// one would prefer SADs of 32768 and more).
TEST(MetricsEntry, IndexOfSmallestSadIsFirstAndUnsigned) {
    // 4x4 against a zero source: the SAD of candidate k is 4 x the sum of
    // row samples k..k+3. Zeros at 3..6 and 11..14 tie candidates 3 and 11.
    alignas(16) Zep8u src4[4 * 16] = {}, ref4[4 * 32];
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 32; ++x) ref4[y * 32 + x] = ((x >= 3 && x <= 6) || (x >= 11 && x <= 14)) ? 0 : 9;
    // 16x16 against a source of 255: only candidate 5 meets a block of 255
    // (SAD 0); every other one stays above 32767.
    alignas(16) Zep8u src16[16 * 16], ref16[16 * 48] = {};
    std::fill(std::begin(src16), std::end(src16), 255);
    for (int y = 0; y < 16; ++y)
        for (int x = 5; x < 21; ++x) ref16[y * 48 + x] = 255;
    for (Isa level : all_levels()) {
        const zep::MetricsDsp t = zep::build_table(zep::metrics_init, level);
        for (int aligned = 0; aligned < 2; ++aligned) {
            alignas(16) Zep16u sad[24];
            Zep32s pMin = -1;
            auto& r4 = aligned ? t.runmin4x4.aligned[0] : t.runmin4x4.general;
            r4(src4, 16, ref4, 32, sad, 16, &pMin);
            EXPECT_EQ(pMin, 3) << zep::isa_name(level);
            EXPECT_EQ(sad[3], 0);
            EXPECT_EQ(sad[11], 0);
            auto& r16 = aligned ? t.runmin16x16.aligned[0] : t.runmin16x16.general;
            r16(src16, 16, ref16, 48, sad, 24, &pMin);
            EXPECT_EQ(pMin, 5) << zep::isa_name(level);
            EXPECT_EQ(sad[0], 5 * 16 * 255);
        }
    }
    Zep16u sad[16];
    Zep32s pMin = -1;
    ASSERT_EQ(zepiSAD4x4xNI_8u16u_C1R(src4, 16, ref4, 32, sad, 16, &pMin), zepStatusOk);
    EXPECT_EQ(pMin, 3);
}

// Half-sample rounding on a picture whose rows alternate 1,2,1,2... and
// 2,2,2...: every four-neighbour group is {1,2,2,2} -> (7+2)>>2 = 2 and every
// vertical pair rounds up to 2. A zero source makes the SAD the sum of the
// predicted samples. Low bits of mcType are ignored.
TEST(MetricsEntry, HalfSampleRoundingOnKnownPicture) {
    std::vector<Zep8u> refp(17 * 17), src(16 * 16, 0);
    std::vector<Zep16u> ref16(17 * 17), src16(16 * 16, 0);
    for (int y = 0; y < 17; ++y)
        for (int x = 0; x < 17; ++x) refp[y * 17 + x] = ref16[y * 17 + x] = (y & 1) ? 2 : ((x & 1) ? 2 : 1);
    const struct {
        Zep32s mcType;
        Zep32s sad;
    } cases[] = {
        {0, 8 * 16 * 2 + 8 * 8 * 1 + 8 * 8 * 2},
        {4, 256 * 2},
        {5, 256 * 2},
        {8, 256 * 2},
        {12, 256 * 2},
        {15, 256 * 2},
        {-4, 256 * 2},  // -4: bits 2 and 3 set
    };
    for (const auto& c : cases) {
        Zep32s sad = -1, sad16 = -1;
        ASSERT_EQ(zepiSAD16x16_8u32s(src.data(), 16, refp.data(), 17, &sad, c.mcType), zepStatusOk);
        EXPECT_EQ(sad, c.sad) << "mcType " << c.mcType;
        ASSERT_EQ(zepiSAD16x16_16u32s_C1R(src16.data(), 32, ref16.data(), 34, &sad16, c.mcType), zepStatusOk);
        EXPECT_EQ(sad16, c.sad) << "16u, mcType " << c.mcType;
    }
    // The integer-only sizes ignore mcType.
    for (Zep32s mc : {0, 4, 8, 12, 99}) {
        Zep32s sad = -1;
        ASSERT_EQ(zepiSAD8x4_8u32s_C1R(src.data(), 16, refp.data(), 17, &sad, mc), zepStatusOk);
        EXPECT_EQ(sad, 2 * (4 * 1 + 4 * 2) + 2 * 8 * 2) << mc;
    }
}

// Channel 0 alternates 0,2,0,2 along its own samples, channel 1 is 100: the
// right-hand average must stay within channel 0 ((0+2+1)>>1 = 1).
TEST(MetricsEntry, InterleavedSadAveragesWithinEachChannel) {
    Zep8u src[16 * 8] = {}, refp[18 * 9];
    for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 18; ++x) refp[y * 18 + x] = (x & 1) ? 100 : ((x >> 1) & 1) * 2;
    Zep32s s0 = -1, s1 = -1;
    ASSERT_EQ(zepiSAD8x8_8u32s_C2R(src, 16, refp, 18, &s0, &s1, 8), zepStatusOk);
    EXPECT_EQ(s0, 64);
    EXPECT_EQ(s1, 6400);
    ASSERT_EQ(zepiSAD8x8_8u32s_C2R(src, 16, refp, 18, &s0, &s1, 0), zepStatusOk);
    EXPECT_EQ(s0, 64);  // half the samples are 2
}

// Sub-block results come in raster order of the sub-blocks.
TEST(MetricsEntry, SubBlockSadsInRasterOrder) {
    Zep8u src[256] = {}, refp[256];
    Zep16u src16[256] = {}, ref16[256];
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            refp[y * 16 + x] = static_cast<Zep8u>((y / 4) * 4 + x / 4 + 1);
            ref16[y * 16 + x] = static_cast<Zep16u>(1000 * ((y / 8) * 2 + x / 8 + 1));
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
    for (int i = 0; i < 4; ++i) {
        const int bx = i % 2, by = i / 2;  // four 4x4 values of each quadrant
        int sum = 0;
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 2; ++x) sum += 16 * ((by * 2 + y) * 4 + bx * 2 + x + 1);
        EXPECT_EQ(b8[i], sum) << i;
        EXPECT_EQ(c8[i], 64u * 1000 * (i + 1)) << i;
    }
}

// Hadamard sums: a constant difference has only a DC coefficient (16 on 4x4,
// 64 on 8x8); a single difference v spreads |v| over every coefficient; the
// small blocks below were worked out by matrix products H D H^T.
TEST(MetricsEntry, HadamardSumsOfKnownDifferences) {
    Zep8u zero[16 * 16] = {}, one[16 * 16], imp[16 * 16] = {},
                    hw[16] = {1, 2, 3, 4, 0, 0, 0, 0, 5, 0, 0, 7, 0, 9, 0, 0};
    std::fill(std::begin(one), std::end(one), 1);
    imp[0] = 3;
    const struct {
        const char* name;
        ZepStatus (*fn)(const Zep8u*, Zep32s, const Zep8u*, Zep32s, Zep32s*);
        int blocks4x4;
    } sizes[] = {{"16x16", zepiSATD16x16_8u32s_C1R, 16}, {"16x8", zepiSATD16x8_8u32s_C1R, 8},
                 {"8x16", zepiSATD8x16_8u32s_C1R, 8},    {"8x8", zepiSATD8x8_8u32s_C1R, 4},
                 {"8x4", zepiSATD8x4_8u32s_C1R, 2},      {"4x8", zepiSATD4x8_8u32s_C1R, 2},
                 {"4x4", zepiSATD4x4_8u32s_C1R, 1}};
    for (const auto& s : sizes) {
        Zep32s v = -1;
        ASSERT_EQ(s.fn(one, 16, zero, 16, &v), zepStatusOk);
        EXPECT_EQ(v, 16 * s.blocks4x4) << s.name;
        ASSERT_EQ(s.fn(zero, 16, imp, 16, &v), zepStatusOk);
        EXPECT_EQ(v, 16 * 3) << s.name;
    }
    Zep32s v = -1;
    ASSERT_EQ(zepiSATD4x4_8u32s_C1R(hw, 4, zero, 4, &v), zepStatusOk);
    EXPECT_EQ(v, 182);
    // The same block in an 8x8 one, with 11 at (5,2) and -6 at (7,7).
    Zep8u s8[64] = {}, r8[64] = {};
    for (int i = 0; i < 16; ++i) s8[(i / 4) * 8 + i % 4] = hw[i];
    s8[5 * 8 + 2] = 11;
    r8[7 * 8 + 7] = 6;
    ASSERT_EQ(zepiSAT8x8D_8u32s_C1R(s8, 8, r8, 8, &v), zepStatusOk);
    EXPECT_EQ(v, 964);
    ASSERT_EQ(zepiSAT8x8D_8u32s_C1R(one, 16, zero, 16, &v), zepStatusOk);
    EXPECT_EQ(v, 64);
    ASSERT_EQ(zepiSAT8x8D_8u32s_C1R(zero, 16, imp, 16, &v), zepStatusOk);
    EXPECT_EQ(v, 64 * 3);
    // 16-bit: a difference of 65535 everywhere gives a DC of 64 x 65535.
    std::vector<Zep16u> big(64, 65535), nil(64, 0);
    ASSERT_EQ(zepiSAT8x8D_16u32s_C1R(big.data(), 16, nil.data(), 16, &v), zepStatusOk);
    EXPECT_EQ(v, 64 * 65535);
}

TEST(MetricsEntry, SquaredDifferences) {
    Zep8u src[17 * 17] = {}, f[17 * 17], b[17 * 17];
    std::fill(std::begin(f), std::end(f), 10);
    std::fill(std::begin(b), std::end(b), 13);
    Zep32s v = -1;
    // Other codes succeed without writing.
    for (Zep32s mc : {1, 2, 3, 6, 16, -4}) {
        v = -77;
        ASSERT_EQ(zepiSqrDiff16x16_8u32s(src, 17, f, 17, mc, &v), zepStatusOk) << mc;
        EXPECT_EQ(v, -77) << mc;
    }
    ASSERT_EQ(zepiSqrDiff16x16_8u32s(src, 17, f, 17, 12, &v), zepStatusOk);
    EXPECT_EQ(v, 256 * 100);
    ASSERT_EQ(zepiSSD8x8_8u32s_C1R(src, 17, f, 17, &v, 4), zepStatusOk);
    EXPECT_EQ(v, 64 * 100);
    ASSERT_EQ(zepiSSD4x4_8u32s_C1R(src, 17, b, 17, &v, 0), zepStatusOk);
    EXPECT_EQ(v, 16 * 169);
    // (10 + 13 + 1) >> 1 = 12, whatever the modes on flat pictures.
    ASSERT_EQ(zepiSqrDiff16x16B_8u32s(src, 17, f, 17, 0, b, 17, 12, &v), zepStatusOk);
    EXPECT_EQ(v, 256 * 144);
    // Forward rounding: rows 10, 11 averaged down the column give 11 (not 10).
    for (int y = 0; y < 17; ++y)
        for (int x = 0; x < 17; ++x) f[y * 17 + x] = (y & 1) ? 11 : 10;
    ASSERT_EQ(zepiSqrDiff16x16B_8u32s(src, 17, f, 17, 4, f, 17, 4, &v), zepStatusOk);
    EXPECT_EQ(v, 256 * 121);
}

TEST(MetricsEntry, SubSadWritesDifferenceAndSad) {
    Zep8u src[64], refp[64];
    for (int i = 0; i < 64; ++i) {
        src[i] = static_cast<Zep8u>(i * 4);
        refp[i] = static_cast<Zep8u>(255 - i);
    }
    Guarded<Zep16s> dst(8 * 12);  // 24-byte step: 4 untouched samples after each row
    Zep32s sad = -1, expect = 0;
    ASSERT_EQ(zepiSubSAD8x8_8u16s_C1R(src, 8, refp, 8, dst.data(), 24, &sad), zepStatusOk);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 12; ++x) {
            const int i = y * 8 + x;
            if (x < 8)
                EXPECT_EQ(dst.data()[y * 12 + x], src[i] - refp[i]) << y << "," << x;
            else
                EXPECT_EQ(static_cast<Zep16u>(dst.data()[y * 12 + x]), 0xCDCD);
            if (x < 8) expect += std::abs(src[i] - refp[i]);
        }
    EXPECT_EQ(sad, expect);
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
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            p8[y * 16 + x] = (y & 1) ? 30 : 20;
            p16[y * 16 + x] = static_cast<Zep16s>((y & 1) ? 32767 : -32768);
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
