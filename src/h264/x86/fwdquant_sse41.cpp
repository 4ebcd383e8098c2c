// SSE4.1 kernels of the H.264 4x4 quantisers: the native 32-bit multiply
// replaces the two-multiply emulation of the scale-table paths.
#include "h264/fwdquant_dsp.h"
#include "h264/x86/fwdquant_x86.h"

namespace zep {

void fwdquant_install_sse41(FwdQuantDsp& t) {
    t.quant16 = fwdq_quant16<true>;
    t.quant32 = fwdq_quant32<true>;
}

}  // namespace zep
