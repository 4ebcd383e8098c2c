// Entry points of the block distortion metrics: checks, then one table call.
#include "zepvc.h"

#include "block/metrics_dsp.h"
#include "frame/check.h"

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiSAD16x16_8u32s(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                       Zep32s* pSAD, Zep32s mcType) {
    ZEP_CHECK_PTRS(pSrc, pRef, pSAD);
    metrics_dsp().sad16x16[hp_index(mcType)](pSrc, srcStep, pRef, refStep, pSAD);
    return zepStatusOk;
}

}  // extern "C"
