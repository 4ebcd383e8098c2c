#include "h264/weight16_dsp.h"

#include "h264/weight16_ref.h"

namespace zep {

void weight16_init(Weight16Dsp& t, Isa level) {
    t.block[0] = ref::weight16_block<2>;
    t.block[1] = ref::weight16_block<4>;
    t.block[2] = ref::weight16_block<8>;
    t.block[3] = ref::weight16_block<16>;
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSE41) weight16_install_sse41(t);
    if (level >= Isa::AVX2) weight16_install_avx2(t);
#else
    (void)level;
#endif
}

ZEP_TABLE_INIT_PRIORITY const Weight16Dsp g_weight16_active = build_active_table(weight16_init);

}  // namespace zep
