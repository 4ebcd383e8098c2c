// Entry points of the H.264 deblocking filter: checks, then one table call.
#include "zepvc.h"

#include "frame/check.h"
#include "h264/deblock_dsp.h"

using namespace zep;

namespace {

// pick(table, narrow) returns the kernel for samples of up to 12 bits (narrow)
// or for any range.
template <class Pick>
ZepStatus deblock16(const ZepDeblockParams16u* d, Pick pick) {
    if (d == nullptr) return zepStatusNullPtr;
    ZEP_CHECK_PTRS(d->pSrcDst, d->pAlpha, d->pBeta, d->pThresholds, d->pBs);
    const int depth = d->bitDepth < 0 ? 0 : (d->bitDepth > 16 ? 16 : d->bitDepth);
    const DeblockDsp& t = deblock_dsp();
    // The vector kernels work in signed 16-bit lanes, exact up to 12 bits.
    const Deblock16Fn fn = pick(t, depth <= 12);
    fn(d->pSrcDst, d->srcDstStep, d->pAlpha, d->pBeta, d->pThresholds, d->pBs, (1 << depth) - 1);
    return zepStatusOk;
}

template <int Dir>
ZepStatus luma16(const ZepDeblockParams16u* d) {
    return deblock16(d, [](const DeblockDsp& t, bool narrow) { return narrow ? t.luma16[Dir] : t.luma16_wide[Dir]; });
}
template <int Kind>
ZepStatus chroma16(const ZepDeblockParams16u* d) {
    return deblock16(d, [](const DeblockDsp& t, bool narrow) {
        return narrow ? t.chroma16[Kind] : t.chroma16_wide[Kind];
    });
}

template <int Kind>
ZepStatus chroma8(Zep8u* pSrcDst, Zep32s srcDstStep, const Zep8u* pAlpha, const Zep8u* pBeta,
                  const Zep8u* pThresholds, const Zep8u* pBs) {
    ZEP_CHECK_PTRS(pSrcDst, pAlpha, pBeta, pThresholds, pBs);
    deblock_dsp().chroma8[Kind](pSrcDst, srcDstStep, pAlpha, pBeta, pThresholds, pBs);
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
    return luma16<0>(pDeblockInfo);
}

ZEPVC_API ZepStatus zepiFilterDeblockingLumaHorEdge_H264_16u_C1IR(const ZepDeblockParams16u* pDeblockInfo) {
    return luma16<1>(pDeblockInfo);
}

ZEPVC_API ZepStatus zepiFilterDeblockingChroma_VerEdge_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep,
                                                                    const Zep8u* pAlpha, const Zep8u* pBeta,
                                                                    const Zep8u* pThresholds, const Zep8u* pBs) {
    return chroma8<kChromaVer420>(pSrcDst, srcDstStep, pAlpha, pBeta, pThresholds, pBs);
}

ZEPVC_API ZepStatus zepiFilterDeblockingChroma_HorEdge_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep,
                                                                    const Zep8u* pAlpha, const Zep8u* pBeta,
                                                                    const Zep8u* pThresholds, const Zep8u* pBs) {
    return chroma8<kChromaHor420>(pSrcDst, srcDstStep, pAlpha, pBeta, pThresholds, pBs);
}

ZEPVC_API ZepStatus zepiFilterDeblockingChroma422VerEdge_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep,
                                                                      const Zep8u* pAlpha, const Zep8u* pBeta,
                                                                      const Zep8u* pThresholds, const Zep8u* pBs) {
    return chroma8<kChromaVer422>(pSrcDst, srcDstStep, pAlpha, pBeta, pThresholds, pBs);
}

ZEPVC_API ZepStatus zepiFilterDeblockingChroma422HorEdge_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep,
                                                                      const Zep8u* pAlpha, const Zep8u* pBeta,
                                                                      const Zep8u* pThresholds, const Zep8u* pBs) {
    return chroma8<kChromaHor422>(pSrcDst, srcDstStep, pAlpha, pBeta, pThresholds, pBs);
}

ZEPVC_API ZepStatus zepiFilterDeblockingChromaVerEdge_H264_16u_C1IR(const ZepDeblockParams16u* pDeblockInfo) {
    return chroma16<kChromaVer420>(pDeblockInfo);
}

ZEPVC_API ZepStatus zepiFilterDeblockingChromaHorEdge_H264_16u_C1IR(const ZepDeblockParams16u* pDeblockInfo) {
    return chroma16<kChromaHor420>(pDeblockInfo);
}

ZEPVC_API ZepStatus zepiFilterDeblockingChroma422VerEdge_H264_16u_C1IR(const ZepDeblockParams16u* pDeblockInfo) {
    return chroma16<kChromaVer422>(pDeblockInfo);
}

ZEPVC_API ZepStatus zepiFilterDeblockingChroma422HorEdge_H264_16u_C1IR(const ZepDeblockParams16u* pDeblockInfo) {
    return chroma16<kChromaHor422>(pDeblockInfo);
}

ZEPVC_API ZepStatus zepiFilterDeblockingLumaVerEdgeMBAFF_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep,
                                                                      const Zep8u* pAlpha, const Zep8u* pBeta,
                                                                      const Zep8u* pThresholds, const Zep8u* pBs) {
    ZEP_CHECK_PTRS(pSrcDst, pAlpha, pBeta, pThresholds, pBs);
    deblock_dsp().mbaff8[0](pSrcDst, srcDstStep, pAlpha, pBeta, pThresholds, pBs);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiFilterDeblockingChromaVerEdgeMBAFF_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep,
                                                                        const Zep8u* pAlpha, const Zep8u* pBeta,
                                                                        const Zep8u* pThresholds, const Zep8u* pBs) {
    ZEP_CHECK_PTRS(pSrcDst, pAlpha, pBeta, pThresholds, pBs);
    deblock_dsp().mbaff8[1](pSrcDst, srcDstStep, pAlpha, pBeta, pThresholds, pBs);
    return zepStatusOk;
}

// Not provided: refused whatever the arguments, before any of them is looked at.
ZEPVC_API ZepStatus zepiFilterDeblockingChroma422VerEdgeMBAFF_H264_8u_C1IR(Zep8u*, Zep32s, const Zep8u*, const Zep8u*,
                                                                           const Zep8u*, const Zep8u*) {
    return zepStatusNotSupported;
}

}  // extern "C"
