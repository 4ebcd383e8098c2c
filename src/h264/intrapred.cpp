// Entry points of the stand-alone H.264 intra predictors.
#include "frame/check.h"
#include "h264/intrapred_dsp.h"
#include "h264/intrapred_ref.h"
#include "zepvc.h"

using namespace zep;

namespace {

// Pointer, step, mode, then the neighbours the mode needs.
template <class ModeOk>
ZepStatus check(const Zep8u* p, Zep32u step, Zep32u width, Zep32u mode, Zep32u modes, Nbr n, ModeOk ok) {
    ZEP_CHECK_PTRS(p);
    if (step < width || step > 0x7FFFFFFFu) return zepStatusBadStep;
    if (mode >= modes) return zepStatusBadArg;
    if (!ok(mode, n)) return zepStatusNeighborUnavailable;
    return zepStatusOk;
}

ZepStatus chroma(Zep8u* p, Zep32u step, Zep32u mode, Zep8u edgeFlags, int is422) {
    const Nbr n = nbr_from_flags(edgeFlags);
    if (const ZepStatus st = check(p, step, 8, mode, 4, n, chroma_mode_ok); st != zepStatusOk) return st;
    intrapred_dsp().chroma[is422][mode](p, static_cast<Zep32s>(step), dc_avail(n));
    return zepStatusOk;
}

}  // namespace

extern "C" {

ZEPVC_API ZepStatus zepiPredictIntra4x4_H264_8u_C1IR(Zep8u* pSrcDst, Zep32u srcDstStep, Zep32u predMode,
                                                      Zep8u edgeFlags) {
    const Nbr n = nbr_from_flags(edgeFlags);
    if (const ZepStatus st = check(pSrcDst, srcDstStep, 4, predMode, 9, n, nxn_mode_ok); st != zepStatusOk) return st;
    ref::pred4x4(pSrcDst, static_cast<Zep32s>(srcDstStep), predMode, n);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiPredictIntra8x8_H264_8u_C1IR(Zep8u* pSrcDst, Zep32u srcDstStep, Zep32u predMode,
                                                      Zep8u edgeFlags) {
    const Nbr n = nbr_from_flags(edgeFlags);
    if (const ZepStatus st = check(pSrcDst, srcDstStep, 8, predMode, 9, n, nxn_mode_ok); st != zepStatusOk) return st;
    ref::pred8x8(pSrcDst, static_cast<Zep32s>(srcDstStep), predMode, n);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiPredictIntra16x16_H264_8u_C1IR(Zep8u* pSrcDst, Zep32u srcDstStep, Zep32u predMode,
                                                        Zep8u edgeFlags) {
    const Nbr n = nbr_from_flags(edgeFlags);
    if (const ZepStatus st = check(pSrcDst, srcDstStep, 16, predMode, 4, n, luma16_mode_ok); st != zepStatusOk)
        return st;
    intrapred_dsp().luma16[predMode](pSrcDst, static_cast<Zep32s>(srcDstStep), dc_avail(n));
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiPredictIntraChroma8x8_H264_8u_C1IR(Zep8u* pSrcDst, Zep32u srcDstStep, Zep32u predMode,
                                                            Zep8u edgeFlags) {
    return chroma(pSrcDst, srcDstStep, predMode, edgeFlags, 0);
}

ZEPVC_API ZepStatus zepiPredictIntraChroma8x16_H264_8u_C1IR(Zep8u* pSrcDst, Zep32u srcDstStep, Zep32u predMode,
                                                             Zep8u edgeFlags) {
    return chroma(pSrcDst, srcDstStep, predMode, edgeFlags, 1);
}

}  // extern "C"
