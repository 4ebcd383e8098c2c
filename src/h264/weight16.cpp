// Entry points of the high-bit-depth H.264 weighted prediction: checks in the
// documented order, then one kernel call per block.
#include "zepvc.h"

#include "frame/check.h"
#include "h264/weight16_dsp.h"

using namespace zep;

namespace {

bool block_size(Zep32s v) { return v == 2 || v == 4 || v == 8 || v == 16; }
bool in(Zep32s v, Zep32s lo, Zep32s hi) { return v >= lo && v <= hi; }

// Geometry checks shared by the four forms; `two` says whether the second
// source is used (and so checked).
ZepStatus check_geometry(const ZepBidirParams16u& p, bool two) {
    if (p.pSrc1 == nullptr || (two && p.pSrc2 == nullptr) || p.pDst == nullptr) return zepStatusNullPtr;
    if (p.src1Step < p.width || (two && p.src2Step < p.width) || p.dstStep < p.width) return zepStatusBadStep;
    if (!block_size(p.height) || !block_size(p.width)) return zepStatusBadSize;
    if (!in(p.bitDepth, 1, 16)) return zepStatusBadArg;
    return zepStatusOk;
}

bool weight_ok(Zep32s w) { return in(w, -128, 128); }
bool offset_ok(Zep32s o) { return in(o, -65535, 65535); }

void run(const ZepBidirParams16u& p, const Zep16u* b, Zep32s bStep, const Weight16Params& w) {
    weight16_dsp().block[weight16_class(p.width)](p.pSrc1, p.src1Step, b, bStep, p.pDst, p.dstStep, w, p.height);
}

int max_val(const ZepBidirParams16u& p) { return (1 << p.bitDepth) - 1; }

}  // namespace

extern "C" {

ZEPVC_API ZepStatus zepiBidir_H264_16u_P2P1R(const ZepBidirParams16u* pParams) {
    if (pParams == nullptr) return zepStatusNullPtr;
    const ZepBidirParams16u& p = *pParams;
    if (const ZepStatus st = check_geometry(p, true); st != zepStatusOk) return st;
    run(p, p.pSrc2, p.src2Step, {1, 1, 1, 1, 0, max_val(p)});
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiBidirWeight_H264_16u_P2P1R(const ZepBidirParams16u* pParams, Zep32s logWD, Zep32s w1,
                                                   Zep32s o1, Zep32s w2, Zep32s o2) {
    if (pParams == nullptr) return zepStatusNullPtr;
    const ZepBidirParams16u& p = *pParams;
    if (const ZepStatus st = check_geometry(p, true); st != zepStatusOk) return st;
    if (!in(logWD, 0, 7) || !weight_ok(w1) || !weight_ok(w2) || !offset_ok(o1) || !offset_ok(o2))
        return zepStatusOutOfRange;
    run(p, p.pSrc2, p.src2Step, {w1, w2, 1 << logWD, logWD + 1, (o1 + o2 + 1) >> 1, max_val(p)});
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiBidirWeightImplicit_H264_16u_P2P1R(const ZepBidirParams16u* pParams, Zep32s w1, Zep32s w2) {
    if (pParams == nullptr) return zepStatusNullPtr;
    const ZepBidirParams16u& p = *pParams;
    if (const ZepStatus st = check_geometry(p, true); st != zepStatusOk) return st;
    if (!weight_ok(w1) || !weight_ok(w2)) return zepStatusOutOfRange;
    run(p, p.pSrc2, p.src2Step, {w1, w2, 32, 6, 0, max_val(p)});
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiUnidirWeight_H264_16u_IP2P1R(const ZepBidirParams16u* pParams, Zep32s logWD, Zep32s weight,
                                                     Zep32s offset) {
    if (pParams == nullptr) return zepStatusNullPtr;
    const ZepBidirParams16u& p = *pParams;
    if (const ZepStatus st = check_geometry(p, false); st != zepStatusOk) return st;
    if (!in(logWD, 0, 7) || !weight_ok(weight) || !offset_ok(offset)) return zepStatusOutOfRange;
    // The second source is the first with weight 0, so the kernels need no one-directional form.
    run(p, p.pSrc1, p.src1Step, {weight, 0, logWD >= 1 ? 1 << (logWD - 1) : 0, logWD, offset, max_val(p)});
    return zepStatusOk;
}

}  // extern "C"
