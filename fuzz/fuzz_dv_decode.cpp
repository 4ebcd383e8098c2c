// The whole DV example decoder on arbitrary bytes (seed it with the bundled
// streams): any input either decodes or ends in a DecodeError.
#include <cstddef>
#include <cstdint>

#include "dv/dv.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    zdec::dv::Decoder d;
    d.on_frame = [](const zdec::dv::FrameOut& f) {
        volatile unsigned s = f.y[0] + f.y[(f.height - 1) * f.stride + f.width - 1] + f.cb[0] +
                              f.cr[(f.cheight - 1) * f.stride_c + f.cwidth - 1];
        (void)s;
    };
    try {
        d.decode_stream(data, size);
    } catch (const zdec::DecodeError&) {
    }
    return 0;
}
