// SSSE3 kernels of the MPEG-4 quarter-sample interpolation: the filter as
// pmaddubsw on mirrored sample pairs, every block size and fraction.
#include "mpeg4/qpel_dsp.h"
#include "mpeg4/x86/qpel_simd.h"

namespace zep {

void qpel_install_ssse3(QpelDsp& t) {
    using namespace qpel_x86;
    install<Sse, 8>(t.luma[qpel_size_class(8)], std::make_integer_sequence<int, 16>{});
    install<Sse, 16>(t.luma[qpel_size_class(16)], std::make_integer_sequence<int, 16>{});
}

}  // namespace zep
