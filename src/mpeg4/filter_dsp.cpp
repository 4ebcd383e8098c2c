#include "mpeg4/filter_dsp.h"

#include "mpeg4/filter_ref.h"

namespace zep {

void filter_init(FilterDsp& t, Isa level) {
    t.loop = ref::loop_filter;
    t.horEdge = ref::deblock_edge;
    t.verEdge = ref::deblock_edge;
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSSE3) filter_install_ssse3(t);
#else
    (void)level;
#endif
}

ZEP_TABLE_INIT_PRIORITY const FilterDsp g_filter_active = build_active_table(filter_init);

}  // namespace zep
