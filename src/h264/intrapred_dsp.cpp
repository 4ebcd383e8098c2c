#include "h264/intrapred_dsp.h"

#include "h264/intrapred_ref.h"

namespace zep {

void intrapred_init(IntraPredDsp& t, Isa level) {
    t.luma16[0] = ref::pred_vertical<16, 16>;
    t.luma16[1] = ref::pred_horizontal<16, 16>;
    t.luma16[2] = ref::pred16_dc;
    t.luma16[3] = ref::pred_plane<16, 16>;
    t.chroma[0][0] = ref::pred_chroma_dc<8>;
    t.chroma[0][1] = ref::pred_horizontal<8, 8>;
    t.chroma[0][2] = ref::pred_vertical<8, 8>;
    t.chroma[0][3] = ref::pred_plane<8, 8>;
    t.chroma[1][0] = ref::pred_chroma_dc<16>;
    t.chroma[1][1] = ref::pred_horizontal<8, 16>;
    t.chroma[1][2] = ref::pred_vertical<8, 16>;
    t.chroma[1][3] = ref::pred_plane<8, 16>;
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSSE3) intrapred_install_ssse3(t);
#else
    (void)level;
#endif
}

ZEP_TABLE_INIT_PRIORITY const IntraPredDsp g_intrapred_active = build_active_table(intrapred_init);

}  // namespace zep
