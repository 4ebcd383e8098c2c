// Block distortion metrics: every kernel level against the reference, the
// reference against hand-worked values, and the entry points' checks.
#include "harness/harness.h"

#include "block/metrics_dsp.h"
#include "block/metrics_ref.h"
#include "zepvc.h"

namespace {

using namespace zt;
using zep::MetricsDsp;

constexpr int kIters = 40;

TEST(MetricsKernels, Sad16x16EveryModeMatchesReference) {
    const MetricsDsp ref = zep::build_table(zep::metrics_init, Isa::Ref);
    for (Isa level : simd_levels()) {
        const MetricsDsp k = zep::build_table(zep::metrics_init, level);
        Rng rng(7);
        for (Pattern pat : kAllPatterns)
            for (int it = 0; it < kIters; ++it)
                for (int mode = 0; mode < 4; ++mode) {
                    auto src = Picture<Zep8u>::random(rng, 16, 16, 0);
                    auto refp = Picture<Zep8u>::random(rng, 16, 16, 1);
                    src.fill(pat, rng, 0, 255);
                    refp.fill(rng.coin() ? pat : Pattern::Random, rng, 0, 255);
                    Zep32s e = -1, g = -2;
                    ref.sad16x16[mode](src.data(), src.step(), refp.data(), refp.step(), &e);
                    k.sad16x16[mode](src.data(), src.step(), refp.data(), refp.step(), &g);
                    ASSERT_TRUE(same_array(&e, &g, 1,
                                           context(level, pat,
                                                   "mode " + std::to_string(mode) + ", src " + src.describe() +
                                                       ", ref " + refp.describe() + "\nsrc:\n" + src.dump() +
                                                       "ref:\n" + refp.dump())));
                }
    }
}

// Hand-worked roundings through the entry point: a zero source makes the SAD
// the sum of the reference samples the mode forms. Rows alternate 1,2,1,2...
// and 2,2,2...: every four-neighbour group is {1,2,2,2} -> (7+2)>>2 = 2, and
// every vertical pair {1,2} or {2,2} rounds up to 2.
TEST(MetricsEntry, HalfSampleRoundingOnKnownPicture) {
    std::vector<Zep8u> refp(17 * 17), src(16 * 16, 0);
    for (int y = 0; y < 17; ++y)
        for (int x = 0; x < 17; ++x) refp[y * 17 + x] = (y & 1) ? 2 : ((x & 1) ? 2 : 1);
    const struct {
        Zep32s mcType;
        Zep32s sad;
    } cases[] = {
        {0, 8 * 16 * 2 + 8 * 8 * 1 + 8 * 8 * 2},  // integer: the samples themselves
        {4, 256 * 2},                             // below: (1+2+1)>>1 and (2+2+1)>>1 are 2
        {5, 256 * 2},                             // low bits ignored
        {8, 8 * 16 * 2 + 8 * 16 * 2},             // right: (1+2+1)>>1 = 2
        {12, 256 * 2},                            // four: (1+2+2+2+2)>>2 = 2
        {15, 256 * 2},
    };
    for (const auto& c : cases) {
        Zep32s sad = -1;
        ASSERT_EQ(zepiSAD16x16_8u32s(src.data(), 16, refp.data(), 17, &sad, c.mcType), zepStatusOk);
        EXPECT_EQ(sad, c.sad) << "mcType " << c.mcType;
    }
}

TEST(MetricsEntry, NullPointersWriteNothing) {
    Zep8u a[17 * 17] = {};
    Guarded<Zep32s> out(1);
    EXPECT_EQ(zepiSAD16x16_8u32s(nullptr, 16, a, 17, out.data(), 0), zepStatusNullPtr);
    EXPECT_EQ(zepiSAD16x16_8u32s(a, 16, nullptr, 17, out.data(), 0), zepStatusNullPtr);
    EXPECT_EQ(zepiSAD16x16_8u32s(a, 16, a, 17, nullptr, 0), zepStatusNullPtr);
    EXPECT_TRUE(out.untouched());
}

}  // namespace
