// Entry points of the H.264 weighted prediction: checks, then one table call.
#include "zepvc.h"

#include "frame/check.h"
#include "h264/weight_dsp.h"

using namespace zep;

namespace {

bool block_size(Zep32s v) { return v == 2 || v == 4 || v == 8 || v == 16; }
int index(Zep32s width, Zep32s height) { return weight_class(width) * 4 + weight_class(height); }

// Shift counts outside what 32-bit arithmetic allows are brought back in.
int log_wd(Zep32s logWD) { return logWD < 0 ? 0 : (logWD > 30 ? 30 : logWD); }
// Weights enter the products as signed 16-bit values.
int weight16(Zep32s w) { return static_cast<Zep16s>(w); }
// After the shift the weighted sum stays within +-2^24, so an offset beyond
// +-2^25 decides the clamp alone; saturating it there keeps 32-bit sums exact.
int clamp_offset(Zep64s o) { return static_cast<int>(o < -(1 << 25) ? -(1 << 25) : (o > (1 << 25) ? (1 << 25) : o)); }

WeightParams one_dir(Zep32s logWD, Zep32s w1, Zep32s w2, Zep32s off) {
    const int lw = log_wd(logWD);
    return {weight16(w1), weight16(w2), lw >= 1 ? 1 << (lw - 1) : 0, lw, clamp_offset(off)};
}
WeightParams explicit_bi(Zep32s logWD, Zep32s w1, Zep32s o1, Zep32s w2, Zep32s o2) {
    const int lw = log_wd(logWD);
    return {weight16(w1), weight16(w2), 1 << lw, lw + 1, clamp_offset((static_cast<Zep64s>(o1) + o2 + 1) >> 1)};
}
WeightParams implicit_bi(Zep32s w1, Zep32s w2) { return {weight16(w1), weight16(w2), 32, 6, 0}; }

}  // namespace

extern "C" {

ZEPVC_API ZepStatus zepiUniDirWeightBlock_H264_8u_C1R(Zep8u* pSrcDst, Zep32s srcDstStep, Zep32s logWD, Zep32s weight,
                                                      Zep32s offset, Zep32s width, Zep32s height) {
    ZEP_CHECK_PTRS(pSrcDst);
    if (srcDstStep < width) return zepStatusBadStep;
    if (!block_size(height) || !block_size(width)) return zepStatusBadSize;
    const WeightParams w = one_dir(logWD, weight, 0, offset);
    weight_dsp().block[index(width, height)](pSrcDst, srcDstStep, pSrcDst, srcDstStep, pSrcDst, srcDstStep, w);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiUniDirWeightBlock_H264_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep, Zep32s logWD,
                                                       Zep32s weight, Zep32s offset, Zep32s width, Zep32s height) {
    return zepiUniDirWeightBlock_H264_8u_C1R(pSrcDst, srcDstStep, logWD, weight, offset, width, height);
}

ZEPVC_API ZepStatus zepiBiDirWeightBlock_H264_8u_P2P1R(const Zep8u* pSrc1, const Zep8u* pSrc2, Zep8u* pDst,
                                                       Zep32s srcStep, Zep32s dstStep, Zep32s logWD, Zep32s w1,
                                                       Zep32s o1, Zep32s w2, Zep32s o2, Zep32s width, Zep32s height) {
    ZEP_CHECK_PTRS(pSrc1, pSrc2, pDst);
    if (srcStep < width || dstStep < width) return zepStatusBadStep;
    if (!block_size(height) || !block_size(width)) return zepStatusBadSize;
    const WeightParams w = explicit_bi(logWD, w1, o1, w2, o2);
    weight_dsp().block[index(width, height)](pSrc1, srcStep, pSrc2, srcStep, pDst, dstStep, w);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiBiDirWeightBlock_H264_8u_P3P1R(const Zep8u* pSrc1, const Zep8u* pSrc2, Zep8u* pDst,
                                                       Zep32s src1Step, Zep32s src2Step, Zep32s dstStep, Zep32s logWD,
                                                       Zep32s w1, Zep32s o1, Zep32s w2, Zep32s o2, Zep32s width,
                                                       Zep32s height) {
    ZEP_CHECK_PTRS(pSrc1, pSrc2, pDst);
    if (src1Step < width || src2Step < width || dstStep < width) return zepStatusBadStep;
    if (!block_size(height) || !block_size(width)) return zepStatusBadSize;
    const WeightParams w = explicit_bi(logWD, w1, o1, w2, o2);
    weight_dsp().block[index(width, height)](pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, w);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiBiDirWeightBlockImplicit_H264_8u_P2P1R(const Zep8u* pSrc1, const Zep8u* pSrc2, Zep8u* pDst,
                                                               Zep32s srcStep, Zep32s dstStep, Zep32s w1, Zep32s w2,
                                                               Zep32s width, Zep32s height) {
    ZEP_CHECK_PTRS(pSrc1, pSrc2, pDst);
    if (srcStep < width || dstStep < width) return zepStatusBadStep;
    if (!block_size(height) || !block_size(width)) return zepStatusBadSize;
    weight_dsp().block[index(width, height)](pSrc1, srcStep, pSrc2, srcStep, pDst, dstStep, implicit_bi(w1, w2));
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiBiDirWeightBlockImplicit_H264_8u_P3P1R(const Zep8u* pSrc1, const Zep8u* pSrc2, Zep8u* pDst,
                                                               Zep32s src1Step, Zep32s src2Step, Zep32s dstStep,
                                                               Zep32s w1, Zep32s w2, Zep32s width, Zep32s height) {
    ZEP_CHECK_PTRS(pSrc1, pSrc2, pDst);
    if (height < 1) return zepStatusOk;
    weight_dsp().any(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, implicit_bi(w1, w2), width, height);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiWeightedAverage_H264_8u_C1IR(const Zep8u* pSrc1, Zep8u* pSrcDst, Zep32s srcDstStep,
                                                     Zep32s w1, Zep32s w2, Zep32s logWD, Zep32s offset,
                                                     Zep32s width, Zep32s height) {
    ZEP_CHECK_PTRS(pSrc1, pSrcDst);
    if (srcDstStep < width) return zepStatusBadStep;
    if (!block_size(height) || !block_size(width)) return zepStatusBadSize;
    const WeightParams w = one_dir(logWD, w1, w2, offset);
    weight_dsp().block[index(width, height)](pSrc1, srcDstStep, pSrcDst, srcDstStep, pSrcDst, srcDstStep, w);
    return zepStatusOk;
}

}  // extern "C"
