/* zepvc block distortion metrics (SAD, SATD, SSD) for motion search and mode
 * decision. Included by zepvc.h.
 *
 * mcType selects the reference samples: 0 integer position, 4 average with
 * the sample below, 8 with the sample to the right, 12 of the four samples
 * (rounded up). Only bits 2 and 3 are used; the half-sample modes read one
 * row and/or column beyond the block. */
#ifndef ZEPVC_METRICS_H
#define ZEPVC_METRICS_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

/* SAD of a 16x16 block against the reference at half-sample mode mcType. */
ZEPVC_API ZepStatus zepiSAD16x16_8u32s(const Zep8u* pSrc, Zep32s srcStep, const Zep8u* pRef, Zep32s refStep,
                                       Zep32s* pSAD, Zep32s mcType);

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_METRICS_H */
