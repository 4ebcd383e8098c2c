// Kernel table of the MPEG-4 quarter-sample luma interpolation.
#pragma once

#include "frame/cpu.h"
#include "zepvc_types.h"

namespace zep {

// One N x N prediction (N built into the kernel, as are the fractions) from
// the (N + 1) x (N + 1) samples at src; rc is the rounding control, 0 or 1.
using QpelFn = void (*)(const Zep8u* src, Zep32s srcStep, Zep8u* dst, Zep32s dstStep, int rc);

struct QpelDsp {
    QpelFn luma[2][16];  // [N == 16][dy * 4 + dx]
};

// Table row of a block size (8 or 16).
constexpr int qpel_size_class(int n) { return n >> 4; }

// Index into a line of n + 1 samples (0..n) extended by mirroring at both
// ends, so the filter never leaves the block and its extra column or row.
constexpr int qpel_mirror(int i, int n) { return i < 0 ? -1 - i : (i > n ? 2 * n + 1 - i : i); }

void qpel_init(QpelDsp& t, Isa level);
extern const QpelDsp g_qpel_active __attribute__((visibility("hidden")));
inline const QpelDsp& qpel_dsp() { return g_qpel_active; }

#if ZEPVC_HAVE_X86
void qpel_install_ssse3(QpelDsp& t);
void qpel_install_avx2(QpelDsp& t);
#endif

}  // namespace zep
