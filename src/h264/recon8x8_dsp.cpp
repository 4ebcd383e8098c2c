#include "h264/recon8x8_dsp.h"

#include "h264/recon8x8_ref.h"

namespace zep {

void recon8x8_init(Recon8x8Dsp& t, Isa level) {
    t.block = ref::recon8x8;
#if ZEPVC_HAVE_X86
    if (level >= Isa::AVX2) recon8x8_install_avx2(t);
#else
    (void)level;
#endif
}

ZEP_TABLE_INIT_PRIORITY const Recon8x8Dsp g_recon8x8_active = build_active_table(recon8x8_init);

}  // namespace zep
