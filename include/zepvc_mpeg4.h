/* zepvc MPEG-4 Part 2, H.263 and H.261: quantisation and coefficient decoding. Included by zepvc.h. */
#ifndef ZEPVC_MPEG4_H
#define ZEPVC_MPEG4_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

/* ---- Quantisation and inverse quantisation of one 8x8 block (row-major 16s, in place) ----
 * MPEG-4 functions take a spec the caller allocates with the size GetSize reports (the library
 * aligns it to 16 bytes inside the buffer, hence 16 bytes more than the structure) and fills with
 * the matching Init: the weighting matrix (8u[64], row-major; null for the H.263 method) and
 * bitsPerPixel, which sets QP's range (1 .. 2^(bits - 3) - 1) and the reconstructed range
 * [-2^(bits + 3), 2^(bits + 3) - 1]. Checks: null pointers (zepStatusNullPtr), a spec without the
 * mark of its kind (zepStatusContextMismatch), QP outside its range (zepStatusQPErr); H.263: null
 * pCoef, QP outside 1..31, a negative indxLastNonZero (zepStatusOutOfRange). A failing check
 * leaves the block untouched. The mark sits at the end of each record, so a spec passed to a
 * function of another kind must still span the size that kind's GetSize reports.
 * indxLastNonZero: the inverse quantisers treat row-major positions 0..indxLastNonZero (pass 63
 * for the whole block). blockType: 0 luminance, else chrominance (the intra DC scaler).
 * Rounding where the formats leave it open, as the reference encoders do: intra AC with a matrix
 * ((16|c| + W/2) / W + (3 QP + 2) / 4) / (2 QP); without a matrix intra |c| / (2 QP) and inter
 * (|c| - QP / 2) / (2 QP); H.263 intra AC |c| / (2 QP); Annex I (|c| + QP) / (2 QP) for every
 * coefficient with the reconstruction 2 QP |L|; levels at most 127, or 2047 under Annex T
 * (modQuantFlag); from 9 bits the forward MPEG-4 quantisers run in single precision (with a
 * weight of 16 without a matrix). */
ZEPVC_API ZepStatus zepiQuantIntraGetSize_MPEG4(Zep32s* pSpecSize);
ZEPVC_API ZepStatus zepiQuantInterGetSize_MPEG4(Zep32s* pSpecSize);
ZEPVC_API ZepStatus zepiQuantInvIntraGetSize_MPEG4(Zep32s* pSpecSize);
ZEPVC_API ZepStatus zepiQuantInvInterGetSize_MPEG4(Zep32s* pSpecSize);
/* Forward specs: no range check on bitsPerPixel; a zero weight gives zepStatusQPErr after the
 * mark is written, the tables partly filled and matrixPresent left as it was. */
ZEPVC_API ZepStatus zepiQuantIntraInit_MPEG4(const Zep8u* pQuantMatrix, void* pSpec, Zep32s bitsPerPixel);
ZEPVC_API ZepStatus zepiQuantInterInit_MPEG4(const Zep8u* pQuantMatrix, void* pSpec, Zep32s bitsPerPixel);
/* Inverse specs: bitsPerPixel outside 4..12 gives zepStatusOutOfRange. */
ZEPVC_API ZepStatus zepiQuantInvIntraInit_MPEG4(const Zep8u* pQuantMatrix, void* pSpec, Zep32s bitsPerPixel);
ZEPVC_API ZepStatus zepiQuantInvInterInit_MPEG4(const Zep8u* pQuantMatrix, void* pSpec, Zep32s bitsPerPixel);

/* Intra: AC levels, then the DC by the DC scaler (symmetric +-2047); *pCountNonZero gets the
 * number of non-zero levels. */
ZEPVC_API ZepStatus zepiQuantIntra_MPEG4_16s_C1I(Zep16s* pCoef, const void* pSpec, Zep32s QP, Zep32s* pCountNonZero,
                                                 Zep32s blockType);
ZEPVC_API ZepStatus zepiQuantInter_MPEG4_16s_C1I(Zep16s* pCoef, const void* pSpec, Zep32s QP, Zep32s* pCountNonZero);
/* Second method with mismatch control on position 63, or the H.263 method without a matrix. */
ZEPVC_API ZepStatus zepiQuantInvIntra_MPEG4_16s_C1I(Zep16s* pCoef, Zep32s indxLastNonZero, const void* pSpec,
                                                    Zep32s QP, Zep32s blockType);
ZEPVC_API ZepStatus zepiQuantInvInter_MPEG4_16s_C1I(Zep16s* pCoef, Zep32s indxLastNonZero, const void* pSpec,
                                                    Zep32s QP);

/* H.263: intra DC by (DC + 4) >> 3 with 0 -> 1 and 255 -> 254 unless advIntraFlag (Annex I). */
ZEPVC_API ZepStatus zepiQuantIntra_H263_16s_C1I(Zep16s* pCoef, Zep32s QP, Zep32s* pCountNonZero, Zep32s advIntraFlag,
                                                Zep32s modQuantFlag);
ZEPVC_API ZepStatus zepiQuantInter_H263_16s_C1I(Zep16s* pCoef, Zep32s QP, Zep32s* pCountNonZero, Zep32s modQuantFlag);
/* sign(L) (2 QP |L| + QP') with QP' = QP, or QP - 1 for even QP, clamped to [-2048, 2047]; intra
 * DC x 8, or with advIntraFlag every coefficient 2 QP |L|. */
ZEPVC_API ZepStatus zepiQuantInvIntra_H263_16s_C1I(Zep16s* pCoef, Zep32s indxLastNonZero, Zep32s QP,
                                                   Zep32s advIntraFlag, Zep32s modQuantFlag);
ZEPVC_API ZepStatus zepiQuantInvInter_H263_16s_C1I(Zep16s* pCoef, Zep32s indxLastNonZero, Zep32s QP,
                                                   Zep32s modQuantFlag);

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_MPEG4_H */
