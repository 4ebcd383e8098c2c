// Entry points of the 8x8 DCTs: checks, then one table call.
#include "dct/dct_dsp.h"
#include "frame/check.h"
#include "zepvc.h"

using namespace zep;

namespace {

[[gnu::always_inline]] inline ZepStatus inv16(bool transposed, const Zep16s* pSrc, Zep16s* pDst) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    dct_dsp().inv[transposed][static_cast<int>(DctOut::Coeff16s)](pSrc, pDst, 8);
    return zepStatusOk;
}

[[gnu::always_inline]] inline ZepStatus inv8(bool transposed, DctOut out, const Zep16s* pSrc, Zep8u* pDst,
                                             Zep32s step) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    if (step < 8) return zepStatusBadStep;
    dct_dsp().inv[transposed][static_cast<int>(out)](pSrc, pDst, step);
    return zepStatusOk;
}

}  // namespace

extern "C" {

ZEPVC_API ZepStatus zepiDCT8x8Inv_16s_C1(const Zep16s* pSrc, Zep16s* pDst) { return inv16(false, pSrc, pDst); }
ZEPVC_API ZepStatus zepiDCT8x8Inv_16s_C1I(Zep16s* pSrcDst) { return inv16(false, pSrcDst, pSrcDst); }
ZEPVC_API ZepStatus zepiDCT8x8Inv_16s8u_C1R(const Zep16s* pSrc, Zep8u* pDst, Zep32s dstStep) {
    return inv8(false, DctOut::Clamp8u, pSrc, pDst, dstStep);
}
ZEPVC_API ZepStatus zepiDCT8x8InvAdd_16s8u_C1IR(const Zep16s* pSrc, Zep8u* pSrcDst, Zep32s srcDstStep) {
    return inv8(false, DctOut::Add8u, pSrc, pSrcDst, srcDstStep);
}
ZEPVC_API ZepStatus zepiDCT8x8InvTransposed_16s_C1(const Zep16s* pSrc, Zep16s* pDst) { return inv16(true, pSrc, pDst); }
ZEPVC_API ZepStatus zepiDCT8x8InvTransposed_16s8u_C1R(const Zep16s* pSrc, Zep8u* pDst, Zep32s dstStep) {
    return inv8(true, DctOut::Clamp8u, pSrc, pDst, dstStep);
}
ZEPVC_API ZepStatus zepiDCT8x8InvTransposedAdd_16s8u_C1IR(const Zep16s* pSrc, Zep8u* pSrcDst, Zep32s srcDstStep) {
    return inv8(true, DctOut::Add8u, pSrc, pSrcDst, srcDstStep);
}
ZEPVC_API ZepStatus zepiDCT8x8Fwd_16s_C1(const Zep16s* pSrc, Zep16s* pDst) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    dct_dsp().fwd(pSrc, pDst);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiDCT8x8Fwd_8u16s_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep16s* pDst) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    if (srcStep < 8) return zepStatusBadStep;
    dct_dsp().fwd8u(pSrc, srcStep, pDst);
    return zepStatusOk;
}

}  // extern "C"
