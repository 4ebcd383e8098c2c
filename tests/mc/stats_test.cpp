// Block statistics: hand-worked values, every kernel level against the
// reference, and the entry points' checks.
#include <algorithm>
#include <functional>
#include <numeric>

#include "harness/harness.h"
#include "mc/ptr_checks.h"

#include "block/stats_dsp.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::StatsDsp;

TEST(StatsEntry, VarianceHandWorked) {
    const struct {
        const char* name;
        int (*px)(int x, int y);
        Zep32s var16;
    } cases16[] = {
        {"half 0, half 255", [](int, int y) { return y < 8 ? 0 : 255; }, 4161600},
        {"checker 0/1", [](int x, int y) { return (x + y) & 1; }, 64},  // S = Q = 128: 128 - (16384 >> 8)
        {"single 1", [](int x, int y) { return int(x == 3 && y == 9); }, 1},  // the mean term truncates to 0
        {"all 255", [](int, int) { return 255; }, 0},  // S = 65280, Q = 16646400: the largest sums
    };
    for (const auto& c : cases16) {
        std::vector<Zep8u> b(16 * 20);
        for (int i = 0; i < 256; ++i) b[(i / 16) * 20 + i % 16] = static_cast<Zep8u>(c.px(i % 16, i / 16));
        Zep32s var = -1;
        ASSERT_EQ(zepiVariance16x16_8u32s(b.data(), 20, &var), zepStatusOk);
        EXPECT_EQ(var, c.var16) << c.name;
    }

    const struct {
        const char* name;
        int (*px)(int i);
        Zep32s var, sum;
    } cases8[] = {
        {"flat 200", [](int) { return 200; }, 0, 12800},
        {"32 zeros, 32 ones", [](int i) { return i & 1; }, 0, 32},  // 0.5 - 0.25 truncates to 0
        {"half 0, half 255", [](int i) { return i < 32 ? 0 : 255; }, 16256, 8160},
        // 29 zeros and 35 samples of 171: Q/64 - m*m is 7245.9998 exactly, but
        // m*m rounded to single precision makes the float result 7246.
        {"float rounding", [](int i) { return i < 29 ? 0 : 171; }, 7246, 5985},
    };
    for (const auto& c : cases8) {
        std::vector<Zep8u> b(8 * 12);
        std::vector<Zep16s> w(8 * 12);
        for (int i = 0; i < 64; ++i) b[(i / 8) * 12 + i % 8] = static_cast<Zep8u>(w[(i / 8) * 12 + i % 8] = c.px(i));
        Zep32s var = -1, sum = -1, var16 = -1, sum16 = -1, var2 = -1, mean = -1;
        ASSERT_EQ(zepiVarSum8x8_8u32s_C1R(b.data(), 12, &var, &sum), zepStatusOk);
        // The 16s form agrees while no column sum saturates.
        ASSERT_EQ(zepiVarSum8x8_16s32s_C1R(w.data(), 24, &var16, &sum16), zepStatusOk);
        ASSERT_EQ(zepiVarMean8x8_8u32s_C1R(b.data(), 12, &var2, &mean), zepStatusOk);
        EXPECT_EQ(std::vector<Zep32s>({var, sum, var16, sum16, var2, mean}),
                  std::vector<Zep32s>({c.var, c.sum, c.var, c.sum, c.var, (c.sum + 32) >> 6}))
            << c.name;
    }
}

// 16-bit samples: each column sum saturates on its own, in row order.
TEST(StatsEntry, VarSum16sSaturatingColumns) {
    const struct {
        const char* name;
        int (*px)(int x, int y);
        Zep32s sum;
    } cases[] = {
        {"one column max", [](int x, int) { return x == 0 ? 32767 : 0; }, 32767},
        {"all min", [](int, int) { return -32768; }, -32768 * 8},
        // 32767 + 32767 saturates to 32767, then six -1 bring each column to 32761.
        {"saturate then recover", [](int, int y) { return y < 2 ? 32767 : (y < 8 ? -1 : 0); }, 32761 * 8},
        {"mixed signs", [](int x, int y) { return (x + y) & 1 ? -1000 : 1000; }, 0},
    };
    for (const auto& c : cases) {
        std::vector<Zep16s> b(8 * 8);
        for (int i = 0; i < 64; ++i) b[i] = static_cast<Zep16s>(c.px(i % 8, i / 8));
        Zep32s var = 0, sum = 0, mean = 0;
        ASSERT_EQ(zepiVarSum8x8_16s32s_C1R(b.data(), 16, &var, &sum), zepStatusOk);
        EXPECT_EQ(sum, c.sum) << c.name;
        ASSERT_EQ(zepiVarMean8x8_16s32s_C1R(b.data(), 16, &var, &mean), zepStatusOk);
        EXPECT_EQ(mean, (c.sum + 32) >> 6) << c.name;
    }
    // Squares wrap in 32 bits: 64 x 32768^2 = 2^36 wraps to 0, so Q = 0 and
    // v = 0 - (-32768*8/64)^2 = -16777216.
    std::vector<Zep16s> b(64, -32768);
    Zep32s var = 0, sum = 0;
    zepiVarSum8x8_16s32s_C1R(b.data(), 16, &var, &sum);
    EXPECT_EQ(var, -16777216);
}

TEST(StatsEntry, CountZerosAndOtherStatistics) {
    const struct {
        const char* name;
        int (*v)(int i);
        Zep32u count;
    } zeros[] = {
        {"all zero", [](int) { return 0; }, 64},
        {"only DC", [](int i) { return i == 0 ? 5 : 0; }, 63},
        {"none", [](int i) { return i - 100; }, 0},
        {"extremes", [](int i) { return i % 3 == 0 ? 0 : (i & 1 ? -32768 : 32767); }, 22},
    };
    for (const auto& c : zeros) {
        std::vector<Zep16s> b(64);
        for (int i = 0; i < 64; ++i) b[i] = static_cast<Zep16s>(c.v(i));
        Zep32u n = 99;
        ASSERT_EQ(zepiCountZeros8x8_16s_C1(b.data(), &n), zepStatusOk);
        EXPECT_EQ(n, c.count) << c.name;
    }

    // Mean absolute deviation on a SAD scale: half 0, half 255 -> mean 128
    // (rounded), deviations 128 and 127.
    std::vector<Zep8u> half(16 * 16);
    for (int i = 0; i < 256; ++i) half[i] = i < 128 ? 0 : 255;
    Zep32s mad = -1;
    ASSERT_EQ(zepiMeanAbsDev16x16_8u32s_C1R(half.data(), 16, &mad), zepStatusOk);
    EXPECT_EQ(mad, 128 * 128 + 128 * 127);
    // Step 32: rows 0-3 are zeros, rows 4-7 are 255.
    ASSERT_EQ(zepiMeanAbsDev8x8_8u32s_C1R(half.data(), 32, &mad), zepStatusOk);
    EXPECT_EQ(mad, 32 * 128 + 32 * 127);

    // VarMeanDiff: current 100 everywhere against a reference of 90 on the
    // left half and 110 on the right: left blocks mean 10, right -10, var 0.
    std::vector<Zep8u> cur(16 * 16, 100), ref(17 * 17);
    for (int i = 0; i < 17 * 17; ++i) ref[i] = i % 17 < 8 ? 90 : 110;
    Zep32s var[4] = {-1, -1, -1, -1}, mean[4] = {};
    ASSERT_EQ(zepiVarMeanDiff16x16_8u32s_C1R(cur.data(), 16, ref.data(), 17, var, mean, 0), zepStatusOk);
    EXPECT_EQ(std::vector<Zep32s>(mean, mean + 4), std::vector<Zep32s>({10, -10, 10, -10}));
    EXPECT_EQ(std::vector<Zep32s>(var, var + 4), std::vector<Zep32s>(4, 0));
    // Horizontal half sample: column 7 of the left blocks sees (90+110+1)>>1 = 100,
    // a difference of 0 in 8 of 64 samples: S = 560, Q = 5600, v = 87.5 - 76.5625.
    ASSERT_EQ(zepiVarMeanDiff16x8_8u32s_C1R(cur.data(), 16, ref.data(), 17, var, mean, 8), zepStatusOk);
    EXPECT_EQ(mean[0], (560 + 32) >> 6);
    EXPECT_EQ(var[0], 10);
    EXPECT_EQ(mean[1], -10);

    // SumsDiff: differences in 4x4 block order with per-block sums.
    std::vector<Zep8u> src(16 * 16), pred(16 * 16, 50);
    for (int i = 0; i < 256; ++i) src[i] = static_cast<Zep8u>(50 + (i / 64) * 4 + (i % 16) / 4 + (i & 1));
    std::vector<Zep16s> sums(16), diff(256);
    ASSERT_EQ(zepiSumsDiff16x16Blocks4x4_8u16s_C1(src.data(), 16, pred.data(), 16, sums.data(), diff.data()),
              zepStatusOk);
    for (int b = 0; b < 16; ++b) {
        EXPECT_EQ(sums[b], 16 * b + 8) << "block " << b;
        EXPECT_EQ(diff[b * 16 + 5], b + 1) << "block " << b;  // row 1, column 1 of the block: odd column
    }

    // EdgesDetect: a vertical edge of height 100 in the middle: 16 samples of
    // column 7 differ by 100 from their right neighbour.
    std::vector<Zep8u> edge(16 * 16);
    for (int i = 0; i < 256; ++i) edge[i] = (i % 16) < 8 ? 20 : 120;
    const struct {
        Zep32u diff, count;
        Zep8u res;
    } edges[] = {{99, 15, 1}, {99, 16, 0}, {100, 0, 0}, {0, 15, 1}};
    for (const auto& c : edges) {
        Zep8u res = 7;
        ASSERT_EQ(zepiEdgesDetect16x16_8u_C1R(edge.data(), 16, c.diff, c.count, &res), zepStatusOk);
        EXPECT_EQ(res, c.res) << c.diff << "/" << c.count;
    }
}

TEST(StatsEntry, ScansArePermutationsAndInvert) {
    std::vector<Zep16s> raster(64), scanned(64), back(64);
    std::iota(raster.begin(), raster.end(), 1);
    const struct {
        Zep32s scan;
        std::vector<Zep16s> head;  // raster index + 1 of the first coefficients visited
    } scans[] = {{0, {1, 2, 9, 17, 10, 3}}, {1, {1, 9, 17, 25, 2, 10}}, {2, {1, 2, 3, 4, 9, 10}}};
    for (const auto& s : scans) {
        ASSERT_EQ(zepiScanFwd_16s_C1(raster.data(), scanned.data(), s.scan), zepStatusOk);
        EXPECT_TRUE(std::equal(s.head.begin(), s.head.end(), scanned.begin())) << "scan " << s.scan;
        EXPECT_EQ(scanned[63], 64);
        std::vector<Zep16s> sorted = scanned;
        std::sort(sorted.begin(), sorted.end());
        EXPECT_EQ(sorted, raster) << "scan " << s.scan << " is not a permutation";
        ASSERT_EQ(zepiScanInv_16s_C1(scanned.data(), back.data(), 63, s.scan), zepStatusOk);
        EXPECT_EQ(back, raster);
        // Only the coded part is read: the rest of the block becomes 0.
        ASSERT_EQ(zepiScanInv_16s_C1(scanned.data(), back.data(), 2, s.scan), zepStatusOk);
        EXPECT_EQ(std::count(back.begin(), back.end(), 0), 61);
        EXPECT_EQ(back[scanned[2] - 1], scanned[2]);
        ASSERT_EQ(zepiScanInv_16s_C1(scanned.data(), back.data(), -1, s.scan), zepStatusOk);
        EXPECT_EQ(std::count(back.begin(), back.end(), 0), 64);
    }
    Guarded<Zep16s> out(64);
    for (Zep32s bad : {-1, 3, 100})
        EXPECT_EQ(zepiScanFwd_16s_C1(raster.data(), out.data(), bad), zepStatusOutOfRange) << bad;
    const struct {
        Zep32s last, scan;
    } badInv[] = {{63, 3}, {63, -1}, {64, 0}, {-2, 0}, {1000, 7}};
    for (const auto& c : badInv)
        EXPECT_EQ(zepiScanInv_16s_C1(raster.data(), out.data(), c.last, c.scan), zepStatusOutOfRange);
    // The pointer check comes first.
    EXPECT_EQ(zepiScanInv_16s_C1(nullptr, out.data(), 64, 9), zepStatusNullPtr);
    EXPECT_EQ(zepiScanFwd_16s_C1(raster.data(), nullptr, 9), zepStatusNullPtr);
    EXPECT_TRUE(out.untouched());
}

// ---- Kernels against the reference ----

template <class T>
Picture<T> random_picture(Rng& rng, int w, int h, Pattern pat, int64_t lo, int64_t hi, int border = 0) {
    auto p = Picture<T>::random(rng, w, h, border);
    p.fill(pat, rng, lo, hi);
    return p;
}

// Appends whole arrays of outputs.
template <class... A>
void put(std::vector<int64_t>& r, const A&... a) {
    (r.insert(r.end(), std::begin(a), std::end(a)), ...);
}

TEST(StatsKernels, EveryKernelMatchesReference) {
    const StatsDsp ref = zep::build_table(zep::stats_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const StatsDsp k = zep::build_table(zep::stats_init, level);
        Rng rng(17);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < 30; ++it) {
                auto a = random_picture<Zep8u>(rng, 16, 16, pat, 0, 255, 1);
                auto b = random_picture<Zep8u>(rng, 16, 16, rng.coin() ? pat : Pattern::Random, 0, 255, 1);
                const bool narrow = rng.coin();  // 16s values that keep the columns unsaturated, or all
                auto w = random_picture<Zep16s>(rng, 8, 8, pat, narrow ? -4096 : -32768, narrow ? 4095 : 32767);
                auto ua = random_picture<Zep16u>(rng, 16, 16, pat, 0, 65535);
                auto ub = random_picture<Zep16u>(rng, 16, 16, Pattern::Random, 0, 65535);
                // Each kernel's outputs gathered into one vector.
                const struct {
                    const char* name;
                    std::function<void(const StatsDsp&, std::vector<int64_t>&)> run;
                } kernels[] = {
                    {"variance16x16 / varSum8x8", [&](const StatsDsp& t, std::vector<int64_t>& r) {
                         Zep32s v[1], s[2], v2[2];
                         t.variance16x16(a.data(), a.step(), v);
                         t.varSum8x8_8u(a.data(), a.step(), s, s + 1);
                         t.varSum8x8_16s(w.data(), w.step(), v2, v2 + 1);
                         put(r, v, s, v2);
                     }},
                    {"countZeros8x8", [&](const StatsDsp& t, std::vector<int64_t>& r) {
                         Zep16s c[64];
                         for (int i = 0; i < 64; ++i) c[i] = rng.coin() ? 0 : w.at(i % 8, i / 8);
                         Zep32u n[1];
                         t.countZeros8x8(c, n);
                         put(r, n);
                     }},
                    {"varMeanDiff", [&](const StatsDsp& t, std::vector<int64_t>& r) {
                         for (int m = 0; m < 4; ++m) {
                             Zep32s v[4], mean[4], v2[2], mean2[2];
                             t.varMeanDiff16x16[m](a.data(), a.step(), b.data(), b.step(), v, mean);
                             t.varMeanDiff16x8[m](a.data(), a.step(), b.data(), b.step(), v2, mean2);
                             put(r, v, mean, v2, mean2);
                         }
                     }},
                    {"meanAbsDev", [&](const StatsDsp& t, std::vector<int64_t>& r) {
                         Zep32s x[2];
                         t.mad16x16(a.data(), a.step(), x);
                         t.mad8x8(a.data(), a.step(), x + 1);
                         put(r, x);
                     }},
                    {"sumsDiff", [&](const StatsDsp& t, std::vector<int64_t>& r) {
                         Zep16s s16[16], d16[256], s8[4], d8[64], su[4], sv[4], du[64], dv[64];
                         t.sumsDiff16x16(a.data(), a.step(), b.data(), b.step(), s16, d16);
                         t.sumsDiff8x8(a.data(), a.step(), b.data(), b.step(), s8, d8);
                         t.sumsDiff8x8C2P2(a.data(), a.step(), b.data(), b.step(), su, sv, du, dv);
                         put(r, s16, d16, s8, d8, su, sv, du, dv);
                     }},
                    {"sumsDiff16u", [&](const StatsDsp& t, std::vector<int64_t>& r) {
                         Zep32s s16[16], d16[256], s8[4], d8[64];
                         t.sumsDiff16x16_16u(ua.data(), ua.step(), ub.data(), ub.step(), s16, d16);
                         t.sumsDiff8x8_16u(ua.data(), ua.step(), ub.data(), ub.step(), s8, d8);
                         put(r, s16, d16, s8, d8);
                     }},
                    {"edges", [&](const StatsDsp& t, std::vector<int64_t>& r) {
                         for (Zep32u d : {0u, 1u, 3u, 100u, 254u, 255u, 300u})
                             for (Zep32u c : {0u, 10u, 100u, 255u}) {
                                 Zep8u x[2];
                                 t.edges16x16_8u(a.data(), a.step(), d, c, x);
                                 t.edges16x16_16u(ua.data(), ua.step(), d * 200, c, x + 1);
                                 put(r, x);
                             }
                         for (Zep32u d : {65534u, 65535u, 70000u}) {  // the top of the 16-bit range
                             Zep8u y[1];
                             t.edges16x16_16u(ua.data(), ua.step(), d, 0, y);
                             put(r, y);
                         }
                     }},
                };
                for (const auto& kn : kernels) {
                    Rng save = rng;  // the same random choices for both runs
                    std::vector<int64_t> e, g;
                    kn.run(ref, e);
                    rng = save;
                    kn.run(k, g);
                    ASSERT_TRUE(same_array(e, g, kn.name))
                        << context(level, pat, "a " + a.describe() + "\n" + a.dump() + "b\n" + b.dump());
                }
            }
    }
}

struct Outs {
    Guarded<Zep32s> a{300}, b{300};
    Guarded<Zep16s> c{300}, d{300}, e{300}, f{300};
    Guarded<Zep8u> r{4};
    bool untouched() const {
        return a.untouched() && b.untouched() && c.untouched() && d.untouched() && e.untouched() && f.untouched() &&
               r.untouched();
    }
};

template <class... A>
void check(std::initializer_list<size_t> optional, A... a) {
    check_ptrs<Outs>(optional, a...);
}

TEST(StatsEntry, NullPointersWriteNothing) {
    Zep8u in8[20 * 20] = {};
    Zep16u in16u[20 * 20] = {};
    std::vector<Zep16s> ones(20 * 20, 1);  // nonzero, so the scans write something other than zero
    Zep16s* in16 = ones.data();
    auto one = [](auto f, auto args) { check({}, args, f); };
    one(zepiVariance16x16_8u32s, [&](Outs& o) { return std::tuple(+in8, 20, o.a.data()); });
    one(zepiVarSum8x8_8u32s_C1R, [&](Outs& o) { return std::tuple(+in8, 20, o.a.data(), o.b.data()); });
    one(zepiVarSum8x8_16s32s_C1R, [&](Outs& o) { return std::tuple(in16, 40, o.a.data(), o.b.data()); });
    one(zepiCountZeros8x8_16s_C1, [&](Outs& o) { return std::tuple(in16, reinterpret_cast<Zep32u*>(o.a.data())); });
    one(zepiVarMean8x8_8u32s_C1R, [&](Outs& o) { return std::tuple(+in8, 20, o.a.data(), o.b.data()); });
    one(zepiVarMean8x8_16s32s_C1R, [&](Outs& o) { return std::tuple(in16, 40, o.a.data(), o.b.data()); });
    check({}, [&](Outs& o) { return std::tuple(+in8, 20, +in8, 20, o.a.data(), o.b.data(), 12); },
                     zepiVarMeanDiff16x16_8u32s_C1R, zepiVarMeanDiff16x8_8u32s_C1R);
    check({}, [&](Outs& o) { return std::tuple(+in8, 20, o.a.data()); }, zepiMeanAbsDev16x16_8u32s_C1R,
                     zepiMeanAbsDev8x8_8u32s_C1R);
    check({}, [&](Outs& o) { return std::tuple(+in8, 20, +in8, 20, o.c.data(), o.d.data()); },
                     zepiSumsDiff16x16Blocks4x4_8u16s_C1, zepiSumsDiff8x8Blocks4x4_8u16s_C1);
    one(zepiSumsDiff8x8Blocks4x4_8u16s_C2P2, [&](Outs& o) {
        return std::tuple(+in8, 20, +in8, 20, o.c.data(), o.d.data(), o.e.data(), o.f.data());
    });
    check({}, [&](Outs& o) { return std::tuple(+in16u, 40, +in16u, 40, o.a.data(), o.b.data()); },
                     zepiSumsDiff16x16Blocks4x4_16u32s_C1R, zepiSumsDiff8x8Blocks4x4_16u32s_C1R);
    one(zepiEdgesDetect16x16_8u_C1R, [&](Outs& o) { return std::tuple(+in8, 20, 3u, 4u, o.r.data()); });
    one(zepiEdgesDetect16x16_16u_C1R, [&](Outs& o) { return std::tuple(+in16u, 40, 3u, 4u, o.r.data()); });
    one(zepiScanFwd_16s_C1, [&](Outs& o) { return std::tuple(in16, o.c.data(), 1); });
    one(zepiScanInv_16s_C1, [&](Outs& o) { return std::tuple(in16, o.c.data(), 10, 2); });
}

}  // namespace
