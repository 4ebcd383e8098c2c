#include "h264/weight_dsp.h"

#include "h264/weight_ref.h"

namespace zep {

namespace {

template <int H>
constexpr void fill_row(WeightFn* t) {
    t[0 * 4 + weight_class(H)] = ref::weight_block<2, H>;
    t[1 * 4 + weight_class(H)] = ref::weight_block<4, H>;
    t[2 * 4 + weight_class(H)] = ref::weight_block<8, H>;
    t[3 * 4 + weight_class(H)] = ref::weight_block<16, H>;
}

}  // namespace

void weight_init(WeightDsp& t, Isa level) {
    fill_row<2>(t.block);
    fill_row<4>(t.block);
    fill_row<8>(t.block);
    fill_row<16>(t.block);
    t.any = ref::weight_any;
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSSE3) weight_install_ssse3(t);
    if (level >= Isa::AVX2) weight_install_avx2(t);
#else
    (void)level;
#endif
}

ZEP_TABLE_INIT_PRIORITY const WeightDsp g_weight_active = build_active_table(weight_init);

}  // namespace zep
