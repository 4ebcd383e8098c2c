// Entry point of the AVS weighted prediction.
#include "avs/weight_dsp.h"
#include "frame/check.h"
#include "zepvc.h"

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiWeightPrediction_AVS_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep,
                                                    Zep32u scale, Zep32s offset, ZepSize roiSize) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    if ((roiSize.width & ~28) != 0 || (roiSize.height & 3) != 0) return zepStatusBadSize;
    const bool wide = roiSize.width & 16;
    // Groups of four (8 wide) or two (16 wide) rows, at least one group.
    const int group = wide ? 2 : 4;
    const int rows = roiSize.height > 0 ? roiSize.height : group;
    const AvsWeightDsp& t = avs_weight_dsp();
    (wide ? t.w16 : t.w8)(pSrc, srcStep, pDst, dstStep, static_cast<Zep16u>(scale), static_cast<Zep16s>(offset), rows);
    return zepStatusOk;
}

}  // extern "C"
