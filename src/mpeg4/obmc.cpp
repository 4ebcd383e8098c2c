// H.263 Annex F overlapped block motion compensation: the scalar reference,
// the kernel table and the entry point.
#include <cstddef>

#include "frame/check.h"
#include "mpeg4/obmc_dsp.h"
#include "zepvc.h"

namespace zep {
namespace ref {

// Rows 0..3 take the vertical neighbour's prediction from the block above,
// rows 4..7 from the block below; columns 0..3 the left one's, 4..7 the right.
void obmc(const ObmcSources& s, Zep8u* dst, Zep32s dstStep) {
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            const auto at = [&](int k) { return static_cast<int>(s.p[k][static_cast<ptrdiff_t>(y) * s.step[k] + x]); };
            const int i = 8 * y + x;
            const int v = at(0) * kObmcH0[i] + at(y < 4 ? 1 : 2) * kObmcH1[i] + at(x < 4 ? 3 : 4) * kObmcH2[i];
            dst[static_cast<ptrdiff_t>(y) * dstStep + x] = static_cast<Zep8u>((v + 4) >> 3);
        }
}

}  // namespace ref

void obmc_init(ObmcDsp& t, Isa level) {
    t.block = ref::obmc;
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSSE3) obmc_install_ssse3(t);
#else
    (void)level;
#endif
}

ZEP_TABLE_INIT_PRIORITY const ObmcDsp g_obmc_active = build_active_table(obmc_init);

}  // namespace zep

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiOBMC8x8_H263_8u_C1R(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcTop,
                                            Zep32s srcTopStep, const Zep8u* pSrcBottom, Zep32s srcBottomStep,
                                            const Zep8u* pSrcLeft, Zep32s srcLeftStep, const Zep8u* pSrcRight,
                                            Zep32s srcRightStep, Zep8u* pDst, Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrcCur, pSrcTop, pSrcBottom, pSrcLeft, pSrcRight, pDst);
    if (srcCurStep < 8 || srcTopStep < 8 || srcBottomStep < 8 || srcLeftStep < 8 || srcRightStep < 8 || dstStep < 8)
        return zepStatusBadStep;
    const ObmcSources s = {{pSrcCur, pSrcTop, pSrcBottom, pSrcLeft, pSrcRight},
                           {srcCurStep, srcTopStep, srcBottomStep, srcLeftStep, srcRightStep}};
    obmc_dsp().block(s, pDst, dstStep);
    return zepStatusOk;
}

}  // extern "C"
