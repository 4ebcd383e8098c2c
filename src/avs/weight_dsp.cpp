#include "avs/weight_dsp.h"

#include "avs/weight_ref.h"

namespace zep {

void avs_weight_init(AvsWeightDsp& t, Isa level) {
    t.w8 = ref::avs_weight<8>;
    t.w16 = ref::avs_weight<16>;
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSSE3) avs_weight_install_ssse3(t);
    if (level >= Isa::AVX2) avs_weight_install_avx2(t);
#else
    (void)level;
#endif
}

ZEP_TABLE_INIT_PRIORITY const AvsWeightDsp g_avs_weight_active = build_active_table(avs_weight_init);

}  // namespace zep
