// Entry points of the VC-1 overlap smoothing and range mapping: checks, then
// the table's kernels.
#include <cstddef>

#include "frame/check.h"
#include "vc1/vc1_dsp.h"
#include "zepvc.h"

using namespace zep;

namespace {

template <class T>
inline T* rows_down(T* p, Zep32s step, int n) {
    return reinterpret_cast<T*>(reinterpret_cast<Zep8u*>(p) + static_cast<ptrdiff_t>(step) * n);
}
// One picture line down in a 16-bit plane, keeping the pointer sample-aligned.
inline Zep16s* line_down(Zep16s* p, Zep32s step) { return rows_down(p, step & ~1, 1); }

}  // namespace

extern "C" {

ZEPVC_API ZepStatus zepiSmoothingLuma_HorEdge_VC1_16s8u_C1R(const Zep16s* pSrcUpper, Zep32s srcUpperStep,
                                                            const Zep16s* pSrcBottom, Zep32s srcBottomStep, Zep8u* pDst,
                                                            Zep32s dstStep, Zep32s edgeEnableFlags) {
    ZEP_CHECK_PTRS(pSrcUpper, pSrcBottom, pDst);
    const Vc1Dsp& t = vc1_dsp();
    if (edgeEnableFlags & 3) t.smooth_hor(pSrcUpper, srcUpperStep, pSrcBottom, srcBottomStep, pDst, dstStep);
    if (edgeEnableFlags & 12)
        t.smooth_hor(pSrcUpper + 8, srcUpperStep, pSrcBottom + 8, srcBottomStep, pDst + 8, dstStep);
    return zepStatusOk;
}

// Field-coded macroblocks hold the two fields in their top and bottom halves:
// each pass pairs one field of a field macroblock with the picture lines of the
// same parity. The first pass covers the even picture lines (r0 = 4), the
// second the odd ones (r0 = 3), as the frame case does line by line.
ZEPVC_API ZepStatus zepiSmoothingLuma_VerEdge_VC1_16s8u_C1R(Zep16s* pSrcLeft, Zep32s srcLeftStep, Zep16s* pSrcRight,
                                                            Zep32s srcRightStep, Zep8u* pDst, Zep32s dstStep,
                                                            Zep32s fieldMode, Zep32s edgeEnableFlags) {
    ZEP_CHECK_PTRS(pSrcLeft, pSrcRight, pDst);
    if (edgeEnableFlags == 0) return zepStatusOk;
    const Vc1SmoothVerFn f = vc1_dsp().smooth_ver;
    Zep16s* l = pSrcLeft;
    Zep16s* r = pSrcRight;
    const Zep32s ls = srcLeftStep, rs = srcRightStep, ds = dstStep;
    switch (fieldMode) {
        case 0:
            if (edgeEnableFlags & 3) f(l, ls, r, rs, pDst, ds, 0);
            if (edgeEnableFlags & 12) f(rows_down(l, ls, 8), ls, rows_down(r, rs, 8), rs, rows_down(pDst, ds, 8), ds, 0);
            break;
        case 1:
            f(l, 2 * ls, r, rs, pDst, 2 * ds, 2);
            f(line_down(l, ls), 2 * ls, rows_down(r, rs, 8), rs, rows_down(pDst, ds, 1), 2 * ds, 1);
            break;
        case 2:
            f(l, ls, r, 2 * rs, pDst, 2 * ds, 2);
            f(rows_down(l, ls, 8), ls, line_down(r, rs), 2 * rs, rows_down(pDst, ds, 1), 2 * ds, 1);
            break;
        case 3:
            f(l, ls, r, rs, pDst, 2 * ds, 2);
            f(rows_down(l, ls, 8), ls, rows_down(r, rs, 8), rs, rows_down(pDst, ds, 1), 2 * ds, 1);
            break;
        default: break;
    }
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiSmoothingChroma_HorEdge_VC1_16s8u_C1R(const Zep16s* pSrcUpper, Zep32s srcUpperStep,
                                                              const Zep16s* pSrcBottom, Zep32s srcBottomStep,
                                                              Zep8u* pDst, Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrcUpper, pSrcBottom, pDst);
    vc1_dsp().smooth_hor(pSrcUpper, srcUpperStep, pSrcBottom, srcBottomStep, pDst, dstStep);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiSmoothingChroma_VerEdge_VC1_16s8u_C1R(Zep16s* pSrcLeft, Zep32s srcLeftStep,
                                                              Zep16s* pSrcRight, Zep32s srcRightStep, Zep8u* pDst,
                                                              Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrcLeft, pSrcRight, pDst);
    vc1_dsp().smooth_ver(pSrcLeft, srcLeftStep, pSrcRight, srcRightStep, pDst, dstStep, 0);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiSmoothingChroma_HorEdge_VC1_16s8u_P2C2R(const Zep16s* pSrcUpperU, Zep32s srcUpperStepU,
                                                                const Zep16s* pSrcBottomU, Zep32s srcBottomStepU,
                                                                const Zep16s* pSrcUpperV, Zep32s srcUpperStepV,
                                                                const Zep16s* pSrcBottomV, Zep32s srcBottomStepV,
                                                                Zep8u* pDst, Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrcUpperU, pSrcBottomU, pDst, pSrcUpperV, pSrcBottomV);
    vc1_dsp().smooth_hor_uv(pSrcUpperU, srcUpperStepU, pSrcBottomU, srcBottomStepU, pSrcUpperV, srcUpperStepV,
                            pSrcBottomV, srcBottomStepV, pDst, dstStep);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiSmoothingChroma_VerEdge_VC1_16s8u_P2C2R(Zep16s* pSrcLeftU, Zep32s srcLeftStepU,
                                                                Zep16s* pSrcRightU, Zep32s srcRightStepU,
                                                                Zep16s* pSrcLeftV, Zep32s srcLeftStepV,
                                                                Zep16s* pSrcRightV, Zep32s srcRightStepV,
                                                                Zep8u* pDst, Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrcLeftU, pSrcRightU, pDst, pSrcLeftV, pSrcRightV);
    vc1_dsp().smooth_ver_uv(pSrcLeftU, srcLeftStepU, pSrcRightU, srcRightStepU, pSrcLeftV, srcLeftStepV, pSrcRightV,
                            srcRightStepV, pDst, dstStep);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiRangeMapping_VC1_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep,
                                                ZepSize roiSize, Zep32s rangeMap) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    if (rangeMap < 0 || rangeMap > 7) return zepStatusOutOfRange;
    if (roiSize.width < 1 || roiSize.height < 1) return zepStatusOk;
    vc1_dsp().range_map(pSrc, srcStep, pDst, dstStep, roiSize.width, roiSize.height, rangeMap + 9);
    return zepStatusOk;
}

}  // extern "C"
