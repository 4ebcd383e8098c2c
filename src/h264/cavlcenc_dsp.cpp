#include "h264/cavlcenc_dsp.h"

#include "h264/cavlcenc_ref.h"

namespace zep {

void cavlcenc_init(CavlcEncDsp& t, Isa level) {
    t.block16 = ref::cavlc_block<Zep16s>;
    t.block32 = ref::cavlc_block<Zep32s>;
    t.dc2x2_16 = ref::cavlc_dc<Zep16s, 4, kCavlcDc2x2Order>;
    t.dc2x2_32 = ref::cavlc_dc<Zep32s, 4, kCavlcDc2x2Order>;
    t.dc2x4_16 = ref::cavlc_dc<Zep16s, 8, kCavlcDc2x4Order>;
    t.dc2x4_32 = ref::cavlc_dc<Zep32s, 8, kCavlcDc2x4Order>;
    // Only AVX-512 pays here: its compress and masked stores make the analysis
    // branch-free. Narrower kernels (a bit-mask walk over a shuffled block)
    // measured no faster than the scalar walk, whose cost is the same
    // data-dependent branches; the chroma DC walks of 4 or 8 values stay
    // scalar at every level for the same reason.
#if ZEPVC_HAVE_X86
    if (level >= Isa::AVX512) cavlcenc_install_avx512(t);
#else
    (void)level;
#endif
}

ZEP_TABLE_INIT_PRIORITY const CavlcEncDsp g_cavlcenc_active = build_active_table(cavlcenc_init);

}  // namespace zep
