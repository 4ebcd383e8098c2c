/* zepvc 8x8 DCTs for the MPEG-1/2, MPEG-4 Part 2, H.263, H.261 and DV families. Included by zepvc.h.
 *
 * Blocks are 64 signed 16-bit values in raster order (row by row). The inverse
 * transform runs along the rows first, then along the columns, in integer
 * arithmetic: basis constants round(2^15 * c(k)/2 * cos((2n + 1) k pi / 16)),
 * c(0) = 1/sqrt(2), c(k) = 1 otherwise; the row pass keeps 5 fractional bits,
 *     t = sat16((sum + 2^9) >> 10),
 * the column pass rounds to integers,
 *     y = sat16((sum + 2^19) >> 20),
 * sums taken modulo 2^32. This meets every IEEE 1180-1990 accuracy limit for
 * coefficients of sample blocks within +-300 (the intermediate values of any
 * block whose samples lie within +-700 stay inside 16 bits); other input is
 * processed without fault but saturates. An all-zero block gives all zeros.
 * Every SIMD level gives exactly these results.
 *
 * The transposed forms take the coefficients column by column (as a decoder
 * that scans into a transposed block writes them) and give exactly what the
 * plain form gives for the block transposed back; they skip one transpose.
 *
 * The forward transform is the same machinery with the transposed basis:
 * rows, then columns, 5 fractional bits kept between the passes, results
 * rounded to integers (the orthonormal scaling, DC = 8 * mean).
 *
 * Checks: null pointers (zepStatusNullPtr), then a step below 8
 * (zepStatusBadStep). The source and destination coefficient blocks may be
 * the same. */
#ifndef ZEPVC_DCT_H
#define ZEPVC_DCT_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

/* ---- Inverse ---- */
/* Coefficients to 16-bit samples or residuals. */
ZEPVC_API ZepStatus zepiDCT8x8Inv_16s_C1(const Zep16s* pSrc, Zep16s* pDst);
/* Same, in place. */
ZEPVC_API ZepStatus zepiDCT8x8Inv_16s_C1I(Zep16s* pSrcDst);
/* Coefficients to 8-bit samples, clamped to 0..255 (intra blocks). */
ZEPVC_API ZepStatus zepiDCT8x8Inv_16s8u_C1R(const Zep16s* pSrc, Zep8u* pDst, Zep32s dstStep);
/* Residual added to the 8-bit prediction in the picture, clamped to 0..255 (inter blocks). */
ZEPVC_API ZepStatus zepiDCT8x8InvAdd_16s8u_C1IR(const Zep16s* pSrc, Zep8u* pSrcDst, Zep32s srcDstStep);

/* ---- Inverse, coefficients given column by column ---- */
ZEPVC_API ZepStatus zepiDCT8x8InvTransposed_16s_C1(const Zep16s* pSrc, Zep16s* pDst);
ZEPVC_API ZepStatus zepiDCT8x8InvTransposed_16s8u_C1R(const Zep16s* pSrc, Zep8u* pDst, Zep32s dstStep);
ZEPVC_API ZepStatus zepiDCT8x8InvTransposedAdd_16s8u_C1IR(const Zep16s* pSrc, Zep8u* pSrcDst, Zep32s srcDstStep);

/* ---- Forward ---- */
/* 16-bit samples or residuals to coefficients. */
ZEPVC_API ZepStatus zepiDCT8x8Fwd_16s_C1(const Zep16s* pSrc, Zep16s* pDst);
/* 8-bit samples to coefficients (no level shift: DC = 8 * mean). */
ZEPVC_API ZepStatus zepiDCT8x8Fwd_8u16s_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep16s* pDst);

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_DCT_H */
