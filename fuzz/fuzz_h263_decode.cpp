// The whole H.263 example decoder on arbitrary bytes (seed it with the
// bundled streams): any input either decodes or ends in a DecodeError.
#include <cstddef>
#include <cstdint>

#include "h263/h263.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    zdec::h263::Decoder d;
    d.max_mbs = 396;
    d.on_frame = [](const zdec::h263::FrameOut& f) {
        volatile unsigned s = f.y[0] + f.y[(f.height - 1) * f.stride + f.width - 1] + f.cb[0] +
                              f.cr[(f.height / 2 - 1) * f.stride_c + f.width / 2 - 1];
        (void)s;
    };
    try {
        d.decode_stream(data, size);
    } catch (const zdec::DecodeError&) {
    }
    return 0;
}
