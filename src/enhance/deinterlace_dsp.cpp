#include "enhance/deinterlace_dsp.h"

#include "enhance/deinterlace_ref.h"

namespace zep {

void deint_init(DeintDsp& t, Isa level) {
    t.row = ref::deint_row;
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSSE3) deint_install_ssse3(t);
    if (level >= Isa::AVX2) deint_install_avx2(t);
#else
    (void)level;
#endif
}

ZEP_TABLE_INIT_PRIORITY const DeintDsp g_deint_active = build_active_table(deint_init);

}  // namespace zep
