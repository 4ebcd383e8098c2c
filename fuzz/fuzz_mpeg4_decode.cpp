// The whole MPEG-4 example decoder on arbitrary bytes (seed it with the
// bundled streams): any input either decodes or ends in a DecodeError.
#include <cstddef>
#include <cstdint>

#include "mpeg4/mpeg4.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    zdec::mpeg4::Decoder d;
    d.max_mbs = 396;
    d.on_frame = [](const zdec::mpeg4::FrameOut& f) {
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
