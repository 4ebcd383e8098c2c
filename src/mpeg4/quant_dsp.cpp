#include "mpeg4/quant_dsp.h"

#include "mpeg4/quant_ref.h"

namespace zep {

void quantinv_init(QuantInvDsp& t, Isa level) {
    t.h263 = ref::inv_h263;
    t.matrixInter = ref::inv_matrix<false>;
    t.matrixIntra = ref::inv_matrix<true>;
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSE41) quantinv_install_sse41(t);
    if (level >= Isa::AVX2) quantinv_install_avx2(t);
#else
    (void)level;
#endif
}

ZEP_TABLE_INIT_PRIORITY const QuantInvDsp g_quantinv_active = build_active_table(quantinv_init);

}  // namespace zep
