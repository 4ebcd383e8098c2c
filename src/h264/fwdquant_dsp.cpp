#include "h264/fwdquant_dsp.h"

#include "h264/fwdquant_ref.h"

namespace zep {

void fwdquant_init(FwdQuantDsp& t, Isa level) {
    t.fwd16 = ref::fwd4x4_16s;
    t.fwd32 = ref::fwd4x4_32s;
    t.quant16Flat = ref::quant4x4<Zep16s>;
    t.quant16 = ref::quant4x4<Zep16s>;
    t.quant32 = ref::quant4x4<Zep32s>;
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSSE3) fwdquant_install_ssse3(t);
    if (level >= Isa::SSE41) fwdquant_install_sse41(t);
    if (level >= Isa::AVX2) fwdquant_install_avx2(t);
    if (level >= Isa::AVX512) fwdquant_install_avx512(t);
#else
    (void)level;
#endif
}

ZEP_TABLE_INIT_PRIORITY const FwdQuantDsp g_fwdquant_active = build_active_table(fwdquant_init);

}  // namespace zep
