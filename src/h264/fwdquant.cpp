// Entry points of the H.264 4x4 forward transform and quantisers: checks, then
// qp resolved into multipliers, rounding and shift, then one table call.
#include "frame/check.h"
#include "h264/fwdquant_dsp.h"
#include "h264/fwdquant_ref.h"
#include "zepvc.h"

using namespace zep;

namespace {

struct QuantParams {
    const Zep32s* mult;
    Zep32s rounding;
    int shift;
};

// Intra rounds at a third of the step (the sixth one level up), inter at a sixth.
[[gnu::always_inline]] inline QuantParams quant_params(Zep32u qp, Zep32s isIntra, const Zep32s* scale) {
    const FwdqDivMod dm = fwdq_qp_divmod[qp];
    const int k = dm.div + (isIntra != 0 ? 1 : 0);
    if (scale == nullptr) return {fwdq_flat_mult[dm.mod].data(), fwdq_round15[k], 15 + dm.div};
    return {scale, fwdq_round11[k], 11 + dm.div};
}

}  // namespace

extern "C" {

ZEPVC_API ZepStatus zepiTransformResidual4x4Fwd_H264_16s_C1(const Zep16s* pSrc, Zep16s* pDst) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    fwdquant_dsp().fwd16(pSrc, pDst);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiTransformResidual4x4Fwd_H264_32s_C1(const Zep32s* pSrc, Zep32s* pDst) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    fwdquant_dsp().fwd32(pSrc, pDst);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiQuantizeResidual4x4Fwd_H264_32s_C1(const Zep32s* pSrc, Zep32s* pDst, Zep32s* pNumLevels,
                                                           Zep32s* pLastScanPos, const Zep32s* pScaleTable,
                                                           const Zep16s* pScanPos, Zep32u qp, Zep32s isIntra) {
    ZEP_CHECK_PTRS(pSrc, pDst, pNumLevels, pLastScanPos, pScanPos);
    if (qp > 87) return zepStatusOutOfRange;
    const QuantParams p = quant_params(qp, isIntra, pScaleTable);
    fwdquant_dsp().quant32(pSrc, pDst, pNumLevels, pLastScanPos, p.mult, pScanPos, p.rounding, p.shift);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiQuantizeResidual4x4Fwd_H264_16s_C1(const Zep16s* pSrc, Zep16s* pDst, Zep32s* pNumLevels,
                                                           Zep32s* pLastScanPos, const Zep32s* pScaleTable,
                                                           const Zep16s* pScanPos, Zep32u qp, Zep32s isIntra) {
    ZEP_CHECK_PTRS(pSrc, pDst, pNumLevels, pLastScanPos, pScanPos);
    if (qp > 51) return zepStatusOutOfRange;
    const QuantParams p = quant_params(qp, isIntra, pScaleTable);
    const FwdQuantDsp& d = fwdquant_dsp();
    (pScaleTable ? d.quant16 : d.quant16Flat)(pSrc, pDst, pNumLevels, pLastScanPos, p.mult, pScanPos, p.rounding,
                                              p.shift);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiQuantizeResidual4x4Fwd_H264_16s32s_C1(const Zep16s* pSrc, Zep16s* pDst, Zep32s* pNumLevels,
                                                              Zep32s* pLastScanPos, const Zep32s* pScaleTable,
                                                              const Zep16s* pScanPos, Zep32u qp, Zep32s isIntra) {
    ZEP_CHECK_PTRS(pSrc, pDst, pNumLevels, pLastScanPos, pScaleTable, pScanPos);
    if (qp > 51) return zepStatusOutOfRange;
    const QuantParams p = quant_params(qp, isIntra, pScaleTable);
    fwdquant_dsp().quant16(pSrc, pDst, pNumLevels, pLastScanPos, p.mult, pScanPos, p.rounding, p.shift);
    return zepStatusOk;
}

}  // extern "C"
