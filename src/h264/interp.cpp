// Entry points of the H.264 luma interpolation: checks, then one table call.
#include "zepvc.h"

#include "frame/check.h"
#include "h264/interp_dsp.h"

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiInterpolateLuma_H264_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep,
                                                    Zep32s dx, Zep32s dy, ZepSize roiSize) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    if ((static_cast<Zep32u>(dx) | static_cast<Zep32u>(dy)) > 3u) return zepStatusBadArg;
    // Only bits 2..4 may be set in the width: 0..28 in steps of 4. The width
    // class keeps bits 3..4, so 12 runs the 8-wide kernel and 20..28 the 16-wide.
    if ((roiSize.height & 3) != 0 || (roiSize.width & ~0x1C) != 0) return zepStatusBadSize;
    interp_dsp().luma8[(roiSize.width >> 3) & 3][dy * 4 + dx](pSrc, srcStep, pDst, dstStep, roiSize.height);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiInterpolateLuma_H264_16u_C1R(const ZepInterpolationParams16u* pParams) {
    if (pParams == nullptr) return zepStatusNullPtr;
    const ZepInterpolationParams16u& p = *pParams;
    ZEP_CHECK_PTRS(p.pSrc, p.pDst);
    if (p.srcStep < p.width || p.width > p.dstStep) return zepStatusBadStep;
    if (static_cast<Zep32u>(p.dx) > 3u || static_cast<Zep32u>(p.dy) > 3u) return zepStatusBadArg;
    const auto allowed = [](Zep32s v) { return v == 4 || v == 8 || v == 16; };
    if (!allowed(p.height) || !allowed(p.width) || p.width + p.height == 20) return zepStatusBadSize;
    const int depth = p.bitDepth < 0 ? 0 : (p.bitDepth > 16 ? 16 : p.bitDepth);
    const int maxVal = (1 << depth) - 1;
    const InterpDsp& t = interp_dsp();
    // The vector kernels keep samples as signed 16-bit values.
    const auto& table = depth <= 14 ? t.luma16 : t.luma16_wide;
    table[p.width >> 3][p.dy * 4 + p.dx](p.pSrc, p.srcStep, p.pDst, p.dstStep, p.height, maxVal);
    return zepStatusOk;
}

}  // extern "C"
