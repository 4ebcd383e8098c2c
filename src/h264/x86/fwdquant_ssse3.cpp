// SSSE3 kernels of the H.264 4x4 forward transform and quantisers.
#include "h264/fwdquant_dsp.h"
#include "h264/x86/fwdquant_x86.h"

namespace zep {

void fwdquant_install_ssse3(FwdQuantDsp& t) {
    t.fwd16 = fwdq_fwd16;
    t.fwd32 = fwdq_fwd32;
    t.quant16Flat = fwdq_quant16_flat;
    t.quant16 = fwdq_quant16<false>;
    t.quant32 = fwdq_quant32<false>;
}

}  // namespace zep
