/* zepvc MPEG-4 Part 2, H.263 and H.261: quantisation, coefficient coding, loop filters and motion
 * compensation. Included by zepvc.h. */
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

/* ---- Coefficient decoding (byte stream) ----
 * Position: *ppBitStream the byte holding the next bit, *pBitOffset the bits of it already used
 * (0..7, from the most significant). Each function decodes one block, advances past the bits it
 * consumed on success and leaves the position as it was on failure; it reads at most the two
 * bytes that follow the byte holding the last bit it consumed. pCoef: 64 16s, row-major, cleared
 * first (the H.263 intra block without Annex I keeps its entry 0, the INTRADC); values go to
 * pCoef[scan[i]] for scan position i. scan: 0 zig-zag, 1 alternate-vertical, 2 alternate-
 * horizontal (intra only), other values no scan (pCoef[i]); H.261: -1 no scan, else zig-zag.
 * *pIndxLastNonZero: the last scan position written (the start position, -1 or 0, when none).
 * Checks: null pointers (zepStatusNullPtr), *pBitOffset outside 0..7 (zepStatusBitOffsetErr),
 * then for the Reconstruct forms QP outside 1..31 (zepStatusQPErr). Invalid codes, forbidden
 * escape levels and positions past 63 give zepStatusVLCErr. */
/* INTRADC, 8 bits: 0 and 128 invalid, 255 gives 128. */
ZEPVC_API ZepStatus zepiDecodeDCIntra_H263_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16u* pDC);
/* dct_dc_size (luminance table for blockType 0, else chrominance) and the differential; sizes
 * above 12 and a zero marker bit after sizes above 8 are invalid. */
ZEPVC_API ZepStatus zepiDecodeDCIntra_MPEG4_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pDC,
                                                  Zep32s blockType);
/* H.263 TCOEF codes (Annex I INTRA table and every coefficient with advIntraFlag); the escape
 * 0000011 + last + 6-bit run + 8-bit level, -128 announcing the Annex T 11-bit level with
 * modQuantFlag (5 low bits, then 6 signed high bits). */
ZEPVC_API ZepStatus zepiDecodeCoeffsIntra_H263_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                     Zep32s* pIndxLastNonZero, Zep32s advIntraFlag, Zep32s modQuantFlag,
                                                     Zep32s scan);
ZEPVC_API ZepStatus zepiDecodeCoeffsInter_H263_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                     Zep32s* pIndxLastNonZero, Zep32s modQuantFlag, Zep32s scan);
/* H.261: intra reads INTRADC (8 bits; 0 and 128 invalid with *pIndxLastNonZero -1) and stores it
 * (128 for 255) at entry 0 after the AC, whatever they returned; inter's first code may be "1s"
 * (run 0, level +-1); escape 000001 + 6-bit run + 8-bit level; end of block "10". */
ZEPVC_API ZepStatus zepiDecodeCoeffsIntra_H261_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                     Zep32s* pIndxLastNonZero, Zep32s scan);
ZEPVC_API ZepStatus zepiDecodeCoeffsInter_H261_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                     Zep32s* pIndxLastNonZero, Zep32s scan);
/* Decode and inverse-quantise the H.263 way in one call (DC: INTRADC x 8, 1024 for 255). The
 * H.263 intra form reads INTRADC itself unless advIntraFlag; with cbp 0 it writes only entry 0
 * and sets *pIndxLastNonZero to 0, the other entries left as they were; scan is honoured with
 * advIntraFlag only (zig-zag otherwise). */
ZEPVC_API ZepStatus zepiReconstructCoeffsIntra_H263_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                          Zep32s* pIndxLastNonZero, Zep32s cbp, Zep32s QP,
                                                          Zep32s advIntraFlag, Zep32s scan, Zep32s modQuantFlag);
ZEPVC_API ZepStatus zepiReconstructCoeffsInter_H263_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                          Zep32s* pIndxLastNonZero, Zep32s QP, Zep32s modQuantFlag);
ZEPVC_API ZepStatus zepiReconstructCoeffsIntra_H261_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                          Zep32s* pIndxLastNonZero, Zep32s QP);
ZEPVC_API ZepStatus zepiReconstructCoeffsInter_H261_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                          Zep32s* pIndxLastNonZero, Zep32s QP);

/* MPEG-4 TCOEF codes (intra and inter tables) with the three escapes (LMAX level offset, RMAX run
 * offset, 30-bit fixed length), or with rvlcFlag the reversible codes read forward (escape
 * 00001 ... 0000s). Intra with dcDecodedFlag keeps entry 0 and starts after it; the intra and
 * reversible forms write the start position to *pIndxLastNonZero first; a position reaching
 * 64 fails with that position there. */
ZEPVC_API ZepStatus zepiDecodeCoeffsIntra_MPEG4_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                      Zep32s* pIndxLastNonZero, Zep32s rvlcFlag, Zep32s dcDecodedFlag,
                                                      Zep32s scan);
ZEPVC_API ZepStatus zepiDecodeCoeffsInter_MPEG4_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                      Zep32s* pIndxLastNonZero, Zep32s rvlcFlag, Zep32s scan);
/* Reversible codes read backward, to recover the blocks after a damaged spot of a partition: the
 * position passed is the last bit of the block (bit *pBitOffset of **ppBitStream), the first
 * code read must be a last one, decoding stops at the preceding block's last code and leaves the
 * position on its last bit, so calls chain from a partition's end toward its start. Values are
 * left in scan order (no scan), *pIndxLastNonZero the last one's position. A lookup may peek up
 * to 16 bits beyond the code it reads, so two bytes before a partition's start must be readable. */
ZEPVC_API ZepStatus zepiDecodeCoeffsIntraRVLCBack_MPEG4_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                              Zep32s* pIndxLastNonZero, Zep32s dcDecodedFlag);
ZEPVC_API ZepStatus zepiDecodeCoeffsInterRVLCBack_MPEG4_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                              Zep32s* pIndxLastNonZero);
/* Inter decode (scan 1 alternate-vertical, else zig-zag) and inverse quantisation with the
 * inverse-inter spec; without rvlcFlag the spec and QP are checked before decoding, with it
 * after (as zepiQuantInvInter_MPEG4_16s_C1I on the decoded block). */
ZEPVC_API ZepStatus zepiReconstructCoeffsInter_MPEG4_1u16s(Zep8u** ppBitStream, Zep32s* pBitOffset, Zep16s* pCoef,
                                                           Zep32s* pIndxLastNonZero, Zep32s rvlcFlag, Zep32s scan,
                                                           const void* pQuantInvInterSpec, Zep32s QP);

/* ---- Coefficient encoding (H.263, H.261, MPEG-4) ----
 * The decoders' codes: a block of levels (row-major, read through the scan as the decoders place
 * them) becomes (last, run, level) codes, or (H.261) run-level codes and an end of block, with
 * the escapes the decoders read (H.263: 8-bit levels, Annex T 11-bit ones with modQuantFlag;
 * H.261: 8-bit). The byte-stream position advances past the bits written; bits before it are
 * kept. H.263 intra without advIntraFlag starts after the DC (INTRADC is the caller's); a block
 * with no level to code writes nothing (H.261 intra still writes INTRADC and its end of block). H.261 intra writes INTRADC (entry 0, 1..254, 128 as 255)
 * first; inter codes a first (run 0, +-1) as "1s". Checks: null pointers, *pBitOffset outside
 * 0..7 (zepStatusBitOffsetErr), a level beyond what the format codes (zepStatusOutOfRange,
 * nothing written). */
ZEPVC_API ZepStatus zepiEncodeCoeffsIntra_H263_16s1u(const Zep16s* pQCoef, Zep8u** ppBitStream, Zep32s* pBitOffset,
                                                     Zep32s advIntraFlag, Zep32s modQuantFlag, Zep32s scan);
ZEPVC_API ZepStatus zepiEncodeCoeffsInter_H263_16s1u(const Zep16s* pQCoef, Zep8u** ppBitStream, Zep32s* pBitOffset,
                                                     Zep32s modQuantFlag, Zep32s scan);
ZEPVC_API ZepStatus zepiEncodeCoeffsIntra_H261_16s1u(const Zep16s* pQCoef, Zep8u** ppBitStream, Zep32s* pBitOffset);
/* MPEG-4: the intra or inter TCOEF codes with the first escape that fits (LMAX level offset, RMAX
 * run offset, then fixed length), or with rvlcFlag the reversible codes and their 30-bit escape;
 * levels within +-2047. Intra with dcCodedApart starts after the DC (coded by the DC syntax). */
ZEPVC_API ZepStatus zepiEncodeCoeffsIntra_MPEG4_16s1u(const Zep16s* pQCoef, Zep8u** ppBitStream, Zep32s* pBitOffset,
                                                      Zep32s rvlcFlag, Zep32s dcCodedApart, Zep32s scan);
/* Intra DC: H.263 INTRADC (1..254, 128 written as 255); MPEG-4 dct_dc_size (luminance table for
 * blockType 0, else chrominance), the differential and, above size 8, the marker bit; sizes above
 * 12 refused (zepStatusOutOfRange). */
ZEPVC_API ZepStatus zepiEncodeDCIntra_H263_16s1u(Zep16s dc, Zep8u** ppBitStream, Zep32s* pBitOffset);
ZEPVC_API ZepStatus zepiEncodeDCIntra_MPEG4_16s1u(Zep16s dcDiff, Zep8u** ppBitStream, Zep32s* pBitOffset,
                                                  Zep32s blockType);
ZEPVC_API ZepStatus zepiEncodeCoeffsInter_MPEG4_16s1u(const Zep16s* pQCoef, Zep8u** ppBitStream, Zep32s* pBitOffset,
                                                      Zep32s rvlcFlag, Zep32s scan);
ZEPVC_API ZepStatus zepiEncodeCoeffsInter_H261_16s1u(const Zep16s* pQCoef, Zep8u** ppBitStream, Zep32s* pBitOffset);

/* ---- In-loop filters ---- */
/* H.261 loop filter on an 8x8 block in place: the separable [1 2 1] / 4 filter, the taps that fall
 * outside the block replaced by 0 1 0, one rounding (halves up) at the end. Checks: null pointer,
 * then a step below 8 (zepStatusBadStep). */
ZEPVC_API ZepStatus zepiFilterLoop_H261_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep);
/* H.263 Annex J deblocking of one 8-sample block edge in place: pSrcDst is the first sample below
 * (HorEdge) or right of (VerEdge) the edge; A B | C D across it become A - d2, B + d1, C - d1,
 * D + d2 with d = (A - 4B + 4C - D) / 8, d1 = UpDownRamp(d, strength(QP)) and d2 = (A - D) / 4
 * limited to |d1 / 2| (divisions toward zero, results clipped to 0..255); the caller visits the
 * edges in Annex J's order. Checks: null pointer, a step below
 * 8 (zepStatusBadStep), QP outside 1..31 (zepStatusQPErr). */
ZEPVC_API ZepStatus zepiFilterDeblocking8x8HorEdge_H263_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep, Zep32s QP);
ZEPVC_API ZepStatus zepiFilterDeblocking8x8VerEdge_H263_8u_C1IR(Zep8u* pSrcDst, Zep32s srcDstStep, Zep32s QP);

/* ---- Overlapped block motion compensation (H.263 Annex F) ----
 * One 8x8 luma block from five 8x8 predictions made with its own vector and with the vectors of
 * the blocks above, below, left and right: rows 0..3 weigh the above prediction, rows 4..7 the
 * below one, columns 0..3 the left one, 4..7 the right one, with the Annex F weight matrices (the
 * own prediction 4..6, the others 1..2, summing to 8): (sum + 4) >> 3. Checks: null pointers, then
 * any step below 8 (zepStatusBadStep). */
ZEPVC_API ZepStatus zepiOBMC8x8_H263_8u_C1R(const Zep8u* pSrcCur, Zep32s srcCurStep, const Zep8u* pSrcTop,
                                            Zep32s srcTopStep, const Zep8u* pSrcBottom, Zep32s srcBottomStep,
                                            const Zep8u* pSrcLeft, Zep32s srcLeftStep, const Zep8u* pSrcRight,
                                            Zep32s srcRightStep, Zep8u* pDst, Zep32s dstStep);

/* ---- Quarter-sample luma interpolation (MPEG-4 Advanced Simple profile) ----
 * The N x N prediction (roiSize 8x8 or 16x16) at the quarter-sample fraction dx, dy (0..3 each)
 * right of and below pSrc, the reference sample at the vector's integer part. The prediction is
 * built from the (N + 1) x (N + 1) samples at pSrc alone, and nothing else is read: the 8-tap
 * half-sample filter [-1 3 -6 20 20 -6 3 -1] / 32 mirrors that area at its edges (sample -1 - i
 * stands for sample i, sample N + 1 + i for sample N - i), so the caller needs no picture padding
 * beyond the block's own extra column and row.
 * - Half samples: (sum + 16 - roundControl) >> 5, clipped to 0..255. The centre (half in both
 *   directions) is the vertical filter run over the clipped horizontal half samples of rows 0..N.
 * - Quarter samples: bilinear interpolation on that half-sample grid. A position a quarter off in
 *   one direction averages the two grid samples beside it, (a + b + 1 - roundControl) >> 1; a
 *   quarter off in both, the four corners of its grid cell, (a + b + c + d + 2 - roundControl) >> 2
 *   (one rounding, not an average of averages).
 * - roundControl: only bit 0 is used, as in the half-sample family (0 rounds halves up, 1 down); it
 *   applies to the filter and to every average.
 * Chroma stays bilinear: the half-sample functions of zepvc_mc.h predict it.
 * Checks, nothing written on failure: null pointers (zepStatusNullPtr); a step below 1, srcStep not
 * beyond roiSize.width (the extra column) or dstStep below it (zepStatusBadStep); roiSize other than
 * 8x8 or 16x16 (zepStatusBadSize); dx or dy outside 0..3 (zepStatusBadArg). */
ZEPVC_API ZepStatus zepiInterpolateLumaQP_MPEG4_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst,
                                                       Zep32s dstStep, Zep32s dx, Zep32s dy, ZepSize roiSize,
                                                       Zep32s roundControl);

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_MPEG4_H */
