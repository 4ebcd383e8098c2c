#include "block/metrics_dsp.h"

#include "block/metrics_ref.h"

namespace zep {

namespace {
template <int W, int H>
constexpr void fill_sad_modes(SadFn (&t)[4]) {
    t[0] = ref::sad_8u<W, H, 0>;
    t[1] = ref::sad_8u<W, H, 1>;
    t[2] = ref::sad_8u<W, H, 2>;
    t[3] = ref::sad_8u<W, H, 3>;
}

// Built before ordinary static constructors run (see ZEP_TABLE_INIT_PRIORITY).
ZEP_TABLE_INIT_PRIORITY const MetricsDsp g_active = build_active_table(metrics_init);
}  // namespace

void metrics_init(MetricsDsp& t, Isa level) {
    fill_sad_modes<16, 16>(t.sad16x16);
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSSE3) metrics_install_ssse3(t);
    if (level >= Isa::AVX2) metrics_install_avx2(t);
#else
    (void)level;
#endif
}

const MetricsDsp& metrics_dsp() { return g_active; }

}  // namespace zep
