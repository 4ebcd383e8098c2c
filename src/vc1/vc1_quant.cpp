// Entry points of the VC-1 quantisers: checks, then one table call.
#include "frame/check.h"
#include "vc1/vc1_dsp.h"
#include "zepvc.h"

using namespace zep;

namespace {

inline bool bad_side(Zep32s v) { return v != 4 && v != 8; }
inline bool bad_double_quant(Zep32s dq) { return dq < 2 || dq > 62; }

ZepStatus quant_intra(Zep16s* p, Zep32s step, Zep32s dq, bool nonUniform) {
    ZEP_CHECK_PTRS(p);
    if (bad_double_quant(dq)) return zepStatusOutOfRange;
    vc1_dsp().quant_intra[nonUniform][vc1_div_table[dq].cls](p, step, dq);
    return zepStatusOk;
}

// The quantiser range is checked before the block size.
ZepStatus quant_inter(Zep16s* p, Zep32s step, Zep32s dq, ZepSize roi, bool nonUniform) {
    ZEP_CHECK_PTRS(p);
    if (bad_double_quant(dq)) return zepStatusOutOfRange;
    if (bad_side(roi.height) || bad_side(roi.width)) return zepStatusBadSize;
    vc1_dsp().quant_inter[nonUniform][vc1_size_index(roi.width, roi.height)][vc1_div_table[dq].cls](p, step, dq);
    return zepStatusOk;
}

ZepStatus quant_inv_intra(const Zep16s* src, Zep32s srcStep, Zep16s* dst, Zep32s dstStep, Zep32s dq, ZepSize* nz,
                          bool nonUniform) {
    ZEP_CHECK_PTRS(src, dst, nz);
    vc1_dsp().quant_inv_intra[nonUniform](src, srcStep, dst, dstStep, dq, nz);
    return zepStatusOk;
}

ZepStatus quant_inv_inter(const Zep16s* src, Zep32s srcStep, Zep16s* dst, Zep32s dstStep, Zep32s dq, ZepSize roi,
                          ZepSize* nz, bool nonUniform) {
    ZEP_CHECK_PTRS(src, dst, nz);
    if (bad_side(roi.height) || bad_side(roi.width)) return zepStatusBadSize;
    vc1_dsp().quant_inv_inter[nonUniform][(roi.height >> 1) + (roi.width >> 2) - 3](src, srcStep, dst, dstStep, dq, nz);
    return zepStatusOk;
}

}  // namespace

extern "C" {

ZEPVC_API ZepStatus zepiQuantIntraUniform_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s doubleQuant) {
    return quant_intra(pSrcDst, srcDstStep, doubleQuant, false);
}
ZEPVC_API ZepStatus zepiQuantIntraNonuniform_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s doubleQuant) {
    return quant_intra(pSrcDst, srcDstStep, doubleQuant, true);
}
ZEPVC_API ZepStatus zepiQuantInterUniform_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s doubleQuant,
                                                       ZepSize roiSize) {
    return quant_inter(pSrcDst, srcDstStep, doubleQuant, roiSize, false);
}
ZEPVC_API ZepStatus zepiQuantInterNonuniform_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s doubleQuant,
                                                          ZepSize roiSize) {
    return quant_inter(pSrcDst, srcDstStep, doubleQuant, roiSize, true);
}

ZEPVC_API ZepStatus zepiQuantInvIntraUniform_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s doubleQuant,
                                                          ZepSize* pDstSizeNZ) {
    return quant_inv_intra(pSrcDst, srcDstStep, pSrcDst, srcDstStep, doubleQuant, pDstSizeNZ, false);
}
ZEPVC_API ZepStatus zepiQuantInvIntraUniform_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst,
                                                         Zep32s dstStep, Zep32s doubleQuant, ZepSize* pDstSizeNZ) {
    return quant_inv_intra(pSrc, srcStep, pDst, dstStep, doubleQuant, pDstSizeNZ, false);
}
ZEPVC_API ZepStatus zepiQuantInvIntraNonuniform_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s doubleQuant,
                                                             ZepSize* pDstSizeNZ) {
    return quant_inv_intra(pSrcDst, srcDstStep, pSrcDst, srcDstStep, doubleQuant, pDstSizeNZ, true);
}
ZEPVC_API ZepStatus zepiQuantInvIntraNonuniform_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst,
                                                            Zep32s dstStep, Zep32s doubleQuant, ZepSize* pDstSizeNZ) {
    return quant_inv_intra(pSrc, srcStep, pDst, dstStep, doubleQuant, pDstSizeNZ, true);
}
ZEPVC_API ZepStatus zepiQuantInvInterUniform_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s doubleQuant,
                                                          ZepSize roiSize, ZepSize* pDstSizeNZ) {
    return quant_inv_inter(pSrcDst, srcDstStep, pSrcDst, srcDstStep, doubleQuant, roiSize, pDstSizeNZ, false);
}
ZEPVC_API ZepStatus zepiQuantInvInterUniform_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst,
                                                         Zep32s dstStep, Zep32s doubleQuant, ZepSize roiSize,
                                                         ZepSize* pDstSizeNZ) {
    return quant_inv_inter(pSrc, srcStep, pDst, dstStep, doubleQuant, roiSize, pDstSizeNZ, false);
}
ZEPVC_API ZepStatus zepiQuantInvInterNonuniform_VC1_16s_C1IR(Zep16s* pSrcDst, Zep32s srcDstStep, Zep32s doubleQuant,
                                                             ZepSize roiSize, ZepSize* pDstSizeNZ) {
    return quant_inv_inter(pSrcDst, srcDstStep, pSrcDst, srcDstStep, doubleQuant, roiSize, pDstSizeNZ, true);
}
ZEPVC_API ZepStatus zepiQuantInvInterNonuniform_VC1_16s_C1R(const Zep16s* pSrc, Zep32s srcStep, Zep16s* pDst,
                                                            Zep32s dstStep, Zep32s doubleQuant, ZepSize roiSize,
                                                            ZepSize* pDstSizeNZ) {
    return quant_inv_inter(pSrc, srcStep, pDst, dstStep, doubleQuant, roiSize, pDstSizeNZ, true);
}

}  // extern "C"
