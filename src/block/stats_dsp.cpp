#include "block/stats_dsp.h"

#include "block/mc_dsp.h"
#include "block/stats_ref.h"

namespace zep {

namespace {
template <class C>
constexpr int idx = C::value;

}  // namespace

void stats_init(StatsDsp& t, Isa level) {
    t.variance16x16 = ref::variance16x16;
    t.varSum8x8_8u = ref::varsum8x8_8u;
    t.varSum8x8_16s = ref::varsum8x8_16s;
    t.countZeros8x8 = ref::count_zeros8x8;
    fill_table(t.varMeanDiff16x16, [](auto i) -> VarMeanDiffFn { return ref::var_mean_diff<16, idx<decltype(i)>>; });
    fill_table(t.varMeanDiff16x8, [](auto i) -> VarMeanDiffFn { return ref::var_mean_diff<8, idx<decltype(i)>>; });
    t.mad16x16 = ref::mean_abs_dev<16>;
    t.mad8x8 = ref::mean_abs_dev<8>;
    t.sumsDiff16x16 = ref::sums_diff<4, 4, 1, Zep8u, Zep16s, Zep16s>;
    t.sumsDiff8x8 = ref::sums_diff<2, 2, 1, Zep8u, Zep16s, Zep16s>;
    t.sumsDiff8x8C2P2 = ref::sums_diff_c2p2;
    t.sumsDiff16x16_16u = ref::sums_diff<4, 4, 1, Zep16u, Zep32s, Zep32s>;
    t.sumsDiff8x8_16u = ref::sums_diff<2, 2, 1, Zep16u, Zep32s, Zep32s>;
    t.edges16x16_8u = ref::edges_detect16x16<Zep8u>;
    t.edges16x16_16u = ref::edges_detect16x16<Zep16u>;
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSSE3) stats_install_ssse3(t);
    if (level >= Isa::AVX2) stats_install_avx2(t);
#else
    (void)level;
#endif
}

ZEP_TABLE_INIT_PRIORITY const StatsDsp g_stats_active = build_active_table(stats_init);

}  // namespace zep
