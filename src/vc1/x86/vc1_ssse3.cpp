// SSSE3 kernels of the VC-1 family: transforms with 16-bit multiply-add,
// quantisers, overlap smoothing, range mapping and the Hadamard cost.
#include "vc1/vc1_dsp.h"
#include "vc1/x86/vc1_pixel_x86.h"
#include "vc1/x86/vc1_xform_x86.h"

namespace zep {

void vc1_install_ssse3(Vc1Dsp& t) {
    vc1x_install_transforms(t);
    vc1x_install_quant(t);
    vc1x_install_smoothing(t);
    t.range_map = vc1x_range_map;
    t.hadamard_8u = vc1x_hadamard<Zep8u>;
    t.hadamard_16s = vc1x_hadamard<Zep16s>;
}

}  // namespace zep
