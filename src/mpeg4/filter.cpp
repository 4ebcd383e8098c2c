// Entry points of the H.261 loop filter and the H.263 Annex J deblocking filter.
#include "frame/check.h"
#include "mpeg4/filter_dsp.h"
#include "zepvc.h"

using namespace zep;

namespace {

// Annex J: the filter strength by QUANT.
constexpr int kStrength[32] = {0, 1, 1, 2, 2, 3, 3, 4, 4, 4, 5, 5, 6, 6, 7, 7,
                               7, 8, 8, 8, 9, 9, 9, 10, 10, 10, 11, 11, 11, 12, 12, 12};

ZepStatus edge(Zep8u* p, Zep32s step, Zep32s qp, bool horizontal) {
    ZEP_CHECK_PTRS(p);
    if (step < 8) return zepStatusBadStep;
    if (qp < 1 || qp > 31) return zepStatusQPErr;
    const FilterDsp& t = filter_dsp();
    if (horizontal) t.horEdge(p, step, 1, kStrength[qp]);
    else t.verEdge(p, 1, step, kStrength[qp]);
    return zepStatusOk;
}

}  // namespace

extern "C" {

ZEPVC_API ZepStatus zepiFilterLoop_H261_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep) {
    ZEP_CHECK_PTRS(pSrcDst);
    if (srcDstStep < 8) return zepStatusBadStep;
    filter_dsp().loop(pSrcDst, srcDstStep);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiFilterDeblocking8x8HorEdge_H263_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep, Zep32s QP) {
    return edge(pSrcDst, srcDstStep, QP, true);
}

ZEPVC_API ZepStatus zepiFilterDeblocking8x8VerEdge_H263_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep, Zep32s QP) {
    return edge(pSrcDst, srcDstStep, QP, false);
}

}  // extern "C"
