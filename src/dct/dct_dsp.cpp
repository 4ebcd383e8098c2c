#include "dct/dct_dsp.h"

#include "dct/dct_ref.h"

namespace zep {

void dct_init(DctDsp& t, Isa level) {
    t.inv[0][0] = ref::idct<false, DctOut::Coeff16s>;
    t.inv[0][1] = ref::idct<false, DctOut::Clamp8u>;
    t.inv[0][2] = ref::idct<false, DctOut::Add8u>;
    t.inv[1][0] = ref::idct<true, DctOut::Coeff16s>;
    t.inv[1][1] = ref::idct<true, DctOut::Clamp8u>;
    t.inv[1][2] = ref::idct<true, DctOut::Add8u>;
    t.fwd = ref::fdct;
    t.fwd8u = ref::fdct_8u;
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSSE3) dct_install_ssse3(t);
    if (level >= Isa::AVX2) dct_install_avx2(t);
#else
    (void)level;
#endif
}

ZEP_TABLE_INIT_PRIORITY const DctDsp g_dct_active = build_active_table(dct_init);

}  // namespace zep
