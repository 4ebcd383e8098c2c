// Entry points of block compensation and block differences: pointer checks in
// argument order, then one call through the table. Mode, acc and rounding
// codes are masked to their documented bits, never rejected.
#include "zepvc.h"

#include "block/mc_dsp.h"
#include "frame/check.h"

using namespace zep;

namespace {

[[gnu::always_inline]] inline unsigned rnd_bit(Zep32s roundControl) { return static_cast<unsigned>(roundControl) & 1u; }
// ((mcType & 12) >> 1) + (roundControl & 1): two entries per half-sample mode.
[[gnu::always_inline]] inline unsigned mc_index(Zep32s mcType, Zep32s roundControl) {
    return ((static_cast<unsigned>(mcType) & 12u) >> 1) + rnd_bit(roundControl);
}
[[gnu::always_inline]] inline unsigned bi_mode(Zep32s mcTypeF, Zep32s mcTypeB) {
    return hp_index(mcTypeF) * 4 + hp_index(mcTypeB);
}
[[gnu::always_inline]] inline unsigned bi_index(Zep32s mcTypeF, Zep32s mcTypeB, Zep32s roundControl) {
    return bi_mode(mcTypeF, mcTypeB) * 2 + rnd_bit(roundControl);
}
// (acc & 3) * 2 + (roundControl & 1).
[[gnu::always_inline]] inline unsigned acc_index(Zep32s acc, Zep32s roundControl) {
    return (static_cast<unsigned>(acc) & 3u) * 2 + rnd_bit(roundControl);
}

const McDsp& T() { return mc_dsp(); }

}  // namespace

#define ZEP_MC_SINGLE(name, table, height)                                                                  \
    ZEPVC_API ZepStatus name(const Zep8u* pSrcRef, Zep32s srcStep, const Zep16s* pSrcYData,                 \
                             Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep, Zep32s mcType,               \
                             Zep32s roundControl) {                                                         \
        ZEP_CHECK_PTRS(pSrcRef, pSrcYData, pDst);                                                           \
        T().table[mc_index(mcType, roundControl)](pSrcRef, srcStep, pSrcYData, srcYDataStep, pDst, dstStep, \
                                                  height);                                                  \
        return zepStatusOk;                                                                                 \
    }

#define ZEP_MC_SMALL(name, table)                                                                            \
    ZEPVC_API ZepStatus name(const Zep8u* pSrcRef, Zep32s srcStep, const Zep16s* pSrcYData,                  \
                             Zep32s srcYDataStep, Zep8u* pDst, Zep32s dstStep, Zep32s mcType,                \
                             Zep32s roundControl) {                                                          \
        ZEP_CHECK_PTRS(pSrcRef, pSrcYData, pDst);                                                            \
        T().table[hp_index(mcType)](pSrcRef, srcStep, pSrcYData, srcYDataStep, pDst, dstStep,               \
                                    static_cast<int>(rnd_bit(roundControl)));                                \
        return zepStatusOk;                                                                                  \
    }

#define ZEP_MC_BI(name, table, last)                                                                            \
    ZEPVC_API ZepStatus name(const Zep8u* pSrcRefF, Zep32s srcStepF, Zep32s mcTypeF, const Zep8u* pSrcRefB,     \
                             Zep32s srcStepB, Zep32s mcTypeB, const Zep16s* pSrcYData, Zep32s srcYDataStep,     \
                             Zep8u* pDst, Zep32s dstStep, Zep32s roundControl) {                                \
        ZEP_CHECK_PTRS(pSrcRefF, pSrcRefB, pSrcYData, pDst);                                                    \
        T().table(pSrcRefF, srcStepF, pSrcRefB, srcStepB, pSrcYData, srcYDataStep, pDst, dstStep, last);        \
        return zepStatusOk;                                                                                     \
    }

#define ZEP_COPY_HP(name, table)                                                                           \
    ZEPVC_API ZepStatus name(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep, Zep32s acc,  \
                             Zep32s roundControl) {                                                        \
        ZEP_CHECK_PTRS(pSrc, pDst);                                                                        \
        T().table[acc_index(acc, roundControl)](pSrc, srcStep, pDst, dstStep);                             \
        return zepStatusOk;                                                                                \
    }

#define ZEP_DIFF(name, table, h)                                                                                \
    ZEPVC_API ZepStatus name(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRef, Zep32s srcRefStep, \
                             Zep16s* pDstDiff, Zep32s dstDiffStep, Zep8u* pDstPredictor,                      \
                             Zep32s dstPredictorStep, Zep32s mcType, Zep32s roundControl) {                   \
        ZEP_CHECK_PTRS(pSrcCur, pSrcRef, pDstDiff);                                                             \
        Zep8u scratch[16 * (h)];                                                                                \
        if (!pDstPredictor) {                                                                                   \
            pDstPredictor = scratch;                                                                            \
            dstPredictorStep = 16;                                                                              \
        }                                                                                                       \
        T().table[hp_index(mcType)](pSrcCur, srcCurStep, pSrcRef, srcRefStep, pDstDiff, dstDiffStep,          \
                                    pDstPredictor, dstPredictorStep, static_cast<int>(rnd_bit(roundControl)));  \
        return zepStatusOk;                                                                                     \
    }

#define ZEP_DIFF_BI(name, table)                                                                               \
    ZEPVC_API ZepStatus name(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRefF, Zep32s srcRefFStep, \
                             Zep32s mcTypeF, const Zep8u* pSrcRefB, Zep32s srcRefBStep, Zep32s mcTypeB,         \
                             Zep16s* pDstDiff, Zep32s dstDiffStep, Zep32s roundControl) {                     \
        ZEP_CHECK_PTRS(pSrcCur, pSrcRefF, pSrcRefB, pDstDiff);                                                 \
        T().table[bi_mode(mcTypeF, mcTypeB)](pSrcCur, srcCurStep, pSrcRefF, srcRefFStep, pSrcRefB,            \
                                             srcRefBStep, pDstDiff, dstDiffStep,                             \
                                             static_cast<int>(rnd_bit(roundControl)));                        \
        return zepStatusOk;                                                                                    \
    }

extern "C" {

// ---- Compensation ----
ZEP_MC_SINGLE(zepiMC16x16_8u_C1, mc16, 16)
ZEP_MC_SINGLE(zepiMC16x8_8u_C1, mc16, 8)
ZEP_MC_SINGLE(zepiMC8x16_8u_C1, mc8, 16)
ZEP_MC_SINGLE(zepiMC8x8_8u_C1, mc8, 8)
ZEP_MC_SINGLE(zepiMC8x4_8u_C1, mc8, 4)
ZEP_MC_SINGLE(zepiMC16x4_8u_C1, mcUV, 4)
ZEP_MC_SINGLE(zepiMC16x8UV_8u_C1, mcUV, 8)

ZEP_MC_SMALL(zepiMC4x8_8u_C1, mc4x8)
ZEP_MC_SMALL(zepiMC4x4_8u_C1, mc4x4)
ZEP_MC_SMALL(zepiMC4x2_8u_C1, mc4x2)
ZEP_MC_SMALL(zepiMC2x4_8u_C1, mc2x4)
ZEP_MC_SMALL(zepiMC2x2_8u_C1, mc2x2)

ZEP_MC_BI(zepiMC16x16B_8u_C1, mcB16[bi_index(mcTypeF, mcTypeB, roundControl)], 16)
ZEP_MC_BI(zepiMC16x8B_8u_C1, mcB16[bi_index(mcTypeF, mcTypeB, roundControl)], 8)
ZEP_MC_BI(zepiMC8x16B_8u_C1, mcB8[bi_index(mcTypeF, mcTypeB, roundControl)], 16)
ZEP_MC_BI(zepiMC8x8B_8u_C1, mcB8[bi_index(mcTypeF, mcTypeB, roundControl)], 8)
ZEP_MC_BI(zepiMC8x4B_8u_C1, mcB8[bi_index(mcTypeF, mcTypeB, roundControl)], 4)
ZEP_MC_BI(zepiMC16x4B_8u_C1, mcBUV[bi_index(mcTypeF, mcTypeB, roundControl)], 4)
ZEP_MC_BI(zepiMC16x8BUV_8u_C1, mcBUV[bi_index(mcTypeF, mcTypeB, roundControl)], 8)

ZEP_MC_BI(zepiMC4x8B_8u_C1, mcB4x8[bi_mode(mcTypeF, mcTypeB)], static_cast<int>(rnd_bit(roundControl)))
ZEP_MC_BI(zepiMC4x4B_8u_C1, mcB4x4[bi_mode(mcTypeF, mcTypeB)], static_cast<int>(rnd_bit(roundControl)))
ZEP_MC_BI(zepiMC4x2B_8u_C1, mcB4x2[bi_mode(mcTypeF, mcTypeB)], static_cast<int>(rnd_bit(roundControl)))
ZEP_MC_BI(zepiMC2x4B_8u_C1, mcB2x4[bi_mode(mcTypeF, mcTypeB)], static_cast<int>(rnd_bit(roundControl)))
ZEP_MC_BI(zepiMC2x2B_8u_C1, mcB2x2[bi_mode(mcTypeF, mcTypeB)], static_cast<int>(rnd_bit(roundControl)))

ZEPVC_API ZepStatus zepiMC8x8_16s8u_P2C2R(const Zep8u* pSrcRef, Zep32s srcStep, const Zep16s* pSrcU,
                                          const Zep16s* pSrcV, Zep32s srcUVStep, Zep8u* pDst, Zep32s dstStep,
                                          Zep32s mcType, Zep32s roundControl) {
    ZEP_CHECK_PTRS(pSrcRef, pSrcU, pSrcV, pDst);
    T().mcChroma[mc_index(mcType, roundControl)](pSrcRef, srcStep, pSrcU, pSrcV, srcUVStep, pDst, dstStep, 8);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiMC8x4_16s8u_P2C2R(const Zep8u* pSrcRef, Zep32s srcStep, const Zep16s* pSrcU,
                                          const Zep16s* pSrcV, Zep32s srcUVStep, Zep8u* pDst, Zep32s dstStep,
                                          Zep32s mcType, Zep32s roundControl) {
    ZEP_CHECK_PTRS(pSrcRef, pSrcU, pSrcV, pDst);
    T().mcChroma[mc_index(mcType, roundControl)](pSrcRef, srcStep, pSrcU, pSrcV, srcUVStep, pDst, dstStep, 4);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiMC8x8B_16s8u_P2C2R(const Zep8u* pSrcRefF, Zep32s srcStepF, Zep32s mcTypeF,
                                           const Zep8u* pSrcRefB, Zep32s srcStepB, Zep32s mcTypeB,
                                           const Zep16s* pSrcU, const Zep16s* pSrcV, Zep32s srcUVStep, Zep8u* pDst,
                                           Zep32s dstStep, Zep32s roundControl) {
    ZEP_CHECK_PTRS(pSrcRefF, pSrcRefB, pSrcU, pSrcV, pDst);
    T().mcChromaB[bi_index(mcTypeF, mcTypeB, roundControl)](pSrcRefF, srcStepF, pSrcRefB, srcStepB, pSrcU, pSrcV,
                                                            srcUVStep, pDst, dstStep, 8);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiMC8x4B_16s8u_P2C2R(const Zep8u* pSrcRefF, Zep32s srcStepF, Zep32s mcTypeF,
                                           const Zep8u* pSrcRefB, Zep32s srcStepB, Zep32s mcTypeB,
                                           const Zep16s* pSrcU, const Zep16s* pSrcV, Zep32s srcUVStep, Zep8u* pDst,
                                           Zep32s dstStep, Zep32s roundControl) {
    ZEP_CHECK_PTRS(pSrcRefF, pSrcRefB, pSrcU, pSrcV, pDst);
    T().mcChromaB[bi_index(mcTypeF, mcTypeB, roundControl)](pSrcRefF, srcStepF, pSrcRefB, srcStepB, pSrcU, pSrcV,
                                                            srcUVStep, pDst, dstStep, 4);
    return zepStatusOk;
}

// ---- Copies and averages ----
ZEP_COPY_HP(zepiCopy16x16HP_8u_C1R, copyHp16x16)
ZEP_COPY_HP(zepiCopy16x8HP_8u_C1R, copyHp16x8)
ZEP_COPY_HP(zepiCopy8x8HP_8u_C1R, copyHp8x8)
ZEP_COPY_HP(zepiCopy8x4HP_8u_C1R, copyHp8x4)
ZEP_COPY_HP(zepiInterpolateAverage16x16_8u_C1IR, interpAvg16x16)
ZEP_COPY_HP(zepiInterpolateAverage16x8_8u_C1IR, interpAvg16x8)
ZEP_COPY_HP(zepiInterpolateAverage8x8_8u_C1IR, interpAvg8x8)
ZEP_COPY_HP(zepiInterpolateAverage8x4_8u_C1IR, interpAvg8x4)

ZEPVC_API ZepStatus zepiCopy16x16_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    T().copy16x16(pSrc, srcStep, pDst, dstStep);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiCopy8x8_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    T().copy8x8(pSrc, srcStep, pDst, dstStep);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiAverage16x16_8u_C1R(const Zep8u* pSrc1, Zep32s src1Step, const Zep8u* pSrc2,
                                            Zep32s src2Step, Zep8u* pDst, Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrc1, pSrc2, pDst);
    T().average16x16(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiAverage8x8_8u_C1R(const Zep8u* pSrc1, Zep32s src1Step, const Zep8u* pSrc2, Zep32s src2Step,
                                          Zep8u* pDst, Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrc1, pSrc2, pDst);
    T().average8x8(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiAverage16x16_8u_C1IR(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pSrcDst, Zep32s srcDstStep) {
    ZEP_CHECK_PTRS(pSrc, pSrcDst);
    T().averageI16x16(pSrc, srcStep, pSrcDst, srcDstStep);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiAverage8x8_8u_C1IR(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pSrcDst, Zep32s srcDstStep) {
    ZEP_CHECK_PTRS(pSrc, pSrcDst);
    T().averageI8x8(pSrc, srcStep, pSrcDst, srcDstStep);
    return zepStatusOk;
}

// ---- Residual and constant additions ----
ZEPVC_API ZepStatus zepiAdd8x8HP_16s8u_C1RS(const Zep8u* pSrcRef, Zep32s srcRefStep, const Zep16s* pSrcDiff,
                                            Zep32s srcDiffStep, Zep8u* pDst, Zep32s dstStep, Zep32s acc,
                                            Zep32s roundControl) {
    ZEP_CHECK_PTRS(pSrcRef, pSrcDiff, pDst);
    T().add8x8Hp[acc_index(acc, roundControl)](pSrcRef, srcRefStep, pSrcDiff, srcDiffStep, pDst, dstStep, 8);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiAdd8x8_16s8u_C1IRS(const Zep16s* pSrc, Zep32s srcStep, Zep8u* pSrcDst, Zep32s srcDstStep) {
    ZEP_CHECK_PTRS(pSrc, pSrcDst);
    T().add8x8(pSrc, srcStep, pSrcDst, srcDstStep);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiAddC8x8_16s8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep, Zep16s value) {
    ZEP_CHECK_PTRS(pSrcDst);
    T().addc8x8(pSrcDst, srcDstStep, value);
    return zepStatusOk;
}

// ---- Differences ----
ZEP_DIFF(zepiGetDiff16x16_8u16s_C1, diff16x16, 16)
ZEP_DIFF(zepiGetDiff16x8_8u16s_C1, diff16x8, 8)
ZEP_DIFF(zepiGetDiff8x16_8u16s_C1, diff8x16, 16)
ZEP_DIFF(zepiGetDiff8x8_8u16s_C1, diff8x8, 8)
ZEP_DIFF(zepiGetDiff8x4_8u16s_C1, diff8x4, 4)

ZEPVC_API ZepStatus zepiGetDiff4x4_8u16s_C1(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRef,
                                            Zep32s srcRefStep, Zep16s* pDstDiff, Zep32s dstDiffStep,
                                            Zep8u* pDstPredictor, Zep32s dstPredictorStep, Zep32s mcType,
                                            Zep32s roundControl) {
    ZEP_CHECK_PTRS(pSrcCur, pSrcRef, pDstDiff);
    Zep8u scratch[16];
    if (!pDstPredictor) {
        pDstPredictor = scratch;
        dstPredictorStep = 4;
    }
    T().diff4x4(pSrcCur, srcCurStep, pSrcRef, srcRefStep, pDstDiff, dstDiffStep, pDstPredictor, dstPredictorStep,
                static_cast<int>(hp_index(mcType)), static_cast<int>(rnd_bit(roundControl)));
    return zepStatusOk;
}

ZEP_DIFF_BI(zepiGetDiff16x16B_8u16s_C1, diffB16x16)
ZEP_DIFF_BI(zepiGetDiff16x8B_8u16s_C1, diffB16x8)
ZEP_DIFF_BI(zepiGetDiff8x16B_8u16s_C1, diffB8x16)
ZEP_DIFF_BI(zepiGetDiff8x8B_8u16s_C1, diffB8x8)
ZEP_DIFF_BI(zepiGetDiff8x4B_8u16s_C1, diffB8x4)

ZEPVC_API ZepStatus zepiGetDiff8x8_8u16s_C2P2(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRef,
                                              Zep32s srcRefStep, Zep16s* pDstDiffU, Zep32s dstDiffUStep,
                                              Zep16s* pDstDiffV, Zep32s dstDiffVStep, Zep32s mcType,
                                              Zep32s roundControl) {
    ZEP_CHECK_PTRS(pSrcCur, pSrcRef, pDstDiffU, pDstDiffV);
    T().diffChroma8x8[hp_index(mcType)](pSrcCur, srcCurStep, pSrcRef, srcRefStep, pDstDiffU, dstDiffUStep,
                                        pDstDiffV, dstDiffVStep, static_cast<int>(rnd_bit(roundControl)));
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiGetDiff8x4_8u16s_C2P2(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRef,
                                              Zep32s srcRefStep, Zep16s* pDstDiffU, Zep32s dstDiffUStep,
                                              Zep16s* pDstDiffV, Zep32s dstDiffVStep, Zep32s mcType,
                                              Zep32s roundControl) {
    ZEP_CHECK_PTRS(pSrcCur, pSrcRef, pDstDiffU, pDstDiffV);
    T().diffChroma8x4[hp_index(mcType)](pSrcCur, srcCurStep, pSrcRef, srcRefStep, pDstDiffU, dstDiffUStep,
                                        pDstDiffV, dstDiffVStep, static_cast<int>(rnd_bit(roundControl)));
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiGetDiff8x8B_8u16s_C2P2(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRefF,
                                               Zep32s srcRefFStep, Zep32s mcTypeF, const Zep8u* pSrcRefB,
                                               Zep32s srcRefBStep, Zep32s mcTypeB, Zep16s* pDstDiffU,
                                               Zep32s dstDiffUStep, Zep16s* pDstDiffV, Zep32s dstDiffVStep,
                                               Zep32s roundControl) {
    ZEP_CHECK_PTRS(pSrcCur, pSrcRefF, pSrcRefB, pDstDiffU, pDstDiffV);
    T().diffChromaB8x8[bi_mode(mcTypeF, mcTypeB)](pSrcCur, srcCurStep, pSrcRefF, srcRefFStep, pSrcRefB,
                                                  srcRefBStep, pDstDiffU, dstDiffUStep, pDstDiffV, dstDiffVStep,
                                                  static_cast<int>(rnd_bit(roundControl)));
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiGetDiff8x4B_8u16s_C2P2(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcRefF,
                                               Zep32s srcRefFStep, Zep32s mcTypeF, const Zep8u* pSrcRefB,
                                               Zep32s srcRefBStep, Zep32s mcTypeB, Zep16s* pDstDiffU,
                                               Zep32s dstDiffUStep, Zep16s* pDstDiffV, Zep32s dstDiffVStep,
                                               Zep32s roundControl) {
    ZEP_CHECK_PTRS(pSrcCur, pSrcRefF, pSrcRefB, pDstDiffU, pDstDiffV);
    T().diffChromaB8x4[bi_mode(mcTypeF, mcTypeB)](pSrcCur, srcCurStep, pSrcRefF, srcRefFStep, pSrcRefB,
                                                  srcRefBStep, pDstDiffU, dstDiffUStep, pDstDiffV, dstDiffVStep,
                                                  static_cast<int>(rnd_bit(roundControl)));
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiSub16x16_8u16s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                           Zep16s* pDst, Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrc, pRef, pDst);
    T().sub16x16(pSrc, srcStep, pRef, refStep, pDst, dstStep);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiSub8x8_8u16s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                         Zep16s* pDst, Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrc, pRef, pDst);
    T().sub8x8(pSrc, srcStep, pRef, refStep, pDst, dstStep);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiSub4x4_8u16s_C1R(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                         Zep16s* pDst, Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrc, pRef, pDst);
    T().sub4x4(pSrc, srcStep, pRef, refStep, pDst, dstStep);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiSub8x8_16u16s_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pRef, Zep32s refStep,
                                          Zep16s* pDst, Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrc, pRef, pDst);
    T().sub8x8_16u(pSrc, srcStep, pRef, refStep, pDst, dstStep);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiSub4x4_16u16s_C1R(const Zep16u* pSrc, Zep32s srcStep, const Zep16u* pRef, Zep32s refStep,
                                          Zep16s* pDst, Zep32s dstStep) {
    ZEP_CHECK_PTRS(pSrc, pRef, pDst);
    T().sub4x4_16u(pSrc, srcStep, pRef, refStep, pDst, dstStep);
    return zepStatusOk;
}

}  // extern "C"
