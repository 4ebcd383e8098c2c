#include "block/metrics_dsp.h"

#include "block/metrics_ref.h"

namespace zep {

namespace {

template <class Fn>
void fill_run(RunTable<Fn>& t, Fn f) {
    for (Fn& e : t.aligned) e = f;
    t.general = f;
}

}  // namespace

void metrics_init(MetricsDsp& t, Isa level) {
    using namespace ref;
    fill_modes(t.sad16x16, []<int M> { return sad_kernel<16, 16, M, Zep8u>; });
    fill_modes(t.sad16x8, []<int M> { return sad_kernel<16, 8, M, Zep8u>; });
    fill_modes(t.sad8x8, []<int M> { return sad_kernel<8, 8, M, Zep8u>; });
    t.sad8x16 = sad_kernel<8, 16, 0, Zep8u>;
    t.sad8x4 = sad_kernel<8, 4, 0, Zep8u>;
    t.sad4x8 = sad_kernel<4, 8, 0, Zep8u>;
    t.sad4x4 = sad_kernel<4, 4, 0, Zep8u>;
    fill_modes(t.sad16x16_16u, []<int M> { return sad_kernel<16, 16, M, Zep16u>; });
    fill_modes(t.sad8x8_16u, []<int M> { return sad_kernel<8, 8, M, Zep16u>; });
    fill_modes(t.sad4x4_16u, []<int M> { return sad_kernel<4, 4, M, Zep16u>; });
    fill_modes(t.sad8x8_c2, []<int M> { return sad8x8_c2<M>; });
    t.blocks8x8_8u = sad_blocks<8, Zep8u, Zep16u>;
    t.blocks4x4_8u = sad_blocks<4, Zep8u, Zep16u>;
    t.blocks8x8_16u = sad_blocks<8, Zep16u, Zep32u>;
    t.blocks4x4_16u = sad_blocks<4, Zep16u, Zep32u>;
    fill_run<RunFn>(t.run16x16, sad_run<16, 16>);
    fill_run<RunFn>(t.run8x8, sad_run<8, 8>);
    fill_run<RunFn>(t.run4x4, sad_run<4, 4>);
    fill_run<RunFn>(t.run2x2, sad_run<2, 2>);
    fill_run<RunMinFn>(t.runmin16x16, sad_run_min<16, 16>);
    fill_run<RunMinFn>(t.runmin8x8, sad_run_min<8, 8>);
    fill_run<RunMinFn>(t.runmin4x4, sad_run_min<4, 4>);
    t.satd16x16 = satd<16, 16>;
    t.satd16x8 = satd<16, 8>;
    t.satd8x16 = satd<8, 16>;
    t.satd8x8 = satd<8, 8>;
    t.satd8x4 = satd<8, 4>;
    t.satd4x8 = satd<4, 8>;
    t.satd4x4 = satd<4, 4>;
    t.sat8x8d = sat8x8d<Zep8u>;
    t.sat8x8d_16u = sat8x8d<Zep16u>;
    fill_modes(t.ssd8x8, []<int M> { return ssd<8, 8, M>; });
    fill_modes(t.ssd4x4, []<int M> { return ssd<4, 4, M>; });
    fill_modes(t.sqrdiff16x16, []<int M> { return ssd<16, 16, M>; });
    fill_modes(t.sqrdiff16x16b[0], []<int M> { return sqrdiff_bi<0, M>; });
    fill_modes(t.sqrdiff16x16b[1], []<int M> { return sqrdiff_bi<1, M>; });
    fill_modes(t.sqrdiff16x16b[2], []<int M> { return sqrdiff_bi<2, M>; });
    fill_modes(t.sqrdiff16x16b[3], []<int M> { return sqrdiff_bi<3, M>; });
    t.subsad8x8 = sub_sad8x8;
    t.framefield_8u = frame_field_sad<Zep8u>;
    t.framefield_16s = frame_field_sad<Zep16s>;
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSSE3) metrics_install_ssse3(t);
    if (level >= Isa::SSE41) metrics_install_sse41(t);
    if (level >= Isa::AVX2) metrics_install_avx2(t);
#else
    (void)level;
#endif
}

// Built before ordinary static constructors run (see ZEP_TABLE_INIT_PRIORITY).
ZEP_TABLE_INIT_PRIORITY const MetricsDsp g_metrics_active = build_active_table(metrics_init);

}  // namespace zep
