// MPEG-4 quarter-sample luma interpolation: the kernel table and the entry
// point.
#include <utility>

#include "frame/check.h"
#include "mpeg4/qpel_dsp.h"
#include "mpeg4/qpel_ref.h"
#include "zepvc.h"

namespace zep {

namespace {

template <int N, int... P>
void fill_ref(QpelFn (&t)[16], std::integer_sequence<int, P...>) {
    ((t[P] = ref::qpel<N, (P & 3), (P >> 2)>), ...);
}

}  // namespace

void qpel_init(QpelDsp& t, Isa level) {
    fill_ref<8>(t.luma[qpel_size_class(8)], std::make_integer_sequence<int, 16>{});
    fill_ref<16>(t.luma[qpel_size_class(16)], std::make_integer_sequence<int, 16>{});
#if ZEPVC_HAVE_X86
    if (level >= Isa::SSSE3) qpel_install_ssse3(t);
    if (level >= Isa::AVX2) qpel_install_avx2(t);
#else
    (void)level;
#endif
}

ZEP_TABLE_INIT_PRIORITY const QpelDsp g_qpel_active = build_active_table(qpel_init);

}  // namespace zep

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiInterpolateLumaQP_MPEG4_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst,
                                                       Zep32s dstStep, Zep32s dx, Zep32s dy, ZepSize roiSize,
                                                       Zep32s roundControl) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    // The source rows hold the block's extra column, so they must reach past the width.
    if (srcStep < 1 || dstStep < 1 || srcStep <= roiSize.width || dstStep < roiSize.width) return zepStatusBadStep;
    if ((roiSize.width != 8 && roiSize.width != 16) || roiSize.height != roiSize.width) return zepStatusBadSize;
    if ((static_cast<Zep32u>(dx) | static_cast<Zep32u>(dy)) > 3u) return zepStatusBadArg;
    qpel_dsp().luma[qpel_size_class(roiSize.width)][dy * 4 + dx](pSrc, srcStep, pDst, dstStep, roundControl & 1);
    return zepStatusOk;
}

}  // extern "C"
