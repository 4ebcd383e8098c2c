// Entry points of the H.264 CAVLC syntax analysis: checks, then one table call.
#include "frame/check.h"
#include "h264/cavlcenc_dsp.h"
#include "zepvc.h"

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiEncodeCoeffsCAVLC_H264_16s(const Zep16s* pSrc, Zep8u startIdx, const Zep32s* pScan,
                                                   Zep8u lastIdx, Zep8u* pTrailingOnes, Zep8u* pTrailingOneSigns,
                                                   Zep8u* pNumCoeff, Zep8u* pTotalZeros, Zep16s* pLevels,
                                                   Zep8u* pRuns) {
    ZEP_CHECK_PTRS(pSrc, pTrailingOnes, pTrailingOneSigns, pNumCoeff, pTotalZeros, pLevels, pRuns, pScan);
    if (lastIdx > 15 || startIdx > lastIdx) return zepStatusOutOfRange;
    cavlcenc_dsp().block16(pSrc, startIdx, pScan, lastIdx, pTrailingOnes, pTrailingOneSigns, pNumCoeff, pTotalZeros,
                           pLevels, pRuns);
    return zepStatusOk;
}

// A negative startIdx would walk before the scan table: refused with the other
// range errors.
ZEPVC_API ZepStatus zepiEncodeCoeffsCAVLC_H264_32s(const Zep32s* pSrc, Zep32s startIdx, const Zep32s* pScan,
                                                   Zep32s lastIdx, Zep8u* pTrailingOnes, Zep8u* pTrailingOneSigns,
                                                   Zep8u* pNumCoeff, Zep8u* pTotalZeros, Zep32s* pLevels,
                                                   Zep8u* pRuns) {
    ZEP_CHECK_PTRS(pSrc, pTrailingOnes, pTrailingOneSigns, pNumCoeff, pTotalZeros, pLevels, pRuns, pScan);
    if (lastIdx > 15 || startIdx > lastIdx || startIdx < 0) return zepStatusOutOfRange;
    cavlcenc_dsp().block32(pSrc, startIdx, pScan, lastIdx, pTrailingOnes, pTrailingOneSigns, pNumCoeff, pTotalZeros,
                           pLevels, pRuns);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiEncodeChromaDcCoeffsCAVLC_H264_16s(const Zep16s* pSrc, Zep8u* pTrailingOnes,
                                                           Zep8u* pTrailingOneSigns, Zep8u* pNumCoeff,
                                                           Zep8u* pTotalZeros, Zep16s* pLevels, Zep8u* pRuns) {
    ZEP_CHECK_PTRS(pSrc, pTrailingOnes, pTrailingOneSigns, pNumCoeff, pTotalZeros, pLevels, pRuns);
    cavlcenc_dsp().dc2x2_16(pSrc, pTrailingOnes, pTrailingOneSigns, pNumCoeff, pTotalZeros, pLevels, pRuns);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiEncodeCoeffsCAVLCChromaDC2x2_H264_32s(const Zep32s* pSrc, Zep8u* pTrailingOnes,
                                                              Zep8u* pTrailingOneSigns, Zep8u* pNumCoeff,
                                                              Zep8u* pTotalZeros, Zep32s* pLevels, Zep8u* pRuns) {
    ZEP_CHECK_PTRS(pSrc, pTrailingOnes, pTrailingOneSigns, pNumCoeff, pTotalZeros, pLevels, pRuns);
    cavlcenc_dsp().dc2x2_32(pSrc, pTrailingOnes, pTrailingOneSigns, pNumCoeff, pTotalZeros, pLevels, pRuns);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiEncodeCoeffsCAVLCChromaDC2x4_H264_16s(const Zep16s* pSrc, Zep8u* pTrailingOnes,
                                                              Zep8u* pTrailingOneSigns, Zep8u* pNumCoeff,
                                                              Zep8u* pTotalZeros, Zep16s* pLevels, Zep8u* pRuns) {
    ZEP_CHECK_PTRS(pSrc, pTrailingOnes, pTrailingOneSigns, pNumCoeff, pTotalZeros, pLevels, pRuns);
    cavlcenc_dsp().dc2x4_16(pSrc, pTrailingOnes, pTrailingOneSigns, pNumCoeff, pTotalZeros, pLevels, pRuns);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiEncodeCoeffsCAVLCChromaDC2x4_H264_32s(const Zep32s* pSrc, Zep8u* pTrailingOnes,
                                                              Zep8u* pTrailingOneSigns, Zep8u* pNumCoeff,
                                                              Zep8u* pTotalZeros, Zep32s* pLevels, Zep8u* pRuns) {
    ZEP_CHECK_PTRS(pSrc, pTrailingOnes, pTrailingOneSigns, pNumCoeff, pTotalZeros, pLevels, pRuns);
    cavlcenc_dsp().dc2x4_32(pSrc, pTrailingOnes, pTrailingOneSigns, pNumCoeff, pTotalZeros, pLevels, pRuns);
    return zepStatusOk;
}

}  // extern "C"
