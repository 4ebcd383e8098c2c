// H.264 4x4 forward transform and quantisers: every kernel level against the
// reference, the reference against an independent model and hand-worked
// values, and the entry points' checks.
#include <algorithm>
#include <array>
#include <numeric>

#include "harness/harness.h"

#include "h264/fwdquant_dsp.h"
#include "h264/fwdquant_ref.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::FwdQuantDsp;

constexpr int kIters = 200;
constexpr size_t kPad = 8;

// Output block with kPad guard elements on each side: kernels must write the
// same 16 values as the reference and nothing around them.
template <class T>
struct Padded {
    std::array<T, 16 + 2 * kPad> v;
    explicit Padded(T guard) { v.fill(guard); }
    T* data() { return v.data() + kPad; }
};

// ---------------------------------------------------------------- transform

// The transform is C * X * C^T with C the core matrix; no saturation below
// |x| = 900 (the largest gain of an output is 36).
TEST(FwdTransformRef, MatchesMatrixProduct) {
    constexpr int C[4][4] = {{1, 1, 1, 1}, {2, 1, -1, -2}, {1, -1, -1, 1}, {1, -2, 2, -1}};
    Rng rng(11);
    for (int it = 0; it < 500; ++it) {
        Zep32s x32[16], y32[16];
        Zep16s x16[16], y16[16];
        const int lim = it < 250 ? 900 : 50'000'000;
        for (int i = 0; i < 16; ++i) x32[i] = rng.range(-lim, lim), x16[i] = static_cast<Zep16s>(x32[i]);
        int64_t expect[16];
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) {
                int64_t s = 0;
                for (int i = 0; i < 4; ++i)
                    for (int j = 0; j < 4; ++j) s += int64_t{C[r][i]} * x32[4 * i + j] * C[c][j];
                expect[4 * r + c] = s;
            }
        zep::ref::fwd4x4_32s(x32, y32);
        for (int i = 0; i < 16; ++i) ASSERT_EQ(y32[i], expect[i]) << "32s, iteration " << it << ", index " << i;
        if (lim > 900) continue;
        zep::ref::fwd4x4_16s(x16, y16);
        for (int i = 0; i < 16; ++i) ASSERT_EQ(y16[i], expect[i]) << "16s, iteration " << it << ", index " << i;
    }
}

// Row 0 = (10000, -10000, 10000, -10000): d0 = 20000, d1 = -20000, so the row
// pass gives y1 = sat(d0 + d0) + d1 = 32767 - 20000 = 12767 (not 20000) and
// y3 = 32767; the column pass then doubles into row 1 (25534, and 32767 again).
TEST(FwdTransformEntry, SixteenBitSumsSaturateInOrder) {
    const Zep16s src[16] = {10000, -10000, 10000, -10000};
    const Zep16s expect[16] = {0, 12767, 0, 32767, 0, 25534, 0, 32767, 0, 12767, 0, 32767, 0, 12767, 0, 32767};
    Zep16s dst[16];
    ASSERT_EQ(zepiTransformResidual4x4Fwd_H264_16s_C1(src, dst), zepStatusOk);
    EXPECT_TRUE(same_array(expect, dst, 16, "saturation order"));

    Zep16s all[16], out[16];
    std::fill(all, all + 16, Zep16s{-32768});
    ASSERT_EQ(zepiTransformResidual4x4Fwd_H264_16s_C1(all, out), zepStatusOk);
    EXPECT_EQ(out[0], -32768);
    EXPECT_TRUE(std::all_of(out + 1, out + 16, [](Zep16s v) { return v == 0; }));
}

TEST(FwdTransformEntry, ThirtyTwoBitWrapsAndInPlaceWorks) {
    Zep32s v[16];
    std::fill(v, v + 16, INT32_MAX);
    ASSERT_EQ(zepiTransformResidual4x4Fwd_H264_32s_C1(v, v), zepStatusOk);  // in place
    EXPECT_EQ(v[0], static_cast<Zep32s>(16u * static_cast<Zep32u>(INT32_MAX)));
    EXPECT_EQ(v[1], 0);
}

TEST(FwdTransformKernels, EveryLevelMatchesReference) {
    const FwdQuantDsp ref = zep::build_table(zep::fwdquant_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const FwdQuantDsp k = zep::build_table(zep::fwdquant_init, level);
        Rng rng(3);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < kIters; ++it) {
                // Odd offsets inside a bigger buffer: the kernels take unaligned blocks.
                const int off = rng.range(0, 7);
                std::vector<Zep16s> s16(32);
                std::vector<Zep32s> s32(32);
                fill(s16.data() + off, 16, pat, rng, -32768, 32767);
                fill(s32.data() + off, 16, pat, rng, INT32_MIN, INT32_MAX);
                if (it & 1)  // residual-sized values too, where nothing saturates
                    for (int i = 0; i < 16; ++i) s16[off + i] = static_cast<Zep16s>(s16[off + i] >> 7);
                Padded<Zep16s> e16(0x5A5A), g16(0x5A5A);
                Padded<Zep32s> e32(0x5A5A5A5A), g32(0x5A5A5A5A);
                ref.fwd16(s16.data() + off, e16.data());
                k.fwd16(s16.data() + off, g16.data());
                ref.fwd32(s32.data() + off, e32.data());
                k.fwd32(s32.data() + off, g32.data());
                ASSERT_TRUE(same_array(e16.v.data(), g16.v.data(), e16.v.size(), context(level, pat, "fwd 16s")));
                ASSERT_TRUE(same_array(e32.v.data(), g32.v.data(), e32.v.size(), context(level, pat, "fwd 32s")));
            }
    }
}

TEST(FwdTransformEntry, NullPointersWriteNothing) {
    Zep16s s16[16] = {};
    Zep32s s32[16] = {};
    Guarded<Zep16s> d16(16);
    Guarded<Zep32s> d32(16);
    EXPECT_EQ(zepiTransformResidual4x4Fwd_H264_16s_C1(nullptr, d16.data()), zepStatusNullPtr);
    EXPECT_EQ(zepiTransformResidual4x4Fwd_H264_16s_C1(s16, nullptr), zepStatusNullPtr);
    EXPECT_EQ(zepiTransformResidual4x4Fwd_H264_32s_C1(nullptr, d32.data()), zepStatusNullPtr);
    EXPECT_EQ(zepiTransformResidual4x4Fwd_H264_32s_C1(s32, nullptr), zepStatusNullPtr);
    EXPECT_TRUE(d16.untouched());
    EXPECT_TRUE(d32.untouched());
}

// ---------------------------------------------------------------- quantisation

// Independent model: the multiplier classes written out per position, the
// rounding as a third (intra) or a sixth (inter) of 2^shift, in 64 bits.
struct Model {
    Zep32s level[16];
    Zep32s num, last;
};

Model model_quant(const Zep32s* c, const Zep32s* scale, const Zep16s* scanPos, int qp, bool intra) {
    constexpr Zep32s kClass[6][3] = {{13107, 8066, 5243}, {11916, 7490, 4660}, {10082, 6554, 4194},
                                     {9362, 5825, 3647},  {8192, 5243, 3355},  {7282, 4559, 2893}};
    constexpr int kPosClass[16] = {0, 1, 0, 1, 1, 2, 1, 2, 0, 1, 0, 1, 1, 2, 1, 2};
    const int shift = (scale ? 11 : 15) + qp / 6;
    const int64_t rounding = (int64_t{1} << shift) / (intra ? 3 : 6);
    Model m{{}, 0, 0};
    for (int i = 0; i < 16; ++i) {
        const int64_t mult = scale ? scale[i] : kClass[qp % 6][kPosClass[i]];
        const int64_t mag = (std::abs(int64_t{c[i]}) * mult + rounding) >> shift;
        m.level[i] = static_cast<Zep32s>(c[i] < 0 ? -mag : mag);
        if (m.level[i]) ++m.num, m.last = std::max<Zep32s>(m.last, scanPos[i]);
    }
    return m;
}

std::array<Zep16s, 16> random_scan_pos(Rng& rng) {
    std::array<Zep16s, 16> p;
    std::iota(p.begin(), p.end(), Zep16s{0});
    for (int i = 15; i > 0; --i) std::swap(p[i], p[rng.range(0, i)]);
    return p;
}

// Through the entry points, wherever the 32-bit products cannot overflow.
TEST(QuantEntry, MatchesIndependentModel) {
    Rng rng(5);
    for (int qp = 0; qp <= 87; ++qp)
        for (int intra = 0; intra < 2; ++intra)
            for (int useScale = 0; useScale < 2; ++useScale)
                for (int it = 0; it < 20; ++it) {
                    const auto scan = random_scan_pos(rng);
                    Zep32s scale[16], c32[16], d32[16], n = -1, last = -1;
                    Zep16s c16[16], d16[16];
                    for (int i = 0; i < 16; ++i) {
                        scale[i] = rng.range(1, 16 * 255);
                        const int lim = it < 10 ? 600 : 32767;
                        c32[i] = rng.coin() ? 0 : rng.range(-lim, lim);
                        c16[i] = static_cast<Zep16s>(c32[i]);
                    }
                    const Zep32s* sc = useScale ? scale : nullptr;
                    const Model m = model_quant(c32, sc, scan.data(), qp, intra);
                    const std::string ctx = "qp " + std::to_string(qp) + " intra " + std::to_string(intra) +
                                            " scale " + std::to_string(useScale);
                    ASSERT_EQ(zepiQuantizeResidual4x4Fwd_H264_32s_C1(c32, d32, &n, &last, sc, scan.data(), qp, intra),
                              zepStatusOk);
                    ASSERT_TRUE(same_array(m.level, d32, 16, "32s " + ctx));
                    ASSERT_EQ(n, m.num) << ctx;
                    ASSERT_EQ(last, m.last) << ctx;
                    if (qp > 51) continue;
                    n = last = -1;
                    ASSERT_EQ(zepiQuantizeResidual4x4Fwd_H264_16s_C1(c16, d16, &n, &last, sc, scan.data(), qp, intra),
                              zepStatusOk);
                    for (int i = 0; i < 16; ++i)
                        ASSERT_EQ(d16[i], std::clamp(m.level[i], -32768, 32767)) << "16s " << ctx << " index " << i;
                    ASSERT_EQ(n, m.num) << ctx;
                    ASSERT_EQ(last, m.last) << ctx;
                    if (!useScale) continue;
                    n = last = -1;
                    ASSERT_EQ(
                        zepiQuantizeResidual4x4Fwd_H264_16s32s_C1(c16, d16, &n, &last, sc, scan.data(), qp, intra),
                        zepStatusOk);
                    for (int i = 0; i < 16; ++i)
                        ASSERT_EQ(d16[i], std::clamp(m.level[i], -32768, 32767)) << "16s32s " << ctx << " index " << i;
                    ASSERT_EQ(n, m.num) << ctx;
                    ASSERT_EQ(last, m.last) << ctx;
                }
}

// Hand-worked levels of one coefficient at raster position 0 (scan position 9).
TEST(QuantEntry, HandWorkedLevels) {
    const struct {
        Zep32s c;
        int qp, intra;
        Zep32s scale;  // 0: built-in multipliers
        Zep32s level;
        const char* why;
    } cases[] = {
        {2, 0, 0, 0, 0, "2*13107 = 0.8 steps: inter adds a sixth -> 0"},
        {2, 0, 1, 0, 1, "intra adds a third -> 1"},
        {-2, 0, 1, 0, -1, "sign restored"},
        {-2, 0, 0, 0, 0, "negative rounds to 0, not -1"},
        {-1, 51, 1, 0, 0, "tiny value at a large qp"},
        {100000, 87, 0, 0, 1, "qp 87: m 9362, shift 29; 1.74 steps inter -> 1"},
        {100000, 87, 1, 0, 2, "same, intra -> 2"},
        {11, 6, 0, 1000, 2, "scale table: shift 12, 2.69 steps, inter -> 2"},
        {11, 6, 1, 1000, 3, "intra -> 3"},
    };
    Zep16s scan[16] = {9, 1, 2, 3, 4, 5, 6, 7, 8, 0, 10, 11, 12, 13, 14, 15};
    for (const auto& k : cases) {
        Zep32s src[16] = {k.c}, dst[16], scale[16], n = -1, last = -1;
        std::fill(scale, scale + 16, k.scale);
        ASSERT_EQ(zepiQuantizeResidual4x4Fwd_H264_32s_C1(src, dst, &n, &last, k.scale ? scale : nullptr, scan, k.qp,
                                                         k.intra),
                  zepStatusOk);
        EXPECT_EQ(dst[0], k.level) << k.why;
        EXPECT_EQ(n, k.level ? 1 : 0) << k.why;
        EXPECT_EQ(last, k.level ? 9 : 0) << k.why;
    }
}

// Each kernel against the reference on the full input range: wrapped
// products, saturated 16-bit levels, negative scan positions.
TEST(QuantKernels, EveryLevelMatchesReference) {
    const FwdQuantDsp ref = zep::build_table(zep::fwdquant_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const FwdQuantDsp k = zep::build_table(zep::fwdquant_init, level);
        Rng rng(9);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < kIters; ++it) {
                const int qp = rng.range(0, 87), intra = rng.coin();
                const int div = qp / 6;
                const int shiftFlat = 15 + div, shiftScale = 11 + div;
                const Zep32s rndFlat = zep::fwdq_round15[div + intra], rndScale = zep::fwdq_round11[div + intra];
                const int off = rng.range(0, 7);
                std::vector<Zep16s> c16(32), scanPos(32);
                std::vector<Zep32s> c32(32), mult(32);
                fill(c16.data() + off, 16, pat, rng, -32768, 32767);
                fill(c32.data() + off, 16, pat, rng, INT32_MIN, INT32_MAX);
                if (it % 3 == 0)  // realistic magnitudes as well
                    for (int i = 0; i < 16; ++i) c32[off + i] >>= 12;
                for (int i = 0; i < 16; ++i) mult[off + i] = it & 1 ? static_cast<Zep32s>(rng.u32()) : rng.range(0, 65535);
                if (it % 4 == 0) {
                    fill(scanPos.data() + off, 16, Pattern::Random, rng, -32768, 32767);
                } else {
                    const auto p = random_scan_pos(rng);
                    std::copy(p.begin(), p.end(), scanPos.begin() + off);
                }
                const Zep32s* flat = zep::fwdq_flat_mult[qp % 6].data();
                // The 16-bit quantiser with built-in multipliers only sees qp 0..51.
                const int qp16 = qp % 52;
                const Zep32s* flat16 = zep::fwdq_flat_mult[qp16 % 6].data();
                const int shiftFlat16 = 15 + qp16 / 6;
                const Zep32s rndFlat16 = zep::fwdq_round15[qp16 / 6 + intra];
                const std::string ctx = "qp " + std::to_string(qp) + " intra " + std::to_string(intra) +
                                        " offset " + std::to_string(off);
                auto run16 = [&](zep::Quant16Fn f, const Zep32s* m, Zep32s rnd, int sh, Padded<Zep16s>& d,
                                 Zep32s (&cnt)[2]) {
                    f(c16.data() + off, d.data(), &cnt[0], &cnt[1], m, scanPos.data() + off, rnd, sh);
                };
                {
                    Padded<Zep16s> e(0x7E7E), g(0x7E7E);
                    Zep32s ce[2] = {-1, -1}, cg[2] = {-2, -2};
                    run16(ref.quant16Flat, flat16, rndFlat16, shiftFlat16, e, ce);
                    run16(k.quant16Flat, flat16, rndFlat16, shiftFlat16, g, cg);
                    ASSERT_TRUE(same_array(e.v.data(), g.v.data(), e.v.size(), context(level, pat, "flat16 " + ctx)));
                    ASSERT_TRUE(same_array(ce, cg, 2, context(level, pat, "flat16 counts " + ctx)));
                }
                {
                    Padded<Zep16s> e(0x7E7E), g(0x7E7E);
                    Zep32s ce[2] = {-1, -1}, cg[2] = {-2, -2};
                    run16(ref.quant16, mult.data() + off, rndScale, shiftScale, e, ce);
                    run16(k.quant16, mult.data() + off, rndScale, shiftScale, g, cg);
                    ASSERT_TRUE(same_array(e.v.data(), g.v.data(), e.v.size(), context(level, pat, "quant16 " + ctx)));
                    ASSERT_TRUE(same_array(ce, cg, 2, context(level, pat, "quant16 counts " + ctx)));
                }
                for (int useFlat = 0; useFlat < 2; ++useFlat) {
                    Padded<Zep32s> e(0x7E7E7E7E), g(0x7E7E7E7E);
                    Zep32s ce[2] = {-1, -1}, cg[2] = {-2, -2};
                    const Zep32s* m = useFlat ? flat : mult.data() + off;
                    const Zep32s rnd = useFlat ? rndFlat : rndScale;
                    const int sh = useFlat ? shiftFlat : shiftScale;
                    ref.quant32(c32.data() + off, e.data(), &ce[0], &ce[1], m, scanPos.data() + off, rnd, sh);
                    k.quant32(c32.data() + off, g.data(), &cg[0], &cg[1], m, scanPos.data() + off, rnd, sh);
                    ASSERT_TRUE(same_array(e.v.data(), g.v.data(), e.v.size(), context(level, pat, "quant32 " + ctx)));
                    ASSERT_TRUE(same_array(ce, cg, 2, context(level, pat, "quant32 counts " + ctx)));
                }
            }
    }
}

TEST(QuantEntry, AllZeroBlockHasNoLevels) {
    const Zep16s scan[16] = {15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0};
    Zep16s c16[16] = {1, -1, 2, -2, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, d16[16];
    Zep32s n = -1, last = -1;
    // qp 51 inter: |c| * 9362 + rounding stays below 2^23, so every level is 0.
    ASSERT_EQ(zepiQuantizeResidual4x4Fwd_H264_16s_C1(c16, d16, &n, &last, nullptr, scan, 51, 0), zepStatusOk);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(last, 0);
    EXPECT_TRUE(std::all_of(d16, d16 + 16, [](Zep16s v) { return v == 0; }));
}

// Pointers in argument order, then the qp range; nothing is written on error.
TEST(QuantEntry, BadArgumentsWriteNothing) {
    Zep16s c16[16] = {100}, scan[16] = {};
    Zep32s c32[16] = {100}, scale[16] = {};
    Guarded<Zep16s> d16(16);
    Guarded<Zep32s> d32(16), n(1), last(1);
    using Q32 = ZepStatus (*)(const Zep32s*, Zep32s*, Zep32s*, Zep32s*, const Zep32s*, const Zep16s*, Zep32u, Zep32s);
    using Q16 = ZepStatus (*)(const Zep16s*, Zep16s*, Zep32s*, Zep32s*, const Zep32s*, const Zep16s*, Zep32u, Zep32s);
    const Q32 q32 = zepiQuantizeResidual4x4Fwd_H264_32s_C1;
    EXPECT_EQ(q32(nullptr, d32.data(), n.data(), last.data(), scale, scan, 0, 0), zepStatusNullPtr);
    EXPECT_EQ(q32(c32, nullptr, n.data(), last.data(), scale, scan, 0, 0), zepStatusNullPtr);
    EXPECT_EQ(q32(c32, d32.data(), nullptr, last.data(), scale, scan, 0, 0), zepStatusNullPtr);
    EXPECT_EQ(q32(c32, d32.data(), n.data(), nullptr, scale, scan, 0, 0), zepStatusNullPtr);
    EXPECT_EQ(q32(c32, d32.data(), n.data(), last.data(), scale, nullptr, 0, 0), zepStatusNullPtr);
    EXPECT_EQ(q32(c32, d32.data(), n.data(), last.data(), nullptr, scan, 88, 0), zepStatusOutOfRange);
    EXPECT_EQ(q32(nullptr, d32.data(), n.data(), last.data(), nullptr, scan, 88, 0), zepStatusNullPtr);
    EXPECT_EQ(q32(c32, d32.data(), n.data(), last.data(), nullptr, scan, 0xFFFFFFFFu, 1), zepStatusOutOfRange);
    for (const Q16 q16 : {Q16{zepiQuantizeResidual4x4Fwd_H264_16s_C1}, Q16{zepiQuantizeResidual4x4Fwd_H264_16s32s_C1}}) {
        EXPECT_EQ(q16(nullptr, d16.data(), n.data(), last.data(), scale, scan, 0, 0), zepStatusNullPtr);
        EXPECT_EQ(q16(c16, nullptr, n.data(), last.data(), scale, scan, 0, 0), zepStatusNullPtr);
        EXPECT_EQ(q16(c16, d16.data(), nullptr, last.data(), scale, scan, 0, 0), zepStatusNullPtr);
        EXPECT_EQ(q16(c16, d16.data(), n.data(), nullptr, scale, scan, 0, 0), zepStatusNullPtr);
        EXPECT_EQ(q16(c16, d16.data(), n.data(), last.data(), scale, nullptr, 0, 0), zepStatusNullPtr);
        EXPECT_EQ(q16(c16, d16.data(), n.data(), last.data(), scale, scan, 52, 0), zepStatusOutOfRange);
        EXPECT_EQ(q16(nullptr, d16.data(), n.data(), last.data(), scale, scan, 52, 0), zepStatusNullPtr);
    }
    // The scale table is optional for 16s, required for 16s32s.
    EXPECT_EQ(zepiQuantizeResidual4x4Fwd_H264_16s32s_C1(c16, d16.data(), n.data(), last.data(), nullptr, scan, 0, 0),
              zepStatusNullPtr);
    EXPECT_TRUE(d16.untouched() && d32.untouched() && n.untouched() && last.untouched());
    Zep16s out[16];
    Zep32s cnt = 0, pos = 0;
    EXPECT_EQ(zepiQuantizeResidual4x4Fwd_H264_16s_C1(c16, out, &cnt, &pos, nullptr, scan, 51, 0), zepStatusOk);
    EXPECT_EQ(zepiQuantizeResidual4x4Fwd_H264_32s_C1(c32, d32.data(), &cnt, &pos, nullptr, scan, 87, 0), zepStatusOk);
}

}  // namespace
