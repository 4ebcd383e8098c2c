// Entry points of the H.264 luma deblocking filter: checks, then one table call.
#include "zepvc.h"

#include "frame/check.h"
#include "h264/deblock_dsp.h"

using namespace zep;

namespace {

ZepStatus deblock16(const ZepDeblockParams16u* d, int dir) {
    if (d == nullptr) return zepStatusNullPtr;
    ZEP_CHECK_PTRS(d->pSrcDst, d->pAlpha, d->pBeta, d->pThresholds, d->pBs);
    const int depth = d->bitDepth < 0 ? 0 : (d->bitDepth > 16 ? 16 : d->bitDepth);
    const DeblockDsp& t = deblock_dsp();
    // The vector kernels work in signed 16-bit lanes, exact up to 12 bits.
    const Deblock16Fn fn = depth <= 12 ? t.luma16[dir] : t.luma16_wide[dir];
    fn(d->pSrcDst, d->srcDstStep, d->pAlpha, d->pBeta, d->pThresholds, d->pBs, (1 << depth) - 1);
    return zepStatusOk;
}

}  // namespace

extern "C" {

ZEPVC_API ZepStatus zepiFilterDeblockingLuma_VerEdge_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep,
                                                                  const Zep8u* pAlpha, const Zep8u* pBeta,
                                                                  const Zep8u* pThresholds, const Zep8u* pBs) {
    ZEP_CHECK_PTRS(pSrcDst, pAlpha, pBeta, pThresholds, pBs);
    deblock_dsp().luma8[0](pSrcDst, srcDstStep, pAlpha, pBeta, pThresholds, pBs);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiFilterDeblockingLuma_HorEdge_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep,
                                                                  const Zep8u* pAlpha, const Zep8u* pBeta,
                                                                  const Zep8u* pThresholds, const Zep8u* pBs) {
    ZEP_CHECK_PTRS(pSrcDst, pAlpha, pBeta, pThresholds, pBs);
    deblock_dsp().luma8[1](pSrcDst, srcDstStep, pAlpha, pBeta, pThresholds, pBs);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiFilterDeblockingLumaVerEdge_H264_16u_C1IR(const ZepDeblockParams16u* pDeblockInfo) {
    return deblock16(pDeblockInfo, 0);
}

ZEPVC_API ZepStatus zepiFilterDeblockingLumaHorEdge_H264_16u_C1IR(const ZepDeblockParams16u* pDeblockInfo) {
    return deblock16(pDeblockInfo, 1);
}

}  // extern "C"
