#include "h264/deblock_dsp.h"

#include "h264/deblock_ref.h"

namespace zep {

void deblock_init(DeblockDsp& t, Isa level) {
    t.luma8[0] = ref::deblock_luma_8u<true>;
    t.luma8[1] = ref::deblock_luma_8u<false>;
    t.luma16[0] = t.luma16_wide[0] = ref::deblock_luma_16u<true>;
    t.luma16[1] = t.luma16_wide[1] = ref::deblock_luma_16u<false>;
    t.chroma8[kChromaVer420] = ref::deblock_chroma_8u<true, false>;
    t.chroma8[kChromaHor420] = ref::deblock_chroma_8u<false, false>;
    t.chroma8[kChromaVer422] = ref::deblock_chroma_8u<true, true>;
    t.chroma8[kChromaHor422] = ref::deblock_chroma_8u<false, true>;
    t.chroma16[kChromaVer420] = t.chroma16_wide[kChromaVer420] = ref::deblock_chroma_16u<true, false>;
    t.chroma16[kChromaHor420] = t.chroma16_wide[kChromaHor420] = ref::deblock_chroma_16u<false, false>;
    t.chroma16[kChromaVer422] = t.chroma16_wide[kChromaVer422] = ref::deblock_chroma_16u<true, true>;
    t.chroma16[kChromaHor422] = t.chroma16_wide[kChromaHor422] = ref::deblock_chroma_16u<false, true>;
    t.mbaff8[0] = ref::deblock_mbaff_8u<false>;
    t.mbaff8[1] = ref::deblock_mbaff_8u<true>;
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSSE3) deblock_install_ssse3(t);
    if (level >= Isa::AVX2) deblock_install_avx2(t);
#else
    (void)level;
#endif
}

ZEP_TABLE_INIT_PRIORITY const DeblockDsp g_deblock_active = build_active_table(deblock_init);

}  // namespace zep
