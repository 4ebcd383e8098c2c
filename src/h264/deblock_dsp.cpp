#include "h264/deblock_dsp.h"

#include "h264/deblock_ref.h"

namespace zep {

namespace {
ZEP_TABLE_INIT_PRIORITY const DeblockDsp g_active = build_active_table(deblock_init);
}  // namespace

void deblock_init(DeblockDsp& t, Isa level) {
    t.luma8[0] = ref::deblock_luma_8u<true>;
    t.luma8[1] = ref::deblock_luma_8u<false>;
    t.luma16[0] = t.luma16_wide[0] = ref::deblock_luma_16u<true>;
    t.luma16[1] = t.luma16_wide[1] = ref::deblock_luma_16u<false>;
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSSE3) deblock_install_ssse3(t);
    if (level >= Isa::AVX2) deblock_install_avx2(t);
#else
    (void)level;
#endif
}

const DeblockDsp& deblock_dsp() { return g_active; }

}  // namespace zep
