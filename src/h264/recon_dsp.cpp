#include "h264/recon_dsp.h"

#include "h264/recon_ref.h"

namespace zep {

void recon_init(ReconDsp& t, Isa level) {
    t.block = ref::recon_block;
    t.inter_mb = ref::recon_inter_mb;
    t.itrans16 = ref::itrans16;
    t.itrans32 = ref::itrans32;
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSSE3) recon_install_ssse3(t);
#else
    (void)level;
#endif
}

ZEP_TABLE_INIT_PRIORITY const ReconDsp g_recon_active = build_active_table(recon_init);

}  // namespace zep
