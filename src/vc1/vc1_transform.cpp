// Entry points of the VC-1 transforms and the Hadamard cost: checks, then one
// table call.
#include <cstdint>

#include "frame/check.h"
#include "vc1/vc1_dsp.h"
#include "zepvc.h"

using namespace zep;

namespace {

inline int variant8x8(Zep32s w, Zep32s h) {
    if (w < 2 && h < 2) return kVc1InvDC;
    if (w <= 2 && h <= 2) return kVc1Inv2x2;
    if (w <= 4 && h <= 4) return kVc1Inv4x4;
    return kVc1InvFull;
}
inline int variant4x4(Zep32s w, Zep32s h) {
    if (w < 2 && h < 2) return kVc1InvDC;
    if (w <= 2 && h <= 2) return kVc1Inv2x2;
    return kVc1InvFull;
}
inline int variant4x8(Zep32s w, Zep32s h) {
    if (w < 2 && h < 2) return kVc1InvDC;
    if (w <= 4 && h <= 4) return kVc1Inv4x4;
    return kVc1InvFull;
}
// The left-half path of 8x4 is taken only on 16-byte aligned blocks and steps;
// anything else reads the whole block.
inline int variant8x4(const void* src, Zep32s srcStep, const void* dst, Zep32s dstStep, Zep32s w, Zep32s h) {
    if (w < 2 && h < 2) return kVc1InvDC;
    const auto bits = reinterpret_cast<uintptr_t>(src) | reinterpret_cast<uintptr_t>(dst) |
                      static_cast<uintptr_t>(static_cast<uint32_t>(srcStep | dstStep));
    if (bits & 15) return kVc1InvFull;
    if (w <= 4 && h <= 4) return kVc1Inv4x4;
    return kVc1InvFull;
}

}  // namespace

extern "C" {

ZEPVC_API ZepStatus zepiTransform8x8Inv_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s coefWidth,
                                                     Zep32s coefHeight) {
    ZEP_CHECK_PTRS(pSrcDst);
    vc1_dsp().inv8x8[variant8x8(coefWidth, coefHeight)](pSrcDst, srcDstStep, pSrcDst, srcDstStep);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiTransform8x4Inv_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s coefWidth,
                                                     Zep32s coefHeight) {
    ZEP_CHECK_PTRS(pSrcDst);
    vc1_dsp().inv8x4[variant8x4(pSrcDst, srcDstStep, pSrcDst, srcDstStep, coefWidth, coefHeight)](
        pSrcDst, srcDstStep, pSrcDst, srcDstStep);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiTransform4x8Inv_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s coefWidth,
                                                     Zep32s coefHeight) {
    ZEP_CHECK_PTRS(pSrcDst);
    vc1_dsp().inv4x8[variant4x8(coefWidth, coefHeight)](pSrcDst, srcDstStep, pSrcDst, srcDstStep);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiTransform4x4Inv_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s coefWidth,
                                                     Zep32s coefHeight) {
    ZEP_CHECK_PTRS(pSrcDst);
    vc1_dsp().inv4x4[variant4x4(coefWidth, coefHeight)](pSrcDst, srcDstStep, pSrcDst, srcDstStep);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiTransform8x8Inv_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s dstStep,
                                                    Zep32s coefWidth, Zep32s coefHeight) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    vc1_dsp().inv8x8[variant8x8(coefWidth, coefHeight)](pSrc, srcStep, pDst, dstStep);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiTransform8x4Inv_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s dstStep,
                                                    Zep32s coefWidth, Zep32s coefHeight) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    vc1_dsp().inv8x4[variant8x4(pSrc, srcStep, pDst, dstStep, coefWidth, coefHeight)](pSrc, srcStep, pDst, dstStep);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiTransform4x8Inv_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s dstStep,
                                                    Zep32s coefWidth, Zep32s coefHeight) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    vc1_dsp().inv4x8[variant4x8(coefWidth, coefHeight)](pSrc, srcStep, pDst, dstStep);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiTransform4x4Inv_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s dstStep,
                                                    Zep32s coefWidth, Zep32s coefHeight) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    vc1_dsp().inv4x4[variant4x4(coefWidth, coefHeight)](pSrc, srcStep, pDst, dstStep);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiTransform8x8Fwd_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep) {
    ZEP_CHECK_PTRS(pSrcDst);
    vc1_dsp().fwd[vc1_size_index(8, 8)](pSrcDst, srcDstStep, pSrcDst, srcDstStep);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiTransform8x4Fwd_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep) {
    ZEP_CHECK_PTRS(pSrcDst);
    vc1_dsp().fwd[vc1_size_index(8, 4)](pSrcDst, srcDstStep, pSrcDst, srcDstStep);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiTransform4x8Fwd_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep) {
    ZEP_CHECK_PTRS(pSrcDst);
    vc1_dsp().fwd[vc1_size_index(4, 8)](pSrcDst, srcDstStep, pSrcDst, srcDstStep);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiTransform4x4Fwd_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep) {
    ZEP_CHECK_PTRS(pSrcDst);
    vc1_dsp().fwd[vc1_size_index(4, 4)](pSrcDst, srcDstStep, pSrcDst, srcDstStep);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiTransform8x8Fwd_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    vc1_dsp().fwd[vc1_size_index(8, 8)](pSrc, srcStep, pDst, dstStep);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiTransform8x4Fwd_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    vc1_dsp().fwd[vc1_size_index(8, 4)](pSrc, srcStep, pDst, dstStep);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiTransform4x8Fwd_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    vc1_dsp().fwd[vc1_size_index(4, 8)](pSrc, srcStep, pDst, dstStep);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiTransform4x4Fwd_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    vc1_dsp().fwd[vc1_size_index(4, 4)](pSrc, srcStep, pDst, dstStep);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiHadamard8x8Sum_VC1_8u16s(const Zep8u* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s* pSum) {
    ZEP_CHECK_PTRS(pSrc, pDst, pSum);
    vc1_dsp().hadamard_8u(pSrc, srcStep, pDst, pSum);
    return zepStatusOk;
}
ZEPVC_API ZepStatus zepiHadamard8x8Sum_VC1_16s(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst, Zep32s* pSum) {
    ZEP_CHECK_PTRS(pSrc, pDst, pSum);
    vc1_dsp().hadamard_16s(pSrc, srcStep, pDst, pSum);
    return zepStatusOk;
}

}  // extern "C"
