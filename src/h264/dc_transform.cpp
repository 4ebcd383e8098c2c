// Entry points of the stand-alone H.264 DC transforms (inverse with
// dequantisation, forward with quantisation) and the 8x8 forward transform.
#include <cstdint>
#include <cstdlib>

#include "common/saturate.h"
#include "frame/check.h"
#include "h264/dc_ref.h"
#include "zepvc.h"

namespace zep {
namespace {

// Flat quantiser multiplier of coefficient position 0 for qp % 6.
constexpr int kMf00[6] = {13107, 11916, 10082, 9362, 8192, 7282};

// f (already transformed) -> levels; returns the count of non-zero ones.
int quant_dc(const int* f, int n, Zep16s* out, int qp, bool intra) {
    const int shift = 16 + qp / 6;
    const int64_t rounding = 2 * (((int64_t{1} << (15 + qp / 6))) / (intra ? 3 : 6));
    int nz = 0;
    for (int i = 0; i < n; ++i) {
        const int64_t mag = (std::llabs(f[i]) * kMf00[qp % 6] + rounding) >> shift;
        const Zep16s lv = sat_s16(f[i] < 0 ? -mag : mag);
        out[i] = lv;
        nz += lv != 0;
    }
    return nz;
}

// One line of the 8x8 forward core transform.
void fwd8_line(const int* d, int* o, int stride) {
    const int s07 = d[0] + d[7 * stride], s16 = d[stride] + d[6 * stride], s25 = d[2 * stride] + d[5 * stride],
              s34 = d[3 * stride] + d[4 * stride];
    const int d07 = d[0] - d[7 * stride], d16 = d[stride] - d[6 * stride], d25 = d[2 * stride] - d[5 * stride],
              d34 = d[3 * stride] - d[4 * stride];
    const int a0 = s07 + s34, a1 = s16 + s25, a2 = s07 - s34, a3 = s16 - s25;
    const int a4 = d16 + d25 + (d07 + (d07 >> 1)), a5 = d07 - d34 - (d25 + (d25 >> 1));
    const int a6 = d07 + d34 - (d16 + (d16 >> 1)), a7 = d16 - d25 + (d34 + (d34 >> 1));
    const int r[8] = {a0 + a1, a4 + (a7 >> 2), a2 + (a3 >> 1), a5 + (a6 >> 2),
                      a0 - a1, a6 - (a5 >> 2), (a2 >> 1) - a3, (a4 >> 2) - a7};
    for (int i = 0; i < 8; ++i) o[i * stride] = r[i];
}

}  // namespace
}  // namespace zep

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiTransformDequantLumaDC_H264_16s_C1I(Zep16s* pSrcDst, Zep32s qp, const Zep16s* pLevelScale) {
    ZEP_CHECK_PTRS(pSrcDst, pLevelScale);
    if (qp < 0 || qp > 51) return zepStatusOutOfRange;
    int dc[16];
    luma_dc_dequant(pSrcDst, dc, qp, pLevelScale[0]);
    for (int i = 0; i < 16; ++i) pSrcDst[i] = wrap_s16(dc[i]);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiTransformDequantChromaDC_H264_16s_C1I(Zep16s* pSrcDst, Zep32s qp, const Zep16s* pLevelScale) {
    ZEP_CHECK_PTRS(pSrcDst, pLevelScale);
    if (qp < 0 || qp > 51) return zepStatusOutOfRange;
    int dc[4];
    chroma_dc_dequant(pSrcDst, dc, 2, qp, pLevelScale[0]);
    for (int i = 0; i < 4; ++i) pSrcDst[i] = wrap_s16(dc[i]);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiTransformDequantChroma422DC_H264_16s_C1I(Zep16s* pSrcDst, Zep32s qp,
                                                                 const Zep16s* pLevelScale) {
    ZEP_CHECK_PTRS(pSrcDst, pLevelScale);
    if (qp < 0 || qp > 54) return zepStatusOutOfRange;
    int dc[8];
    chroma_dc_dequant(pSrcDst, dc, 4, qp, pLevelScale[0]);
    for (int i = 0; i < 8; ++i) pSrcDst[i] = wrap_s16(dc[i]);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiTransformQuantLumaDC_H264_16s_C1I(Zep16s* pSrcDst, Zep32s* pNumLevels, Zep32u qp,
                                                          Zep32s isIntra) {
    ZEP_CHECK_PTRS(pSrcDst, pNumLevels);
    if (qp > 51) return zepStatusOutOfRange;
    int f[16];
    for (int i = 0; i < 16; ++i) f[i] = pSrcDst[i];
    hadamard_dc(f, 4, 4);
    for (int& v : f) v = v < 0 ? -((1 - v) >> 1) : (v + 1) >> 1;  // halved, rounding away from zero
    *pNumLevels = quant_dc(f, 16, pSrcDst, static_cast<int>(qp), isIntra != 0);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiTransformQuantChromaDC_H264_16s_C1I(Zep16s* pSrcDst, Zep32s* pNumLevels, Zep32u qp,
                                                            Zep32s isIntra) {
    ZEP_CHECK_PTRS(pSrcDst, pNumLevels);
    if (qp > 51) return zepStatusOutOfRange;
    int f[4];
    for (int i = 0; i < 4; ++i) f[i] = pSrcDst[i];
    hadamard_dc(f, 2, 2);
    *pNumLevels = quant_dc(f, 4, pSrcDst, static_cast<int>(qp), isIntra != 0);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiTransformQuantChroma422DC_H264_16s_C1I(Zep16s* pSrcDst, Zep32s* pNumLevels, Zep32u qp,
                                                               Zep32s isIntra) {
    ZEP_CHECK_PTRS(pSrcDst, pNumLevels);
    if (qp > 54) return zepStatusOutOfRange;
    int f[8];
    for (int i = 0; i < 8; ++i) f[i] = pSrcDst[i];
    hadamard_dc(f, 4, 2);
    *pNumLevels = quant_dc(f, 8, pSrcDst, static_cast<int>(qp), isIntra != 0);
    return zepStatusOk;
}

ZEPVC_API ZepStatus zepiTransformResidual8x8Fwd_H264_16s_C1(const Zep16s* pSrc, Zep16s* pDst) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    int d[64], t[64];
    for (int i = 0; i < 64; ++i) d[i] = pSrc[i];
    for (int i = 0; i < 8; ++i) fwd8_line(d + 8 * i, t + 8 * i, 1);
    for (int j = 0; j < 8; ++j) fwd8_line(t + j, d + j, 8);
    for (int i = 0; i < 64; ++i) pDst[i] = sat_s16(d[i]);
    return zepStatusOk;
}

}  // extern "C"
