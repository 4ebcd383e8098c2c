// Entry points of the H.264 chroma interpolation: checks, then one table call.
#include "zepvc.h"

#include "frame/check.h"
#include "h264/interp_dsp.h"

using namespace zep;

namespace {

// Chroma blocks of 4:2:0 and 4:2:2: 2, 4 or 8 wide, 2 to 16 high.
bool chroma_size(Zep32s width, Zep32s height) {
    return (width == 2 || width == 4 || width == 8) && (height == 2 || height == 4 || height == 8 || height == 16);
}
bool eighth(Zep32s dx, Zep32s dy) { return (static_cast<Zep32u>(dx) | static_cast<Zep32u>(dy)) <= 7u; }

}  // namespace

extern "C" {

ZEPVC_API ZepStatus zepiInterpolateChroma_H264_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep,
                                                      Zep32s dx, Zep32s dy, ZepSize roiSize) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    if (!chroma_size(roiSize.width, roiSize.height)) return zepStatusBadSize;
    if (!eighth(dx, dy)) return zepStatusBadArg;
    interp_dsp().chroma8[chroma_class(roiSize.width)](pSrc, srcStep, pDst, dstStep, dx, dy, roiSize.height);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiInterpolateChroma_H264_16u_C1R(const ZepInterpolationParams16u* pParams) {
    if (pParams == nullptr) return zepStatusNullPtr;
    const ZepInterpolationParams16u& p = *pParams;
    ZEP_CHECK_PTRS(p.pSrc, p.pDst);
    if (p.srcStep < p.width || p.dstStep < p.width) return zepStatusBadStep;
    if (!chroma_size(p.width, p.height)) return zepStatusBadSize;
    if (!eighth(p.dx, p.dy)) return zepStatusBadArg;
    interp_dsp().chroma16[chroma_class(p.width)](p.pSrc, p.srcStep, p.pDst, p.dstStep, p.dx, p.dy, p.height);
    return zepStatusOk;
}

}  // extern "C"
