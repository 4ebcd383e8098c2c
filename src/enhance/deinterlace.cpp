// Entry point of the edge-directed deinterlacer: the border row and the two
// edge columns here, the interior of every row through the kernel table.
#include <cstddef>
#include <cstring>

#include "enhance/deinterlace_dsp.h"
#include "frame/check.h"
#include "zepvc.h"

using namespace zep;

extern "C" {

ZEPVC_API ZepStatus zepiDeinterlaceEdgeDetect_8u_C1R(const Zep8u* pSrc, Zep32s srcStep, Zep8u* pDst, Zep32s dstStep,
                                                     Zep32s width, Zep32s height, Zep32s fieldNum,
                                                     Zep32s copyBorder) {
    ZEP_CHECK_PTRS(pSrc, pDst);
    if (width < 1 || height < 1) return zepStatusBadSize;
    auto src = [&](ptrdiff_t r) { return pSrc + r * srcStep; };
    auto dst = [&](ptrdiff_t k) { return pDst + k * dstStep; };
    // Output row k lies between source rows k - 1 + fieldNum and k + fieldNum
    // (k - 1 and k for the top field, k and k + 1 for the bottom one).
    ptrdiff_t first = 0, last = height - 1;
    if (copyBorder) {
        const ptrdiff_t border = fieldNum == 0 ? 0 : height - 1;
        std::memcpy(dst(border), src(border), static_cast<size_t>(width));
        if (fieldNum == 0) first = 1;
        else last = height - 2;
    }
    const DeintRowFn row = deint_dsp().row;
    for (ptrdiff_t k = first; k <= last; ++k) {
        const Zep8u* a = src(k - 1 + fieldNum);
        const Zep8u* b = src(k + fieldNum);
        Zep8u* d = dst(k);
        d[0] = src(k)[0];
        d[width - 1] = src(k)[width - 1];
        if (width >= 3) row(a, b, d, width);
    }
    return zepStatusOk;
}

}  // extern "C"
